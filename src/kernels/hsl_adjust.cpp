#include "kernels/hsl_adjust.h"

#include <cmath>
#include <utility>

#include "base/bodies.h"
#include "kernels/color_model.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

namespace {

KWINLINE inline void Adjust(tHSLADOUBLE& hsl, const tHSLADJUSTPROP& by) {
    hsl.hue += by.addHue;
    if (hsl.hue > 1.0) hsl.hue -= 1.0;
    hsl.saturation = KwClamp(hsl.saturation * by.saturation, 0.0, 1.0);
    hsl.luminance = KwClamp(hsl.luminance * by.luminance, 0.0, 1.0);
}

void AdjustPlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const tHSLADJUSTPROP& by) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4) {
        tPixel8 pixel{s[i], s[i + 1], s[i + 2], s[i + 3]};
        const std::uint8_t alpha = pixel.a;
        tHSLADOUBLE hsl;
        KwPixelToHsl(hsl, pixel);
        Adjust(hsl, by);
        KwHslToPixel(pixel, hsl);
        d[i] = std::min(pixel.b, alpha);
        d[i + 1] = std::min(pixel.g, alpha);
        d[i + 2] = std::min(pixel.r, alpha);
        d[i + 3] = alpha;
    }
}

// The same without branches, a block at a time. A colour is told by its largest, middle and smallest channel and by
// its sixth of the hue circle: only the middle one depends on the hue, the other two take part in everything.

/// Vectors of a block's pixels, of half of them, and of their doubles.
template <std::ptrdiff_t kBytes>
struct tPixels {
    using tBytes = typename tBlock<kBytes>::tBytes;
    using tWholes [[gnu::vector_size(kBytes)]] = std::int32_t;
    using tHalfWholes [[gnu::vector_size(kBytes / 2)]] = std::int32_t;
    using tReals [[gnu::vector_size(kBytes)]] = double;
};

template <class Pixels>
struct tAdjuster {
    using tBytes = typename Pixels::tBytes;
    using tWholes = typename Pixels::tWholes;
    using tHalfWholes = typename Pixels::tHalfWholes;
    using tReals = typename Pixels::tReals;

    /// What the doubles need of a pixel, and what they give.
    struct tHues {
        tWholes top, middle, bottom;
        tWholes from;  ///< the hue is this less or plus the middle channel's distance from the top
        tWholes falls; ///< 1 for less, 0 for plus
    };
    struct tLevels {
        tHalfWholes high, between, low; ///< 0 to 255
        tHalfWholes sextant;
    };

    KWINLINE static tReals RealsOf(const tHalfWholes& v) { return __builtin_convertvector(v, tReals); }
    // By shuffles: GCC 12 takes halves that go through memory apart number by number.
    static constexpr std::size_t kHalf = sizeof(tHalfWholes) / sizeof(std::int32_t);
    /// Of numbers from 0 up.
    template <std::size_t kPart>
    KWINLINE static tReals Part(const tWholes& v) {
        if constexpr (kHalf == 2) {
            // GCC 12 also takes the conversion of the upper half apart. Below the high word of 2^52 a number is itself.
            const tWholes high = tWholes{} + 0x43300000;
            constexpr int kAt = kPart * kHalf;
            return reinterpret_cast<tReals>(__builtin_shufflevector(v, high, kAt, kAt + 4, kAt + 1, kAt + 5)) - 0x1p52;
        } else {
            return [&]<std::size_t... kAt>(std::index_sequence<kAt...>) KWINLINE {
                return RealsOf(__builtin_shufflevector(v, v, (kPart * kHalf + kAt)...));
            }
            (std::make_index_sequence<kHalf>());
        }
    }
    KWINLINE static tWholes Joined(const tHalfWholes& a, const tHalfWholes& b) {
        return [&]<std::size_t... kAt>(std::index_sequence<kAt...>) KWINLINE {
            return __builtin_shufflevector(a, b, kAt...);
        }
        (std::make_index_sequence<2 * kHalf>());
    }
    KWINLINE static tHalfWholes Truncated(const tReals& v) { return __builtin_convertvector(v, tHalfWholes); }
    KWINLINE static tReals Limited(const tReals& v) {
#if defined(__SSE2__)
        if constexpr (kHasSse2<tReals>) return _mm_min_pd(_mm_max_pd(v, _mm_setzero_pd()), _mm_set1_pd(1.0));
#endif
        return v < 0.0 ? tReals{} : v > 1.0 ? tReals{} + 1.0 : v;
    }
    /// Of numbers from 0 to 255.
    KWINLINE static tWholes Larger(const tWholes& a, const tWholes& b) {
        return reinterpret_cast<tWholes>(KwGreater(reinterpret_cast<tBytes>(a), reinterpret_cast<tBytes>(b)));
    }
    KWINLINE static tWholes Smaller(const tWholes& a, const tWholes& b) {
        return reinterpret_cast<tWholes>(KwSmaller(reinterpret_cast<tBytes>(a), reinterpret_cast<tBytes>(b)));
    }

    /// Each operation is that of the plain form on the same operands, or has an exact result, so the bytes are the
    /// same. Needs a turn from 0 to 1 and finite factors: then the hue stays inside its six parts and all conversions
    /// fit.
    template <std::size_t kPart>
    KWINLINE static tLevels Adjusted(const tHues& hues, const tHSLADJUSTPROP& by) {
        constexpr double kUnit = 0.00392156862745098;
        const tReals one = tReals{} + 1.0;
        const tReals mx = Part<kPart>(hues.top) * kUnit, mn = Part<kPart>(hues.bottom) * kUnit;
        const tReals sum = mx + mn, d = mx - mn, half = sum * 0.5;
        const tReals spread = half <= 0.5 ? sum : 2.0 - mx - mn;
        // A grey has the saturation 0 / 1.
        tReals saturation = d / (d <= 0.0 ? one : spread);
        const tReals distance = (mx - Part<kPart>(hues.middle) * kUnit) * (1.0 / (d <= 0.0 ? one : d));
        const tReals h = Part<kPart>(hues.from) + distance * (1.0 - 2.0 * Part<kPart>(hues.falls));
        tReals hue = h * 0.16666666666666666 + by.addHue;
        hue = hue > 1.0 ? hue - 1.0 : hue;
        saturation = Limited(saturation * by.saturation);
        const tReals luminance = Limited(half * by.luminance);

        const tReals M =
            luminance <= 0.5 ? (saturation + 1.0) * luminance : luminance + saturation - luminance * saturation;
        const tReals m = 2.0 * luminance - M, h6 = hue * 6.0;
        tLevels levels;
        levels.sextant = Truncated(h6);
        const tReals rest = h6 - RealsOf(levels.sextant);
        const tReals f = (M - m) / (M <= 0.0 ? one : M) * rest * M;
        const tReals odd = RealsOf(levels.sextant & 1);
        levels.between = Truncated((odd > 0.0 ? M - f : m + f) * 255.0) & 255;
        levels.high = Truncated(M * 255.0) & 255;
        levels.low = Truncated(m * 255.0) & 255;
        return levels;
    }

    KWINLINE static void Row8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const tHSLADJUSTPROP& by) {
        KwForBlocks<tBytes>(d, count * 4, s, [&by](const tBytes& pixels) KWINLINE {
            const tWholes word = reinterpret_cast<tWholes>(pixels), none = word ^ word;
            const tWholes r = word >> 16 & 255, g = word >> 8 & 255, b = word & 255;
            tHues hues;
            hues.top = Larger(Larger(r, g), b);
            hues.bottom = Smaller(Smaller(r, g), b);
            hues.middle = r + g + b - hues.top - hues.bottom;
            // Red, green and blue stand at 0, 2 and 4; the hue lies before or behind the largest of them. A grey is at
            // 0.
            const tWholes next = r == hues.top ? g : g == hues.top ? b : r;
            const tWholes base = r == hues.top ? none : g == hues.top ? none + 2 : none + 4;
            hues.falls = next != hues.bottom ? none + 1 : none;
            const tWholes from = base - 1 + hues.falls * 2;
            hues.from = hues.top == hues.bottom ? none : from < 0 ? none + 5 : from;

            const tLevels first = Adjusted<0>(hues, by), second = Adjusted<1>(hues, by);
            const tWholes sextant = Joined(first.sextant, second.sextant);
            const tWholes high = Joined(first.high, second.high), low = Joined(first.low, second.low);
            const tWholes between = Joined(first.between, second.between);
            // Red is the highest channel in the sixths 0 and 5, the lowest in 2 and 3; green follows two sixths behind,
            // and blue two behind that. The end of the circle has the colour of its start.
            const tWholes sixth = Smaller(sextant, none + 5);
            const auto channel = [&](int shift) KWINLINE {
                const tWholes moved = sixth - shift, place = moved < 0 ? moved + 6 : moved;
                const tWholes distance = Smaller(place, 5 - place);
                return distance == 0 ? high : distance == 1 ? between : low;
            };
            const tWholes red = channel(0), green = channel(2), blue = channel(4);
            const tBytes colors = reinterpret_cast<tBytes>(red << 16 | green << 8 | blue);
            return KwWithAlpha(KwSmaller(colors, KwAlphas(pixels)), pixels);
        });
    }
};
constexpr CKwBodies
    kAdjustRow8(AdjustPlain8,
                KwWidths<tAdjuster<tPixels<16>>::Row8, tAdjuster<tPixels<32>>::Row8, tAdjuster<tPixels<64>>::Row8>);

void AdjustRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, const tHSLADJUSTPROP& by) {
    for (std::ptrdiff_t i = 0; i < count; ++i, d += 4, s += 4) {
        tPixelF pixel{s[0], s[1], s[2], s[3]};
        tHSLADOUBLE hsl;
        KwFloatPixelToHsl(hsl, pixel);
        Adjust(hsl, by);
        KwHslToFloatPixel(pixel, hsl);
        const float alpha = s[3];
        d[0] = pixel.b > alpha ? alpha : pixel.b;
        d[1] = pixel.g > alpha ? alpha : pixel.g;
        d[2] = pixel.r > alpha ? alpha : pixel.r;
        d[3] = alpha;
    }
}

} // namespace

HRESULT KwDibHslAdjust(const tView& destination, const tView& source, LONG bytesPerPixel,
                       const tHSLADJUSTPROP* record) {
    if (!record) return E_POINTER;
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const bool tame = record->addHue >= 0.0 && record->addHue <= 1.0 && std::isfinite(record->saturation) &&
                      std::isfinite(record->luminance);
    const auto row8 = tame ? kAdjustRow8.Now() : AdjustPlain8;
    for (LONG y = 0; y < d.height; ++y) {
        if (bytesPerPixel == 4)
            row8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, *record);
        else
            AdjustRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), d.width, *record);
    }
    return S_OK;
}
