#pragma once

#include "platform/types.h"

/// Parameters of Brightness and Contrast, in units of full scale.
struct tBRIGHTCONTRASTPROP {
    double brightness;     ///< added to each colour
    double contrast;       ///< above 0 stretches, below 0 compresses
    double contrastCenter; ///< the level about which contrast pivots
};
static_assert(sizeof(tBRIGHTCONTRASTPROP) == 24);
