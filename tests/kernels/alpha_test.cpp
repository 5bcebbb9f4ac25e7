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

} // namespace
