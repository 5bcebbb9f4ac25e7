// Outlines by FreeType, faces by fontconfig.
#include "platform/glyphs.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/posix/font_libraries.h"

namespace {

constexpr LONG kDefaultHeight = 16, kMostHeight = 4096;
constexpr FT_Pos kMostBox = 8192;                   ///< pixels a side
constexpr std::size_t kMostPixels = 64u << 20;      ///< of all glyphs that are kept
constexpr std::size_t kMostTold = 100;              ///< families
constexpr FT_Matrix kSlant{65536, 13930, 0, 65536}; ///< 12 degrees

template <auto Free>
struct tFree {
    template <class T>
    void operator()(T* object) const {
        Free(object);
    }
};
using tPattern = std::unique_ptr<FcPattern, tFree<[](auto* object) { Fc().PatternDestroy(object); }>>;
using tConfig = std::unique_ptr<FcConfig, tFree<[](auto* object) { Fc().ConfigDestroy(object); }>>;
using tLibrary =
    std::unique_ptr<std::remove_pointer_t<FT_Library>, tFree<[](auto* object) { Ft().DoneFreeType(object); }>>;
using tFace = std::unique_ptr<std::remove_pointer_t<FT_Face>, tFree<[](auto* object) { Ft().DoneFace(object); }>>;

/// What fontconfig chose.
struct tChoice {
    std::string file;
    int index = 0;
    bool bold = false, italic = false; ///< what the face itself is
};

const FcChar8* Bytes(const char* text) {
    return reinterpret_cast<const FcChar8*>(text);
}

bool IsGeneric(const std::string& family) {
    constexpr const char* kNames[] = {"sans-serif", "sans", "serif", "monospace", "mono", "system-ui", ""};
    return std::any_of(std::begin(kNames), std::end(kNames), [&](const char* name) {
        return Fc().StrCmpIgnoreCase(Bytes(name), Bytes(family.c_str())) == 0;
    });
}

/// Whether the face bears the family's name, or one that the configuration calls the same.
bool IsSameFamily(FcPattern* wanted, FcPattern* found) {
    FcValue name;
    FcValueBinding binding;
    for (int i = 0; Fc().PatternGetWithBinding(wanted, FC_FAMILY, i, &name, &binding) == FcResultMatch; ++i) {
        if (binding == FcValueBindingWeak || name.type != FcTypeString) continue;
        FcChar8* has = nullptr;
        for (int k = 0; Fc().PatternGetString(found, FC_FAMILY, k, &has) == FcResultMatch; ++k)
            if (Fc().StrCmpIgnoreCase(name.u.s, has) == 0) return true;
    }
    return false;
}

void TellReplaced(const std::string& family, FcPattern* found) {
    static std::mutex lock;
    static std::set<std::string> told;
    const std::scoped_lock guard(lock);
    if (told.size() >= kMostTold || !told.insert(family).second) return;
    FcChar8* name = nullptr;
    Fc().PatternGetString(found, FC_FAMILY, 0, &name);
    std::fprintf(stderr, "larkmoor: the font family \"%s\" is not installed; \"%s\" takes its place\n", family.c_str(),
                 name ? reinterpret_cast<const char*>(name) : "another");
}

FcConfig* Fonts() {
    static const tConfig config(Fc().InitLoadConfigAndFonts());
    return config.get();
}

std::optional<tChoice> Choose(const tLOGFONT& font) {
    FcConfig* const config = Fonts();
    const std::string family(font.lfFaceName, strnlen(font.lfFaceName, sizeof font.lfFaceName));
    const tPattern wanted(Fc().PatternCreate());
    if (!config || !wanted) return std::nullopt;
    if (!family.empty()) Fc().PatternAddString(wanted.get(), FC_FAMILY, Bytes(family.c_str()));
    const bool bold = font.lfWeight >= 600;
    Fc().PatternAddInteger(wanted.get(), FC_WEIGHT,
                           font.lfWeight > 0 && font.lfWeight <= 1000 ? Fc().WeightFromOpenType(font.lfWeight)
                           : bold                                     ? FC_WEIGHT_BOLD
                                                                      : FC_WEIGHT_REGULAR);
    Fc().PatternAddInteger(wanted.get(), FC_SLANT, font.lfItalic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    Fc().PatternAddBool(wanted.get(), FC_SCALABLE, FcTrue);
    Fc().ConfigSubstitute(config, wanted.get(), FcMatchPattern);
    Fc().DefaultSubstitute(wanted.get());
    FcResult result{};
    const tPattern found(Fc().FontMatch(config, wanted.get(), &result));
    FcChar8* file = nullptr;
    if (!found || Fc().PatternGetString(found.get(), FC_FILE, 0, &file) != FcResultMatch) return std::nullopt;
    if (!IsGeneric(family) && !IsSameFamily(wanted.get(), found.get())) TellReplaced(family, found.get());
    tChoice choice{reinterpret_cast<const char*>(file)};
    int weight = FC_WEIGHT_REGULAR, slant = FC_SLANT_ROMAN;
    Fc().PatternGetInteger(found.get(), FC_INDEX, 0, &choice.index);
    Fc().PatternGetInteger(found.get(), FC_WEIGHT, 0, &weight);
    Fc().PatternGetInteger(found.get(), FC_SLANT, 0, &slant);
    choice.bold = !bold || weight >= FC_WEIGHT_DEMIBOLD;
    choice.italic = !font.lfItalic || slant != FC_SLANT_ROMAN;
    return choice;
}

class CFreeTypeFont final : public CGlyphFont {
  public:
    CFreeTypeFont(tLibrary library, tFace face, const tChoice& choice, LONG height, LONG scaleX, LONG scaleY)
        : m_library(std::move(library)), m_face(std::move(face)), m_embolden(!choice.bold),
          m_slant(!choice.italic), m_scale{scaleX, 0, 0, scaleY} {
        SetSize(height);
        ReadCharacterMap();
    }

    const tFontMetrics& Metrics() const override { return m_metrics; }
    std::span<const std::byte> CharacterMap() const override { return m_characterMap; }
    ULONG IndexOf(char32_t character) const override { return Ft().GetCharIndex(m_face.get(), character); }

    const tGlyph* Glyph(ULONG index) override {
        if (const auto kept = m_glyphs.find(index); kept != m_glyphs.end())
            return kept->second.exists ? &kept->second.glyph : nullptr;
        if (m_pixels > kMostPixels) {
            m_glyphs.clear();
            m_pixels = 0;
        }
        tKept made;
        made.exists = m_sized && Draw(index, made);
        m_pixels += made.pixels.size();
        const tKept& kept = m_glyphs.insert_or_assign(index, std::move(made)).first->second;
        return kept.exists ? &kept.glyph : nullptr;
    }

  private:
    struct tKept {
        bool exists = false;
        tGlyph glyph{};
        std::vector<std::uint8_t> pixels;
    };

    void SetSize(LONG height) {
        const FT_Face face = m_face.get();
        const auto* const os2 = static_cast<const TT_OS2*>(Ft().GetSfntTable(face, FT_SFNT_OS2));
        const auto* const hhea = static_cast<const TT_HoriHeader*>(Ft().GetSfntTable(face, FT_SFNT_HHEA));
        const long em = face->units_per_EM;
        long ascent = face->ascender, descent = -face->descender;
        if (os2 && os2->usWinAscent + os2->usWinDescent > 0) {
            ascent = os2->usWinAscent;
            descent = os2->usWinDescent;
        }
        const long cell = ascent + descent;
        if (em <= 0 || cell <= 0) return;
        if (height == 0) height = kDefaultHeight;
        const std::int64_t size = height > 0 ? (std::int64_t{height} * em + cell / 2) / cell : -std::int64_t{height};
        if (size > kMostHeight) return;
        const auto perEm = static_cast<long>(std::max<std::int64_t>(size, 1));
        if (Ft().SetPixelSizes(face, 0, static_cast<FT_UInt>(perEm)) != 0) return;
        const auto pixels = [&](long units) { return static_cast<LONG>((units * perEm + em / 2) / em); };
        m_metrics.height = pixels(ascent) + pixels(descent);
        if (hhea)
            m_metrics.externalLeading =
                pixels(std::max(0l, hhea->Line_Gap - (cell - (hhea->Ascender - hhea->Descender))));
        m_metrics.averageCharWidth = pixels(os2 && os2->xAvgCharWidth > 0 ? os2->xAvgCharWidth : em / 2);
        m_sized = true;
    }

    void ReadCharacterMap() {
        FT_ULong size = 0;
        constexpr FT_ULong kTag = FT_MAKE_TAG('c', 'm', 'a', 'p');
        if (Ft().LoadSfntTable(m_face.get(), kTag, 0, nullptr, &size) != 0) return;
        m_characterMap.resize(size);
        if (Ft().LoadSfntTable(m_face.get(), kTag, 0, reinterpret_cast<FT_Byte*>(m_characterMap.data()), &size) != 0)
            m_characterMap.clear();
    }

    bool Draw(ULONG index, tKept& out) {
        if (Ft().LoadGlyph(m_face.get(), index, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP) != 0) return false;
        const FT_GlyphSlot slot = m_face->glyph;
        if (slot->format != FT_GLYPH_FORMAT_OUTLINE) return false;
        if (m_embolden) Ft().OutlineEmbolden(&slot->outline, m_face->size->metrics.y_ppem * 64 / 24);
        if (m_slant) Ft().OutlineTransform(&slot->outline, &kSlant);
        Ft().OutlineTransform(&slot->outline, &m_scale);
        FT_BBox box{};
        Ft().OutlineGetCBox(&slot->outline, &box);
        const FT_Pos most = kMostBox * 64;
        if (box.xMin < -most || box.xMax > most || box.yMin < -most || box.yMax > most) return false;
        const FT_Pos advance = Ft().MulFix(slot->linearHoriAdvance, m_scale.xx);
        out.glyph.cellIncrementX = static_cast<LONG>((advance + 0x8000) >> 16);

        if (Ft().RenderGlyph(slot, FT_RENDER_MODE_NORMAL) != 0) return false;
        const FT_Bitmap& bitmap = slot->bitmap;
        out.glyph.boxWidth = static_cast<LONG>(bitmap.width);
        out.glyph.boxHeight = static_cast<LONG>(bitmap.rows);
        out.glyph.originX = slot->bitmap_left;
        out.glyph.originY = slot->bitmap_top;
        if (bitmap.width == 0 || bitmap.rows == 0) {
            out.glyph.boxWidth = out.glyph.boxHeight = 0;
            return true;
        }
        const std::size_t width = bitmap.width, stride = width + 2;
        out.pixels.resize(stride * (std::size_t{bitmap.rows} + 2));
        for (std::size_t y = 0; y < bitmap.rows; ++y) {
            const std::uint8_t* const from = bitmap.buffer + static_cast<std::ptrdiff_t>(y) * bitmap.pitch;
            std::transform(from, from + width, out.pixels.data() + (y + 1) * stride + 1,
                           [](int grey) { return static_cast<std::uint8_t>((grey * 64 + 127) / 255); });
        }
        out.glyph.coverage = out.pixels.data() + stride + 1;
        out.glyph.stride = static_cast<LONG>(stride);
        return true;
    }

    tLibrary m_library; ///< outlives the face
    tFace m_face;
    bool m_embolden, m_slant, m_sized = false;
    FT_Matrix m_scale;
    tFontMetrics m_metrics{};
    std::vector<std::byte> m_characterMap;
    std::unordered_map<ULONG, tKept> m_glyphs;
    std::size_t m_pixels = 0;
};

} // namespace

std::unique_ptr<CGlyphFont> CGlyphFont::Open(const tLOGFONT& font, LONG scaleX, LONG scaleY) {
    if (!HasFontLibraries()) return nullptr;
    const auto choice = Choose(font);
    FT_Library library = nullptr;
    if (!choice || Ft().InitFreeType(&library) != 0) return nullptr;
    tLibrary owned(library);
    FT_Face face = nullptr;
    if (Ft().NewFace(library, choice->file.c_str(), choice->index, &face) != 0) return nullptr;
    return std::make_unique<CFreeTypeFont>(std::move(owned), tFace(face), *choice, font.lfHeight, scaleX, scaleY);
}

std::vector<std::string> KwFontFamilies() {
    if (!HasFontLibraries()) return {};
    const tPattern wanted(Fc().PatternCreate());
    const std::unique_ptr<FcObjectSet, tFree<[](auto* object) { Fc().ObjectSetDestroy(object); }>> asked(
        Fc().ObjectSetBuild(FC_FAMILY, nullptr));
    if (!Fonts() || !wanted || !asked) return {};
    Fc().PatternAddString(wanted.get(), FC_FONTFORMAT, Bytes("TrueType"));
    const std::unique_ptr<FcFontSet, tFree<[](auto* object) { Fc().FontSetDestroy(object); }>> found(
        Fc().FontList(Fonts(), wanted.get(), asked.get()));
    std::set<std::string> names;
    for (int i = 0; found && i < found->nfont; ++i)
        if (FcChar8* name = nullptr; Fc().PatternGetString(found->fonts[i], FC_FAMILY, 0, &name) == FcResultMatch)
            names.insert(reinterpret_cast<const char*>(name));
    return {names.begin(), names.end()};
}
