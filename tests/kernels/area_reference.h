// Areas by their formulas, and what the tests of the filters over areas have in common.
#pragma once

#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "base/level.h"
#include "kernels/picture.h"

/// The weight of the cell at an offset, for offsets inside a picture.
class CReferenceArea {
  public:
    CReferenceArea(CTestPicture& picture, float radiusX, float radiusY, bool circular)
        : m_rx(radiusX), m_ry(radiusY), m_circular(circular), m_columns(picture.Width()) {
        for (LONG dy = 0; dy < picture.Height(); ++dy)
            for (LONG dx = 0; dx < picture.Width(); ++dx) m_weights.push_back(Compute(dx, dy));
    }

    float Weight(LONG dx, LONG dy) const {
        return m_weights[static_cast<std::size_t>(std::abs(dy) * m_columns + std::abs(dx))];
    }

  private:
    float Compute(double dx, double dy) const {
        // The tables end two cells behind the rounded radius; a radius that is no number has none.
        if (!(dx < std::ceil(m_rx + 0.5) + 2.0) || !(dy < std::ceil(m_ry + 0.5) + 2.0)) return 0.0f;
        return m_circular ? Ellipse(dx, dy) : Rect(dx, dy);
    }
    float Rect(double dx, double dy) const {
        float whole;
        const float fx = std::modf(m_rx, &whole), fy = std::modf(m_ry, &whole);
        const float wx = dx < std::ceil(m_rx + 0.5) + 1.0 ? 1.0f : fx > 0.0f ? fx : 0.0f;
        const float wy = dy < std::ceil(m_ry + 0.5) + 1.0 ? 1.0f : fy > 0.0f ? fy : 0.0f;
        return wx * wy;
    }
    float Ellipse(double dx, double dy) const {
        if (dx == 0 && dy == 0) return 1.0f;
        const double a = m_rx + 0.5, b = m_ry + 0.5;
        const auto square = [&](double x) { return b * b * (1.0 - x * x / (a * a)); };
        const double left = dx - 0.5, right = dx + 0.5, top = dy + 0.5, bottom = dy == 0 ? 0.0 : dy - 0.5;
        const auto reaches = [&](double x, double y) { return square(x) >= y * y; };
        if (reaches(left, top) && reaches(right, top)) return 1.0f;
        if (!(square(left) > bottom * bottom) && !(square(right) > bottom * bottom)) return 0.0f;
        double x1 = left, x2 = right;
        if (square(left) > top * top) x1 = std::abs(a) * std::sqrt(1.0 - top * top / (b * b));
        if (!reaches(right, bottom)) x2 = std::abs(a) * std::sqrt(1.0 - bottom * bottom / (b * b));
        x1 = std::min(std::max(x1, left), right);
        x2 = std::min(std::max(x2, x1), right);
        double area = 0.0;
        for (int i = 1; i <= 20; ++i) {
            const double step = (x2 - x1) * 0.05;
            if (square(x1 + i * step) > 0.0) area += std::sqrt(square(x1 + i * step)) * step;
        }
        area = (x1 - left) * (top - bottom) + area - (x2 - x1) * bottom;
        if (dy == 0) area *= 2.0;
        return area > 0.0 ? area < 1.0 ? static_cast<float>(area) : 1.0f : 0.0f;
    }

    float m_rx, m_ry;
    bool m_circular;
    LONG m_columns;
    std::vector<float> m_weights;
};

/// `filter(destination)` gives the bytes of the plain body.
template <class Filter>
void ExpectPlainBytes(CTestPicture& from, Filter&& filter) {
    CTestPicture actual(from.Width(), from.Height(), 4), expected(from.Width(), from.Height(), 4);
    actual.Fill(99);
    ASSERT_EQ(S_OK, filter(actual.View()));
    const eKwLevel level = KwLimitLevel(eKwLevel::Plain);
    EXPECT_EQ(S_OK, filter(expected.View()));
    KwLimitLevel(level);
    ExpectSame(actual, expected);
}

/// Radii that differ in size, fraction and axis, hostile ones included.
inline constexpr std::pair<float, float> kRadii[] = {
    {0.0f, 0.0f},   {0.3f, 0.0f},   {0.0f, 0.7f},   {0.5f, 0.5f},     {1.0f, 1.0f},     {0.75f, 1.25f},
    {1.6f, 2.1f},   {2.5f, 0.2f},   {0.02f, 3.97f}, {4.3f, 4.3f},     {7.0f, 5.49f},    {11.9f, 1.1f},
    {30.2f, 0.4f},  {0.001f, 2.0f}, {1e-8f, 1.0f},  {3.4e-8f, 1.0f},  {1e30f, 0.3f},    {0.6f, 1e30f},
    {1e9f, 1e9f},   {-0.25f, 1.5f}, {2.5f, -0.25f}, {-1.2f, 1.0f},    {1.0f, -1.6f},    {-2.5f, 3.0f},
    {-1e30f, 2.0f}, {NAN, 1.0f},    {1.0f, NAN},    {INFINITY, 1.3f}, {1.3f, INFINITY}, {-INFINITY, 2.0f}};

/// Pictures of all the shapes an area meets: narrower and wider than it, single pixels, single rows and columns.
inline constexpr std::pair<LONG, LONG> kSizes[] = {{1, 1}, {1, 9}, {9, 1}, {2, 2}, {33, 5}, {6, 29}, {23, 17}};

/// Smooth content with a few specks, where neighbours differ by little: results close to whole numbers.
inline void FillSmooth(CTestPicture& picture, unsigned seed) {
    std::minstd_rand random(seed + 1);
    for (LONG y = 0; y < picture.Height(); ++y)
        for (LONG x = 0; x < picture.Width(); ++x)
            for (LONG c = 0; c < 4; ++c) {
                const unsigned speck = random() % 61 == 0 ? random() % 80 : random() % 3;
                picture.At(x, y)[c] =
                    static_cast<std::uint8_t>(100 + (c == 3 ? 0 : x / 3) + y / (c + 1) + static_cast<LONG>(speck));
            }
}
