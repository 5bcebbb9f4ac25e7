#include "kernels/channel_min.h"
#include "kernels/chroma_key.h"

#include <limits>

#include "kernels/alpha.h"
#include "kernels/color_model.h"
#include "kernels/gaussian.h"
#include "kernels/picture.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

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
                KwDibCreateDifferenceAlpha(expected.View(), &key, &record.transparencyMask, 4);
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
