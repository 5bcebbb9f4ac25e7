#include "pages/dialog_size.h"

#include <cstdint>

namespace {

/// A dialog without a font of its own is set in one whose characters are 8 pixels wide and 16 high.
constexpr LONG kSystemCharWidth = 8, kSystemCharHeight = 16;

} // namespace

LONG MulDiv(LONG a, LONG b, LONG c) {
    if (c == 0) return -1;
    const std::int64_t product = std::int64_t{a} * b, half = (c < 0 ? -std::int64_t{c} : std::int64_t{c}) / 2;
    const std::int64_t result = (product + (product < 0 ? -half : half)) / c;
    return result > INT32_MAX || result < INT32_MIN ? -1 : static_cast<LONG>(result);
}

SIZE GetDialogSize(SIZE units, const tFontMeasure* font, const tFontMeasure* sheetFont) {
    const auto width = [](const tFontMeasure* f) { return f ? KwCharWidth(f->alphabetWidth) : kSystemCharWidth; };
    const auto height = [](const tFontMeasure* f) { return f ? f->height : kSystemCharHeight; };
    if (!sheetFont) return {MulDiv(units.cx, width(font), 4), MulDiv(units.cy, height(font), 8)};
    const SIZE sheet{MulDiv(units.cx, width(sheetFont), 4), MulDiv(units.cy, height(sheetFont), 8)};
    return {sheet.cx, MulDiv(sheet.cy, height(font), height(sheetFont))};
}
