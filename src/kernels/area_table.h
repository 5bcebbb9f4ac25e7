// The neighbourhood of a pixel as a rectangle or ellipse of non-integer size.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <vector>

#include "kernels/view.h"

/// One quadrant of an area that is symmetric about its centre: entry (|dy|, |dx|) is the weight, 0 to 1, of the cell
/// at that offset. An area without cells has no columns and no rows.
struct tAREATABLE {
    LONG columns = 0, rows = 0;
    LONG rowBytes = 0;
    std::vector<float> weights;

    /// `columns` weights.
    const float* Row(LONG dy) const { return weights.data() + std::ptrdiff_t{dy} * columns; }
    /// Entry (`dy`, `dx`), 0 beyond the table.
    float Weight(LONG dx, LONG dy) const { return dx < columns && dy < rows ? Row(dy)[dx] : 0.0f; }
    /// Cells of full weight from the centre on in one row, and in the middle column.
    LONG FullColumns(LONG dy) const {
        LONG count = 0;
        while (Weight(count, dy) == 1.0f) ++count;
        return count;
    }
    LONG FullRows() const {
        LONG count = 0;
        while (Weight(0, count) == 1.0f) ++count;
        return count;
    }
};

/// Calls `body(pixel, weight)` for the cells of the area around (x, y) that lie in a picture of 4-byte pixels, row by
/// row, without those of weight 0.
template <class Body>
void KwForEachCell(const tRows& picture, const tAREATABLE& area, LONG x, LONG y, Body&& body) {
    for (LONG dy = std::max(1 - area.rows, -y); dy < std::min(area.rows, picture.height - y); ++dy)
        for (LONG dx = std::max(1 - area.columns, -x); dx < std::min(area.columns, picture.width - x); ++dx)
            if (const float weight = area.Row(std::abs(dy))[std::abs(dx)]; weight != 0.0f)
                body(picture.Row<const std::uint8_t>(y + dy) + std::ptrdiff_t{x + dx} * 4, weight);
}

/// A rectangle: ceil(radius + 0.5) cells to each side of the centre weigh 1, the cell after them weighs the radius'
/// fraction, a corner the product of both fractions. A negative fraction weighs 0.
///
/// The table keeps at most `maxColumns` by `maxRows` entries: the size of the picture it is for, as nothing farther
/// off can be met there. Infinite radii reach over the whole picture; not-a-number, or a radius of -2.5 and below,
/// gives an area without cells. Throws `std::bad_alloc`.
void KwBuildRectArea(tAREATABLE& area, float radiusX, float radiusY, LONG maxColumns, LONG maxRows);

/// An ellipse with half-axes of radius + 0.5. The centre cell weighs 1; a cell on the rim weighs the part of its square
/// that lies inside, by a right-hand sum of 20 steps under the curve. Limits and errors as for the rectangle.
void KwBuildEllipseArea(tAREATABLE& area, float radiusX, float radiusY, LONG maxColumns, LONG maxRows);
