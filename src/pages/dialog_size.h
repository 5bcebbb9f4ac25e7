// Dialog units in pixels.
#pragma once

#include "platform/page.h"

/// What a font measures, in pixels.
struct tFontMeasure {
    LONG alphabetWidth; ///< of the 52 letters, upper and lower case
    LONG height;
};

/// a * b / c, rounded half away from zero; -1 where `c` is 0 or the result too large.
LONG MulDiv(LONG a, LONG b, LONG c);

/// Pixels of one average character, rounded.
constexpr LONG KwCharWidth(LONG alphabetWidth) {
    return (alphabetWidth + 26) / 52;
}

/// Pixels of a dialog's size, a quarter of a character across and an eighth of one down to the unit. With the font of
/// the sheet that the page will stand in, sizes follow that one and heights shrink or grow with it.
/// @param font of the dialog; null for the system's.
SIZE GetDialogSize(SIZE units, const tFontMeasure* font, const tFontMeasure* sheetFont = nullptr);
