// What the effects that draw shapes on a grid have in common: rows of a field table, and records in one line.
#pragma once

#include <array>

#include "frame/fields.h"
#include "kernels/mask_border.h"

/// Names of the shapes, by number.
inline constexpr tFieldChoice kShapeNames[] = {
    {"Circle", KW_SHAPE_CIRCLE},
    {"Oval", KW_SHAPE_OVAL},
    {"Oval side", KW_SHAPE_OVAL_SIDE},
    {"Rectangle", KW_SHAPE_RECTANGLE},
    {"Diamond", KW_SHAPE_DIAMOND},
    {"Square", KW_SHAPE_SQUARE},
    {"Triangle", KW_SHAPE_TRIANGLE},
    {"Triangle right", KW_SHAPE_TRIANGLE_RIGHT},
    {"Triangle upside down", KW_SHAPE_TRIANGLE_DOWN},
    {"Triangle left", KW_SHAPE_TRIANGLE_LEFT},
    {"Arrowhead", KW_SHAPE_ARROWHEAD},
    {"Arrowhead right", KW_SHAPE_ARROWHEAD_RIGHT},
    {"Arrowhead upside down", KW_SHAPE_ARROWHEAD_DOWN},
    {"Arrowhead left", KW_SHAPE_ARROWHEAD_LEFT},
};

/// The rows of a record that begins with a `tIRISINFO`, up to the shape, and `more` behind them.
template <class... Rows>
constexpr auto KwShapeFields(const Rows&... more) {
    constexpr const char* unit = "quarters of the cell's larger side";
    return std::array{
        KwNumber(KWMEMBER(tIRISINFO, centerX), {"&Center X:", "Where the shape's centre lies across its cell.", 0, 1,
                                                0.001, "$1.3f", "of the cell's width"}),
        KwNumber(KWMEMBER(tIRISINFO, centerY), {"C&enter Y:", "Where the shape's centre lies down its cell.", 0, 1,
                                                0.001, "$1.3f", "of the cell's height"}),
        KwNumber(KWMEMBER(tIRISINFO, feather), {"&Feather:", "How soft the edge is.", 0, 1, 0.01, "$1.2f", unit}),
        KwNumber(KWMEMBER(tIRISINFO, border), {"&Border:", "How wide the border is.", 0, 1, 0.01, "$1.2f", unit}),
        KwColor({"color", offsetof(tIRISINFO, blue), KWTYPE_FLOAT}, KWTYPE_FLOAT, "bgra",
                "Border color:", "The border's color, not premultiplied."),
        KwWhole(KWMEMBER(tIRISINFO, repeatX), {"Repeat &X:", "Columns of the grid of shapes.", 1, 100, 1, "$d"}),
        KwWhole(KWMEMBER(tIRISINFO, repeatY), {"Repeat &Y:", "Rows of the grid of shapes.", 1, 100, 1, "$d"}),
        KwChoice(KWMEMBER(tIRISINFO, shape), "&Shape:", "What is drawn in each cell.", kShapeNames),
        more...,
    };
}

/// A border colour by eye.
struct tBorderColor {
    float red, green, blue, alpha = 1;
};
inline constexpr tBorderColor kBlack{0, 0, 0}, kWhite{1, 1, 1}, kRed{1, 0, 0}, kGreen{0, 1, 0}, kBlue{0, 0, 1},
    kYellow{1, 1, 0};

/// A record in the order that people read it.
constexpr tIRISINFO KwShape(float centerX, float centerY, float feather, float border, const tBorderColor& color,
                            LONG columns, LONG rows, LONG shape, LONG direction) {
    return {.centerX = centerX,
            .centerY = centerY,
            .feather = feather,
            .border = border,
            .blue = color.blue,
            .green = color.green,
            .red = color.red,
            .alpha = color.alpha,
            .repeatX = columns,
            .repeatY = rows,
            .shape = shape,
            .direction = direction};
}
