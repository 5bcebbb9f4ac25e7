// Positions and lengths with 14 fraction bits.
#pragma once

#include <cstdint>
#include <limits>

#include "kernels/view.h"

/// One pixel in fixed point.
inline constexpr std::int64_t kOnePixel = 16384;

/// 64 bits wide, so that pictures of more than 131071 pixels in a row have no wrap.
struct tFixedPoint {
    std::int64_t x, y;
};

struct tFixedRect {
    std::int64_t left, top, right, bottom;

    friend constexpr bool operator==(const tFixedRect&, const tFixedRect&) = default;
};

/// Size in pixels.
struct tExtent {
    LONG width, height;
};

constexpr std::int64_t KwToFixed(LONG pixels) {
    return pixels * kOnePixel;
}
/// The pixel at or before a position.
constexpr std::int64_t KwFixedFloor(std::int64_t position) {
    return position >> 14;
}
/// The pixel at or behind a position.
constexpr std::int64_t KwFixedCeil(std::int64_t position) {
    return (position + (kOnePixel - 1)) >> 14;
}

/// Truncates to a fixed-point number. What is no sensible length (2^47 and beyond, not-a-number) gives the least
/// 32-bit integer, so that sums and products with sizes stay inside 64 bits.
constexpr std::int64_t KwFixed(double value) {
    constexpr double kLimit = 140737488355328.0;
    return value > -kLimit && value < kLimit ? static_cast<std::int64_t>(value)
                                             : std::numeric_limits<std::int32_t>::min();
}
