// A channel or the luminance of a picture as a mask.
#pragma once

#include "kernels/view.h"

struct tMASKPROP {
    LONG type; ///< 0 alpha, 2 red, 3 green, 4 blue, any other luminance (the mean)
    LONG reserved1;
    double lowIn, highIn;   ///< levels at which the curve is at its ends
    double lowOut, highOut; ///< its ends
    LONG invert;            ///< nonzero: the source is inverted before the curve
    LONG reserved2;
};
static_assert(sizeof(tMASKPROP) == 48);

/// Writes the mask to all four channels of the destination. A null record gives 0x80070057; failures of the common
/// rectangle as in `KwDibResolveClipTwo`. The views may be the same picture, but must not overlap otherwise.
HRESULT KwDibMask(const tView& destination, const tView& source, LONG bytesPerPixel, const tMASKPROP* record);
