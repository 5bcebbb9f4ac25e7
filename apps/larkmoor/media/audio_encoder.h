// Sound of any kind into packets of one encoder.
#pragma once

#include <functional>

#include "media/av.h"

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
}

namespace larkmoor {

using PacketTaker = std::function<void(PacketPtr)>;

/// Which of a clip's sound goes into the output, and how.
struct SoundOptions {
    bool none = false;
    int stream = 0;    ///< only the so-manieth one of the clip, from 1 on; 0 for all
    std::string codec; ///< an encoder's or a codec's name; empty to copy, or else for the usual one
};

struct SoundFacts {
    AVCodecID codec = AV_CODEC_ID_NONE;
    int rate = 0;
    AVChannelLayout layout{};
    AVSampleFormat format = AV_SAMPLE_FMT_NONE;
    int bits = 0; ///< of a sample that count; 0 for all
};
/// Of a stream of sound, whose layout is one that everything knows.
SoundFacts soundFacts(const AVCodecParameters& stream);
/// False of a stream that a file announces and holds no packet of, so that nothing tells its rate and channels.
bool isKnownSound(const AVCodecParameters& stream);

/// A codec that keeps every sample.
bool isLossless(AVCodecID codec);

/// The encoder that the user named; or the sound's own where the container takes it; or one without loss for sound
/// without loss; or the container's usual one. Null where there is none.
/// Throws UsageError for a name that no encoder has, or that the container does not take.
const AVCodec* soundEncoderFor(const SoundOptions& options, const AVOutputFormat& container, const std::string& path,
                               const SoundFacts& sound);

class AudioEncoder {
  public:
    /// At a rate, a layout and a depth near the sound's. Throws Error when the encoder does not start.
    AudioEncoder(const AVCodec& codec, const AVOutputFormat& container, const SoundFacts& sound);

    const AVCodecContext& context() const { return *m_context; }

    /// Encodes more sound; the first frame's time stamp (in seconds, as `start`) says when all of it begins.
    void write(const AVFrame& sound, double start, const PacketTaker& taker);
    void finish(const PacketTaker& taker);

  private:
    void encode(int samples, const PacketTaker& taker);
    void drain(const PacketTaker& taker);
    void convert(const AVFrame* sound);

    CodecPtr m_context;
    std::unique_ptr<SwrContext, FreeByAddress<swr_free>> m_resampler;
    struct FreeFifo {
        void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
    };
    std::unique_ptr<AVAudioFifo, FreeFifo> m_fifo;
    std::int64_t m_next = AV_NOPTS_VALUE;
};

/// An opened decoder for a stream of sound. Throws Error.
CodecPtr openAudioDecoder(const AVStream& stream);

} // namespace larkmoor
