// The negative of a picture.
#pragma once

#include "kernels/view.h"

/// Copies the source's negative to the destination, then moves it back towards the source by 1 - `amount` as
/// `KwDibBlend` does; all in one pass. Alpha is the source's (before the blend). 4-byte pixels below alpha 255 are
/// unpremultiplied (c * 255 / alpha), mapped, and multiplied back by alpha / 256, so they come out a little darker
/// than exact arithmetic has it. In the 16-byte form nothing is inverted: the copy is blended with its own source.
HRESULT KwDibInvert(const tView& destination, const tView& source, LONG bytesPerPixel, double amount);

/// The negative in place, without a blend. 16-byte pixels stay as they are.
HRESULT KwDibInvertInPlace(const tView& view, LONG bytesPerPixel);
