#include "kernels/stretch.h"

#include "kernels/picture.h"

namespace {

using tInt = std::int64_t;
constexpr tInt kPixel = 16384;

HRESULT Draw(CTestPicture& out, const tFixedRect* to, CTestPicture& source, const tFixedRect* from, bool smooth,
             tFixedPoint offset = {0, 0}) {
    return KwDibStretchBlit(out.At(0, 0), {out.Width(), out.Height()}, out.Stride(), to, offset, source.At(0, 0),
                            {source.Width(), source.Height()}, source.Stride(), from, out.BytesPerPixel(), smooth);
}

constexpr tFixedRect Whole(LONG w, LONG h) {
    return {0, 0, w * kPixel, h * kPixel};
}

TEST(Stretch, TooLittleDrawsNothing) {
    CTestPicture out(8, 8, 4), source(8, 8, 4);
    CTestPicture before = out.Fill(1);
    const tFixedRect cases[] = {{0, 0, 0, kPixel},
                                {0, 0, 1023, kPixel},
                                {kPixel, 0, 0, kPixel},
                                {9 * kPixel, 0, 20 * kPixel, kPixel},
                                {-9 * kPixel, 0, 0, kPixel}};
    for (const tFixedRect& to : cases) EXPECT_EQ(S_OK, Draw(out, &to, source, nullptr, true));
    const tFixedRect to = Whole(8, 8), thin{0, 0, kPixel - 1, 8 * kPixel}, outside{8 * kPixel, 0, 9 * kPixel, kPixel};
    EXPECT_EQ(S_OK, Draw(out, &to, source, &thin, true));
    EXPECT_EQ(S_OK, Draw(out, &to, source, &outside, true));
    ExpectSame(out, before);
}

TEST(Stretch, BytesNextToAPixelAreThatPixel) {
    CTestPicture source(9, 4, 4), out(9, 4, 4);
    source.Fill(2);
    for (const tInt shift : {-32, -31, 31, 32}) { // 32 is a 512th of a pixel
        const tFixedRect to{shift, 0, 9 * kPixel + shift, 4 * kPixel};
        ASSERT_EQ(S_OK, Draw(out, &to, source, nullptr, false));
        const bool same = std::memcmp(out.At(1, 1), source.At(1, 1), 7 * 4) == 0;
        EXPECT_EQ(same, std::abs(shift) < 32) << shift;
    }
}

TEST(Stretch, PartsOfTheOutputGetWhatTheWholeGets) {
    CTestPicture source(50, 30, 4), whole(40, 25, 4), part(40, 25, 4);
    source.Fill(5, true);
    for (const bool smooth : {false, true}) {
        const tFixedRect to{5000, -9000, 37 * kPixel + 17, 22 * kPixel};
        ASSERT_EQ(S_OK, Draw(whole, &to, source, nullptr, smooth));
        for (LONG y = 0; y < 25; y += 5)
            for (LONG x = 0; x < 40; x += 10)
                ASSERT_EQ(S_OK, KwDibStretchBlit(part.At(x, y), {10, 5}, part.Stride(), &to, {-x * kPixel, -y * kPixel},
                                                 source.At(0, 0), {50, 30}, source.Stride(), nullptr, 4, smooth));
        ExpectSame(part, whole);
    }
}

} // namespace
