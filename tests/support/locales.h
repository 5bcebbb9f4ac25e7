// Locales that the tests of numbers and times share.
#pragma once

#include <ostream>

#include "support/locale_block.h"

inline constexpr const char* kLocaleNames[] = {"en_US", "de_DE", "fr_FR", "hi_IN", "de_CH", "fr_CA", "sv_SE", "ar_EG"};

inline tLOCALEBLOCK BlockOf(const char* name) {
    return MakeLocaleBlock(KwReadLocale(name));
}

/// English values set by hand, so that a test doesn't hang on locale data.
inline tLOCALEBLOCK PlainBlock() {
    tLOCALEFACTS facts{};
    facts.readNegativeSign = facts.negativeSign = "-";
    facts.thousands = facts.listSeparator = ",";
    facts.decimal = ".";
    facts.timeSeparator = ":";
    facts.grouping = 3;
    facts.leadingZero = 1;
    return MakeLocaleBlock(facts);
}
