// Rows of two pictures mixed by a weight for each pixel.
#pragma once

#include "kernels/unaligned.h"

/// The 4-byte form as rows of channels. A weight is 0 to 256: `kWhole` gives the second picture exactly, anything less
/// follows the 8-bit blend rule.
struct tForm8 {
    using tChannel = std::uint8_t;
    using tWeight = std::uint16_t;
    static constexpr LONG kPixelSize = 4;
    static constexpr tWeight kKeep = 0, kWhole = 256;
};

/// The 16-byte form. A weight below 0 keeps the first picture, one above 1 gives the second, neither with any
/// arithmetic; between them the float blend rule.
struct tFormF {
    using tChannel = tAnyFloat;
    using tWeight = float;
    static constexpr LONG kPixelSize = 16;
    static constexpr tWeight kKeep = -1.0f, kWhole = 2.0f;
};

/// out = first moved towards second, one weight a pixel. `out` may be `first` or `second`; `count` in pixels.
void KwMixRow(std::uint8_t* out, const std::uint8_t* first, const std::uint8_t* second, const std::uint16_t* weights,
              std::ptrdiff_t count);
void KwMixRow(tAnyFloat* out, const tAnyFloat* first, const tAnyFloat* second, const float* weights,
              std::ptrdiff_t count);

/// The same with one weight for all.
void KwMixRowBy(std::uint8_t* out, const std::uint8_t* first, const std::uint8_t* second, std::uint16_t weight,
                std::ptrdiff_t count);
void KwMixRowBy(tAnyFloat* out, const tAnyFloat* first, const tAnyFloat* second, float weight, std::ptrdiff_t count);

/// out = pixels over out, premultiplied: pixels + (255 - alpha) * out / 256, rounded at 127. `out` may be `pixels`.
void KwOverRow(std::uint8_t* out, const std::uint8_t* pixels, std::ptrdiff_t count);

/// Calls `body` with the form that `bytesPerPixel` stands for.
template <class Body>
auto KwWithForm(LONG bytesPerPixel, Body&& body) {
    return bytesPerPixel == 4 ? body(tForm8{}) : body(tFormF{});
}
