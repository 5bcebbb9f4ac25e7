#include "parameters.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/field_words.h"
#include "host/plug_in.h"

namespace larkmoor::openfx {
namespace {

constexpr double kLeastFontPixels = 4, kMostFontPixels = 4096;
constexpr std::size_t kMostTextBytes = 65535;
/// For fields without a range of their own.
constexpr double kWide = 1e6;

struct KindFacts {
    const char* type;
    int dimension;
};

const KindFacts& factsOf(Kind kind) {
    static constexpr KindFacts facts[] = {
        {"OfxParamTypeDouble", 1},   {"OfxParamTypeInteger", 1}, {"OfxParamTypeBoolean", 1},
        {"OfxParamTypeChoice", 1},   {"OfxParamTypeRGB", 3},     {"OfxParamTypeRGBA", 4},
        {"OfxParamTypeDouble2D", 2}, {"OfxParamTypeString", 1},  {"OfxParamTypeString", 1},
    };
    return facts[static_cast<std::size_t>(kind)];
}

bool isText(Kind kind) {
    return kind == Kind::Text || kind == Kind::Line;
}

bool isWhole(Kind kind) {
    return kind == Kind::Integer || kind == Kind::Boolean || kind == Kind::Choice;
}

/// A text field's escapes, which keep its text on one line, are not for a box of several lines.
std::string unescaped(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = i + 1 < text.size() ? text[i + 1] : '\0';
        if (text[i] == '\\' && (next == 'n' || next == 't' || next == '\\')) {
            out += next == 'n' ? '\n' : next == 't' ? '\t' : '\\';
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

std::string escaped(std::string_view text) {
    std::string out;
    for (const char c : text) {
        if (c == '\\') out += c;
        out += c;
    }
    return out;
}

/// The text of a parameter's part of its field.
std::string partText(const Parameter& parameter, const Value& value) {
    const double number = value.numbers[0];
    switch (parameter.kind) {
    case Kind::Text:
        return escaped(value.text);
    case Kind::Line:
        return value.text;
    case Kind::Boolean:
        return number != 0 ? "on" : "off";
    case Kind::Choice:
        return fmt::format("{}", parameter.field->choices[static_cast<std::size_t>(number)].value);
    case Kind::Integer:
        return fmt::format("{:.0f}", number);
    default:
        break;
    }
    if (parameter.field->kind == KWFIELD_FONT) return fmt::format("{:.0f}", number);
    std::string text;
    const bool color = parameter.field->kind == KWFIELD_COLOR;
    for (int i = 0; i < parameter.dimension(); ++i) {
        const double part = value.numbers[static_cast<std::size_t>(i)];
        text += fmt::format("{}{}", i ? "," : "", color ? wholeStep(part) : part);
    }
    return text;
}

Value valueOf(const Parameter& parameter, const std::string& text) {
    Value value;
    const std::size_t lastBlank = std::min(text.rfind(' '), text.size());
    switch (parameter.kind) {
    case Kind::Text:
        value.text = unescaped(text);
        return value;
    case Kind::Line:
        value.text = text.substr(0, lastBlank);
        return value;
    case Kind::Boolean:
        value.numbers[0] = text == "on" ? 1 : 0;
        return value;
    case Kind::Choice: {
        const auto found = std::ranges::find(parameter.choices, text);
        if (found != parameter.choices.end()) value.numbers[0] = static_cast<double>(found - parameter.choices.begin());
        return value;
    }
    default:
        break;
    }
    const bool font = parameter.field->kind == KWFIELD_FONT;
    const std::vector<double> numbers = fieldNumbers(font ? text.substr(std::min(lastBlank + 1, text.size())) : text);
    const std::size_t first = font ? 0 : parameter.element;
    const auto dimension = static_cast<std::size_t>(parameter.dimension());
    for (std::size_t i = 0; i < dimension && first + i < numbers.size(); ++i) value.numbers[i] = numbers[first + i];
    return value;
}

/// Names go without what hosts do not take in them: "transparencyMask_level".
std::string plainName(std::string name) {
    for (char& c : name)
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))) c = '_';
    return name;
}

void addField(std::vector<Parameter>& parameters, const EffectInfo& info, const tFieldInfo& field) {
    const std::string unit = field.unit ? field.unit : "";
    const bool ranged = field.minimum < field.maximum;
    const bool whole = field.kind == KWFIELD_WHOLE || field.type == KWTYPE_LONG;
    Parameter base{.role = Role::Field,
                   .kind = whole ? Kind::Integer : Kind::Double,
                   .name = plainName(field.name),
                   .label = fieldTitle(field),
                   .hint = std::string(field.help ? field.help : "") + (unit.empty() ? "" : " Unit: " + unit + "."),
                   .minimum = ranged ? field.minimum : -kWide,
                   .maximum = ranged ? field.maximum : kWide,
                   .step = field.step,
                   .field = &field};
    const std::string text = fieldText(field, info.defaults);
    const auto add = [&](Parameter parameter) {
        if (parameter.kind == Kind::Integer) {
            parameter.minimum = std::max<double>(parameter.minimum, INT32_MIN);
            parameter.maximum = std::min<double>(parameter.maximum, INT32_MAX);
        }
        parameter.initial = valueOf(parameter, text);
        parameters.push_back(std::move(parameter));
    };
    switch (field.kind) {
    case KWFIELD_SWITCH:
        base.kind = Kind::Boolean;
        base.minimum = 0;
        base.maximum = 1;
        return add(base);
    case KWFIELD_CHOICE:
        base.kind = Kind::Choice;
        for (LONG i = 0; i < field.choiceCount; ++i) base.choices.emplace_back(field.choices[i].text);
        base.minimum = 0;
        base.maximum = field.choiceCount - 1;
        return add(base);
    case KWFIELD_TEXT:
        base.kind = Kind::Text;
        base.animates = false;
        return add(base);
    case KWFIELD_FONT: {
        Parameter size = base;
        base.kind = Kind::Line;
        base.animates = false;
        add(base);
        size.kind = Kind::Double;
        size.name += "Size";
        size.label += " size";
        size.hint = "Height of the letters. Unit: pixels.";
        size.minimum = kLeastFontPixels;
        size.maximum = kMostFontPixels;
        size.step = 1;
        size.element = 1;
        return add(size);
    }
    default:
        break;
    }
    const std::string letters = fieldLetters(field);
    const auto count = static_cast<std::size_t>(std::max<LONG>(field.count, 1));
    if (field.kind == KWFIELD_COLOR) {
        // Full scale is 1 in a colour's text, whatever its storage.
        base.kind = letters == "rgb" ? Kind::Rgb : letters == "rgba" ? Kind::Rgba : Kind::Double;
        base.minimum = 0;
        base.maximum = 1;
        if (base.kind != Kind::Double) return add(base);
    }
    if (field.kind == KWFIELD_POINT && count == 2) {
        base.kind = Kind::Point;
        base.hint += " Across from the left and down from the top.";
        return add(base);
    }
    for (std::size_t i = 0; i < count; ++i) {
        Parameter one = base;
        one.element = i;
        const ElementWords words = elementWords(field, i, count);
        one.name += words.name;
        one.label += words.label;
        add(one);
    }
}

int decimalsOf(double step) {
    return step > 0 && step < 1 ? std::clamp(static_cast<int>(std::ceil(-std::log10(step) - 1e-9)), 1, 6) : 3;
}

} // namespace

int Parameter::dimension() const {
    return factsOf(kind).dimension;
}

Value Parameter::limited(Value value) const {
    for (std::size_t i = 0; i < static_cast<std::size_t>(dimension()); ++i) {
        double& number = value.numbers[i];
        number = std::isnan(number) ? initial.numbers[i] : std::clamp(number, minimum, maximum);
        if (isWhole(kind)) number = std::round(number);
    }
    if (value.text.size() > kMostTextBytes) value.text = initial.text;
    return value;
}

std::vector<Parameter> parametersOf(const EffectInfo& info) {
    std::vector<Parameter> parameters;
    if (info.kind == EffectKind::Transition)
        parameters.push_back({.role = Role::Progress,
                              .kind = Kind::Double,
                              .name = "progress",
                              .label = "Progress",
                              .hint = kProgressHint});
    if (!info.presets.empty()) {
        Parameter preset{.role = Role::Preset,
                         .kind = Kind::Choice,
                         .name = "preset",
                         .label = "Preset",
                         .hint = kPresetHint,
                         .maximum = static_cast<double>(info.presets.size()),
                         .choices = {"none"},
                         .animates = false};
        for (const PresetInfo& row : info.presets) preset.choices.push_back(row.name);
        parameters.push_back(std::move(preset));
    }
    for (const tFieldInfo& field : info.fields)
        if (!isIdle(field)) addField(parameters, info, field);
    if (info.watchesTime)
        parameters.push_back({.role = Role::StartTime,
                              .kind = Kind::Double,
                              .name = "startTime",
                              .label = "Start time",
                              .hint = "Time of frame 0. Unit: hours.",
                              .maximum = kMostStartHours,
                              .animates = false});
    return parameters;
}

void define(const Suites& suites, ParamSet set, std::span<const Parameter> parameters, bool ownProgress) {
    for (const Parameter& parameter : parameters) {
        const bool hosts = parameter.role == Role::Progress && !ownProgress;
        const char* const name = hosts ? kTransition : parameter.name.c_str();
        PropertySet handle = nullptr;
        if (suites.parameter->define(set, factsOf(parameter.kind).type, name, &handle) != kOk || !handle) continue;
        const Properties properties(suites, handle);
        properties.set("OfxPropLabel", parameter.label.c_str());
        properties.set("OfxParamPropHint", parameter.hint.c_str());
        properties.set("OfxParamPropScriptName", name);
        properties.set("OfxParamPropAnimates", parameter.animates ? 1 : 0);
        if (isText(parameter.kind)) {
            properties.set("OfxParamPropDefault", parameter.initial.text.c_str());
            properties.set("OfxParamPropStringMode",
                           parameter.kind == Kind::Text ? "OfxParamStringIsMultiLine" : "OfxParamStringIsSingleLine");
            continue;
        }
        for (int i = 0; i < parameter.dimension(); ++i) {
            const double initial = parameter.initial.numbers[static_cast<std::size_t>(i)];
            const auto setNumber = [&](const char* property, double number) {
                if (isWhole(parameter.kind))
                    properties.set(property, static_cast<int>(number), i);
                else
                    properties.set(property, number, i);
            };
            setNumber("OfxParamPropDefault", initial);
            if (parameter.kind == Kind::Boolean || parameter.kind == Kind::Choice) continue;
            for (const char* const least : {"OfxParamPropMin", "OfxParamPropDisplayMin"})
                setNumber(least, parameter.minimum);
            for (const char* const most : {"OfxParamPropMax", "OfxParamPropDisplayMax"})
                setNumber(most, parameter.maximum);
        }
        for (std::size_t i = 0; i < parameter.choices.size(); ++i)
            properties.set("OfxParamPropChoiceOption", parameter.choices[i].c_str(), static_cast<int>(i));
        if (parameter.kind != Kind::Double) continue;
        properties.set("OfxParamPropDoubleType", "OfxParamDoubleTypePlain");
        properties.set("OfxParamPropDigits", decimalsOf(parameter.step));
        if (parameter.step > 0) properties.set("OfxParamPropIncrement", parameter.step);
    }
}

Value valueAt(const Suites& suites, ParamHandle handle, const Parameter& parameter, double time) {
    Value value = parameter.initial;
    if (!handle) return value;
    const auto get = suites.parameter->getValueAtTime;
    int status = kOk;
    if (isText(parameter.kind)) {
        char* text = nullptr;
        status = get(handle, time, &text);
        if (status == kOk && text) value.text = text;
    } else if (isWhole(parameter.kind)) {
        int number = 0;
        status = get(handle, time, &number);
        value.numbers[0] = number;
    } else {
        auto& n = value.numbers;
        switch (parameter.dimension()) {
        case 1:
            status = get(handle, time, &n[0]);
            break;
        case 2:
            status = get(handle, time, &n[0], &n[1]);
            break;
        case 3:
            status = get(handle, time, &n[0], &n[1], &n[2]);
            break;
        default:
            status = get(handle, time, &n[0], &n[1], &n[2], &n[3]);
        }
    }
    return status == kOk ? parameter.limited(std::move(value)) : parameter.initial;
}

void setValue(const Suites& suites, ParamHandle handle, const Parameter& parameter, const Value& value) {
    if (!handle) return;
    const auto set = suites.parameter->setValue;
    const auto& n = value.numbers;
    if (isText(parameter.kind))
        set(handle, value.text.c_str());
    else if (isWhole(parameter.kind))
        set(handle, static_cast<int>(n[0]));
    else if (const int dimension = parameter.dimension(); dimension == 1)
        set(handle, n[0]);
    else if (dimension == 2)
        set(handle, n[0], n[1]);
    else if (dimension == 3)
        set(handle, n[0], n[1], n[2]);
    else
        set(handle, n[0], n[1], n[2], n[3]);
}

std::vector<std::byte> recordOf(const EffectInfo& info, std::span<const Parameter> parameters,
                                std::span<const Value> values) {
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].role == Role::Preset && values[i].numbers[0] >= 1)
            return info.presets[static_cast<std::size_t>(values[i].numbers[0]) - 1].record;
    std::vector<FieldPart> parts;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].field)
            parts.push_back(
                {parameters[i].field, values[i] != parameters[i].initial, partText(parameters[i], values[i])});
    return recordOfParts(info, parts);
}

std::vector<Value> valuesOf(std::span<const Parameter> parameters, std::span<const std::byte> record) {
    std::vector<Value> values;
    for (const Parameter& parameter : parameters)
        values.push_back(parameter.field ? valueOf(parameter, fieldText(*parameter.field, record)) : parameter.initial);
    return values;
}

void scalePixels(const EffectInfo& info, std::vector<std::byte>& record, double scale) {
    if (!(scale > 0) || scale == 1) return;
    for (const tFieldInfo& field : info.fields) {
        const bool font = field.kind == KWFIELD_FONT;
        if (!font && !(field.kind == KWFIELD_NUMBER && field.unit && std::string_view(field.unit).ends_with("pixels")))
            continue;
        const std::string text = fieldText(field, record);
        const std::size_t number = font ? text.rfind(' ') + 1 : 0;
        const std::vector<double> numbers = fieldNumbers(std::string_view(text).substr(number));
        if (numbers.size() != 1) continue;
        const double scaled = numbers[0] * scale;
        setOrKeep(field, record,
                  font ? fmt::format("{}{:.0f}", text.substr(0, number), std::max(scaled, kLeastFontPixels))
                       : fmt::format("{}", std::min(scaled, field.maximum)));
    }
}

} // namespace larkmoor::openfx
