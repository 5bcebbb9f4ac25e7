// What the command line asks for, checked, in values.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "chain.h"
#include "media/encoder.h"
#include "media/reader.h"

namespace larkmoor {

/// `--raw`: WxH:FORMAT:RATE, or FORMAT alone for an output, whose size and rate are the input's.
struct RawRequest {
    AVPixelFormat format = AV_PIX_FMT_NONE;
    int width = 0, height = 0; ///< 0 where not told
    AVRational rate{0, 1};
};

struct OutputRequest {
    std::string path;
    bool overwrite = false;
    EncodeOptions encode;
    std::optional<RawRequest> raw;
    int threads = 1;
};

struct RenderRequest {
    std::string input;
    std::vector<EffectRequest> effects;
    std::string over;               ///< a clip to lay the pictures over; empty for none
    std::optional<AVRational> rate; ///< of a numbered sequence
    double start = 0;
    std::int64_t frames = -1;
    OutputRequest output;
};

struct JoinRequest {
    std::string first, second;
    EffectRequest transition;
    double duration = 1; ///< seconds
    OutputRequest output;
};

struct GenerateRequest {
    EffectRequest generator;
    int width = 0, height = 0;
    AVRational rate{25, 1};
    std::optional<double> duration; ///< seconds; one frame for a picture, five seconds for a clip
    OutputRequest output;
};

/// Seconds, or [HH:]MM:SS with a fraction. Throws UsageError.
double parseTime(const std::string& text);
/// Frames a second: "25", "29.97", "30000/1001". Throws UsageError.
AVRational parseRate(const std::string& text);
/// "1920x1080". Throws UsageError.
std::pair<int, int> parseSize(const std::string& text);
/// A pixel format by FFmpeg's name. Throws UsageError.
AVPixelFormat parsePixelFormat(const std::string& text);
RawRequest parseRaw(const std::string& text);

/// Whether `path` is written or read as bare frames.
bool isRawPath(const std::string& path);

// The verbs. They throw UsageError for wrong use and Error for failures.
void list(const Module& module, bool json);
void show(const Module& module, const std::string& name, bool json);
void render(const Module& module, const RenderRequest& request);
void join(const Module& module, const JoinRequest& request);
void generate(const Module& module, const GenerateRequest& request);

} // namespace larkmoor
