#include "media/encoder.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <malloc.h>

#include <fmt/format.h>

#include "media/quality.h"

namespace larkmoor {

namespace {

constexpr int encoderThreads = 8;

bool isOneOf(std::string_view list, std::string_view word) {
    for (std::size_t at = 0; at <= list.size();) {
        const std::size_t end = std::min(list.find(',', at), list.size());
        if (list.substr(at, end - at) == word) return true;
        at = end + 1;
    }
    return false;
}

bool isForEditing(AVCodecID id) {
    const AVCodecDescriptor* d = avcodec_descriptor_get(id);
    if (!d) return false;
    const bool lossless = (d->props & AV_CODEC_PROP_LOSSLESS) && !(d->props & AV_CODEC_PROP_LOSSY);
    return lossless || (d->props & AV_CODEC_PROP_INTRA_ONLY);
}

/// FFmpeg has several for some codecs; the one that knows most of it.
const AVCodec* findEncoder(AVCodecID id) {
    const char* better = id == AV_CODEC_ID_PRORES ? "prores_ks" : id == AV_CODEC_ID_AV1 ? "libsvtav1" : nullptr;
    const AVCodec* codec = better ? avcodec_find_encoder_by_name(better) : nullptr;
    return codec ? codec : avcodec_find_encoder(id);
}

bool takesAlpha(const AVCodec& codec) {
    if (codec.id == AV_CODEC_ID_GIF) return false;
    const auto formats = formatsOf(codec);
    return formats.empty() || std::ranges::any_of(formats, hasAlpha);
}

/// The codec of more than 8 bits and of HDR that a container's players know; AV_CODEC_ID_NONE for none.
AVCodecID deepCodec(const AVOutputFormat& container) {
    const std::string_view name = container.name;
    if (name == "webm") return AV_CODEC_ID_AV1;
    const bool known = name == "mp4" || name == "mov" || name == "ipod" || name == "matroska" || name == "mpegts";
    return known ? AV_CODEC_ID_HEVC : AV_CODEC_ID_NONE;
}

/// Whether the usual codec would lose bits or be one that hardly anything plays.
bool wantsDeepCodec(const EncodeOptions& options, const VideoFacts& video, AVCodecID usual, AVCodecID own) {
    if (dynamicsOf(video.colour.transfer) != Dynamics::Standard) return true;
    const AVPixelFormat format = options.pixelFormat != AV_PIX_FMT_NONE ? options.pixelFormat : video.format;
    const bool deep = av_pix_fmt_desc_get(format)->comp[0].depth > 8 && !isRgb(format) && !needsFloat(format);
    return deep && usual != AV_CODEC_ID_VP9 && own != AV_CODEC_ID_H264;
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

/// Even parts of a period, each less than 1/10000 s: movie files take any time, and have round numbers for a steady
/// rate.
AVRational partsOf(AVRational period) {
    AVRational part{1, period.den};
    while (part.den < 10000) part.den *= 2;
    return part;
}

bool knowsFields(AVCodecID codec) {
    constexpr std::array known{AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MPEG4,  AV_CODEC_ID_H264,   AV_CODEC_ID_HEVC,
                               AV_CODEC_ID_DNXHD,      AV_CODEC_ID_PRORES, AV_CODEC_ID_DVVIDEO};
    return std::ranges::find(known, codec) != known.end();
}

/// Mastering display and light level in x265's own words, each with a colon behind it.
std::string x265Light(const VideoFacts& video) {
    std::string words;
    if (video.mastering && video.mastering->has_primaries && video.mastering->has_luminance) {
        const AVMasteringDisplayMetadata& m = *video.mastering;
        const auto place = [](const AVRational(&xy)[2]) {
            return fmt::format("({},{})", std::lround(av_q2d(xy[0]) * 50000), std::lround(av_q2d(xy[1]) * 50000));
        };
        words +=
            fmt::format("master-display=G{}B{}R{}WP{}L({},{}):", place(m.display_primaries[1]),
                        place(m.display_primaries[2]), place(m.display_primaries[0]), place(m.white_point),
                        std::lround(av_q2d(m.max_luminance) * 10000), std::lround(av_q2d(m.min_luminance) * 10000));
    }
    if (video.light) words += fmt::format("max-cll={},{}:", video.light->MaxCLL, video.light->MaxFALL);
    return words;
}

struct Size {
    int width, height;
};

/// Some encoders, x264 among them, reckon with memory that they have not written: where the process used it before, the
/// same pictures become other bytes. From here on memory comes clear. It is kept for the next encoder, too: a fresh one
/// for each chunk of 25 frames in 1080p cost a tenth of the time.
void settleMemory() {
#ifdef M_PERTURB
    static const bool once = [] {
        constexpr int clear = 0xFF; // what is written is the complement
        constexpr int kept = 512 << 20, ownMapping = 32 << 20;
        return ::mallopt(M_PERTURB, clear) && ::mallopt(M_TRIM_THRESHOLD, kept) &&
               ::mallopt(M_MMAP_THRESHOLD, ownMapping);
    }();
    (void)once;
#endif
}

/// Everything but the user's own settings.
CodecPtr prepare(const AVCodec& codec, const EncodeOptions& options, const AVOutputFormat& container,
                 const VideoFacts& video, const Target& target, Size size) {
    CodecPtr context(avcodec_alloc_context3(&codec));
    if (!context) throw std::bad_alloc();
    AVCodecContext& c = *context;
    c.width = size.width;
    c.height = size.height;
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
    if (wantsSteadyRate(codec) || (!(container.flags & AVFMT_VARIABLE_FPS) && !isMovie(container)))
        c.time_base = av_inv_q(c.framerate);
    else
        c.time_base = isMovie(container) ? partsOf(av_inv_q(c.framerate)) : video.timeBase;
    c.field_order = video.fieldOrder;
    if (video.fieldOrder != AV_FIELD_PROGRESSIVE && knowsFields(codec.id))
        c.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
    if (container.flags & AVFMT_GLOBALHEADER) c.flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    c.flags |= AV_CODEC_FLAG_BITEXACT;
    c.thread_count = encoderThreads;
    // JPEG and its kin are written with the numbers of the full range, which some encoders call unofficial.
    c.strict_std_compliance = FF_COMPLIANCE_UNOFFICIAL;
    if (options.bitRate > 0)
        c.bit_rate = options.bitRate;
    else
        setQuality(c, options.quality);
    if (codec.id == AV_CODEC_ID_EXR) av_opt_set(c.priv_data, "compression", "zip16", 0);
    // Players of Apple's take HEVC by this name only.
    if (codec.id == AV_CODEC_ID_HEVC && isMovie(container)) c.codec_tag = MKTAG('h', 'v', 'c', '1');
    return context;
}

/// @return FFmpeg's code. Throws UsageError for a setting that the encoder does not have.
int open(AVCodecContext& c, const EncodeOptions& options, const VideoFacts& video) {
    const AVCodec& codec = *c.codec;
    // It has a log of its own.
    const bool x265 = std::string_view(codec.name) == "libx265";
    std::string x265Words = x265 ? x265Light(video) + "log-level=error" : "";
    Dictionary settings;
    for (const auto& [key, value] : options.settings) {
        if (!av_opt_find(&c, key.c_str(), nullptr, AV_OPT_FLAG_ENCODING_PARAM, AV_OPT_SEARCH_CHILDREN))
            throw UsageError(fmt::format("{} has no option called {}; `ffmpeg -h encoder={}` lists its own", codec.name,
                                         key, codec.name));
        if (x265 && key == "x265-params")
            x265Words += ":" + value;
        else
            settings.set(key.c_str(), value);
    }
    if (x265) settings.set("x265-params", x265Words);
    return avcodec_open2(&c, &codec, settings.get());
}

/// The rates in Mb/s that DNxHD knows, over all sizes, the nearest to a clip's own first.
std::vector<int> dnxhdRates(std::int64_t bitRate) {
    std::vector<int> rates{36,  45,  50,  60,  63,  75,  80,  85,  90,  100, 110, 115, 120, 145,
                           175, 180, 185, 190, 220, 240, 290, 295, 350, 365, 390, 440, 730};
    std::ranges::stable_sort(rates, {}, [&](int rate) { return std::abs(rate * 1'000'000LL - bitRate); });
    return rates;
}

/// What is tried in turn until the encoder opens: the profile of a clip from an editor, then what the quality asks for.
struct Attempt {
    std::optional<int> profile;
    std::int64_t bitRate = 0;
};

std::vector<Attempt> attempts(const AVCodec& codec, const EncodeOptions& options, const AVCodecParameters* own,
                              AVCodecContext& like) {
    const bool profiled = std::string_view(codec.name) == "prores_ks" || codec.id == AV_CODEC_ID_DNXHD;
    if (!profiled || options.bitRate > 0) return {{}};
    std::vector<Attempt> list;
    const bool keep = own && own->codec_id == codec.id && own->profile != FF_PROFILE_UNKNOWN && !options.quality;
    if (keep && codec.id == AV_CODEC_ID_DNXHD && own->profile == FF_PROFILE_DNXHD)
        for (const int rate : dnxhdRates(own->bit_rate)) list.push_back({FF_PROFILE_DNXHD, rate * 1'000'000LL});
    else if (keep)
        list.push_back({own->profile, 0});
    list.push_back({editingProfile(like, options.quality), 0});
    return list;
}

std::string rateText(AVRational rate) {
    return fmt::format("{:.5g}", av_q2d(rate));
}

} // namespace

const AVCodec& encoderFor(const EncodeOptions& options, const AVOutputFormat& container, const std::string& path,
                          const VideoFacts& video, const Reader* source) {
    if (!options.codec.empty()) {
        const AVCodec* codec = avcodec_find_encoder_by_name(options.codec.c_str());
        if (const AVCodecDescriptor* d = avcodec_descriptor_get_by_name(options.codec.c_str()))
            if (!codec || codec->id == AV_CODEC_ID_PRORES) codec = findEncoder(d->id);
        if (!codec || codec->type != AVMEDIA_TYPE_VIDEO)
            throw UsageError(
                fmt::format("no video encoder is called {}; `ffmpeg -encoders` lists them", options.codec));
        if (!takes(container, codec->id))
            throw UsageError(fmt::format("{} does not go into a file like {}", options.codec, path));
        return *codec;
    }
    const AVCodecID own = source ? source->videoStream().codecpar->codec_id : AV_CODEC_ID_NONE;
    if (source && !isPictureContainer(container)) {
        const AVCodec* codec = findEncoder(own);
        if (codec && isForEditing(own) && takes(container, own) && (!video.alpha || takesAlpha(*codec)) &&
            isOneOf(source->container().iformat->name, container.name))
            return *codec;
    }
    const AVCodecID usual = usualVideo(container, path);
    const AVCodec* codec = findEncoder(usual);
    if (!codec || codec->type != AVMEDIA_TYPE_VIDEO)
        throw UsageError(fmt::format("a file like {} takes no pictures that can be encoded here", path));
    if (video.alpha && !takesAlpha(*codec)) {
        if (const AVCodec* clear = findEncoder(usualAlpha(container))) {
            warn(fmt::format("the pictures have alpha, so {} is encoded with {}; --codec takes another", path,
                             clear->name));
            return *clear;
        }
    }
    if (wantsDeepCodec(options, video, usual, own))
        if (const AVCodec* deep = findEncoder(deepCodec(container))) return *deep;
    return *codec;
}

std::vector<EncoderFacts> encodersFor(const std::string& path) {
    const AVOutputFormat& container = containerFor(path);
    const AVCodecID usual = usualVideo(container, path);
    std::vector<EncoderFacts> found;
    void* place = nullptr;
    while (const AVCodec* const codec = av_codec_iterate(&place)) {
        constexpr int unfit = AV_CODEC_CAP_HARDWARE | AV_CODEC_CAP_HYBRID | AV_CODEC_CAP_EXPERIMENTAL;
        if (!av_codec_is_encoder(codec) || codec->type != AVMEDIA_TYPE_VIDEO || codec->capabilities & unfit) continue;
        if (codec->id == AV_CODEC_ID_WRAPPED_AVFRAME) continue;
        // The ending of a picture names its codec.
        if (isPictureContainer(container) ? codec->id != usual : !takes(container, codec->id)) continue;
        const AVCodecDescriptor& d = *avcodec_descriptor_get(codec->id);
        EncoderFacts facts{.name = codec->name, .title = codec->long_name ? codec->long_name : d.name};
        facts.alpha = takesAlpha(*codec);
        facts.lossless = (d.props & AV_CODEC_PROP_LOSSLESS) && !(d.props & AV_CODEC_PROP_LOSSY);
        facts.intra = d.props & AV_CODEC_PROP_INTRA_ONLY;
        for (const AVPixelFormat f : formatsOf(*codec))
            facts.bits = std::max(facts.bits, av_pix_fmt_desc_get(f)->comp[0].depth);
        found.push_back(std::move(facts));
    }
    return found;
}

CodecPtr openEncoder(const AVCodec& codec, const EncodeOptions& options, const AVOutputFormat& container,
                     const VideoFacts& video, const Target& target, const Reader* source, bool again) {
    settleMemory();
    const auto note = [&](const std::string& sentence) {
        if (!again) warn(sentence);
    };
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(target.format);
    const auto whole = [](int side, int shift) { return ((side - 1) | ((1 << shift) - 1)) + 1; };
    const Size exact{video.width, video.height};
    const Size padded{whole(exact.width, d.log2_chroma_w), whole(exact.height, d.log2_chroma_h)};
    const AVCodecParameters* own = source ? source->videoStream().codecpar : nullptr;

    CodecPtr context = prepare(codec, options, container, video, target, exact);
    const bool profiled = std::string_view(codec.name) == "prores_ks" || codec.id == AV_CODEC_ID_DNXHD;
    if (options.quality && !profiled && !setQuality(*context, options.quality))
        note(fmt::format("{} has no quality to set; --quality does nothing", codec.name));
    if (options.bitRate > 0 && isLossless(codec.id))
        note(fmt::format("{} keeps everything, at whatever bit rate; --bitrate does nothing", codec.name));
    const std::string limits = limitsOf(codec.id);
    const auto misfit = [&](const std::string& reason) {
        return Error(fmt::format("cannot encode {}x{} at {} frames a second with {}: {}", exact.width, exact.height,
                                 rateText(video.rate), codec.name, limits.empty() ? reason : "it takes " + limits));
    };
    // Slower clips are shown right by their time stamps, which a tape does not have.
    const double share = av_q2d(context->framerate) / av_q2d(video.rate);
    if (codec.supported_framerates && (share < 0.99 || (share > 1.01 && codec.id == AV_CODEC_ID_DVVIDEO)))
        throw misfit("no rate of its own is near");

    std::vector<Size> sizes{exact};
    if (padded.width != exact.width || padded.height != exact.height) sizes.push_back(padded);
    int status = 0;
    for (const Attempt& attempt : attempts(codec, options, own, *context))
        for (const Size size : sizes) {
            context = prepare(codec, options, container, video, target, size);
            if (attempt.bitRate > 0) context->bit_rate = attempt.bitRate;
            if (attempt.profile) {
                av_opt_set_int(context->priv_data, "profile", *attempt.profile, 0);
                if (codec.id == AV_CODEC_ID_PRORES) av_opt_set(context->priv_data, "vendor", "apl0", 0);
            }
            status = avMemory(open(*context, options, video));
            if (status < 0) continue;
            if (size.width != exact.width || size.height != exact.height)
                note(fmt::format("{} takes {} in even sizes only: {}x{} is filled up to {}x{} with the pixels at its "
                                 "edge",
                                 codec.name, d.name, exact.width, exact.height, size.width, size.height));
            return context;
        }
    throw misfit(avReason(status));
}

} // namespace larkmoor
