// What a page states of itself: a table of controls. Labels, ranges, steps and formats come from the effect's field
// table.
#pragma once

#include <array>
#include <cmath>
#include <span>

#include "base/arith.h"
#include "frame/effect_class.h"
#include "platform/page.h"

/// How a trackbar's position and a value follow from each other.
struct tPageScale {
    LONG minimum, maximum;     ///< positions
    LONG smallStep, largeStep; ///< 0: a tenth of the range
    LONG (*toPosition)(double value);
    double (*toValue)(LONG position);
};

constexpr LONG KwRoundAway(double value) {
    return KwTrunc(value < 0 ? value - 0.5 : value + 0.5);
}

/// 0 to 1 in thousandths; some pages round to nearest, the others truncate.
inline constexpr tPageScale kThousandths{
    0, 1000, 1, 100, [](double v) { return KwRoundAway(v * 1000.0); }, [](LONG p) { return p * 0.001; }};
inline constexpr tPageScale kThousandthsCut{
    0, 1000, 1, 100, [](double v) { return KwTrunc(v * 1000.0); }, [](LONG p) { return p * 0.001; }};
inline constexpr tPageScale kHundredths{
    0, 100, 1, 10, [](double v) { return KwRoundAway(v * 100.0); }, [](LONG p) { return p * 0.01; }};
inline constexpr tPageScale kHundredthsCut{
    0, 100, 1, 10, [](double v) { return KwTrunc(v * 100.0); }, kHundredths.toValue};
inline constexpr tPageScale kSignedHundredths{-100, 100, 1, 10, kHundredths.toPosition, kHundredths.toValue};
/// 0 to 2 in thousandths.
inline constexpr tPageScale kTwoThousandths{0, 2000, 1, 200, kThousandthsCut.toPosition, kThousandths.toValue};
/// 1 to 100 as it is.
inline constexpr tPageScale kCount{
    1, 100, 1, 10, [](double v) { return KwTrunc(v); }, [](LONG p) { return double(p); }};

/// A control of a page.
struct tPageItem {
    tPageControlKind kind = KWCONTROL_LABEL;
    LONG id = 0; ///< 0 for a label that nothing asks for
    RECT place{};
    const char* field = "";            ///< by name in the field table; for a placement the point, or its x
    const char* text = nullptr;        ///< null: the field's label
    const tPageScale* scale = nullptr; ///< of a trackbar
    LONG value = 0;                    ///< of a radio button: the field's value that it stands for
    LONG buddy = 0;         ///< of a label or spinner; of a trackbar: the one whose default position follows it
    bool showsMate = false; ///< the default position follows when the record is shown, too
    bool sorted = false;    ///< of a list
    const char* enabledBy = nullptr;   ///< a switch without which the control is off
    ULONG style = 0;                   ///< of a colour picker
    const char* elements = nullptr;    ///< of a colour that lies in fields of their own: their letters in storage order
    const char* secondField = nullptr; ///< of a placement: its y
};

/// What an edit does at the partner of its field.
enum class tPairEdit { STOPS, PUSHES };

/// Two fields that bound each other. A trackbar that goes past its partner takes it along.
struct tPagePair {
    const char* low;
    const char* high;
    tPairEdit lowEdit = tPairEdit::STOPS, highEdit = tPairEdit::STOPS;
};

/// A page as data.
struct tPageInfo {
    const char* title; ///< caption of the Logo band
    SIZE size;         ///< dialog units
    LONG helpTopic;
    std::span<const tPageItem> items;
    std::span<const tPagePair> pairs{};
};

/// Joins rows of items.
template <std::size_t... N>
constexpr auto KwItems(const std::array<tPageItem, N>&... parts) {
    std::array<tPageItem, (N + ... + 0)> all{};
    std::size_t at = 0;
    const auto add = [&](const auto& part) {
        for (const tPageItem& item : part) all[at++] = item;
    };
    (add(parts), ...);
    return all;
}

/// Where the parts of a row stand: a label, a trackbar and an edit.
struct tPageColumns {
    LONG left, label, right; ///< left margin, width of the label, right end
};

inline constexpr LONG kPageMargin = 7, kLogoHeight = 15, kFirstRow = 20, kRowStep = 16, kRowHeight = 12;
inline constexpr LONG kEditWidth = 36;

constexpr tPageColumns KwColumns(LONG pageWidth, LONG labelWidth) {
    return {kPageMargin, labelWidth, pageWidth - kPageMargin};
}
constexpr LONG KwRow(LONG index) {
    return kFirstRow + index * kRowStep;
}
constexpr RECT KwPlace(LONG x, LONG y, LONG width, LONG height) {
    return {x, y, x + width, y + height};
}
constexpr std::array<tPageItem, 1> KwItem(const tPageItem& item) {
    return {item};
}
/// A label for the control behind it, from a field or with a text of its own.
constexpr tPageItem KwLabel(RECT place, const char* field, LONG buddy, const char* text = nullptr) {
    return {.kind = KWCONTROL_LABEL, .place = place, .field = field, .text = text, .buddy = buddy};
}

/// What differs in a row.
struct tSliderMore {
    LONG mate = 0;
    bool showsMate = false;
    const char* enabledBy = nullptr;
    const char* text = nullptr;
    LONG labelId = 0;
};

/// Label, trackbar and edit of a number.
constexpr std::array<tPageItem, 3> KwSlider(LONG y, const tPageColumns& columns, const char* field, LONG trackbar,
                                            LONG edit, const tPageScale& scale, const tSliderMore& more = {}) {
    const LONG bar = columns.left + columns.label + 3, number = columns.right - kEditWidth;
    return {{{.kind = KWCONTROL_LABEL,
              .id = more.labelId,
              .place = KwPlace(columns.left, y + 2, columns.label, 9),
              .field = field,
              .text = more.text,
              .buddy = trackbar},
             {.kind = KWCONTROL_TRACKBAR,
              .id = trackbar,
              .place = {bar, y, number - 4, y + kRowHeight},
              .field = field,
              .scale = &scale,
              .buddy = more.mate,
              .showsMate = more.showsMate,
              .enabledBy = more.enabledBy},
             {.kind = KWCONTROL_EDIT,
              .id = edit,
              .place = KwPlace(number, y, kEditWidth, kRowHeight),
              .field = field,
              .enabledBy = more.enabledBy}}};
}

/// A check box.
constexpr std::array<tPageItem, 1> KwCheck(RECT place, const char* field, LONG id) {
    return {{{.kind = KWCONTROL_CHECK, .id = id, .place = place, .field = field}}};
}

/// Label and drop-down list of a choice.
constexpr std::array<tPageItem, 2> KwDropDown(LONG y, LONG x, LONG labelWidth, LONG listWidth, const char* field,
                                              LONG id, bool sorted = false) {
    return {{KwLabel(KwPlace(x, y + 2, labelWidth, 9), field, id),
             {.kind = KWCONTROL_LIST,
              .id = id,
              .place = KwPlace(x + labelWidth + 3, y, listWidth, kRowHeight),
              .field = field,
              .sorted = sorted}}};
}

/// A radio button for one value of a choice, whose text it shows.
constexpr std::array<tPageItem, 1> KwRadio(RECT place, const char* field, LONG value, LONG id) {
    return {{{.kind = KWCONTROL_RADIO, .id = id, .place = place, .field = field, .value = value}}};
}

inline constexpr ULONG kPickAlpha = 1 << 1, kPickGamut = 1 << 6;

/// A colour picker under its label.
constexpr std::array<tPageItem, 2> KwPicker(LONG x, LONG y, LONG width, LONG height, const char* field, LONG id,
                                            ULONG style = kPickAlpha | kPickGamut) {
    return {{KwLabel(KwPlace(x, y, width, 9), field, id),
             {.kind = KWCONTROL_COLOR,
              .id = id,
              .place = KwPlace(x, y + 10, width, height - 10),
              .field = field,
              .style = style}}};
}
