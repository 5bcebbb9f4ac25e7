// Y'CbCr of 8 bits a sample to blue, green, red, alpha: the way most clips come.
#pragma once

#include "host/surface.h"
#include "media/colour.h"

namespace larkmoor {

/// Converts a planar 8-bit 4:2:0, 4:2:2 or 4:4:4 frame into opaque 8-bit pixels of the same size. Chroma is
/// interpolated by cubics from its place. Results lie within one step of the exact matrix (ITU-R BT.601,
/// BT.709, BT.2020).
/// @return false, with nothing written, when the frame is of another kind.
bool convertYuv(const AVFrame& frame, ChromaPlace place, const ImageView& out);

} // namespace larkmoor
