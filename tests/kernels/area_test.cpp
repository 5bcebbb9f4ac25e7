// Median, minimum and maximum over areas and pictures beyond those of the kernels' rig, beside the plain body.
#include <functional>

#include "base/level.h"
#include "kernels/median.h"
#include "kernels/min_max.h"
#include "kernels/picture.h"

namespace {

struct tAreaFilter {
    const char* name;
    std::function<HRESULT(const tView& to, const tView& from, float rx, float ry, bool circular)> run;
};

tAreaFilter Percentile(float offset) {
    return {"percentile", [offset](const tView& to, const tView& from, float rx, float ry, bool circular) {
                return KwDibPercentileFilter(to, from, 4, rx, ry, 1.0, circular, offset);
            }};
}
const tAreaFilter kMin{"minimum", [](const tView&to, const tView&from, float rx, float ry,
                                     bool circular) { return KwDibMinFilter(to, from, 4, rx, ry, 1.0, circular); }},
    kMax{"maximum", [](const tView&to, const tView&from, float rx, float ry, bool circular) {
             return KwDibMaxFilter(to, from, 4, rx, ry, 1.0, circular);
         }};

void ExpectPlainBytes(const tAreaFilter& filter, CTestPicture& from, float rx, float ry, bool circular) {
    SCOPED_TRACE(testing::Message() << filter.name << " " << from.Width() << "x" << from.Height() << " radius " << rx
                                    << ", " << ry << (circular ? " ellipse" : " rectangle"));
    CTestPicture actual(from.Width(), from.Height(), 4), expected(from.Width(), from.Height(), 4);
    const eKwLevel before = KwLimitLevel(eKwLevel::Plain);
    EXPECT_EQ(S_OK, filter.run(expected.View(), from.View(), rx, ry, circular));
    for (const eKwLevel level : KwLevels().subspan(1)) {
        SCOPED_TRACE(KwLevelName(level));
        KwLimitLevel(level);
        actual.Fill(99);
        EXPECT_EQ(S_OK, filter.run(actual.View(), from.View(), rx, ry, circular));
        ExpectSame(actual, expected);
    }
    KwLimitLevel(before);
}

// Ramps put whole columns of better samples on the rim: sums of many small weights, and results near whole numbers.
TEST(AreaFilters, WeighWholeEdgesLikeTheDirectCount) {
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
            for (const tAreaFilter& filter : {kMin, kMax, Percentile(0.5f), Percentile(0.93f)}) {
                ExpectPlainBytes(filter, ramp, r, r, circular);
                ExpectPlainBytes(filter, steps, r, r * 0.75f, circular);
            }
}

// More equal samples on the rim than a byte counts, on one side and on both, and levels above and below them.
TEST(AreaFilters, CountLongRims) {
    CTestPicture high(9, 300, 4), wide(300, 9, 4);
    for (LONG i = 0; i < 300; ++i)
        for (LONG j = 0; j < 9; ++j)
            high.Pixel8(j, i) = wide.Pixel8(i, j) = {static_cast<std::uint8_t>(j * 28 + (i < 128) + (i < 256)),
                                                     static_cast<std::uint8_t>(std::abs(j - 4) * 28),
                                                     static_cast<std::uint8_t>(j * 28 + (i < 100) + (i < 147)), 255};
    for (const float r : {2.001f, 2.004f, 2.5f})
        for (const tAreaFilter& filter : {kMin, kMax}) {
            ExpectPlainBytes(filter, high, r, 200.3f, false);
            ExpectPlainBytes(filter, wide, 200.3f, r, false);
        }
}

// Weights so small that many levels count, of few cells and of many, with ties and without.
TEST(AreaFilters, TakeLevelAfterLevel) {
    CTestPicture noise(70, 24, 4), wide(150, 9, 4);
    noise.Fill(8);
    wide.Fill(9);
    for (LONG y = 0; y < 24; ++y)
        for (LONG x = 0; x < 70; ++x)
            noise.Pixel8(x, y).g = static_cast<std::uint8_t>(x * 3 + noise.Pixel8(x, y).g % 8);
    for (const tAreaFilter& filter : {kMin, kMax}) {
        for (const float r : {0.25f, 1.1f, 1.3f, 2.2f, 3.4f, 4.1f})
            for (const float other : {r, 0.2f, 2.05f, 1.0000001f}) // the last leaves corners that sums lose
                ExpectPlainBytes(filter, noise, r, other, false);
        ExpectPlainBytes(filter, wide, 66.1f, 1.2f, false);
        ExpectPlainBytes(filter, wide, 60.02f, 1.05f, false);
    }
}

// Sums of a whole edge that come to 1, just above it or just below: a result of its level, or of one less.
TEST(AreaFilters, RoundSumsInTheOrderOfTheCells) {
    CTestPicture edges(24, 30, 4);
    for (LONG y = 0; y < 30; ++y)
        for (LONG x = 0; x < 24; ++x)
            edges.Pixel8(x, y) = {static_cast<std::uint8_t>(x / 8 * 100), static_cast<std::uint8_t>(255 - x / 12 * 77),
                                  static_cast<std::uint8_t>(x / 12 * 200 + y % 2), 255};
    for (LONG half = 1; half < 14; ++half) {
        const float cells = static_cast<float>(2 * half + 3);
        for (const float parts : {cells, cells - 1.0f})
            for (const tAreaFilter& filter : {kMin, kMax})
                ExpectPlainBytes(filter, edges, 1.0f / parts, static_cast<float>(half), false);
    }
}

// Rows beyond what is weighed in one go, with weights that leave no trace in a sum with 1.
TEST(AreaFilters, WeighWideRows) {
    CTestPicture wide(1100, 5, 4);
    std::minstd_rand random(3);
    for (LONG y = 0; y < 5; ++y)
        for (LONG x = 0; x < 1100; ++x)
            wide.Pixel8(x, y) = {static_cast<std::uint8_t>(random() % 256),
                                 static_cast<std::uint8_t>(random() % 9 * 28),
                                 static_cast<std::uint8_t>(random() % 64 ? 10 : 250), 255};
    for (const bool circular : {false, true})
        for (const tAreaFilter& filter : {kMin, kMax}) {
            ExpectPlainBytes(filter, wide, 0.0002f, 0.0002f, circular);
            ExpectPlainBytes(filter, wide, 1.3f, 0.7f, circular);
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

// Wide rows go in strips, high areas need wider counts, and large ones wider totals. Counts of an ellipse go by groups
// of its rows, and by groups of the cells on its rim.
TEST(Median, IsTheSameInEveryForm) {
    CTestPicture wide(1500, 3, 4), high(3, 700, 4), column(1, 70000, 4), byte(3, 256, 4);
    ExpectPlainBytes(Percentile(0.5f), wide.Fill(1), 3.7f, 1.2f, false);
    ExpectPlainBytes(Percentile(0.5f), wide, 700.3f, 0.2f, false);
    ExpectPlainBytes(Percentile(0.3f), high.Fill(2), 1.1f, 150.4f, false);
    ExpectPlainBytes(Percentile(0.3f), high, 0.1f, 127.5f, true);
    CTestPicture tall(70, 150, 4);
    for (LONG y = 0; y < 150; ++y)
        for (LONG x = 0; x < 70; ++x)
            tall.Pixel8(x, y) = {static_cast<std::uint8_t>(x + y), static_cast<std::uint8_t>(y / 60 * 90),
                                 static_cast<std::uint8_t>(x * y), static_cast<std::uint8_t>(x / 30 * 100 + y % 3)};
    for (const float offset : {-0.0001f, 0.0f, 0.4f, 1.0f, 1.0001f}) {
        ExpectPlainBytes(Percentile(offset), tall, 3.3f, 140.2f, true);
        ExpectPlainBytes(Percentile(offset), tall, 4.0f, 3.0f, false);
    }
    for (LONG y = 0; y < 256; ++y) std::memset(byte.At(0, y), 40, 12);
    ExpectPlainBytes(Percentile(0.3f), byte, 0.1f, 150.4f, false); // 256 equal samples in a column

    // Flat pictures but for a pixel become flat: known without a direct count of billions of cells.
    constexpr struct {
        LONG width, height;
        bool circular;
    } kFlat[] = {{258, 255, false}, {400, 380, false}, {200, 180, true}};
    for (const auto& [width, height, circular] : kFlat) {
        CTestPicture flat(width, height, 4), out(width, height, 4);
        for (LONG y = 0; y < flat.Height(); ++y)
            std::memset(flat.At(0, y), 40, static_cast<std::size_t>(flat.Width()) * 4);
        CTestPicture uneven = flat;
        uneven.Pixel8(0, height - 1) = {41, 39, 0, 255};
        ASSERT_EQ(S_OK, KwDibPercentileFilter(out.View(), uneven.View(), 4, 300.5f, 310.5f, 1.0, circular, 0.5f));
        EXPECT_TRUE(out == flat);
    }
    CTestPicture row(70000, 1, 4), rowOut(70000, 1, 4), columnOut(1, 70000, 4);
    for (LONG x = 0; x < 70000; ++x)
        row.Pixel8(x, 0) = column.Pixel8(0, x) = {9, static_cast<std::uint8_t>(x % 7), 0, 255};
    ASSERT_EQ(S_OK, KwDibPercentileFilter(rowOut.View(), row.View(), 4, 1e30f, 0.5f, 1.0, false, 0.5f));
    ASSERT_EQ(S_OK, KwDibPercentileFilter(columnOut.View(), column.View(), 4, 0.5f, 1e30f, 1.0, false, 0.5f));
    for (LONG x = 0; x < 70000; x += 69999) {
        EXPECT_EQ(3, rowOut.Pixel8(x, 0).g);
        EXPECT_EQ(3, columnOut.Pixel8(0, x).g);
    }
}

// Bands of several levels with none between: specks that lie on the rim of many pixels, over a ground of two levels.
TEST(Median, WalksFromLevelToLevel) {
    CTestPicture specks(70, 48, 4);
    std::minstd_rand random(5);
    constexpr std::uint8_t kSpecks[] = {255, 254, 250, 201, 128, 127, 90, 255};
    for (LONG y = 0; y < 48; ++y)
        for (LONG x = 0; x < 70; ++x) {
            const bool isSpeck = random() % 150 == 0;
            const auto ground = [&](unsigned i) {
                return isSpeck ? kSpecks[random() % 8] : static_cast<std::uint8_t>((x + y) % 2 ? 30 + i : 60 + y);
            };
            specks.Pixel8(x, y) = {ground(0), ground(1), ground(x / 20), ground(20)};
        }
    for (const float offset : {0.0f, 0.499f, 0.5f, 0.998f, 1.0f}) {
        ExpectPlainBytes(Percentile(offset), specks, 9.3f, 9.3f, true);
        ExpectPlainBytes(Percentile(offset), specks, 12.0f, 8.6f, true);
    }
}

// Neighbours that want more levels than are kept at once, and all of them again in the next row.
TEST(Median, CountsLevelsInTurn) {
    CTestPicture tall(40, 700, 4);
    std::minstd_rand random(6);
    for (LONG y = 0; y < 700; ++y)
        for (LONG x = 0; x < 40; ++x)
            tall.Pixel8(x, y) = {static_cast<std::uint8_t>(x * 6 + random() % 7), static_cast<std::uint8_t>(y / 3 + x),
                                 static_cast<std::uint8_t>(random() % 256), 255};
    ExpectPlainBytes(Percentile(0.5f), tall, 0.4f, 620.0f, true);
}

// A channel of one value keeps it where bands are whole, which those at the ends of the percentiles are not.
TEST(Median, KeepsEvenChannels) {
    constexpr struct { LONG width, height; } kSizes[] = {{1, 1}, {1, 4}, {5, 1}, {3, 2}, {40, 9}};
    for (const auto& [width, height] : kSizes) {
        CTestPicture even(width, height, 4);
        even.Fill(4);
        for (LONG y = 0; y < height; ++y)
            for (LONG x = 0; x < width; ++x) even.Pixel8(x, y).g = 201, even.Pixel8(x, y).a = 255;
        CTestPicture last = even, lowest = even;
        last.Pixel8(width - 1, height - 1).a = 254;
        lowest.Pixel8(0, height - 1).g = 1;
        for (const float offset : {-0.25f, 0.0f, 0.04f, 0.5f, 1.0f, 1.0001f, 1.5f})
            for (const bool circular : {false, true})
                for (CTestPicture* picture : {&even, &last, &lowest}) {
                    ExpectPlainBytes(Percentile(offset), *picture, 1.3f, 0.7f, circular);
                    ExpectPlainBytes(Percentile(offset), *picture, 0.2f, 3.1f, circular);
                }
    }
}

TEST(Median, RemovesASpeck) {
    CTestPicture from(9, 9, 4), to(9, 9, 4);
    for (LONG y = 0; y < 9; ++y) std::memset(from.At(0, y), 80, 36);
    CTestPicture flat = from;
    from.Pixel8(4, 4) = {255, 0, 200, 255};
    ASSERT_EQ(S_OK, KwDibPercentileFilter(to.View(), from.View(), 4, 0.9f, 0.9f, 1.0, true, 0.5f));
    EXPECT_TRUE(to == flat);
}

} // namespace
