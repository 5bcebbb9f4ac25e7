#include "kernels/lut.h"

#include "kernels/picture.h"

namespace {

/// A table without order, so that a wrong part or index shows.
template <class Entry>
std::vector<Entry> Scrambled(unsigned seed, std::size_t count) {
    std::minstd_rand random(seed + 1);
    std::vector<Entry> table(count);
    for (Entry& entry : table) entry = static_cast<Entry>(random() >> 8);
    return table;
}

/// The exact product: no float times 255 or 65535 needs more than 40 of a double's bits.
template <class Entry>
float Reference(const std::vector<Entry>& table, float value) {
    const double top = static_cast<double>(table.size() - 1), at = value * top;
    const std::size_t index = !(at > 0) ? 0 : at >= top ? table.size() - 1 : static_cast<std::size_t>(at);
    return static_cast<float>(table[index]) * (table.size() == 256 ? 0.003921569f : 1.5259022e-5f);
}

template <class Entry>
void CheckFloats(std::size_t count) {
    const auto table = Scrambled<Entry>(4, count), other = Scrambled<Entry>(5, count);
    const float wild[] = {NAN, INFINITY, -INFINITY, 1e30f, -1e30f, 1.0f, 0.0f, -0.0f, 1.0000001f, 0.99999994f, -0.1f};
    for (const bool mapAlpha : {false, true})
        for (const bool limit : {false, true}) {
            CTestPicture p(300, 4, 16);
            p.Fill(6, true);
            for (LONG i = 0; i < 11; ++i) {
                p.PixelF(i, 0) = {wild[i], wild[10 - i], 0.25f, 0.9f};
                p.PixelF(i, 1).a = wild[i];
            }
            for (LONG x = 0; x < 300; ++x) p.PixelF(x, 2).g = static_cast<float>(x) / 255.0f;
            CTestPicture expected = p, each = p, expectedEach = p;
            for (LONG y = 0; y < 4; ++y)
                for (LONG x = 0; x < 300; ++x) {
                    float* const c = &expected.PixelF(x, y).b;
                    if (mapAlpha) c[3] = Reference(table, c[3]);
                    for (int k = 0; k < 3; ++k) {
                        c[k] = Reference(table, c[k]);
                        if (limit && c[k] > c[3]) c[k] = c[3];
                    }
                    tPixelF& e = expectedEach.PixelF(x, y);
                    e = {Reference(other, e.b), e.g, Reference(table, e.r), Reference(other, e.a)};
                }
            const bool is8 = sizeof(Entry) == 1;
            ASSERT_EQ(S_OK, KwDibApplyLut(p.View(), 16, table.data(), is8, mapAlpha, limit));
            ExpectSame(p, expected);
            ASSERT_EQ(S_OK, KwDibApplyLuts(each.View(), 16, table.data(), nullptr, other.data(), other.data(), is8));
            ExpectSame(each, expectedEach);
        }
}

TEST(ApplyLut, FloatsStayInsideTheTable) {
    CheckFloats<std::uint8_t>(256);
    CheckFloats<std::uint16_t>(65536);
}

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
