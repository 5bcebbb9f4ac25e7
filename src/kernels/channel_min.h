// The least value of a channel around each pixel.
#pragma once

#include "kernels/view.h"

/// The destination channel becomes the least value of the source channel over the columns x - `radius` up to but not
/// including x + `radius` and the rows likewise, cut to the rectangle; channel numbers as in `KwDibChannelOffset`.
/// Where that is empty, at a radius of 0 or below, it becomes 255, or 10.0 in the 16-byte form, where greater values
/// and not-a-number do not count. The destination's other channels stay as they are. The views may share memory in any
/// way. The time grows with the logarithm of the radius. 0x8007000E when memory runs out.
HRESULT KwDibChannelMin(const tView& destination, LONG destinationChannel, const tView& source, LONG sourceChannel,
                        LONG radius, LONG bytesPerPixel);
