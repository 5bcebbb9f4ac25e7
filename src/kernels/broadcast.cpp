#include "kernels/broadcast.h"

#include <bit>
#include <cmath>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/quick.h"
#include "kernels/unaligned.h"

namespace {

using tTables = tBroadcastTables;

/// The cubic that leaves a clip point level with `level` and meets the identity, with its slope of 1, `span` steps on;
/// `rise` is what the identity there stands above `level`.
struct tKnee {
    double c3, c2, level;

    tKnee(double span, double rise, double from)
        : c3((rise - span * 0.5) / (span * span * span * -0.5)), c2((rise - span / 3.0) / (span * span / 3.0)),
          level(from) {}
    double At(double x) const { return c3 * x * x * x + c2 * x * x + level; }
};

/// A range of indices that a cubic bends. An empty one is a hard corner.
struct tBend {
    std::int64_t low, high;
};

/// The integer part of a bound, wrapped as the sums around it are.
std::int64_t Wrap(std::int64_t value) {
    return KwWrap32(value);
}

tBend LowLumaBend(double lo, double smooth, double lowest, std::int64_t a, std::int64_t mid) {
    tBend bend{a, a};
    if (!(lowest + 2.0 < lo && smooth > 0.0)) return bend;
    const double room = lo - lowest, below = static_cast<double>(mid) - lo;
    const std::int64_t r = KwTrunc(room + 0.5);
    const double f = room > below ? below / room : 1.0;
    bend.high = Wrap(KwTrunc(static_cast<double>(r) * smooth * f + 0.5) + a);
    if (bend.high == a) return bend;
    bend.low = std::max<std::int64_t>(Wrap(a - r), tTables::kLumaFirst);
    bend.high = std::min(bend.high, mid);
    const double rise = static_cast<double>(bend.high) - lo;
    if (static_cast<double>(bend.high - bend.low) / 3.0 >= rise) bend.low = Wrap(bend.high - KwTrunc(rise * 3.0));
    return bend;
}

tBend HighLumaBend(double hi, double smooth, double highest, std::int64_t b, std::int64_t mid) {
    tBend bend{b, b};
    if (!(hi + 2.0 < highest && smooth > 0.0)) return bend;
    const double room = highest - hi, above = hi - static_cast<double>(mid);
    const std::int64_t r = KwTrunc(room + 0.5);
    const double f = room > above ? above / room : 1.0;
    bend.low = Wrap(b - KwTrunc(static_cast<double>(r) * f * smooth + 0.5));
    if (bend.low == b) return bend;
    bend.high = std::min<std::int64_t>(Wrap(b + r), 220);
    bend.low = std::max(bend.low, mid);
    const double rise = hi - static_cast<double>(bend.low);
    if (static_cast<double>(bend.high - bend.low) / 3.0 >= rise) bend.high = Wrap(KwTrunc(rise * 3.0) + bend.low);
    return bend;
}

/// `most` is the largest chroma that the format can hold.
tBend ChromaBend(double c, double smooth, double most) {
    const std::int64_t top = KwTrunc(c + 0.5);
    tBend bend{top, top};
    if (!(c >= 1.0 && c + 2.0 < most && smooth > 0.0)) return bend;
    const double room = most - c;
    const std::int64_t r = KwTrunc(room + 0.5);
    const double f = room > c - 1.0 ? (c - 1.0) / room : 1.0;
    const std::int64_t d = KwTrunc(static_cast<double>(r) * f * smooth + 0.5);
    bend.low = Wrap(top - d);
    if (d == 0) return bend;
    bend.high = std::min<std::int64_t>(Wrap(top + r), tTables::kChromaCount);
    bend.low = std::max<std::int64_t>(bend.low, 1);
    const double rise = c - static_cast<double>(bend.low);
    if (static_cast<double>(bend.high - bend.low) / 3.0 >= rise) bend.high = Wrap(KwTrunc(rise * 3.0) + bend.low);
    return bend;
}

tBend CompositeBend(double smooth) {
    tBend bend{200, 200};
    if (!(smooth > 0.0)) return bend;
    bend.low = Wrap(200 - std::int64_t{KwTrunc(smooth * 40.0 + 0.5)});
    if (bend.low == 200) return bend;
    bend.low = std::max<std::int64_t>(bend.low, 1);
    bend.high = std::min<std::int64_t>((300 - bend.low) * 2, 240);
    return bend;
}

/// Gains that hold an amplitude of index i to the bent curve ending level at `limit`. Entry 0 stays 0.
void FillGains(double* table, int count, const tBend& bend, double limit) {
    const double low = static_cast<double>(bend.low), high = static_cast<double>(bend.high);
    const tKnee knee(low - high, low - limit, limit);
    table[0] = 0.0;
    for (int i = 1; i < count; ++i) table[i] = i < bend.low ? 1.0 : (i < bend.high ? knee.At(i - high) : limit) / i;
}

KWINLINE inline double ChromaU(double b, double g, double r) {
    return b * 0.436 - (g * 0.289 + r * 0.147);
}
KWINLINE inline double ChromaV(double b, double g, double r) {
    return r * 0.615 - g * 0.515 - b * 0.1;
}

constexpr std::ptrdiff_t kBlock = 64; // pixels

/// A pixel as the rule sees it. The weights are computed where the tables hold the very same numbers.
struct tLevels {
    double y, u, v, sum; ///< `sum` of the absolute differences, which is at least the amplitude
    std::int32_t entry;  ///< of the luma tables
};

KWINLINE inline tLevels LevelsOf(std::uint32_t pixel, double black, double perCode, double setupLevel, double perUnit) {
    const double b = static_cast<std::int32_t>(pixel & 255);
    const double g = static_cast<std::int32_t>(pixel >> 8 & 255);
    const double r = static_cast<std::int32_t>(pixel >> 16 & 255);
    const double weightB = 0.114 * ((b - black) * perCode) + setupLevel;
    const double weightR = 0.299 * ((r - black) * perCode), weightG = 0.587 * ((g - black) * perCode);
    const double y = weightB + weightR + weightG;
    const double u = b * 0.436 - (g * 0.289 + r * 0.147), v = r * 0.615 - g * 0.515 - b * 0.1;
    // Luma of any byte lies inside the tables, so this conversion always fits.
    return {y, u, v, (std::fabs(v) + std::fabs(u)) * perUnit, static_cast<std::int32_t>(y + 0.5) - tTables::kLumaFirst};
}

/// Whether the quick test finds all pixels legal.
KWINLINE inline bool AreLegal(const tAnyWord* pixels, std::ptrdiff_t count, const tBroadcastPass& pass) {
    const double black = pass.black, perCode = pass.perCode, setupLevel = pass.setupLevel, perUnit = pass.perUnit;
    const double upper = pass.upper, lower = pass.lower, half = pass.half;
    const std::int32_t first = pass.sameFirst - tTables::kLumaFirst, end = pass.sameEnd - tTables::kLumaFirst;
    std::uint32_t suspects = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const tLevels p = LevelsOf(pixels[i], black, perCode, setupLevel, perUnit);
        const bool legal =
            (p.entry >= first) & (p.entry < end) & (p.sum < upper - p.y) & (p.sum < p.y - lower) & (p.sum < half);
        suspects |= !legal;
    }
    return suspects == 0;
}

/// Truncates, and limits to 0 to `most`. What does not fit 32 bits gives 0, as the least integer would.
KWINLINE inline std::uint32_t Limited(double value, std::uint32_t most) {
    const double inside = ((value > 0.0) & (value < 2147483648.0)) ? value : 0.0;
    const auto code = static_cast<std::uint32_t>(static_cast<std::int32_t>(inside));
    return code < most ? code : most;
}

/// The whole rule on up to `kBlock` pixels, every branch a choice between values, so that it runs as a vector loop.
KWINLINE inline void LimitBlock(const std::uint32_t* __restrict in, std::uint32_t* __restrict out, std::ptrdiff_t count,
                                const tBroadcastPass& pass) {
    const double* lumaOut = pass.tables->lumaOut;
    const double* lumaCode = pass.tables->lumaCode;
    const double* chromaScale = pass.tables->chromaScale;
    const double* compositeScale = pass.tables->compositeScale;
    const double black = pass.black, perCode = pass.perCode, setupLevel = pass.setupLevel, perUnit = pass.perUnit;
    const double upper = pass.upper, lower = pass.lower, half = pass.half, quarter = pass.quarter;
    const double lowKnee = pass.lowKnee, highKnee = pass.highKnee;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const tLevels p = LevelsOf(in[i], black, perCode, setupLevel, perUnit);
        const double newLuma = lumaOut[p.entry];
        const bool same = newLuma == tTables::kUnchanged;
        const double level = same ? p.y : newLuma;
        const double up = upper - level, down = level - lower;
        const bool legal = same & (p.sum < up) & (p.sum < down) & (p.sum < half);
        const bool lowNearer = down < up;
        const double room = lowNearer ? down : up, bound = (lowNearer ? lowKnee : highKnee) * room;

        const double q = (p.u * p.u + p.v * p.v) * (perUnit * perUnit);
        const bool loud = q >= quarter;
        const double gain = chromaScale[static_cast<std::int32_t>(2.0 * std::sqrt(q) + 0.5)];
        const double s = loud ? gain : 1.0;
        const double u = p.u * s, v = p.v * s, power = q * (s * s);

        const bool outside = (power >= bound * bound) & (power > 0.0);
        const double ratio = room / std::sqrt(power);
        const bool bends = ratio > 5.0 / 6.0;
        const double at = bends ? 200.0 / ratio : 0.0; // below 240
        const double bent = compositeScale[static_cast<std::int32_t>(at) + (lowNearer ? 0 : tTables::kCompositeCount)];
        const double r = outside ? (bends ? bent : ratio) : 1.0;
        const bool keep = legal | (same & !loud & !outside);

        const double l = lumaCode[p.entry];
        const std::uint32_t a = in[i] >> 24;
        const std::uint32_t red = Limited(v * r * 1.14 + l, a);
        const std::uint32_t green = Limited(l - u * r * 0.394 - v * r * 0.581, a);
        const std::uint32_t blue = Limited(u * r * 2.032 + l, a);
        out[i] = keep ? in[i] : a << 24 | red << 16 | green << 8 | blue;
    }
}

/// The rule for one pixel: the definition.
tPixel8 LimitedPixel(const tPixel8& p, const tBroadcastPass& pass) {
    const tTables& t = *pass.tables;
    const double y = t.weightB[p.b] + t.weightR[p.r] + t.weightG[p.g];
    double u = ChromaU(p.b, p.g, p.r), v = ChromaV(p.b, p.g, p.r);
    const std::int32_t entry = KwTrunc(y + 0.5) - tTables::kLumaFirst;
    bool touched = t.lumaOut[entry] != tTables::kUnchanged;
    const double level = touched ? t.lumaOut[entry] : y;
    const double up = pass.upper - level, down = level - pass.lower;
    if (!touched) {
        const double most = (std::fabs(v) + std::fabs(u)) * pass.perUnit; // at least the amplitude
        if (most < up && most < down && most < pass.half) return p;
    }
    const bool low = down < up;
    const double room = low ? down : up, knee = (low ? pass.lowKnee : pass.highKnee) * room;
    double power = (u * u + v * v) * (pass.perUnit * pass.perUnit);
    if (power >= pass.quarter) {
        const double gain = t.chromaScale[KwTrunc(2.0 * std::sqrt(power) + 0.5)];
        u *= gain;
        v *= gain;
        power *= gain * gain;
        touched = true;
    }
    if (power > 0.0 && power >= knee * knee) {
        double ratio = room / std::sqrt(power);
        if (ratio > 5.0 / 6.0) ratio = t.compositeScale[KwTrunc(200.0 / ratio) + (low ? 0 : tTables::kCompositeCount)];
        u *= ratio;
        v *= ratio;
    } else if (!touched) {
        return p;
    }
    const double luma = t.lumaCode[entry];
    const auto byte = [&p](double value) { return static_cast<std::uint8_t>(KwClamp(KwTrunc(value), 0, p.a)); };
    return {byte(u * 2.032 + luma), byte(luma - u * 0.394 - v * 0.581), byte(v * 1.14 + luma), p.a};
}

void LimitPlain(tAnyWord* row, std::ptrdiff_t count, const tBroadcastPass& pass) {
    for (std::ptrdiff_t x = 0; x < count; ++x)
        row[x] = std::bit_cast<std::uint32_t>(LimitedPixel(std::bit_cast<tPixel8>(std::uint32_t{row[x]}), pass));
}

/// The errors of floats. Channels and their weighted sums, times 1000, are whole numbers below 2^24, so nothing is lost
/// before the first factor; what follows has its factors' and its own roundings, 6e-8 of its size each.
struct tErrors {
    static constexpr float kLuma = 6e-5f;     ///< levels up to 233: a factor, a product and two sums
    static constexpr float kChroma = 2e-4f;   ///< twice the amplitude, which is up to 296, in 3e-7 of it
    static constexpr float kRoom = 1e-4f;     ///< a luma, a limit up to 300 and their difference
    static constexpr float kReach = 3e-4f;    ///< an amplitude with its gain, 5e-7 of 148, beside the room
    static constexpr float kIndex = 3e-4f;    ///< 240 times the relative error of an amplitude; that of the room beside
    static constexpr float kByGain = 2.5e-4f; ///< a channel: 4e-7 of up to 226, and a code in 5e-5
    static constexpr float kByRatio = 7e-4f;  ///< the same by the room, whose error counts 2.032 / 0.725 fold
};

/// What floats find of a pixel first: chroma in thousandths of a code, luma in half-IRE.
struct tQuickLevels {
    float u, v, y;
};
KWINLINE inline tQuickLevels QuickLevelsOf(std::uint32_t pixel, float perSum, float offset) {
    const auto b = static_cast<float>(static_cast<std::int32_t>(pixel & 255));
    const auto g = static_cast<float>(static_cast<std::int32_t>(pixel >> 8 & 255));
    const auto r = static_cast<float>(static_cast<std::int32_t>(pixel >> 16 & 255));
    const float y = (114.0f * b + 587.0f * g + 299.0f * r) * perSum + offset;
    return {436.0f * b - (289.0f * g + 147.0f * r), 615.0f * r - 515.0f * g - 100.0f * b, y};
}

/// The nearest whole number; below 2^22. GCC 12 makes branches of conversions there and back.
KWINLINE inline float Nearest(float value) {
    return (value + 0x1.8p23f) - 0x1.8p23f;
}

/// Whether all pixels are legal, and not nearly so.
KWINLINE inline bool AreSurelyLegal(const tAnyWord* pixels, std::ptrdiff_t count, const tBroadcastCorners& c) {
    const float perSum = c.perSum, offset = c.offset, perUnit = c.perUnit, upper = c.upper, lower = c.lower;
    const float first = c.firstSame - 0.5f + tErrors::kLuma;
    const float end = c.firstAbove - 0.5f - tErrors::kLuma, half = c.loud * 0.5f;
    std::uint32_t suspects = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const tQuickLevels p = QuickLevelsOf(pixels[i], perSum, offset);
        const float most = (std::fabs(p.u) + std::fabs(p.v)) * perUnit + tErrors::kReach;
        const bool legal = (p.y >= first) & (p.y < end) & (most < upper - p.y) & (most < p.y - lower) & (most < half);
        suspects |= !legal;
    }
    return suspects == 0;
}

/// The rule for hard corners by floats, where twice as many fit a register. `open` is 0 where nothing is too close to a
/// step. With hard corners legal pixels are among those that are neither clipped nor loud nor outside.
KWINLINE inline void QuickBlock(const std::uint32_t* __restrict in, std::uint32_t* __restrict out,
                                std::uint32_t* __restrict open, std::ptrdiff_t count, const tBroadcastCorners& c) {
    using E = tErrors;
    const float perSum = c.perSum, offset = c.offset, perUnit = c.perUnit, upper = c.upper, lower = c.lower;
    const float lumaLow = c.lumaLow, lumaHigh = c.lumaHigh, codeLow = c.codeLow, codeHigh = c.codeHigh;
    const float codesPer = c.codesPer, codeOffset = c.codeOffset, chroma = c.chroma, loudFrom = c.loud;
    const float firstSame = c.firstSame, firstAbove = c.firstAbove;
    const float least = KwHidden(0.25f), most = KwHidden(255.5f), nothing = KwHidden(0.0f);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t pixel = in[i];
        const tQuickLevels p = QuickLevelsOf(pixel, perSum, offset);
        const float nearest = Nearest(p.y), entry = nearest + (nearest < 0.0f ? 1.0f : 0.0f);
        const bool below = entry < firstSame, above = entry >= firstAbove, same = !below & !above;
        const float level = below ? lumaLow : above ? lumaHigh : p.y;
        const float code = below ? codeLow : above ? codeHigh : entry * codesPer + codeOffset;

        const float amplitude = std::sqrt(p.u * p.u + p.v * p.v) * perUnit, twice = amplitude + amplitude;
        const bool loud = twice >= loudFrom;
        const float peak = Nearest(twice), s = loud ? chroma / peak : 1.0f, reach = amplitude * s;
        const float up = upper - level, down = level - lower, room = down < up ? down : up, size = std::fabs(room);
        const bool outside = (reach >= size) & (reach > 0.0f), bends = room * 1.2f > reach;
        const float over = bends ? room : reach;
        const float ratio = (bends ? 200.0f * reach : room) / (outside ? over : 1.0f);
        const float past = ratio - 0.5f, index = Nearest(past);
        const float gain = bends ? 200.0f / index : ratio;
        const float f = s * (outside ? gain : 1.0f);

        const bool byRatio = outside & !bends;
        const float far = 0.5f - (byRatio ? E::kByRatio : E::kByGain);
        const std::uint32_t opacity = pixel & 0xFF000000;
        const auto alpha = static_cast<float>(static_cast<std::int32_t>(opacity >> 24));
        float farthest = nothing; // from a step's middle
        const auto channel = [&](float value) KWINLINE {
            const float inside = std::min(std::max(value, least), most) - 0.5f, whole = Nearest(inside);
            farthest = std::max(farthest, std::fabs(inside - whole));
            return std::min(whole, alpha);
        };
        const float r = channel(p.v * 1.14e-3f * f + code);
        const float g = channel(code - (p.u * 0.394e-3f + p.v * 0.581e-3f) * f);
        const float b = channel(p.u * 2.032e-3f * f + code);
        // Together they are exact, and one conversion.
        const auto colors = static_cast<std::int32_t>(r * 65536.0f + g * 256.0f + b);
        const std::uint32_t limited = opacity | static_cast<std::uint32_t>(colors);
        const bool keep = same & !loud & !outside;
        out[i] = keep ? pixel : limited;

        const bool nearEntry = std::fabs(p.y - nearest) >= 0.5f - E::kLuma;
        const bool nearLoud = std::fabs(twice - loudFrom) <= E::kChroma;
        const bool nearPeak = loud & (std::fabs(twice - peak) >= 0.5f - E::kChroma);
        // A clipped grey has the same color on either side.
        const bool nearReach = (std::fabs(reach - size) <= E::kReach) & (same | (amplitude > 0.0f));
        const bool nearBend = outside & (std::fabs(room * 1.2f - reach) <= 2.0f * E::kReach);
        const float gap = 0.5f - std::fabs(past - index);
        const bool nearIndex = outside & bends & (gap * room <= E::kIndex * room + 240.0f * E::kRoom);
        open[i] = nearEntry | nearLoud | nearPeak | nearReach | nearBend | nearIndex | (!keep & (farthest >= far));
    }
}

/// Limits a block by floats, and what they leave open by the rule itself. Returns how many blocks from there on go by
/// the rule at once.
KWINLINE inline std::int32_t LimitHardBlock(const std::uint32_t* in, std::uint32_t* out, std::ptrdiff_t count,
                                            const tBroadcastPass& pass) {
    std::uint32_t open[kBlock];
    QuickBlock(in, out, open, count, pass.corners);
    return KwCloseOpen(open, count, [&](std::ptrdiff_t from, std::ptrdiff_t size) KWINLINE {
        LimitBlock(in + from, out + from, size, pass);
    });
}

KWINLINE inline void LimitBlocks(tAnyWord* row, std::ptrdiff_t width, const tBroadcastPass& pass) {
    const bool hard = pass.corners.hard;
    std::int32_t close = 0;
    for (std::ptrdiff_t x = 0; x < width; x += kBlock) {
        const std::ptrdiff_t count = std::min(kBlock, width - x);
        if (hard ? AreSurelyLegal(row + x, count, pass.corners) : AreLegal(row + x, count, pass)) continue;
        std::uint32_t in[kBlock], out[kBlock];
        std::copy_n(row + x, count, in);
        if (hard && close <= 0) {
            close = LimitHardBlock(in, out, count, pass);
        } else {
            LimitBlock(in, out, count, pass);
            --close;
        }
        std::copy_n(out, count, row + x);
    }
}
constexpr CKwBodies kLimitRow(LimitPlain, KwClones<LimitBlocks>);

} // namespace

tBroadcastPass KwBuildBroadcastTables(const tBROADCASTPROP& record, tBroadcastTables& tables) {
    const double black = record.studioRGB ? 16.0 : 0.0, white = record.studioRGB ? 235.0 : 255.0;
    const double setup = record.setup ? 7.5 : 0.0;
    const double span = 2.0 * (100.0 - setup), range = white - black;
    const double perCode = span / range, codesPer = range / span;
    const double lo = 2.0 * record.lumaMin, hi = 2.0 * record.lumaMax, c = 2.0 * record.chromaMax;

    for (int i = 0; i < 256; ++i) {
        const double x = (i - black) * perCode;
        tables.weightR[i] = 0.299 * x;
        tables.weightG[i] = 0.587 * x;
        tables.weightB[i] = 0.114 * x + 2.0 * setup;
    }
    const auto sum = [&](int i) { return tables.weightB[i] + tables.weightR[i] + tables.weightG[i]; };

    const std::int64_t a = KwTrunc(lo + 0.5), b = KwTrunc(hi + 0.5), mid = Wrap(a + b) / 2;
    const tBend low = LowLumaBend(lo, record.lumaMinSmooth, sum(0), a, mid);
    const tBend top = HighLumaBend(hi, record.lumaMaxSmooth, sum(255), b, mid);
    const auto number = [](std::int64_t i) { return static_cast<double>(i); };
    const tKnee lowKnee(number(low.high - low.low), number(low.high) - lo, lo);
    const tKnee topKnee(number(top.low - top.high), number(top.low) - hi, hi);
    tBroadcastPass pass{};
    pass.tables = &tables;
    pass.sameFirst = tTables::kLumaFirst + tTables::kLumaCount;
    for (int i = tTables::kLumaFirst; i < tTables::kLumaFirst + tTables::kLumaCount; ++i) {
        const bool same = i >= low.low && i >= low.high && i < top.low;
        const double level = i < low.low    ? lo
                             : i < low.high ? lowKnee.At(number(i - low.low))
                             : same         ? i
                             : i < top.high ? topKnee.At(number(i - top.high))
                                            : hi;
        tables.lumaOut[i - tTables::kLumaFirst] = same ? tTables::kUnchanged : level;
        tables.lumaCode[i - tTables::kLumaFirst] = (level - 2.0 * setup) * codesPer + black + 0.5;
        if (!same) continue;
        pass.sameFirst = std::min(pass.sameFirst, i);
        pass.sameEnd = i + 1;
    }

    const double mostChroma = std::sqrt(25999.205849999995) * perCode * 2.0;
    const tBend chroma = ChromaBend(c, record.chromaMaxSmooth, mostChroma);
    FillGains(tables.chromaScale, tTables::kChromaCount, chroma, c);
    const tBend lower = CompositeBend(record.compositeMinSmooth), upper = CompositeBend(record.compositeMaxSmooth);
    FillGains(tables.compositeScale, tTables::kCompositeCount, lower, 200.0);
    FillGains(tables.compositeScale + tTables::kCompositeCount, tTables::kCompositeCount, upper, 200.0);

    pass.black = black;
    pass.perCode = perCode;
    pass.setupLevel = 2.0 * setup;
    pass.perUnit = 2.0 * (100.0 - setup) / (record.studioRGB ? 219.0 : 255.0);
    pass.upper = 2.0 * record.compositeMax;
    pass.lower = 2.0 * record.compositeMin;
    pass.half = number(chroma.low) * 0.5;
    pass.quarter = number(chroma.low) * number(chroma.low) * 0.25;
    pass.lowKnee = 0.005 * number(lower.low);
    pass.highKnee = 0.005 * number(upper.low);

    const auto within = [](double value, double least, double most) { return value >= least && value <= most; };
    const auto isCorner = [](const tBend& bend) { return bend.low == bend.high; };
    pass.corners.hard = isCorner(low) && isCorner(top) && isCorner(chroma) && isCorner(lower) && isCorner(upper) &&
                        within(lo, -300, 300) && within(hi, 1, 300) && within(c, 1, 300) && top.low >= 1 &&
                        within(pass.upper, -300, 300) && within(pass.lower, -300, 300);
    if (!pass.corners.hard) return pass;
    const auto real = [](double value) { return static_cast<float>(value); };
    const auto code = [&](double level) { return (level - 2.0 * setup) * codesPer + black + 0.5; };
    pass.corners = {.hard = true,
                    .perSum = real(perCode / 1000.0),
                    .offset = real(2.0 * setup - black * perCode),
                    .perUnit = real(pass.perUnit / 1000.0),
                    .lumaLow = real(lo),
                    .lumaHigh = real(hi),
                    .firstSame = real(number(low.low)),
                    .firstAbove = real(number(top.low)),
                    .codesPer = real(codesPer),
                    .codeOffset = real(code(0.0)),
                    .codeLow = real(code(lo)),
                    .codeHigh = real(code(hi)),
                    .chroma = real(c),
                    .loud = real(number(chroma.low)),
                    .upper = real(pass.upper),
                    .lower = real(pass.lower)};
    return pass;
}

HRESULT KwDibBroadcast(const tView& view, LONG bytesPerPixel, const tBroadcastPass& pass) {
    if (bytesPerPixel != 4) return E_NOTIMPL;
    tRows rows;
    const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows);
    for (LONG y = 0; y < rows.height; ++y) kLimitRow(KwWordRow(rows, y), rows.width, pass);
    return status;
}
