// One picture closed over the other as two halves from opposite sides.
#pragma once

#include "kernels/view.h"

struct tBARNPROP {
    LONG orientation; ///< 0 doors at left and right, any other value at top and bottom
    float border;     ///< solid width, share of half the travel
    float feather;    ///< soft width, share of half the travel
    float blue, green, red, alpha;
    LONG direction; ///< 0 in, 1 out; the caller of the kernel exchanges pictures and progress for out
};
static_assert(sizeof(tBARNPROP) == 32);

/// The halves of `second` close over `first`; pictures, clips, `progress` and errors as in `KwDibPush`.
HRESULT KwDibBarn(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, const tBARNPROP& prop,
                  double progress);
