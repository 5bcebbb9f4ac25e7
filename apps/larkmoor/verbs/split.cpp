#include <fmt/format.h>

#include "farm/job.h"
#include "render_project.h"
#include "verbs/options.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* splitExamples =
    R"x(  larkmoor split film.larkmoor -o job/ --chunk-frames 100
  larkmoor split in.mp4 -o job/ --chunk-frames 250 --as film.mov --codec prores --effect Median
  larkmoor split film.larkmoor -o job/ --chunk-frames 50 --as frame%05d.png)x";

class SplitVerb final : public Verb {
  public:
    explicit SplitVerb(CLI::App& command)
        : Verb(command, "split", "Make a folder of work in chunks for many machines", splitExamples) {
        app().add_option("IN", m_input, "A project, or a clip with effects as for render")->required();
        app()
            .add_option("-o,--output", m_folder, "The folder to make, which all machines see")
            ->required()
            ->type_name("JOB");
        app()
            .add_option("--chunk-frames", m_chunkFrames, "How many frames a machine takes at a time")
            ->required()
            ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 30))
            ->type_name("N");
        app()
            .add_option("--as", m_film, "A name with the ending of the film to be; film.mp4 by default")
            ->type_name("NAME");
        m_outputOptions.addEncoding(app());
        m_outputOptions.addReading(app());
        m_effectOptions.add(app(), true);
        m_clipOptions.add(app());
    }

    void settle() override {
        m_output = m_outputOptions.request();
        m_output.path = m_film;
        m_output.chunkFrames = m_chunkFrames;
        m_effects = m_effectOptions.collect(app());
        if (isProject(m_input)) m_clipOptions.refuseFor(app(), m_input);
        m_clip = m_clipOptions.request(m_input);
        if (!isProject(m_input) && m_effects.empty() && m_clip.over.empty())
            throw UsageError("no --effect given; `larkmoor list` names them");
    }

    int run(const Module& module, Report&) override {
        JobRequest request{.project = {}, .clip = {}, .output = m_output};
        if (isProject(m_input)) {
            request.project = loadProject(module, m_input, m_effectOptions.values());
        } else {
            request.project.source = ProjectClip{m_clip.path, m_clip.rate};
            request.clip = m_clip;
            const std::vector<Step> steps = planSteps(module, m_effects);
            for (const Step& step : steps) {
                if (!step.saveTo.empty() || !step.presets.empty())
                    throw UsageError("--save-state and --save-preset go with render, not with split");
                request.project.effects.push_back(effectOf(step));
            }
        }
        createJob(module, std::move(request), m_folder);
        return 0;
    }

  private:
    EffectOptions m_effectOptions;
    OutputOptions m_outputOptions;
    ClipOptions m_clipOptions;
    std::string m_input, m_folder, m_film = "film.mp4";
    std::int64_t m_chunkFrames = 0;

    std::vector<EffectRequest> m_effects;
    ClipRequest m_clip;
    OutputRequest m_output;
};

} // namespace

std::unique_ptr<Verb> splitVerb(CLI::App& command) {
    return std::make_unique<SplitVerb>(command);
}

} // namespace larkmoor
