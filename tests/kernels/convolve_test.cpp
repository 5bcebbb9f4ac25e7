#include "kernels/convolve.h"

#include "kernels/picture.h"

namespace {

/// Every sum of a small kernel over every small divisor: quotients next to whole numbers must not slip.
TEST(Convolve3x3, SmallQuotientsAreExact) {
    CTestPicture s(256, 1, 4), d(256, 1, 4);
    for (LONG x = 0; x < 256; ++x) s.Pixel8(x, 0).g = static_cast<std::uint8_t>(x);
    for (const LONG weight : {1, 3, 64, 127, 128, 129, 200})
        for (LONG divisor = 1; divisor < 33000; divisor += divisor < 300 ? 1 : 97) {
            const LONG weights[9] = {0, 0, 0, 0, weight, 0, 0, 0, 0};
            ASSERT_EQ(S_OK, KwDibConvolve3x3(d.View(), s.View(), 4, weights, divisor));
            for (LONG x = 0; x < 256; ++x)
                ASSERT_EQ(std::min(x * weight / divisor, 255), d.Pixel8(x, 0).g)
                    << x << " * " << weight << " / " << divisor;
        }
}

TEST(Convolve3x3, RefusalsTouchNothing) {
    CTestPicture s(4, 4, 4), d(4, 4, 4);
    s.Fill(6);
    CTestPicture expected = d;
    const LONG weights[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(E_INVALIDARG, KwDibConvolve3x3(d.View(), s.View(), 4, weights, 0));
    EXPECT_EQ(E_POINTER, KwDibConvolve3x3(d.View(), s.View(), 4, nullptr, 1));
    ExpectSame(d, expected);
}

} // namespace
