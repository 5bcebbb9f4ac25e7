#include "verbs/options.h"

#include <algorithm>
#include <thread>

#include <fmt/format.h>

namespace larkmoor {

void EffectOptions::add(CLI::App& app, bool chain) {
    using Kind = EffectRequest::Kind;
    if (chain) {
        m_effect = option(app, "--effect", "An effect; several make a chain, each with the options after it", "NAME");
        m_over = option(app, "--over-effect",
                        "A generator whose picture is laid over what came before it, such as Text", "NAME");
    }
    m_kinds[option(app, "--preset", "A preset of the effect, by name or number, or one of your own", "NAME")] =
        Kind::Preset;
    m_kinds[option(app, "--set", "A field's value", "FIELD=VALUE")] = Kind::Set;
    m_kinds[option(app, "--ramp", "A field's value from the first frame to the last", "FIELD=FROM:TO")] = Kind::Ramp;
    m_kinds[option(app, "--key", "A field's values at frames (50, 2.5s, end) and the way on: hold, linear, smooth",
                   "FIELD=FRAME:VALUE[:WAY],...")] = Kind::Key;
    if (chain) {
        m_kinds[option(app, "--from", "The first frame at which the effect works, or its time (2.5s)", "FRAME")] =
            Kind::From;
        m_kinds[option(app, "--to", "The last frame at which the effect works, or its time", "FRAME")] = Kind::To;
    }
    m_kinds[option(app, "--load-state", "Start from a saved state", "FILE")] = Kind::LoadState;
    m_kinds[option(app, "--save-state", "Save the effect's state when done", "FILE")] = Kind::SaveState;
    m_kinds[option(app, "--save-preset", "Keep the effect's settings as a preset of your own", "NAME")] =
        Kind::SavePreset;
    app.add_flag("--unchecked", m_unchecked, "Let values through that lie beyond a field's range");
}

std::vector<EffectRequest> EffectOptions::collect(const CLI::App& app, const EffectRequest* first) const {
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
    if (m_unchecked)
        for (EffectRequest& effect : effects) effect.values = Values::Unchecked;
    return effects;
}

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

CLI::Option* EffectOptions::option(CLI::App& app, const std::string& name, const std::string& help,
                                   const std::string& type) {
    return app.add_option(name, m_texts, help)->type_name(type)->allow_extra_args(false)->take_all();
}

void ClipOptions::add(CLI::App& app) {
    app.add_option("--over", m_over, "A clip or picture to lay the result over")->type_name("CLIP");
    app.add_option("--rate", m_rate, "Frames a second of a numbered sequence; 25 by default")->type_name("R");
    app.add_option("--start", m_start, "Where to start: seconds or HH:MM:SS.mmm")->type_name("TIME");
    app.add_option("--end", m_end, "Where to end, on the clip's clock as --start")->type_name("TIME");
    app.add_option("--frames", m_frames, "How many frames to render at most")
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

ClipRequest ClipOptions::request(const std::string& path) const {
    ClipRequest clip{.path = path, .over = m_over};
    if (!m_rate.empty()) clip.rate = parseRate(m_rate);
    if (!m_start.empty()) clip.start = parseTime(m_start);
    if (!m_end.empty()) clip.end = parseTime(m_end);
    if (clip.end && *clip.end <= clip.start) throw UsageError("--end has to be later than --start");
    if (m_frames > 0) clip.range.out = m_frames;
    return clip;
}

void ClipOptions::refuseFor(const CLI::App& app, const std::string& project) const {
    for (const char* option : {"--effect", "--over-effect", "--over", "--rate", "--start", "--end", "--frames"})
        if (app.count(option) > 0)
            throw UsageError(fmt::format("{} is a project, which has its source and effects in it; {} does not go with "
                                         "one",
                                         project, option));
}

void OutputOptions::add(CLI::App& app, bool reads) {
    app.add_option("-o,--output", m_path, "The file to write, or - for bare frames on standard output")
        ->required()
        ->type_name("OUT");
    app.add_flag("-y", m_overwrite, "Overwrite an existing file");
    addEncoding(app);
    app.add_option("--raw", m_raw, "What bare frames are: WxH:FORMAT:RATE, FORMAT by FFmpeg's name")
        ->type_name("WxH:FORMAT:RATE");
    if (reads) addReading(app);
    app.add_option("--frames-of", m_framesOf, "Only frames A to B-1 of the whole, as they are in it, without the sound")
        ->type_name("A:B");
    app.add_option("--chunk", m_chunk, "Only part I of N, counted from 0, as --frames-of")
        ->excludes("--frames-of")
        ->type_name("I/N");
    app.add_option("--chunk-frames", m_chunkFrames, "Begin a new encoder after every N frames, as a job in chunks does")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1} << 30))
        ->type_name("N");
    app.add_option("--threads", m_threads, "Frames at once; the machine's processors by default")
        ->check(CLI::Range(1, 256))
        ->type_name("N");
}

void OutputOptions::addEncoding(CLI::App& app) {
    app.add_option("--codec", m_codec, "The encoder, by FFmpeg's name")->type_name("NAME");
    app.add_option("--quality", m_quality, "0, the smallest files, to 100, the best pictures")
        ->check(CLI::Range(0.0, 100.0))
        ->type_name("Q");
    app.add_option("--bitrate", m_bitRate, "Bits a second of the pictures, such as 4M, instead of a quality")
        ->excludes("--quality")
        ->type_name("RATE");
    app.add_option("--encoder-option", m_settings, "A setting of the encoder's own, by FFmpeg's name; may be repeated")
        ->allow_extra_args(false)
        ->take_all()
        ->type_name("KEY=VALUE");
    app.add_flag("--no-sound", m_noSound, "Leave the sound out");
    app.add_option("--audio-codec", m_soundCodec, "The encoder of sound, by FFmpeg's name")
        ->excludes("--no-sound")
        ->type_name("NAME");
    app.add_option("--audio-stream", m_soundStream, "Only this one of several streams of sound, counted from 1")
        ->check(CLI::Range(1, 1000))
        ->excludes("--no-sound")
        ->type_name("N");
    app.add_option("--pixel-format", m_pixelFormat, "The encoder's pixel format, by FFmpeg's name")
        ->type_name("FORMAT");
}

void OutputOptions::addReading(CLI::App& app) {
    app.add_flag("--strict", m_strict, "Stop at the first damage of an input");
    app.add_flag("--no-autorotate", m_asStored, "Leave pictures turned as they are stored");
}

OutputRequest OutputOptions::request() const {
    OutputRequest out;
    out.path = m_path;
    out.overwrite = m_overwrite;
    out.encode.codec = m_codec;
    if (m_quality >= 0) out.encode.quality = m_quality;
    if (!m_bitRate.empty()) out.encode.bitRate = parseBitRate(m_bitRate);
    for (const std::string& setting : m_settings) {
        const std::size_t equals = setting.find('=');
        if (equals == std::string::npos || equals == 0)
            throw UsageError(fmt::format("--encoder-option takes KEY=VALUE, not \"{}\"", setting));
        out.encode.settings.emplace_back(setting.substr(0, equals), setting.substr(equals + 1));
    }
    out.encode.sound = {.none = m_noSound, .stream = m_soundStream, .codec = m_soundCodec};
    if (!m_pixelFormat.empty()) out.encode.pixelFormat = parsePixelFormat(m_pixelFormat);
    if (!m_raw.empty()) out.raw = parseRaw(m_raw);
    out.threads = m_threads > 0 ? m_threads : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    if (!m_framesOf.empty()) out.part = parseFramesOf(m_framesOf);
    if (!m_chunk.empty()) out.part = parseChunk(m_chunk);
    out.chunkFrames = m_chunkFrames;
    out.reading = {.strict = m_strict, .turn = !m_asStored};
    return out;
}

} // namespace larkmoor
