// Rows of a field table, told once: they serve ramps, command lines, listings, bridges and pages.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <type_traits>

#include "platform/effect.h"

/// A member of a record: its name, place and number type.
struct tMember {
    const char* name;
    LONG offset;
    tFieldType type;
};

template <class T>
constexpr tFieldType KwTypeOf() {
    using Element = std::remove_cv_t<std::remove_all_extents_t<T>>;
    if constexpr (std::is_same_v<Element, double>) return KWTYPE_DOUBLE;
    if constexpr (std::is_same_v<Element, float>) return KWTYPE_FLOAT;
    if constexpr (sizeof(Element) == 4 && (std::is_integral_v<Element> || std::is_enum_v<Element>)) return KWTYPE_LONG;
    return KWTYPE_BYTES;
}

/// Name, place and type from one naming of the member, which no function can take.
#define KWMEMBER(record, member)                                                                                       \
    tMember {                                                                                                          \
#member, static_cast < LONG>(offsetof(record, member)), KwTypeOf < decltype(record::member)>()                 \
    }

/// What people are told of a number, and the range that pages keep.
struct tNumberText {
    const char* label;
    const char* help;
    double minimum, maximum, step;
    const char* format = "";
    const char* unit = "";
};

constexpr tFieldInfo KwField(const tMember& member, tFieldKind kind, const tNumberText& text, tFieldRamp ramp) {
    return {.name = member.name,
            .label = text.label,
            .help = text.help,
            .unit = text.unit,
            .format = text.format,
            .components = "",
            .choices = nullptr,
            .choiceCount = 0,
            .kind = kind,
            .type = member.type,
            .offset = member.offset,
            .count = 1,
            .ramp = ramp,
            .minimum = text.minimum,
            .maximum = text.maximum,
            .step = text.step};
}

/// A real number, linear under a ramp unless said otherwise.
constexpr tFieldInfo KwNumber(const tMember& member, const tNumberText& text, tFieldRamp ramp = KWRAMP_LINEAR) {
    return KwField(member, KWFIELD_NUMBER, text, ramp);
}

/// A whole number, taken from the start record of a ramp.
constexpr tFieldInfo KwWhole(const tMember& member, const tNumberText& text) {
    return KwField(member, KWFIELD_WHOLE, text, KWRAMP_START);
}

/// 0 or 1, taken from the start record of a ramp.
constexpr tFieldInfo KwSwitch(const tMember& member, const char* label, const char* help) {
    return KwField(member, KWFIELD_SWITCH, {label, help, 0, 1, 1}, KWRAMP_START);
}

/// One of several values, taken from the start record of a ramp. The choices are static.
template <std::size_t N>
constexpr tFieldInfo KwChoice(const tMember& member, const char* label, const char* help,
                              const tFieldChoice (&choices)[N]) {
    tFieldInfo field = KwField(member, KWFIELD_CHOICE, {label, help, 0, 0, 1}, KWRAMP_START);
    field.choices = choices;
    field.choiceCount = static_cast<LONG>(N);
    field.minimum = field.maximum = choices[0].value;
    for (const tFieldChoice& choice : choices) {
        field.minimum = choice.value < field.minimum ? choice.value : field.minimum;
        field.maximum = choice.value > field.maximum ? choice.value : field.maximum;
    }
    return field;
}

/// Several numbers 0 to 1 that stand one behind the other from `first` on, one for each letter of `components`
/// ("rgba" in the order of storage). `type` is that of each number.
constexpr tFieldInfo KwColor(const tMember& first, tFieldType type, const char* components, const char* label,
                             const char* help, tFieldRamp ramp = KWRAMP_LINEAR) {
    tFieldInfo field = KwField(first, KWFIELD_COLOR, {label, help, 0, 1, 1.0 / 255}, ramp);
    field.components = components;
    field.type = type;
    field.count = static_cast<LONG>(std::char_traits<char>::length(components));
    return field;
}

/// Two numbers, x then y.
constexpr tFieldInfo KwPoint(const tMember& first, const tNumberText& text, tFieldRamp ramp = KWRAMP_LINEAR) {
    tFieldInfo field = KwField(first, KWFIELD_POINT, text, ramp);
    field.components = "xy";
    field.count = 2;
    return field;
}

/// The record at `position` between two others of `size` bytes, by each field's ramp rule; padding and every other
/// field come from `from`. Linear fields are computed in their own precision, without a clamp. `out` may be neither.
void KwInterpolateRecord(std::span<const tFieldInfo> fields, const std::byte* from, const std::byte* to,
                         double position, std::byte* out, std::size_t size);
