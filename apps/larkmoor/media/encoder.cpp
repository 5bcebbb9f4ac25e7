#include "media/encoder.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr int encoderThreads = 8;
constexpr double usualRateQuality = 65; ///< CRF 18 with x264
constexpr double usualStepQuality = 90; ///< quantiser 2

bool isOneOf(std::string_view list, std::string_view word) {
    for (std::size_t at = 0; at <= list.size();) {
        const std::size_t end = std::min(list.find(',', at), list.size());
        if (list.substr(at, end - at) == word) return true;
        at = end + 1;
    }
    return false;
}

bool takes(const AVOutputFormat& container, AVCodecID codec) {
    // For what keeps no list of codecs FFmpeg cannot tell; the header will.
    return avformat_query_codec(&container, codec, FF_COMPLIANCE_NORMAL) != 0;
}

bool isForEditing(AVCodecID id) {
    const AVCodecDescriptor* d = avcodec_descriptor_get(id);
    if (!d) return false;
    const bool lossless = (d->props & AV_CODEC_PROP_LOSSLESS) && !(d->props & AV_CODEC_PROP_LOSSY);
    return lossless || (d->props & AV_CODEC_PROP_INTRA_ONLY);
}

/// Greatest rate factor of the encoders that have one: 0 is the best picture.
double greatestRateFactor(std::string_view encoder) {
    return encoder == "libx264" || encoder == "libx264rgb" || encoder == "libx265" ? 51 : 63;
}

void setQuality(AVCodecContext& context, const std::optional<double>& quality) {
    if (av_opt_find(context.priv_data, "crf", nullptr, 0, 0)) {
        const double share = (100 - quality.value_or(usualRateQuality)) / 100;
        av_opt_set(context.priv_data, "crf",
                   fmt::format("{}", std::lround(share * greatestRateFactor(context.codec->name))).c_str(), 0);
    } else if (std::string_view(context.codec->name) == "libwebp" ||
               std::string_view(context.codec->name) == "libwebp_anim") {
        av_opt_set_double(context.priv_data, "quality", quality.value_or(usualStepQuality), 0);
    } else {
        // Quantisers 1 or 2 to 31, finer steps towards the good end. Encoders without them ignore this.
        const double share = (100 - quality.value_or(usualStepQuality)) / 100;
        context.flags |= AV_CODEC_FLAG_QSCALE;
        context.global_quality = static_cast<int>(std::lround((2 + 29 * share * share) * FF_QP2LAMBDA));
    }
}

/// Codecs that know one steady rate only, or count time in too few bits for a clip's own unit.
bool wantsSteadyRate(const AVCodec& codec) {
    switch (codec.id) {
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG4:
    case AV_CODEC_ID_H263:
    case AV_CODEC_ID_H263P:
    case AV_CODEC_ID_THEORA:
    case AV_CODEC_ID_DNXHD:
        return true;
    default:
        return codec.supported_framerates != nullptr;
    }
}

} // namespace

const AVOutputFormat& containerFor(const std::string& path) {
    std::string ending = std::filesystem::path(path).extension();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    const AVOutputFormat* container = av_guess_format(nullptr, ("x" + ending).c_str(), nullptr);
    if (ending.empty() || !container)
        throw UsageError(fmt::format("{} has no ending that tells what to write, such as .mp4, .mkv or .png", path));
    return *container;
}

bool isPictureContainer(const AVOutputFormat& container) {
    return std::string_view(container.name) == "image2";
}

const AVCodec& encoderFor(const EncodeOptions& options, const AVOutputFormat& container, const std::string& path,
                          const Reader* source) {
    if (!options.codec.empty()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(options.codec.c_str());
        if (!codec)
            if (const AVCodecDescriptor* d = avcodec_descriptor_get_by_name(options.codec.c_str()))
                codec = avcodec_find_encoder(d->id);
        if (!codec || codec->type != AVMEDIA_TYPE_VIDEO)
            throw UsageError(
                fmt::format("no video encoder is called {}; `ffmpeg -encoders` lists them", options.codec));
        if (!takes(container, codec->id))
            throw UsageError(fmt::format("{} does not go into a file like {}", options.codec, path));
        return *codec;
    }
    if (source && !isPictureContainer(container)) {
        const AVCodecID own = source->videoStream().codecpar->codec_id;
        const AVCodec* codec = avcodec_find_encoder(own);
        if (codec && isForEditing(own) && takes(container, own) &&
            isOneOf(source->container().iformat->name, container.name))
            return *codec;
    }
    const AVCodec* codec =
        avcodec_find_encoder(av_guess_codec(&container, nullptr, path.c_str(), nullptr, AVMEDIA_TYPE_VIDEO));
    if (!codec || codec->type != AVMEDIA_TYPE_VIDEO)
        throw UsageError(fmt::format("a file like {} takes no pictures that can be encoded here", path));
    return *codec;
}

CodecPtr openEncoder(const AVCodec& codec, const EncodeOptions& options, const AVOutputFormat& container,
                     const VideoFacts& video, const Target& target) {
    CodecPtr context(avcodec_alloc_context3(&codec));
    if (!context) throw std::bad_alloc();
    AVCodecContext& c = *context;
    c.width = video.width;
    c.height = video.height;
    c.pix_fmt = target.format;
    c.color_range = target.colour.range;
    c.colorspace = target.colour.space;
    c.color_primaries = target.colour.primaries;
    c.color_trc = target.colour.transfer;
    c.chroma_sample_location = target.colour.chroma;
    c.sample_aspect_ratio = video.aspect;
    c.framerate = video.rate;
    if (codec.supported_framerates)
        c.framerate = codec.supported_framerates[av_find_nearest_q_idx(video.rate, codec.supported_framerates)];
    const bool steady = wantsSteadyRate(codec) || !(container.flags & AVFMT_VARIABLE_FPS);
    c.time_base = steady ? av_inv_q(c.framerate) : video.timeBase;
    c.field_order = video.fieldOrder;
    if (video.fieldOrder != AV_FIELD_PROGRESSIVE) c.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    if (container.flags & AVFMT_GLOBALHEADER) c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    c.flags |= AV_CODEC_FLAG_BITEXACT;
    c.thread_count = encoderThreads;
    // JPEG and its kin are written with the numbers of the full range, which some encoders call unofficial.
    c.strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    setQuality(c, options.quality);
    if (codec.id == AV_CODEC_ID_EXR) av_opt_set(c.priv_data, "compression", "zip16", 0);
    // It has a log of its own.
    if (std::string_view(codec.name) == "libx265") av_opt_set(c.priv_data, "x265-params", "log-level=error", 0);
    const int status = avcodec_open2(&c, &codec, nullptr);
    if (status < 0) throw Error(fmt::format("cannot encode with {}: {}", codec.name, avReason(status)));
    return context;
}

} // namespace larkmoor
