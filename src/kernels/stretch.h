// Drawing pictures at sub-pixel places and sizes.
#pragma once

#include "kernels/fixed.h"

/// Draws a source rectangle into a destination rectangle, both in 14-bit fixed point, rows and columns counted from
/// the first pixel of each memory. Nothing is drawn where less than one source pixel or 1/16 destination pixel remains
/// in a direction. The two pictures must not overlap, except that they may be the same one drawn onto itself 1:1.
///
/// A direction that is reduced takes, with `smooth`, the mean of the source under each destination pixel; every other
/// one is interpolated linearly, and 1:1 on whole pixels copies. Samples never come from outside the source rectangle.
/// Destination pixels that the rectangle covers in part are blended by that part. What a pixel gets does not depend on
/// the output's size or offset.
///
/// @param destination null for the whole output
/// @param offset added to the destination
/// @param source null for the whole source
/// @return S_OK, or E_OUTOFMEMORY with nothing drawn: scaling needs a row of numbers
HRESULT KwDibStretchBlit(void* outBits, tExtent outSize, LONG outStride, const tFixedRect* destination,
                         tFixedPoint offset, const void* sourceBits, tExtent sourceSize, LONG sourceStride,
                         const tFixedRect* source, LONG bytesPerPixel, bool smooth);
