// Ten ways in which one picture passes into another, pixel by pixel.
#pragma once

#include "kernels/view.h"

struct tDISSOLVEPROP {
    double red, green, blue, alpha; ///< speeds in modes 3 and 4, the colour in mode 8; 0 to 1
    LONG mode;                      ///< 0 to 9
    LONG reserved;
};
static_assert(sizeof(tDISSOLVEPROP) == 40);

/// 4-byte pixels, premultiplied. `progress` 0 is the first picture, 1 the second but in mode 8, which ends in its
/// colour. A mode outside 0 to 9 writes nothing. `out` may be one of the inputs.
///
/// Modes: 0 additive, 1 subtractive, 2 subtractive crossfade, 3 colour bleed, 4 colour morph, 5 threshold (bright parts
/// stay longest), 6 threshold (bright parts come first), 7 through grey, 8 through a colour, 9 red then green then
/// blue.
HRESULT KwDibDissolve(const tView& out, const tView& first, const tView& second, const tDISSOLVEPROP& record,
                      float progress);
