// What moving and scaling transitions draw on.
#pragma once

#include "kernels/fixed.h"

/// The part of the output that a transition may touch, and how picture coordinates lie on it.
struct tCanvas {
    void* bits;
    tExtent size;
    LONG stride;
    tFixedPoint offset; ///< added to picture coordinates; whole pixels
    LONG bytesPerPixel;
};

/// Resolves the output against the first picture. A size of 0 means that there is nothing to draw; E_POINTER for a
/// missing frame, also that of `second`, or missing memory.
HRESULT KwOpenCanvas(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, tCanvas& canvas);

/// A frame in 14-bit fixed point.
tFixedRect KwFixedFrame(const RECT& frame);

/// Draws part of a picture, in picture coordinates; `from` null for all of its frame. The memory of the frame is read
/// whatever the clip.
HRESULT KwDrawPicture(const tCanvas& canvas, const tView& picture, const tFixedRect& to, const tFixedRect* from,
                      bool smooth);

/// Draws into `to` grown to whole pixels, but only those pixels that a drawing into `to` itself will not overwrite.
HRESULT KwDrawPictureGrown(const tCanvas& canvas, const tView& picture, const tFixedRect& to, const tFixedRect* from,
                           bool smooth);
