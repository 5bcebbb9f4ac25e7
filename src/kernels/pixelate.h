// A picture as a grid of flat cells.
#pragma once

#include "kernels/view.h"

/// Reduces the source to the destination's size; each pixel becomes the mean of a block of whole source pixels, all
/// four channels as they stand. Steps are truncated to 14-bit fractions, block sizes to whole pixels; what is left over
/// belongs to no block. 4-byte means truncate; 16-byte sums run in doubles. A destination larger than the source either
/// way gives 0x80070057. The views must not overlap.
HRESULT KwDibAverageShrink(const tView& destination, const tView& source, LONG bytesPerPixel);

/// Copies the source to the destination and replaces it by flat cells of the means of `KwDibAverageShrink`, as
/// `KwDibFill` sets them: some levels come out one lower. `horizontal` and `vertical` are the resolution kept, from 0,
/// a single cell, to 1; up to 0.999 half of it counts, above that every pixel is a cell. Values that leave no cell (not
/// a number, or well below 0) give 0x80070057 and the plain copy; 0x8007000E when memory runs out, likewise. The views
/// may be the same picture, but must not overlap otherwise.
HRESULT KwDibPixelate(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontal,
                      double vertical);
