// Glyphs laid into a picture at places between pixels.
#pragma once

#include "kernels/view.h"

/// The way from one colour to another in 255 steps, for laying glyphs of the second on a ground of the first.
struct tGlyphColors {
    DWORD levels[256]; ///< pixels, with the bits of `flip` turned over
    DWORD flip;        ///< all ones in the channels that go down from ground to glyph

    /// Each channel of level a is ground + (glyph - ground) * a / 255, truncated.
    tGlyphColors(const tPixel8& ground, const tPixel8& glyph);
};

/// Coverage 0 to 64, row by row; an empty pixel on each side can be read too.
struct tGlyphBox {
    const std::uint8_t* coverage;
    LONG stride, width, height;
};

/// Lays a glyph into a picture with its top left at (`x`, `y`), which must be numbers. The coverage is spread
/// bilinearly over the pixels that it falls between, in 1/257 of a pixel; a pixel that more than one glyph meets keeps
/// the stronger level in each channel. What falls outside the picture is left out.
void KwDrawGlyph(const tRows& picture, const tGlyphBox& glyph, float x, float y, const tGlyphColors& colors);
