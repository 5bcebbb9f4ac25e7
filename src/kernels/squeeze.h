// One picture grown from a side or from the middle, the other squeezed away or left where it is.
#pragma once

#include "kernels/view.h"

struct tSQUEEZEPROP {
    LONG type;       ///< low 16 bits: 0 down from the top, 1 from the middle up and down, 2 up from the bottom,
                     ///< 3 from the left, 4 from the middle sideways, 5 from the right
    LONG squeezeOld; ///< 1: the first picture is squeezed; 0: it stays
    float border;    ///< solid width, share of the travel
    float feather;   ///< soft width, share of the travel
    float blue, green, red, alpha;
};
static_assert(sizeof(tSQUEEZEPROP) == 32);

/// `second` grows over `out`, squeezing `first` as `prop` says; pictures, clips, `progress` and errors as in
/// `KwDibPush`. For a type other than the six, `second` covers `first`. E_OUTOFMEMORY as in `KwDibStretchBlit`.
HRESULT KwDibSqueeze(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel,
                     const tSQUEEZEPROP& prop, double progress);
