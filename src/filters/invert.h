#pragma once

#include "platform/types.h"

/// Parameters of Invert.
struct tINVERTPROP {
    double amount; ///< 0 the source unchanged, 1 the full negative
};
static_assert(sizeof(tINVERTPROP) == 8);
