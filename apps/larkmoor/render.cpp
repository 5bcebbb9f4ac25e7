#include <fmt/format.h>

#include "media/conform.h"
#include "output.h"

namespace larkmoor {

namespace {

std::vector<Step> planSteps(const Module& module, const RenderRequest& request) {
    std::vector<Step> steps;
    for (const EffectRequest& effect : request.effects) {
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

/// The clip below the pictures: its frame at the time of each of them.
class Below {
  public:
    /// @param video of the pictures above, whose size, aspect and rate the clip is brought to.
    Below(const std::string& path, const VideoFacts& video, int threads)
        : m_reader(path, {.threads = threads}), m_frames(m_reader, video), m_unit(video.timeBase),
          m_period(av_inv_q(video.rate)) {
        if (!m_frames.changes().empty()) warn(fmt::format("{} is resampled: {}", path, m_frames.changes()));
    }

    const VideoFacts& video() const { return m_reader.video(); }

    /// The frame for a time stamp in the unit of the pictures above; stamps ascend. The last one stays.
    FramePtr at(std::int64_t stamp) {
        for (const std::int64_t number = av_rescale_q(stamp, m_unit, m_period); !m_frame || m_number < number;) {
            FramePtr frame = m_ended ? nullptr : m_frames.next();
            if (!frame && !m_frame) throw Error(fmt::format("{} holds no frame", m_reader.path()));
            if (!frame) {
                if (!m_ended && !m_reader.isPicture())
                    warn(fmt::format("{} ends first; its last frame stays", m_reader.path()));
                m_ended = true;
                break;
            }
            m_frame = std::move(frame);
            ++m_number;
        }
        return shareFrame(*m_frame);
    }

  private:
    Reader m_reader;
    Conformer m_frames;
    AVRational m_unit, m_period;
    FramePtr m_frame;
    std::int64_t m_number = -1;
    bool m_ended = false;
};

} // namespace

void render(const Module& module, const RenderRequest& request) {
    const std::vector<Step> steps = planSteps(module, request);
    const OutputRequest& out = request.output;

    ReadOptions options{
        .raw = {}, .rate = request.rate, .start = request.start, .frames = request.frames, .threads = out.threads};
    const bool rawInput = isRawPath(request.input);
    if (rawInput && out.raw) {
        if (!out.raw->width) throw UsageError("raw frames as input need --raw WxH:FORMAT:RATE");
        options.raw = RawFormat{out.raw->width, out.raw->height, out.raw->format, out.raw->rate};
    }
    if (out.raw && !rawInput && !isRawPath(out.path))
        throw UsageError(
            fmt::format("--raw is for bare frames, and neither {} nor {} are such", request.input, out.path));
    Reader reader(request.input, options);

    const std::optional<std::int64_t> total = reader.expectedFrames();
    for (const Step& step : steps)
        if (step.ramp && !total)
            throw UsageError(
                fmt::format("how many frames {} has cannot be told; a ramp needs --frames", request.input));

    std::optional<Below> below;
    if (!request.over.empty()) below.emplace(request.over, reader.video(), out.threads);
    Output output(out, reader.video(), &reader);
    if (ContainerSink* container = output.container()) {
        container->passStreams(reader);
        container->begin(reader.sequenceNumber().value_or(1));
    }
    const double last = total && *total > 1 ? static_cast<double>(*total - 1) : 0;
    const VideoFacts second = below ? below->video() : VideoFacts{};
    run(module, steps, reader.video(), second, output, out.threads, total, [&](Job& job) {
        ReadFrame read = reader.next();
        if (!read.frame) return false;
        if (below) job.second = below->at(read.frame->pts);
        job.first = std::move(read.frame);
        job.side = std::move(read.side);
        job.time100ns = read.time100ns;
        job.position = last > 0 ? std::min(1.0, static_cast<double>(job.index) / last) : 0;
        return true;
    });
    for (PacketPtr& packet : reader.rest()) output.sink().writeSide(std::move(packet));
    output.finish();
    for (const Step& step : steps) saveStates(module, step, out.overwrite);
}

} // namespace larkmoor
