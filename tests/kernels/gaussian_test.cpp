#include "kernels/gaussian.h"

#include "kernels/picture.h"

namespace {

TEST(Gaussian, ASpeckSpreadsAsTheBell) {
    CTestPicture s(61, 61, 4), d(61, 61, 4);
    s.Pixel8(30, 30) = {255, 255, 255, 255};
    for (const double radius : {2.0, 4.0}) {
        const double sigma = KwGaussianSigma(radius);
        ASSERT_EQ(S_OK, KwDibGaussianBlur(d.View(), s.View(), 4, radius, radius));
        for (LONG y = 0; y < 61; ++y)
            for (LONG x = 0; x < 61; ++x) {
                const double away = (x - 30) * (x - 30) + (y - 30) * (y - 30);
                const double bell = 255 * std::exp(-away / (2 * sigma * sigma)) / (2 * M_PI * sigma * sigma);
                ASSERT_NEAR(bell, d.Pixel8(x, y).g, 0.75) << x << ", " << y << ", " << radius;
            }
    }
}

} // namespace
