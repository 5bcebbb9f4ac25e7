#include "kernels/hsl_adjust.h"

#include <bit>
#include <cmath>

#include "kernels/color_model.h"
#include "kernels/cpu.h"
#include "kernels/unaligned.h"
#include "kernels/wide.h"

namespace {

[[gnu::always_inline]] inline void Adjust(tHSLADOUBLE& hsl, const tHSLADJUSTPROP& by) {
    hsl.hue += by.addHue;
    if (hsl.hue > 1.0) hsl.hue -= 1.0;
    hsl.saturation = KwClamp(hsl.saturation * by.saturation, 0.0, 1.0);
    hsl.luminance = KwClamp(hsl.luminance * by.luminance, 0.0, 1.0);
}

void AdjustRow8(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count, const tHSLADJUSTPROP& by) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        tPixel8 pixel = std::bit_cast<tPixel8>(std::uint32_t{s[i]});
        const std::uint8_t alpha = pixel.a;
        tHSLADOUBLE hsl;
        KwPixelToHsl(hsl, pixel);
        Adjust(hsl, by);
        KwHslToPixel(pixel, hsl);
        pixel = {std::min(pixel.b, alpha), std::min(pixel.g, alpha), std::min(pixel.r, alpha), alpha};
        d[i] = std::bit_cast<std::uint32_t>(pixel);
    }
}

// The same without branches, eight pixels at a time. A colour is told by its largest, middle and smallest channel and
// by its sixth of the hue circle: only the middle one depends on the hue, the other two take part in everything.

using tReals [[gnu::vector_size(64)]] = double;
using tWholes [[gnu::vector_size(32)]] = std::int32_t;

[[gnu::always_inline]] inline tReals RealsOf(const tWholes& v) {
    return __builtin_convertvector(v, tReals);
}
[[gnu::always_inline]] inline tWholes Truncated(const tReals& v) {
    return __builtin_convertvector(v, tWholes);
}
[[gnu::always_inline]] inline tReals Limited(const tReals& v) {
    return v < 0.0 ? tReals{} : v > 1.0 ? tReals{} + 1.0 : v;
}

/// Words 0xAARRGGBB of eight pixels. Each operation is that of the plain form on the same operands, or has an exact
/// result, so the bytes are the same. Needs a turn from 0 to 1 and finite factors: then the hue stays inside its six
/// parts and all conversions fit.
[[gnu::always_inline]] inline tWholes Adjusted(const tWholes& word, const tHSLADJUSTPROP& by) {
    const tWholes r = word >> 16 & 255, g = word >> 8 & 255, b = word & 255;
    const tWholes larger = r > g ? r : g, smaller = r < g ? r : g;
    const tWholes top = larger > b ? larger : b, bottom = smaller < b ? smaller : b;
    const tWholes middle = r + g + b - top - bottom;
    const tWholes grey = top == bottom;

    // The hue is 1, 3 or 5 less or plus the middle channel's distance from the top.
    const tWholes redTop = r == top, greenTop = g == top;
    const tWholes falls = redTop ? g != bottom : greenTop ? b != bottom : r != bottom;
    const tWholes from = redTop ? (falls ? 1 : tWholes{} + 5) : greenTop ? (falls ? 3 : tWholes{} + 1)
                                                                        : (falls ? 5 : tWholes{} + 3);

    constexpr double kUnit = 0.00392156862745098;
    const tReals mx = RealsOf(top) * kUnit, mn = RealsOf(bottom) * kUnit, mid = RealsOf(middle) * kUnit;
    const tReals sum = mx + mn, d = mx - mn, half = sum * 0.5;
    const tReals one = tReals{} + 1.0;
    const auto isGrey = d <= 0.0;
    const tReals spread = half <= 0.5 ? sum : 2.0 - mx - mn;
    tReals saturation = d / (isGrey ? one : spread);
    const tReals distance = (mx - mid) * (1.0 / (isGrey ? one : d));
    const tReals h = RealsOf(grey ? 0 : from) + distance * RealsOf(falls | 1);
    tReals hue = h * 0.16666666666666666 + by.addHue;
    hue = hue > 1.0 ? hue - 1.0 : hue;
    saturation = Limited(saturation * by.saturation);
    const tReals luminance = Limited(half * by.luminance);

    const tReals M = luminance <= 0.5 ? (saturation + 1.0) * luminance
                                      : luminance + saturation - luminance * saturation;
    const tReals m = 2.0 * luminance - M, h6 = hue * 6.0;
    const tWholes sextant = Truncated(h6);
    const tReals f = (M - m) / (M <= 0.0 ? one : M) * (h6 - RealsOf(sextant)) * M;
    const tWholes odd = (sextant & 1) != 0;
    const tReals between = RealsOf(odd) < 0.0 ? M - f : m + f;

    const tWholes high = Truncated(M * 255.0) & 255, low = Truncated(m * 255.0) & 255;
    const tWholes other = Truncated(between * 255.0) & 255;
    const tWholes redHigh = (sextant == 0) | (sextant >= 5), redOther = (sextant == 1) | (sextant == 4);
    const tWholes greenHigh = (sextant == 1) | (sextant == 2);
    const tWholes greenOther = (sextant == 0) | (sextant == 3) | (sextant == 6);
    const tWholes blueHigh = (sextant == 3) | (sextant == 4), blueOther = (sextant == 2) | (sextant == 5);
    const tWholes alpha = word >> 24 & 255;
    const auto capped = [&](const tWholes& isHigh, const tWholes& isOther) __attribute__((always_inline)) {
        const tWholes value = isHigh ? high : isOther ? other : low;
        return value < alpha ? value : alpha;
    };
    return (word & static_cast<std::int32_t>(0xFF000000)) | capped(redHigh, redOther) << 16 |
           capped(greenHigh, greenOther) << 8 | capped(blueHigh, blueOther);
}

KWCLONES void AdjustRowWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const tHSLADJUSTPROP& by) {
    tWholes words;
    for (; count >= 8; count -= 8, d += sizeof words, s += sizeof words) {
        std::memcpy(&words, s, sizeof words);
        words = Adjusted(words, by);
        std::memcpy(d, &words, sizeof words);
    }
    if (count <= 0) return;
    words = tWholes{};
    std::memcpy(&words, s, static_cast<std::size_t>(count) * 4);
    words = Adjusted(words, by);
    std::memcpy(d, &words, static_cast<std::size_t>(count) * 4);
}

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
    for (LONG y = 0; y < d.height; ++y) {
        if (bytesPerPixel != 4)
            AdjustRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), d.width, *record);
        else if (tame && KwFastPaths())
            AdjustRowWide8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, *record);
        else
            AdjustRow8(KwWordRow(d, y), KwWordRow(s, y), d.width, *record);
    }
    return S_OK;
}
