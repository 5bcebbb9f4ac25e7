#include "kernels/shape_fill.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "base/arith.h"
#include "kernels/unaligned.h"

namespace {

constexpr double kRim = 1.5; // pixels from full to no coverage

/// Rounds to an integer within `low` to `high`; not-a-number gives `low`.
std::int64_t Bounded(double value, std::int64_t low, std::int64_t high) {
    if (!(value > static_cast<double>(low))) return low;
    return value < static_cast<double>(high) ? static_cast<std::int64_t>(value) : high;
}

struct tPaint8 {
    std::uint32_t value;

    void Fill(std::byte* row, std::int64_t first, std::int64_t last) const {
        tAnyWord* p = reinterpret_cast<tAnyWord*>(row);
        for (std::int64_t x = first; x <= last; ++x) p[x] = value; // at any address
    }
    void Blend(std::byte* row, std::int64_t x, double coverage) const {
        const std::int32_t weight = KwTrunc(coverage * 16384.0);
        auto* p = reinterpret_cast<std::uint8_t*>(row) + x * 4;
        for (int c = 0; c < 4; ++c) {
            const std::int32_t full = static_cast<std::int32_t>(value >> 8 * c & 255);
            p[c] = KwByte(p[c] + ((full - p[c]) * weight >> 14));
        }
    }
};

struct tPaintFloat {
    float value[4];

    void Fill(std::byte* row, std::int64_t first, std::int64_t last) const {
        for (std::int64_t x = first; x <= last; ++x) std::memcpy(row + x * 16, value, sizeof value);
    }
    void Blend(std::byte* row, std::int64_t x, double coverage) const {
        tAnyFloat* p = reinterpret_cast<tAnyFloat*>(row) + x * 4;
        for (int c = 0; c < 4; ++c) p[c] = KwBlendFloat(p[c], value[c], static_cast<float>(coverage));
    }
};

template <class Body>
void WithPaint(LONG bytesPerPixel, const void* value, Body&& body) {
    if (bytesPerPixel == 4) {
        tPaint8 paint;
        std::memcpy(&paint, value, sizeof paint);
        body(paint);
    } else {
        tPaintFloat paint;
        std::memcpy(&paint, value, sizeof paint);
        body(paint);
    }
}

/// One row of the mask while a row of cells is drawn into it. Spans come from left to right, as far as cells do; what
/// lies left of `m_reach` is full and needs no second visit.
template <class Paint>
class CMaskRow {
  public:
    CMaskRow(const Paint& paint, std::byte* row, std::int64_t left, LONG width)
        : m_paint(paint), m_row(row), m_left(left), m_right(left + width - 1), m_reach(left) {}

    bool IsFull() const { return m_reach > m_right; }
    std::int64_t Reach() const { return m_reach; }
    std::int64_t Right() const { return m_right; }

    void Span(std::int64_t first, std::int64_t last) {
        first = std::max(first, m_reach);
        last = std::min(last, m_right);
        if (first > last) return;
        m_paint.Fill(m_row, first - m_left, last - m_left);
        if (first == m_reach) m_reach = last + 1;
    }
    void Soft(std::int64_t x, double coverage) {
        if (coverage > 0.0) m_paint.Blend(m_row, x - m_left, std::min(coverage, 1.0));
    }

  private:
    const Paint& m_paint;
    std::byte* m_row;
    std::int64_t m_left, m_right, m_reach;
};

/// What one line cuts out of a disc.
class CDiscLine {
  public:
    CDiscLine(const tOutline& disc, double centerY, std::int64_t y)
        : m_inner2(disc.radius * disc.radius), m_outer2((disc.radius + kRim) * (disc.radius + kRim)) {
        const double dy = (static_cast<double>(y) - centerY) / disc.verticalScale;
        m_dy2 = dy * dy;
        m_halfInner = m_dy2 < m_inner2 ? std::sqrt(m_inner2 - m_dy2) : -1.0;
        m_halfOuter = m_dy2 < m_outer2 ? std::sqrt(m_outer2 - m_dy2) : -1.0;
    }

    bool IsEmpty() const { return m_halfOuter < 0.0; }

    template <class Paint>
    void Draw(CMaskRow<Paint>& row, double centerX) const {
        const std::int64_t left = row.Reach(), right = row.Right();
        const auto distance2 = [&](std::int64_t x) {
            const double dx = static_cast<double>(x) - centerX;
            return dx * dx + m_dy2;
        };
        const std::int64_t softFirst = Bounded(centerX - m_halfOuter - 1.0, left, right + 1);
        const std::int64_t softLast = Bounded(centerX + m_halfOuter + 1.0, left - 1, right);
        std::int64_t first = softLast + 1, last = softLast;
        if (m_halfInner >= 0.0) {
            // The root gives the ends within a pixel; the test itself decides.
            first = Bounded(centerX - m_halfInner - 1.0, left, right + 1);
            last = Bounded(centerX + m_halfInner + 1.0, left - 1, right);
            while (first <= last && !(distance2(first) < m_inner2)) ++first;
            while (first <= last && !(distance2(last) < m_inner2)) --last;
            if (first > last) first = softLast + 1, last = softLast;
        }
        const auto soft = [&](std::int64_t from, std::int64_t to) {
            for (std::int64_t x = from; x <= to; ++x)
                row.Soft(x, 1.0 - (distance2(x) - m_inner2) / (m_outer2 - m_inner2));
        };
        soft(softFirst, first - 1);
        soft(last + 1, softLast);
        row.Span(first, last);
    }

  private:
    double m_inner2, m_outer2, m_dy2, m_halfInner, m_halfOuter;
};

/// What one line cuts out of a polygon, as crossings in ascending order.
class CPolygonLine {
  public:
    CPolygonLine(const tOutline& polygon, std::int64_t centerY, std::int64_t y) {
        const std::int64_t line = y * kOnePixel - centerY;
        for (int i = 0; i < polygon.corners; ++i) {
            tFixedPoint a = polygon.points[static_cast<std::size_t>(i)];
            tFixedPoint b = polygon.points[static_cast<std::size_t>((i + 1) % polygon.corners)];
            if (a.y > b.y) std::swap(a, b);
            if (line < a.y || line >= b.y) continue;
            const auto way = static_cast<__int128>(b.x - a.x) * (line - a.y) / (b.y - a.y);
            const std::int64_t crossing = a.x + static_cast<std::int64_t>(way);
            std::size_t at = m_count++;
            for (; at > 0 && m_crossings[at - 1] > crossing; --at) m_crossings[at] = m_crossings[at - 1];
            m_crossings[at] = crossing;
        }
    }

    bool IsEmpty() const { return m_count < 2; }

    template <class Paint>
    void Draw(CMaskRow<Paint>& row, std::int64_t centerX) const {
        for (std::size_t i = 0; i + 1 < m_count; i += 2)
            row.Span(KwFixedCeil(m_crossings[i] + centerX), KwFixedFloor(m_crossings[i + 1] + centerX));
    }

  private:
    std::array<std::int64_t, 4> m_crossings{};
    std::size_t m_count = 0;
};

/// The cells, from `first` to `last`, whose outline may touch a stretch of the mask along one axis.
struct tCellRange {
    LONG first, last;
};
tCellRange CellsNear(std::int64_t from, std::int64_t to, double center, double extent, double cell, LONG count,
                     LONG step) {
    const double low = (static_cast<double>(from) - extent - center) / cell - 1.0;
    const double high = (static_cast<double>(to) + extent - center) / cell + 1.0;
    const LONG first = static_cast<LONG>(Bounded(std::ceil(low), 0, count - 1));
    const LONG last = static_cast<LONG>(Bounded(high, 0, count - 1));
    return {first / step * step, last};
}

/// Draws fewer cells where outlines that lie over each other many times would visit the whole picture for each of them:
/// no more than `kMost` visits a pixel on the average. It goes by the picture, not by the mask, so that its parts
/// agree.
tShapeGrid Thinned(tShapeGrid grid, double extentX, double extentY) {
    constexpr double kMost = 512.0, kFew = 4e6; // for the smallest pictures
    const double width = grid.cellWidth * grid.columns, height = grid.cellHeight * grid.rows;
    const auto touched = [](double extent, double size) {
        const double pixels = 2.0 * extent + 1.0;
        return pixels < size ? pixels : size;
    };
    const double visits = std::max(1.0, touched(extentX, width)) * std::max(1.0, touched(extentY, height));
    const double most = std::max(kMost * width * height, kFew) / visits;
    const auto drawn = [](LONG count, LONG step) { return std::ceil(static_cast<double>(count) / step); };
    for (;;) {
        const double columns = drawn(grid.columns, grid.columnStep), rows = drawn(grid.rows, grid.rowStep);
        if (!(columns * rows > most) || columns * rows < 2.0) return grid;
        LONG& step = columns > rows ? grid.columnStep : grid.rowStep;
        step = step > std::numeric_limits<LONG>::max() / 2 ? std::numeric_limits<LONG>::max() : step * 2;
    }
}

std::int64_t FixedCenter(double center) {
    return Bounded(center * 16384.0, -(std::int64_t{1} << 50), std::int64_t{1} << 50);
}

template <class Paint>
HRESULT FillGrid(const Paint& paint, const tRows& mask, const tOutline& outline, const tShapeGrid& wanted) {
    double extentX = outline.radius + kRim, extentY = extentX * outline.verticalScale;
    if (outline.corners) {
        extentX = extentY = 0;
        for (const tFixedPoint& p : outline.points) {
            extentX = std::max(extentX, std::abs(static_cast<double>(p.x)) / 16384.0);
            extentY = std::max(extentY, std::abs(static_cast<double>(p.y)) / 16384.0);
        }
    }
    const tShapeGrid grid = Thinned(wanted, extentX, extentY);
    const std::int64_t bottom = grid.top + mask.height - 1;
    const tCellRange columns = CellsNear(grid.left, grid.left + mask.width, grid.centerX, extentX, grid.cellWidth,
                                         grid.columns, grid.columnStep);
    const tCellRange rows =
        CellsNear(grid.top, bottom, grid.centerY, extentY, grid.cellHeight, grid.rows, grid.rowStep);
    // A row that is full stays so: without this, wide outlines on a fine grid would cost their area for every cell.
    const std::unique_ptr<bool[]> full(new (std::nothrow) bool[static_cast<std::size_t>(mask.height)]());
    if (!full) return E_OUTOFMEMORY;

    for (std::int64_t cellRow = rows.first; cellRow <= rows.last; cellRow += grid.rowStep) {
        const double centerY = static_cast<double>(cellRow) * grid.cellHeight + grid.centerY;
        const std::int64_t first = Bounded(std::floor(centerY - extentY), grid.top, bottom + 1);
        const std::int64_t last = Bounded(std::ceil(centerY + extentY), grid.top - 1, bottom);
        for (std::int64_t y = first; y <= last; ++y) {
            if (full[static_cast<std::size_t>(y - grid.top)]) continue;
            CMaskRow row(paint, mask.first + mask.stride * (y - grid.top), grid.left, mask.width);
            const auto drawCells = [&](const auto& line, auto centerOf) {
                if (line.IsEmpty()) return;
                for (std::int64_t column = columns.first; column <= columns.last && !row.IsFull();
                     column += grid.columnStep)
                    line.Draw(row, centerOf(static_cast<double>(column) * grid.cellWidth + grid.centerX));
            };
            if (outline.corners)
                drawCells(CPolygonLine(outline, FixedCenter(centerY), y), FixedCenter);
            else
                drawCells(CDiscLine(outline, centerY, y), [](double center) { return center; });
            full[static_cast<std::size_t>(y - grid.top)] = row.IsFull();
        }
    }
    return S_OK;
}

} // namespace

HRESULT KwFillOutlines(const tRows& mask, LONG bytesPerPixel, const tOutline& outline, const tShapeGrid& grid,
                       const void* value) {
    HRESULT status = S_OK;
    if (mask.width > 0 && mask.height > 0)
        WithPaint(bytesPerPixel, value, [&](const auto& paint) { status = FillGrid(paint, mask, outline, grid); });
    return status;
}

void KwFillMask(const tRows& mask, LONG bytesPerPixel, const void* value) {
    WithPaint(bytesPerPixel, value, [&](const auto& paint) {
        for (LONG y = 0; y < mask.height && mask.width > 0; ++y) paint.Fill(mask.Row<std::byte>(y), 0, mask.width - 1);
    });
}
