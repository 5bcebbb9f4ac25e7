#include "platform/locale.h"

#include "platform/locale_table.h"
#include "platform/system_locale.h"

tLOCALEFACTS KwReadLocale(const char* name) noexcept {
    // Language and country alone; code set and variant are cut off.
    const tLOCALETEXT<157> own = name ? tLOCALETEXT<157>{} : KwUserLocale();
    std::string_view asked = name ? name : own.View();
    asked = asked.substr(0, asked.find_first_of(".@"));
    tLOCALETEXT<157> locale{};
    locale = asked;
    if (locale.length == 0 || asked == "C" || asked == "POSIX") locale = "en_US";
    tLOCALEFACTS facts{};
    facts.digits = 2;
    facts.leadingZero = 1;
    facts.readNegativeSign = "-";
    if (!KwReadSystemLocale(locale.text, facts)) KwReadLocaleTable(locale.View(), facts);
    facts.listSeparator = facts.decimal.View() == "," ? ";" : ",";
    return facts;
}
