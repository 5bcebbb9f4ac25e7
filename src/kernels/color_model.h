// The colour model of hue, saturation and luminance (a double hexcone): Joblove and Greenberg, "Color spaces for
// computer graphics", 1978. Inline, so that row loops clone it. Not-a-number and infinities give some defined colour.
#pragma once

#include "base/arith.h"
#include "kernels/view.h"

/// Hue in turns, 0 up to and including 1; the others 0 to 1. Alpha travels beside.
struct tHSLADOUBLE {
    double hue, saturation, luminance, alpha;
};
static_assert(sizeof(tHSLADOUBLE) == 32);

/// Channels are 0 to 1. Greys have hue and saturation 0.
constexpr void KwRgbToHsl(tHSLADOUBLE& hsl, double red, double green, double blue, double alpha) {
    const double larger = red > green ? red : green, smaller = red < green ? red : green;
    const double mx = larger > blue ? larger : blue, mn = smaller < blue ? smaller : blue;
    const double sum = mx + mn;
    hsl = {0.0, 0.0, sum * 0.5, alpha};
    if (hsl.luminance <= 0.0) return;
    const double d = mx - mn;
    if (d <= 0.0) {
        hsl.saturation = d;
        return;
    }
    hsl.saturation = hsl.luminance <= 0.5 ? d / sum : d / (2.0 - mx - mn);
    const double inv = 1.0 / d;
    const double rc = (mx - red) * inv, gc = (mx - green) * inv, bc = (mx - blue) * inv;
    double h;
    if (red == mx)
        h = green != mn ? 1.0 - gc : bc + 5.0;
    else if (green == mx)
        h = blue != mn ? 3.0 - bc : rc + 1.0;
    else
        h = red != mn ? 5.0 - rc : gc + 3.0;
    hsl.hue = h * 0.16666666666666666;
}

constexpr void KwPixelToHsl(tHSLADOUBLE& hsl, const tPixel8& pixel) {
    constexpr double kUnit = 0.00392156862745098;
    KwRgbToHsl(hsl, pixel.r * kUnit, pixel.g * kUnit, pixel.b * kUnit, pixel.a * kUnit);
}

constexpr void KwFloatPixelToHsl(tHSLADOUBLE& hsl, const tPixelF& pixel) {
    KwRgbToHsl(hsl, pixel.r, pixel.g, pixel.b, pixel.a);
}

/// The colour of a hue, saturation and luminance, unrounded. False where the hue lies outside its six parts; the
/// outputs are then untouched.
constexpr bool KwHslToRgb(const tHSLADOUBLE& hsl, double& red, double& green, double& blue) {
    const double s = hsl.saturation, l = hsl.luminance;
    const double M = l <= 0.5 ? (s + 1.0) * l : l + s - l * s;
    if (M <= 0.0) {
        red = green = blue = 0.0;
        return true;
    }
    const double h6 = hsl.hue * 6.0;
    const std::int32_t sextant = KwTrunc(h6);
    const double m = 2.0 * l - M;
    const double f = (M - m) / M * (h6 - sextant) * M;
    const double q = M - f, p = m + f;
    const auto set = [&](double r, double g, double b) {
        red = r;
        green = g;
        blue = b;
        return true;
    };
    switch (sextant) {
    case 0:
    case 6:
        return set(M, p, m);
    case 1:
        return set(q, M, m);
    case 2:
        return set(m, M, p);
    case 3:
        return set(m, q, M);
    case 4:
        return set(p, m, M);
    case 5:
        return set(M, m, q);
    default:
        return false;
    }
}

/// Channels are scaled by 255 and truncated; alpha is limited to a byte, colours keep their low eight bits. A hue
/// outside its six parts leaves the colours of `pixel` as they were.
constexpr void KwHslToPixel(tPixel8& pixel, const tHSLADOUBLE& hsl) {
    pixel.a = KwByte(KwTrunc(KwClamp(hsl.alpha * 255.0, 0.0, 255.0)));
    double r = 0, g = 0, b = 0;
    if (!KwHslToRgb(hsl, r, g, b)) return;
    pixel.b = KwByte(KwTrunc(b * 255.0));
    pixel.g = KwByte(KwTrunc(g * 255.0));
    pixel.r = KwByte(KwTrunc(r * 255.0));
}

/// The same without rounding; alpha is unchanged as a float.
constexpr void KwHslToFloatPixel(tPixelF& pixel, const tHSLADOUBLE& hsl) {
    pixel.a = static_cast<float>(hsl.alpha);
    double r = 0, g = 0, b = 0;
    if (!KwHslToRgb(hsl, r, g, b)) return;
    pixel.b = static_cast<float>(b);
    pixel.g = static_cast<float>(g);
    pixel.r = static_cast<float>(r);
}
