#include "media/container.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <span>

#include <fmt/format.h>

namespace larkmoor {

namespace {

constexpr AVCodecID transportCodecs[] = {
    AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO,   AV_CODEC_ID_MPEG4,        AV_CODEC_ID_H264,
    AV_CODEC_ID_HEVC,       AV_CODEC_ID_DIRAC,        AV_CODEC_ID_VC1,          AV_CODEC_ID_CAVS,
    AV_CODEC_ID_AVS2,       AV_CODEC_ID_AVS3,         AV_CODEC_ID_MP1,          AV_CODEC_ID_MP2,
    AV_CODEC_ID_MP3,        AV_CODEC_ID_AAC,          AV_CODEC_ID_AAC_LATM,     AV_CODEC_ID_AC3,
    AV_CODEC_ID_EAC3,       AV_CODEC_ID_DTS,          AV_CODEC_ID_TRUEHD,       AV_CODEC_ID_OPUS,
    AV_CODEC_ID_S302M,      AV_CODEC_ID_DVB_SUBTITLE, AV_CODEC_ID_DVB_TELETEXT, AV_CODEC_ID_HDMV_PGS_SUBTITLE,
    AV_CODEC_ID_SMPTE_KLV,  AV_CODEC_ID_TIMED_ID3};
constexpr AVCodecID programCodecs[] = {AV_CODEC_ID_MPEG1VIDEO, AV_CODEC_ID_MPEG2VIDEO, AV_CODEC_ID_MP1,
                                       AV_CODEC_ID_MP2,        AV_CODEC_ID_MP3,        AV_CODEC_ID_AC3,
                                       AV_CODEC_ID_DTS,        AV_CODEC_ID_PCM_DVD,    AV_CODEC_ID_DVD_SUBTITLE};
constexpr AVCodecID tapeCodecs[] = {AV_CODEC_ID_DVVIDEO, AV_CODEC_ID_PCM_S16LE};

struct KnownContainer {
    std::string_view name;
    std::span<const AVCodecID> codecs = {}; ///< all that it takes; empty where FFmpeg tells
    AVCodecID video = AV_CODEC_ID_NONE;     ///< the usual ones where they are not FFmpeg's
    AVCodecID sound = AV_CODEC_ID_NONE;
    AVCodecID alpha = AV_CODEC_ID_NONE;
};

constexpr KnownContainer known[] = {
    {.name = "mpegts", .codecs = transportCodecs},
    // MPEG-1 knows no fields, and few play it.
    {.name = "mpeg", .codecs = programCodecs, .video = AV_CODEC_ID_MPEG2VIDEO},
    {.name = "vob", .codecs = programCodecs},
    {.name = "dvd", .codecs = programCodecs},
    {.name = "svcd", .codecs = programCodecs},
    {.name = "vcd", .codecs = programCodecs},
    {.name = "dv", .codecs = tapeCodecs},
    // H.263 comes in five sizes, and its telephones are gone.
    {.name = "3gp", .video = AV_CODEC_ID_H264, .sound = AV_CODEC_ID_AAC},
    {.name = "3g2", .video = AV_CODEC_ID_H264, .sound = AV_CODEC_ID_AAC},
    {.name = "matroska", .sound = AV_CODEC_ID_AAC, .alpha = AV_CODEC_ID_FFV1},
    {.name = "mov", .alpha = AV_CODEC_ID_PRORES},
    {.name = "avi", .alpha = AV_CODEC_ID_UTVIDEO},
    {.name = "nut", .alpha = AV_CODEC_ID_FFV1},
};

const KnownContainer* find(const AVOutputFormat& container) {
    const auto* row = std::ranges::find(known, std::string_view(container.name), &KnownContainer::name);
    return row == std::end(known) ? nullptr : row;
}

bool isNamed(const AVOutputFormat& container, std::initializer_list<std::string_view> names) {
    return std::ranges::find(names, std::string_view(container.name)) != names.end();
}

bool headIsWritten(const AVOutputFormat& container, const AVCodecParameters& parameters, AVRational timeBase) {
    AVFormatContext* trial = nullptr;
    if (avMemory(avformat_alloc_output_context2(&trial, &container, nullptr, nullptr)) < 0) return false;
    int status = AVERROR(ENOMEM);
    AVStream* stream = avformat_new_stream(trial, nullptr);
    if (stream && avcodec_parameters_copy(stream->codecpar, &parameters) >= 0 &&
        ((container.flags & AVFMT_NOFILE) || avio_open_dyn_buf(&trial->pb) >= 0)) {
        stream->codecpar->codec_tag = 0;
        stream->time_base = timeBase;
        status = avformat_write_header(trial, nullptr);
        std::uint8_t* bytes = nullptr;
        if (trial->pb) {
            avio_close_dyn_buf(trial->pb, &bytes);
            av_free(bytes);
        }
    }
    avformat_free_context(trial);
    return avMemory(status) >= 0;
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

bool isMovie(const AVOutputFormat& container) {
    return isNamed(container, {"mp4", "mov", "ipod", "3gp", "3g2"});
}

bool isMatroska(const AVOutputFormat& container) {
    return std::string_view(container.name) == "matroska";
}

bool takes(const AVOutputFormat& container, AVCodecID codec) {
    if (const KnownContainer* row = find(container); row && !row->codecs.empty())
        return std::ranges::find(row->codecs, codec) != row->codecs.end();
    if (avformat_query_codec(&container, codec, FF_COMPLIANCE_NORMAL) != 0) return true;
    // These two take the names of AVI's pictures beside their own.
    const AVCodecTag* const lent[] = {avformat_get_riff_video_tags(), nullptr};
    return isNamed(container, {"mov", "matroska"}) && av_codec_get_tag(lent, codec) != 0;
}

bool takesStream(const AVOutputFormat& container, const AVCodecParameters& stream, AVRational timeBase) {
    if (!takes(container, stream.codec_id)) return false;
    if (const KnownContainer* row = find(container); row && !row->codecs.empty()) return true;
    const int answer = avformat_query_codec(&container, stream.codec_id, FF_COMPLIANCE_NORMAL);
    // The table of movie files is one for all of them, which take different parts of it.
    if (answer > 0 && (!isMovie(container) || stream.codec_type != AVMEDIA_TYPE_AUDIO)) return true;
    const AVCodecID usual = stream.codec_type == AVMEDIA_TYPE_AUDIO      ? container.audio_codec
                            : stream.codec_type == AVMEDIA_TYPE_SUBTITLE ? container.subtitle_codec
                                                                         : AV_CODEC_ID_NONE;
    return (answer > 0 || usual != AV_CODEC_ID_NONE) && headIsWritten(container, stream, timeBase);
}

AVCodecID usualVideo(const AVOutputFormat& container, const std::string& path) {
    if (const KnownContainer* row = find(container); row && row->video != AV_CODEC_ID_NONE) return row->video;
    return av_guess_codec(&container, nullptr, path.c_str(), nullptr, AVMEDIA_TYPE_VIDEO);
}

AVCodecID usualSound(const AVOutputFormat& container, int channels) {
    const KnownContainer* row = find(container);
    const AVCodecID usual = row && row->sound != AV_CODEC_ID_NONE ? row->sound : container.audio_codec;
    const bool stereoAtMost = usual == AV_CODEC_ID_MP2 || usual == AV_CODEC_ID_MP3;
    return stereoAtMost && channels > 2 && takes(container, AV_CODEC_ID_AC3) ? AV_CODEC_ID_AC3 : usual;
}

AVCodecID usualAlpha(const AVOutputFormat& container) {
    const KnownContainer* row = find(container);
    return row ? row->alpha : AV_CODEC_ID_NONE;
}

bool carriesRange(const AVOutputFormat& container, AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
    case AV_CODEC_ID_VP9:
    case AV_CODEC_ID_AV1:
    case AV_CODEC_ID_MJPEG:
        return true;
    // Their decoders say that the range is limited, whatever the container says.
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_VP8:
    case AV_CODEC_ID_PRORES:
        return false;
    default:
        return isNamed(container, {"matroska", "webm", "rawvideo"});
    }
}

AVChromaLocation carriedPlace(const AVOutputFormat& container, AVCodecID codec, AVChromaLocation wanted) {
    switch (codec) {
    case AV_CODEC_ID_H264:
    case AV_CODEC_ID_HEVC:
        return wanted;
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG4:
        return AVCHROMA_LOC_LEFT;
    default:
        break;
    }
    const bool usual = wanted == AVCHROMA_LOC_UNSPECIFIED || wanted == AVCHROMA_LOC_CENTER;
    const bool low = wanted == AVCHROMA_LOC_BOTTOM || wanted == AVCHROMA_LOC_BOTTOMLEFT;
    return usual || (isMatroska(container) && !low) ? wanted : AVCHROMA_LOC_LEFT;
}

std::string limitsOf(AVCodecID codec) {
    switch (codec) {
    case AV_CODEC_ID_DVVIDEO:
        return "720x576 at 25 frames a second, 720x480 at 29.97, 1440x1080 at 25, 1280x1080 at 29.97 or 960x720 at 50 "
               "or 59.94";
    case AV_CODEC_ID_H263:
        return "128x96, 176x144, 352x288, 704x576 or 1408x1152";
    case AV_CODEC_ID_H261:
        return "176x144 or 352x288";
    case AV_CODEC_ID_DNXHD:
        return "256x120 and more";
    case AV_CODEC_ID_MPEG1VIDEO:
    case AV_CODEC_ID_MPEG2VIDEO:
        return "at most 60 frames a second";
    default:
        return {};
    }
}

} // namespace larkmoor
