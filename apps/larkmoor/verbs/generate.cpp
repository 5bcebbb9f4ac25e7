#include <fmt/format.h>

#include "film.h"
#include "verbs/options.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr double usualDuration = 5; ///< seconds

constexpr const char* generateExamples =
    R"x(  larkmoor generate "Test Pattern" -o bars.png --size 1920x1080 --preset "SMPTE Bars (NTSC)"
  larkmoor generate "Test Pattern" -o gradient.mp4 --size 640x360 --duration 2 --set type=Gradient
  larkmoor generate Text -o name.png --size 640x120 --set text="Hello" --set font="Liberation Serif Italic 40")x";

class GenerateVerb final : public Verb {
  public:
    explicit GenerateVerb(CLI::App& command)
        : Verb(command, "generate", "Make pictures from nothing", generateExamples) {
        app().add_option("NAME", m_generator.name, "The generator's name")->required();
        m_outputOptions.add(app(), false);
        app().add_option("--size", m_size, "Of the pictures")->required()->type_name("WxH");
        app().add_option("--rate", m_rateText, "Frames a second; 25 by default")->type_name("R");
        app().add_option("--duration", m_length, "How long; five seconds by default")->type_name("TIME");
        m_effectOptions.add(app(), false);
    }

    void settle() override {
        m_output = m_outputOptions.request();
        m_generator = m_effectOptions.collect(app(), &m_generator).front();
        std::tie(m_width, m_height) = parseSize(m_size);
        m_rate = parseRate(m_rateText);
        if (!m_length.empty()) m_seconds = parseTime(m_length);
    }

    int run(const Module& module, Report& report) override {
        const Recipe recipe{.head = planStep(module, m_generator), .effects = {}};
        const EffectInfo& info = *recipe.head->info;
        if (!recipe.generates())
            throw UsageError(fmt::format("{} makes no pictures of its own; `larkmoor {}` renders it", info.name,
                                         info.kind == EffectKind::Filter ? "render" : "join"));
        const std::string& path = m_output.path;
        const bool picture =
            !isRawPath(path) && isPictureContainer(containerFor(path)) && !av_filename_number_test(path.c_str());
        const double seconds = m_seconds.value_or(picture ? 0 : usualDuration);
        const auto film = generatorFilm(m_width, m_height, m_rate, seconds, {});
        render(module, *film, recipe, m_output, report.watch(path));
        saveStates(module, *recipe.head, m_output.overwrite);
        return 0;
    }

  private:
    EffectOptions m_effectOptions;
    OutputOptions m_outputOptions;
    std::string m_size, m_rateText = "25", m_length;

    EffectRequest m_generator;
    int m_width = 0, m_height = 0;
    AVRational m_rate{25, 1};
    std::optional<double> m_seconds; ///< one frame for a picture, five seconds for a clip
    OutputRequest m_output;
};

} // namespace

std::unique_ptr<Verb> generateVerb(CLI::App& command) {
    return std::make_unique<GenerateVerb>(command);
}

} // namespace larkmoor
