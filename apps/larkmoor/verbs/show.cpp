#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "chain.h"
#include "verbs/describe.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

using Json = nlohmann::ordered_json;

const char* kindName(tFieldKind kind) {
    switch (kind) {
    case KWFIELD_NUMBER:
        return "number";
    case KWFIELD_WHOLE:
        return "whole number";
    case KWFIELD_SWITCH:
        return "switch";
    case KWFIELD_CHOICE:
        return "choice";
    case KWFIELD_COLOR:
        return "colour";
    case KWFIELD_POINT:
        return "point";
    case KWFIELD_TEXT:
        return "text";
    case KWFIELD_FONT:
        return "font";
    }
    return "";
}

const char* rampName(tFieldRamp ramp) {
    switch (ramp) {
    case KWRAMP_START:
        return "start";
    case KWRAMP_LINEAR:
        return "linear";
    case KWRAMP_HUE:
        return "hue";
    }
    return "";
}

std::string text(const char* utf8) {
    return utf8 ? utf8 : "";
}

/// Without the mark of its mnemonic; a doubled one stands for itself.
std::string plainLabel(std::string_view label) {
    std::string plain;
    for (std::size_t i = 0; i < label.size(); ++i)
        if (label[i] != '&' || ++i < label.size()) plain += label[i];
    return plain;
}

bool hasRange(const tFieldInfo& field) {
    return field.kind == KWFIELD_NUMBER || field.kind == KWFIELD_WHOLE || field.kind == KWFIELD_POINT;
}

std::string rangeText(const tFieldInfo& field) {
    if (field.kind == KWFIELD_SWITCH) return "off, on";
    if (field.kind == KWFIELD_COLOR) return "#RRGGBB[AA]";
    return hasRange(field) ? fmt::format("{} to {}", field.minimum, field.maximum) : "";
}

Json fieldJson(const tFieldInfo& field, const EffectInfo& info) {
    Json row{{"name", text(field.name)},     {"label", plainLabel(text(field.label))},
             {"kind", kindName(field.kind)}, {"unit", text(field.unit)},
             {"help", text(field.help)},     {"default", fieldText(field, info.defaults)},
             {"ramp", rampName(field.ramp)}};
    if (hasRange(field)) {
        row["minimum"] = field.minimum;
        row["maximum"] = field.maximum;
        row["step"] = field.step;
    }
    for (LONG i = 0; i < field.choiceCount; ++i)
        row["choices"].push_back({{"text", text(field.choices[i].text)}, {"value", field.choices[i].value}});
    return row;
}

void showJson(const EffectInfo& info) {
    Json out{{"name", info.name},
             {"description", info.description},
             {"class", info.className},
             {"classId", idText(info.clsid)},
             {"interfaceId", idText(info.iid)},
             {"kind", kindName(info.kind)},
             {"minInputs", info.minInputs},
             {"maxInputs", info.maxInputs},
             {"soundInFloat", info.soundInFloat},
             {"fields", Json::array()},
             {"presets", Json::array()}};
    for (const tFieldInfo& field : info.fields) out["fields"].push_back(fieldJson(field, info));
    for (const PresetInfo& preset : info.presets) {
        Json values = Json::object();
        for (const tFieldInfo& field : info.fields) values[text(field.name)] = fieldText(field, preset.record);
        out["presets"].push_back({{"name", preset.name}, {"values", std::move(values)}});
    }
    print(out.dump(2) + "\n");
}

void printTable(const std::vector<std::array<std::string, 6>>& rows) {
    std::array<std::size_t, 6> widths{};
    for (const auto& row : rows)
        for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) line += fmt::format("  {:<{}}", row[c], widths[c]);
        line.erase(line.find_last_not_of(' ') + 1);
        print(line + "\n");
    }
}

void showText(const EffectInfo& info) {
    print(fmt::format("{} ({}), {}, inputs: {}, works {}\n", info.name, info.className, kindName(info.kind),
                      inputCount(info), info.soundInFloat ? "at any depth" : "at 8 bits"));
    if (info.fields.empty())
        print("\nNo fields.\n");
    else {
        print("\nFields\n");
        std::vector<std::array<std::string, 6>> rows{{"Name", "Kind", "Range", "Default", "Unit", "Meaning"}};
        for (const tFieldInfo& field : info.fields) {
            rows.push_back({text(field.name), kindName(field.kind), rangeText(field), fieldText(field, info.defaults),
                            text(field.unit), text(field.help)});
        }
        printTable(rows);
        for (const tFieldInfo& field : info.fields) {
            if (field.choiceCount == 0) continue;
            print(fmt::format("\nChoices of {}\n", text(field.name)));
            for (LONG i = 0; i < field.choiceCount; ++i)
                print(fmt::format("  {:>3}  {}\n", field.choices[i].value, text(field.choices[i].text)));
        }
    }
    if (info.presets.empty()) return;
    print("\nPresets\n");
    for (std::size_t i = 0; i < info.presets.size(); ++i) print(fmt::format("  {:>3}  {}\n", i, info.presets[i].name));
}

class ShowVerb final : public Verb {
  public:
    explicit ShowVerb(CLI::App& command)
        : Verb(command, "show", "Show an effect's fields and presets",
               "  larkmoor show \"Gaussian Blur\"\n  larkmoor show Levels --json") {
        app().add_option("EFFECT", m_name, "Its name or class")->required();
        app().add_flag("--json", m_json, "For programs");
    }

    int run(const Module& module, Report&) override {
        const EffectInfo& info = asUsage([&]() -> const EffectInfo& { return module.find(m_name); });
        m_json ? showJson(info) : showText(info);
        return 0;
    }

  private:
    std::string m_name;
    bool m_json = false;
};

} // namespace

std::unique_ptr<Verb> showVerb(CLI::App& command) {
    return std::make_unique<ShowVerb>(command);
}

} // namespace larkmoor
