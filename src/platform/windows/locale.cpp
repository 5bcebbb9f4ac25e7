#include <algorithm>
#include <string>

#include "platform/locale_table.h"
#include "platform/system_locale.h"
#include "platform/windows/system.h"

namespace {

/// "3;2;0" to 32, "3;0" to 3, "3" to 30: there it is a 0 at the end by which the last group repeats.
LONG Grouping(const std::string& text) {
    LONG sizes = 0;
    for (const char c : text)
        if (c >= '1' && c <= '9') sizes = sizes * 10 + (c - '0');
    return sizes == 0 || text.ends_with('0') ? sizes : sizes * 10;
}

} // namespace

tLOCALETEXT<157> KwUserLocale() noexcept try {
    tLOCALETEXT<157> name{};
    name = KwAskUserLocale();
    return name;
} catch (...) {
    return {};
}

bool KwReadSystemLocale(const char* locale, tLOCALEFACTS& facts) noexcept try {
    std::string name = locale;
    std::ranges::replace(name, '_', '-');
    tSystemLocale told;
    if (!KwAskSystemLocale(name, told)) return false;
    KwReadLocaleTable(locale, facts); // the country's number is not the system's business
    facts.localeId = told.id;
    facts.languageNumber = static_cast<LONG>(told.id & 0xFFFF);
    facts.language = told.language;
    facts.languageEnglish = told.languageEnglish;
    facts.country = told.country;
    facts.countryEnglish = told.countryEnglish;
    facts.negativeSign = told.negativeSign;
    facts.thousands = told.thousands;
    facts.decimal = told.decimal;
    facts.grouping = Grouping(told.grouping);
    facts.timeSeparator = told.timeSeparator;
    facts.measure = told.measure;
    return true;
} catch (...) { // no memory
    return false;
}
