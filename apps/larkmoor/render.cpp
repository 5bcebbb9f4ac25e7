#include <fmt/format.h>

#include "output.h"

namespace larkmoor {

namespace {

std::vector<Step> planSteps(const Module& module, const RenderRequest& request) {
    std::vector<Step> steps;
    for (const EffectRequest& effect : request.effects) {
        steps.push_back(planStep(module, effect));
        const EffectInfo& info = *steps.back().info;
        if (info.kind == EffectKind::Transition)
            throw UsageError(
                fmt::format("{} is a transition between two clips; `larkmoor join` renders it", info.name));
        if (info.kind == EffectKind::Generator)
            throw UsageError(fmt::format("{} makes pictures of its own; `larkmoor generate` renders it", info.name));
    }
    return steps;
}

} // namespace

void render(const Module& module, const RenderRequest& request) {
    const std::vector<Step> steps = planSteps(module, request);
    const OutputRequest& out = request.output;

    ReadOptions options{.raw = {}, .start = request.start, .frames = request.frames, .threads = out.threads};
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

    Output output(out, reader.video(), &reader);
    if (ContainerSink* container = output.container()) {
        container->passStreams(reader);
        container->begin(reader.sequenceNumber().value_or(1));
    }
    const double last = total && *total > 1 ? static_cast<double>(*total - 1) : 0;
    run(module, steps, reader.video(), {}, output, out.threads, total, [&](Job& job) {
        ReadFrame read = reader.next();
        if (!read.frame) return false;
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
