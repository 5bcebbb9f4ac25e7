// Characters to glyphs by a font's own table.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "platform/types.h"

/// The segments of a "cmap" table's Unicode map for the basic plane (format 4, OpenType).
class CCharacterMap {
  public:
    CCharacterMap() = default;
    /// The table stays the caller's; its numbers may be wild.
    explicit CCharacterMap(std::span<const std::byte> table);

    /// False where the table has no such map.
    bool Exists() const { return m_segments > 0; }
    /// The glyph of a character; 0 where the font has none.
    ULONG GlyphOf(char16_t character) const;

  private:
    /// A 16-bit number of the map; nothing behind its end.
    std::optional<ULONG> Word(std::size_t offset) const;

    std::span<const std::byte> m_map; ///< the subtable and what follows it
    std::size_t m_segments = 0;
};
