// FFmpeg's objects as values that free themselves, and its errors as sentences.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
}

#include "host/error.h"

namespace larkmoor {

/// A mistake in what the user asked for, as against a failure while working.
class UsageError : public Error {
  public:
    using Error::Error;
};

template <auto Free>
struct FreeByAddress {
    template <class T>
    void operator()(T* object) const {
        Free(&object);
    }
};

using FramePtr = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
using PacketPtr = std::unique_ptr<AVPacket, FreeByAddress<av_packet_free>>;
using CodecPtr = std::unique_ptr<AVCodecContext, FreeByAddress<avcodec_free_context>>;
using InputPtr = std::unique_ptr<AVFormatContext, FreeByAddress<avformat_close_input>>;

/// Throws std::bad_alloc where the code says that memory was refused; otherwise returns the code.
int avMemory(int code);

/// Options for FFmpeg, by name.
class Dictionary {
  public:
    Dictionary() = default;
    Dictionary(const Dictionary&) = delete;
    Dictionary& operator=(const Dictionary&) = delete;
    ~Dictionary() { av_dict_free(&m_dict); }
    void set(const char* name, const std::string& value) { avMemory(av_dict_set(&m_dict, name, value.c_str(), 0)); }
    AVDictionary** get() { return &m_dict; }

  private:
    AVDictionary* m_dict = nullptr;
};

FramePtr newFrame();
PacketPtr newPacket();
/// Another reference to the same pixels.
FramePtr shareFrame(const AVFrame& frame);

/// FFmpeg's own words for an error code, and the last complaint that it logged where that says more.
std::string avReason(int code);

/// Throws Error "cannot WHAT: reason" for a negative code, or as `avMemory`; otherwise returns the code.
int avCheck(int code, std::string_view what);

/// Keeps FFmpeg's log off standard error unless `verbose`; its last complaint is remembered for `avReason`.
void quietLog(bool verbose);

/// Whether a container ended before its own structure said it would, as far as it complained of it since it was last
/// forgotten.
bool prematureEnd(const AVFormatContext& container);
void forgetEnd(const AVFormatContext& container);

/// One line on standard error, "larkmoor: " before it.
void warn(std::string_view sentence);
/// From here on what `warn` says goes to `taker` instead, on whatever thread it is said; an empty one ends that. The
/// taker must not warn.
void takeWarnings(std::function<void(std::string_view)> taker);

} // namespace larkmoor
