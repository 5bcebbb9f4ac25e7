#include <fmt/format.h>

#include "render_project.h"
#include "verbs/options.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* examples =
    R"x(  larkmoor render in.mp4 -o soft.mp4 --effect "Gaussian Blur" --preset "Light Blur"
  larkmoor render in.mp4 -o short.mp4 --start 0:10 --frames 250 --effect Levels --set gamma=1.4 --effect Sharpen
  larkmoor render in.mp4 -o fade.mp4 --effect Levels --ramp gamma=1:3
  larkmoor render green.mp4 -o keyed.mp4 --effect "Chroma Keyer" --preset "Green Screen" --over beach.mp4
  larkmoor render in.mp4 -o title.mp4 --over-effect Text --set text="Hello" --set font="Liberation Sans Bold 48"
  larkmoor render frame%04d.png -o film.mp4 --rate 24 --effect Sepia
  larkmoor render film.larkmoor -o film.mp4)x";

std::vector<Step> planSteps(const Module& module, const std::vector<EffectRequest>& effects) {
    std::vector<Step> steps;
    for (const EffectRequest& effect : effects) {
        steps.push_back(planStep(module, effect));
        const EffectInfo& info = *steps.back().info;
        if (effect.over) {
            if (info.kind != EffectKind::Generator)
                throw UsageError(fmt::format("{} makes no pictures of its own to lay over others", info.name));
            continue;
        }
        if (info.kind == EffectKind::Transition)
            throw UsageError(
                fmt::format("{} is a transition between two clips; `larkmoor join` renders it", info.name));
        if (info.kind == EffectKind::Generator)
            throw UsageError(
                fmt::format("{} makes pictures of its own; `larkmoor generate` renders it, and --over-effect lays "
                            "it over",
                            info.name));
    }
    return steps;
}

class RenderVerb final : public Verb {
  public:
    explicit RenderVerb(CLI::App& command)
        : Verb(command, "render", "Render a clip, a picture or a numbered sequence through effects", examples) {
        app()
            .add_option("IN", m_clip.path, "What to read: a clip, a picture, a project, or - for bare frames")
            ->required();
        m_outputOptions.add(app());
        m_effectOptions.add(app(), true);
        app().add_option("--over", m_clip.over, "A clip or picture to lay the result over")->type_name("CLIP");
        app().add_option("--rate", m_rate, "Frames a second of a numbered sequence; 25 by default")->type_name("R");
        app().add_option("--start", m_start, "Where to start: seconds or HH:MM:SS.mmm")->type_name("TIME");
        app()
            .add_option("--frames", m_frames, "How many frames to render at most")
            ->check(CLI::Validator(
                [](const std::string& text) {
                    std::int64_t count = 0;
                    return CLI::detail::lexical_cast(text, count) && count > 0 ? std::string()
                                                                               : "it takes a whole number above 0";
                },
                ""))
            ->type_name("N");
    }

    void settle() override {
        m_output = m_outputOptions.request();
        m_effects = m_effectOptions.collect(app());
        if (isProject(m_clip.path)) {
            for (const char* option : {"--effect", "--over-effect", "--over", "--rate", "--start", "--frames"})
                if (app().count(option) > 0)
                    throw UsageError(fmt::format("{} is a project, which has its source and effects in it; {} does not "
                                                 "go with one",
                                                 m_clip.path, option));
        } else if (m_effects.empty() && m_clip.over.empty()) {
            throw UsageError("no --effect given; `larkmoor list` names them");
        }
        if (!m_rate.empty()) m_clip.rate = parseRate(m_rate);
        if (!m_start.empty()) m_clip.start = parseTime(m_start);
        if (m_frames > 0) m_clip.range.out = m_frames;
    }

    int run(const Module& module, Report& report) override {
        if (isProject(m_clip.path)) {
            renderProject(module, loadProject(module, m_clip.path), m_output, report.watch(m_clip.path));
            return 0;
        }
        const Recipe recipe{.effects = planSteps(module, m_effects)};
        const auto film = clipFilm(m_clip, m_output);
        render(module, *film, recipe, m_output, report.watch(m_clip.path));
        for (const Step& step : recipe.effects) saveStates(module, step, m_output.overwrite);
        return 0;
    }

  private:
    EffectOptions m_effectOptions;
    OutputOptions m_outputOptions;
    std::string m_start, m_rate;
    std::int64_t m_frames = 0;

    ClipRequest m_clip;
    std::vector<EffectRequest> m_effects;
    OutputRequest m_output;
};

} // namespace

std::unique_ptr<Verb> renderVerb(CLI::App& command) {
    return std::make_unique<RenderVerb>(command);
}

} // namespace larkmoor
