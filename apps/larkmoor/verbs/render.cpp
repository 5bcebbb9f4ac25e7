#include <algorithm>

#include <fmt/format.h>

#include "render_project.h"
#include "verbs/jobs.h"
#include "verbs/options.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* renderExamples =
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
        : Verb(command, "render", "Render a clip, a picture or a numbered sequence through effects", renderExamples) {
        app()
            .add_option("IN", m_inputs,
                        "What to read: a clip, a picture, a project, or - for bare frames; several or a folder go into "
                        "a folder")
            ->required();
        m_outputOptions.add(app(), true);
        m_effectOptions.add(app(), true);
        m_clipOptions.add(app());
    }

    void settle() override {
        m_output = m_outputOptions.request();
        m_effects = m_effectOptions.collect(app());
        m_jobs = jobsFor(m_inputs, m_output.path);
        for (const RenderJob& job : m_jobs)
            if (isProject(job.input)) m_clipOptions.refuseFor(app(), job.input);
        m_clip = m_clipOptions.request({});
        const auto isClip = [](const RenderJob& job) { return !isProject(job.input); };
        if (m_effects.empty() && m_clip.over.empty() && std::ranges::any_of(m_jobs, isClip))
            throw UsageError("no --effect given; `larkmoor list` names them");
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
    ClipOptions m_clipOptions;

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
