#include <algorithm>
#include <iterator>

#include <fmt/format.h>

#include "film.h"
#include "verbs/options.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* joinExamples =
    R"x(  larkmoor join a.mp4 b.mp4 -o both.mp4 --transition Dissolve
  larkmoor join a.mp4 b.mp4 -o both.mp4 --transition Iris --preset "Circle, Out, White Border" --duration 0.5
  larkmoor join a.mp4 b.mp4 c.mov -o film.mp4 --transition Iris --duration 2)x";

class JoinVerb final : public Verb {
  public:
    explicit JoinVerb(CLI::App& command) : Verb(command, "join", "Put a transition between clips", joinExamples) {
        app().add_option("A", m_first, "The first clip or picture")->required();
        app()
            .add_option("B", m_others, "The second one, and more; all are brought to the first's size and rate")
            ->required();
        m_outputOptions.add(app(), true);
        app().add_option("--transition", m_transition.name, "The transition's name")->required()->type_name("NAME");
        app().add_option("--duration", m_length, "How long clips overlap; one second by default")->type_name("TIME");
        m_effectOptions.add(app(), false);
    }

    void settle() override {
        m_output = m_outputOptions.request();
        m_transition = m_effectOptions.collect(app(), &m_transition).front();
        if (!m_length.empty()) m_seconds = parseTime(m_length);
    }

    int run(const Module& module, Report& report) override {
        const Recipe recipe{.head = planStep(module, m_transition), .effects = {}};
        if (!recipe.joins())
            throw UsageError(fmt::format("{} is no transition; `larkmoor list` names them", recipe.head->info->name));
        std::vector<std::string> clips{m_first};
        std::ranges::copy(m_others, std::back_inserter(clips));
        const auto film = joinFilm(clips, {}, m_seconds, {}, m_output);
        const Ended ended = render(module, *film, recipe, m_output, report.watch(m_first));
        saveStates(module, *recipe.head, m_output.overwrite);
        return exitCode(ended);
    }

  private:
    EffectOptions m_effectOptions;
    OutputOptions m_outputOptions;
    std::string m_length;

    std::string m_first;
    std::vector<std::string> m_others;
    EffectRequest m_transition;
    double m_seconds = 1; ///< of the overlap
    OutputRequest m_output;
};

} // namespace

std::unique_ptr<Verb> joinVerb(CLI::App& command) {
    return std::make_unique<JoinVerb>(command);
}

} // namespace larkmoor
