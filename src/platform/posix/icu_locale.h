// Locale facts from ICU, where this machine has it.
#pragma once

#include "platform/locale.h"

/// What CLDR tells of a locale such as "de_CH"; an unknown one gives "en_US". False, and nothing written, without ICU.
/// Digits and list separator are not its business.
bool KwReadIcuLocale(const char* locale, tLOCALEFACTS& facts) noexcept;
