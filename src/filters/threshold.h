#pragma once

#include "platform/types.h"

/// Parameters of Threshold.
struct tTHRESHOLDPROP {
    float threshold; ///< fraction of full scale
};
static_assert(sizeof(tTHRESHOLDPROP) == 4);

/// Entries below trunc(`threshold` * count) are 0, the others full: 256 bytes for 4-byte pixels, else 65,536 words of
/// 16 bits.
void KwBuildThresholdTable(void* table, LONG bytesPerPixel, float threshold);
