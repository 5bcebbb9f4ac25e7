// Locale facts from CLDR by ICU.
#define U_DISABLE_RENAMING 1
#include "platform/system_locale.h"

#include <unicode/udat.h>
#include <unicode/ulocdata.h>
#include <unicode/unum.h>
#include <unicode/uregion.h>
#include <unicode/ures.h>
#include <unicode/ustring.h>

#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>

#include "platform/posix/found_library.h"

namespace {

/// ICU of whatever version this machine has. Its functions bear the version behind their names.
class CIcu {
  public:
    CIcu() {
        constexpr int kNewest = 110, kOldest = 58; // as of 58 the calls below are all there
        for (int version = kNewest; version >= kOldest && !m_library; --version) {
            char file[32];
            std::snprintf(file, sizeof file, "libicui18n.so.%d", version);
            std::snprintf(m_suffix, sizeof m_suffix, "_%d", version);
            if (CLibrary library(file); library.IsWhole()) m_library = library;
        }
        Find(StrToUTF8, "u_strToUTF8");
        Find(DatClose, "udat_close");
        Find(DatOpen, "udat_open");
        Find(DatToPattern, "udat_toPattern");
        Find(LocGetCountry, "uloc_getCountry");
        Find(LocGetDisplayCountry, "uloc_getDisplayCountry");
        Find(LocGetDisplayLanguage, "uloc_getDisplayLanguage");
        Find(LocGetLCID, "uloc_getLCID");
        Find(LocdataGetMeasurementSystem, "ulocdata_getMeasurementSystem");
        Find(NumClose, "unum_close");
        Find(NumGetAttribute, "unum_getAttribute");
        Find(NumGetSymbol, "unum_getSymbol");
        Find(NumOpen, "unum_open");
        Find(RegionGetNumericCode, "uregion_getNumericCode");
        Find(RegionGetRegionFromCode, "uregion_getRegionFromCode");
        Find(ResClose, "ures_close");
        Find(ResOpen, "ures_open");
    }
    bool IsThere() const { return m_library && m_library->IsWhole(); }

    decltype(&::u_strToUTF8) StrToUTF8 = nullptr;
    decltype(&::udat_close) DatClose = nullptr;
    decltype(&::udat_open) DatOpen = nullptr;
    decltype(&::udat_toPattern) DatToPattern = nullptr;
    decltype(&::uloc_getCountry) LocGetCountry = nullptr;
    decltype(&::uloc_getDisplayCountry) LocGetDisplayCountry = nullptr;
    decltype(&::uloc_getDisplayLanguage) LocGetDisplayLanguage = nullptr;
    decltype(&::uloc_getLCID) LocGetLCID = nullptr;
    decltype(&::ulocdata_getMeasurementSystem) LocdataGetMeasurementSystem = nullptr;
    decltype(&::unum_close) NumClose = nullptr;
    decltype(&::unum_getAttribute) NumGetAttribute = nullptr;
    decltype(&::unum_getSymbol) NumGetSymbol = nullptr;
    decltype(&::unum_open) NumOpen = nullptr;
    decltype(&::uregion_getNumericCode) RegionGetNumericCode = nullptr;
    decltype(&::uregion_getRegionFromCode) RegionGetRegionFromCode = nullptr;
    decltype(&::ures_close) ResClose = nullptr;
    decltype(&::ures_open) ResOpen = nullptr;

  private:
    template <class TFunction>
    void Find(TFunction*& function, const char* name) {
        char versioned[64];
        std::snprintf(versioned, sizeof versioned, "%s%s", name, m_suffix);
        if (m_library) function = m_library->Find(versioned);
    }

    std::optional<CLibrary> m_library;
    char m_suffix[16] = "";
};

const CIcu& Icu() {
    static const CIcu icu;
    return icu;
}

template <class T, auto Close>
struct tClose {
    void operator()(T* object) const { (Icu().*Close)(object); }
};
template <class T, auto Close>
using tOwned = std::unique_ptr<T, tClose<T, Close>>;

/// False where ICU would put its own default in a locale's place.
bool IsKnown(const char* locale) {
    UErrorCode error = U_ZERO_ERROR;
    const tOwned<UResourceBundle, &CIcu::ResClose> bundle(Icu().ResOpen(nullptr, locale, &error));
    return U_SUCCESS(error) && error != U_USING_DEFAULT_WARNING;
}

/// A text of ICU as UTF-8; `fetch(buffer, capacity, error)` writes it.
template <std::size_t N, class TFetch>
void Fetch(tLOCALETEXT<N>& to, const TFetch& fetch) {
    UChar wide[256];
    char narrow[1024];
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    const int32_t count = fetch(wide, static_cast<int32_t>(std::size(wide)), &error);
    if (U_SUCCESS(error) && count <= static_cast<int32_t>(std::size(wide)))
        Icu().StrToUTF8(narrow, sizeof narrow, &length, wide, count, &error);
    to = U_SUCCESS(error) ? std::string_view(narrow, static_cast<std::size_t>(length)) : std::string_view();
}

void ReadNumbers(tLOCALEFACTS& facts, const UNumberFormat* format) {
    const auto symbol = [format](tLOCALEMARK& to, UNumberFormatSymbol which) {
        Fetch(to, [=](UChar* out, int32_t size, UErrorCode* error) {
            return Icu().NumGetSymbol(format, which, out, size, error);
        });
    };
    symbol(facts.negativeSign, UNUM_MINUS_SIGN_SYMBOL);
    symbol(facts.thousands, UNUM_GROUPING_SEPARATOR_SYMBOL);
    symbol(facts.decimal, UNUM_DECIMAL_SEPARATOR_SYMBOL);
    const LONG first = Icu().NumGetAttribute(format, UNUM_GROUPING_SIZE);
    const LONG second = Icu().NumGetAttribute(format, UNUM_SECONDARY_GROUPING_SIZE);
    const bool oneDigit = first > 0 && first < 10 && second < 10;
    if (Icu().NumGetAttribute(format, UNUM_GROUPING_USED) && oneDigit)
        facts.grouping = second > 0 && second != first ? first * 10 + second : first;
    facts.leadingZero = Icu().NumGetAttribute(format, UNUM_MIN_INTEGER_DIGITS) > 0;
}

/// What stands between hours and minutes in the locale's clock time, without blanks. Letters are quoted there: the
/// clock of French Canada is "HH 'h' mm".
void ReadTimeSeparator(tLOCALEFACTS& facts, const char* locale) {
    UErrorCode error = U_ZERO_ERROR;
    const tOwned<UDateFormat, &CIcu::DatClose> format(
        Icu().DatOpen(UDAT_MEDIUM, UDAT_NONE, locale, nullptr, 0, nullptr, 0, &error));
    tLOCALETEXT<256> pattern{};
    if (U_SUCCESS(error))
        Fetch(pattern, [&](UChar* out, int32_t size, UErrorCode* e) {
            return Icu().DatToPattern(format.get(), false, out, size, e);
        });
    char mark[sizeof pattern.text];
    std::size_t length = 0;
    bool quoted = false;
    char hour = '\0';
    for (const char c : pattern.View()) {
        if (c == '\'') {
            quoted = !quoted;
        } else if (!quoted && c == 'm') {
            break;
        } else if (!hour) {
            if (!quoted && std::strchr("HhKk", c)) hour = c;
        } else if (c != ' ' && (quoted || c != hour)) {
            mark[length++] = c;
        }
    }
    facts.timeSeparator = length ? std::string_view(mark, length) : ":";
}

void ReadNames(tLOCALEFACTS& facts, const char* locale) {
    const auto name = [locale](tLOCALENAME& to, auto display, const char* in) {
        Fetch(to, [=](UChar* out, int32_t size, UErrorCode* error) { return display(locale, in, out, size, error); });
    };
    name(facts.language, Icu().LocGetDisplayLanguage, locale);
    name(facts.languageEnglish, Icu().LocGetDisplayLanguage, "en");
    name(facts.country, Icu().LocGetDisplayCountry, locale);
    name(facts.countryEnglish, Icu().LocGetDisplayCountry, "en");
    facts.localeId = Icu().LocGetLCID(locale);
    facts.languageNumber = static_cast<LONG>(facts.localeId & 0xFFFF);
    char country[ULOC_COUNTRY_CAPACITY]{};
    UErrorCode error = U_ZERO_ERROR;
    Icu().LocGetCountry(locale, country, sizeof country - 1, &error);
    const URegion* const region = Icu().RegionGetRegionFromCode(country, &error);
    if (U_SUCCESS(error) && region) facts.countryNumber = Icu().RegionGetNumericCode(region);
    error = U_ZERO_ERROR;
    facts.measure = Icu().LocdataGetMeasurementSystem(locale, &error) == UMS_US && U_SUCCESS(error);
}

} // namespace

bool KwReadSystemLocale(const char* locale, tLOCALEFACTS& facts) noexcept {
    if (!Icu().IsThere()) return false;
    if (!IsKnown(locale)) locale = "en_US";
    char latin[ULOC_FULLNAME_CAPACITY + 16];
    std::snprintf(latin, sizeof latin, "%s@numbers=latn", locale);
    UErrorCode error = U_ZERO_ERROR;
    const tOwned<UNumberFormat, &CIcu::NumClose> numbers(
        Icu().NumOpen(UNUM_DECIMAL, nullptr, 0, latin, nullptr, &error));
    if (U_FAILURE(error)) return false; // a library without data
    ReadNumbers(facts, numbers.get());
    ReadTimeSeparator(facts, locale);
    ReadNames(facts, locale);
    return true;
}
