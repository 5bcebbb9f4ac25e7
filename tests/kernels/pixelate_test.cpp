#include "kernels/pixelate.h"

#include "kernels/over_shapes.h"

namespace {

std::int64_t Trunc(double v) {
    return std::abs(v) < 2147483648.0 ? static_cast<std::int64_t>(v) : INT32_MIN;
}

void DefineShrink(CTestPicture& d, CTestPicture& s) {
    const auto stepX = static_cast<std::int64_t>(double(s.Width()) / d.Width() * 16384.0);
    const auto stepY = static_cast<std::int64_t>(double(s.Height()) / d.Height() * 16384.0);
    const std::int64_t wide = stepX / 16384, high = stepY / 16384;
    for (LONG y = 0; y < d.Height(); ++y)
        for (LONG x = 0; x < d.Width(); ++x)
            for (LONG c = 0; c < 4; ++c) {
                std::int64_t levels = 0;
                double reals = 0.0;
                for (std::int64_t v = 0; v < high; ++v)
                    for (std::int64_t u = 0; u < wide; ++u) {
                        const LONG sx = static_cast<LONG>(x * stepX / 16384 + u);
                        const LONG sy = static_cast<LONG>(y * stepY / 16384 + v);
                        if (d.BytesPerPixel() == 4)
                            levels += s.At(sx, sy)[c];
                        else
                            reals += static_cast<double>((&s.PixelF(sx, sy).b)[c]);
                    }
                if (d.BytesPerPixel() == 4)
                    d.At(x, y)[c] = static_cast<std::uint8_t>(levels / (wide * high));
                else
                    (&d.PixelF(x, y).b)[c] = static_cast<float>(reals * (1.0 / static_cast<double>(wide * high)));
            }
}

/// The cells' rectangles one by one. False without a cell.
bool DefinePixelate(CTestPicture& d, CTestPicture& s, double horizontal, double vertical) {
    const LONG W = d.Width(), H = d.Height(), form = d.BytesPerPixel();
    CropTo(d, s, 0, 0, false);
    const std::int64_t columns = horizontal > 0.999 ? W : Trunc(horizontal * 0.5 * W + 1.0);
    const std::int64_t rows = vertical > 0.999 ? H : Trunc(vertical * 0.5 * H + 1.0);
    if (columns < 1 || rows < 1) return false;
    CTestPicture cells(static_cast<LONG>(columns), static_cast<LONG>(rows), form);
    DefineShrink(cells, d);
    const auto cellW = static_cast<std::int64_t>(double(W) / double(columns) * 16384.0);
    const auto cellH = static_cast<std::int64_t>(double(H) / double(rows) * 16384.0);
    for (std::int64_t r = 0; r < rows; ++r)
        for (std::int64_t c = 0; c < columns; ++c) {
            const std::int64_t right = c + 1 < columns ? (c + 1) * cellW / 16384 : W;
            const std::int64_t bottom = r + 1 < rows ? (r + 1) * cellH / 16384 : H;
            for (std::int64_t y = r * cellH / 16384; y < bottom; ++y)
                for (std::int64_t x = c * cellW / 16384; x < right; ++x) {
                    std::uint8_t* to = d.At(static_cast<LONG>(x), static_cast<LONG>(y));
                    const std::uint8_t* from = cells.At(static_cast<LONG>(c), static_cast<LONG>(r));
                    std::memcpy(to, from, static_cast<std::size_t>(form));
                    for (int i = 0; form == 4 && i < 4; ++i)
                        to[i] = static_cast<std::uint8_t>(from[i] * 0.00392156862745098 * 255.0);
                }
        }
    return true;
}

class PixelForms : public testing::TestWithParam<LONG> {};
INSTANTIATE_TEST_SUITE_P(Pixelate, PixelForms, testing::Values(4, 16));

TEST_P(PixelForms, PixelateFollowsTheDefinition) {
    const LONG form = GetParam();
    for (const double horizontal : {0.0, 0.1, 0.25, 0.5, 0.88, 0.999, 0.9995, 1.0, 1e300})
        for (const double vertical : {0.0, 0.3, 0.5, 0.95, 1.0}) {
            SCOPED_TRACE(testing::Message() << horizontal << ", " << vertical);
            CompareOverShapes(
                form, [&](const tView& d, const tView& s) { return KwDibPixelate(d, s, form, horizontal, vertical); },
                [&](CTestPicture& d, CTestPicture& s) { DefinePixelate(d, s, horizontal, vertical); });
        }
}

TEST_P(PixelForms, PixelateTakesWildValues) {
    const LONG form = GetParam();
    for (const double horizontal : kWildValues)
        for (const double vertical : kWildValues) {
            CTestPicture s(23, 14, form), d(23, 14, form), expected(23, 14, form);
            s.Fill(1), d.Fill(2);
            const HRESULT status = DefinePixelate(expected, s, horizontal, vertical) ? S_OK : E_INVALIDARG;
            EXPECT_EQ(status, KwDibPixelate(d.View(), s.View(), form, horizontal, vertical))
                << horizontal << ", " << vertical;
            ExpectSame(d, expected);
        }
}

TEST_P(PixelForms, PixelateWorksInPlace) {
    const LONG form = GetParam();
    CTestPicture s(45, 30, form), d(45, 30, form);
    s.Fill(1);
    DefinePixelate(d, s, 0.7, 0.2);
    ASSERT_EQ(S_OK, KwDibPixelate(s.View(), s.View(), form, 0.7, 0.2));
    ExpectSame(s, d);
}

TEST_P(PixelForms, ShrinkFollowsTheDefinition) {
    const LONG form = GetParam();
    CTestPicture s(37, 21, form);
    s.Fill(1, true);
    for (LONG height = 1; height <= 21; height += 4)
        for (LONG width = 1; width <= 37; ++width) {
            CTestPicture d(width, height, form), expected(width, height, form);
            DefineShrink(expected, s);
            ASSERT_EQ(S_OK, KwDibAverageShrink(d.View(), s.View(), form));
            ExpectSame(d, expected);
        }
}

TEST_P(PixelForms, ShrinkRefusesToEnlarge) {
    const LONG form = GetParam();
    CTestPicture s(8, 8, form), d(9, 8, form);
    EXPECT_EQ(E_INVALIDARG, KwDibAverageShrink(d.View(), s.View(), form));
    const RECT clip{0, 0, 8, 7}, nothing{3, 3, 3, 3};
    EXPECT_EQ(S_OK, KwDibAverageShrink(d.View(&clip), s.View(), form));
    EXPECT_EQ(S_OK, KwDibAverageShrink(d.View(&nothing), s.View(), form));
    EXPECT_EQ(E_POINTER, KwDibAverageShrink(tView{}, s.View(), form));
}

TEST(Shrink, SumsPast32Bits) {
    // One row of white, seen as many rows by a stride of 0.
    std::vector<std::uint8_t> row(3000 * 4, 255);
    const RECT frame{0, 0, 3000, 9000};
    CTestPicture d(1, 1, 4), expected(1, 1, 4);
    expected.Pixel8(0, 0) = {255, 255, 255, 255};
    ASSERT_EQ(S_OK, KwDibAverageShrink(d.View(), {row.data(), &frame, 0, nullptr}, 4));
    ExpectSame(d, expected);
}

TEST(Shrink, MeansOfEverySumAreExact) {
    // Blocks of 1 by n pixels with sums at and just below multiples of n.
    for (LONG n = 1; n <= 300; ++n) {
        CTestPicture s(256, n, 4), d(256, 1, 4), expected(256, 1, 4);
        for (LONG x = 0; x < 256; ++x)
            for (LONG y = 0; y < n; ++y) {
                const auto low = static_cast<std::uint8_t>(x - (x > 0 && y == 0));
                s.Pixel8(x, y) = {static_cast<std::uint8_t>(x), low, static_cast<std::uint8_t>(255 - x), 255};
            }
        DefineShrink(expected, s);
        ASSERT_EQ(S_OK, KwDibAverageShrink(d.View(), s.View(), 4));
        ASSERT_TRUE(d == expected) << n << ": " << d.FirstDifference(expected);
    }
}

} // namespace
