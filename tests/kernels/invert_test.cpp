#include "kernels/invert.h"

#include "kernels/picture.h"

namespace {

/// One channel by the plain rule.
int Negative(int c, int alpha) {
    if (alpha == 255) return 255 - c;
    const int straight = alpha == 0 ? 0 : std::min(255, c * 255 / alpha);
    return (255 - straight) * alpha >> 8;
}

TEST(Invert, IsTheNegativeMovedBackTowardsTheSource) {
    for (const bool wild : {false, true})
        for (const LONG width : {1, 3, 255, 256, 257, 600})
            for (const double amount : {1.0, 0.6, 0.0, -1.0, 2.0}) {
                CTestPicture s(width, 3, 4), d(width, 3, 4), expected(width, 3, 4);
                s.Fill(static_cast<unsigned>(width), wild);
                for (LONG x = 0; x < width; ++x) s.Pixel8(x, 1).a = 255; // one row whose alpha is full
                const int back = static_cast<int>((1.0 - amount) * 255.0 + 0.5) & 255;
                for (LONG y = 0; y < 3; ++y)
                    for (LONG x = 0; x < width; ++x)
                        for (int c = 0; c < 4; ++c) {
                            const int was = s.At(x, y)[c];
                            const int negative = c == 3 ? was : Negative(was, s.At(x, y)[3]);
                            expected.At(x, y)[c] = static_cast<std::uint8_t>(negative + (was - negative) * back / 256);
                        }
                ASSERT_EQ(S_OK, KwDibInvert(d.View(), s.View(), 4, amount));
                ExpectSame(d, expected);
                if (back == 0) {
                    ASSERT_EQ(S_OK, KwDibInvertInPlace(s.View(), 4));
                    EXPECT_EQ("none", s.FirstDifference(expected));
                }
            }
}

TEST(Invert, HalfAlphaComesBackALittleDarker) {
    CTestPicture d(2, 1, 4), s(2, 1, 4);
    s.Pixel8(0, 0) = {128, 0, 0, 128};
    ASSERT_EQ(S_OK, KwDibInvert(d.View(), s.View(), 4, 1.0));
    EXPECT_EQ(0, d.Pixel8(0, 0).b);
    EXPECT_EQ(127, d.Pixel8(0, 0).g);
}

} // namespace
