#include <cstdlib>

#include "platform/system_locale.h"

tLOCALETEXT<157> KwUserLocale() noexcept {
    tLOCALETEXT<157> name{};
    if (const char* const value = std::getenv("LANG")) name = value;
    return name;
}

bool KwReadSystemLocale(const char*, tLOCALEFACTS&) noexcept {
    return false;
}
