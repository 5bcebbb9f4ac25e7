#include "media/quality.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace larkmoor {

namespace {

constexpr double usualQuality = 75;

struct QualityRow {
    std::string_view encoder;
    const char* option; ///< null for the quantiser that FFmpeg keeps for all encoders
    double worst, usual, best;
};

// `usual` is where each comes to the SSIM that x264 has at CRF 18, about 0.993 on a photograph in slow motion, as near
// as its steps allow.
constexpr QualityRow rows[] = {
    {"libx264", "crf", 51, 18, 0},
    {"libx264rgb", "crf", 51, 18, 0},
    {"libx265", "crf", 51, 20, 0},
    {"libvpx", "crf", 63, 6, 0},
    {"libvpx-vp9", "crf", 63, 25, 0},
    {"libaom-av1", "crf", 63, 26, 1},
    // 0 is not the best one but its word for "not set".
    {"libsvtav1", "crf", 63, 28, 1},
    {"librav1e", "qp", 255, 38, 0},
    {"libtheora", nullptr, 0, 9.5, 10},
    {"mpeg4", nullptr, 31, 2, 1},
    {"libxvid", nullptr, 31, 2, 1},
    {"mpeg2video", nullptr, 31, 2, 1},
    {"mpeg1video", nullptr, 31, 2, 1},
    {"flv", nullptr, 31, 2, 1},
    {"h263", nullptr, 31, 2, 1},
    {"h263p", nullptr, 31, 2, 1},
    {"msmpeg4v2", nullptr, 31, 2, 1},
    {"msmpeg4", nullptr, 31, 2, 1},
    {"wmv1", nullptr, 31, 2, 1},
    {"wmv2", nullptr, 31, 2, 1},
    {"mjpeg", nullptr, 31, 2, 1},
    {"snow", nullptr, 31, 1, 0.1},
    {"jpeg2000", nullptr, 31, 0.5, 0.05},
    {"libopenjpeg", "compression_level", 100, 4, 1},
    {"libjxl", "distance", 15, 0.1, 0},
    {"libwebp", "quality", 0, 90, 100},
    {"libwebp_anim", "quality", 0, 90, 100},
    {"cfhd", "quality", 12, 2, 0},
};

} // namespace

bool setQuality(AVCodecContext& c, std::optional<double> quality) {
    const auto* row = std::ranges::find(rows, std::string_view(c.codec->name), &QualityRow::encoder);
    if (row == std::end(rows)) return false;
    const double q = quality.value_or(usualQuality);
    const double value = q < usualQuality ? std::lerp(row->worst, row->usual, q / usualQuality)
                                          : std::lerp(row->usual, row->best, (q - usualQuality) / (100 - usualQuality));
    if (!row->option) {
        c.flags |= AV_CODEC_FLAG_QSCALE;
        c.qmin = 1;
        c.global_quality = static_cast<int>(std::lround(value * FF_QP2LAMBDA));
        return true;
    }
    const AVOption* option = av_opt_find(&c, row->option, nullptr, 0, AV_OPT_SEARCH_CHILDREN);
    if (!option) return false;
    const bool whole = option->type == AV_OPT_TYPE_INT;
    av_opt_set_double(&c, row->option, whole ? std::round(value) : value, AV_OPT_SEARCH_CHILDREN);
    if (c.codec_id == AV_CODEC_ID_VP8) {
        // Its quality is one that a bit rate allows, so that the quantiser itself is what has to be held.
        c.qmin = c.qmax = static_cast<int>(std::lround(value));
        c.bit_rate = 100'000'000;
    } else if (c.codec_id == AV_CODEC_ID_VP9) {
        c.qmin = 0;
        c.bit_rate = 0;
    }
    return true;
}

int editingProfile(const AVCodecContext& c, std::optional<double> quality) {
    const double q = quality.value_or(usualQuality);
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(c.pix_fmt);
    const bool fullChroma = d.log2_chroma_w == 0;
    if (c.codec_id == AV_CODEC_ID_PRORES) {
        if (fullChroma) return q < 90 ? FF_PROFILE_PRORES_4444 : FF_PROFILE_PRORES_XQ;
        return q < 20   ? FF_PROFILE_PRORES_PROXY
               : q < 45 ? FF_PROFILE_PRORES_LT
               : q < 70 ? FF_PROFILE_PRORES_STANDARD
                        : FF_PROFILE_PRORES_HQ;
    }
    if (fullChroma) return FF_PROFILE_DNXHR_444;
    if (d.comp[0].depth > 8) return FF_PROFILE_DNXHR_HQX;
    return q < 30 ? FF_PROFILE_DNXHR_LB : q < 70 ? FF_PROFILE_DNXHR_SQ : FF_PROFILE_DNXHR_HQ;
}

} // namespace larkmoor
