// The user's locale as the formatter sees it: read once, then constant for the life of the module.
#pragma once

#include "platform/locale.h"

struct tLOCALEBLOCK {
    ULONG size; ///< of the record, or of the part of it that was copied
    tLOCALEFACTS facts;
    tLOCALEMARK smpteWhole;   ///< between hours, minutes and seconds
    tLOCALEMARK smpteNonDrop; ///< before the frames of a non-drop count
    tLOCALEMARK smpteDrop;    ///< before the frames of a drop count
    tLOCALEMARK measureBeat;
    tLOCALEMARK beatTick;
};

/// The separators that a pattern can ask for, by number.
enum eLOCALEITEM : LONG {
    kItemDecimal = 24,
    kItemList = 40,
    kItemTime = 60,
    kItemSmpteWhole = 100,
    kItemSmpteNonDrop = 101,
    kItemSmpteDrop = 102,
    kItemMeasureBeat = 120,
    kItemBeatTick = 121,
};

/// "" for a number that is none of the items.
std::string_view LocaleItem(const tLOCALEBLOCK& locale, LONG item) noexcept;

/// A block with the separators of the named strings, or ":", "." and "," where those aren't set. A decimal mark that is
/// empty or equals the thousands separator becomes ".", or "," where that one is ".": reading stays sound.
tLOCALEBLOCK MakeLocaleBlock(const tLOCALEFACTS& facts) noexcept;

/// The user's block. The first call also enters the named strings of the separators and their labels.
const tLOCALEBLOCK& UserLocale() noexcept;

/// Copies at most `size` bytes of the user's block and stores the count copied in its first word; returns the count.
/// Without room for that word nothing is copied.
ULONG GetLocaleBlock(void* dest, ULONG size) noexcept;
