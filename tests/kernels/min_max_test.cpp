#include "kernels/min_max.h"

#include "kernels/area_reference.h"

namespace {

void Compare(CTestPicture& from, float rx, float ry, bool circular, bool maximum) {
    SCOPED_TRACE(testing::Message() << from.Width() << "x" << from.Height() << " radius " << rx << ", " << ry
                                    << (circular ? " ellipse" : " rectangle") << (maximum ? " max" : " min"));
    ExpectPlainBytes(from, [&](const tView& to) {
        return (maximum ? KwDibMaxFilter : KwDibMinFilter)(to, from.View(), 4, rx, ry, 1.0, circular);
    });
}

TEST(MinMax, CountsLikeThePlainBody) {
    for (const auto& [width, height] : kSizes) {
        CTestPicture noise(width, height, 4), smooth(width, height, 4);
        noise.Fill(3, true);
        FillSmooth(smooth, 4);
        for (const auto& [rx, ry] : kRadii)
            for (const bool circular : {false, true})
                for (const bool maximum : {false, true}) {
                    Compare(noise, rx, ry, circular, maximum);
                    Compare(smooth, rx, ry, circular, maximum);
                    if (HasFailure()) return;
                }
    }
}

// Ramps put whole columns of better samples on the rim: sums of many small weights, and results near whole numbers.
TEST(MinMax, WeighsWholeEdgesLikeTheDirectCount) {
    CTestPicture ramp(70, 40, 4), steps(70, 40, 4);
    std::minstd_rand random(1);
    for (LONG y = 0; y < 40; ++y)
        for (LONG x = 0; x < 70; ++x) {
            ramp.Pixel8(x, y) = {static_cast<std::uint8_t>(x * 3), static_cast<std::uint8_t>(250 - x - y),
                                 static_cast<std::uint8_t>(x / 5 + random() % 2), static_cast<std::uint8_t>(y * 6)};
            steps.Pixel8(x, y) = {static_cast<std::uint8_t>(x / 9 % 2 ? 200 + random() % 3 : 20),
                                  static_cast<std::uint8_t>(y / 7 % 2 ? 100 : 101),
                                  static_cast<std::uint8_t>((x + y) / 11 % 2 * 90), 255};
        }
    for (const float r : {1.001f, 2.2f, 4.5f, 5.04f, 9.2f, 7.00390625f, 12.6f})
        for (const bool circular : {false, true})
            for (const bool maximum : {false, true}) {
                Compare(ramp, r, r, circular, maximum);
                Compare(steps, r, r * 0.75f, circular, maximum);
            }
}

// More equal samples on the rim than a byte counts.
TEST(MinMax, CountsLongRims) {
    CTestPicture picture(9, 300, 4);
    for (LONG y = 0; y < 300; ++y)
        for (LONG x = 0; x < 9; ++x) picture.Pixel8(x, y) = {static_cast<std::uint8_t>(x * 20), 7, 0, 255};
    for (const float r : {2.001f, 2.004f, 2.5f})
        for (const bool maximum : {false, true}) Compare(picture, r, 200.3f, false, maximum);
}

TEST(MinMax, DividesTheHorizontalRadiusByThePixelAspect) {
    CTestPicture from(19, 11, 4), actual(19, 11, 4), expected(19, 11, 4);
    from.Fill(8);
    for (const auto& [aspect, rx] : {std::pair{1.0667, 4.1f}, {0.5, 1.2f}, {0.0, 1.0f}, {-1.0, 3.0f}}) {
        const float divided = static_cast<float>(rx / aspect);
        ASSERT_EQ(S_OK, KwDibMaxFilter(expected.View(), from.View(), 4, divided, 1.7f, 1.0, false));
        ASSERT_EQ(S_OK, KwDibMaxFilter(actual.View(), from.View(), 4, rx, 1.7f, aspect, false));
        ExpectSame(actual, expected);
    }
}

// A lone bright pixel grows into the shape of the area, dimmed on its rim.
TEST(MinMax, GrowsASpeckIntoTheArea) {
    CTestPicture from(15, 15, 4), to(15, 15, 4);
    from.Pixel8(7, 7) = {200, 0, 0, 0};
    ASSERT_EQ(S_OK, KwDibMaxFilter(to.View(), from.View(), 4, 1.25f, 2.5f, 1.0, false));
    for (LONG y = 0; y < 15; ++y)
        for (LONG x = 0; x < 15; ++x) {
            const float wx = std::abs(x - 7) <= 2 ? 1.0f : std::abs(x - 7) == 3 ? 0.25f : 0.0f;
            const float wy = std::abs(y - 7) <= 3 ? 1.0f : std::abs(y - 7) == 4 ? 0.5f : 0.0f;
            EXPECT_EQ(static_cast<int>(200 * wx * wy), to.Pixel8(x, y).b) << x << ", " << y;
        }
}

} // namespace
