// Hard and soft-edged outlines, one to each cell of a grid, filled into the rows of a mask.
#pragma once

#include <array>
#include <cstdint>

#include "kernels/fixed.h"
#include "kernels/view.h"

/// An outline around its own centre: a disc, or a polygon of up to four corners.
struct tOutline {
    int corners = 0; ///< 0 for a disc
    double radius = 0;
    double verticalScale = 1; ///< of a disc: its height over its width
    std::array<tFixedPoint, 4> points{};
};

/// Where the outlines stand. Coordinates are those of the picture that the grid divides, from its top left, and reach
/// over whole pixels: pixel (x, y) is tested at (x, y).
struct tShapeGrid {
    double cellWidth, cellHeight; ///< pixels, above 0
    double centerX, centerY;      ///< of the first cell's outline
    LONG columns, rows;           ///< above 0
    LONG columnStep, rowStep;     ///< every how manyth cell is drawn
    std::int64_t left, top;       ///< of the mask's first pixel
};

/// Fills every outline of the grid with `value`, a pixel of the form that `bytesPerPixel` stands for. The rim of a
/// disc, 1.5 pixels wide outside its radius, is blended in by its coverage. Polygons are filled between pairs of
/// crossings, those of a row's own line; the pixels on both crossings belong to the span.
///
/// Polygon filling after P. S. Heckbert, "Concave Polygon Scan Conversion", Graphics Gems, 1990; here every row
/// finds its crossings on its own, so that a part of a mask has the pixels of the whole one.
HRESULT KwFillOutlines(const tRows& mask, LONG bytesPerPixel, const tOutline& outline, const tShapeGrid& grid,
                       const void* value);

/// Fills the whole mask.
void KwFillMask(const tRows& mask, LONG bytesPerPixel, const void* value);
