// The line filter of the Gaussian blur by its definition, and the blur of many lines side by side.
#pragma once

#include <bit>
#include <cstdint>
#include <span>

#include "base/bodies.h"
#include "kernels/gaussian.h"

namespace kw_gaussian {

/// What is smaller is set to 0, against denormal numbers.
inline constexpr double kTiny = 0.00000000000000001;

/// 2^52 + 2^31. A sum with it is rounded to nearest, ties to even; its low word is the value's with its top bit turned,
/// that of not-a-number and infinity the one of 0.
inline constexpr double kToLevel = 4503601774854144.0;

/// The level of such a low word.
KWINLINE inline std::uint8_t Limited(std::int32_t low) {
    const std::int32_t level = low ^ INT32_MIN;
    return static_cast<std::uint8_t>(level < 0 ? 0 : level > 255 ? 255 : level);
}
KWINLINE inline std::uint8_t ToLevel(double value) {
    return Limited(static_cast<std::int32_t>(std::bit_cast<std::uint64_t>(value + kToLevel)));
}

/// The definition for one line: both walks from end to end, and their sum, which `ahead` is given. `back`: room.
void PlainLine(std::span<const double> x, const tGaussianCoefficients& c, std::span<double> ahead,
               std::span<double> back);

/// Blurs all four channels of 4-byte pixels or, with `channels` 1, the one at byte `offset`. Gives the bytes of the
/// definition; without memory the destination stays as it is. `scratch`: memory for the next picture.
void BlurLanes(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
               const tGaussianCoefficients& down, LONG offset, LONG channels, CKwScratch& scratch);

} // namespace kw_gaussian
