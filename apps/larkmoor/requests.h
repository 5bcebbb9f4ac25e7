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
    ReadPolicy reading; ///< of what goes in
};

/// Seconds, or [HH:]MM:SS with a fraction. Throws UsageError.
double parseTime(const std::string& text);
/// Frames a second: "25", "29.97", "30000/1001". Throws UsageError.
AVRational parseRate(const std::string& text);
/// "1920x1080". Throws UsageError.
std::pair<int, int> parseSize(const std::string& text);
/// A pixel format by FFmpeg's name. Throws UsageError.
AVPixelFormat parsePixelFormat(const std::string& text);
/// Bits a second: "4000000", "800k", "4M". Throws UsageError.
std::int64_t parseBitRate(const std::string& text);
RawRequest parseRaw(const std::string& text);

/// Whether `path` is written or read as bare frames.
bool isRawPath(const std::string& path);

} // namespace larkmoor
