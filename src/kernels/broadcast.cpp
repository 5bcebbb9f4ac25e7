#include "kernels/broadcast.h"

#include <bit>
#include <cmath>

#include "base/arith.h"
#include "base/bodies.h"
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

KWINLINE inline void LimitBlocks(tAnyWord* row, std::ptrdiff_t width, const tBroadcastPass& pass) {
    for (std::ptrdiff_t x = 0; x < width; x += kBlock) {
        const std::ptrdiff_t count = std::min(kBlock, width - x);
        if (AreLegal(row + x, count, pass)) continue;
        std::uint32_t in[kBlock], out[kBlock];
        std::copy_n(row + x, count, in);
        LimitBlock(in, out, count, pass);
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
    return pass;
}

HRESULT KwDibBroadcast(const tView& view, LONG bytesPerPixel, const tBroadcastPass& pass) {
    if (bytesPerPixel != 4) return E_NOTIMPL;
    tRows rows;
    const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows);
    for (LONG y = 0; y < rows.height; ++y) kLimitRow(KwWordRow(rows, y), rows.width, pass);
    return status;
}
