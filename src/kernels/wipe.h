// A straight soft edge swept over the frame, and the grey difference of two pictures.
#pragma once

#include "kernels/view.h"

struct tWIPEPROP {
    float angle; ///< degrees: the edge moves towards (cos, sin), y downwards
    LONG reserved;
    double feather; ///< softness, share of the longer side
};
static_assert(sizeof(tWIPEPROP) == 16);

/// `second` replaces `first` behind the edge. 4-byte form only; E_NOTIMPL for any other. The status is that of bringing
/// `second` and `out` to one size; E_POINTER for missing memory. `out` may be one of the inputs.
///
/// @param featherPixels length of the soft zone; below 1 the edge is hard and antialiased
/// @param angle degrees; 90 and 270 are moved by a hundredth
/// @param progress 0 to 1, not limited
/// @param blendWithOutput composites the result over what `out` holds
HRESULT KwDibWipe(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, double featherPixels,
                  double angle, double progress, bool blendWithOutput);

/// Opaque grey of the mean squared colour difference, halved and limited to 255. 4-byte form only; E_NOTIMPL for any
/// other. Pictures that cannot be brought to one size or are missing leave `out` as it is,
/// with success.
HRESULT KwTwin_mix(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel);
