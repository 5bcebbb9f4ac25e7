#include "kernels/alpha.h"

#include "kernels/picture.h"

namespace {

/// A 256 by 256 picture with every pair of a colour byte and an alpha.
CTestPicture AllPairs() {
    CTestPicture p(256, 256, 4);
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c)
            p.Pixel8(c, a) = {static_cast<std::uint8_t>(c), static_cast<std::uint8_t>(255 - c),
                              static_cast<std::uint8_t>(c ^ 0x55), static_cast<std::uint8_t>(a)};
    return p;
}

TEST(Unpremultiply, IsExactForEveryPair) {
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c)
            ASSERT_EQ(a == 0 ? 0 : std::min(c * 255 / a, 255),
                      KwUnpremultiply8(static_cast<std::uint8_t>(c), static_cast<std::uint8_t>(a)))
                << c << " by " << a;
}

TEST(Unpremultiply, ClearPixelsTakeTheEmptyValue) {
    tPixel8 clear{1, 2, 3, 0}, half{64, 0, 200, 128};
    KwDibUnpremultiplyPixel(clear, 7);
    KwDibUnpremultiplyPixel(half, 7);
    EXPECT_EQ(0, std::memcmp(&clear, "\7\7\7\0", 4));
    EXPECT_EQ(0, std::memcmp(&half, "\x7F\0\xFF\x80", 4));
}

TEST(ClampToAlpha, LimitsEveryColourAndNothingElse) {
    CTestPicture p = AllPairs(), expected = p;
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c)
            for (int k = 0; k < 3; ++k)
                expected.At(c, a)[k] = std::min(expected.At(c, a)[k], static_cast<std::uint8_t>(a));
    ASSERT_EQ(S_OK, KwDibClampToAlpha(p.View(), 4));
    ExpectSame(p, expected);
}

TEST(Premultiply, ShiftsWithoutRounding) {
    CTestPicture p = AllPairs(), expected = p;
    for (int a = 0; a < 256; ++a)
        for (int c = 0; c < 256; ++c)
            for (int k = 0; k < 3; ++k) expected.At(c, a)[k] = static_cast<std::uint8_t>(expected.At(c, a)[k] * a >> 8);
    EXPECT_EQ(254, expected.Pixel8(255, 255).b);
    ASSERT_EQ(S_OK, KwDibPremultiply(p.View(), 4));
    ExpectSame(p, expected);
}

TEST(Alpha, FloatsFollowTheSameRulesWithoutLimits) {
    CTestPicture clamped(67, 3, 16), multiplied(67, 3, 16);
    clamped.Fill(1, true);
    clamped.PixelF(3, 1) = {NAN, INFINITY, -INFINITY, 0.5f};
    clamped.PixelF(4, 1) = {1.0f, 0.5f, -2.0f, NAN};
    multiplied.Fill(2, true);
    CTestPicture expectedClamped = clamped, expectedMultiplied = multiplied;
    for (LONG y = 0; y < 3; ++y)
        for (LONG x = 0; x < 67; ++x) {
            float* const c = &expectedClamped.PixelF(x, y).b;
            float* const m = &expectedMultiplied.PixelF(x, y).b;
            for (int k = 0; k < 3; ++k) {
                if (c[k] > c[3]) c[k] = c[3];
                m[k] = m[k] * m[3];
            }
        }
    ASSERT_EQ(S_OK, KwDibClampToAlpha(clamped.View(), 16));
    ASSERT_EQ(S_OK, KwDibPremultiply(multiplied.View(), 16));
    ExpectSame(clamped, expectedClamped);
    ExpectSame(multiplied, expectedMultiplied);
}

} // namespace
