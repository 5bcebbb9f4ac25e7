#include "kernels/chroma_key.h"

#include <limits>

#include "kernels/alpha.h"
#include "kernels/gaussian.h"
#include "kernels/picture.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

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
}

} // namespace
