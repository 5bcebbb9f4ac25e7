// Straight and premultiplied colour in blue, green, red, alpha pixels, in place.
#pragma once

#include "host/surface.h"

namespace larkmoor {

/// Multiplies colour by alpha, rounded to nearest. Opaque pixels keep their bytes.
/// @param image 8-bit or float pixels.
void premultiply(const ImageView& image);

/// Divides colour by alpha, rounded to nearest and limited to full scale in the 8-bit form; colour under alpha 0
/// becomes 0. Opaque pixels keep their bytes.
void unpremultiply(const ImageView& image);

} // namespace larkmoor
