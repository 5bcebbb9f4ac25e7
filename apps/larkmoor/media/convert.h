// Decoded frames into the pixel forms of effects, and back.
#pragma once

#include <memory>
#include <vector>

#include "host/surface.h"
#include "media/av.h"
#include "media/colour.h"

struct SwsContext;

namespace larkmoor {

/// A pixel format conversion of FFmpeg's that keeps its tables from frame to frame. Not shared between threads.
class Scaler {
  public:
    /// @param draft averages areas when it makes pictures smaller, instead of the filters that keep detail.
    explicit Scaler(bool draft = false) : m_draft(draft) {}

    /// From one frame's pixels to another's; sizes, formats and colour tags are read off the frames.
    void run(const AVFrame& from, ChromaPlace fromPlace, AVFrame& to, ChromaPlace toPlace);

  private:
    struct Side {
        int width = 0, height = 0, format = -1;
        Colour colour;
        ChromaPlace place{};
        friend bool operator==(const Side&, const Side&) = default;
    };
    void prepare(const Side& from, const Side& to);

    struct Free {
        void operator()(SwsContext* context) const;
    };
    std::unique_ptr<SwsContext, Free> m_context;
    Side m_from, m_to;
    bool m_draft;
};

/// Fills a premultiplied picture (8-bit or float) from a decoded frame. Not shared between threads.
class Importer {
  public:
    /// @param draft as of `Scaler`, for frames that are of another size than the picture.
    explicit Importer(bool draft = false) : m_scaler(draft) {}

    /// @param premultiplied the frame's colour is multiplied by its alpha already.
    void run(const AVFrame& frame, const ImageView& out, bool premultiplied);

  private:
    void convert(const AVFrame& frame, ChromaPlace place, const ImageView& out, bool premultiplied);

    Scaler m_scaler;
    std::vector<std::byte> m_narrow;
};

/// Fills an encoder's frame from a picture. Not shared between threads.
class Exporter {
  public:
    /// @param picture may be changed on the way.
    /// @param out has its format, size, buffers and colour tags.
    /// @param premultiplied the encoder wants colour multiplied by alpha.
    void run(const ImageView& picture, AVFrame& out, bool premultiplied);

  private:
    void convert(const ImageView& picture, AVFrame& out, ChromaPlace place);

    Scaler m_scaler;
    std::vector<std::byte> m_narrow;
};

/// The pixels of a frame in the pixel form of effects, without a copy; the frame has to be of AV_PIX_FMT_BGRA or
/// AV_PIX_FMT_BGR0.
ImageView viewOf(const AVFrame& frame, PixelFormat format = PixelFormat::PremultipliedArgb32);

/// Buffers for frames of one format and size, used again and again. Safe to share between threads.
class FramePool {
  public:
    FramePool(AVPixelFormat format, int width, int height);
    FramePtr take() const;

  private:
    struct Free {
        void operator()(AVBufferPool* pool) const { av_buffer_pool_uninit(&pool); }
    };
    std::unique_ptr<AVBufferPool, Free> m_pool;
    AVPixelFormat m_format;
    int m_width, m_height;
};

} // namespace larkmoor
