// One picture scaled up from a point over the other.
#pragma once

#include "kernels/view.h"

struct tZOOMPROP {
    float anchorX, anchorY; ///< the point, shares of width and height
    float border;           ///< solid width, share of the longer side
    float feather;          ///< soft width, share of the longer side
    float blue, green, red, alpha;
    LONG direction; ///< 0 in, 1 out; the caller of the kernel exchanges pictures and progress for out
};
static_assert(sizeof(tZOOMPROP) == 36);

/// `second` grows over `first`; pictures, clips, `progress` and errors as in `KwDibPush`. E_OUTOFMEMORY as in
/// `KwDibStretchBlit`.
HRESULT KwDibZoom(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, const tZOOMPROP& prop,
                  double progress);
