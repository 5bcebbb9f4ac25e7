#include "support/time_format.h"

#include <cmath>
#include <limits>
#include <string_view>

#include "base/arith.h"
#include "platform/exports.h"
#include "support/value_format.h"

namespace {

constexpr double kSeconds = 1e-7;
constexpr double kMinutes = 1.6666666666666665e-9;
constexpr double kNtsc = 29.97002997002997;

constexpr char kWhole[] = "$I64d";
constexpr char kWholeReal[] = "$.0f";
constexpr char kSmpte[] = "%02u:%02u:%02u:%02u";
constexpr char kClock[] = "%02u$:%02u$:%02u";

/// Patterns by format: with the fraction, and for display.
constexpr const char* kPatterns[kTimeFormats][2] = {
    {kWhole, kWhole},
    {"%02u$:%02u$:%02u$*%03u", kClock},
    {"$.3f", kWholeReal},
    {"%02u$:%02u$:%02u$*%02u", kClock},
    {"$.3f", kWholeReal},
    {"$u$&:%u$&.%03u", "$u$&:%u"},
    {kSmpte, kSmpte},
    {kSmpte, kSmpte},
    {"%02u:%02u:%02u;%02u", "%02u:%02u:%02u;%02u"},
    {kSmpte, kSmpte},
    {kSmpte, kSmpte},
    {kWhole, kWhole},
    {kWhole, kWhole},
    {"$u$&:%u$&.%03u", "$u$&:%u"},
    {"$.3f", kWholeReal},
    {"$I64d+$I64d", "$I64d+$I64d"},
    {"$I64d+$I64d", "$I64d+$I64d"},
    {kSmpte, kClock},
};

const char* PatternOf(const tTIMEFORMAT& format, bool full) {
    return format.format >= 0 && format.format < kTimeFormats ? kPatterns[format.format][full] : kWhole;
}

constexpr LONG kDropWrap = 2589407;

struct tLabels {
    LONG framesPerSecond;
    LONG wrap;
};

/// In order of eTIMEMODE.
constexpr tLabels kLabels[] = {{30, kDropWrap}, {30, 2592000}, {30, kDropWrap},
                               {25, 2160000},   {24, 2073600}, {30, 2592000}};
constexpr double kModeRates[] = {0.0, 30.0, kNtsc, 25.0, 24.0, kNtsc};

LONG KnownMode(LONG mode) {
    return mode > kModePlain && mode <= kModeNonDrop ? mode : LONG{kModePlain};
}

/// The label count of a frame: two numbers are left out at the start of each minute but every tenth. What was left out
/// is counted on the label itself, until that no longer moves.
std::int64_t DropLabel(std::int64_t frames) {
    std::int64_t n = frames % kDropWrap;
    for (std::int64_t left = 0;;) {
        const std::int64_t inHour = n % 108000, minute = inHour / 1800;
        std::int64_t now = n / 108000 * 108;
        if (minute != 0) now += (minute - inHour / 18000) * 2;
        if (now == left) return n;
        n += now - left;
        left = now;
    }
}

LONG SmpteModeOf(LONG format) {
    switch (format) {
    case kTimeSmpteNonDrop:
        return kModeNonDrop;
    case kTimeSmpte30:
        return kModeSmpte30;
    case kTimeSmpteDrop:
        return kModeDrop;
    case kTimeSmpteEbu:
        return kModeEbu25;
    case kTimeSmpteFilm:
        return kModeFilm24;
    default:
        return kModePlain;
    }
}

} // namespace

void SplitFrames(std::int64_t frames, tSMPTETIME& out) noexcept {
    const LONG mode = KnownMode(out.mode);
    const auto [perSecond, wrap] = kLabels[mode];
    const LONG perMinute = perSecond * 60, perHour = perMinute * 60;
    if (mode == kModePlain || mode == kModeDrop) frames = DropLabel(frames);
    auto rest = static_cast<LONG>(frames % wrap);
    out.hours = rest / perHour;
    rest -= out.hours * perHour;
    out.minutes = rest / perMinute;
    rest %= perMinute;
    out.seconds = rest / perSecond;
    out.frames = rest - out.seconds * perSecond;
    // A dropped label never shows.
    if (mode == kModeDrop && out.frames < 2 && out.seconds == 0 && out.minutes % 10 != 0) out.frames = 2;
}

void SplitTime(std::int64_t time, double rate, tSMPTETIME& out) noexcept {
    const auto units = static_cast<double>(time);
    if (const LONG mode = KnownMode(out.mode); mode != kModePlain)
        return SplitFrames(KwTrunc64(units * kModeRates[mode] * kSeconds + 5e-6), out);
    double s = units * kSeconds;
    if (rate > 0.01) s += 0.5 / rate;
    const LONG hours = KwTrunc(s * (1.0 / 3600.0));
    s -= hours * 3600.0;
    out.hours = hours % 24;
    out.minutes = KwTrunc(s * (1.0 / 60.0));
    s -= out.minutes * 60.0;
    out.seconds = KwTrunc(s);
    out.frames = KwTrunc(std::floor((s - out.seconds) * rate));
}

tMUSICTIME SplitMusicalTime(std::int64_t time, const tTIMEFORMAT& format) noexcept {
    const double beatsPerMeasure = format.beatsPerMeasure;
    const double t = static_cast<double>(time) * format.tempo / beatsPerMeasure * kMinutes + 5e-5;
    tMUSICTIME out;
    out.measures = KwTrunc(t);
    const double beats = (t - out.measures) * beatsPerMeasure;
    out.beats = KwTrunc(beats);
    out.ticks = KwTrunc((beats - out.beats) * format.ticksPerBeat);
    return out;
}

std::size_t FormatTimeEx(std::span<char> dest, const tTIMEFORMAT& format, std::int64_t time, const char* pattern,
                         ULONG flags, const tLOCALEBLOCK& locale) noexcept {
    if (!pattern) pattern = PatternOf(format, false);
    if (!(flags & kTimeAbsolute))
        time = static_cast<std::int64_t>(static_cast<std::uint64_t>(time) - static_cast<std::uint64_t>(format.offset));
    std::size_t sign = 0;
    if (time < 0) {
        time = time == std::numeric_limits<std::int64_t>::min() ? std::numeric_limits<std::int64_t>::max() : -time;
        sign = FormatValue(locale, dest, "-");
        dest = dest.subspan(sign);
    }
    const auto print = [&](auto... values) { return sign + FormatValue(locale, dest, pattern, values...); };
    // Digits beyond a double's print range stay whole.
    const auto printReal = [&](double value) {
        if (std::string_view(pattern) != kWholeReal) return print(value);
        return sign +
               FormatValue(locale, dest, kWhole, KwTrunc64(format.format == kTimeFrames ? std::floor(value) : value));
    };
    const auto printSplit = [&](double rate) {
        tSMPTETIME split{SmpteModeOf(format.format)};
        SplitTime(time, rate, split);
        return print(split.hours, split.minutes, split.seconds, split.frames);
    };
    const auto printMusic = [&](LONG first) {
        const tMUSICTIME music = SplitMusicalTime(time, format);
        return print(std::int64_t{music.measures} + first, std::int64_t{music.beats} + first, music.ticks);
    };
    const auto printFeet = [&](LONG framesPerFoot) {
        const std::int64_t frames = KwTrunc64(static_cast<double>(time) * kSeconds * format.frameRate + 1e-5);
        return print(frames / framesPerFoot, frames % framesPerFoot);
    };
    const auto units = static_cast<double>(time);
    switch (format.format) {
    case kTimeSamples:
        return print(KwTrunc64(format.samplesPerSecond * units * kSeconds + 0.5));
    case kTimeClock:
        return printSplit(1000.0);
    case kTimeSeconds:
        return printReal(units * kSeconds);
    case kTimeClockFrames:
        return printSplit(format.frameRate);
    case kTimeFrames:
        return printReal(units * kSeconds * format.frameRate + 1e-5);
    case kTimeMusic:
        return printMusic(flags & kTimeAbsolute ? 0 : 1);
    case kTimeSmpteNonDrop:
    case kTimeSmpte30:
    case kTimeSmpteDrop:
    case kTimeSmpteEbu:
    case kTimeSmpteFilm:
        return printSplit(0.0);
    case kTimeRaw:
        return print(time);
    case kTimeMicroseconds:
        return print(time / 10 + (time % 10 + 5) / 10);
    case kTimeMusicFromZero:
        return printMusic(0);
    case kTimeBeats:
        return printReal(units * format.tempo * kMinutes);
    case kTimeFeet16:
        return printFeet(40);
    case kTimeFeet35:
        return printFeet(16);
    case kTimeCd:
        return printSplit(75.0);
    default:
        pattern = kWhole;
        return print(time);
    }
}

std::size_t FormatTime(std::span<char> dest, const tTIMEFORMAT& format, std::int64_t time, bool full,
                       const tLOCALEBLOCK& locale) noexcept {
    return FormatTimeEx(dest, format, time, PatternOf(format, full), full ? kTimeFull : 0, locale);
}

std::size_t FormatTimeFlags(std::span<char> dest, const tTIMEFORMAT& format, std::int64_t time, ULONG flags,
                            const tLOCALEBLOCK& locale) noexcept {
    return FormatTimeEx(dest, format, time, PatternOf(format, flags & kTimeFull), flags & kTimeAbsolute, locale);
}

std::size_t KwFormatTime(char* dest, std::size_t size, const tTIMEFORMAT* format, std::int64_t time, BOOL full) {
    if (!dest || !format) return 0;
    return FormatTime({dest, size}, *format, time, full != FALSE);
}
