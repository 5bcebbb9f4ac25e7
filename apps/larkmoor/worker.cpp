#include "worker.h"

#include <cstdint>

#include "host/alpha.h"

namespace larkmoor {

namespace {

PixelFormat formFor(const WorkPlan& plan) {
    if (plan.recipe.generates() && plan.recipe.effects.empty()) return PixelFormat::Argb32;
    return needsFloat(plan.video.format) ? PixelFormat::Float128 : PixelFormat::PremultipliedArgb32;
}

} // namespace

Worker::Worker(const WorkPlan& plan) : m_plan(plan), m_form(formFor(plan)), m_chain(plan.module, plan.recipe) {}

tSurfaceInfo Worker::infoFor(const Job& job) const {
    return {av_q2d(m_plan.video.aspect), av_q2d(m_plan.video.rate), job.time100ns};
}

/// The frame's own memory where it is in the right form already, else a converted copy in `memory`.
Surface Worker::surfaceOf(AVFrame& frame, const VideoFacts& facts, Importer& importer, Surface& memory) {
    const VideoFacts& size = m_plan.video;
    constexpr std::uintptr_t alignment = 16;
    if (frame.format == AV_PIX_FMT_BGRA && m_form == PixelFormat::PremultipliedArgb32 && frame.width == size.width &&
        frame.height == size.height && av_frame_is_writable(&frame) &&
        reinterpret_cast<std::uintptr_t>(frame.data[0]) % alignment == 0) {
        if (!facts.premultiplied) premultiply(viewOf(frame));
        return Surface::wrap(viewOf(frame));
    }
    importer.run(frame, scratch(memory).view(), facts.premultiplied);
    memory.touch();
    return memory;
}

Surface Worker::scratch(Surface& memory) const {
    if (!memory) memory = Surface::create(m_form, m_plan.video.width, m_plan.video.height);
    return memory;
}

void Worker::draw(Job& job, Surface output) {
    const tSurfaceInfo info = infoFor(job);
    const Moment moment{job.index, job.position};
    output.setInfo(info);
    Surface first, second;
    if (job.first) {
        // A transition's first clip and its second one differ in what their numbers mean.
        first = surfaceOf(*job.first, job.fromSecond ? m_plan.second : m_plan.video, m_firstImporter, m_first);
        first.setInfo(info);
    }
    if (job.second) {
        second = surfaceOf(*job.second, m_plan.second, m_secondImporter, m_second);
        second.setInfo(info);
    }
    if (!second || m_plan.recipe.joins()) {
        m_chain.run(first, second, output, moment);
        return;
    }
    scratch(m_above).setInfo(info);
    const Surface above = m_chain.run(first, {}, m_above, moment) ? m_above : first;
    layOver(above.view(), second.view(), output.view());
}

void Worker::run(Job& job) {
    const Target& target = m_plan.sink.target();
    const VideoFacts& video = m_plan.video;
    const bool plain = job.plain && m_plan.recipe.effects.empty();
    if (plain && job.first->format == target.format && colourOf(*job.first) == target.colour &&
        job.first->width == video.width && job.first->height == video.height) {
        job.output = std::move(job.first);
        return;
    }
    job.output = m_plan.frames.take();
    AVFrame& out = *job.output;
    if (job.first) {
        av_frame_copy_props(&out, job.first.get());
    } else {
        out.pts = job.index;
        out.pkt_duration = 1;
    }
    tag(out, target.colour);

    if (plain) {
        const VideoFacts& facts = job.fromSecond ? m_plan.second : video;
        m_exporter.run(surfaceOf(*job.first, facts, m_firstImporter, m_first).view(), out, m_plan.sink.premultiplied());
        return;
    }
    // The last effect draws straight into the encoder's frame where that has the same form.
    Surface output;
    if (target.format == AV_PIX_FMT_BGRA && m_form != PixelFormat::Float128) {
        output = Surface::wrap(viewOf(out, m_form));
    } else {
        output = scratch(m_output);
    }
    draw(job, output);
    output.touch();
    m_exporter.run(output.view(), out, m_plan.sink.premultiplied());
}

} // namespace larkmoor
