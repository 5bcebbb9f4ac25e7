#include "kernels/gaussian.h"

#include "base/level.h"
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

/// Areas that are long enough for results to settle, and what unsettles them: one line of several, one channel, the
/// last pixel. Rounding lets the results of some levels settle, of others go round in a circle.
TEST(Gaussian, WhatHasSettledIsAsThePlainForm) {
    constexpr LONG kWidth = 421, kHeight = 67;
    CTestPicture s(kWidth, kHeight, 4);
    for (LONG y = 0; y < kHeight; ++y)
        for (LONG x = 0; x < kWidth; ++x) {
            const auto level = static_cast<std::uint8_t>(x < 130 ? 0 : x < 290 ? 255 : 128 + (y > 40));
            s.Pixel8(x, y) = {level, level, level, 255};
            if (y == 5 && x == 70) s.Pixel8(x, y).g = 1;
            if (y == 37 && x == 200) s.Pixel8(x, y).a = 250;
            if (y == 64 && x % 140 == 0) s.Pixel8(x, y).r = 99;
        }
    const eKwLevel before = KwLevel();
    for (const bool opaque : {false, true}) {
        if (opaque) s.Pixel8(200, 37).a = 255;
        for (const double radius : {0.0, 1.0, 6.3, 300.0})
            for (LONG channel = 0; channel < 5; ++channel) { // 4: all
                const auto blur = [&](CTestPicture& d) {
                    return channel < 4 ? KwDibGaussianBlurChannel(d.View(), s.View(), 4, radius, radius / 2, channel)
                                       : KwDibGaussianBlur(d.View(), s.View(), 4, radius, radius / 2);
                };
                CTestPicture plain(kWidth, kHeight, 4);
                KwLimitLevel(eKwLevel::Plain);
                ASSERT_EQ(S_OK, blur(plain));
                for (const eKwLevel level : KwLevels()) {
                    KwLimitLevel(level);
                    CTestPicture d(kWidth, kHeight, 4);
                    ASSERT_EQ(S_OK, blur(d));
                    ASSERT_TRUE(d == plain) << radius << " " << channel << ": " << d.FirstDifference(plain);
                }
            }
    }
    KwLimitLevel(before);
}

} // namespace
