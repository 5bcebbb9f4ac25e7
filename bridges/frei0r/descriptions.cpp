#include "descriptions.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include <fmt/format.h>

namespace larkmoor::frei0r {
namespace {

/// Whole numbers with up to this many values are offered as a list.
constexpr double kLongestList = 256;

std::string xml(std::string_view text) {
    std::string escaped;
    for (const char c : text) switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    return escaped;
}

/// Between double quotes, which MLT's reader does not know how to escape.
std::string yaml(std::string text) {
    std::ranges::replace(text, '"', '\'');
    return '"' + text + '"';
}

std::string colorText(const f0r_param_color_t& color) {
    const auto byte = [](float channel) { return std::lround(std::clamp(channel, 0.0f, 1.0f) * 255); };
    return fmt::format("0x{:02x}{:02x}{:02x}ff", byte(color.r), byte(color.g), byte(color.b));
}

std::string initialText(const Parameter& parameter) {
    if (const auto* color = std::get_if<f0r_param_color_t>(&parameter.initial)) return colorText(*color);
    if (const auto* text = std::get_if<std::string>(&parameter.initial)) return *text;
    return fmt::format("{:.15g}", std::get<double>(parameter.initial));
}

/// Six digits, since Kdenlive cuts a default to that and finds it among a list's values by its text.
std::string listText(double value) {
    return fmt::format("{:.6g}", value);
}

/// Values with their words, for a list.
struct List {
    std::vector<std::string> values, words;
};

List listOf(const Parameter& parameter) {
    List list;
    if (parameter.role == Role::OwnUnit) return list; // a slider serves
    const auto add = [&](double value, std::string word) {
        list.values.push_back(listText(value));
        // Commas stand between the words.
        for (std::size_t at; (at = word.find(',')) != std::string::npos;) word.replace(at, 1, " /");
        list.words.push_back(std::move(word));
    };
    for (std::size_t i = 0; i < parameter.choices.size(); ++i)
        add(parameter.normal(static_cast<double>(i)), parameter.choices[i]);
    if (list.values.empty() && parameter.whole && parameter.maximum - parameter.minimum < kLongestList)
        for (double value = parameter.minimum; value <= parameter.maximum; ++value)
            add(parameter.normal(value), fmt::format("{}", value));
    return list;
}

/// A slider's: about four digits for the whole range.
int decimalsOf(const Parameter& parameter) {
    const double range = parameter.maximum - parameter.minimum;
    return parameter.whole ? 0 : std::clamp(3 - static_cast<int>(std::floor(std::log10(range))), 0, 3);
}

std::string joined(const std::vector<std::string>& texts, const char* between) {
    return fmt::format("{}", fmt::join(texts, between));
}

/// What an editor begins with: a preset that shows where the fields' own defaults leave the picture as it is and no
/// slider invites to be moved first.
Value startOf(const EffectInfo& info, const Parameter& parameter) {
    constexpr std::pair<const char*, const char*> kPresets[] = {{"DXTSepia", "Warm"},
                                                                {"DXTDesaturate", "100% Black and White"}};
    for (const auto& [className, preset] : kPresets)
        if (parameter.role == Role::Preset && info.className == className)
            if (const auto at = std::ranges::find(parameter.choices, preset); at != parameter.choices.end())
                return parameter.normal(static_cast<double>(at - parameter.choices.begin()));
    return parameter.initial;
}

std::string kdenliveParameter(const EffectInfo& info, Parameter parameter, std::size_t index, std::string title) {
    parameter.initial = startOf(info, parameter);
    std::string shape;
    if (parameter.role == Role::Progress) {
        shape = R"(type="switch" default="0=0;-1=1" min="0=0;-1=1" max="0=1;-1=0")";
        title = "Reverse";
    } else if (parameter.type == F0R_PARAM_BOOL) {
        shape = fmt::format(R"(type="bool" default="{}")", initialText(parameter));
    } else if (parameter.type == F0R_PARAM_COLOR) {
        shape = fmt::format(R"(type="color" default="{}")", initialText(parameter));
    } else if (parameter.type == F0R_PARAM_STRING) {
        shape = fmt::format(R"(type="keywords" default="{}" paramlist="")", xml(initialText(parameter)));
    } else if (const List list = listOf(parameter); !list.values.empty()) {
        return fmt::format("    <parameter type=\"list\" name=\"{}\" default=\"{}\" paramlist=\"{}\">\n"
                           "        <paramlistdisplay>{}</paramlistdisplay>\n"
                           "        <name>{}</name>\n        <comment>{}</comment>\n    </parameter>\n",
                           index, listText(std::get<double>(parameter.initial)), joined(list.values, ";"),
                           xml(joined(list.words, ",")), xml(title), xml(parameter.help));
    } else {
        const bool animated = !parameter.field || parameter.field->ramp != KWRAMP_START;
        shape = fmt::format(R"(type="{}" default="{}" min="{:.10g}" max="{:.10g}" decimals="{}"{})",
                            animated ? "animated" : "constant", initialText(parameter), parameter.minimum,
                            parameter.maximum, decimalsOf(parameter),
                            parameter.unit.empty() ? "" : " suffix=\" " + xml(parameter.unit) + '"');
    }
    return fmt::format("    <parameter {} name=\"{}\">\n        <name>{}</name>\n        <comment>{}</comment>\n"
                       "    </parameter>\n",
                       shape, index, xml(title), xml(parameter.help));
}

/// The parameter that Kdenlive shows for one: itself, or what is the same in its own unit.
std::size_t shownFor(const Plugin& plugin, std::size_t index) {
    const auto own = std::ranges::find_if(
        plugin.parameters, [&](const Parameter& p) { return p.role == Role::OwnUnit && p.twin == index; });
    return own == plugin.parameters.end() ? index : static_cast<std::size_t>(own - plugin.parameters.begin());
}

/// In single quotes, for QML.
std::string quoted(std::string_view text) {
    std::string escaped = "'";
    for (const char c : text)
        if (c == '\n')
            escaped += "\\n";
        else
            (c == '\'' || c == '\\' ? escaped += '\\' : escaped) += c;
    return escaped + '\'';
}

bool animates(const Parameter& parameter) {
    return parameter.type == F0R_PARAM_DOUBLE && listOf(parameter).values.empty() && parameter.role == Role::Field &&
           parameter.field->ramp != KWRAMP_START;
}

/// A row of Shotcut's controls.
std::string shotcutField(const EffectInfo& info, Parameter parameter, std::size_t index) {
    parameter.initial = startOf(info, parameter);
    std::string initial = initialText(parameter), shape;
    if (parameter.type == F0R_PARAM_BOOL) {
        shape = "kind: 'switch'";
    } else if (parameter.type == F0R_PARAM_COLOR) {
        shape = "kind: 'color'";
        // Qt's text of a colour without alpha.
        initial = '#' + initial.substr(2, 6);
    } else if (parameter.type == F0R_PARAM_STRING) {
        shape = "kind: 'text'";
    } else if (const List list = listOf(parameter); !list.values.empty()) {
        std::vector<std::string> words;
        for (const std::string& word : list.words) words.push_back(quoted(word));
        shape = fmt::format("kind: 'list', values: [{}], words: [{}]", joined(list.values, ", "), joined(words, ", "));
    } else {
        shape = fmt::format("kind: 'slider', low: {:.10g}, high: {:.10g}, decimals: {}, unit: {}", parameter.minimum,
                            parameter.maximum, decimalsOf(parameter),
                            quoted(parameter.unit.empty() ? "" : " " + parameter.unit));
    }
    return fmt::format("        {{ property: '{}', title: {}, help: {}, initial: {}, animates: {}, {} }},\n", index,
                       quoted(parameter.title), quoted(parameter.help), quoted(initial), animates(parameter), shape);
}

const char* kindOf(const Plugin& plugin, const char* filter, const char* transition, const char* source) {
    return plugin.type == F0R_PLUGIN_TYPE_MIXER2 ? transition : plugin.type == F0R_PLUGIN_TYPE_SOURCE ? source : filter;
}

std::string valueText(const Parameter& parameter) {
    switch (parameter.type) {
    case F0R_PARAM_BOOL:
        return "switch";
    case F0R_PARAM_COLOR:
        return "colour";
    case F0R_PARAM_STRING:
        return "text";
    default:
        return parameter.choices.empty() ? "number" : "choice";
    }
}

/// A cell of a table.
std::string cell(std::string text) {
    for (std::size_t at = 0; (at = text.find('|', at)) != std::string::npos; at += 2) text.insert(at, 1, '\\');
    return text;
}

} // namespace

Description kdenliveOf(const Plugin& plugin) {
    const char* const kind = kindOf(plugin, "effect", "transition", "generator");
    std::string text =
        fmt::format("<?xml version=\"1.0\"?>\n<!DOCTYPE kpartgui>\n<{0} tag=\"frei0r.{1}\" id=\"frei0r.{1}\">\n"
                    "    <name>{2} (Larkmoor)</name>\n    <description>{3}</description>\n"
                    "    <author>Larkmoor</author>\n",
                    kind, plugin.fileName, xml(plugin.info->name), xml(plugin.explanation));
    for (std::size_t i = 0; i < plugin.parameters.size(); ++i)
        if (const std::size_t shown = shownFor(plugin, i); plugin.parameters[i].role != Role::OwnUnit)
            text += kdenliveParameter(*plugin.info, plugin.parameters[shown], shown, plugin.parameters[i].title);
    return {fmt::format("kdenlive/{}s/frei0r_{}.xml", kind, plugin.fileName), text + fmt::format("</{}>\n", kind)};
}

Description kdenliveGroupsOf(std::span<const Plugin> plugins) {
    std::map<std::string, std::string> lists;
    for (const Plugin& plugin : plugins) {
        if (plugin.type != F0R_PLUGIN_TYPE_FILTER) continue;
        std::string& list = lists[plugin.info->family];
        list += (list.empty() ? "frei0r." : ",frei0r.") + plugin.fileName;
    }
    std::string text;
    for (const auto& [family, list] : lists)
        text += fmt::format("<group list=\"{}\"><text>Larkmoor: {}</text></group>\n", list, xml(family));
    return {"kdenlive/larkmoor-groups.xml", text};
}

std::vector<Description> shotcutOf(const Plugin& plugin) {
    if (plugin.type != F0R_PLUGIN_TYPE_FILTER) return {};
    std::string curves, fields;
    for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
        if (plugin.parameters[i].role == Role::OwnUnit) continue; // the page counts in own units itself
        fields += shotcutField(*plugin.info, plugin.parameters[i], i);
        if (animates(plugin.parameters[i]))
            curves +=
                fmt::format("            Parameter {{ name: {}; property: '{}'; isCurve: true; minimum: 0; maximum: 1 "
                            "}},\n",
                            quoted(plugin.parameters[i].title), i);
    }
    const auto list = [](std::string items) {
        if (!items.empty()) items.erase(items.size() - 2, 1);
        return items;
    };
    const std::string folder = "shotcut/qml/filters/" + plugin.fileName;
    return {
        {folder + "/meta.qml",
         fmt::format("import QtQuick 2.0\nimport org.shotcut.qml 1.0\n\nMetadata {{\n    type: Metadata.Filter\n"
                     "    objectName: {0}\n    name: {1}\n    mlt_service: {2}\n    keywords: {3}\n    qml: 'ui.qml'\n"
                     "    keyframes {{\n        parameters: [\n{4}        ]\n    }}\n}}\n",
                     quoted(plugin.fileName), quoted(plugin.info->name + " (Larkmoor)"),
                     quoted("frei0r." + plugin.fileName), quoted("larkmoor " + plugin.explanation), list(curves))},
        {folder + "/ui.qml",
         fmt::format("import QtQuick 2.12\nimport '../larkmoor'\n\nParameters {{\n    fields: [\n{}    ]\n}}\n",
                     list(fields))}};
}

Description mltOf(const Plugin& plugin) {
    const char* const kind = kindOf(plugin, "filter", "transition", "producer");
    std::string text = fmt::format("schema_version: 7.0\ntype: {}\nidentifier: frei0r.{}\ntitle: {}\nversion: {}.{}\n"
                                   "creator: Larkmoor\nlanguage: en\ntags:\n  - Video\ndescription: {}\n",
                                   kind, plugin.fileName, yaml(plugin.title), LARKMOOR_MAJOR, LARKMOOR_MINOR,
                                   yaml(plugin.explanation));
    if (!plugin.parameters.empty()) text += "parameters:\n";
    for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
        const Parameter& parameter = plugin.parameters[i];
        const bool number = parameter.type == F0R_PARAM_DOUBLE;
        const char* const type = number                              ? "float"
                                 : parameter.type == F0R_PARAM_BOOL  ? "boolean"
                                 : parameter.type == F0R_PARAM_COLOR ? "color"
                                                                     : "string";
        text += fmt::format("  - identifier: {}\n    title: {}\n    type: {}\n    description: {}\n", i,
                            yaml(parameter.title), type, yaml(parameter.explanation));
        if (number)
            text +=
                fmt::format("    minimum: {:.10g}\n    maximum: {:.10g}\n", parameter.lowest(), parameter.highest());
        if (parameter.type != F0R_PARAM_STRING) text += fmt::format("    default: {}\n", initialText(parameter));
        text += fmt::format("    readonly: no\n    mutable: yes\n    animation: {}\n", number ? "yes" : "no");
    }
    return {fmt::format("mlt-7/frei0r/{}_frei0r.{}.yml", kind, plugin.fileName), text};
}

std::string referenceOf(const Plugin& plugin) {
    std::string text = fmt::format("## {}\n\n{}.\n", plugin.fileName, plugin.explanation);
    if (plugin.parameters.empty()) return text + "\nNo parameters.\n";
    text += "\n| # | name | type | meaning |\n| --- | --- | --- | --- |\n";
    for (std::size_t i = 0; i < plugin.parameters.size(); ++i) {
        const Parameter& parameter = plugin.parameters[i];
        text += fmt::format("| {} | `{}` | {} | {} |\n", i, parameter.name, valueText(parameter),
                            cell(parameter.explanation));
    }
    return text;
}

} // namespace larkmoor::frei0r
