// Near-black pixels made black.
#pragma once

#include "kernels/view.h"

/// Copies the source to the destination; colours of a pixel become 0 where all three are at or under the threshold (a
/// fraction of full scale; as trunc(threshold * 255) in the 4-byte form, as a float in the 16-byte form). Alpha stays.
/// The views may be the same picture, but must not overlap otherwise.
HRESULT KwDibBlackRestore(const tView& destination, const tView& source, LONG bytesPerPixel, double threshold);
