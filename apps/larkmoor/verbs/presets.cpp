#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "chain.h"
#include "preset_store.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* presetsExamples =
    R"x(  larkmoor presets
  larkmoor presets Levels --json
  larkmoor render in.mp4 -o out.mp4 --effect Levels --set gamma=1.4 --save-preset "My look"
  larkmoor render other.mp4 -o other2.mp4 --effect Levels --preset "My look")x";

struct Preset {
    std::string name, effect, file;
};

class PresetsVerb final : public Verb {
  public:
    explicit PresetsVerb(CLI::App& command)
        : Verb(command, "presets", "List the presets of your own", presetsExamples) {
        app().add_option("EFFECT", m_effect, "Of one effect only");
        app().add_flag("--json", m_json, "For programs");
    }

    int run(const Module& module, Report&) override {
        const EffectInfo* const only = m_effect.empty() ? nullptr : asUsage([&] { return &module.find(m_effect); });
        const PresetStore store;
        std::vector<Preset> rows;
        for (const EffectInfo& info : module.effects())
            if (!only || only == &info)
                for (const std::string& name : store.names(info))
                    rows.push_back({name, info.name, store.file(info, name)});
        m_json ? showJson(rows) : showText(rows);
        return 0;
    }

  private:
    static void showJson(const std::vector<Preset>& rows) {
        auto out = nlohmann::ordered_json::array();
        for (const Preset& row : rows) out.push_back({{"name", row.name}, {"effect", row.effect}, {"file", row.file}});
        print(out.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
    }

    static void showText(const std::vector<Preset>& rows) {
        if (rows.empty()) return print("There are no presets of yours; --save-preset NAME makes one.\n");
        std::size_t names = 4, effects = 6;
        for (const Preset& row : rows) {
            names = std::max(names, row.name.size());
            effects = std::max(effects, row.effect.size());
        }
        print(fmt::format("{:<{}}  {:<{}}  {}\n", "Name", names, "Effect", effects, "File"));
        for (const Preset& row : rows)
            print(fmt::format("{:<{}}  {:<{}}  {}\n", row.name, names, row.effect, effects, row.file));
    }

    std::string m_effect;
    bool m_json = false;
};

} // namespace

std::unique_ptr<Verb> presetsVerb(CLI::App& command) {
    return std::make_unique<PresetsVerb>(command);
}

} // namespace larkmoor
