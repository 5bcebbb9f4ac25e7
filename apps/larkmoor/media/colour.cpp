#include "media/colour.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include <fmt/format.h>

#include "media/av.h"

extern "C" {
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

namespace larkmoor {

namespace {

/// Of a frame's metadata: chroma sits in the second of two columns.
constexpr const char* secondColumn = "larkmoor:chroma in second column";

/// A number without a name, `end` or more or in a gap below it, becomes `untold`. Read as a plain number, since no
/// other than those that have names may stand in the type.
template <class Tag>
void dropUnnamed(Tag& tag, Tag end, Tag untold, const char* (*nameOf)(Tag)) {
    std::underlying_type_t<Tag> number;
    std::memcpy(&number, &tag, sizeof number);
    if (number >= static_cast<decltype(number)>(end) || !nameOf(tag)) tag = untold;
}

} // namespace

void dropUnnamedTags(AVFrame& frame) {
    dropUnnamed(frame.colorspace, AVCOL_SPC_NB, AVCOL_SPC_UNSPECIFIED, av_color_space_name);
    dropUnnamed(frame.color_range, AVCOL_RANGE_NB, AVCOL_RANGE_UNSPECIFIED, av_color_range_name);
    dropUnnamed(frame.color_primaries, AVCOL_PRI_NB, AVCOL_PRI_UNSPECIFIED, av_color_primaries_name);
    dropUnnamed(frame.color_trc, AVCOL_TRC_NB, AVCOL_TRC_UNSPECIFIED, av_color_transfer_name);
    dropUnnamed(frame.chroma_location, AVCHROMA_LOC_NB, AVCHROMA_LOC_UNSPECIFIED, av_chroma_location_name);
}

Colour colourOf(const AVFrame& frame) {
    return {frame.colorspace, frame.color_range, frame.color_primaries, frame.color_trc, frame.chroma_location};
}

void tag(AVFrame& frame, const Colour& colour) {
    frame.colorspace = colour.space;
    frame.color_range = colour.range;
    frame.color_primaries = colour.primaries;
    frame.color_trc = colour.transfer;
    frame.chroma_location = colour.chroma;
    av_dict_set(&frame.metadata, secondColumn, nullptr, 0);
}

namespace {

std::uint64_t flagsOf(AVPixelFormat format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    return d ? d->flags : 0;
}

struct ChromaWord {
    AVChromaLocation word;
    ChromaPlace place;
};
constexpr ChromaWord chromaPlaces[] = {{AVCHROMA_LOC_LEFT, {0, 128}},       {AVCHROMA_LOC_CENTER, {128, 128}},
                                       {AVCHROMA_LOC_TOPLEFT, {0, 0}},      {AVCHROMA_LOC_TOP, {128, 0}},
                                       {AVCHROMA_LOC_BOTTOMLEFT, {0, 256}}, {AVCHROMA_LOC_BOTTOM, {128, 256}}};

/// What pictures can be converted to.
bool isUsable(AVPixelFormat format) {
    return sws_isSupportedOutput(format) || hasFloats(format);
}

/// Codecs whose players expect 4:2:0 even where the standard knows more.
bool isForDelivery(AVCodecID codec) {
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC || codec == AV_CODEC_ID_VP8 ||
           codec == AV_CODEC_ID_VP9 || codec == AV_CODEC_ID_AV1;
}

} // namespace

bool isRgb(AVPixelFormat format) {
    return flagsOf(format) & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL);
}

bool isGray(AVPixelFormat format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    return d && d->nb_components <= 2 && !isRgb(format);
}

bool hasFloats(AVPixelFormat format) {
    return format == AV_PIX_FMT_GBRPF32 || format == AV_PIX_FMT_GBRAPF32 || format == AV_PIX_FMT_GRAYF32;
}

bool needsFloat(AVPixelFormat format) {
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    return d && d->comp[0].depth > 8;
}

bool hasAlpha(AVPixelFormat format) {
    return flagsOf(format) & (AV_PIX_FMT_FLAG_ALPHA | AV_PIX_FMT_FLAG_PAL);
}

AVColorSpace usualMatrix(int width, int height) {
    return width >= 1280 || height >= 720 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

AVColorSpace matrixOf(AVColorSpace space, int width, int height) {
    return space == AVCOL_SPC_UNSPECIFIED || space == AVCOL_SPC_RGB ? usualMatrix(width, height) : space;
}

LumaShares lumaShares(AVColorSpace space) {
    switch (space) {
    case AVCOL_SPC_BT709:
        return {0.2126, 0.0722};
    case AVCOL_SPC_FCC:
        return {0.30, 0.11};
    case AVCOL_SPC_SMPTE240M:
        return {0.212, 0.087};
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return {0.2627, 0.0593};
    default:
        return {0.299, 0.114};
    }
}

ChromaPlace chromaPlace(AVPixelFormat format, AVChromaLocation told) {
    const auto* place = std::ranges::find(chromaPlaces, told, &ChromaWord::word);
    if (place != std::end(chromaPlaces)) return place->place;
    return {withoutRange(format) == format ? 0 : 128, 128};
}

ChromaPlace chromaPlace(const AVFrame& frame) {
    ChromaPlace place = chromaPlace(static_cast<AVPixelFormat>(frame.format), frame.chroma_location);
    if (av_dict_get(frame.metadata, secondColumn, nullptr, 0)) place.x = 256;
    return place;
}

void tellChromaPlace(AVFrame& frame, ChromaPlace place) {
    const bool second = place.x == 256;
    av_dict_set(&frame.metadata, secondColumn, second ? "1" : nullptr, 0);
    if (second) place.x = 0;
    const auto* word = std::ranges::find(chromaPlaces, place, &ChromaWord::place);
    frame.chroma_location = word != std::end(chromaPlaces) ? word->word : AVCHROMA_LOC_UNSPECIFIED;
}

ChromaPlace chromaPlaceInField(ChromaPlace place, int field) {
    // A sample between two rows of a field lies nearer to the one that the other field is not above of.
    if (place.y == 128) place.y = field == 0 ? 64 : 192;
    return place;
}

AVPixelFormat withoutRange(AVPixelFormat format) {
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    default:
        return format;
    }
}

bool isFullRange(AVPixelFormat format, AVColorRange range) {
    if (isRgb(format) || withoutRange(format) != format) return true;
    if (range != AVCOL_RANGE_UNSPECIFIED) return range == AVCOL_RANGE_JPEG;
    return isGray(format);
}

Dynamics dynamicsOf(AVColorTransferCharacteristic transfer) {
    switch (transfer) {
    case AVCOL_TRC_SMPTE2084:
        return Dynamics::Pq;
    case AVCOL_TRC_ARIB_STD_B67:
        return Dynamics::Hlg;
    default:
        return Dynamics::Standard;
    }
}

bool isOpaque(const AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    if (!hasAlpha(format)) return true;
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(format);
    const bool palette = d.flags & AV_PIX_FMT_FLAG_PAL;
    const int component = palette ? 3 : d.nb_components - 1;
    const int depth = palette ? 8 : d.comp[component].depth;
    const std::uint32_t full = d.flags & AV_PIX_FMT_FLAG_FLOAT ? std::bit_cast<std::uint32_t>(1.0f) : (1u << depth) - 1;
    const std::uint8_t* data[4] = {frame.data[0], frame.data[1], frame.data[2], frame.data[3]};
    std::vector<std::uint32_t> row(static_cast<std::size_t>(frame.width));
    for (int y = 0; y < frame.height; ++y) {
        av_read_image_line2(row.data(), data, frame.linesize, &d, 0, y, component, frame.width, palette,
                            sizeof(std::uint32_t));
        if (std::ranges::any_of(row, [&](std::uint32_t alpha) { return alpha != full; })) return false;
    }
    return true;
}

std::span<const AVPixelFormat> formatsOf(const AVCodec& encoder) {
    // Bare frames of any format: the one container that takes them, YUV4MPEG, knows these.
    static constexpr std::array kBare{
        AV_PIX_FMT_YUV420P,   AV_PIX_FMT_YUV422P,   AV_PIX_FMT_YUV444P,   AV_PIX_FMT_YUV411P,   AV_PIX_FMT_GRAY8,
        AV_PIX_FMT_YUV420P9,  AV_PIX_FMT_YUV422P9,  AV_PIX_FMT_YUV444P9,  AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV422P10,
        AV_PIX_FMT_YUV444P10, AV_PIX_FMT_YUV420P12, AV_PIX_FMT_YUV422P12, AV_PIX_FMT_YUV444P12, AV_PIX_FMT_YUV420P14,
        AV_PIX_FMT_YUV422P14, AV_PIX_FMT_YUV444P14, AV_PIX_FMT_YUV420P16, AV_PIX_FMT_YUV422P16, AV_PIX_FMT_YUV444P16,
        AV_PIX_FMT_GRAY9,     AV_PIX_FMT_GRAY10,    AV_PIX_FMT_GRAY12,    AV_PIX_FMT_GRAY16};
    if (encoder.id == AV_CODEC_ID_WRAPPED_AVFRAME) return kBare;
    std::size_t count = 0;
    while (encoder.pix_fmts && encoder.pix_fmts[count] != AV_PIX_FMT_NONE) ++count;
    return {encoder.pix_fmts, count};
}

Target pickTarget(const AVCodec& encoder, AVPixelFormat source, const Colour& colour, int width, int height, bool alpha,
                  AVPixelFormat wanted) {
    // TIFF knows chroma planes, but few programs read them.
    std::vector<AVPixelFormat> taken;
    const std::span<const AVPixelFormat> known = formatsOf(encoder);
    for (const AVPixelFormat f : known)
        if (isUsable(f) && (encoder.id != AV_CODEC_ID_TIFF || isRgb(f) || isGray(f))) taken.push_back(f);
    const auto takes = [&](AVPixelFormat f) { return known.empty() || std::ranges::find(taken, f) != taken.end(); };

    const bool takesAlpha = alpha && std::ranges::any_of(taken, hasAlpha);
    if (takesAlpha && wanted == AV_PIX_FMT_NONE)
        std::erase_if(taken, [](AVPixelFormat format) { return !hasAlpha(format); });

    Target target{source, colour};
    if (wanted != AV_PIX_FMT_NONE) {
        if (!takes(wanted) || !isUsable(wanted))
            throw UsageError(fmt::format("{} does not take the pixel format {}",
                                         encoder.id == AV_CODEC_ID_WRAPPED_AVFRAME ? "a .y4m file" : encoder.name,
                                         av_get_pix_fmt_name(wanted)));
        target.format = wanted;
    } else if (source == AV_PIX_FMT_PAL8 || !takes(source)) {
        if (taken.empty()) taken.push_back(AV_PIX_FMT_BGRA);
        taken.push_back(AV_PIX_FMT_NONE);
        // A palette holds any colour and alpha, which a nearest match by its eight bits would lose.
        const AVPixelFormat like = source == AV_PIX_FMT_PAL8 ? AV_PIX_FMT_BGRA : source;
        // Full range before limited: the encoders of pictures take both spellings of it.
        const AVPixelFormat plain = withoutRange(like);
        const bool even = width % 2 == 0 && height % 2 == 0;
        if (takes(plain))
            target.format = plain;
        else if (isRgb(like) && isForDelivery(encoder.id) && even && !takesAlpha && takes(AV_PIX_FMT_YUV420P))
            target.format = needsFloat(like) && takes(AV_PIX_FMT_YUV420P10) ? AV_PIX_FMT_YUV420P10 : AV_PIX_FMT_YUV420P;
        else
            target.format = avcodec_find_best_pix_fmt_of_list(taken.data(), like, alpha, nullptr);
    }
    if (encoder.id == AV_CODEC_ID_MJPEG) {
        // JPEG files know one matrix and one range, whatever their size.
        target.colour.space = AVCOL_SPC_BT470BG;
        target.colour.range = AVCOL_RANGE_JPEG;
        target.colour.chroma = AVCHROMA_LOC_CENTER;
    } else if (isRgb(target.format)) {
        target.colour.space = AVCOL_SPC_RGB;
        target.colour.range = AVCOL_RANGE_JPEG;
        target.colour.chroma = AVCHROMA_LOC_UNSPECIFIED;
    } else if (isGray(target.format)) {
        target.colour.space = AVCOL_SPC_UNSPECIFIED;
        if (!isGray(source)) target.colour.range = AVCOL_RANGE_JPEG;
    } else if (isRgb(source) || isGray(source)) {
        target.colour.space = usualMatrix(width, height);
        target.colour.range = withoutRange(target.format) != target.format ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
        target.colour.chroma = AVCHROMA_LOC_LEFT;
    } else if (withoutRange(source) != source) {
        target.colour.range = AVCOL_RANGE_JPEG;
        if (takes(withoutRange(target.format))) target.format = withoutRange(target.format);
    }
    return target;
}

} // namespace larkmoor
