#include "kernels/min_max.h"

#include <array>

#include "kernels/area_reference.h"

namespace {

std::uint8_t Extract(const std::array<float, 256>& bins, bool maximum) {
    float s = 0.0f, v = 0.0f;
    for (int i = 0; i < 256 && s < 1.0f; ++i) {
        const int bin = maximum ? 255 - i : i;
        const float w = bins[static_cast<std::size_t>(bin)];
        if (!(w > 0.0f)) continue;
        v += s + w <= 1.0f ? w * static_cast<float>(bin) : (1.0f - s) * static_cast<float>(bin);
        s += w;
    }
    return static_cast<std::uint8_t>(v < 0.0f ? 0.0f : v > 255.0f ? 255.0f : v);
}

void Reference(CTestPicture& to, CTestPicture& from, float rx, float ry, bool circular, bool maximum) {
    const CReferenceArea area(from, rx, ry, circular);
    for (LONG y = 0; y < from.Height(); ++y)
        for (LONG x = 0; x < from.Width(); ++x) {
            std::array<std::array<float, 256>, 4> bins{};
            ForEachCell(from, area, x, y, [&](const std::uint8_t* pixel, float weight) {
                for (std::size_t c = 0; c < 4; ++c) bins[c][pixel[c]] += weight;
            });
            for (std::size_t c = 0; c < 4; ++c) to.At(x, y)[c] = Extract(bins[c], maximum);
        }
}

void Compare(CTestPicture& from, float rx, float ry, bool circular, bool maximum) {
    CTestPicture actual(from.Width(), from.Height(), 4), expected(from.Width(), from.Height(), 4);
    actual.Fill(99);
    Reference(expected, from, rx, ry, circular, maximum);
    const auto filter = maximum ? KwDibMaxFilter : KwDibMinFilter;
    ASSERT_EQ(S_OK, filter(actual.View(), from.View(), 4, rx, ry, 1.0, circular));
    SCOPED_TRACE(testing::Message() << from.Width() << "x" << from.Height() << " radius " << rx << ", " << ry
                                    << (circular ? " ellipse" : " rectangle") << (maximum ? " max" : " min"));
    ExpectSame(actual, expected);
}

TEST(MinMax, IsDirectWeightedCounting) {
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
        Reference(expected, from, static_cast<float>(rx / aspect), 1.7f, false, true);
        ASSERT_EQ(S_OK, KwDibMaxFilter(actual.View(), from.View(), 4, rx, 1.7f, aspect, false));
        ExpectSame(actual, expected);
    }
}

TEST(MinMax, CountsNothingOutsideTheClip) {
    CTestPicture from(20, 12, 4), part(9, 7, 4), expected(9, 7, 4);
    from.Fill(6, true);
    const RECT sourceClip{5, 3, 14, 10}, destinationClip{1, 2, 10, 9};
    for (LONG y = 0; y < 7; ++y) std::memcpy(part.At(0, y), from.At(5, 3 + y), 9 * 4);
    for (const bool circular : {false, true}) {
        CTestPicture actual(20, 12, 4);
        Reference(expected, part, 2.6f, 1.5f, circular, false);
        ASSERT_EQ(S_OK,
                  KwDibMinFilter(actual.View(&destinationClip), from.View(&sourceClip), 4, 2.6f, 1.5f, 1.0, circular));
        for (LONG y = 0; y < 12; ++y)
            for (LONG x = 0; x < 20; ++x) {
                const bool inside = x >= 1 && x < 10 && y >= 2 && y < 9;
                const std::uint8_t zero[4] = {};
                ASSERT_EQ(0, std::memcmp(actual.At(x, y), inside ? expected.At(x - 1, y - 2) : zero, 4))
                    << x << ", " << y;
            }
    }
}

TEST(MinMax, ReadsRowsInEitherDirection) {
    CTestPicture from(31, 9, 4), up(31, 9, 4), down(31, 9, 4);
    from.Fill(2);
    for (const bool circular : {false, true}) {
        ASSERT_EQ(S_OK, KwDibMaxFilter(down.View(), from.View(), 4, 2.3f, 1.4f, 1.0, circular));
        ASSERT_EQ(S_OK, KwDibMaxFilter(up.FlippedView(), from.FlippedView(), 4, 2.3f, 1.4f, 1.0, circular));
        ExpectSame(up, down);
    }
}

TEST(MinMax, LeavesFloatPicturesUntouched) {
    CTestPicture from(5, 4, 16), to(5, 4, 16);
    from.Fill(1);
    to.Fill(2);
    CTestPicture before = to;
    EXPECT_EQ(S_OK, KwDibMaxFilter(to.View(), from.View(), 16, 1.0f, 1.0f, 1.0, false));
    EXPECT_EQ(S_OK, KwDibMinFilter(to.View(), from.View(), 16, 1.0f, 1.0f, 1.0, true));
    ExpectSame(to, before);
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
