// Hue turned, saturation and luminance scaled.
#pragma once

#include "kernels/view.h"

struct tHSLADJUSTPROP {
    double addHue;     ///< in turns
    double saturation; ///< multiplier
    double luminance;  ///< multiplier
};
static_assert(sizeof(tHSLADJUSTPROP) == 24);

/// Copies the source to the destination adjusted, each colour limited to the pixel's alpha, which stays. The views may
/// be the same picture, but must not overlap otherwise. A null record gives 0x80004003.
HRESULT KwDibHslAdjust(const tView& destination, const tView& source, LONG bytesPerPixel, const tHSLADJUSTPROP* record);
