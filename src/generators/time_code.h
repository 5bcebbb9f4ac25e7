#pragma once

#include "platform/types.h"

/// Parameters of Timecode.
struct tTIMECODEPROP {
    LONG horizontal; ///< 0 left, 1 middle, 2 right
    LONG vertical;   ///< 0 top, 1 middle, 2 bottom
    LONG format;     ///< eTIMEFORMAT
    float width;     ///< of the digits, over their natural size
    float height;
    float scale; ///< nothing reads it
    LONG reserved1, reserved2;
};
static_assert(sizeof(tTIMECODEPROP) == 32);
