#include "platform/locale.h"

#include <cstdlib>

#include "platform/locale_table.h"
#include "platform/posix/icu_locale.h"

namespace {

/// POSIX order: the first variable that is set and not empty decides.
const char* UserLocaleName() {
    for (const char* const variable : {"LC_ALL", "LC_NUMERIC", "LANG"})
        if (const char* const value = std::getenv(variable); value && *value) return value;
    return "en_US";
}

} // namespace

tLOCALEFACTS KwReadLocale(const char* name) noexcept {
    // Language and country alone; code set and variant, as in "de_DE.UTF-8@euro", are cut off.
    std::string_view asked = name ? name : UserLocaleName();
    asked = asked.substr(0, asked.find_first_of(".@"));
    tLOCALETEXT<157> locale{};
    locale = asked;
    if (locale.length == 0 || asked == "C" || asked == "POSIX") locale = "en_US";
    tLOCALEFACTS facts{};
    facts.digits = 2;
    facts.leadingZero = 1;
    facts.readNegativeSign = "-";
    if (!KwReadIcuLocale(locale.text, facts)) KwReadLocaleTable(locale.View(), facts);
    facts.listSeparator = facts.decimal.View() == "," ? ";" : ",";
    return facts;
}
