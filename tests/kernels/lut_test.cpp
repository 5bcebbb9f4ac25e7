#include "kernels/lut.h"

#include "kernels/picture.h"

namespace {

TEST(ApplyLut, NeedsATable) {
    CTestPicture p(2, 2, 4);
    EXPECT_EQ(E_POINTER, KwDibApplyLut(p.View(), 4, nullptr, true, false, false));
    EXPECT_EQ(E_POINTER, KwDibApplyLut({p.At(0, 0), nullptr, 8, nullptr}, 4, p.At(0, 0), true, false, false));
}

TEST(StretchTable, RampsBetweenTheBounds) {
    struct {
        LONG low, high;
    } const cases[] = {{127, 127},
                       {0, 256},
                       {0, 255},
                       {64, 191},
                       {256, 256},
                       {100, 50},
                       {-10, 10},
                       {-9, -3},
                       {1, 2},
                       {INT32_MIN, 256},
                       {INT32_MIN, INT32_MIN}};
    for (const auto& c : cases) {
        std::vector<std::uint8_t> table(256, 0x77);
        ASSERT_TRUE(KwBuildStretchTable(table.data(), c.low, c.high));
        const std::int64_t high = std::max(c.low, c.high), low = c.low;
        for (std::int64_t i = 0; i < 256; ++i)
            ASSERT_EQ(i < low     ? 0
                      : i >= high ? 255
                                  : (i - low) * 255 / (high - low),
                      table[static_cast<std::size_t>(i)]);
    }
}

TEST(CompressTable, WalksInFixedPointAndKeepsLowBits) {
    struct {
        LONG low, high;
    } const cases[] = {{127, 127},      {63, 191},   {0, 256},         {200, 20},
                       {-20, 300 - 50}, {256, -256}, {INT32_MIN, 256}, {-70000, -70001}};
    for (const auto& c : cases) {
        std::vector<std::uint8_t> table(256, 0x77);
        ASSERT_TRUE(KwBuildCompressTable(table.data(), c.low, c.high));
        const double slope = (static_cast<double>(c.high) - c.low) * 64.0;
        const std::int32_t step = slope > 2147483647.0 ? INT32_MIN : static_cast<std::int32_t>(slope);
        std::uint32_t sum = static_cast<std::uint32_t>(c.low) * 16384u;
        for (std::size_t i = 0; i < 256; ++i, sum += static_cast<std::uint32_t>(step))
            ASSERT_EQ(static_cast<std::uint8_t>(static_cast<std::int32_t>(sum) / 16384), table[i]) << c.low << " " << i;
    }
}

TEST(TableBuilders, RefusedTablesAreAllZero) {
    for (const auto build : {KwBuildStretchTable, KwBuildCompressTable}) {
        std::vector<std::uint8_t> table(256);
        for (const auto& [low, high] : {std::pair{257, 0}, {0, 257}, {INT32_MAX, INT32_MAX}}) {
            std::ranges::fill(table, 0x77);
            EXPECT_FALSE(build(table.data(), low, high));
            EXPECT_EQ(std::vector<std::uint8_t>(256), table);
        }
        EXPECT_TRUE(build(table.data(), 256, 256));
    }
}

} // namespace
