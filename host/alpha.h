// Straight and premultiplied colour in blue, green, red, alpha pixels, in place.
#pragma once

#include "host/surface.h"

namespace larkmoor {

/// Whether all alphas of an 8-bit picture are at full scale.
bool isOpaque(const ImageView& image);

/// Multiplies colour by alpha, rounded to nearest. Opaque pixels keep their bytes.
/// @param image 8-bit or float pixels.
void premultiply(const ImageView& image);

/// Divides colour by alpha, rounded to nearest and limited to full scale in the 8-bit form; colour under alpha 0
/// becomes 0. Opaque pixels keep their bytes.
void unpremultiply(const ImageView& image);

/// Lays one premultiplied picture over another: front + back * (1 - the front's alpha), rounded to nearest and limited
/// to full scale in the 8-bit form (Porter and Duff, "Compositing digital images", 1984).
/// @param front, back, out three different pictures of one size and form.
void layOver(const ImageView& front, const ImageView& back, const ImageView& out);

} // namespace larkmoor
