#include <cmath>

#include <fmt/format.h>

#include "output.h"

namespace larkmoor {

namespace {

constexpr double usualDuration = 5; ///< seconds

} // namespace

void generate(const Module& module, const GenerateRequest& request) {
    const std::vector<Step> steps{planStep(module, request.generator)};
    const EffectInfo& info = *steps.front().info;
    if (info.kind != EffectKind::Generator)
        throw UsageError(fmt::format("{} makes no pictures of its own; `larkmoor {}` renders it", info.name,
                                     info.kind == EffectKind::Filter ? "render" : "join"));
    const OutputRequest& out = request.output;
    VideoFacts video;
    video.width = request.width;
    video.height = request.height;
    video.format = AV_PIX_FMT_BGRA;
    video.colour.space = AVCOL_SPC_RGB;
    video.colour.range = AVCOL_RANGE_JPEG;
    video.rate = request.rate;
    video.timeBase = av_inv_q(request.rate);

    const bool picture = !isRawPath(out.path) && isPictureContainer(containerFor(out.path)) &&
                         !av_filename_number_test(out.path.c_str());
    const double seconds = request.duration.value_or(picture ? 0 : usualDuration);
    const std::int64_t total = std::max<std::int64_t>(1, std::llround(seconds * av_q2d(request.rate)));

    Output output(out, video, nullptr);
    if (ContainerSink* container = output.container()) container->begin();
    run(module, steps, video, {}, output, out.threads, total,
        [&](Job& job) {
            if (job.index >= total) return false;
            job.time100ns = av_rescale_q(job.index, video.timeBase, {1, 10000000});
            job.position = total > 1 ? static_cast<double>(job.index) / static_cast<double>(total - 1) : 0;
            return true;
        },
        {});
    output.finish();
    saveStates(module, steps.front(), out.overwrite);
}

} // namespace larkmoor
