#include <cstdio>
#include <exception>
#include <map>
#include <new>
#include <thread>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "output_file.h"
#include "progress.h"
#include "render_project.h"

using namespace larkmoor;

namespace {

constexpr int exitFailed = 1, exitUsage = 2;

/// The options of effects as they stand on the command line, where their order counts.
class EffectOptions {
  public:
    /// @param chain options that start an effect are wanted; otherwise the verb has one effect only.
    void add(CLI::App& app, bool chain) {
        using Kind = EffectRequest::Kind;
        if (chain) {
            m_effect =
                option(app, "--effect", "An effect; several make a chain, each with the options after it", "NAME");
            m_over = option(app, "--over-effect",
                            "A generator whose picture is laid over what came before it, such as Text", "NAME");
        }
        m_kinds[option(app, "--preset", "A preset of the effect, by name or number", "NAME")] = Kind::Preset;
        m_kinds[option(app, "--set", "A field's value", "FIELD=VALUE")] = Kind::Set;
        m_kinds[option(app, "--ramp", "A field's value from the first frame to the last", "FIELD=FROM:TO")] =
            Kind::Ramp;
        m_kinds[option(app, "--load-state", "Start from a saved state", "FILE")] = Kind::LoadState;
        m_kinds[option(app, "--save-state", "Save the effect's state when done", "FILE")] = Kind::SaveState;
    }

    /// @param first the effect that options belong to before any opener; null when there is none.
    std::vector<EffectRequest> collect(const CLI::App& app, const EffectRequest* first = nullptr) const {
        std::vector<EffectRequest> effects;
        if (first) effects.push_back(*first);
        std::map<const CLI::Option*, std::size_t> seen;
        for (const CLI::Option* given : app.parse_order()) {
            const bool opens = given == m_effect || given == m_over;
            if (!opens && !m_kinds.contains(given)) continue;
            const std::string& value = given->results().at(seen[given]++);
            if (opens) {
                effects.push_back({value, given == m_over, {}});
                continue;
            }
            if (effects.empty())
                throw UsageError(
                    fmt::format("{} has to come after the --effect or --over-effect it belongs to", given->get_name()));
            effects.back().options.emplace_back(m_kinds.at(given), value);
        }
        return effects;
    }

  private:
    CLI::Option* option(CLI::App& app, const std::string& name, const std::string& help, const std::string& type) {
        return app.add_option(name, m_texts, help)->type_name(type)->allow_extra_args(false)->take_all();
    }

    CLI::Option* m_effect = nullptr;
    CLI::Option* m_over = nullptr;
    std::map<const CLI::Option*, EffectRequest::Kind> m_kinds;
    std::vector<std::string> m_texts;
};

/// The options of an output as texts.
struct OutputOptions {
    std::string path, codec, raw, pixelFormat;
    double quality = -1;
    int threads = 0;
    bool overwrite = false;

    void add(CLI::App& app) {
        app.add_option("-o,--output", path, "The file to write, or - for bare frames on standard output")
            ->required()
            ->type_name("OUT");
        app.add_flag("-y", overwrite, "Overwrite an existing file");
        app.add_option("--codec", codec, "The encoder, by FFmpeg's name")->type_name("NAME");
        app.add_option("--quality", quality, "0, the smallest files, to 100, the best pictures")
            ->check(CLI::Range(0.0, 100.0))
            ->type_name("Q");
        app.add_option("--pixel-format", pixelFormat, "The encoder's pixel format, by FFmpeg's name")
            ->type_name("FORMAT");
        app.add_option("--raw", raw, "What bare frames are: WxH:FORMAT:RATE, FORMAT by FFmpeg's name")
            ->type_name("WxH:FORMAT:RATE");
        app.add_option("--threads", threads, "Frames at once; the machine's processors by default")
            ->check(CLI::Range(1, 256))
            ->type_name("N");
    }

    OutputRequest request() const {
        OutputRequest out;
        out.path = path;
        out.overwrite = overwrite;
        out.encode.codec = codec;
        if (quality >= 0) out.encode.quality = quality;
        if (!pixelFormat.empty()) out.encode.pixelFormat = parsePixelFormat(pixelFormat);
        if (!raw.empty()) out.raw = parseRaw(raw);
        out.threads = threads > 0 ? threads : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
        return out;
    }
};

int work(int count, char** arguments) {
    CLI::App app("Video effects for pictures, clips and raw frames.", "larkmoor");
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", LARKMOOR_VERSION);
    bool verbose = false;
    std::string modulePath;
    app.add_flag("--verbose", verbose, "Let FFmpeg say on standard error what it does");
    app.add_option("--module", modulePath, "The module's file, where it is not the installed one")->type_name("FILE");

    bool json = false;
    CLI::App& listApp = *app.add_subcommand("list", "List the effects");
    listApp.add_flag("--json", json, "For programs");

    std::string shown;
    CLI::App& showApp = *app.add_subcommand("show", "Show an effect's fields and presets");
    showApp.add_option("EFFECT", shown, "Its name or class")->required();
    showApp.add_flag("--json", json, "For programs");

    RenderRequest rendering;
    EffectOptions renderEffects;
    OutputOptions renderOutput;
    std::string start, sequenceRate;
    CLI::App& renderApp =
        *app.add_subcommand("render", "Render a clip, a picture or a numbered sequence through effects");
    renderApp.add_option("IN", rendering.input, "What to read: a clip, a picture, a project, or - for bare frames")
        ->required();
    renderOutput.add(renderApp);
    renderEffects.add(renderApp, true);
    renderApp.add_option("--over", rendering.over, "A clip or picture to lay the result over")->type_name("CLIP");
    renderApp.add_option("--rate", sequenceRate, "Frames a second of a numbered sequence; 25 by default")
        ->type_name("R");
    renderApp.add_option("--start", start, "Where to start: seconds or HH:MM:SS.mmm")->type_name("TIME");
    renderApp.add_option("--frames", rendering.frames, "How many frames to render at most")
        ->check(CLI::Range(std::int64_t{1}, INT64_MAX))
        ->type_name("N");

    JoinRequest joining;
    EffectOptions joinEffects;
    OutputOptions joinOutput;
    std::string joinDuration;
    CLI::App& joinApp = *app.add_subcommand("join", "Put a transition between two clips");
    joinApp.add_option("A", joining.first, "The first clip or picture")->required();
    joinApp.add_option("B", joining.second, "The second one, brought to the first's size and rate")->required();
    joinOutput.add(joinApp);
    joinApp.add_option("--transition", joining.transition.name, "The transition's name")->required()->type_name("NAME");
    joinApp.add_option("--duration", joinDuration, "How long the clips overlap; one second by default")
        ->type_name("TIME");
    joinEffects.add(joinApp, false);

    GenerateRequest generating;
    EffectOptions generateEffects;
    OutputOptions generateOutput;
    std::string size, rate = "25", generateDuration;
    CLI::App& generateApp = *app.add_subcommand("generate", "Make pictures from nothing");
    generateApp.add_option("NAME", generating.generator.name, "The generator's name")->required();
    generateOutput.add(generateApp);
    generateApp.add_option("--size", size, "Of the pictures")->required()->type_name("WxH");
    generateApp.add_option("--rate", rate, "Frames a second; 25 by default")->type_name("R");
    generateApp.add_option("--duration", generateDuration, "How long; five seconds by default")->type_name("TIME");
    generateEffects.add(generateApp, false);

    try {
        app.parse(count, arguments);
    } catch (const CLI::Success& success) {
        return app.exit(success);
    } catch (const CLI::ParseError& error) {
        throw UsageError(fmt::format("{}; --help tells more", error.what()));
    }
    quietLog(verbose);

    // Texts into values before anything is loaded or opened.
    if (renderApp.parsed()) {
        rendering.output = renderOutput.request();
        rendering.effects = renderEffects.collect(renderApp);
        if (isProject(rendering.input)) {
            for (const char* option : {"--effect", "--over-effect", "--over", "--rate", "--start", "--frames"})
                if (renderApp.count(option) > 0)
                    throw UsageError(fmt::format("{} is a project, which has its source and effects in it; {} does not "
                                                 "go with one",
                                                 rendering.input, option));
        } else if (rendering.effects.empty() && rendering.over.empty())
            throw UsageError("no --effect given; `larkmoor list` names them");
        if (!sequenceRate.empty()) rendering.rate = parseRate(sequenceRate);
        if (!start.empty()) rendering.start = parseTime(start);
    } else if (joinApp.parsed()) {
        joining.output = joinOutput.request();
        joining.transition = joinEffects.collect(joinApp, &joining.transition).front();
        if (!joinDuration.empty()) joining.duration = parseTime(joinDuration);
    } else if (generateApp.parsed()) {
        generating.output = generateOutput.request();
        generating.generator = generateEffects.collect(generateApp, &generating.generator).front();
        std::tie(generating.width, generating.height) = parseSize(size);
        generating.rate = parseRate(rate);
        if (!generateDuration.empty()) generating.duration = parseTime(generateDuration);
    }

    removeOutputsOnSignals();
    const Module module = Module::load(modulePath);
    if (listApp.parsed()) list(module, json);
    if (showApp.parsed()) show(module, shown, json);
    if (renderApp.parsed()) {
        if (isProject(rendering.input))
            renderProject(module, loadProject(module, rendering.input), rendering.output, watchTerminal());
        else
            render(module, rendering);
    }
    if (joinApp.parsed()) join(module, joining);
    if (generateApp.parsed()) generate(module, generating);
    return 0;
}

} // namespace

int main(int count, char** arguments) {
    try {
        const int status = work(count, arguments);
        if (std::fflush(stdout) != 0) throw Error("cannot write to standard output");
        return status;
    } catch (const UsageError& error) {
        warn(error.what());
        return exitUsage;
    } catch (const std::bad_alloc&) {
        warn("memory is short");
        return exitFailed;
    } catch (const std::exception& error) {
        warn(error.what());
        return exitFailed;
    }
}
