// What the system itself knows of locales. `KwReadLocale` asks it first, then the table.
#pragma once

#include "platform/locale.h"

/// The user's own locale, as the system names it; may have a code set and a variant, as in "de_DE.UTF-8@euro", behind.
tLOCALETEXT<157> KwUserLocale() noexcept;

/// What the system tells of a locale such as "de_CH"; an unknown one gives "en_US". False, and nothing written, where
/// it cannot tell. Digits and list separator are not its business.
bool KwReadSystemLocale(const char* locale, tLOCALEFACTS& facts) noexcept;
