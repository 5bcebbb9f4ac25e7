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
        ASSERT_TRUE(KwBuildStretchTable(table.data(), c.low, c.high, 4));
        const std::int64_t high = std::max(c.low, c.high), low = c.low;
        for (std::int64_t i = 0; i < 256; ++i)
            ASSERT_EQ(i < low     ? 0
                      : i >= high ? 255
                                  : (i - low) * 255 / (high - low),
                      table[static_cast<std::size_t>(i)]);
    }
    std::vector<std::uint16_t> wide(65536, 0x7777);
    ASSERT_TRUE(KwBuildStretchTable(wide.data(), 1000, 60001, 16));
    for (int i = 0; i < 65536; ++i)
        ASSERT_EQ(i < 1000     ? 0
                  : i >= 60001 ? 65535
                               : static_cast<int>((i - 1000) * 65535.0 / 59001),
                  wide[static_cast<std::size_t>(i)]);
}

TEST(CompressTable, WalksInFixedPointAndKeepsLowBits) {
    struct {
        LONG low, high;
    } const cases[] = {{127, 127},      {63, 191},   {0, 256},         {200, 20},
                       {-20, 300 - 50}, {256, -256}, {INT32_MIN, 256}, {-70000, -70001}};
    for (const auto& c : cases) {
        std::vector<std::uint8_t> table(256, 0x77);
        ASSERT_TRUE(KwBuildCompressTable(table.data(), c.low, c.high, 4));
        const double slope = (static_cast<double>(c.high) - c.low) * 64.0;
        const std::int32_t step = slope > 2147483647.0 ? INT32_MIN : static_cast<std::int32_t>(slope);
        std::uint32_t sum = static_cast<std::uint32_t>(c.low) * 16384u;
        for (std::size_t i = 0; i < 256; ++i, sum += static_cast<std::uint32_t>(step))
            ASSERT_EQ(static_cast<std::uint8_t>(static_cast<std::int32_t>(sum) / 16384), table[i]) << c.low << " " << i;
    }
    std::vector<std::uint8_t> flat(256);
    ASSERT_TRUE(KwBuildCompressTable(flat.data(), 63, 191, 4));
    EXPECT_EQ(63, flat[0]);
    EXPECT_EQ(190, flat[255]);
    std::vector<std::uint16_t> wide(65536);
    ASSERT_TRUE(KwBuildCompressTable(wide.data(), 16384, 49152, 16));
    EXPECT_EQ(16384, wide[0]);
    EXPECT_EQ(32768, wide[32768]);
}

TEST(TableBuilders, RefusedTablesAreAllZero) {
    using tBuilder = bool (*)(void*, LONG, LONG, LONG);
    for (const tBuilder build : {tBuilder{KwBuildStretchTable}, tBuilder{KwBuildCompressTable}})
        for (const LONG size : {4, 16}) {
            const LONG over = size == 4 ? 257 : 65537;
            for (const RECT bounds : {RECT{over, 0, 0, 0}, RECT{0, over, 0, 0}, RECT{INT32_MAX, INT32_MAX, 0, 0}}) {
                std::vector<std::uint8_t> table(size == 4 ? 256 : 131072, 0x77);
                EXPECT_FALSE(build(table.data(), bounds.left, bounds.top, size));
                EXPECT_EQ(std::vector<std::uint8_t>(table.size()), table);
            }
            std::vector<std::uint8_t> table(size == 4 ? 256 : 131072);
            EXPECT_TRUE(build(table.data(), over - 1, over - 1, size));
            EXPECT_FALSE(build(nullptr, 0, 1, size));
        }
}

} // namespace
