#include "kernels/smooth_mix.h"

#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/convolve.h"
#include "kernels/picture.h"

namespace {

// Each in one pass what two other kernels do.
TEST(SmoothBlend, IsASmoothingBlendedWithTheSource) {
    for (const LONG form : {4, 16})
        for (const double amount : {0.0, 0.3, 0.999, 1.0, -3.7, 1e9}) {
            CTestPicture s(61, 9, form), d(61, 9, form), expected(61, 9, form);
            s.Fill(1, true);
            KwDibSmooth3x3(expected.View(), s.View(), form);
            KwDibBlend(expected.View(), s.View(), form, amount);
            ASSERT_EQ(S_OK, KwDibSmoothBlend(d.View(), s.View(), form, amount));
            ExpectSame(d, expected);
        }
}

TEST(Sharpen, IsAConvolutionLimitedToAlpha) {
    for (const LONG form : {4, 16})
        for (LONG t = -3; t <= 40; ++t) {
            if (t == 17) continue;
            CTestPicture s(61, 9, form), d(61, 9, form), expected(61, 9, form);
            s.Fill(1, true);
            const LONG weights[9] = {-1, -2, -1, -2, 29 - t, -2, -1, -2, -1};
            KwDibConvolve3x3(expected.View(), s.View(), form, weights, 17 - t);
            KwDibClampToAlpha(expected.View(), form);
            ASSERT_EQ(S_OK, KwDibSharpen(d.View(), s.View(), form, t / 16.0 + (t < 0 ? -0.01 : 0.01)));
            ExpectSame(d, expected);
        }
}

} // namespace
