#include "pages/dialog_size.h"

#include <gtest/gtest.h>

namespace {

TEST(DialogSize, MulDivRoundsHalvesAwayFromZero) {
    constexpr struct {
        LONG a, b, c, result;
    } rows[] = {
        {7, 1, 2, 4},
        {-7, 1, 2, -4},
        {7, -1, 2, -4},
        {7, 1, -2, -4},
        {-7, 1, -2, 4},
        {5, 1, 4, 1},
        {6, 1, 4, 2},
        {239, 6, 4, 359},
        {INT32_MAX, 2, 4, 1 << 30},
        {1, 1, 0, -1},
        {INT32_MAX, 2, 1, -1},
        {INT32_MIN, INT32_MIN, 1, -1},
        {INT32_MIN, 1, INT32_MIN, 1},
    };
    for (const auto& row : rows)
        EXPECT_EQ(MulDiv(row.a, row.b, row.c), row.result) << row.a << " " << row.b << " " << row.c;
}

TEST(DialogSize, FollowsTheFont) {
    constexpr SIZE page{220, 41};
    const auto is = [](SIZE got, LONG width, LONG height) { return got.cx == width && got.cy == height; };
    // Without a font: characters of 8 by 16 pixels.
    EXPECT_TRUE(is(GetDialogSize(page, nullptr), 440, 82));
    // 52 letters of 6 pixels, within half a pixel a letter.
    for (const LONG alphabet : {286, 312, 337}) {
        const tFontMeasure font{alphabet, 13};
        EXPECT_TRUE(is(GetDialogSize(page, &font), 330, 67)) << alphabet;
    }
    const tFontMeasure wider{338, 13}, sheet{364, 16};
    EXPECT_TRUE(is(GetDialogSize(page, &wider), 385, 67));
    // In a sheet with a font of its own: its width, and its height scaled back to the page's.
    EXPECT_TRUE(is(GetDialogSize(page, &wider, &sheet), 385, 67));
    const tFontMeasure small{260, 8};
    EXPECT_TRUE(is(GetDialogSize(page, &small, &sheet), 385, 41));
}

} // namespace
