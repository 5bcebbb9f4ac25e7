#include "generators/text_layout.h"

#include <cmath>

#include "base/arith.h"
#include "kernels/copy.h"
#include "kernels/glyph_blend.h"

namespace {

constexpr char32_t kTab = 9, kLineFeed = 10, kReturn = 13, kSpace = 32;
constexpr int kTabSpaces = 8;
constexpr std::size_t kMostIndices = 65536; ///< characters whose glyph is remembered

std::uint8_t ByteOf(float value) {
    return value > 0.0f ? static_cast<std::uint8_t>(KwTrunc(std::min(value, 255.0f))) : std::uint8_t{0};
}

tPixel8 Premultiplied(const float (&color)[4]) {
    const auto channel = [&](int c) { return ByteOf(color[c] * color[3] * 255.0f); };
    return {channel(0), channel(1), channel(2), ByteOf(color[3] * 255.0f)};
}

/// One pass over one text.
class CTextPass {
  public:
    CTextPass(const tRows& picture, const tTEXTPROP& params, std::u16string_view text, CTextFont& font)
        : m_picture(picture), m_params(params), m_text(text), m_font(font),
          m_colors(Premultiplied(params.back), Premultiplied(params.fore)),
          m_height(std::fabs(static_cast<float>(params.font.lfHeight))),
          m_pitch((m_height + static_cast<float>(font.Metrics().externalLeading)) * params.leading) {
        if (const tGlyph* const glyph = font.GlyphOf(kSpace))
            m_space = *glyph;
        else
            m_space = {.cellIncrementX = font.Metrics().averageCharWidth, .cellIncrementY = font.Metrics().height};
    }

    void Draw() {
        Measure();
        const float top = Top();
        const float reach = static_cast<float>(m_font.Metrics().height), bottom = static_cast<float>(m_picture.height);
        const auto down = [&](LONG increment) { return static_cast<float>(increment) * m_params.leading; };
        float penX = 0.0f, penY = m_height, origin = 0.0f;
        std::size_t measured = 0;
        for (std::size_t i = 0; i < m_text.size();) {
            if (m_text[i] == kReturn) {
                i = BehindBreak(i);
                penY += m_pitch;
                penX = 0.0f;
                continue;
            }
            if (i >= measured) origin = MeasureLine(i, measured);
            const char32_t character = Next(i);
            const tGlyph* const glyph = GlyphOf(character);
            if (character == kTab) {
                penX += Tracked(m_space.cellIncrementX) * kTabSpaces;
                penY += kTabSpaces * down(m_space.cellIncrementY);
                continue;
            }
            const tGlyph& shape = character == kSpace || !glyph ? m_space : *glyph;
            const bool isOnFrame = top + reach + penY >= 0.0f && top + penY - reach <= bottom;
            if (isOnFrame && &shape != &m_space && shape.coverage)
                DrawGlyph(shape, static_cast<float>(shape.originX) + origin + penX,
                          penY - static_cast<float>(shape.originY) + top);
            penX += Tracked(shape.cellIncrementX);
            penY += down(shape.cellIncrementY);
        }
    }

    DWORD Ground() const { return m_colors.levels[0] ^ m_colors.flip; }

  private:
    /// The character at `i`, which moves behind it. Half of a pair alone stands for itself.
    char32_t Next(std::size_t& i) const {
        const char16_t unit = m_text[i++];
        if ((unit & 0xFC00) != 0xD800 || i == m_text.size() || (m_text[i] & 0xFC00) != 0xDC00) return unit;
        return 0x10000 + ((unit & 0x3FFu) << 10 | (m_text[i++] & 0x3FFu));
    }

    std::size_t BehindBreak(std::size_t i) const {
        return i + 1 < m_text.size() && m_text[i + 1] == kLineFeed ? i + 2 : i + 1;
    }

    const tGlyph* GlyphOf(char32_t character) { return m_font.GlyphOf(character); }

    /// The advance of a raw one under the tracking.
    float Tracked(LONG raw) const {
        const auto scaled = [&](LONG value) { return static_cast<float>(double{m_params.tracking} * value); };
        return TrackedAdvance(m_params.tracking, scaled(raw), scaled(m_widest));
    }

    void Measure() {
        for (std::size_t i = 0; i < m_text.size();) {
            if (m_text[i] == kReturn) {
                i = BehindBreak(i);
                ++m_breaks;
                continue;
            }
            const tGlyph* const glyph = GlyphOf(Next(i));
            m_widest = std::max(m_widest, glyph ? glyph->boxWidth : m_space.boxWidth);
            m_tallest = std::max(m_tallest, glyph ? glyph->boxHeight : m_space.boxHeight);
        }
    }

    float Top() const {
        const float height = static_cast<float>(m_picture.height), tallest = static_cast<float>(m_tallest);
        const float breaks = static_cast<float>(m_breaks) * m_pitch;
        if (m_params.vertical == 1) return height * 0.5f - (tallest + breaks) * 0.5f - (m_height - tallest);
        if (m_params.vertical == 2) return height - breaks - m_height;
        return -(m_height - tallest);
    }

    /// Where the line that begins at `i` starts; `end` becomes the place behind it.
    float MeasureLine(std::size_t i, std::size_t& end) {
        float width = 0.0f, lastTracked = 0.0f;
        LONG lastRaw = 0;
        while (i < m_text.size() && m_text[i] != kReturn) {
            const char32_t character = Next(i);
            const tGlyph* const glyph = GlyphOf(character);
            if (character == kTab) {
                lastRaw = m_space.cellIncrementX * kTabSpaces;
                lastTracked = Tracked(m_space.cellIncrementX) * kTabSpaces;
            } else {
                lastRaw = glyph ? glyph->cellIncrementX : m_space.cellIncrementX;
                lastTracked = Tracked(lastRaw);
            }
            width += lastTracked;
        }
        end = i < m_text.size() ? BehindBreak(i) : i;
        const float raw = static_cast<float>(lastRaw);
        // Without the tracking of the last character, so that the ink is what is aligned.
        if (m_params.horizontal == 1)
            return static_cast<float>(m_picture.width / 2) - (width - (lastTracked - raw)) * 0.5f;
        if (m_params.horizontal == 2) return (static_cast<float>(m_picture.width) - raw) - (width - Tracked(lastRaw));
        return 0.0f;
    }

    void DrawGlyph(const tGlyph& glyph, float x, float y) const {
        const bool reaches = x + static_cast<float>(glyph.boxWidth) >= 0.0f && x <= static_cast<float>(m_picture.width);
        if (!reaches || !std::isfinite(y)) return;
        KwDrawGlyph(m_picture, {glyph.coverage, glyph.stride, glyph.boxWidth, glyph.boxHeight}, x, y, m_colors);
    }

    const tRows& m_picture;
    const tTEXTPROP& m_params;
    const std::u16string_view m_text;
    CTextFont& m_font;
    const tGlyphColors m_colors;
    const float m_height, m_pitch; ///< of the font as asked for, and from line to line
    tGlyph m_space{};
    LONG m_widest = 0, m_tallest = 0; ///< boxes of the glyphs
    std::int64_t m_breaks = 0;
};

} // namespace

float TrackedAdvance(float tracking, float natural, float fixed) {
    if (tracking < 1.0f) return natural;
    if (tracking > 2.0f) return fixed;
    return (fixed - natural) * (tracking - 1.0f) + natural;
}

CTextFont::CTextFont(const tLOGFONT& font) : m_description(font), m_font(CGlyphFont::Open(font)) {
    if (!m_font) return;
    m_map = CCharacterMap(m_font->CharacterMap());
    m_metrics = m_font->Metrics();
}

ULONG CTextFont::IndexOf(char32_t character) const {
    return character <= 0xFFFF && m_map.Exists() ? m_map.GlyphOf(static_cast<char16_t>(character))
                                                 : m_font->IndexOf(character);
}

const tGlyph* CTextFont::GlyphOf(char32_t character) {
    if (!m_font) return nullptr;
    if (m_indices.size() > kMostIndices) m_indices.clear();
    const auto [row, isNew] = m_indices.try_emplace(character, 0);
    if (isNew) row->second = IndexOf(character);
    return row->second ? m_font->Glyph(row->second) : nullptr;
}

void RenderText(const tRows& picture, const tTEXTPROP& params, std::u16string_view text, CTextFont& font) {
    CTextPass pass(picture, params, text.substr(0, text.find(u'\0')), font);
    for (LONG y = 0; y < picture.height; ++y)
        KwSetMemoryDWords(picture.Row<DWORD>(y), pass.Ground(), static_cast<ULONG>(picture.width));
    pass.Draw();
}
