#pragma once

#include "platform/types.h"

/// Parameters of Black and White.
struct tDESATURATEPROP {
    double blendAmount; ///< 0 leaves the picture, 1 gives full grey
};
static_assert(sizeof(tDESATURATEPROP) == 8);
