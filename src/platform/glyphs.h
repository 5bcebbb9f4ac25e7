// Glyphs as grey levels. All measures are whole pixels; y runs upwards from the baseline in metrics.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/font.h"

struct tFontMetrics {
    LONG height; ///< from the highest ascent to the lowest descent
    LONG externalLeading;
    LONG averageCharWidth;
};

struct tGlyph {
    LONG boxWidth, boxHeight;            ///< both 0 for a glyph without ink
    LONG originX, originY;               ///< top left of the box from the pen
    LONG cellIncrementX, cellIncrementY; ///< to the next pen position
    /// Levels 0 to 64, row by row from the top left of the box. An empty pixel on each of its sides can be read too.
    const std::uint8_t* coverage;
    LONG stride; ///< bytes from a row to the next
};

/// A face at one size. Outlines are not hinted, so advances are those of the design, rounded. Glyphs are kept, so
/// asking again is quick. One thread at a time.
class CGlyphFont {
  public:
    /// The face that fits the description best. A family that is not installed is replaced, by one of the same metrics
    /// where there is one; other replacements are told on standard error, once for each family. Null where nothing can
    /// be found at all. Glyphs are stretched by the factors, 65536 for none; what becomes larger than can sensibly be
    /// drawn has no glyph.
    static std::unique_ptr<CGlyphFont> Open(const tLOGFONT& font, LONG scaleX = 65536, LONG scaleY = 65536);
    virtual ~CGlyphFont() = default;

    virtual const tFontMetrics& Metrics() const = 0;
    /// The "cmap" table of the font's file, or nothing.
    virtual std::span<const std::byte> CharacterMap() const = 0;
    /// The rasteriser's own look-up, for any Unicode character; 0 for none.
    virtual ULONG IndexOf(char32_t character) const = 0;
    /// Null where the glyph cannot be had. Valid until the next call, whose pixels may take the place.
    virtual const tGlyph* Glyph(ULONG index) = 0;
};

/// Families of the TrueType faces that are installed, each once, in no order.
std::vector<std::string> KwFontFamilies();
