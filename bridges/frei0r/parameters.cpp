#include "parameters.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "host/field_words.h"
#include "host/plug_in.h"

namespace larkmoor::frei0r {
namespace {

constexpr double kMostRate = 240, kUsualRate = 25;

std::string textOf(const char* text) {
    return text ? text : "";
}

/// Hosts that set by position reach the first ones best: what is written, then what animates.
int rankOf(const tFieldInfo& field) {
    return field.kind == KWFIELD_TEXT ? 0 : field.ramp != KWRAMP_START ? 1 : 2;
}

std::string choicesText(const Parameter& parameter) {
    std::string text;
    const double last = static_cast<double>(std::max<std::size_t>(parameter.choices.size(), 2) - 1);
    for (std::size_t i = 0; i < parameter.choices.size(); ++i)
        text += fmt::format("{}{:.6g} {}", i ? "; " : "", static_cast<double>(i) / last, parameter.choices[i]);
    return text;
}

/// A sentence for the range and the default.
void explain(Parameter& parameter) {
    std::string text = parameter.help;
    if (!text.empty()) text += ' ';
    if (parameter.type == F0R_PARAM_STRING) {
        parameter.explanation = text + "A text.";
        return;
    }
    if (parameter.type == F0R_PARAM_COLOR) {
        const auto& color = std::get<f0r_param_color_t>(parameter.initial);
        parameter.explanation = fmt::format("{}Default: red {:.4g}, green {:.4g}, blue {:.4g}.", text, double{color.r},
                                            double{color.g}, double{color.b});
        return;
    }
    const double initial = std::get<double>(parameter.initial);
    if (parameter.type == F0R_PARAM_BOOL)
        text += fmt::format("On or off; default: {}.", initial >= 0.5 ? "on" : "off");
    else if (!parameter.choices.empty())
        text += fmt::format("{}; default: {}.", choicesText(parameter), parameter.choices[parameter.choice(initial)]);
    else {
        const std::string unit = parameter.unit.empty() ? "" : " " + parameter.unit;
        if (parameter.minimum == 0 && parameter.maximum == 1)
            text += fmt::format("0 to 1{}; default: {:.10g}.", unit, initial);
        else
            text += fmt::format("0 to 1 stands for {:.10g} to {:.10g}{}; default: {:.6g}, which is {:.10g}.",
                                parameter.minimum, parameter.maximum, unit, initial, parameter.real(initial));
    }
    parameter.explanation = std::move(text);
}

void addField(std::vector<Parameter>& parameters, const EffectInfo& info, const tFieldInfo& field) {
    Parameter base{.role = Role::Field,
                   .name = textOf(field.name),
                   .title = fieldTitle(field),
                   .help = textOf(field.help),
                   .unit = textOf(field.unit),
                   .minimum = field.minimum,
                   .maximum = field.maximum,
                   .whole = field.kind == KWFIELD_WHOLE || field.type == KWTYPE_LONG,
                   .field = &field};
    const auto add = [&](Parameter parameter, Value initial) {
        parameter.initial = std::move(initial);
        explain(parameter);
        parameters.push_back(std::move(parameter));
    };
    const std::string text = fieldText(field, info.defaults);
    switch (field.kind) {
    case KWFIELD_SWITCH:
        base.type = F0R_PARAM_BOOL;
        add(base, text == "on" ? 1.0 : 0.0);
        return;
    case KWFIELD_CHOICE: {
        std::size_t index = 0;
        for (LONG i = 0; i < field.choiceCount; ++i) {
            base.choices.push_back(textOf(field.choices[i].text));
            if (base.choices.back() == text) index = static_cast<std::size_t>(i);
        }
        add(base, base.normal(static_cast<double>(index)));
        return;
    }
    case KWFIELD_TEXT:
    case KWFIELD_FONT:
        base.type = F0R_PARAM_STRING;
        add(base, text);
        return;
    default:
        break;
    }
    const std::vector<double> numbers = fieldNumbers(text);
    const std::string letters = fieldLetters(field);
    base.count = 1;
    if (field.kind == KWFIELD_COLOR) {
        // Full scale is 1 in a colour's text, whatever its storage.
        base.minimum = 0;
        base.maximum = 1;
        base.whole = false;
        if (letters.starts_with("rgb") && numbers.size() >= 3) {
            Parameter color = base;
            color.type = F0R_PARAM_COLOR;
            color.count = base.element = 3;
            add(color, f0r_param_color_t{static_cast<float>(numbers[0]), static_cast<float>(numbers[1]),
                                         static_cast<float>(numbers[2])});
        }
    }
    for (std::size_t i = base.element; i < numbers.size(); ++i) {
        Parameter one = base;
        one.element = i;
        const ElementWords words = elementWords(field, i, numbers.size());
        one.name += words.name;
        one.title += words.label;
        add(one, one.normal(numbers[i]));
    }
}

std::vector<Parameter> timeParameters() {
    std::vector<Parameter> all{
        {.role = Role::StartTime,
         .name = "startTime",
         .title = "Start time",
         .help = "Time of the first frame, rounded to a whole frame.",
         .unit = "hours",
         .maximum = kMostStartHours},
        {.role = Role::FrameRate,
         .name = "frameRate",
         .title = "Frame rate",
         .help = "Rate of the frames, which the host does not tell.",
         .unit = "frames a second",
         .maximum = kMostRate},
        {.role = Role::TimeUnit,
         .name = "timeUnit",
         .title = "Unit of time",
         .help = "What the host counts time in.",
         .choices = {"Automatic", "Seconds", "Milliseconds"}},
    };
    all[0].initial = 0.0;
    all[1].initial = all[1].normal(kUsualRate);
    all[2].initial = 0.0;
    for (Parameter& parameter : all) explain(parameter);
    return all;
}

double fraction(double number) {
    return number > 0 ? std::min(number, 1.0) : 0.0;
}

/// As a person would have given it: without the last digits, in which mapping onto a range goes astray.
std::string plainNumber(double value, double scale) {
    const int decimals = std::clamp(13 - static_cast<int>(std::ceil(std::log10(std::max(scale, 1e-6)))), 0, 17);
    return fmt::format("{:.{}f}", value, decimals);
}

std::string numberText(const Parameter& parameter, double number) {
    const double value = parameter.real(number);
    if (parameter.minimum == 0 && parameter.maximum == 1) return fmt::format("{}", value);
    if (!parameter.whole)
        return plainNumber(value, std::max(std::fabs(parameter.minimum), std::fabs(parameter.maximum)));
    // An unsigned number in signed storage.
    const bool wraps = parameter.field && parameter.field->type == KWTYPE_LONG && value > INT32_MAX;
    return fmt::format("{:.0f}", wraps ? value - 4294967296.0 : value);
}

/// For the sliders whose range is not from 0 to 1 anyway.
void addOwnUnits(std::vector<Parameter>& parameters) {
    for (std::size_t i = 0, count = parameters.size(); i < count; ++i) {
        const Parameter& twin = parameters[i];
        if (twin.type != F0R_PARAM_DOUBLE || !twin.choices.empty()) continue;
        if (twin.minimum == 0 && twin.maximum == 1) continue;
        const std::string unit = twin.unit.empty() ? "" : " " + twin.unit;
        const std::string range = fmt::format("{:.10g} to {:.10g}{}", twin.minimum, twin.maximum, unit);
        // To the last bit what a host reads from this number's text: setting it is then no change.
        const double initial = std::stod(numberText(twin, std::get<double>(twin.initial)));
        Parameter own{.role = Role::OwnUnit,
                      .name = twin.name + "Real",
                      .title = fmt::format("{} ({})", twin.title, range),
                      .help = twin.help,
                      .explanation = fmt::format("As `{}`, but {}; default: {:.10g}. Of the two the one that changed "
                                                 "last counts.",
                                                 twin.name, range, initial),
                      .unit = twin.unit,
                      .minimum = twin.minimum,
                      .maximum = twin.maximum,
                      .whole = twin.whole,
                      .initial = initial,
                      .field = twin.field,
                      .twin = i};
        parameters.push_back(std::move(own));
    }
}

std::string channelText(float channel) {
    return fmt::format("{}", wholeStep(fraction(channel)));
}

std::string elementText(const Parameter& parameter, const Value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) return *text;
    if (const auto* color = std::get_if<f0r_param_color_t>(&value))
        return channelText(color->r) + "," + channelText(color->g) + "," + channelText(color->b);
    const double number = std::get<double>(value);
    if (parameter.type == F0R_PARAM_BOOL) return number >= 0.5 ? "on" : "off";
    if (!parameter.choices.empty()) return fmt::format("{}", parameter.field->choices[parameter.choice(number)].value);
    return numberText(parameter, number);
}

} // namespace

std::size_t Parameter::choice(double number) const {
    if (choices.empty()) return 0;
    return static_cast<std::size_t>(std::lround(fraction(number) * static_cast<double>(choices.size() - 1)));
}

double Parameter::real(double number) const {
    if (!choices.empty()) return static_cast<double>(choice(number));
    const double value = minimum + fraction(number) * (maximum - minimum);
    return whole ? std::round(value) : value;
}

double Parameter::normal(double value) const {
    if (choices.size() > 1) return fraction(value / static_cast<double>(choices.size() - 1));
    return maximum > minimum ? fraction((value - minimum) / (maximum - minimum)) : 0.0;
}

std::vector<Parameter> parametersOf(const EffectInfo& info) {
    std::vector<Parameter> parameters;
    if (info.kind == EffectKind::Transition) {
        Parameter progress{.role = Role::Progress, .name = "position", .title = "Position", .help = kProgressHint};
        progress.initial = 0.0;
        explain(progress);
        parameters.push_back(std::move(progress));
    }
    if (!info.presets.empty()) {
        Parameter preset{
            .role = Role::Preset, .name = "preset", .title = "Preset", .help = kPresetHint, .choices = {"none"}};
        for (const PresetInfo& row : info.presets) preset.choices.push_back(row.name);
        preset.initial = 0.0;
        explain(preset);
        parameters.push_back(std::move(preset));
    }
    for (const int rank : {0, 1, 2})
        for (const tFieldInfo& field : info.fields)
            if (rankOf(field) == rank && !isIdle(field)) addField(parameters, info, field);
    if (info.watchesTime) std::ranges::move(timeParameters(), std::back_inserter(parameters));
    addOwnUnits(parameters);
    return parameters;
}

std::vector<std::byte> recordOf(const EffectInfo& info, std::span<const Parameter> parameters,
                                std::span<const Value> values) {
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].role == Role::Preset)
            if (const std::size_t number = parameters[i].choice(std::get<double>(values[i])); number > 0)
                return info.presets[number - 1].record;
    std::vector<FieldPart> parts;
    for (std::size_t i = 0; i < parameters.size(); ++i)
        if (parameters[i].role == Role::Field)
            parts.push_back({parameters[i].field, !sameValue(values[i], parameters[i].initial),
                             elementText(parameters[i], values[i])});
    return recordOfParts(info, parts);
}

Timing timingOf(std::span<const Parameter> parameters, std::span<const Value> values) {
    Timing timing;
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const Parameter& parameter = parameters[i];
        if (parameter.role == Role::FrameRate) {
            const double rate = parameter.real(std::get<double>(values[i]));
            timing.rate = rate > 0 ? rate : kUsualRate;
            // Rates of television, which are no decimal numbers.
            for (const double whole : {24.0, 30.0, 48.0, 60.0, 120.0})
                if (const double exact = whole * 1000 / 1001; std::fabs(rate - exact) < 0.006) timing.rate = exact;
            if (std::fabs(rate - std::round(rate)) < 0.002 && rate >= 1) timing.rate = std::round(rate);
        }
        if (parameter.role == Role::StartTime) timing.start = parameter.real(std::get<double>(values[i])) * 3600;
        if (parameter.role == Role::TimeUnit)
            timing.unit = static_cast<Timing::Unit>(parameter.choice(std::get<double>(values[i])));
    }
    timing.start = std::round(timing.start * timing.rate) / timing.rate;
    return timing;
}

bool sameValue(const Value& a, const Value& b) {
    if (a.index() != b.index()) return false;
    if (const auto* color = std::get_if<f0r_param_color_t>(&a)) {
        const auto& other = std::get<f0r_param_color_t>(b);
        return color->r == other.r && color->g == other.g && color->b == other.b;
    }
    if (const auto* number = std::get_if<double>(&a)) return *number == std::get<double>(b);
    return std::get<std::string>(a) == std::get<std::string>(b);
}

} // namespace larkmoor::frei0r
