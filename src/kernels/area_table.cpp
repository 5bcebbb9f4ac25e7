#include "kernels/area_table.h"

#include <algorithm>
#include <cmath>

namespace {

/// Entries along one axis: ceil(radius + 0.5) + 2, not more than `limit`.
LONG Extent(float radius, LONG limit) {
    const double count = std::ceil(radius + 0.5) + 2.0;
    return count >= 1.0 ? static_cast<LONG>(std::min(count, static_cast<double>(limit))) : 0;
}

void Reset(tAREATABLE& area, LONG columns, LONG rows) {
    if (columns <= 0 || rows <= 0) columns = rows = 0;
    area.columns = columns;
    area.rows = rows;
    area.rowBytes = static_cast<LONG>(static_cast<std::uint32_t>(columns) * sizeof(float));
    area.weights.assign(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), 0.0f);
}

/// Weights along one axis of a rectangle.
std::vector<float> AxisWeights(float radius, LONG count) {
    std::vector<float> weights(static_cast<std::size_t>(count), 1.0f);
    float whole;
    if (count > 0 && std::ceil(radius + 0.5) + 2.0 <= count) weights.back() = std::max(std::modf(radius, &whole), 0.0f);
    return weights;
}

/// The upper half of an ellipse, y(x) = sqrt(b * b * (1 - x * x / (a * a))).
struct tCurve {
    double a, b;

    double Radicand(double x) const { return b * b * (1.0 - x * x / (a * a)); }
    /// Below every square where there is no curve.
    double Height(double x) const {
        const double radicand = Radicand(x);
        return radicand >= 0.0 ? std::sqrt(radicand) : -1.0;
    }
    /// Where the right half passes the height `y`, which must not lie above the top.
    double Crossing(double y) const { return std::abs(a) * std::sqrt(1.0 - y * y / (b * b)); }

    double AreaUnder(double from, double to) const {
        const double step = (to - from) * 0.05;
        double sum = 0.0;
        for (int i = 1; i <= 20; ++i)
            if (const double radicand = Radicand(from + i * step); radicand > 0.0) sum += std::sqrt(radicand) * step;
        return sum;
    }

    double CellWeight(LONG dx, LONG dy) const {
        const double x1 = dx - 0.5, x2 = dx + 0.5, y2 = dy + 0.5;
        // The cells of the middle row lie half below the axis: their upper half counts twice.
        const double y1 = dy == 0 ? 0.0 : dy - 0.5;
        const double left = Height(x1), right = Height(x2);
        if (left >= y2 && right >= y2) return 1.0;
        if (left <= y1 && right <= y1) return 0.0;
        const double from = left > y2 ? std::clamp(Crossing(y2), x1, x2) : x1;
        const double to = right < y1 ? std::clamp(Crossing(y1), from, x2) : x2;
        const double area = (from - x1) * (y2 - y1) + AreaUnder(from, to) - (to - from) * y1;
        return dy == 0 ? area * 2.0 : area;
    }
};

} // namespace

void KwBuildRectArea(tAREATABLE& area, float radiusX, float radiusY, LONG maxColumns, LONG maxRows) {
    Reset(area, Extent(radiusX, maxColumns), Extent(radiusY, maxRows));
    const std::vector<float> x = AxisWeights(radiusX, area.columns), y = AxisWeights(radiusY, area.rows);
    float* weight = area.weights.data();
    for (const float wy : y)
        for (const float wx : x) *weight++ = wx * wy;
}

void KwBuildEllipseArea(tAREATABLE& area, float radiusX, float radiusY, LONG maxColumns, LONG maxRows) {
    Reset(area, Extent(radiusX, maxColumns), Extent(radiusY, maxRows));
    const tCurve curve{radiusX + 0.5, radiusY + 0.5};
    float* weight = area.weights.data();
    for (LONG dy = 0; dy < area.rows; ++dy)
        for (LONG dx = 0; dx < area.columns; ++dx, ++weight) {
            const double w = dx == 0 && dy == 0 ? 1.0 : curve.CellWeight(dx, dy);
            *weight = w > 0.0 ? static_cast<float>(std::min(w, 1.0)) : 0.0f;
        }
}
