#include "requests.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>

extern "C" {
#include <libavutil/parseutils.h>
}

namespace larkmoor {

namespace {

template <class T>
std::optional<T> number(std::string_view text) {
    T value{};
    const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (status != std::errc() || end != text.data() + text.size()) return {};
    return value;
}

constexpr int greatestSide = 65535;
constexpr std::int64_t mostFrames = std::int64_t{1} << 40;

} // namespace

double parseTime(const std::string& text) {
    const auto wrong = [&] {
        return UsageError(fmt::format("\"{}\" is no time; write seconds or HH:MM:SS.mmm", text));
    };
    double total = 0;
    std::string_view rest = text;
    for (int parts = 0;; ++parts) {
        const std::size_t colon = rest.find(':');
        const bool last = colon == std::string_view::npos;
        const std::optional<double> part = number<double>(rest.substr(0, colon));
        const bool whole = part && *part == std::floor(*part);
        if (!part || !std::isfinite(*part) || std::signbit(*part) || *part > 1e9 || (!last && !whole) || parts > 2 ||
            (parts > 0 && *part >= 60))
            throw wrong();
        total = total * 60 + *part;
        if (last) return total;
        rest.remove_prefix(colon + 1);
    }
}

AVRational parseRate(const std::string& text) {
    AVRational rate{};
    if (text.find(':') != std::string::npos || av_parse_video_rate(&rate, text.c_str()) < 0 || av_q2d(rate) > 100000)
        throw UsageError(fmt::format("\"{}\" is no frame rate; write one such as 25, 29.97 or 30000/1001", text));
    // 23.976, 29.97, 59.94 are how people write the rates of television.
    const double thousands = std::round(av_q2d(rate) * 1.001);
    if (text.find('.') != std::string::npos && std::abs(av_q2d(rate) * 1.001 - thousands) < 1e-4)
        return {static_cast<int>(thousands) * 1000, 1001};
    return rate;
}

std::pair<int, int> parseSize(const std::string& text) {
    const std::size_t x = text.find('x');
    if (x != std::string::npos) {
        const auto width = number<int>(std::string_view(text).substr(0, x));
        const auto height = number<int>(std::string_view(text).substr(x + 1));
        if (width && height && *width > 0 && *height > 0 && *width <= greatestSide && *height <= greatestSide)
            return {*width, *height};
    }
    throw UsageError(fmt::format("\"{}\" is no size; write one such as 1920x1080", text));
}

AVPixelFormat parsePixelFormat(const std::string& text) {
    const AVPixelFormat format = av_get_pix_fmt(text.c_str());
    const AVPixFmtDescriptor* d = av_pix_fmt_desc_get(format);
    if (!d || (d->flags & AV_PIX_FMT_FLAG_HWACCEL))
        throw UsageError(fmt::format("\"{}\" is no pixel format; `ffmpeg -pix_fmts` lists them", text));
    return format;
}

std::int64_t parseBitRate(const std::string& text) {
    double factor = 1;
    std::string_view digits = text;
    if (!text.empty() && (text.back() == 'k' || text.back() == 'K')) factor = 1e3;
    if (!text.empty() && text.back() == 'M') factor = 1e6;
    if (factor > 1) digits.remove_suffix(1);
    const std::optional<double> value = number<double>(digits);
    if (!value || !(*value * factor >= 1000 && *value * factor <= 1e12))
        throw UsageError(fmt::format("\"{}\" is no bit rate; write bits a second such as 800k or 4M", text));
    return std::llround(*value * factor);
}

RawRequest parseRaw(const std::string& text) {
    RawRequest raw;
    const std::size_t first = text.find(':');
    if (first == std::string::npos) {
        raw.format = parsePixelFormat(text);
        return raw;
    }
    const std::size_t second = text.find(':', first + 1);
    if (second == std::string::npos)
        throw UsageError(fmt::format("--raw takes WxH:FORMAT:RATE, such as 1920x1080:bgra:25, not \"{}\"", text));
    std::tie(raw.width, raw.height) = parseSize(text.substr(0, first));
    raw.format = parsePixelFormat(text.substr(first + 1, second - first - 1));
    raw.rate = parseRate(text.substr(second + 1));
    return raw;
}

namespace {

std::optional<std::pair<std::int64_t, std::int64_t>> twoNumbers(std::string_view text, char between) {
    const std::size_t at = text.find(between);
    if (at == std::string_view::npos) return {};
    const auto first = number<std::int64_t>(text.substr(0, at)), second = number<std::int64_t>(text.substr(at + 1));
    if (!first || !second || *first < 0 || *first >= *second || *second > mostFrames) return {};
    return std::pair(*first, *second);
}

} // namespace

Part parseFramesOf(const std::string& text) {
    const auto frames = twoNumbers(text, ':');
    if (!frames)
        throw UsageError(fmt::format("--frames-of takes A:B, frames A to B-1 counted from 0, such as 100:200, not "
                                     "\"{}\"",
                                     text));
    return {.first = frames->first, .end = frames->second, .share = {}};
}

Part parseChunk(const std::string& text) {
    const auto share = twoNumbers(text, '/');
    if (!share)
        throw UsageError(fmt::format("--chunk takes I/N, part I of N counted from 0, such as 0/10, not \"{}\"", text));
    return {.first = 0, .end = {}, .share = share};
}

Part settlePart(const Part& part, std::optional<std::int64_t> total, const std::string& name) {
    if (!part.share) return part;
    const std::int64_t number = part.share->first, count = part.share->second; // Clang 14 lets no lambda hold bindings
    if (!total)
        throw UsageError(
            fmt::format("nothing tells how many frames {} has, as --chunk needs; --frames-of takes a part", name));
    const auto bound = [&](std::int64_t i) { return av_rescale_rnd(*total, i, count, AV_ROUND_DOWN); };
    // What is told of the length may be too little: the last part goes on to the end.
    if (number + 1 == count) return {.first = bound(number), .end = {}, .share = {}};
    return {.first = bound(number), .end = bound(number + 1), .share = {}};
}

bool isRawPath(const std::string& path) {
    if (path == "-") return true;
    std::string ending = std::filesystem::path(path).extension();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    if (ending == ".raw" || ending == ".yuv" || ending == ".rgb" || ending == ".bgra") return true;
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    return ending.empty() && std::filesystem::exists(status) && !std::filesystem::is_regular_file(status) &&
           !std::filesystem::is_directory(status);
}

} // namespace larkmoor
