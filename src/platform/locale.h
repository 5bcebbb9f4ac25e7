// What the system knows about the user's language and country. All texts are UTF-8.
#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

#include "platform/types.h"

/// A short text inside a plain record: up to N - 1 bytes, ended by a zero.
template <std::size_t N>
struct tLOCALETEXT {
    char text[N];
    LONG length;

    constexpr std::string_view View() const {
        return {text, length < 0 ? 0 : static_cast<std::size_t>(length) < N ? static_cast<std::size_t>(length) : N - 1};
    }
    /// A text that doesn't fit is dropped whole: half a separator is worse than none.
    constexpr tLOCALETEXT& operator=(std::string_view from) {
        length = from.size() < N ? static_cast<LONG>(from.size()) : 0;
        for (std::size_t i = 0; i < N; ++i) text[i] = i < static_cast<std::size_t>(length) ? from[i] : '\0';
        return *this;
    }
};
using tLOCALENAME = tLOCALETEXT<124>;
using tLOCALEMARK = tLOCALETEXT<28>;

struct tLOCALEFACTS {
    LCID localeId;        ///< the system's locale number; 0 where the locale has none
    LONG languageNumber;  ///< language with its variant, the low half of the locale number
    tLOCALENAME language; ///< in the language itself
    tLOCALENAME languageEnglish;
    LONG countryNumber;  ///< UN M.49
    tLOCALENAME country; ///< in the language itself
    tLOCALENAME countryEnglish;
    tLOCALEMARK negativeSign;
    tLOCALEMARK readNegativeSign; ///< what a reader takes for a minus: "-" everywhere
    tLOCALEMARK thousands;
    tLOCALEMARK decimal;
    /// Sizes of the groups from the right, one decimal digit each; the last repeats, and a 0 behind it says that it
    /// doesn't: 3 for 1,234,567, 32 for 12,34,567, 30 for 1234,567. 0: no groups.
    LONG grouping;
    LONG digits;      ///< decimals of an ordinary number
    LONG leadingZero; ///< 1: 0.5, 0: .5
    tLOCALEMARK timeSeparator;
    tLOCALEMARK listSeparator; ///< ";" where the comma is the decimal mark, else ","
    LONG measure;              ///< 0 metric, 1 United States
};

/// The facts of a locale such as "de_CH" or "hi-IN", digits in ASCII; null asks for the user's own, as the environment
/// names it for numbers. An unknown or plain "C" locale gives those of "en_US". Never fails. Source: CLDR by ICU.
tLOCALEFACTS KwReadLocale(const char* name = nullptr) noexcept;
