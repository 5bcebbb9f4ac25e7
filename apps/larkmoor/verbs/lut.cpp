#include <fmt/format.h>

#include "colour_cube.h"
#include "levels.h"
#include "output_file.h"
#include "verbs/options.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* lutExamples =
    R"x(  larkmoor lut -o look.cube --effect Levels --set gamma=1.4 --effect Sepia --preset Warm
  ffmpeg -i in.mp4 -vf lut3d=look.cube out.mp4)x";
constexpr int usualSize = 33, leastSize = 2, greatestSize = 129;

class LutVerb final : public Verb {
  public:
    explicit LutVerb(CLI::App& command)
        : Verb(command, "lut", "Write what effects do to colours as a 3-D LUT for editors", lutExamples) {
        app().add_option("-o,--output", m_path, "The file to write, *.cube")->required()->type_name("OUT");
        app().add_flag("-y", m_overwrite, "Overwrite an existing file");
        app()
            .add_option("--size", m_size, "Steps of each colour; 33 by default")
            ->check(CLI::Range(leastSize, greatestSize))
            ->type_name("N");
        m_effectOptions.add(app(), true);
    }

    void settle() override {
        m_effects = m_effectOptions.collect(app());
        if (m_effects.empty()) throw UsageError("no --effect given; `larkmoor list` names them");
    }

    int run(const Module& module, Report&) override {
        Recipe recipe{.head = {}, .effects = planSteps(module, m_effects)};
        settleLevels(recipe);
        for (const std::string& note : levelNotes(recipe)) warn(note);
        const std::vector<Step>& steps = recipe.effects;
        for (const Step& step : steps) checkSaves(step, m_overwrite);
        checkTonal(module, steps);
        std::string title = "Larkmoor:";
        for (const Step& step : steps) title += (&step == &steps.front() ? " " : ", ") + step.info->name;
        writeWhole(m_path, cubeText(colourCube(module, steps, m_size), title), m_overwrite);
        for (const Step& step : steps) saveStates(module, step, m_overwrite);
        return 0;
    }

  private:
    EffectOptions m_effectOptions;
    std::string m_path;
    bool m_overwrite = false;
    int m_size = usualSize;
    std::vector<EffectRequest> m_effects;
};

} // namespace

std::unique_ptr<Verb> lutVerb(CLI::App& command) {
    return std::make_unique<LutVerb>(command);
}

} // namespace larkmoor
