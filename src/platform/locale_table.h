// Locale facts of our own, for systems that don't have them.
#pragma once

#include <span>
#include <string_view>

#include "platform/locale.h"

/// Fills in all but digits, leading zero and separator of lists. A country that is not known gives what its language
/// has elsewhere, an unknown language "en_US".
void KwReadLocaleTable(std::string_view name, tLOCALEFACTS& facts);
std::span<const std::string_view> KwLocaleTableNames();
