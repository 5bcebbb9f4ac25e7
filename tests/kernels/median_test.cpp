#include "kernels/median.h"

#include "kernels/area_reference.h"

namespace {

void Compare(CTestPicture& from, float rx, float ry, bool circular, float offset) {
    SCOPED_TRACE(testing::Message() << from.Width() << "x" << from.Height() << " radius " << rx << ", " << ry
                                    << (circular ? " ellipse" : " rectangle") << " offset " << offset);
    ExpectPlainBytes(from, [&](const tView& to) {
        return KwDibPercentileFilter(to, from.View(), 4, rx, ry, 1.0, circular, offset);
    });
}

TEST(Median, CountsLikeThePlainBody) {
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

// Wide rows go in strips, high areas need wider counts, and large ones wider totals.
TEST(Median, IsTheSameInEveryForm) {
    CTestPicture wide(1500, 3, 4), high(3, 700, 4), column(1, 70000, 4), byte(3, 256, 4);
    Compare(wide.Fill(1), 3.7f, 1.2f, false, 0.5f);
    Compare(wide, 700.3f, 0.2f, false, 0.5f);
    Compare(high.Fill(2), 1.1f, 150.4f, false, 0.3f);
    Compare(high, 0.1f, 127.5f, true, 0.3f);
    for (LONG y = 0; y < 256; ++y) std::memset(byte.At(0, y), 40, 12);
    Compare(byte, 0.1f, 150.4f, false, 0.3f); // 256 equal samples in a column

    // Flat pictures stay as they are: known without a direct count of billions of cells.
    constexpr struct {
        LONG width, height;
        bool circular;
    } kFlat[] = {{258, 255, false}, {400, 380, false}, {200, 180, true}};
    for (const auto& [width, height, circular] : kFlat) {
        CTestPicture flat(width, height, 4), out(width, height, 4);
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
        const float divided = static_cast<float>(rx / aspect);
        ASSERT_EQ(S_OK, KwDibPercentileFilter(expected.View(), from.View(), 4, divided, 1.7f, 1.0, false, 0.5f));
        ASSERT_EQ(S_OK, KwDibPercentileFilter(actual.View(), from.View(), 4, rx, 1.7f, aspect, false, 0.5f));
        ExpectSame(actual, expected);
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
