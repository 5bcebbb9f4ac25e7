#include "kernels/dissolve.h"

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/row.h"

namespace {

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

// Base and added (or taken) picture stand first and second; the caller exchanges them at half time.

template <class Bytes>
KWINLINE inline void AddRow(tTarget o, tSource base, tSource added, std::ptrdiff_t bytes, const tMix& m) {
    const tShare<10> share(m.share);
    KwForBlocks<Bytes>(o, bytes, base, added, [&](const Bytes& x, const Bytes& y) KWINLINE {
        return KwSum(x, KwByHalves(y, [&](const tHalvesOf<Bytes>& v) KWINLINE { return share.Of(v); }));
    });
}
constexpr CKwBodies kAddRow(KwWidths<AddRow<tNarrow>, AddRow<tMiddle>, AddRow<tWide>>);

/// Alpha goes from the first picture to the second, whichever is the base.
template <bool kSecondHalf, class Bytes>
KWINLINE inline void SubtractBody(tTarget o, tSource base, tSource taken, std::ptrdiff_t bytes, const tMix& m) {
    const tShare<10> share(m.share);
    const tAlphaAmount<Bytes> q(m.q);
    const auto alpha = KwRepeated<Bytes>(kAlpha);
    KwForBlocks<Bytes>(o, bytes, base, taken, [&](const Bytes& x, const Bytes& y) KWINLINE {
        const Bytes off = KwByHalves(y, [&](const tHalvesOf<Bytes>& v) KWINLINE { return share.Of(v); });
        const Bytes mixed = kSecondHalf ? KwBlended(y, x, q) : KwBlended(x, y, q);
        return KwLimitedToAlpha(KwPick(alpha, mixed, KwDistance(x, off)));
    });
}
constexpr CKwBodies
    kSubtractRow(KwWidths<SubtractBody<false, tNarrow>, SubtractBody<false, tMiddle>, SubtractBody<false, tWide>>);
constexpr CKwBodies
    kSubtractLateRow(KwWidths<SubtractBody<true, tNarrow>, SubtractBody<true, tMiddle>, SubtractBody<true, tWide>>);

template <class Bytes>
KWINLINE inline void CrossSubtractRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const tShare<10> share(m.share);
    const tAlphaAmount<Bytes> q(m.q);
    const auto alpha = KwRepeated<Bytes>(kAlpha);
    KwForBlocks<Bytes>(o, bytes, first, second, [&](const Bytes& x, const Bytes& y) KWINLINE {
        const auto cross = [&](const tHalvesOf<Bytes>& c, const tHalvesOf<Bytes>& d) KWINLINE {
            using tShorts = typename tBlock<sizeof(Bytes)>::tShorts; // whose limits SSE2 has
            return reinterpret_cast<tHalvesOf<Bytes>>(
                KwDistance(reinterpret_cast<tShorts>(share.Of(c + d)), reinterpret_cast<tShorts>(c)));
        };
        const tHalvesOf<Bytes> c = reinterpret_cast<tHalvesOf<Bytes>>(x), d = reinterpret_cast<tHalvesOf<Bytes>>(y);
        const tHalvesOf<Bytes> crossed = cross(c & 255, d & 255) | cross(c >> 8, d >> 8) << 8;
        return KwLimitedToAlpha(KwPick(alpha, KwBlended(x, y, q), reinterpret_cast<Bytes>(crossed)));
    });
}
constexpr CKwBodies
    kCrossSubtractRow(KwWidths<CrossSubtractRow<tNarrow>, CrossSubtractRow<tMiddle>, CrossSubtractRow<tWide>>);

template <class Bytes>
KWINLINE inline void BleedRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const Bytes offFirst = KwPixels<Bytes>(m.first), offSecond = KwPixels<Bytes>(m.second);
    KwForBlocks<Bytes>(o, bytes, first, second, [&](const Bytes& x, const Bytes& y) KWINLINE {
        return KwLimitedToAlpha(KwSum(KwRest(x, offFirst), KwRest(y, offSecond)));
    });
}
constexpr CKwBodies kBleedRow(KwWidths<BleedRow<tNarrow>, BleedRow<tMiddle>, BleedRow<tWide>>);

template <class Bytes>
KWINLINE inline void MorphRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const Bytes most = KwPixels<Bytes>(m.first);
    KwForBlocks<Bytes>(o, bytes, first, second, [&](const Bytes& x, const Bytes& y) KWINLINE {
        const Bytes step = KwSmaller(KwDistance(x, y), most);
        return KwLimitedToAlpha(x < y ? x + step : x - step);
    });
}
constexpr CKwBodies kMorphRow(KwWidths<MorphRow<tNarrow>, MorphRow<tMiddle>, MorphRow<tWide>>);

// A level is four thirds of that sum, whole; it passes a bound where the sum passes three quarters of the bound.

template <class Bytes>
KWINLINE inline void ThresholdDissolveRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes,
                                          const tMix& m) {
    const auto bound = KwRepeated<Bytes>(static_cast<std::uint32_t>(3 * (m.t + 1)));
    KwForBlocks<Bytes>(o, bytes, first, second, [&](const Bytes& x, const Bytes& y) KWINLINE {
        return KwPick(reinterpret_cast<tWordsOf<Bytes>>(KwColorSums(x) * 4 >= bound), x, y);
    });
}
constexpr CKwBodies kThresholdDissolveRow(
    KwWidths<ThresholdDissolveRow<tNarrow>, ThresholdDissolveRow<tMiddle>, ThresholdDissolveRow<tWide>>);

template <class Bytes>
KWINLINE inline void ThresholdAppearRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const auto bound = KwRepeated<Bytes>(static_cast<std::uint32_t>(3 * (1024 - m.t)));
    KwForBlocks<Bytes>(o, bytes, first, second, [&](const Bytes& x, const Bytes& y) KWINLINE {
        return KwPick(reinterpret_cast<tWordsOf<Bytes>>(KwColorSums(y) * 4 < bound), x, y);
    });
}
constexpr CKwBodies
    kThresholdAppearRow(KwWidths<ThresholdAppearRow<tNarrow>, ThresholdAppearRow<tMiddle>, ThresholdAppearRow<tWide>>);

template <bool kSecondHalf, class Bytes>
KWINLINE inline void GreyBody(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const auto amounts = KwAmounts<Bytes>(m.amounts);
    const auto alpha = KwRepeated<Bytes>(kAlpha);
    KwForBlocks<Bytes>(o, bytes, first, second, [&](const Bytes& x, const Bytes& y) KWINLINE {
        const Bytes grey = KwMeansOfTwo(x, y);
        return kSecondHalf ? KwBlended(KwPick(alpha, x, grey), y, amounts)
                           : KwBlended(x, KwPick(alpha, y, grey), amounts);
    });
}
constexpr CKwBodies kToGreyRow(KwWidths<GreyBody<false, tNarrow>, GreyBody<false, tMiddle>, GreyBody<false, tWide>>);
constexpr CKwBodies kFromGreyRow(KwWidths<GreyBody<true, tNarrow>, GreyBody<true, tMiddle>, GreyBody<true, tWide>>);

template <class Bytes>
KWINLINE inline void ToColorRow(tTarget o, tSource first, tSource, std::ptrdiff_t bytes, const tMix& m) {
    const auto amounts = KwAmounts<Bytes>(m.amounts);
    const Bytes color = KwPixels<Bytes>(m.first);
    KwForBlocks<Bytes>(o, bytes, first,
                       [&](const Bytes& x) KWINLINE { return KwLimitedToAlpha(KwBlended(x, color, amounts)); });
}
constexpr CKwBodies kToColorRow(KwWidths<ToColorRow<tNarrow>, ToColorRow<tMiddle>, ToColorRow<tWide>>);

template <class Bytes>
KWINLINE inline void FromColorRow(tTarget o, tSource, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const auto amounts = KwAmounts<Bytes>(m.amounts);
    const Bytes color = KwPixels<Bytes>(m.first);
    KwForBlocks<Bytes>(o, bytes, second,
                       [&](const Bytes& y) KWINLINE { return KwLimitedToAlpha(KwBlended(color, y, amounts)); });
}
constexpr CKwBodies kFromColorRow(KwWidths<FromColorRow<tNarrow>, FromColorRow<tMiddle>, FromColorRow<tWide>>);

template <class Bytes>
KWINLINE inline void ChannelsRow(tTarget o, tSource first, tSource second, std::ptrdiff_t bytes, const tMix& m) {
    const auto amounts = KwAmounts<Bytes>(m.amounts);
    const auto taken = KwRepeated<Bytes>(m.taken);
    KwForBlocks<Bytes>(o, bytes, first, second, [&](const Bytes& x, const Bytes& y) KWINLINE {
        return KwLimitedToAlpha(KwBlended(KwPick(taken, y, x), y, amounts));
    });
}
constexpr CKwBodies kChannelsRow(KwWidths<ChannelsRow<tNarrow>, ChannelsRow<tMiddle>, ChannelsRow<tWide>>);

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

struct tPixelInts {
    int b, g, r, a;
};

tPixelInts Ints(const tPixel8& p) {
    return {p.b, p.g, p.r, p.a};
}
int Lerp(int x, int y, int f) {
    return x + (y - x) * f / 256;
}

/// The ten rules, one pixel at a time: the definition.
class CDissolveRule {
  public:
    CDissolveRule(const tDISSOLVEPROP& record, float progress)
        : m_record(record), m_t(KwClamp(KwTrunc(double{progress} * 1024 + 0.5), 0, 1024)),
          m_q(KwTrunc(double{progress} * 255 + 0.5) & 255) {
        const double f[] = {1 + record.blue, 1 + record.green, 1 + record.red, 1 + record.alpha};
        std::int32_t most = INT32_MIN;
        for (const double s : f) most = std::max(most, KwTrunc(255 / s));
        const int u = KwTrunc(most * double{progress} + 0.5) & 255, v = KwByte(KwWrap32(std::int64_t{most} - u));
        for (int c = 0; c < 4; ++c) {
            m_u[c] = KwClamp(KwTrunc(u * f[c]), 0, 255);
            m_v[c] = KwClamp(KwTrunc(v * f[c]), 0, 255);
        }
    }

    tPixel8 operator()(const tPixel8& first, const tPixel8& second) const {
        const tPixelInts A = Ints(first), B = Ints(second);
        tPixelInts O{};
        bool limited = true;
        const auto each = [&](auto rule) {
            O.a = rule(A.a, B.a, 3);
            O.b = rule(A.b, B.b, 0);
            O.g = rule(A.g, B.g, 1);
            O.r = rule(A.r, B.r, 2);
        };
        const int k = m_t < 512 ? 2 * m_t : (1024 - m_t) * 2;
        switch (m_record.mode) {
        case 0:
            each([&](int a, int b, int) {
                return m_t < 512 ? std::min(255, a + (b * k >> 10)) : std::min(255, b + (a * k >> 10));
            });
            limited = false;
            break;
        case 1:
            each(
                [&](int a, int b, int) { return m_t < 512 ? std::abs(a - b * k / 1024) : std::abs(b - a * k / 1024); });
            O.a = Lerp(A.a, B.a, m_q);
            break;
        case 2:
            each([&](int a, int b, int) { return std::abs((a + b) * m_t / 1024 - a); });
            O.a = Lerp(A.a, B.a, m_q);
            break;
        case 3:
            each([&](int a, int b, int c) { return std::min(255, std::max(0, a - m_u[c]) + std::max(0, b - m_v[c])); });
            break;
        case 4:
            each([&](int a, int b, int c) { return a < b ? std::min(b, a + m_u[c]) : std::max(b, a - m_u[c]); });
            break;
        case 5:
            return m_t < (A.r + A.g + A.b) * 4 / 3 ? first : second;
        case 6:
            return (B.r + B.g + B.b) * 4 / 3 < 1024 - m_t ? first : second;
        case 7: {
            const int grey = (A.r + A.g + A.b + B.r + B.g + B.b) / 6;
            each([&](int a, int b, int) {
                return m_q < 127 ? Lerp(a, grey, std::min(255, 2 * m_q))
                                 : Lerp(grey, b, KwClamp(2 * m_q - 254, 0, 255));
            });
            O.a = Lerp(A.a, B.a, m_q);
            limited = false;
            break;
        }
        case 8: {
            const double alpha = m_record.alpha;
            const int color[] = {KwTrunc(m_record.blue * alpha * 255) & 255,
                                 KwTrunc(m_record.green * alpha * 255) & 255, KwTrunc(m_record.red * alpha * 255) & 255,
                                 KwTrunc(alpha * 255) & 255};
            each([&](int a, int b, int c) {
                return m_q < 127 ? Lerp(a, color[c], 2 * m_q & 255) : Lerp(color[c], b, (m_q - 127) * 2 & 255);
            });
            break;
        }
        case 9:
            O = m_q < 85    ? tPixelInts{A.b, A.g, Lerp(A.r, B.r, m_q * 3 & 255), 0}
                : m_q < 170 ? tPixelInts{A.b, Lerp(A.g, B.g, (m_q - 85) * 3), B.r, 0}
                            : tPixelInts{Lerp(A.b, B.b, (m_q - 170) * 3), B.g, B.r, 0};
            O.a = Lerp(A.a, B.a, m_q);
            break;
        }
        const auto byte = [&](int v) { return static_cast<std::uint8_t>(limited ? std::min(v, O.a) : v); };
        return {byte(O.b), byte(O.g), byte(O.r), static_cast<std::uint8_t>(O.a)};
    }

  private:
    tDISSOLVEPROP m_record;
    int m_t, m_q, m_u[4], m_v[4];
};

void DissolvePlain(const tRows& o, tRows a, tRows b, const tDISSOLVEPROP& record, float progress) {
    const CDissolveRule rule(record, progress);
    for (LONG y = 0; y < o.height; ++y)
        for (LONG x = 0; x < o.width; ++x) o.Row<tPixel8>(y)[x] = rule(a.Row<tPixel8>(y)[x], b.Row<tPixel8>(y)[x]);
}

void DissolveFast(const tRows& o, tRows a, tRows b, const tDISSOLVEPROP& record, float progress) {
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

    const auto* row = &kAddRow;
    switch (record.mode) {
    case 1:
        row = late ? &kSubtractLateRow : &kSubtractRow;
        break;
    case 2:
        row = &kCrossSubtractRow;
        m.share = m.t;
        break;
    case 3:
        row = &kBleedRow;
        SetSpeeds(m, record, p);
        break;
    case 4:
        row = &kMorphRow;
        SetSpeeds(m, record, p);
        break;
    case 5:
        row = &kThresholdDissolveRow;
        break;
    case 6:
        row = &kThresholdAppearRow;
        break;
    case 7:
        row = q < 127 ? &kToGreyRow : &kFromGreyRow;
        all(q < 127 ? 2 * q : std::min(2 * q - 254, 255), m.q);
        break;
    case 8: {
        row = q < 127 ? &kToColorRow : &kFromColorRow;
        const std::uint8_t h = KwByte(q < 127 ? 2 * q : (q - 127) * 2); // wraps at the last step
        all(h, h);
        m.first = ColorOf(record);
        break;
    }
    case 9: {
        // Phases of 85 steps, red first.
        const int phase = std::min(q / 85, 2), shift = 16 - 8 * phase;
        row = &kChannelsRow;
        m.amounts = static_cast<std::uint32_t>((q - 85 * phase) * 3) << shift | m.q << 24;
        m.taken = phase == 0 ? 0 : phase == 1 ? 0x00FF0000 : 0x00FFFF00;
        break;
    }
    default:
        break;
    }
    if (record.mode <= 1 && late) std::swap(a, b);
    const std::ptrdiff_t bytes = std::ptrdiff_t{o.width} * 4;
    for (LONG y = 0; y < o.height; ++y)
        (*row)(o.Row<std::uint8_t>(y), a.Row<std::uint8_t>(y), b.Row<std::uint8_t>(y), bytes, m);
}

constexpr CKwBodies kDissolve(DissolvePlain, tKwBody{eKwLevel::Base, &DissolveFast});

} // namespace

HRESULT KwDibDissolve(const tView& out, const tView& first, const tView& second, const tDISSOLVEPROP& record,
                      float progress) {
    if (record.mode < 0 || record.mode > 9) return S_OK;
    tRows o, a, b, oAgain;
    if (const HRESULT status = KwDibResolvePair(out, first, 4, o, a); FAILED(status)) return status;
    if (const HRESULT status = KwDibResolvePair(out, second, 4, oAgain, b); FAILED(status)) return status;

    o.width = std::min(o.width, oAgain.width);
    o.height = std::min(o.height, oAgain.height);
    kDissolve(o, a, b, record, progress);
    return S_OK;
}
