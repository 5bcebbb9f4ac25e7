// Kernels of 3x3 pixels. Pixels outside the common part are replaced by the nearest inside it. All four channels are
// filtered. Source rows are read after destination rows were written, so the two pictures must not overlap: where
// they do, the result is some picture, with no access outside the two views.
#pragma once

#include "kernels/view.h"

/// Weights 1 2 1 / 2 4 2 / 1 2 1 over 16. 4-byte form: truncated. 16-byte form: (centre * 4 + (up + left + right +
/// down)
/// * 2 + the corners) * 0.0625.
HRESULT KwDibSmooth3x3(const tView& destination, const tView& source, LONG bytesPerPixel);

/// Nine weights, row by row, over `divisor`. 4-byte form: the exact sum divided, truncated towards zero, and limited to
/// 0 to 255. 16-byte form: each weight is divided as a float first, products are summed in the order of the weights,
/// and the sum limited to 0 to 1. A `divisor` of 0 gives 0x80070057 and null `weights` 0x80004003; no pixel is touched.
HRESULT KwDibConvolve3x3(const tView& destination, const tView& source, LONG bytesPerPixel, const LONG* weights,
                         LONG divisor);
