#include "kernels/pixelate.h"

#include <numeric>

#include "base/level.h"
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
    std::vector<LONG> sizes(300);
    std::iota(sizes.begin(), sizes.end(), 1);
    sizes.insert(sizes.end(), {514, 4096, 4097, 65793, 200000});
    for (const LONG n : sizes) {
        const LONG levels = n > 300 ? 8 : 256; // the highest ones
        CTestPicture s(levels, n, 4), d(levels, 1, 4), expected(levels, 1, 4);
        for (LONG x = 0; x < levels; ++x)
            for (LONG y = 0; y < n; ++y) {
                const LONG level = 256 - levels + x;
                const auto low = static_cast<std::uint8_t>(level - (level > 0 && y == (x % 2 ? 0 : n - 1)));
                s.Pixel8(x, y) = {static_cast<std::uint8_t>(level), low, static_cast<std::uint8_t>(255 - level), 255};
                if (low != level || y == 0) expected.Pixel8(x, 0) = s.Pixel8(x, y); // truncated
            }
        ASSERT_EQ(S_OK, KwDibAverageShrink(d.View(), s.View(), 4));
        ASSERT_TRUE(d == expected) << n << ": " << d.FirstDifference(expected);
    }
}

TEST(Pixelate, CellsOfWideRowsReachTheirEnd) {
    // Where each cell begins is rounded down, and with so many of them the last one may be two pixels wider.
    const eKwLevel before = KwLevel();
    for (LONG width = 1900; width <= 1925; ++width) {
        CTestPicture s(width, 3, 4), plain(width, 3, 4);
        for (LONG i = 0; i < width * 3; ++i) s.Pixel8(i % width, i / width) = {static_cast<std::uint8_t>(i), 7, 9, 255};
        for (const double kept : {0.0, 0.05, 0.25, 0.5, 0.66, 0.88, 0.99}) {
            KwLimitLevel(eKwLevel::Plain);
            ASSERT_EQ(S_OK, KwDibPixelate(plain.View(), s.View(), 4, kept, 1.0));
            for (const eKwLevel level : KwLevels()) {
                KwLimitLevel(level);
                CTestPicture d(width, 3, 4);
                ASSERT_EQ(S_OK, KwDibPixelate(d.View(), s.View(), 4, kept, 1.0));
                ASSERT_TRUE(d == plain) << width << " " << kept << ": " << d.FirstDifference(plain);
            }
        }
    }
    KwLimitLevel(before);
}

} // namespace
