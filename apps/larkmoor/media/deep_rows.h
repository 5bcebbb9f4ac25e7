// Integer pictures of 8 to 16 bits a sample to float pixels and back.
#pragma once

#include "host/surface.h"
#include "media/av.h"
#include "media/colour.h"

namespace larkmoor {

/// Fills float pixels from a frame of the same size: Y'CbCr, RGB or grey, planar or packed, in either order of bytes.
/// Colour stays straight or premultiplied as it is, and nothing is limited: what lies outside of 0 to 1 in the frame's
/// matrix stays outside.
/// @return false, with nothing written, when the frame is of another kind.
bool readDeep(const AVFrame& frame, ChromaPlace place, const ImageView& out);

/// Fills a frame, which has its format, size, buffers and colour tags, from float pixels of the same size: rounded to
/// nearest, limited to what the samples hold; no numbers count as 0. A frame that was read by `readDeep` comes back to
/// the bit: chroma is made smaller by filters that undo those that made it larger.
/// @return false, with nothing written, when the frame is of another kind.
bool writeDeep(const ImageView& picture, AVFrame& out, ChromaPlace place);

} // namespace larkmoor
