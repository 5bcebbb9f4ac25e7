#include "kernels/median.h"

#include <array>

#include "kernels/area_reference.h"

namespace {

std::uint8_t BandMean(const std::array<std::int64_t, 256>& bins, std::int64_t q) {
    std::int64_t total = 0;
    for (const std::int64_t w : bins) total += w;
    const __int128 center = static_cast<__int128>(total - 8192) * q >> 14;
    const __int128 low = center - 8192, high = center + 8192;
    __int128 below = 0, m = 0;
    for (int bin = 0; bin < 256 && below < high; ++bin) {
        const __int128 overlap = std::min(below + bins[static_cast<std::size_t>(bin)], high) - std::max(below, low);
        if (overlap > 0) m += overlap * bin;
        below += bins[static_cast<std::size_t>(bin)];
    }
    return static_cast<std::uint8_t>((m + 8192) / 16384);
}

void Reference(CTestPicture& to, CTestPicture& from, float rx, float ry, bool circular, float offset) {
    const CReferenceArea area(from, rx, ry, circular);
    const double scaled = offset * 16384.0;
    const std::int64_t q =
        scaled > -2147483649.0 && scaled < 2147483648.0 ? static_cast<std::int64_t>(scaled) : std::int64_t{INT32_MIN};
    for (LONG y = 0; y < from.Height(); ++y)
        for (LONG x = 0; x < from.Width(); ++x) {
            std::array<std::array<std::int64_t, 256>, 4> bins{};
            ForEachCell(from, area, x, y, [&](const std::uint8_t* pixel, float weight) {
                for (std::size_t c = 0; c < 4; ++c) bins[c][pixel[c]] += static_cast<std::int64_t>(weight * 16384.0);
            });
            for (std::size_t c = 0; c < 4; ++c) to.At(x, y)[c] = BandMean(bins[c], q);
        }
}

void Compare(CTestPicture& from, float rx, float ry, bool circular, float offset) {
    CTestPicture actual(from.Width(), from.Height(), 4), expected(from.Width(), from.Height(), 4);
    actual.Fill(99);
    Reference(expected, from, rx, ry, circular, offset);
    ASSERT_EQ(S_OK, KwDibPercentileFilter(actual.View(), from.View(), 4, rx, ry, 1.0, circular, offset));
    SCOPED_TRACE(testing::Message() << from.Width() << "x" << from.Height() << " radius " << rx << ", " << ry
                                    << (circular ? " ellipse" : " rectangle") << " offset " << offset);
    ExpectSame(actual, expected);
}

TEST(Median, IsDirectWeightedCounting) {
    for (const auto& [width, height] : kSizes) {
        CTestPicture noise(width, height, 4), smooth(width, height, 4);
        noise.Fill(3, true);
        FillSmooth(smooth, 4);
        for (const auto& [rx, ry] : kRadii)
            for (const bool circular : {false, true})
                for (const float offset : {0.5f, 0.13f, 1.0f}) {
                    Compare(noise, rx, ry, circular, offset);
                    Compare(smooth, rx, ry, circular, offset);
                    if (HasFailure()) return;
                }
    }
}

TEST(Median, TakesAnyOffset) {
    CTestPicture picture(13, 7, 4);
    picture.Fill(5, true);
    for (const float offset :
         {0.0f, 1e-5f, 0.01f, 0.25f, 0.999f, 1.001f, 1.2f, 7.0f, -0.01f, -0.3f, -5.0f, 1e30f, -1e30f, INFINITY, NAN})
        for (const bool circular : {false, true}) {
            Compare(picture, 1.4f, 2.3f, circular, offset);
            Compare(picture, -1.2f, 2.3f, circular, offset);
        }
}

// Wide rows go in strips, high areas need wider counts, and large ones wider totals.
TEST(Median, IsTheSameInEveryForm) {
    CTestPicture wide(1500, 3, 4), high(3, 700, 4), column(1, 70000, 4);
    Compare(wide.Fill(1), 3.7f, 1.2f, false, 0.5f);
    Compare(wide, 700.3f, 0.2f, false, 0.5f);
    Compare(high.Fill(2), 1.1f, 150.4f, false, 0.3f);
    Compare(high, 0.1f, 127.5f, true, 0.3f);

    // Flat pictures stay as they are: known without a direct count of billions of cells.
    for (const bool circular : {false, true}) {
        CTestPicture flat(circular ? 200 : 400, circular ? 180 : 380, 4), out(flat.Width(), flat.Height(), 4);
        for (LONG y = 0; y < flat.Height(); ++y)
            std::memset(flat.At(0, y), 40, static_cast<std::size_t>(flat.Width()) * 4);
        ASSERT_EQ(S_OK, KwDibPercentileFilter(out.View(), flat.View(), 4, 300.5f, 310.5f, 1.0, circular, 0.5f));
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

TEST(Median, DividesTheHorizontalRadiusByThePixelAspect) {
    CTestPicture from(19, 11, 4), actual(19, 11, 4), expected(19, 11, 4);
    from.Fill(8);
    for (const auto& [aspect, rx] : {std::pair{1.0667, 4.1f}, {0.5, 1.2f}, {0.0, 1.0f}, {-1.0, 3.0f}}) {
        Reference(expected, from, static_cast<float>(rx / aspect), 1.7f, false, 0.5f);
        ASSERT_EQ(S_OK, KwDibPercentileFilter(actual.View(), from.View(), 4, rx, 1.7f, aspect, false, 0.5f));
        ExpectSame(actual, expected);
    }
}

TEST(Median, CountsNothingOutsideTheClip) {
    CTestPicture from(20, 12, 4), actual(20, 12, 4), part(9, 7, 4), expected(9, 7, 4);
    from.Fill(6, true);
    const RECT sourceClip{5, 3, 14, 10}, destinationClip{1, 2, 10, 9};
    for (LONG y = 0; y < 7; ++y) std::memcpy(part.At(0, y), from.At(5, 3 + y), 9 * 4);
    Reference(expected, part, 2.6f, 1.5f, true, 0.5f);
    ASSERT_EQ(S_OK, KwDibPercentileFilter(actual.View(&destinationClip), from.View(&sourceClip), 4, 2.6f, 1.5f, 1.0,
                                          true, 0.5f));
    for (LONG y = 0; y < 12; ++y)
        for (LONG x = 0; x < 20; ++x) {
            const bool inside = x >= 1 && x < 10 && y >= 2 && y < 9;
            const std::uint8_t zero[4] = {};
            ASSERT_EQ(0, std::memcmp(actual.At(x, y), inside ? expected.At(x - 1, y - 2) : zero, 4)) << x << ", " << y;
        }
}

TEST(Median, LeavesFloatPicturesUntouched) {
    CTestPicture from(5, 4, 16), to(5, 4, 16);
    from.Fill(1);
    to.Fill(2);
    CTestPicture before = to;
    EXPECT_EQ(S_OK, KwDibPercentileFilter(to.View(), from.View(), 16, 1.0f, 1.0f, 1.0, false, 0.5f));
    ExpectSame(to, before);
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
