#include "pages/controls/color_math.h"

#include <algorithm>
#include <cmath>

#include "base/functions.h"
#include "kernels/color_model.h"

namespace {

/// Luma and colour differences of an encoded colour.
struct tYuv {
    double y, u, v;

    double Square() const { return u * u + v * v; }
};

tYuv YuvOf(const tPickColor& color) {
    const double b = GammaEncode(color[0]), g = GammaEncode(color[1]), r = GammaEncode(color[2]);
    // The luma's share of blue is not the usual 0.114: results of the test depend on it.
    return {0.144 * b + 0.587 * g + 0.299 * r, 0.436798 * b - 0.289391 * g - 0.147407 * r,
            -0.099978 * b - 0.514799 * g + 0.614777 * r};
}

float Channel(double encoded) {
    return static_cast<float>(std::clamp(GammaDecode(encoded), 0.0, 1.0));
}

bool IsOutside(const tYuv& yuv, LONG limit) {
    const double room = (limit == kGamutPal ? 1.2 : 1.2162163) - yuv.y;
    return room * room < yuv.Square();
}

void Correct(tPickColor& color, LONG limit) {
    tYuv yuv = YuvOf(color);
    // A colour outside has chroma: no division by zero behind this.
    if (!IsOutside(yuv, limit)) return;
    double s = std::sqrt(yuv.Square()), luma = yuv.y;
    if (limit == kGamutNtsc) {
        s *= 0.925;
        luma = yuv.y * 0.925 + 0.075; // the setup of 7.5 IRE
    }
    const double r = std::min((s - (luma + s - 1.15)) / s, 1.0);
    yuv.u *= r;
    yuv.v *= r;
    color[0] = Channel(yuv.y + 2.028398 * yuv.u);
    color[1] = Channel(yuv.y - 0.393931 * yuv.u - 0.580809 * yuv.v);
    color[2] = Channel(yuv.y + 1.140251 * yuv.v);
}

} // namespace

tPickHsl RGBtoHSL(const tPickRgb& rgb) noexcept {
    const auto [red, green, blue] = rgb;
    const double mx = std::max({red, green, blue}), mn = std::min({red, green, blue}), d = mx - mn;
    const double luminance = (mx + mn) * 0.5;
    if (luminance <= 0.0 || d == 0.0) return {-1.0, 0.0, luminance};
    const double saturation = luminance < 0.5 ? d / (mx + mn) : d / (2.0 - mx - mn);
    double sixths = red == mx ? (green - blue) / d : green == mx ? 2.0 + (blue - red) / d : 4.0 + (red - green) / d;
    if (sixths < 0.0) sixths += 6.0;
    return {sixths / 6.0, saturation, luminance};
}

tPickRgb HSLtoRGB(const tPickHsl& hsl) noexcept {
    tPickRgb rgb{hsl.luminance, hsl.luminance, hsl.luminance};
    if (hsl.hue >= 0.0 && hsl.hue <= 1.0)
        KwHslToRgb({hsl.hue, hsl.saturation, hsl.luminance, 0.0}, rgb.red, rgb.green, rgb.blue);
    return rgb;
}

double GammaEncode(double linear) noexcept {
    return linear < 0.018 ? 4.5 * linear : 1.099 * KwPow(linear, 0.45) - 0.099;
}

double GammaDecode(double encoded) noexcept {
    return encoded < 4.5 * 0.018 ? encoded / 4.5 : KwPow((encoded + 0.099) / 1.099, 1.0 / 0.45);
}

LONG TestGamut(const tPickColor& color) noexcept {
    const tYuv yuv = YuvOf(color);
    return (IsOutside(yuv, kGamutPal) ? kGamutPal : 0) | (IsOutside(yuv, kGamutNtsc) ? kGamutNtsc : 0);
}

tPickColor CorrectGamut(const tPickColor& color) noexcept {
    tPickColor corrected = color;
    Correct(corrected, kGamutPal);
    Correct(corrected, kGamutNtsc);
    return corrected;
}
