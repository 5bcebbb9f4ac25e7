// Rows of 4-byte pixels 16 at a time: as bytes, as 16-bit halves for products of bytes, and as words 0xAARRGGBB. For
// row loops that the compiler would widen to 32 bits a byte, at a third of the speed. Everything here is inlined into
// the row loop, so that its clones use the widest registers they know.
#pragma once

#include <cstring>

#include "kernels/view.h"

#pragma GCC diagnostic ignored "-Wpsabi" // vectors are passed between inlined functions alone

inline constexpr std::ptrdiff_t kWideBytes = 64;
using tWideBytes [[gnu::vector_size(kWideBytes)]] = std::uint8_t;
using tWideHalves [[gnu::vector_size(kWideBytes)]] = std::uint16_t;
using tWideWords [[gnu::vector_size(kWideBytes)]] = std::uint32_t;

/// `KwBlend8` for each byte, by the size of the difference; each half of `a` is the amount, 0 to 255, for its bytes.
[[gnu::always_inline]] inline tWideBytes KwWideBlend(const tWideBytes& d, const tWideBytes& s, const tWideHalves& a) {
    const tWideHalves size = reinterpret_cast<tWideHalves>(d < s ? s - d : d - s);
    const tWideBytes step = reinterpret_cast<tWideBytes>(((size & 255) * a >> 8) | ((size >> 8) * a & 0xFF00));
    return d < s ? d + step : d - step;
}

[[gnu::always_inline]] inline tWideWords KwWideRepeat(std::uint32_t word) {
    return tWideWords{} + word;
}

[[gnu::always_inline]] inline tWideBytes KwWideMin(const tWideBytes& a, const tWideBytes& b) {
    return a < b ? a : b;
}

/// Each pixel's alpha in all of its bytes.
[[gnu::always_inline]] inline tWideBytes KwWideAlpha(const tWideBytes& pixels) {
    return reinterpret_cast<tWideBytes>((reinterpret_cast<tWideWords>(pixels) >> 24) * 0x01010101u);
}

/// The mean of the three colours in all bytes of its pixel: `KwMean8`.
[[gnu::always_inline]] inline tWideBytes KwWideMean(const tWideBytes& pixels) {
    const tWideWords w = reinterpret_cast<tWideWords>(pixels);
    const tWideWords mean = ((w & 255) + (w >> 8 & 255) + (w >> 16 & 255)) * 0xAAABu >> 17;
    return reinterpret_cast<tWideBytes>(mean * 0x01010101u);
}

/// The colours of one and the alpha of another.
[[gnu::always_inline]] inline tWideBytes KwWideWithAlpha(const tWideBytes& colors, const tWideBytes& alpha) {
    return reinterpret_cast<tWideBytes>((reinterpret_cast<tWideWords>(colors) & 0x00FFFFFFu) |
                                        (reinterpret_cast<tWideWords>(alpha) & 0xFF000000u));
}

/// Stores `rule(source bytes, index of the first pixel)` to the destination, 16 pixels at a time; what is left at both
/// ends goes through copies. Blocks begin where the destination is aligned, which saves a third of the time. Rows may
/// be the same, but must not overlap otherwise.
template <class Rule>
[[gnu::always_inline]] inline void KwForWide(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, Rule rule) {
    const std::ptrdiff_t bytes = count * 4;
    std::ptrdiff_t at = 0;
    const auto part = [&](std::ptrdiff_t size) __attribute__((always_inline)) {
        tWideBytes pixels{};
        std::memcpy(&pixels, s + at, static_cast<std::size_t>(size));
        pixels = rule(pixels, at / 4);
        std::memcpy(d + at, &pixels, static_cast<std::size_t>(size));
        at += size;
    };
    const std::ptrdiff_t head = static_cast<std::ptrdiff_t>(-reinterpret_cast<std::uintptr_t>(d) % kWideBytes);
    if (head > 0 && head % 4 == 0 && head < bytes) part(head);
    while (bytes - at >= kWideBytes) part(kWideBytes);
    if (at < bytes) part(bytes - at);
}
