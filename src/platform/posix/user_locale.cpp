#include <cstdlib>

#include "platform/system_locale.h"

/// POSIX order: the first variable that is set and not empty decides.
tLOCALETEXT<157> KwUserLocale() noexcept {
    tLOCALETEXT<157> name{};
    for (const char* const variable : {"LC_ALL", "LC_NUMERIC", "LANG"})
        if (const char* const value = std::getenv(variable); value && *value) return name = value, name;
    return name;
}
