// Colour arithmetic of the colour picker, in doubles: hue, saturation and luminance, and the limits that composite
// video sets to a colour's amplitude (luma plus chroma).
#pragma once

#include <array>

#include "platform/types.h"

/// Blue, green, red, alpha, each 0 to 1: the order of a pixel's bytes.
using tPickColor = std::array<float, 4>;

struct tPickRgb {
    double red, green, blue;
};

struct tPickHsl {
    double hue; ///< in turns, 0 to 1; -1 for grey
    double saturation, luminance;
};

/// A hexcone with lightness (Joblove and Greenberg, 1978). Unlike the model of the filters it marks greys by hue -1.
tPickHsl RGBtoHSL(const tPickRgb& rgb) noexcept;
/// A hue outside 0 to 1 gives the grey of the luminance.
tPickRgb HSLtoRGB(const tPickHsl& hsl) noexcept;

/// The transfer of ITU-R BT.709: linear up to 0.018, a power of 0.45 above.
double GammaEncode(double linear) noexcept;
double GammaDecode(double encoded) noexcept;

inline constexpr LONG kGamutPal = 1;
inline constexpr LONG kGamutNtsc = 2;

/// The limits that a colour of 0 to 1 lies outside of.
LONG TestGamut(const tPickColor& color) noexcept;
/// The colour with its chroma reduced to what both limits allow, 0 to 1; the same where it lies inside them. Alpha
/// stays.
tPickColor CorrectGamut(const tPickColor& color) noexcept;
