// A hand that sweeps around the centre and leaves the second picture behind it.
#pragma once

#include "kernels/view.h"

struct tCLOCKPROP {
    LONG direction; ///< 0 clockwise, any other value counter-clockwise
    LONG reserved;
    double feather; ///< soft angle, degrees
};
static_assert(sizeof(tCLOCKPROP) == 16);

/// Draws `source` over `out`, which holds the first picture, as far as the hand has come from twelve o'clock. The
/// centre is that of the source's frame, in coordinates of its memory. `progress` is limited to 0 to 1; at 1 all of
/// the source shows. A null `prop`, a missing frame or missing memory give E_POINTER.
HRESULT KwDibClock(const tView& out, const tView& source, LONG bytesPerPixel, const tCLOCKPROP* prop, double progress);
