// Colour and its alpha: multiplied, divided, limited.
#pragma once

#include <array>

#include "kernels/view.h"

/// Limits each colour channel to the pixel's alpha.
HRESULT KwDibClampToAlpha(const tView& view, LONG bytesPerPixel);

/// Multiplies each colour channel by alpha. 4-byte form: c * a >> 8, so opaque white becomes 254.
HRESULT KwDibPremultiply(const tView& view, LONG bytesPerPixel);

/// floor(255 * 65536 / alpha) + 1, and 0 for alpha 0: c times this, less 16 bits, is the integer part of
/// c * 255 / alpha for every byte c, and the product stays below 2^32.
inline constexpr auto kUnpremultiply = [] {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t a = 1; a < 256; ++a) table[a] = 255 * 65536 / a + 1;
    return table;
}();

/// c * 255 / alpha without its fraction, at most 255; 0 where alpha is 0.
constexpr std::uint8_t KwUnpremultiply8(std::uint8_t c, std::uint8_t alpha) {
    const std::uint32_t value = c * kUnpremultiply[alpha] >> 16;
    return static_cast<std::uint8_t>(value < 255 ? value : 255);
}

/// Undoes the multiplication by alpha; colours of a clear pixel become `emptyValue`.
constexpr void KwDibUnpremultiplyPixel(tPixel8& pixel, std::uint8_t emptyValue) {
    if (pixel.a == 0)
        pixel.b = pixel.g = pixel.r = emptyValue;
    else
        pixel = {KwUnpremultiply8(pixel.b, pixel.a), KwUnpremultiply8(pixel.g, pixel.a),
                 KwUnpremultiply8(pixel.r, pixel.a), pixel.a};
}
