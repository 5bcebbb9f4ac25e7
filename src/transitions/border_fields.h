// Rows of a field table for the soft coloured border of the transitions that move pictures.
#pragma once

#include "transitions/shape_fields.h" // names of border colours

template <class R>
constexpr tFieldInfo KwBorderSize(const char* label, const char* unit) {
    return KwNumber(KWMEMBER(R, border), {label, "How wide the solid border is.", 0, 1, 0.001, "$.3f", unit});
}

template <class R>
constexpr tFieldInfo KwBorderFeather(const char* unit) {
    return KwNumber(KWMEMBER(R, feather),
                    {"&Feather:", "How far the border's edges fall off.", 0, 1, 0.001, "$.3f", unit});
}

template <class R>
constexpr tFieldInfo KwBorderColor() {
    return KwColor({"color", offsetof(R, blue), KWTYPE_FLOAT}, KWTYPE_FLOAT, "bgra",
                   "&Color:", "The border's color, not premultiplied.");
}
