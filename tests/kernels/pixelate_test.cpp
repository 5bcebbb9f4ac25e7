#include "kernels/pixelate.h"

#include "kernels/picture.h"

namespace {

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
                if (y == 0) expected.Pixel8(x, 0) = s.Pixel8(x, 0); // the mean of x - 1 once and x else, truncated
            }
        ASSERT_EQ(S_OK, KwDibAverageShrink(d.View(), s.View(), 4));
        ASSERT_TRUE(d == expected) << n << ": " << d.FirstDifference(expected);
    }
}

} // namespace
