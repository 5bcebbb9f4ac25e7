#include "kernels/gaussian.h"

#include "base/level.h"
#include "kernels/picture.h"

namespace {

/// Blurs each channel by itself and all of them at once, over a picture that holds something else.
void EachLevelIsAsThePlainForm(CTestPicture& s, double radius) {
    const eKwLevel before = KwLevel();
    for (LONG channel = 0; channel < 5; ++channel) {
        const auto blurred = [&](eKwLevel level) {
            KwLimitLevel(level);
            CTestPicture d(s.Width(), s.Height(), 4);
            d.Fill(5);
            EXPECT_EQ(S_OK, channel < 4 ? KwDibGaussianBlurChannel(d.View(), s.View(), 4, radius, radius / 2, channel)
                                        : KwDibGaussianBlur(d.View(), s.View(), 4, radius, radius / 2));
            return d;
        };
        CTestPicture plain = blurred(eKwLevel::Plain);
        for (const eKwLevel level : KwLevels()) {
            CTestPicture d = blurred(level);
            ASSERT_TRUE(d == plain) << s.Width() << "x" << s.Height() << ", " << radius << ", channel " << channel
                                    << " at " << KwLevelName(level) << ": " << d.FirstDifference(plain);
        }
    }
    KwLimitLevel(before);
}

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
    for (const bool opaque : {false, true}) {
        if (opaque) s.Pixel8(200, 37).a = 255;
        for (const double radius : {0.0, 1.0, 6.3, 300.0}) EachLevelIsAsThePlainForm(s, radius);
    }
}

/// Lines of every length up to some stretches and blocks of columns, bright and dark in turn: what is left of light in
/// the dark becomes so small that it counts as nothing.
TEST(Gaussian, LinesOfEachLengthAreAsThePlainForm) {
    for (LONG length = 1; length <= 110; ++length)
        for (const bool across : {false, true}) {
            const LONG width = across ? length : 1 + length % 19, height = across ? 1 + length % 19 : length;
            CTestPicture s(width, height, 4);
            std::uint32_t seed = static_cast<std::uint32_t>(length);
            for (LONG y = 0; y < height; ++y)
                for (LONG x = 0; x < width; ++x) {
                    seed = seed * 69069 + 1;
                    const bool dark = length % 4 == 0 && (across ? x : y) % 100 > 3;
                    const auto level = static_cast<std::uint8_t>(dark ? 0 : seed >> 24);
                    s.Pixel8(x, y) = {level, 77, level, static_cast<std::uint8_t>(length % 2 ? 255 : seed >> 16)};
                }
            EachLevelIsAsThePlainForm(s, length % 3 ? 0.5 : 3.7);
        }
}

} // namespace
