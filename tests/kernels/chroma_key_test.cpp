#include "kernels/channel_min.h"
#include "kernels/chroma_key.h"

#include <limits>

#include "kernels/alpha.h"
#include "kernels/color_model.h"
#include "kernels/gaussian.h"
#include "kernels/picture.h"

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// The definition, pixel by pixel, through the colour model's own conversions.
void Difference(CTestPicture& picture, const tKWRGBADOUBLE& key, const tMASKSETTINGS& s) {
    tHSLADOUBLE k, h;
    KwFloatPixelToHsl(k, {static_cast<float>(key.blue), static_cast<float>(key.green), static_cast<float>(key.red),
                          static_cast<float>(key.alpha)});
    const float inv = static_cast<float>(1.0 / (s.highThreshold - s.lowThreshold));
    for (LONG y = 0; y < picture.Height(); ++y)
        for (LONG x = 0; x < picture.Width(); ++x) {
            tPixel8& p = picture.Pixel8(x, y);
            const int a = p.a;
            for (std::uint8_t* c : {&p.b, &p.g, &p.r})
                if (a < 255) *c = static_cast<std::uint8_t>(a == 0 ? 0 : std::min(*c * 255 / a, 255));
            KwPixelToHsl(h, p);
            double dh = std::fabs(h.hue - k.hue);
            if (dh > 0.5) dh = 1.0 - dh;
            const double ds = std::fabs(h.saturation - k.saturation), dl = std::fabs(h.luminance - k.luminance);
            const auto gap = [](double channel, float byte) {
                return static_cast<float>(channel) - byte * 0.003921569f;
            };
            const double eb = gap(key.blue, p.b), eg = gap(key.green, p.g), er = gap(key.red, p.r);
            const double e = std::sqrt(eb * eb + eg * eg + er * er) * static_cast<double>(std::sqrt(3.0f));
            const float d = static_cast<float>((e + (dh + dh + dl + ds) * double{0.33333334f}) * 0.5);
            int alpha = 255;
            if (d < s.lowThreshold)
                alpha = 0;
            else if (d <= s.highThreshold) {
                const double v = double{(d - s.lowThreshold) * inv} * 255.0;
                alpha = std::isnan(v) ? 0 : static_cast<int>(std::clamp(v, 0.0, 255.0));
            }
            p.a = static_cast<std::uint8_t>(std::min(alpha, a));
        }
}

const tKWRGBADOUBLE kKeys[] = {{0.94509804, 0.2784314, 0.09411765, 1},
                               {0.09411765, 0.95686275, 0.16078432, 1},
                               {0, 0, 1, 1},
                               {0, 1, 0, 1},
                               {1, 0, 0, 1},
                               {0.5, 0.5, 0.5, 1},
                               {0, 0, 0, 1},
                               {kNaN, 1e300, -kInf, kNaN}};

TEST(ChromaKey, DifferenceFollowsTheDefinition) {
    const tMASKSETTINGS settings[] = {{},        {0.1f, 0.4f}, {0.3f, 0.3f},  {0.0f, 0.0f},   {0.7f, 0.2f},
                                      {kNaN, 1}, {0, kNaN},    {-kInf, kInf}, {-1e30f, 1e30f}};
    for (const tKWRGBADOUBLE& key : kKeys)
        for (const tMASKSETTINGS& s : settings) {
            CTestPicture actual(131, 17, 4);
            actual.Fill(7, true);
            for (LONG x = 0; x < 100; ++x) actual.Pixel8(x, 0).a = 255;
            CTestPicture expected = actual;
            ASSERT_EQ(S_OK, KwDibCreateDifferenceAlpha(actual.View(), &key, &s, 4));
            Difference(expected, key, s);
            ExpectSame(actual, expected);
        }
}

TEST(ChromaKey, WorkedPixels) {
    const auto alphaOf = [](tPixel8 pixel, const tKWRGBADOUBLE& key, tMASKSETTINGS s = {}) {
        CTestPicture picture(1, 1, 4);
        picture.Pixel8(0, 0) = pixel;
        EXPECT_EQ(S_OK, KwDibCreateDifferenceAlpha(picture.View(), &key, &s, 4));
        return int{picture.Pixel8(0, 0).a};
    };
    EXPECT_EQ(0, alphaOf({255, 0, 0, 255}, {1, 0, 0, 1}));
    EXPECT_EQ(0, alphaOf({255, 0, 0, 255}, {1, 0, 0, 1}, {0, 0})) << "0 times infinity";
    EXPECT_EQ(0, alphaOf({0, 255, 0, 0}, {1, 0, 0, 1})) << "clear stays clear";
    EXPECT_EQ(255, alphaOf({0, 255, 0, 255}, {1, 0, 0, 1}));
    // Red to either side of the circle's seam is near the key's hue.
    EXPECT_LT(alphaOf({10, 0, 255, 255}, {0, 10.0 / 255, 1, 1}), 15);
}

TEST(ChromaKey, CorrectionByDominantChannel) {
    struct tCase {
        tKWRGBADOUBLE key;
        tPixel8 in, out;
    };
    const tCase cases[] = {{{1, 0, 0, 1}, {200, 90, 10, 255}, {90, 90, 10, 255}},
                           {{1, 0, 0, 1}, {80, 90, 10, 255}, {80, 90, 10, 255}},
                           {{1, 0, 0, 1}, {200, 90, 10, 0}, {200, 90, 10, 0}},
                           {{0, 1, 0, 1}, {10, 200, 90, 1}, {10, 90, 90, 1}},
                           {{0, 1, 0, 1}, {10, 50, 90, 9}, {10, 50, 90, 9}},
                           {{0, 0, 1, 1}, {200, 90, 10, 255}, {200, 90, 10, 255}},
                           {{1, 1, 0, 1}, {200, 190, 10, 255}, {200, 190, 10, 255}},
                           {{kNaN, 1, 0, 1}, {200, 190, 10, 255}, {200, 190, 10, 255}}};
    for (const tCase& c : cases) {
        CTestPicture picture(1, 1, 4);
        picture.Pixel8(0, 0) = c.in;
        ASSERT_EQ(S_OK, KwDibApplyChromaCorrection(picture.View(), &c.key, nullptr, 4));
        EXPECT_EQ(0, std::memcmp(&picture.Pixel8(0, 0), &c.out, 4));
    }
}

TEST(ChromaKey, FilterIsItsSteps) {
    for (const LONG maskOnly : {0, 1})
        for (const float blur : {0.0f, 0.05f, kNaN, -1.0f})
            for (const auto& [width, height] : {std::pair{1, 1}, {1, 70}, {300, 141}}) {
                tCHROMAKEYPROP record;
                record.maskOnly = maskOnly;
                record.transparencyMask = {0.1f, 0.6f, 0, blur};
                CTestPicture in(width, height, 4), out(width, height, 4);
                CTestPicture expected = in.Fill(3);
                const tKWRGBADOUBLE key{record.blue, record.green, record.red, 1};
                Difference(expected, key, record.transparencyMask);
                if (blur > 0) {
                    const double r = blur * 36.0;
                    KwDibGaussianBlurChannel(expected.View(), expected.View(), 4, r, r, 3);
                }
                KwDibApplyChromaCorrection(expected.View(), &key, nullptr, 4);
                if (maskOnly)
                    for (LONG y = 0; y < height; ++y)
                        for (LONG x = 0; x < width; ++x) {
                            tPixel8& p = expected.Pixel8(x, y);
                            p.b = p.g = p.r = p.a;
                        }
                else
                    KwDibPremultiply(expected.View(), 4);
                ASSERT_EQ(S_OK, KwDibChromaKey(out.View(), in.View(), 4, record));
                ExpectSame(out, expected);
            }
}

TEST(ChromaKey, FloatsAndMissingArguments) {
    CTestPicture in(4, 4, 16), out(4, 4, 16);
    in.Fill(1);
    CTestPicture before = out;
    const tKWRGBADOUBLE key{};
    const tMASKSETTINGS settings;
    EXPECT_EQ(E_NOTIMPL, KwDibChromaKey(out.View(), in.View(), 16, {}));
    EXPECT_EQ(S_OK, KwDibCreateDifferenceAlpha(out.View(), &key, &settings, 16));
    EXPECT_EQ(S_OK, KwDibApplyChromaCorrection(out.View(), &key, &settings, 16));
    ExpectSame(out, before);
    EXPECT_EQ(E_POINTER, KwDibCreateDifferenceAlpha(out.View(), nullptr, &settings, 4));
    EXPECT_EQ(E_POINTER, KwDibCreateDifferenceAlpha(out.View(), &key, nullptr, 4));
    EXPECT_EQ(E_POINTER, KwDibApplyChromaCorrection(out.View(), nullptr, &settings, 4));
    EXPECT_EQ(E_POINTER, KwDibCreateDifferenceAlpha({nullptr, nullptr, 4, nullptr}, &key, &settings, 4));
}

} // namespace
