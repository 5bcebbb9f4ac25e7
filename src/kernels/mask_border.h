// Shapes on a grid, drawn into a cut mask and a border mask.
#pragma once

#include <cstddef>

#include "kernels/view.h"

/// Shapes by number. A number outside 0 to 13 is drawn as a rectangle.
enum KW_MASK_SHAPE : LONG {
    KW_SHAPE_CIRCLE,
    KW_SHAPE_OVAL,
    KW_SHAPE_OVAL_SIDE,
    KW_SHAPE_RECTANGLE,
    KW_SHAPE_DIAMOND,
    KW_SHAPE_SQUARE,
    KW_SHAPE_TRIANGLE,
    KW_SHAPE_TRIANGLE_RIGHT,
    KW_SHAPE_TRIANGLE_DOWN,
    KW_SHAPE_TRIANGLE_LEFT,
    KW_SHAPE_ARROWHEAD,
    KW_SHAPE_ARROWHEAD_RIGHT,
    KW_SHAPE_ARROWHEAD_DOWN,
    KW_SHAPE_ARROWHEAD_LEFT,
    KW_SHAPE_COUNT
};

/// What shape to draw where. `feather` and `border` are shares of a quarter of a cell's larger side, 0 to 1; colour is
/// 0 to 1, not premultiplied.
struct tIRISINFO {
    float centerX = 0.5f; ///< share of a cell's width
    float centerY = 0.5f; ///< share of a cell's height
    float feather = 0;
    float border = 0;
    LONG reserved = 0;
    float blue = 0, green = 0, red = 0, alpha = 1;
    LONG repeatX = 1; ///< columns of the grid
    LONG repeatY = 1; ///< rows of the grid
    LONG shape = KW_SHAPE_CIRCLE;
    LONG reserved2 = 0;
    LONG direction = 0; ///< of an iris: 0 out, 1 in. Of a cutter its method: 0 cuts the shape away, 1 all but the shape
};
static_assert(sizeof(tIRISINFO) == 56 && offsetof(tIRISINFO, blue) == 20 && offsetof(tIRISINFO, direction) == 52);

/// The border colour as the 4-byte form takes it: each field times 255, limited to 0 to 255 and truncated.
tPixel8 KwBorderColor8(const tIRISINFO& info);

/// Draws the shapes of `info` into two masks of the pixel form that `bytesPerPixel` stands for. Inside a shape the cut
/// mask is all ones (four times 1.0), inside the border's outline the border mask has the border colour; both are 0
/// elsewhere. With a feather, channel 3 of 4-byte masks is blurred; 16-byte masks stay hard.
///
/// A whole picture, its bands and any part of it get the same mask pixels: shapes are laid out in `shapeFrame`, the
/// masks' top left pixel stands at the top left of `maskFrame`, and both rectangles are in the same coordinates.
///
/// @param shapeFrame the picture that the grid divides
/// @param maskFrame  the part of it that the masks stand for; only its left and top are read
/// @param mask       cleared first; null bits give 0x80070057
/// @param border     needed, with the same check, where the `border` field is above 0
/// @param aspect     width of a pixel over its height
/// @param progress   0 draws nothing; 1 and above covers everything, but that discs reach no further than their radius
/// @param fixedSize  the reach is a cell's whole size, not the way from the centre to the farthest corner
/// @param info       `repeatX` and `repeatY` below 1 are raised to 1 in the record itself. Of more columns (rows) than
///                   pixels, and than 1024, only every second, third or further one is drawn; and of outlines that
///                   lie over each other more than 500 times.
/// @return 0x80004003 for a null rectangle or record, 0x8007000E out of memory
HRESULT KwCreateMaskBorder(const RECT* shapeFrame, const RECT* maskFrame, const tView& mask, const tView& border,
                           LONG bytesPerPixel, double aspect, double progress, bool fixedSize, tIRISINFO* info);
