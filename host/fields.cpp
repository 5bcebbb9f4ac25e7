// The text form of a record's fields.

#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>

#include "fmt/format.h"
#include "host/field_words.h"
#include "host/module.h"
#include "host/names.h"
#include "host/text_fields.h"
#include "platform/font.h"
#include "platform/number.h"

namespace larkmoor {
namespace {

std::string_view textOf(const char* text) {
    return text ? text : std::string_view();
}

template <class T>
std::string plain(T value) {
    std::array<char, 400> buffer;
    return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr};
}

std::size_t elementSize(tFieldType type) {
    return type == KWTYPE_DOUBLE ? 8 : type == KWTYPE_BYTES ? 1 : 4;
}

bool isFont(const tFieldInfo& field) {
    return field.type == KWTYPE_BYTES && field.count == sizeof(tLOGFONT);
}

std::size_t countOf(const tFieldInfo& field) {
    const auto count = static_cast<std::size_t>(std::max<LONG>(field.count, 0));
    const bool lettered = field.kind == KWFIELD_COLOR || field.kind == KWFIELD_POINT;
    return lettered ? std::min(count, textOf(field.components).size()) : count;
}

void checkPlace(const tFieldInfo& field, std::size_t recordSize) {
    const std::size_t length = elementSize(field.type) * countOf(field);
    if (field.offset < 0 || static_cast<std::size_t>(field.offset) > recordSize ||
        length > recordSize - static_cast<std::size_t>(field.offset))
        throw Error(
            fmt::format("the field {} lies outside a record of {} bytes", inQuotes(textOf(field.name)), recordSize));
}

std::size_t placeOf(const tFieldInfo& field, std::size_t element) {
    return static_cast<std::size_t>(field.offset) + element * elementSize(field.type);
}

/// What full scale is in storage, where a page shows 0 to 1.
double scaleOf(const tFieldInfo& field) {
    if (field.kind != KWFIELD_COLOR) return 1;
    return field.type == KWTYPE_BYTES ? 255 : field.type == KWTYPE_LONG && field.maximum > 1 ? field.maximum : 1;
}

template <class T>
T loaded(std::span<const std::byte> record, std::size_t place) {
    T value;
    std::memcpy(&value, record.data() + place, sizeof value);
    return value;
}

double loadNumber(const tFieldInfo& field, std::span<const std::byte> record, std::size_t element) {
    const std::size_t place = placeOf(field, element);
    switch (field.type) {
    case KWTYPE_LONG:
        return loaded<LONG>(record, place);
    case KWTYPE_FLOAT:
        return loaded<float>(record, place);
    case KWTYPE_DOUBLE:
        return loaded<double>(record, place);
    default:
        return loaded<std::uint8_t>(record, place);
    }
}

std::string numberText(const tFieldInfo& field, std::span<const std::byte> record, std::size_t element) {
    // In the precision of storage, so that 0.1f reads 0.1.
    if (field.type == KWTYPE_FLOAT) return plain(loaded<float>(record, placeOf(field, element)));
    return plain(loadNumber(field, record, element) / scaleOf(field));
}

template <class T>
void stored(T value, std::span<std::byte> record, std::size_t place) {
    std::memcpy(record.data() + place, &value, sizeof value);
}

/// False where the storage has no such number.
bool storeNumber(const tFieldInfo& field, std::span<std::byte> record, std::size_t element, double value) {
    const bool isInteger = field.type == KWTYPE_LONG || field.type == KWTYPE_BYTES;
    const double scale = scaleOf(field);
    value *= scale;
    if (isInteger && scale != 1) value = std::nearbyint(value);
    if ((isInteger || field.kind == KWFIELD_WHOLE) && value != std::trunc(value)) return false;
    const std::size_t place = placeOf(field, element);
    switch (field.type) {
    case KWTYPE_LONG:
        if (value < INT32_MIN || value > INT32_MAX) return false;
        stored(static_cast<LONG>(value), record, place);
        return true;
    case KWTYPE_FLOAT:
        if (std::fabs(value) > double{FLT_MAX}) return false;
        stored(static_cast<float>(value), record, place);
        return true;
    case KWTYPE_DOUBLE:
        stored(value, record, place);
        return true;
    default:
        if (value < 0 || value > 255) return false;
        stored(static_cast<std::uint8_t>(value), record, place);
        return true;
    }
}

/// A finite number in plain form that is the whole text.
std::optional<double> parseNumber(std::string_view text) {
    text = trimmed(text);
    if (text.size() > 1 && text.front() == '+' && text[1] != '-' && text[1] != '+') text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = KwReadNumber(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
    return value;
}

std::optional<std::vector<double>> parseNumbers(std::string_view text) {
    std::vector<double> values;
    for (;;) {
        const std::size_t comma = text.find(',');
        const auto value = parseNumber(text.substr(0, comma));
        if (!value) return std::nullopt;
        values.push_back(*value);
        if (comma == std::string_view::npos) return values;
        text.remove_prefix(comma + 1);
    }
}

/// Elements in the order that people give them: red, green, blue, alpha; other letters as they are stored.
std::vector<std::size_t> shownOrder(const tFieldInfo& field) {
    const std::string_view letters = textOf(field.components);
    std::vector<std::size_t> order(countOf(field));
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    constexpr std::string_view kOrder = "rgba";
    if (field.kind == KWFIELD_COLOR && letters.find_first_not_of(kOrder) == std::string_view::npos)
        std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
            return std::pair(kOrder.find(letters[a]), a) < std::pair(kOrder.find(letters[b]), b);
        });
    return order;
}

/// Red, green, blue and perhaps alpha of "#RRGGBB" or "#RRGGBBAA", as 0 to 1.
std::optional<std::vector<double>> parseHexColor(std::string_view text) {
    text.remove_prefix(1);
    if (text.size() != 6 && text.size() != 8) return std::nullopt;
    std::vector<double> values;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        unsigned value = 0;
        const auto [end, error] = std::from_chars(text.data() + i, text.data() + i + 2, value, 16);
        if (error != std::errc() || end != text.data() + i + 2) return std::nullopt;
        values.push_back(value / 255.0);
    }
    return values;
}

std::string rangeText(const tFieldInfo& field) {
    std::string text;
    if (field.minimum < field.maximum) text = fmt::format(" from {} to {}", plain(field.minimum), plain(field.maximum));
    if (const auto unit = textOf(field.unit); !unit.empty())
        text += text.empty() ? fmt::format(" ({})", unit) : fmt::format(" {}", unit);
    return text;
}

std::span<const tFieldChoice> choicesOf(const tFieldInfo& field) {
    if (!field.choices || field.choiceCount < 1) return {};
    return {field.choices, static_cast<std::size_t>(field.choiceCount)};
}

/// What the field takes, as the end of "the field takes ...".
std::string takenText(const tFieldInfo& field) {
    switch (field.kind) {
    case KWFIELD_SWITCH:
        return "on or off";
    case KWFIELD_CHOICE: {
        std::vector<std::string> texts;
        for (const tFieldChoice& choice : choicesOf(field)) texts.emplace_back(textOf(choice.text));
        if (texts.empty()) return "a number";
        const auto [least, most] = std::ranges::minmax(choicesOf(field), {}, &tFieldChoice::value);
        return fmt::format("{} or a number from {} to {}", quotedList(texts), least.value, most.value);
    }
    case KWFIELD_COLOR: {
        const std::string letters = fieldLetters(field);
        const std::string_view hex = letters == "rgb"    ? "a color as #RRGGBB or "
                                     : letters == "rgba" ? "a color as #RRGGBB, #RRGGBBAA or "
                                                         : "";
        std::string names;
        for (const char c : letters) {
            if (!names.empty()) names += ',';
            names += c == 'r' ? "red" : c == 'g' ? "green" : c == 'b' ? "blue" : c == 'a' ? "alpha" : std::string(1, c);
        }
        return fmt::format("{}numbers from 0 to 1 as {}", hex, names);
    }
    case KWFIELD_POINT:
        return "a point as x,y, each a number" + rangeText(field);
    default: {
        const bool whole = field.kind == KWFIELD_WHOLE || field.type == KWTYPE_LONG || field.type == KWTYPE_BYTES;
        const std::string one = (whole ? "whole number" : "number");
        return (field.count == 1 ? "a " + one : fmt::format("{} {}s with commas between, each", field.count, one)) +
               rangeText(field);
    }
    }
}

std::optional<double> parseSwitch(std::string_view text) {
    for (const char* on : {"on", "yes", "true"})
        if (sameName(text, on)) return 1;
    for (const char* off : {"off", "no", "false"})
        if (sameName(text, off)) return 0;
    return parseNumber(text);
}

std::optional<double> parseChoice(const tFieldInfo& field, std::string_view text) {
    for (const tFieldChoice& choice : choicesOf(field))
        if (textOf(choice.text) == text) return choice.value;
    for (const tFieldChoice& choice : choicesOf(field))
        if (sameName(textOf(choice.text), text)) return choice.value;
    return parseNumber(text);
}

/// The values of all elements in the order of `shownOrder`, or nothing for junk.
std::optional<std::vector<double>> parseValues(const tFieldInfo& field, std::string_view text) {
    const auto single = [](std::optional<double> value) {
        return value ? std::optional(std::vector{*value}) : std::nullopt;
    };
    if (field.kind == KWFIELD_SWITCH) return single(parseSwitch(text));
    if (field.kind == KWFIELD_CHOICE) return single(parseChoice(field, text));
    if (field.kind != KWFIELD_COLOR) return parseNumbers(text);
    const std::string letters = fieldLetters(field);
    const bool isRgb = letters == "rgb" || letters == "rgba";
    auto values = text.starts_with('#') ? isRgb ? parseHexColor(text) : std::nullopt : parseNumbers(text);
    // A colour without alpha is opaque.
    if (values && letters == "rgba" && values->size() == 3) values->push_back(1);
    return values;
}

} // namespace

std::string fieldText(const tFieldInfo& field, std::span<const std::byte> record) {
    if (field.kind == KWFIELD_TEXT) return loadText(field, record);
    checkPlace(field, record.size());
    if (field.kind == KWFIELD_FONT) return isFont(field) ? loadFont(field, record) : std::string();
    if (countOf(field) == 0) return {};
    if (field.kind == KWFIELD_SWITCH || field.kind == KWFIELD_CHOICE) {
        const double value = loadNumber(field, record, 0);
        if (field.kind == KWFIELD_SWITCH && (value == 0 || value == 1)) return value == 1 ? "on" : "off";
        for (const tFieldChoice& choice : choicesOf(field))
            if (choice.value == value) return std::string(textOf(choice.text));
    }
    std::string text;
    for (const std::size_t i : shownOrder(field)) {
        if (!text.empty()) text += ',';
        text += numberText(field, record, i);
    }
    return text;
}

void setFieldText(const tFieldInfo& field, std::span<std::byte> record, std::string_view text) {
    const std::string name = inQuotes(textOf(field.name));
    if (field.kind == KWFIELD_TEXT || (field.kind == KWFIELD_FONT && !isFont(field)))
        throw Error(fmt::format("the field {} cannot be set as text here", name));
    checkPlace(field, record.size());
    if (field.kind == KWFIELD_FONT) {
        if (storeFont(field, record, text)) return;
        throw Error(fmt::format("the field {} takes a font as family, style and pixels, such as \"Liberation Sans Bold "
                                "72\", not {}",
                                name, inQuotes(text)));
    }
    const auto order = shownOrder(field);
    const auto values = parseValues(field, trimmed(text));
    std::vector<std::byte> changed(record.begin(), record.end());
    bool fits = values && values->size() == order.size();
    for (std::size_t i = 0; fits && i < order.size(); ++i) fits = storeNumber(field, changed, order[i], (*values)[i]);
    if (!fits) throw Error(fmt::format("the field {} takes {}, not {}", name, takenText(field), inQuotes(text)));
    std::copy(changed.begin(), changed.end(), record.begin());
}

void setFieldText(const tFieldInfo& field, std::vector<std::byte>& record, std::string_view text) {
    if (field.kind == KWFIELD_TEXT)
        storeText(field, record, text);
    else
        setFieldText(field, std::span(record), text);
}

std::optional<std::string> fieldFault(const tFieldInfo& field, std::span<const std::byte> record) {
    if (field.kind == KWFIELD_TEXT || field.kind == KWFIELD_FONT) return {};
    checkPlace(field, record.size());
    const auto fits = [&](double value) {
        if (field.kind == KWFIELD_SWITCH) return value == 0 || value == 1;
        if (field.kind == KWFIELD_CHOICE)
            return field.choiceCount < 1 || std::ranges::count(choicesOf(field), value, &tFieldChoice::value) > 0;
        if (field.kind == KWFIELD_COLOR) return value >= 0 && value <= scaleOf(field);
        if (!(field.minimum < field.maximum)) return true;
        // In the precision of storage, so that 0.1f lies within 0.1.
        if (field.type == KWTYPE_FLOAT)
            return value >= static_cast<float>(field.minimum) && value <= static_cast<float>(field.maximum);
        return value >= field.minimum && value <= field.maximum;
    };
    for (std::size_t i = 0; i < countOf(field); ++i)
        if (!fits(loadNumber(field, record, i)))
            return fmt::format("the field {} takes {}, not {}", inQuotes(textOf(field.name)), takenText(field),
                               inQuotes(fieldText(field, record)));
    return {};
}

const tFieldInfo* EffectInfo::textField() const {
    const auto found =
        std::find_if(fields.begin(), fields.end(), [](const tFieldInfo& row) { return row.kind == KWFIELD_TEXT; });
    return found == fields.end() ? nullptr : &*found;
}

const tFieldInfo& EffectInfo::field(std::string_view wanted) const {
    for (const tFieldInfo& row : fields)
        if (sameName(wanted, textOf(row.name))) return row;
    const auto label = [](const tFieldInfo& row) {
        std::string_view text = textOf(row.label);
        while (text.ends_with(':')) text.remove_suffix(1);
        return text;
    };
    for (const tFieldInfo& row : fields)
        if (sameName(wanted, label(row))) return row;
    if (fields.empty()) throw Error(fmt::format("{} has no field {}: it has no fields at all", name, inQuotes(wanted)));
    std::vector<Candidate> candidates;
    for (const tFieldInfo& row : fields)
        candidates.push_back({std::string(textOf(row.name)), {std::string(label(row))}});
    throw Error(fmt::format("{} has no field {}; {}", name, inQuotes(wanted), didYouMean(wanted, candidates)));
}

const PresetInfo& EffectInfo::preset(std::string_view wanted) const {
    for (const PresetInfo& row : presets)
        if (sameName(wanted, row.name)) return row;
    std::size_t number = 0;
    const std::string_view digits = trimmed(wanted);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isNumber =
        end == digits.data() + digits.size() && !digits.empty() && error != std::errc::invalid_argument;
    if (isNumber && error == std::errc() && number < presets.size()) return presets[number];
    if (presets.empty())
        throw Error(fmt::format("{} has no preset {}: it has no presets at all", name, inQuotes(wanted)));
    if (isNumber)
        throw Error(
            fmt::format("{} has no preset {}; its presets have the numbers 0 to {}", name, digits, presets.size() - 1));
    std::vector<Candidate> candidates;
    for (const PresetInfo& row : presets) candidates.push_back({row.name});
    throw Error(fmt::format("{} has no preset {}; {}", name, inQuotes(wanted), didYouMean(wanted, candidates)));
}

} // namespace larkmoor
