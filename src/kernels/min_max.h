// The greatest and the least value of each pixel's neighbourhood.
#pragma once

#include "kernels/view.h"

/// Each channel of each pixel takes the mean of the highest one pixel's worth of weight in the area around it, alpha
/// like the colours: a sample on the area's rim counts as far as its weight goes. The area is a rectangle or, with
/// `circular`, an ellipse of `radiusX` / `pixelAspect` by `radiusY` pixels (kernels/area_table.h). What lies outside
/// the common rectangle of the views does not count; an area without cells gives 0. Weights add up as 32-bit floats,
/// row by row from the top left.
///
/// Only the 4-byte form is filtered: any other pixel size leaves the destination as it was. The views must not overlap.
/// Time per pixel is independent of the radius for a rectangle and grows with the height and rim of an ellipse.
HRESULT KwDibMaxFilter(const tView& destination, const tView& source, LONG bytesPerPixel, float radiusX, float radiusY,
                       double pixelAspect, bool circular);

/// The same with the lowest weight.
HRESULT KwDibMinFilter(const tView& destination, const tView& source, LONG bytesPerPixel, float radiusX, float radiusY,
                       double pixelAspect, bool circular);
