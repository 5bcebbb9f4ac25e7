#include "kernels/pixelate.h"

#include "kernels/picture.h"

namespace {

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

class PixelForms : public testing::TestWithParam<LONG> {};
INSTANTIATE_TEST_SUITE_P(Pixelate, PixelForms, testing::Values(4, 16));

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
