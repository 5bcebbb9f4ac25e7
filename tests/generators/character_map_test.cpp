#include "generators/character_map.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

struct tTable {
    std::vector<std::byte> bytes;
    tTable& operator<<(unsigned value) {
        bytes.push_back(std::byte(value >> 8 & 255));
        bytes.push_back(std::byte(value & 255));
        return *this;
    }
};

/// Segments: 0x20 to 0x22 by delta, 0x41 to 0x43 by glyph array, and the last one.
std::vector<std::byte> Example(unsigned platform, unsigned encoding) {
    tTable t;
    t << 0 << 1 << platform << encoding << 0 << 12;
    t << 4 << 48 << 0 << 6 << 0 << 0 << 0;
    t << 0x22 << 0x43 << 0xFFFF << 0;
    t << 0x20 << 0x41 << 0xFFFF;
    t << 0xFFE3 << 5 << 1; // 0x20 becomes 3
    t << 0 << 4 << 0;      // the array stands two words behind
    t << 10 << 0 << 12;
    return t.bytes;
}

TEST(CharacterMap, WalksTheSegments) {
    const auto table = Example(3, 1);
    const CCharacterMap map{table};
    ASSERT_TRUE(map.Exists());
    EXPECT_EQ(3u, map.GlyphOf(0x20));
    EXPECT_EQ(5u, map.GlyphOf(0x22));
    EXPECT_EQ(0u, map.GlyphOf(0x23)) << "between segments";
    EXPECT_EQ(15u, map.GlyphOf(0x41));
    EXPECT_EQ(0u, map.GlyphOf(0x42)) << "0 in the array";
    EXPECT_EQ(17u, map.GlyphOf(0x43));
    EXPECT_EQ(0u, map.GlyphOf(0xFFFF)) << "delta brings it to 0";
    EXPECT_TRUE(CCharacterMap(Example(0, 3)).Exists());
    EXPECT_FALSE(CCharacterMap(Example(3, 0)).Exists());
    EXPECT_FALSE(CCharacterMap().Exists());
}

TEST(CharacterMap, StaysInsideADamagedTable) {
    const auto table = Example(3, 1);
    for (std::size_t size = 0; size < table.size(); ++size)
        for (std::size_t at = 0; at < size; ++at) {
            std::vector<std::byte> cut(table.begin(), table.begin() + static_cast<std::ptrdiff_t>(size));
            cut[at] = std::byte{0xFF};
            const CCharacterMap map{cut};
            for (const char16_t c : {u'\x20', u'\x41', u'\x43', u'\xFFFF'}) EXPECT_LE(map.GlyphOf(c), 0xFFFFu);
        }
}

} // namespace
