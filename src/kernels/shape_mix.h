// Pictures mixed through masks of shapes: the iris between two pictures, and the cutter on one.
#pragma once

#include "kernels/mask_border.h"

/// A shape of fixed size, and what to do with it. `shape.direction` is the method: 0 makes the shape transparent, any
/// other value all but the shape.
struct tCUTTERINFO {
    tIRISINFO shape{.direction = 1};
    float size = 0.5f; ///< share of the reach, 0 to 1
};
static_assert(sizeof(tCUTTERINFO) == 60);

/// Shows `inside` within the shapes of `info` and `outside` around them, with a coloured border on the shapes' outer
/// side. Both pictures have one size. Shapes are laid out in the frame of `outside`, so that a band has the pixels of
/// the whole picture.
///
/// @param progress        how far the shapes have grown, 0 to 1
/// @param blendWithOutput puts the mix over the output instead of storing it: 4-byte form r + ((255 - r.a) * out +
///                        127 >> 8), low eight bits; the border follows on the output
/// @param aspect          width of a pixel over its height
/// @return 0x80004003 without a record, 0x8007000E out of memory, or a resolver's status
HRESULT KwDibIris(const tView& output, const tView& outside, const tView& inside, LONG bytesPerPixel, tIRISINFO* info,
                  double progress, bool blendWithOutput, double aspect);

/// Cuts the shapes of `info` out of `input`, by the method of its own field; what is cut away is transparent, or left
/// as it is in the output where `blendWithOutput` is set. `size` is limited to 0 to 1.
HRESULT KwDibCutter(const tView& output, const tView& input, LONG bytesPerPixel, tCUTTERINFO* info,
                    bool blendWithOutput, double aspect);
