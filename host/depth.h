// Float pictures through 8 bits, and what did not change there back to its depth.
#pragma once

#include <span>

#include "host/surface.h"

namespace larkmoor {

/// Float pixels as 8-bit ones, rounded to nearest and limited to full scale; no numbers count as 0.
void narrowPicture(const ImageView& floats, const ImageView& bytes);

/// A float picture and what `narrowPicture` makes of it.
struct TwoDepths {
    ImageView floats, bytes;
};

/// What was made of `before` at 8 bits, as floats. A pixel that has the bytes it had before, in the first picture that
/// has them, gets that picture's floats again.
/// @param after, out of the size of `before`
void restoreDepth(std::span<const TwoDepths> before, const ImageView& after, const ImageView& out);

/// Limits float pixels to 0 to 1.
void limitPicture(const ImageView& floats);

/// Whether a picture is still what it was: bit for bit or, in floats, but for the limit of each value to 0 to 1 and to
/// its alpha, which many effects set, and for less than a quarter of a step of 16 bits.
bool isUnchanged(const ImageView& before, const ImageView& after);

} // namespace larkmoor
