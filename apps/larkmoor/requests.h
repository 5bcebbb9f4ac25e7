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

/// Part of what a run makes, in frames of the whole. Pictures alone go into it.
struct Part {
    std::int64_t first = 0;
    std::optional<std::int64_t> end; ///< the frame after the last
    /// The number, from 0, of one of so many parts of a length, instead of both; until the length of all is known.
    std::optional<std::pair<std::int64_t, std::int64_t>> share;
};

struct OutputRequest {
    std::string path;
    bool overwrite = false;
    EncodeOptions encode;
    std::optional<RawRequest> raw;
    int threads = 1;
    ReadPolicy reading; ///< of what goes in
    std::optional<Part> part;
    std::int64_t chunkFrames = 0; ///< after so many frames, counted in the whole, a new encoder begins; 0 for never
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
/// Frames A to B-1 of the whole: "A:B". Throws UsageError.
Part parseFramesOf(const std::string& text);
/// Part I, counted from 0, of N: "I/N". Throws UsageError.
Part parseChunk(const std::string& text);
/// A part's own frames. Throws UsageError where the length of the whole would be needed and is not known.
Part settlePart(const Part& part, std::optional<std::int64_t> total, const std::string& name);

/// Whether `path` is written or read as bare frames.
bool isRawPath(const std::string& path);

} // namespace larkmoor
