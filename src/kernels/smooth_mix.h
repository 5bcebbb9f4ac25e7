// A picture mixed with its own 1-2-1 smoothing, in one pass.
#pragma once

#include "kernels/view.h"

/// `KwDibSmooth3x3`, then `KwDibBlend` of the source over it: the same bytes. `amount` 0 is the full smoothing, 1
/// nearly the source. The views must not overlap.
HRESULT KwDibSmoothBlend(const tView& destination, const tView& source, LONG bytesPerPixel, double amount);

/// `KwDibConvolve3x3`, then `KwDibClampToAlpha`: the same bytes. With t = truncate(`amount` * 16) the weights are -1
/// and -2 around 29 - t, over 17 - t. `amount` 0 sharpens a little, 1 the most; what makes the divisor 0 gives
/// 0x80070057 and leaves the destination as it is. The views must not overlap.
HRESULT KwDibSharpen(const tView& destination, const tView& source, LONG bytesPerPixel, double amount);
