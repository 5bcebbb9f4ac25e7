// What the pages of effects that draw shapes on a grid have in common.
#pragma once

#include "pages/page_table.h"

/// Ids of the rows.
enum tShapeId : LONG {
    kShapeColor = 1231,
    kShapeCenter = 1232,
    kShapeList = 1233,
    kShapeMode = 1234,
    kShapeFeather = 1235,
    kShapeFeatherEdit = 1236,
    kShapeBorder = 1237,
    kShapeBorderEdit = 1238,
    kShapeRepeatX = 1239,
    kShapeRepeatXEdit = 1240,
    kShapeRepeatY = 1241,
    kShapeRepeatYEdit = 1242,
    kShapeCenterX = 1243,
    kShapeCenterY = 1244,
    kShapeSize = 1245,
    kShapeSizeEdit = 1246,
};

inline constexpr LONG kShapeWidth = 290;
inline constexpr tPageColumns kShapeColumns = KwColumns(kShapeWidth, 44);

/// An edit with its label.
constexpr auto KwNumberEdit(LONG x, LONG y, LONG labelWidth, const char* field, LONG id) {
    return std::array{KwLabel(KwPlace(x, y + 2, labelWidth, 9), field, id),
                      tPageItem{.kind = KWCONTROL_EDIT,
                                .id = id,
                                .place = KwPlace(x + labelWidth + 3, y, kEditWidth, kRowHeight),
                                .field = field}};
}

/// Shape, what is done with it (`mode`), edge, grid, centre and colour; `size` stands between, if anything.
template <std::size_t N>
constexpr auto KwShapeRows(const char* mode, LONG modeWidth, const std::array<tPageItem, N>& size) {
    constexpr LONG second = N == 0 ? KwRow(5) : KwRow(6), centre = 128;
    return KwItems(KwDropDown(KwRow(0), kPageMargin, 44, 86, "shape", kShapeList),
                   KwDropDown(KwRow(0), 146, 38, modeWidth, mode, kShapeMode),
                   KwSlider(KwRow(1), kShapeColumns, "feather", kShapeFeather, kShapeFeatherEdit, kHundredthsCut),
                   KwSlider(KwRow(2), kShapeColumns, "border", kShapeBorder, kShapeBorderEdit, kHundredthsCut),
                   KwSlider(KwRow(3), kShapeColumns, "repeatX", kShapeRepeatX, kShapeRepeatXEdit, kCount),
                   KwSlider(KwRow(4), kShapeColumns, "repeatY", kShapeRepeatY, kShapeRepeatYEdit, kCount), size,
                   KwItem({.kind = KWCONTROL_PLACEMENT,
                           .id = kShapeCenter,
                           .place = KwPlace(kPageMargin, second + 2, 110, 66),
                           .field = "centerX",
                           .secondField = "centerY"}),
                   KwNumberEdit(centre, second + 4, 42, "centerX", kShapeCenterX),
                   KwNumberEdit(centre, second + 22, 42, "centerY", kShapeCenterY),
                   KwPicker(kPageMargin, second + 72, kShapeWidth - 2 * kPageMargin, 94, "color", kShapeColor));
}
