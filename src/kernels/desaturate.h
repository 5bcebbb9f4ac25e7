// Grey pictures.
#pragma once

#include "kernels/view.h"

/// Writes one grey, limited to alpha, to the three colour channels; alpha stays.
///
/// Without `luminance` the grey is the mean: (r + g + b) / 3 truncated, or in the 16-byte form (r + g + b) times a
/// float third. With it the colour goes through `tHSLADOUBLE` with its saturation set to 0, so the grey lies midway
/// between the largest and the smallest channel; in the 4-byte form it is truncated on the way back, which costs some
/// greys one step.
HRESULT KwDibDesaturate(const tView& view, LONG bytesPerPixel, bool luminance);

/// Copies the source's mean grey to the destination and moves it back towards the source by 1 - `amount`, as
/// `KwDibBlend` does; in one pass over the 4-byte form. In the 16-byte form the views are different pictures.
HRESULT KwDibBlackAndWhite(const tView& destination, const tView& source, LONG bytesPerPixel, double amount);

/// The mean of three bytes without its fraction. 0xAAAB is 2^17 / 3 rounded up: exact for sums up to 2^16.
constexpr std::uint32_t KwMean8(std::uint32_t red, std::uint32_t green, std::uint32_t blue) {
    return (red + green + blue) * 0xAAAB >> 17;
}

/// The mean of three floats.
constexpr float KwMeanF(float red, float green, float blue) {
    return (red + green + blue) * 0.33333334f;
}

/// Each pixel's `KwMean8` in all four of its bytes, for a row of `count` pixels; in place or apart.
void KwMeanRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count);
