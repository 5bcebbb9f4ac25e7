#include "host/names.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

/// What may stand in the place of the last word of a command line, one a line, for the shells' completions; nothing
/// where any file may.
class CompleteVerb final : public Verb {
  public:
    explicit CompleteVerb(CLI::App& command) : Verb(command, "complete", "Tell how a command line may go on") {
        app().group("");
        app().add_option("WORDS", m_words)->required();
    }

    int run(const Module& module, Report&) override {
        const CLI::App& command = *app().get_parent();
        const std::string last = m_words.back();
        m_words.pop_back();
        const CLI::App* verb = nullptr;
        for (const std::string& word : m_words)
            for (const CLI::App* each : command.get_subcommands({}))
                if (!verb && each->get_name() == word) verb = each;
        if (!verb) {
            if (m_words.empty() || !takesValue(command, m_words.back())) tellVerbs(command, last);
            return 0;
        }
        const CLI::App& given = *verb;
        const std::string before = m_words.back();
        if (takesValue(given, before) || takesValue(command, before))
            tellValues(module, given, before, last);
        else if (last.starts_with('-'))
            tellOptions(given), tellOptions(command);
        else if (const CLI::Option* positional = given.get_option_no_throw("EFFECT");
                 positional || named(given, "NAME"))
            tellEffects(module, positional ? "" : "generator");
        return 0;
    }

  private:
    static const CLI::Option* named(const CLI::App& app, const std::string& name) {
        return app.get_option_no_throw(name);
    }
    static bool takesValue(const CLI::App& app, const std::string& option) {
        if (!option.starts_with('-')) return false;
        const CLI::Option* const found = named(app, option);
        return found && found->get_items_expected_max() > 0;
    }
    static void tell(const std::string& word) { print(word + "\n"); }

    static void tellVerbs(const CLI::App& command, const std::string& last) {
        if (last.starts_with('-')) return tellOptions(command);
        for (const CLI::App* verb : command.get_subcommands({}))
            if (!verb->get_group().empty()) tell(verb->get_name());
    }

    static void tellOptions(const CLI::App& app) {
        for (const CLI::Option* option : app.get_options())
            for (const std::string& name : option->get_lnames()) tell("--" + name);
    }

    static void tellEffects(const Module& module, std::string_view kind) {
        for (const EffectInfo& info : module.effects()) {
            const bool fits = kind == "generator"    ? info.kind == EffectKind::Generator
                              : kind == "transition" ? info.kind == EffectKind::Transition
                              : kind == "filter"     ? info.kind == EffectKind::Filter
                                                     : true;
            if (fits) tell(info.name);
        }
    }

    void tellValues(const Module& module, const CLI::App& verb, const std::string& option, const std::string& last) {
        if (option == "--effect") return tellEffects(module, "filter");
        if (option == "--transition") return tellEffects(module, "transition");
        const EffectInfo* const effect = effectOf(module, verb);
        if (!effect) return;
        if (option == "--preset")
            for (const PresetInfo& preset : effect->presets) tell(preset.name);
        if (option != "--set" && option != "--ramp" && option != "--key") return;
        const std::size_t sign = last.find('=');
        for (const tFieldInfo& field : effect->fields) {
            const std::string start = std::string(field.name) + "=";
            if (sign == std::string::npos) {
                tell(start);
            } else if (option != "--key" && sameName(last.substr(0, sign), field.name)) {
                if (field.kind == KWFIELD_SWITCH) tell(start + "on"), tell(start + "off");
                for (LONG i = 0; i < field.choiceCount; ++i) tell(start + field.choices[i].text);
            }
        }
    }

    /// The effect that presets and fields go with: the last one that was named.
    const EffectInfo* effectOf(const Module& module, const CLI::App& verb) const {
        const EffectInfo* found = nullptr;
        for (std::size_t i = 1; i < m_words.size(); ++i) {
            const std::string& before = m_words[i - 1];
            const bool isGenerator = before == verb.get_name() && named(verb, "NAME");
            if (before != "--effect" && before != "--transition" && !isGenerator) continue;
            for (const EffectInfo& info : module.effects())
                if (sameName(m_words[i], info.name) || sameName(m_words[i], info.className)) found = &info;
        }
        return found;
    }

    std::vector<std::string> m_words;
};

} // namespace

std::unique_ptr<Verb> completeVerb(CLI::App& command) {
    return std::make_unique<CompleteVerb>(command);
}

} // namespace larkmoor
