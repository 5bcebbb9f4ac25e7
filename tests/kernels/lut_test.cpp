#include "kernels/lut.h"

#include "base/arith.h"
#include "digest.h"
#include "kernels/levels.h"
#include "kernels/picture.h"

namespace {

TEST(ApplyLut, NeedsATable) {
    CTestPicture p(2, 2, 4);
    EXPECT_EQ(E_POINTER, KwDibApplyLut(p.View(), 4, nullptr, true, false, false));
    EXPECT_EQ(E_POINTER, KwDibApplyLut({p.At(0, 0), nullptr, 8, nullptr}, 4, p.At(0, 0), true, false, false));
}

// Brightness, bounds and thresholds; and tables that are so but for one entry, which may leave one or not.
TEST(Lut, FindsLevelsThatAreMovedOrSplit) {
    for (const auto [gain, least, most] : {std::array{1, 0, 255}, {1, 20, 235}, {1, 100, 102}, {1000, 0, 255}})
        for (LONG distance = -256; distance <= 256; ++distance) {
            std::uint8_t table[256];
            for (LONG i = 0; i < 256; ++i)
                table[i] = static_cast<std::uint8_t>(KwClamp((i + distance) * gain, least, most));
            ASSERT_TRUE(CKwLut(table).Ramp()) << gain << ' ' << least << ' ' << distance;
            for (const LONG other : {0, 1, distance & 255, 254, 255}) {
                ++table[other];
                const CKwLut lut(table);
                for (LONG i = 0; lut.Ramp() && i < 256; ++i) {
                    ASSERT_EQ(table[i], (*lut.Ramp())(i)) << distance << ' ' << other;
                }
                --table[other];
            }
        }
}

/// What `build` makes of a table for one size of pixels.
template <class Build>
void AddTable(Digest& digest, LONG size, Build&& build) {
    std::vector<std::uint8_t> table(size == 4 ? 256 : 131072, 0x77);
    ASSERT_TRUE(build(table.data(), size));
    digest.add(std::as_bytes(std::span(table)));
}

// Narrow, wide, turned over, beyond the ends, and so far away that the steps leave 32 bits.
TEST(TableBuilders, TablesOfAnyBounds) {
    constexpr LONG kBounds[][2] = {{127, 127}, {0, 256},         {0, 255},         {64, 191},
                                   {63, 191},  {256, 256},       {100, 50},        {-10, 10},
                                   {-9, -3},   {1, 2},           {-20, 250},       {256, -256},
                                   {200, 20},  {-70000, -70001}, {INT32_MIN, 256}, {INT32_MIN, INT32_MIN}};
    for (const auto& form :
         {std::pair("KwBuildStretchTable", &KwBuildStretchTable), {"KwBuildCompressTable", &KwBuildCompressTable}}) {
        Digest digest;
        for (const auto& bounds : kBounds)
            AddTable(digest, 4, [&](void* table, LONG size) { return form.second(table, bounds[0], bounds[1], size); });
        for (const auto& bounds : {std::pair(1000, 60001), {16384, 49152}})
            AddTable(digest, 16,
                     [&](void* table, LONG size) { return form.second(table, bounds.first, bounds.second, size); });
        expectRow("kernels.txt", form.first, digest.text());
    }
    std::uint8_t table[256];
    ASSERT_TRUE(KwBuildStretchTable(table, 64, 191, 4));
    EXPECT_EQ(0, table[64]);
    EXPECT_EQ(2, table[65]); // 255 / 127, truncated
    EXPECT_EQ(255, table[191]);
    ASSERT_TRUE(KwBuildCompressTable(table, 63, 191, 4));
    EXPECT_EQ(63, table[0]);
    EXPECT_EQ(190, table[255]);
}

TEST(TableBuilders, PowersOfZeroAreZero) {
    for (const double gamma : {HUGE_VAL, -HUGE_VAL, -2.0, 0.0, 3.0}) {
        std::uint8_t table[256];
        const tLEVELSPROP record{0, 1, 0, 1, gamma, 4, 0};
        ASSERT_TRUE(KwBuildLevelsTable(table, 4, &record));
        EXPECT_EQ(0, table[0]) << gamma;
    }
}

TEST(TableBuilders, LevelsOfEveryPixelSize) {
    const tLEVELSPROP straight{0.25, 0.75, 0.5, 1, 1, 4, 0}, bent{0.5, 0.5, 0.2, 0.9, 0.45, 4, 0};
    for (const LONG size : {4, 8, 16}) {
        Digest digest;
        std::vector<std::uint16_t> words(65536);
        for (const tLEVELSPROP& r : {straight, bent}) {
            ASSERT_TRUE(KwBuildLevelsTable(words.data(), size, &r));
            digest.add(std::as_bytes(std::span(words)));
        }
        expectRow("kernels.txt", fmt::format("KwBuildLevelsTable {}", size), digest.text());
        EXPECT_FALSE(KwBuildLevelsTable(nullptr, size, &straight));
        EXPECT_FALSE(KwBuildLevelsTable(words.data(), size, nullptr));
    }
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
