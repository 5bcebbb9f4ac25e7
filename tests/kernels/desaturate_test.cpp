#include "kernels/desaturate.h"

#include "kernels/color_model.h"
#include "kernels/picture.h"

namespace {

TEST(Desaturate, MeanIsExactForEverySum) {
    for (std::uint32_t sum = 0; sum <= 765; ++sum) {
        const std::uint32_t r = std::min(sum, 255u), g = std::min(sum - r, 255u), b = sum - r - g;
        ASSERT_EQ(sum / 3, KwMean8(r, g, b));
    }
}

TEST(Desaturate, GreyIsLimitedToAlphaAndAlphaStays) {
    for (const bool luminance : {false, true}) {
        CTestPicture p(501, 40, 4);
        p.Fill(1, true);
        CTestPicture expected = p;
        for (LONG y = 0; y < 40; ++y)
            for (LONG x = 0; x < 501; ++x) {
                tPixel8& c = expected.Pixel8(x, y);
                const std::uint8_t a = c.a;
                if (luminance) {
                    tHSLADOUBLE hsl;
                    KwPixelToHsl(hsl, c);
                    hsl.saturation = 0.0;
                    KwHslToPixel(c, hsl);
                } else {
                    c.b = c.g = c.r = static_cast<std::uint8_t>((c.r + c.g + c.b) / 3);
                }
                c = {std::min(c.b, a), std::min(c.g, a), std::min(c.r, a), a};
            }
        ASSERT_EQ(S_OK, KwDibDesaturate(p.View(), 4, luminance));
        ExpectSame(p, expected);
    }
}

TEST(Desaturate, LuminanceAgreesWithTheModelForEveryRange) {
    CTestPicture p(256, 256, 4);
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x)
            p.Pixel8(x, y) = {static_cast<std::uint8_t>(x), static_cast<std::uint8_t>(y),
                              static_cast<std::uint8_t>((x + y) / 2), 255};
    CTestPicture before = p;
    ASSERT_EQ(S_OK, KwDibDesaturate(p.View(), 4, true));
    for (int y = 0; y < 256; ++y)
        for (int x = 0; x < 256; ++x) {
            tHSLADOUBLE hsl;
            KwPixelToHsl(hsl, before.Pixel8(x, y));
            hsl.saturation = 0.0;
            tPixel8 grey{};
            KwHslToPixel(grey, hsl);
            ASSERT_EQ(grey.g, p.Pixel8(x, y).g) << x << " " << y;
            ASSERT_EQ(grey.b, p.Pixel8(x, y).r) << x << " " << y;
        }
}

TEST(Desaturate, FloatsKeepTheirForm) {
    for (const bool luminance : {false, true}) {
        CTestPicture p(4, 1, 16);
        p.PixelF(0, 0) = {0.1f, 0.2f, 0.6f, 1.0f};
        p.PixelF(1, 0) = {0.5f, 0.5f, 0.5f, 0.25f};
        p.PixelF(2, 0) = {-1.0f, 0.0f, 0.5f, 1.0f};
        p.PixelF(3, 0) = {4.0f, 0.0f, 2.0f, 9.0f};
        ASSERT_EQ(S_OK, KwDibDesaturate(p.View(), 16, luminance));
        const float mean0 = (0.6f + 0.2f + 0.1f) * 0.33333334f;
        EXPECT_FLOAT_EQ(luminance ? 0.35f : mean0, p.PixelF(0, 0).g);
        EXPECT_EQ(0.25f, p.PixelF(1, 0).r);
        EXPECT_FLOAT_EQ(luminance ? 0.0f : -0.5f * 0.33333334f, p.PixelF(2, 0).b);
        EXPECT_FLOAT_EQ(2.0f, p.PixelF(3, 0).b);
        EXPECT_EQ(9.0f, p.PixelF(3, 0).a);
        p.CheckGuards();
    }
}

TEST(ColorModel, KnownColours) {
    struct {
        double r, g, b, hue, saturation, luminance;
    } const cases[] = {
        {1, 0, 0, 1.0, 1, 0.5},
        {0, 1, 0, 2.0 / 6, 1, 0.5},
        {0, 0, 1, 4.0 / 6, 1, 0.5},
        {1, 1, 0, 1.0 / 6, 1, 0.5},
        {0, 1, 1, 3.0 / 6, 1, 0.5},
        {1, 0, 1, 5.0 / 6, 1, 0.5},
        {0, 0, 0, 0, 0, 0},
        {1, 1, 1, 0, 0, 1},
        {.5, .5, .5, 0, 0, .5},
        {.75, .5, .5, 1.0, 1.0 / 3, .625},
        {.25, .5, .25, 2.0 / 6, 1.0 / 3, .375},
    };
    for (const auto& c : cases) {
        tHSLADOUBLE hsl;
        KwRgbToHsl(hsl, c.r, c.g, c.b, 0.5);
        EXPECT_NEAR(c.hue, hsl.hue, 1e-12);
        EXPECT_NEAR(c.saturation, hsl.saturation, 1e-12);
        EXPECT_DOUBLE_EQ(c.luminance, hsl.luminance);
        EXPECT_EQ(0.5, hsl.alpha);
        tPixelF back{};
        KwHslToFloatPixel(back, hsl);
        EXPECT_NEAR(c.r, back.r, 1e-6);
        EXPECT_NEAR(c.g, back.g, 1e-6);
        EXPECT_NEAR(c.b, back.b, 1e-6);
    }
}

TEST(ColorModel, GreyLosesOneAtTwentyFourBytes) {
    int lost = 0;
    for (int v = 0; v < 256; ++v) {
        const auto byte = static_cast<std::uint8_t>(v);
        tHSLADOUBLE hsl;
        KwPixelToHsl(hsl, {byte, byte, byte, byte});
        tPixel8 back{};
        KwHslToPixel(back, hsl);
        EXPECT_GE(1, v - back.g);
        EXPECT_EQ(back.g, back.a);
        lost += v - back.g;
    }
    EXPECT_EQ(24, lost);
}

TEST(ColorModel, HuesOutsideLeaveTheColours) {
    for (const double hue : {-0.5, 1.2, 1e300, static_cast<double>(NAN), static_cast<double>(INFINITY)}) {
        tPixel8 p{1, 2, 3, 4};
        KwHslToPixel(p, {hue, 0.5, 0.5, 2.0});
        EXPECT_EQ(0, std::memcmp(&p, "\1\2\3\xFF", 4));
        tPixelF f{1, 2, 3, 4};
        KwHslToFloatPixel(f, {hue, 0.5, 0.5, 2.0});
        EXPECT_TRUE(f.b == 1 && f.g == 2 && f.r == 3 && f.a == 2.0f);
    }
}

TEST(ColorModel, ColoursPastFullScaleKeepTheirLowBits) {
    tPixel8 p{};
    KwHslToPixel(p, {0.0, 0.0, 1.5, 1.0}); // 1.5 * 255 truncates to 382
    EXPECT_EQ(382 & 255, p.g);
    EXPECT_EQ(255, p.a);
}

} // namespace
