// What the system tells and does, in plain types: its own header has others by the names of the contract, so that only
// sources without the contract can include it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// All texts in UTF-8.
struct tSystemLocale {
    std::uint32_t id = 0;
    std::string language, languageEnglish, country, countryEnglish, negativeSign, thousands, decimal, timeSeparator;
    std::string grouping; ///< as the system has it: "3;0", "3;2;0", "3"
    int measure = 0;      ///< 0 metric, 1 United States
};
/// False for a locale that the system does not know. The name's parts are joined by "-".
bool KwAskSystemLocale(const std::string& name, tSystemLocale& out);
std::string KwAskUserLocale();

/// Opens an address with the program that the user has for it.
bool KwOpenAddress(const char* url);

struct tSystemGlyph {
    int width = 0, height = 0, originX = 0, originY = 0, advance = 0;
    std::vector<std::uint8_t> coverage; ///< levels 0 to 64, rows of `stride` bytes from the top left
    int stride = 0;
};

/// A face of the system at one size. One thread at a time.
class CSystemFont {
  public:
    /// @param height as in `tLOGFONT`; the factors are 65536 for none. Null where the system has no such face.
    static std::unique_ptr<CSystemFont> Open(const std::string& family, int height, int weight, bool italic, int scaleX,
                                             int scaleY);
    virtual ~CSystemFont() = default;

    int height = 0, externalLeading = 0, averageWidth = 0; ///< pixels
    virtual std::vector<std::byte> Table(const char (&tag)[5]) const = 0;
    /// 0 for none, and for what lies beyond 16 bits, which the system does not look up.
    virtual unsigned IndexOf(char32_t character) const = 0;
    virtual bool Draw(unsigned index, tSystemGlyph& out) const = 0;
};

std::vector<std::string> KwAskFontFamilies();
