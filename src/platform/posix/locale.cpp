#include "platform/locale.h"

#include <unicode/udat.h>
#include <unicode/ulocdata.h>
#include <unicode/unum.h>
#include <unicode/uregion.h>
#include <unicode/ures.h>
#include <unicode/ustring.h>

#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace {

constexpr char kEnglish[] = "en_US";

/// POSIX order: the first variable that is set and not empty decides.
const char* UserLocaleName() {
    for (const char* const variable : {"LC_ALL", "LC_NUMERIC", "LANG"})
        if (const char* const value = std::getenv(variable); value && *value) return value;
    return kEnglish;
}

/// Language and country alone; code set and variant, as in "de_DE.UTF-8@euro", are cut off.
struct tLocaleName {
    char text[ULOC_FULLNAME_CAPACITY] = "en_US";

    explicit tLocaleName(std::string_view from) {
        from = from.substr(0, from.find_first_of(".@"));
        if (from.empty() || from == "C" || from == "POSIX" || from.size() >= sizeof text) return;
        from.copy(text, from.size());
        text[from.size()] = '\0';
    }
};

/// False where ICU would put its own default in a locale's place.
bool IsKnown(const char* locale) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::LocalUResourceBundlePointer bundle(ures_open(nullptr, locale, &error));
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
        u_strToUTF8(narrow, sizeof narrow, &length, wide, count, &error);
    to = U_SUCCESS(error) ? std::string_view(narrow, static_cast<std::size_t>(length)) : std::string_view();
}

void ReadNumbers(tLOCALEFACTS& facts, const UNumberFormat* format) {
    const auto symbol = [format](tLOCALEMARK& to, UNumberFormatSymbol which) {
        Fetch(to, [=](UChar* out, int32_t size, UErrorCode* error) {
            return unum_getSymbol(format, which, out, size, error);
        });
    };
    symbol(facts.negativeSign, UNUM_MINUS_SIGN_SYMBOL);
    symbol(facts.thousands, UNUM_GROUPING_SEPARATOR_SYMBOL);
    symbol(facts.decimal, UNUM_DECIMAL_SEPARATOR_SYMBOL);
    const LONG first = unum_getAttribute(format, UNUM_GROUPING_SIZE);
    const LONG second = unum_getAttribute(format, UNUM_SECONDARY_GROUPING_SIZE);
    const bool oneDigit = first > 0 && first < 10 && second < 10;
    if (unum_getAttribute(format, UNUM_GROUPING_USED) && oneDigit)
        facts.grouping = second > 0 && second != first ? first * 10 + second : first;
    facts.leadingZero = unum_getAttribute(format, UNUM_MIN_INTEGER_DIGITS) > 0;
}

/// What stands between hours and minutes in the locale's clock time, without blanks. Letters are quoted there: the
/// clock of French Canada is "HH 'h' mm".
void ReadTimeSeparator(tLOCALEFACTS& facts, const char* locale) {
    UErrorCode error = U_ZERO_ERROR;
    const icu::LocalUDateFormatPointer format(
        udat_open(UDAT_MEDIUM, UDAT_NONE, locale, nullptr, 0, nullptr, 0, &error));
    tLOCALETEXT<256> pattern{};
    if (U_SUCCESS(error))
        Fetch(pattern, [&](UChar* out, int32_t size, UErrorCode* e) {
            return udat_toPattern(format.getAlias(), false, out, size, e);
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
    name(facts.language, uloc_getDisplayLanguage, locale);
    name(facts.languageEnglish, uloc_getDisplayLanguage, "en");
    name(facts.country, uloc_getDisplayCountry, locale);
    name(facts.countryEnglish, uloc_getDisplayCountry, "en");
    facts.localeId = uloc_getLCID(locale);
    facts.languageNumber = static_cast<LONG>(facts.localeId & 0xFFFF);
    char country[ULOC_COUNTRY_CAPACITY]{};
    UErrorCode error = U_ZERO_ERROR;
    uloc_getCountry(locale, country, sizeof country - 1, &error);
    const URegion* const region = uregion_getRegionFromCode(country, &error);
    if (U_SUCCESS(error) && region) facts.countryNumber = uregion_getNumericCode(region);
    error = U_ZERO_ERROR;
    facts.measure = ulocdata_getMeasurementSystem(locale, &error) == UMS_US && U_SUCCESS(error);
}

} // namespace

tLOCALEFACTS KwReadLocale(const char* name) noexcept {
    tLocaleName locale(name ? name : UserLocaleName());
    tLOCALEFACTS facts{};
    facts.digits = 2;
    facts.leadingZero = 1;
    facts.readNegativeSign = "-";
    if (!IsKnown(locale.text)) locale = tLocaleName(kEnglish);
    char latin[sizeof locale.text + 16];
    std::snprintf(latin, sizeof latin, "%s@numbers=latn", locale.text);
    UErrorCode error = U_ZERO_ERROR;
    const icu::LocalUNumberFormatPointer numbers(unum_open(UNUM_DECIMAL, nullptr, 0, latin, nullptr, &error));
    if (U_SUCCESS(error)) {
        ReadNumbers(facts, numbers.getAlias());
    } else { // no locale data on this machine at all
        facts.negativeSign = "-";
        facts.thousands = ",";
        facts.decimal = ".";
        facts.grouping = 3;
    }
    ReadTimeSeparator(facts, locale.text);
    ReadNames(facts, locale.text);
    facts.listSeparator = facts.decimal.View() == "," ? ";" : ",";
    return facts;
}
