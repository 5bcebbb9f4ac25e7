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
        for (const double radius : {0.0, 2.0, 14.0, 300.0}) EachLevelIsAsThePlainForm(s, radius);
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

/// Small radii are summed in floats. Some levels of noise lie too close to a step for those; where a column
/// is, so many do that the sums are given up.
TEST(Gaussian, LevelsThatFloatsLeaveOpenAreAsThePlainForm) {
    CTestPicture noise(500, 260, 4);
    noise.Fill(3);
    for (const double radius : {2.0, 5.0, 8.0}) EachLevelIsAsThePlainForm(noise, radius);
    CTestPicture columns(128, 300, 4);
    std::minstd_rand random(9); // one of its columns is as close to a step all the way down
    for (LONG x = 0; x < columns.Width(); ++x) {
        const auto level = [&] { return static_cast<std::uint8_t>(random() >> 8); };
        const tPixel8 pixel{level(), level(), level(), level()};
        for (LONG y = 0; y < columns.Height(); ++y) columns.Pixel8(x, y) = pixel;
    }
    EachLevelIsAsThePlainForm(columns, 4.0);
}

/// Rows in which nothing changes, as most of a matte's, are not summed, but those near other rows are. A few rows may
/// be all that has another alpha.
TEST(Gaussian, RowsOfOneColorAreAsThePlainForm) {
    for (const std::uint8_t alpha : {255, 200}) {
        CTestPicture matte(300, 170, 4);
        for (LONG y = 0; y < matte.Height(); ++y)
            for (LONG x = 0; x < matte.Width(); ++x) {
                const auto level = static_cast<std::uint8_t>(y < 63 || y > 125 ? 10 : 200);
                matte.Pixel8(x, y) = {level, static_cast<std::uint8_t>(x < 140 ? level : 3), 0,
                                      y / 4 == 5 ? alpha : std::uint8_t{255}};
            }
        EachLevelIsAsThePlainForm(matte, 5.0);
    }
}

TEST(Gaussian, PicturesThatShareMemoryAreReadFirst) {
    constexpr LONG kWidth = 150, kHeight = 70;
    const RECT from{0, 0, kWidth, kHeight};
    for (const RECT to : {from, RECT{9, 0, 9 + kWidth, kHeight}, RECT{0, 3, kWidth, 3 + kHeight}}) {
        CTestPicture shared(kWidth + 9, kHeight + 3, 4), wanted(kWidth + 9, kHeight + 3, 4);
        CTestPicture source = shared.Fill(8);
        wanted.Fill(8);
        ASSERT_EQ(S_OK, KwDibGaussianBlur(wanted.View(&to), source.View(&from), 4, 3, 3));
        ASSERT_EQ(S_OK, KwDibGaussianBlur(shared.View(&to), shared.View(&from), 4, 3, 3));
        EXPECT_TRUE(shared == wanted) << to.left << ", " << to.top << ": " << shared.FirstDifference(wanted);
    }
}

} // namespace
