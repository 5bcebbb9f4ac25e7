#include "platform/windows/system.h"

#include <algorithm>
#include <set>

#include <windows.h>

#include <shellapi.h>

namespace {

constexpr int kMostHeight = 4096, kMostBox = 8192; ///< pixels

std::wstring Wide(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                                           static_cast<int>(wide.size()));
    wide.resize(static_cast<std::size_t>(std::max(length, 0)));
    return wide;
}

std::string Narrow(const wchar_t* text) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string narrow(static_cast<std::size_t>(std::max(size, 1)), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), size, nullptr, nullptr);
    narrow.pop_back();
    return narrow;
}

std::string LocaleText(const wchar_t* name, LCTYPE what) {
    wchar_t text[128] = L"";
    return GetLocaleInfoEx(name, what, text, static_cast<int>(std::size(text))) > 0 ? Narrow(text) : std::string();
}

DWORD LocaleNumber(const wchar_t* name, LCTYPE what) {
    DWORD number = 0;
    GetLocaleInfoEx(name, what | LOCALE_RETURN_NUMBER, reinterpret_cast<wchar_t*>(&number),
                    sizeof number / sizeof(wchar_t));
    return number;
}

FIXED Fixed(int value) {
    FIXED fixed{};
    fixed.fract = static_cast<WORD>(value & 0xFFFF);
    fixed.value = static_cast<short>(value >> 16);
    return fixed;
}

class CGdiFont final : public CSystemFont {
  public:
    CGdiFont(const LOGFONTW& face, int scaleX, int scaleY)
        : m_dc(CreateCompatibleDC(nullptr)), m_font(CreateFontIndirectW(&face)) {
        m_scale.eM11 = Fixed(scaleX);
        m_scale.eM22 = Fixed(scaleY);
        TEXTMETRICW metrics{};
        m_works = m_dc && m_font && SelectObject(m_dc, m_font) && GetTextMetricsW(m_dc, &metrics) != 0;
        height = metrics.tmHeight;
        externalLeading = metrics.tmExternalLeading;
        averageWidth = metrics.tmAveCharWidth;
    }
    ~CGdiFont() override {
        if (m_dc) DeleteDC(m_dc);
        if (m_font) DeleteObject(m_font);
    }
    CGdiFont(const CGdiFont&) = delete;
    CGdiFont& operator=(const CGdiFont&) = delete;

    bool Works() const { return m_works; }

    std::vector<std::byte> Table(const char (&tag)[5]) const override {
        DWORD number = 0;
        for (int i = 3; i >= 0; --i) number = number << 8 | static_cast<unsigned char>(tag[i]);
        const DWORD size = GetFontData(m_dc, number, 0, nullptr, 0);
        if (size == GDI_ERROR) return {};
        std::vector<std::byte> table(size);
        if (GetFontData(m_dc, number, 0, table.data(), size) != size) table.clear();
        return table;
    }

    unsigned IndexOf(char32_t character) const override {
        const auto unit = static_cast<wchar_t>(character);
        WORD index = 0xFFFF;
        if (character > 0xFFFF || GetGlyphIndicesW(m_dc, &unit, 1, &index, GGI_MARK_NONEXISTING_GLYPHS) == GDI_ERROR ||
            index == 0xFFFF)
            return 0;
        return index;
    }

    bool Draw(unsigned index, tSystemGlyph& out) const override {
        constexpr UINT kForm = GGO_GRAY8_BITMAP | GGO_GLYPH_INDEX | GGO_UNHINTED;
        GLYPHMETRICS metrics{};
        const DWORD size = GetGlyphOutlineW(m_dc, index, kForm, &metrics, 0, nullptr, &m_scale);
        if (size == GDI_ERROR || metrics.gmBlackBoxX > kMostBox || metrics.gmBlackBoxY > kMostBox) return false;
        out.coverage.resize(size);
        if (size > 0 && GetGlyphOutlineW(m_dc, index, kForm, &metrics, size, out.coverage.data(), &m_scale) != size)
            return false;
        out.originX = metrics.gmptGlyphOrigin.x;
        out.originY = metrics.gmptGlyphOrigin.y;
        out.advance = metrics.gmCellIncX;
        out.width = size > 0 ? static_cast<int>(metrics.gmBlackBoxX) : 0;
        out.height = size > 0 ? static_cast<int>(metrics.gmBlackBoxY) : 0;
        out.stride = (out.width + 3) / 4 * 4;
        return static_cast<std::size_t>(out.stride) * static_cast<std::size_t>(out.height) <= size;
    }

  private:
    HDC m_dc;
    HFONT m_font;
    MAT2 m_scale{};
    bool m_works = false;
};

int CALLBACK AddFamily(const LOGFONTW* face, const TEXTMETRICW*, DWORD type, LPARAM names) {
    if ((type & TRUETYPE_FONTTYPE) && face->lfFaceName[0] != L'@') // that sign marks the same face for upright lines
        reinterpret_cast<std::set<std::string>*>(names)->insert(Narrow(face->lfFaceName));
    return 1;
}

} // namespace

bool KwAskSystemLocale(const std::string& name, tSystemLocale& out) {
    const std::wstring wide = Wide(name);
    if (!IsValidLocaleName(wide.c_str())) return false;
    out.id = LocaleNameToLCID(wide.c_str(), 0);
    out.language = LocaleText(wide.c_str(), LOCALE_SNATIVELANGUAGENAME);
    out.languageEnglish = LocaleText(wide.c_str(), LOCALE_SENGLISHLANGUAGENAME);
    out.country = LocaleText(wide.c_str(), LOCALE_SNATIVECOUNTRYNAME);
    out.countryEnglish = LocaleText(wide.c_str(), LOCALE_SENGLISHCOUNTRYNAME);
    out.negativeSign = LocaleText(wide.c_str(), LOCALE_SNEGATIVESIGN);
    out.thousands = LocaleText(wide.c_str(), LOCALE_STHOUSAND);
    out.decimal = LocaleText(wide.c_str(), LOCALE_SDECIMAL);
    out.timeSeparator = LocaleText(wide.c_str(), LOCALE_STIME);
    out.grouping = LocaleText(wide.c_str(), LOCALE_SGROUPING);
    out.measure = static_cast<int>(LocaleNumber(wide.c_str(), LOCALE_IMEASURE));
    return !out.decimal.empty();
}

std::string KwAskUserLocale() {
    wchar_t name[LOCALE_NAME_MAX_LENGTH] = L"";
    return GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH) > 0 ? Narrow(name) : std::string();
}

bool KwOpenAddress(const char* url) {
    constexpr INT_PTR kLastError = 32;
    return reinterpret_cast<INT_PTR>(
               ShellExecuteW(nullptr, L"open", Wide(url).c_str(), nullptr, nullptr, SW_SHOWNORMAL)) > kLastError;
}

std::unique_ptr<CSystemFont> CSystemFont::Open(const std::string& family, int height, int weight, bool italic,
                                               int scaleX, int scaleY) {
    if (height > kMostHeight || height < -kMostHeight) return nullptr;
    LOGFONTW face{};
    face.lfHeight = height ? height : 16;
    face.lfWeight = weight;
    face.lfItalic = italic;
    face.lfCharSet = DEFAULT_CHARSET;
    face.lfOutPrecision = OUT_TT_ONLY_PRECIS;
    const std::wstring name = Wide(family);
    std::copy_n(name.begin(), std::min(name.size(), std::size(face.lfFaceName) - 1), face.lfFaceName);
    auto font = std::make_unique<CGdiFont>(face, scaleX, scaleY);
    return font->Works() ? std::move(font) : nullptr;
}

std::vector<std::string> KwAskFontFamilies() {
    std::set<std::string> names;
    LOGFONTW all{};
    all.lfCharSet = DEFAULT_CHARSET;
    if (HDC const dc = CreateCompatibleDC(nullptr)) {
        EnumFontFamiliesExW(dc, &all, AddFamily, reinterpret_cast<LPARAM>(&names), 0);
        DeleteDC(dc);
    }
    return {names.begin(), names.end()};
}
