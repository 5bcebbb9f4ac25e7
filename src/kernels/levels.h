// The transfer table of input range, gamma and output range.
#pragma once

#include "platform/types.h"

/// Ranges as fractions of full scale; the ramp between them is raised to the power 1 / `gamma`.
struct tLEVELSPROP {
    double inputStart, inputEnd;
    double outputStart, outputEnd;
    double gamma;
    LONG channel; ///< 0 blue, 1 green, 2 red, 3 and 4 all colours
    LONG reserved;
};
static_assert(sizeof(tLEVELSPROP) == 48);

/// Fills 256 bytes for 4-byte pixels, else 65,536 words of 16 bits. Entries below the input range are 0, not
/// `outputStart`. False for a null pointer.
///
/// Full scale is 255, but for a size of 8 bytes a pixel 65,535: floats get the bounds of bytes on a table of words, and
/// nearly all of their range lies above `inputEnd`.
bool KwBuildLevelsTable(void* table, LONG bytesPerPixel, const tLEVELSPROP* record);
