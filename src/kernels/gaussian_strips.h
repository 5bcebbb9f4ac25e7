// The Gaussian blur of a small radius as sums over the pixels around.
#pragma once

#include "kernels/gaussian.h"

namespace kw_gaussian {

/// Does what `BlurLanes` does where the radii are so small that this is faster, and says whether it did. Floats decide
/// a level where it is further from a step than their greatest error; the few others are summed in doubles. False, and
/// any levels in the destination, where that does not decide them either or they are many; false, and the destination
/// as it was, for pictures that share memory. `alpha`: what three channels are given in the place of the fourth; false
/// where that is not the same in all of the source.
bool BlurStrips(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
                const tGaussianCoefficients& down, LONG offset, LONG channels, std::uint32_t alpha,
                CKwScratch& scratch);

} // namespace kw_gaussian
