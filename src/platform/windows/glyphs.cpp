// Outlines and faces by the system.
#include "platform/glyphs.h"

#include <cstring>
#include <unordered_map>

#include "platform/windows/system.h"

namespace {

constexpr std::size_t kMostPixels = 64u << 20; ///< of all glyphs that are kept

class CWindowsFont final : public CGlyphFont {
  public:
    explicit CWindowsFont(std::unique_ptr<CSystemFont> font)
        : m_font(std::move(font)), m_metrics{m_font->height, m_font->externalLeading, m_font->averageWidth},
          m_characterMap(m_font->Table("cmap")) {}

    const tFontMetrics& Metrics() const override { return m_metrics; }
    std::span<const std::byte> CharacterMap() const override { return m_characterMap; }
    ULONG IndexOf(char32_t character) const override { return m_font->IndexOf(character); }

    const tGlyph* Glyph(ULONG index) override {
        if (const auto kept = m_glyphs.find(index); kept != m_glyphs.end())
            return kept->second.exists ? &kept->second.glyph : nullptr;
        if (m_pixels > kMostPixels) {
            m_glyphs.clear();
            m_pixels = 0;
        }
        tKept made;
        tSystemGlyph drawn;
        made.exists = m_font->Draw(index, drawn);
        if (made.exists) {
            // An empty pixel on each side.
            const auto width = static_cast<std::size_t>(drawn.width), stride = width + 2;
            made.pixels.resize(stride * (static_cast<std::size_t>(drawn.height) + 2));
            for (std::size_t y = 0; y < static_cast<std::size_t>(drawn.height); ++y)
                std::memcpy(made.pixels.data() + (y + 1) * stride + 1,
                            drawn.coverage.data() + y * static_cast<std::size_t>(drawn.stride), width);
            made.glyph = {.boxWidth = drawn.width,
                          .boxHeight = drawn.height,
                          .originX = drawn.originX,
                          .originY = drawn.originY,
                          .cellIncrementX = drawn.advance,
                          .cellIncrementY = 0,
                          .coverage = made.pixels.data() + stride + 1,
                          .stride = static_cast<LONG>(stride)};
            m_pixels += made.pixels.size();
        }
        const tKept& kept = m_glyphs.insert_or_assign(index, std::move(made)).first->second;
        return kept.exists ? &kept.glyph : nullptr;
    }

  private:
    struct tKept {
        bool exists = false;
        tGlyph glyph{};
        std::vector<std::uint8_t> pixels;
    };

    std::unique_ptr<CSystemFont> m_font;
    tFontMetrics m_metrics;
    std::vector<std::byte> m_characterMap;
    std::unordered_map<ULONG, tKept> m_glyphs;
    std::size_t m_pixels = 0;
};

} // namespace

std::unique_ptr<CGlyphFont> CGlyphFont::Open(const tLOGFONT& font, LONG scaleX, LONG scaleY) {
    const std::string family(font.lfFaceName, strnlen(font.lfFaceName, sizeof font.lfFaceName));
    auto opened = CSystemFont::Open(family, font.lfHeight, font.lfWeight, font.lfItalic != 0, scaleX, scaleY);
    if (!opened) return nullptr;
    return std::make_unique<CWindowsFont>(std::move(opened));
}

std::vector<std::string> KwFontFamilies() {
    return KwAskFontFamilies();
}
