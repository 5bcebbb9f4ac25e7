#include "kernels/dissolve.h"

#include "base/arith.h"
#include "kernels/byte_block.h"
#include "kernels/clones.h"

namespace {

#pragma GCC diagnostic ignored "-Wpsabi" // blocks are passed between inlined functions alone

/// What a mode's loop needs, fixed for the call. Words are pixels or one byte for each channel of a pixel.
struct tMix {
    std::int32_t t = 0;        ///< progress in 1024ths
    std::uint32_t q = 0;       ///< progress in 255ths
    std::int32_t share = 0;    ///< 1024ths of a product
    std::uint32_t amounts = 0; ///< of blending, in 256ths
    std::uint32_t taken = 0;   ///< mask of the channels that are the second picture's by now
    std::uint32_t first = 0;   ///< taken off the first picture, steps of a morph, or a colour
    std::uint32_t second = 0;  ///< taken off the second picture
};

using tSource = const std::uint8_t*;
using tTarget = std::uint8_t*;

constexpr std::uint32_t kAlpha = 0xFF000000;

[[gnu::always_inline]] inline tBytes Repeated(std::uint32_t word) {
    return reinterpret_cast<tBytes>(KwRepeated(word));
}

[[gnu::always_inline]] inline tBytes LimitedToAlpha(const tBytes& pixels) {
    return KwSmaller(pixels, KwAlphas(pixels));
}

/// v * share / 1024 without more than 16 bits, for v up to 510 and shares up to 1024.
struct tShare {
    explicit tShare(std::int32_t share)
        : high(static_cast<std::uint16_t>(share >> 7)), low(static_cast<std::uint16_t>(share & 127)) {}
    [[gnu::always_inline]] tHalves Of(const tHalves& v) const { return (v * high + (v * low >> 7)) >> 3; }
    std::uint16_t high, low;
};

// Base and added (or taken) picture stand first and second; the caller exchanges them at half time.

KWCLONES void AddRow(tTarget o, tSource base, tSource added, std::ptrdiff_t bytes, const tMix& m) {
    const tShare share(m.share);
    KwForBlocks(
        o, base, added, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            return KwSum(x, KwByHalves(
                                y, [&](const tHalves& v) __attribute__((always_inline)) { return share.Of(v); }));
        });
}

/// Alpha goes from the first picture to the second, whichever is the base.
template <bool kSecondHalf>
[[gnu::always_inline]] inline void SubtractBody(tTarget o, tSource base, tSource taken, std::ptrdiff_t bytes,
                                                const tMix& m) {
    const tShare share(m.share);
    const tAmounts q = KwAmounts(m.q << 24);
    const tWords alpha = KwRepeated(kAlpha);
    KwForBlocks(
        o, base, taken, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            const tBytes off = KwByHalves(
                y, [&](const tHalves& v) __attribute__((always_inline)) { return share.Of(v); });
            const tBytes mixed = kSecondHalf ? KwBlended(y, x, q) : KwBlended(x, y, q);
            return LimitedToAlpha(KwPick(alpha, mixed, KwDistance(x, off)));
        });
}
KWCLONES void SubtractRow(tTarget o, tSource base, tSource taken, std::ptrdiff_t bytes, const tMix& m) {
    SubtractBody<false>(o, base, taken, bytes, m);
}
KWCLONES void SubtractLateRow(tTarget o, tSource base, tSource taken, std::ptrdiff_t bytes, const tMix& m) {
    SubtractBody<true>(o, base, taken, bytes, m);
}

KWCLONES void CrossSubtractRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tShare share(m.share);
    const tAmounts q = KwAmounts(m.q << 24);
    const tWords alpha = KwRepeated(kAlpha);
    KwForBlocks(
        o, first, second, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            const auto cross = [&](const tHalves& c, const tHalves& d) __attribute__((always_inline)) {
                const tHalves v = share.Of(c + d);
                return v < c ? c - v : v - c;
            };
            const tHalves c = reinterpret_cast<tHalves>(x), d = reinterpret_cast<tHalves>(y);
            const tHalves crossed = cross(c & 255, d & 255) | cross(c >> 8, d >> 8) << 8;
            return LimitedToAlpha(KwPick(alpha, KwBlended(x, y, q), reinterpret_cast<tBytes>(crossed)));
        });
}

KWCLONES void BleedRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tBytes offFirst = Repeated(m.first), offSecond = Repeated(m.second);
    KwForBlocks(
        o, first, second, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            return LimitedToAlpha(KwSum(KwRest(x, offFirst), KwRest(y, offSecond)));
        });
}

KWCLONES void MorphRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tBytes most = Repeated(m.first);
    KwForBlocks(
        o, first, second, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            const tBytes step = KwSmaller(KwDistance(x, y), most);
            return LimitedToAlpha(x < y ? x + step : x - step);
        });
}

/// Red, green and blue together.
[[gnu::always_inline]] inline tWords Levels(const tBytes& pixels) {
    const tWords w = reinterpret_cast<tWords>(pixels);
    return (w & 255) + (w >> 8 & 255) + (w >> 16 & 255);
}

// A level is four thirds of that sum, whole; it passes a bound where the sum passes three quarters of the bound.

KWCLONES void ThresholdDissolveRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tWords bound = KwRepeated(static_cast<std::uint32_t>(3 * (m.t + 1)));
    KwForBlocks(
        o, first, second, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            return KwPick(reinterpret_cast<tWords>(Levels(x) * 4 >= bound), x, y);
        });
}

KWCLONES void ThresholdAppearRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tWords bound = KwRepeated(static_cast<std::uint32_t>(3 * (1024 - m.t)));
    KwForBlocks(
        o, first, second, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            return KwPick(reinterpret_cast<tWords>(Levels(y) * 4 < bound), x, y);
        });
}

template <bool kSecondHalf>
[[gnu::always_inline]] inline void GreyBody(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes,
                                            const tMix& m) {
    const tAmounts amounts = KwAmounts(m.amounts);
    const tWords alpha = KwRepeated(kAlpha);
    KwForBlocks(
        o, first, second, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            const tWords one = (Levels(x) + Levels(y)) * 10923 >> 16; // a sixth, exact up to six full channels
            const tBytes grey = reinterpret_cast<tBytes>(one | one << 8 | one << 16);
            return kSecondHalf ? KwBlended(KwPick(alpha, x, grey), y, amounts)
                               : KwBlended(x, KwPick(alpha, y, grey), amounts);
        });
}
KWCLONES void ToGreyRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    GreyBody<false>(o, first, second, bytes, m);
}
KWCLONES void FromGreyRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    GreyBody<true>(o, first, second, bytes, m);
}

KWCLONES void ToColorRow(tTarget o, tSource first, tSource, std::ptrdiff_t bytes, const tMix& m) {
    const tAmounts amounts = KwAmounts(m.amounts);
    const tBytes color = Repeated(m.first);
    KwForBlocks(
        o, first, first, bytes, [&](const tBytes& x, const tBytes&) __attribute__((always_inline)) {
            return LimitedToAlpha(KwBlended(x, color, amounts));
        });
}

KWCLONES void FromColorRow(tTarget o, tSource, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tAmounts amounts = KwAmounts(m.amounts);
    const tBytes color = Repeated(m.first);
    KwForBlocks(
        o, second, second, bytes, [&](const tBytes& y, const tBytes&) __attribute__((always_inline)) {
            return LimitedToAlpha(KwBlended(color, y, amounts));
        });
}

KWCLONES void ChannelsRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tAmounts amounts = KwAmounts(m.amounts);
    const tWords taken = KwRepeated(m.taken);
    KwForBlocks(
        o, first, second, bytes, [&](const tBytes& x, const tBytes& y) __attribute__((always_inline)) {
            return LimitedToAlpha(KwBlended(KwPick(taken, y, x), y, amounts));
        });
}

/// Four bytes of a pixel as its word.
std::uint32_t Word(std::uint8_t blue, std::uint8_t green, std::uint8_t red, std::uint8_t alpha) {
    return std::uint32_t{blue} | std::uint32_t{green} << 8 | std::uint32_t{red} << 16 | std::uint32_t{alpha} << 24;
}

/// The amounts of modes 3 and 4. A channel with speed s moves 1 + s times as fast; the slowest sets the pace.
void SetSpeeds(tMix& m, const tDISSOLVEPROP& record, double progress) {
    const double factors[] = {1.0 + record.blue, 1.0 + record.green, 1.0 + record.red, 1.0 + record.alpha};
    std::int32_t most = INT32_MIN;
    for (const double f : factors) most = std::max(most, KwTrunc(255.0 / f));
    const std::int32_t u = KwByte(KwTrunc(most * progress + 0.5));
    const std::int32_t v = KwByte(KwWrap32(std::int64_t{most} - u));
    const auto by = [&](std::int32_t amount) {
        const auto channel = [&](double f) { return KwByte(KwClamp(KwTrunc(amount * f), 0, 255)); };
        return Word(channel(factors[0]), channel(factors[1]), channel(factors[2]), channel(factors[3]));
    };
    m.first = by(u);
    m.second = by(v);
}

std::uint32_t ColorOf(const tDISSOLVEPROP& record) {
    const auto level = [&](double c) { return KwByte(KwTrunc(c * record.alpha * 255.0)); };
    return Word(level(record.blue), level(record.green), level(record.red), KwByte(KwTrunc(record.alpha * 255.0)));
}

} // namespace

HRESULT KwDibDissolve(const tView& out, const tView& first, const tView& second, const tDISSOLVEPROP& record,
                      float progress) {
    if (record.mode < 0 || record.mode > 9) return S_OK;
    tRows o, a, b, oAgain;
    if (const HRESULT status = KwDibResolvePair(out, first, 4, o, a); FAILED(status)) return status;
    if (const HRESULT status = KwDibResolvePair(out, second, 4, oAgain, b); FAILED(status)) return status;

    const double p = progress;
    tMix m;
    m.t = KwClamp(KwTrunc(p * 1024.0 + 0.5), 0, 1024);
    const std::int32_t q = KwByte(KwTrunc(p * 255.0 + 0.5));
    m.q = static_cast<std::uint32_t>(q);
    const bool late = m.t >= 512;
    m.share = late ? (1024 - m.t) * 2 : m.t * 2;
    const auto all = [&m](std::int32_t colour, std::uint32_t alpha) {
        m.amounts = static_cast<std::uint32_t>(colour) * 0x010101 | alpha << 24;
    };

    auto row = AddRow;
    switch (record.mode) {
    case 1:
        row = late ? SubtractLateRow : SubtractRow;
        break;
    case 2:
        row = CrossSubtractRow;
        m.share = m.t;
        break;
    case 3:
        row = BleedRow;
        SetSpeeds(m, record, p);
        break;
    case 4:
        row = MorphRow;
        SetSpeeds(m, record, p);
        break;
    case 5:
        row = ThresholdDissolveRow;
        break;
    case 6:
        row = ThresholdAppearRow;
        break;
    case 7:
        row = q < 127 ? ToGreyRow : FromGreyRow;
        all(q < 127 ? 2 * q : std::min(2 * q - 254, 255), m.q);
        break;
    case 8: {
        row = q < 127 ? ToColorRow : FromColorRow;
        const std::uint8_t h = KwByte(q < 127 ? 2 * q : (q - 127) * 2); // wraps at the last step
        all(h, h);
        m.first = ColorOf(record);
        break;
    }
    case 9: {
        // Phases of 85 steps, red first.
        const int phase = std::min(q / 85, 2), shift = 16 - 8 * phase;
        row = ChannelsRow;
        m.amounts = static_cast<std::uint32_t>((q - 85 * phase) * 3) << shift | m.q << 24;
        m.taken = phase == 0 ? 0 : phase == 1 ? 0x00FF0000 : 0x00FFFF00;
        break;
    }
    default:
        break;
    }
    if (record.mode <= 1 && late) std::swap(a, b);
    const std::ptrdiff_t bytes = std::ptrdiff_t{std::min(o.width, oAgain.width)} * 4;
    for (LONG y = 0; y < std::min(o.height, oAgain.height); ++y)
        row(o.Row<std::uint8_t>(y), a.Row<std::uint8_t>(y), b.Row<std::uint8_t>(y), bytes, m);
    return S_OK;
}
