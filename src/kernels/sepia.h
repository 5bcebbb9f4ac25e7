// Colours taken out, and a tone put in.
#pragma once

#include "kernels/rgba.h"
#include "kernels/view.h"

struct tSEPIAPROP {
    tKWRGBADOUBLE color; ///< the tone; its alpha has no effect
    double strength;     ///< up to 1/3 only takes colour out, up to 2/3 tones as well, above 2/3 tones the grey
    double falloff;      ///< how far the tone's weight falls from dark to bright
};
static_assert(sizeof(tSEPIAPROP) == 48);

/// Copies the source to the destination, toned. Alpha stays; colours may end above it, or are capped at it with
/// `limitToAlpha`. The views may be the same picture, but must not overlap otherwise. A null record gives 0x80004003.
HRESULT KwDibSepia(const tView& destination, const tView& source, LONG bytesPerPixel, const tSEPIAPROP* record,
                   bool limitToAlpha);
