// What the recursive filter of a small radius makes of a speck: taps for sums over the pixels around.
#pragma once

#include <array>
#include <optional>

#include "base/bodies.h"
#include "kernels/gaussian.h"

namespace kw_gaussian {

/// Pixels to each side that a sum takes at most: in floats, where the recursion is as fast with more; and in doubles.
inline constexpr LONG kReach = 28, kFarReach = 88;

/// Sums that are formed at once: they share what they load.
inline constexpr LONG kTogether = 4;

/// The taps of one direction, which are symmetric.
struct tTaps {
    static constexpr std::size_t kZeros = 16; ///< after `exact`, for vectors

    std::array<float, kReach + 1> floats{};                 ///< of the pixels so far away
    std::array<double, 2 * kFarReach + 1 + kZeros> exact{}; ///< the pixel's own stands at `kFarReach`
    std::array<double, kFarReach + 1> beyond{};             ///< the total of the sizes further away than so many
    LONG reach = 0;    ///< of the floats, a multiple of `kTogether`; beyond it, they would change hardly anything
    LONG farReach = 0; ///< the same for doubles
    double total = 0;  ///< of the exact ones
    double size = 0;   ///< of their sizes

    double Exact(LONG away) const { return exact[static_cast<std::size_t>(kFarReach + away)]; }
    double Beyond(LONG away) const { return beyond[static_cast<std::size_t>(away)]; }

    /// The greatest error of a sum in floats over values of up to `most`. Everything is rounded once, the sums of
    /// pairs, the products and the two parts of the sum from the outermost values inward among them.
    double Error(double most) const;
};

/// What rounding a float of up to `size` changes at most.
double Rounding(double size);

/// Nothing where the taps reach too far or do not add up to about 1.
std::optional<tTaps> TapsOf(const tGaussianCoefficients& coefficients);

/// A level of a picture by sums of doubles: that of the definition, unless what those round otherwise than its
/// recursion may leave it open. `shift`: bits in a pixel below the channel.
std::optional<std::uint8_t> Decide(const tRows& source, const tTaps& across, const tTaps& down, LONG x, LONG y,
                                   LONG shift);

} // namespace kw_gaussian
