// The value at a percentile of each pixel's neighbourhood.
#pragma once

#include "kernels/view.h"

/// Each channel of each pixel takes the mean of one pixel's worth of weight around the percentile `offset` (0 the
/// lowest, 0.5 the median, 1 the highest) of the area around it, alpha like the colours. The area is a rectangle or,
/// with `circular`, an ellipse of `radiusX` / `pixelAspect` by `radiusY` pixels (kernels/area_table.h), its weights
/// 14-bit integers. What lies outside the common rectangle of the views does not count; an area without cells gives 0.
///
/// Only the 4-byte form is filtered: any other pixel size leaves the destination as it was. The views must not overlap.
/// Time per pixel is independent of the radius for a rectangle and grows with the rim of an ellipse. Memory for an
/// ellipse: a byte for each pixel of 64 columns and as many more as the area reaches to both sides, and 2 MB or, where
/// that is more, up to 16 bytes for each of these pixels in as many rows as the area has. For a rectangle:
/// 544 bytes for each of some 640 columns and as many more as the area reaches, twice or four times that for areas of
/// more than 65535 and 131000 cells.
HRESULT KwDibPercentileFilter(const tView& destination, const tView& source, LONG bytesPerPixel, float radiusX,
                              float radiusY, double pixelAspect, bool circular, float offset);
