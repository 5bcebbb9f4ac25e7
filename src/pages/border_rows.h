// The group of controls for the soft coloured border of transitions.
#pragma once

#include "pages/page_table.h"

/// Ids of the group; no page has it twice.
enum tBorderId : LONG {
    kBorderGroup = 1210,
    kBorderSize = 1211,
    kBorderSizeEdit = 1212,
    kBorderFeather = 1213,
    kBorderFeatherEdit = 1214,
    kBorderColor = 1215,
};

inline constexpr LONG kBorderHeight = 146; ///< dialog units

/// Frame, size, feather and colour, from `y` down across a page of that width.
constexpr auto KwBorderRows(LONG y, LONG pageWidth) {
    const tPageColumns columns{kPageMargin + 6, 34, pageWidth - kPageMargin - 6};
    return KwItems(KwItem({.kind = KWCONTROL_GROUP,
                           .id = kBorderGroup,
                           .place = {kPageMargin, y, pageWidth - kPageMargin, y + kBorderHeight},
                           .text = "Border"}),
                   KwSlider(y + 12, columns, "border", kBorderSize, kBorderSizeEdit, kThousandthsCut),
                   KwSlider(y + 28, columns, "feather", kBorderFeather, kBorderFeatherEdit, kThousandthsCut),
                   KwPicker(columns.left, y + 46, columns.right - columns.left, 94, "color", kBorderColor));
}
