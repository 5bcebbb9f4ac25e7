// Text laid out and drawn, in single floats, at places between pixels.
#pragma once

#include <memory>
#include <string_view>
#include <unordered_map>

#include "generators/character_map.h"
#include "generators/text.h"
#include "kernels/view.h"
#include "platform/glyphs.h"

/// A face as the layout asks for it, with everything kept between frames. One thread at a time.
class CTextFont {
  public:
    explicit CTextFont(const tLOGFONT& font);

    const tLOGFONT& Description() const { return m_description; }
    /// False where no face can be had at all; there are then no glyphs.
    bool Exists() const { return m_font != nullptr; }
    const tFontMetrics& Metrics() const { return m_metrics; }
    /// Null for a character that the face does not have. Valid until the next call.
    const tGlyph* GlyphOf(char32_t character);

  private:
    ULONG IndexOf(char32_t character) const;

    tLOGFONT m_description;
    std::unique_ptr<CGlyphFont> m_font;
    CCharacterMap m_map;
    tFontMetrics m_metrics{};
    std::unordered_map<char32_t, ULONG> m_indices;
};

/// Fills the picture (rows from the top, premultiplied) with the background of `params` and draws `text` on it; the
/// text ends at its first zero. A carriage return, with or without a line feed, breaks the line; nothing else does. A
/// tab is eight spaces wide; what the font lacks is as wide as a space. May throw std::bad_alloc.
void RenderText(const tRows& picture, const tTEXTPROP& params, std::u16string_view text, CTextFont& font);

/// `natural` for a tracking below 1, `fixed` above 2, and in between the way from one to the other.
float TrackedAdvance(float tracking, float natural, float fixed);
