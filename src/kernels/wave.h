// A picture bent by two sine waves.
#pragma once

#include "kernels/view.h"

/// Waves along one side move pixels along the other.
struct tWAVEPROP {
    double verticalWaves;       ///< along the height, moving sideways; 1 is a half turn (of 3.141)
    double horizontalWaves;     ///< along the width, moving up and down
    double verticalAmplitude;   ///< sideways, as a fraction of the width
    double horizontalAmplitude; ///< up and down, as a fraction of the height
    double verticalPhase;       ///< radians
    double horizontalPhase;     ///< radians
};
static_assert(sizeof(tWAVEPROP) == 48);

/// Each pixel is read from its displaced position, bilinear with 14-bit fractions; positions beyond the rectangle are
/// moved into it, up to its last column or row but one. The 4-byte form truncates the weights and the sums, which costs
/// up to a few levels. A rectangle one pixel wide or high repeats its only column or row. The sideways position is
/// counted in 32 bits. The views must not overlap.
HRESULT KwDibWave(const tView& destination, const tView& source, LONG bytesPerPixel, const tWAVEPROP& wave);
