#include <algorithm>

#include <fmt/format.h>

#include "render_project.h"
#include "verbs/jobs.h"
#include "verbs/options.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* examples =
    R"x(  larkmoor render in.mp4 -o soft.mp4 --effect "Gaussian Blur" --preset "Light Blur"
  larkmoor render in.mp4 -o short.mp4 --start 0:10 --end 0:20 --effect Levels --set gamma=1.4 --effect Sharpen
  larkmoor render in.mp4 -o fade.mp4 --effect Levels --ramp gamma=1:3
  larkmoor render in.mp4 -o pulse.mp4 --effect Levels --key gamma=0:1,2.5s:3:smooth,end:1 --from 10 --to 4s
  larkmoor render green.mp4 -o keyed.mp4 --effect "Chroma Keyer" --preset "Green Screen" --over beach.mp4
  larkmoor render in.mp4 -o title.mp4 --over-effect Text --set text="Hello" --set font="Liberation Sans Bold 48"
  larkmoor render frame%04d.png -o film.mp4 --rate 24 --effect Sepia
  larkmoor render logo.png --over in.mp4 -o marked.mp4
  larkmoor render clips/ -o graded/ --effect Levels --preset Darken
  larkmoor render film.larkmoor -o film.mp4)x";

class RenderVerb final : public Verb {
  public:
    explicit RenderVerb(CLI::App& command)
        : Verb(command, "render", "Render a clip, a picture or a numbered sequence through effects", examples) {
        app()
            .add_option("IN", m_inputs,
                        "What to read: a clip, a picture, a project, or - for bare frames; several or a folder go into "
                        "a folder")
            ->required();
        m_outputOptions.add(app(), true);
        m_effectOptions.add(app(), true);
        app().add_option("--over", m_clip.over, "A clip or picture to lay the result over")->type_name("CLIP");
        app().add_option("--rate", m_rate, "Frames a second of a numbered sequence; 25 by default")->type_name("R");
        app().add_option("--start", m_start, "Where to start: seconds or HH:MM:SS.mmm")->type_name("TIME");
        app().add_option("--end", m_end, "Where to end, on the clip's clock as --start")->type_name("TIME");
        app()
            .add_option("--frames", m_frames, "How many frames to render at most")
            ->check(CLI::Validator(
                [](const std::string& text) {
                    std::int64_t count = 0;
                    return CLI::detail::lexical_cast(text, count) && count > 0 ? std::string()
                                                                               : "it takes a whole number above 0";
                },
                ""))
            ->type_name("N")
            ->excludes("--end");
    }

    void settle() override {
        m_output = m_outputOptions.request();
        m_effects = m_effectOptions.collect(app());
        m_jobs = jobsFor(m_inputs, m_output.path);
        for (const RenderJob& job : m_jobs) {
            if (!isProject(job.input)) continue;
            for (const char* option : {"--effect", "--over-effect", "--over", "--rate", "--start", "--end", "--frames"})
                if (app().count(option) > 0)
                    throw UsageError(fmt::format("{} is a project, which has its source and effects in it; {} does not "
                                                 "go with one",
                                                 job.input, option));
        }
        const auto isClip = [](const RenderJob& job) { return !isProject(job.input); };
        if (m_effects.empty() && m_clip.over.empty() && std::ranges::any_of(m_jobs, isClip))
            throw UsageError("no --effect given; `larkmoor list` names them");
        if (!m_rate.empty()) m_clip.rate = parseRate(m_rate);
        if (!m_start.empty()) m_clip.start = parseTime(m_start);
        if (!m_end.empty()) m_clip.end = parseTime(m_end);
        if (m_clip.end && *m_clip.end <= m_clip.start) throw UsageError("--end has to be later than --start");
        if (m_frames > 0) m_clip.range.out = m_frames;
    }

    int run(const Module& module, Report& report) override {
        const Recipe recipe{.effects = planSteps(module, m_effects)};
        const auto one = [&](const RenderJob& job) {
            OutputRequest output = m_output;
            output.path = job.output;
            return renderOne(module, recipe, job.input, output, report.watch(job.input));
        };
        const int status = m_jobs.size() == 1 && m_jobs.front().output == m_output.path
                               ? one(m_jobs.front())
                               : runJobs(m_jobs, m_output.path, report, one);
        for (const Step& step : recipe.effects) saveStates(module, step, m_output.overwrite);
        return status;
    }

  private:
    int renderOne(const Module& module, const Recipe& recipe, const std::string& input, const OutputRequest& output,
                  const Watch& watch) const {
        if (isProject(input))
            return exitCode(renderProject(module, loadProject(module, input, m_effectOptions.values()), output, watch));
        ClipRequest clip = m_clip;
        clip.path = input;
        const auto film = clipFilm(clip, output);
        return exitCode(render(module, *film, recipe, output, watch));
    }

    EffectOptions m_effectOptions;
    OutputOptions m_outputOptions;
    std::string m_start, m_end, m_rate;
    std::int64_t m_frames = 0;

    std::vector<std::string> m_inputs;
    std::vector<RenderJob> m_jobs;
    ClipRequest m_clip;
    std::vector<EffectRequest> m_effects;
    OutputRequest m_output;
};

} // namespace

std::unique_ptr<Verb> renderVerb(CLI::App& command) {
    return std::make_unique<RenderVerb>(command);
}

} // namespace larkmoor
