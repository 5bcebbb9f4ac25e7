#include "generators/character_map.h"

namespace {

constexpr ULONG kFormat4 = 4;
constexpr std::size_t kEndCodes = 14; ///< bytes into the subtable

std::optional<ULONG> Number(std::span<const std::byte> bytes, std::size_t offset, std::size_t size) {
    if (offset > bytes.size() || bytes.size() - offset < size) return std::nullopt;
    ULONG value = 0;
    for (std::size_t i = 0; i < size; ++i) value = value << 8 | std::to_integer<ULONG>(bytes[offset + i]);
    return value;
}

} // namespace

CCharacterMap::CCharacterMap(std::span<const std::byte> table) {
    const ULONG count = Number(table, 2, 2).value_or(0);
    for (ULONG i = 0; i < count; ++i) {
        const std::size_t row = 4 + std::size_t{i} * 8;
        const auto platform = Number(table, row, 2), encoding = Number(table, row + 2, 2);
        const auto offset = Number(table, row + 4, 4);
        if (!offset) return;
        const bool isUnicode = *platform == 0 || (*platform == 3 && *encoding == 1);
        if (!isUnicode || Number(table, *offset, 2) != kFormat4) continue;
        m_map = table.subspan(*offset);
        m_segments = Word(6).value_or(0) / 2;
        return;
    }
}

std::optional<ULONG> CCharacterMap::Word(std::size_t offset) const {
    return Number(m_map, offset, 2);
}

ULONG CCharacterMap::GlyphOf(char16_t character) const {
    const std::size_t startCodes = kEndCodes + m_segments * 2 + 2, deltas = startCodes + m_segments * 2,
                      offsets = deltas + m_segments * 2;
    for (std::size_t i = 0; i < m_segments; ++i) {
        const auto end = Word(kEndCodes + i * 2);
        if (!end) return 0;
        if (*end < character) continue;
        const auto start = Word(startCodes + i * 2), delta = Word(deltas + i * 2), range = Word(offsets + i * 2);
        if (!start || !delta || !range || *start > character) return 0;
        if (*range == 0) return (*delta + character) & 0xFFFF;
        // The offset counts from where it stands itself.
        const ULONG glyph = Word(offsets + i * 2 + *range + (character - *start) * 2u).value_or(0);
        return glyph ? (*delta + glyph) & 0xFFFF : 0;
    }
    return 0;
}
