#include "media/convert.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <new>
#include <utility>

#include "host/alpha.h"
#include "host/depth.h"
#include "media/deep_rows.h"
#include "media/yuv_rows.h"

extern "C" {
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

namespace larkmoor {

namespace {

constexpr int rowAlignment = 64;

/// Interpolated chroma on both ways, exact rounding, the same bytes on every processor.
constexpr int scalerFlags = SWS_BICUBIC | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_ACCURATE_RND | SWS_BITEXACT;

constexpr int draftFlags = SWS_AREA | SWS_FULL_CHR_H_INT | SWS_ACCURATE_RND | SWS_BITEXACT;

const int* coefficients(AVColorSpace space, int width, int height) {
    return sws_getCoefficients(matrixOf(space, width, height));
}

void placeChroma(SwsContext* context, const char* horizontal, const char* vertical, AVPixelFormat format,
                 ChromaPlace place) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    if (d->log2_chroma_w) av_opt_set_int(context, horizontal, place.x, 0);
    if (d->log2_chroma_h) av_opt_set_int(context, vertical, place.y, 0);
}

/// A frame that borrows a picture's memory.
FramePtr borrow(const ImageView& picture, AVPixelFormat format) {
    FramePtr frame = newFrame();
    frame->format = format;
    frame->width = picture.width;
    frame->height = picture.height;
    frame->data[0] = reinterpret_cast<std::uint8_t*>(picture.data);
    frame->linesize[0] = static_cast<int>(picture.stride);
    frame->color_range = AVCOL_RANGE_JPEG;
    frame->colorspace = AVCOL_SPC_RGB;
    return frame;
}

ImageView scratch(std::vector<std::byte>& memory, const ImageView& like, PixelFormat format, int bytes) {
    memory.resize(static_cast<std::size_t>(like.width) * static_cast<std::size_t>(like.height) *
                  static_cast<std::size_t>(bytes));
    return {memory.data(), like.width, like.height, static_cast<std::ptrdiff_t>(like.width) * bytes, format};
}

template <class T>
T* rowOf(const ImageView& picture, int y) {
    return reinterpret_cast<T*>(picture.data + y * picture.stride);
}

template <class T>
T* rowOf(const AVFrame& frame, int plane, int y) {
    return reinterpret_cast<T*>(frame.data[plane] + y * static_cast<std::ptrdiff_t>(frame.linesize[plane]));
}

/// Plane numbers of blue, green, red in FFmpeg's planar float formats (stored green, blue, red, alpha).
constexpr int planarOrder[3] = {1, 0, 2};

void interleave(const AVFrame& frame, const ImageView& out) {
    const bool gray = frame.format == AV_PIX_FMT_GRAYF32;
    const bool alpha = frame.format == AV_PIX_FMT_GBRAPF32;
    for (int y = 0; y < out.height; ++y) {
        float* to = rowOf<float>(out, y);
        const float* from[3];
        for (int c = 0; c < 3; ++c) from[c] = rowOf<const float>(frame, gray ? 0 : planarOrder[c], y);
        const float* a = alpha ? rowOf<const float>(frame, 3, y) : nullptr;
        for (int x = 0; x < out.width; ++x, to += 4) {
            for (int c = 0; c < 3; ++c) to[c] = from[c][x];
            to[3] = a ? a[x] : 1.0f;
        }
    }
}

void deinterleave(const ImageView& picture, AVFrame& out) {
    const bool gray = out.format == AV_PIX_FMT_GRAYF32;
    const bool alpha = out.format == AV_PIX_FMT_GBRAPF32;
    for (int y = 0; y < picture.height; ++y) {
        const float* from = rowOf<const float>(picture, y);
        if (gray) {
            float* to = rowOf<float>(out, 0, y);
            for (int x = 0; x < picture.width; ++x, from += 4)
                to[x] = 0.0722f * from[0] + 0.7152f * from[1] + 0.2126f * from[2];
            continue;
        }
        for (int c = 0; c < 4; ++c) {
            if (c == 3 && !alpha) break;
            float* to = rowOf<float>(out, c == 3 ? 3 : planarOrder[c], y);
            for (int x = 0; x < picture.width; ++x) to[x] = from[4 * x + c];
        }
    }
}

/// Floats as words in FFmpeg's order of RGBA; what is no number counts as 0.
void narrowToWords(const ImageView& from, const ImageView& to) {
    for (int y = 0; y < from.height; ++y) {
        const float* in = rowOf<const float>(from, y);
        auto* out = rowOf<std::uint16_t>(to, y);
        for (int i = 0; i < 4 * from.width; ++i) {
            const float scaled = in[i % 4 == 3 ? i : i + 2 - 2 * (i % 4)] * 65535.0f + 0.5f;
            out[i] = static_cast<std::uint16_t>(scaled >= 65535.0f ? 65535.0f : scaled > 0 ? scaled : 0.0f);
        }
    }
}

void widenWords(const ImageView& from, const ImageView& to) {
    for (int y = 0; y < from.height; ++y) {
        const auto* in = rowOf<const std::uint16_t>(from, y);
        float* out = rowOf<float>(to, y);
        for (int i = 0; i < 4 * from.width; ++i)
            out[i] = static_cast<float>(in[i % 4 == 3 ? i : i + 2 - 2 * (i % 4)]) / 65535.0f;
    }
}

/// Every other row of a frame, as a frame that borrows its memory. Chroma of interlaced 4:2:0 belongs to its own field.
FramePtr fieldOf(const AVFrame& frame, int field) {
    FramePtr half = newFrame();
    half->format = frame.format;
    half->width = frame.width;
    half->height = frame.height / 2;
    tag(*half, colourOf(frame));
    // Halves of a picture are of the kind that the whole is.
    if (half->colorspace == AVCOL_SPC_UNSPECIFIED) half->colorspace = usualMatrix(frame.width, frame.height);
    for (int plane = 0; plane < 4 && frame.data[plane]; ++plane) {
        half->data[plane] = frame.data[plane] + field * static_cast<std::ptrdiff_t>(frame.linesize[plane]);
        half->linesize[plane] = 2 * frame.linesize[plane];
    }
    return half;
}

ImageView fieldOf(const ImageView& picture, int field) {
    return {picture.data + field * picture.stride, picture.width, picture.height / 2, 2 * picture.stride,
            picture.format};
}

/// Whether rows of chroma mix the two fields unless each is converted for itself.
bool hasFields(const AVFrame& frame) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame.format));
    return frame.interlaced_frame && d->log2_chroma_h == 1 && frame.height % 4 == 0;
}

bool sameSize(const AVFrame& frame, const ImageView& picture) {
    return frame.width == picture.width && frame.height == picture.height;
}

} // namespace

void Scaler::Free::operator()(SwsContext* context) const {
    sws_freeContext(context);
}

void Scaler::prepare(const Side& from, const Side& to) {
    if (m_context && from == m_from && to == m_to) return;
    m_context.reset(sws_alloc_context());
    if (!m_context) throw std::bad_alloc();
    SwsContext* c = m_context.get();
    const auto source = static_cast<AVPixelFormat>(from.format), target = static_cast<AVPixelFormat>(to.format);
    av_opt_set_int(c, "srcw", from.width, 0);
    av_opt_set_int(c, "srch", from.height, 0);
    av_opt_set_int(c, "src_format", from.format, 0);
    av_opt_set_int(c, "dstw", to.width, 0);
    av_opt_set_int(c, "dsth", to.height, 0);
    av_opt_set_int(c, "dst_format", to.format, 0);
    av_opt_set_int(c, "sws_flags", m_draft ? draftFlags : scalerFlags, 0);
    placeChroma(c, "src_h_chr_pos", "src_v_chr_pos", source, from.place);
    placeChroma(c, "dst_h_chr_pos", "dst_v_chr_pos", target, to.place);
    const bool fullIn = isFullRange(source, from.colour.range), fullOut = isFullRange(target, to.colour.range);
    av_opt_set_int(c, "src_range", fullIn, 0);
    av_opt_set_int(c, "dst_range", fullOut, 0);
    avCheck(sws_init_context(c, nullptr, nullptr), std::string("convert pixels of the format ") +
                                                       av_get_pix_fmt_name(source) + " to " +
                                                       av_get_pix_fmt_name(target));
    sws_setColorspaceDetails(c, coefficients(from.colour.space, from.width, from.height), fullIn,
                             coefficients(to.colour.space, to.width, to.height), fullOut, 0, 1 << 16, 1 << 16);
    m_from = from;
    m_to = to;
}

void Scaler::run(const AVFrame& from, ChromaPlace fromPlace, AVFrame& to, ChromaPlace toPlace) {
    prepare({from.width, from.height, from.format, colourOf(from), fromPlace},
            {to.width, to.height, to.format, colourOf(to), toPlace});
    avCheck(sws_scale(m_context.get(), from.data, from.linesize, 0, from.height, to.data, to.linesize),
            "convert a picture");
}

void Importer::run(const AVFrame& frame, const ImageView& out, bool premultiplied) {
    const ChromaPlace place = chromaPlace(frame);
    if (!hasFields(frame) || !sameSize(frame, out)) return convert(frame, place, out, premultiplied);
    for (const int field : {0, 1})
        convert(*fieldOf(frame, field), chromaPlaceInField(place, field), fieldOf(out, field), premultiplied);
}

void Importer::convert(const AVFrame& frame, ChromaPlace place, const ImageView& out, bool premultiplied) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    if (out.format == PixelFormat::Float128) {
        if (hasFloats(format) && sameSize(frame, out)) {
            interleave(frame, out);
        } else if (!readDeep(frame, place, out)) {
            const ImageView words = scratch(m_narrow, out, out.format, 8);
            m_scaler.run(frame, place, *borrow(words, AV_PIX_FMT_RGBA64), {});
            widenWords(words, out);
        }
        if (hasAlpha(format) && !premultiplied) premultiply(out);
        return;
    }
    if (convertYuv(frame, place, out)) return;
    if (format == AV_PIX_FMT_BGRA && sameSize(frame, out)) {
        for (int y = 0; y < out.height; ++y)
            std::copy_n(rowOf<const std::byte>(frame, 0, y), 4 * static_cast<std::size_t>(out.width),
                        rowOf<std::byte>(out, y));
    } else {
        const FramePtr target = borrow(out, AV_PIX_FMT_BGRA);
        m_scaler.run(frame, place, *target, {});
    }
    if (hasAlpha(format) && !premultiplied) premultiply(out);
}

void Exporter::run(const ImageView& picture, AVFrame& out, bool premultiplied) {
    const auto format = static_cast<AVPixelFormat>(out.format);
    const bool straight = picture.format == PixelFormat::Argb32;
    // Without alpha in the output, premultiplied colour is the picture over black.
    const bool wantStraight = hasAlpha(format) && !premultiplied;
    if (straight && !wantStraight) premultiply(picture);
    if (!straight && wantStraight) unpremultiply(picture);

    const ChromaPlace place = chromaPlace(out);
    if (!hasFields(out)) return convert(picture, out, place);
    for (const int field : {0, 1})
        convert(fieldOf(picture, field), *fieldOf(out, field), chromaPlaceInField(place, field));
}

/// With the picture's colour as the frame wants it.
void Exporter::convert(const ImageView& picture, AVFrame& out, ChromaPlace place) {
    const auto format = static_cast<AVPixelFormat>(out.format);
    if (hasFloats(format)) {
        ImageView floats = picture;
        if (picture.format != PixelFormat::Float128) {
            floats = scratch(m_narrow, picture, PixelFormat::Float128, 16);
            restoreDepth({}, picture, floats);
        }
        deinterleave(floats, out);
        return;
    }
    if (picture.format == PixelFormat::Float128 && writeDeep(picture, out, place)) return;
    FramePtr source;
    if (picture.format == PixelFormat::Float128) {
        const bool deep = av_pix_fmt_desc_get(format)->comp[0].depth > 8;
        const ImageView ints = scratch(m_narrow, picture, picture.format, deep ? 8 : 4);
        if (deep)
            narrowToWords(picture, ints);
        else
            narrowPicture(picture, ints);
        source = borrow(ints, deep ? AV_PIX_FMT_RGBA64 : AV_PIX_FMT_BGRA);
    } else {
        source = borrow(picture, AV_PIX_FMT_BGRA);
    }
    if (reinterpret_cast<std::byte*>(out.data[0]) == picture.data) return;
    if (format == AV_PIX_FMT_BGRA && source->format == AV_PIX_FMT_BGRA) {
        for (int y = 0; y < picture.height; ++y)
            std::copy_n(rowOf<const std::byte>(*source, 0, y), 4 * static_cast<std::size_t>(picture.width),
                        rowOf<std::byte>(out, 0, y));
        return;
    }
    m_scaler.run(*source, {}, out, place);
}

ImageView viewOf(const AVFrame& frame, PixelFormat format) {
    return {reinterpret_cast<std::byte*>(frame.data[0]), frame.width, frame.height, frame.linesize[0], format};
}

FramePool::FramePool(AVPixelFormat format, int width, int height) : m_format(format), m_width(width), m_height(height) {
    const int size = av_image_get_buffer_size(format, width, height, rowAlignment);
    if (size < 0) throw Error("cannot hold pictures of " + std::to_string(width) + "x" + std::to_string(height));
    // A little more than the pixels: some converters and encoders read a few bytes past the last row.
    m_pool.reset(av_buffer_pool_init(static_cast<std::size_t>(size) + 2 * rowAlignment, nullptr));
    if (!m_pool) throw std::bad_alloc();
}

FramePtr FramePool::take() const {
    FramePtr frame = newFrame();
    frame->format = m_format;
    frame->width = m_width;
    frame->height = m_height;
    frame->buf[0] = av_buffer_pool_get(m_pool.get());
    if (!frame->buf[0]) throw std::bad_alloc();
    auto* start = reinterpret_cast<std::uint8_t*>(
        (reinterpret_cast<std::uintptr_t>(frame->buf[0]->data) + rowAlignment - 1) / rowAlignment * rowAlignment);
    av_image_fill_arrays(frame->data, frame->linesize, start, m_format, m_width, m_height, rowAlignment);
    return frame;
}

} // namespace larkmoor
