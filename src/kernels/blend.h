// Mixing one picture into another.
#pragma once

#include "kernels/view.h"

/// Destination moves towards source by `amount`, all four channels. Colour as it stands: premultiplied stays
/// premultiplied. The views may be the same picture, but must not overlap otherwise.
///
/// 4-byte form: a = truncate(`amount` * 255 + 0.5) kept as one byte, then `KwBlend8`; so 1.0 stops one step short of
/// the source. 16-byte form: `amount` as a float, `KwBlendFloat`.
HRESULT KwDibBlend(const tView& destination, const tView& source, LONG bytesPerPixel, double amount);

/// Destination moves towards source by the source's alpha, all four channels (alpha as well: it does not become the
/// source's). The views may be the same picture, but must not overlap otherwise.
///
/// `matte` is null, or the colour (red, green, blue, 1.0 being full scale) that the source was laid on; then each
/// colour becomes (matte - d) * alpha / 256 + s - matte + d, limited to full scale, and alpha stays. 4-byte form: the
/// matte as bytes, limited and truncated. 16-byte form: as floats without a limit, and alpha is not divided.
HRESULT KwDibBlendSrcAlpha(const tView& destination, const tView& source, LONG bytesPerPixel,
                           const double* matte = nullptr);

/// Adds the source times `amount` (limited to 0 to 1; not-a-number is 0) to the destination, all four channels limited
/// to full scale. The source is sampled bilinearly, from (`offsetX`, `offsetY`) pixels into the common part on, one
/// pixel a step; positions beyond its edge take the edge. Offsets and amount are truncated to 1/16384. The views may
/// be the same picture with both offsets 0, but must not overlap otherwise.
///
/// Only mode 3 works; mode 2 is refused with 0x80004001 once the clips are resolved, all others at once. A missing
/// destination or source gives 0x80004003.
HRESULT KwDibAddScaled(const tView& destination, const tView& source, LONG bytesPerPixel, double amount, LONG mode,
                       double offsetX, double offsetY);

/// Copies `base` to the output and then adds the second picture like the above, without an offset, in one walk where
/// all three have a common area. The output may be either picture, but must not overlap them otherwise.
HRESULT KwDibSumScaled(const tView& output, const tView& base, const tView& added, LONG bytesPerPixel, double amount);
