#include "worker.h"

#include <algorithm>
#include <cstdint>

#include "host/alpha.h"
#include "host/depth.h"

namespace larkmoor {

namespace {

/// Whether a frame's samples mean in the target's format what they mean in its own.
bool sameSamples(const AVFrame& frame, const Target& target) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    if (withoutRange(format) != withoutRange(target.format)) return false;
    const Colour is = colourOf(frame), wanted = target.colour;
    if (isRgb(format)) return true;
    if (isFullRange(format, is.range) != isFullRange(target.format, wanted.range)) return false;
    if (isGray(format)) return true;
    const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(format);
    const bool sited = d.log2_chroma_w || d.log2_chroma_h;
    return matrixOf(is.space, frame.width, frame.height) == matrixOf(wanted.space, frame.width, frame.height) &&
           (!sited || chromaPlace(frame) == chromaPlace(target.format, wanted.chroma));
}

/// Whether the samples are the very bytes that effects see.
bool isBytes(const AVFrame& frame) {
    const auto format = static_cast<AVPixelFormat>(frame.format);
    return isRgb(format) && !needsFloat(format);
}

} // namespace

PixelFormat formFor(const Recipe& recipe, const VideoFacts& video, std::span<const VideoFacts> others) {
    const auto deep = [](const VideoFacts& facts) { return needsFloat(facts.format); };
    if (deep(video) || std::ranges::any_of(others, deep)) return PixelFormat::Float128;
    return recipe.generates() && recipe.effects.empty() ? PixelFormat::Argb32 : PixelFormat::PremultipliedArgb32;
}

Worker::Worker(const WorkPlan& plan)
    : m_plan(plan), m_form(formFor(plan.recipe, plan.video, plan.others)), m_chain(plan.module, plan.recipe) {}

tSurfaceInfo Worker::infoFor(const Job& job) const {
    return {av_q2d(m_plan.video.aspect), av_q2d(m_plan.video.rate), job.time100ns};
}

/// Clips differ in what their numbers mean.
const VideoFacts& Worker::factsOf(std::size_t clip) const {
    return clip == 0 ? m_plan.video : m_plan.others.at(clip - 1);
}

/// The frame's own memory where it is in the right form already, else a converted copy in `memory`.
Surface Worker::surfaceOf(AVFrame& frame, const VideoFacts& facts, Importer& importer, Surface& memory) {
    const VideoFacts& size = m_plan.video;
    constexpr std::uintptr_t alignment = 16;
    if (frame.format == AV_PIX_FMT_BGRA && m_form == PixelFormat::PremultipliedArgb32 && frame.width == size.width &&
        frame.height == size.height && reinterpret_cast<std::uintptr_t>(frame.data[0]) % alignment == 0 &&
        (facts.premultiplied || isOpaque(viewOf(frame))))
        return Surface::wrap(viewOf(frame));
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
    Surface &first = m_firstPicture = {}, &second = m_secondPicture = {};
    if (job.first) {
        first = surfaceOf(*job.first, factsOf(job.clip), m_firstImporter, m_first);
        first.setInfo(info);
    }
    if (job.second) {
        second = surfaceOf(*job.second, factsOf(job.clip + 1), m_secondImporter, m_second);
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

/// Gives a decoded frame out as it is, where the encoder takes it so.
bool Worker::passOn(Job& job, const FramePtr& frame, const VideoFacts& facts) const {
    const Target& target = m_plan.sink.target();
    const VideoFacts& video = m_plan.video;
    if (frame->width != video.width || frame->height != video.height || !sameSamples(*frame, target)) return false;
    if (hasAlpha(target.format) && facts.premultiplied != m_plan.sink.premultiplied()) return false;
    FramePtr out = shareFrame(*frame);
    out->format = target.format;
    tag(*out, target.colour);
    out->pts = job.first->pts;
    out->pkt_duration = job.first->pkt_duration;
    job.output = std::move(out);
    return true;
}

/// Gives a decoded frame of luma and chroma out in other luma and chroma, by floats: of what lies beyond colours
/// nothing is lost.
bool Worker::convert(Job& job, AVFrame& frame, const VideoFacts& facts, FramePtr& made) {
    const auto hasLuma = [](int format) { return !isRgb(static_cast<AVPixelFormat>(format)); };
    const VideoFacts& video = m_plan.video;
    if (!hasLuma(frame.format) || !hasLuma(made->format) || frame.width != video.width || frame.height != video.height)
        return false;
    if (!m_deep) m_deep = Surface::create(PixelFormat::Float128, video.width, video.height);
    m_firstImporter.run(frame, m_deep.view(), facts.premultiplied);
    m_exporter.run(m_deep.view(), *made, m_plan.sink.premultiplied());
    job.output = std::move(made);
    return true;
}

void Worker::run(Job& job) {
    const Target& target = m_plan.sink.target();
    const VideoFacts& first = factsOf(job.clip);
    const bool plain = job.plain && !m_chain.worksAt(job.index);
    if (plain && passOn(job, job.first, first)) return;
    FramePtr made = m_plan.frames.take();
    AVFrame& out = *made;
    if (job.first) {
        avCheck(av_frame_copy_props(&out, job.first.get()), "hold a picture");
    } else {
        out.pts = job.index;
        out.pkt_duration = 1;
    }
    tag(out, target.colour);

    Surface output;
    if (plain && convert(job, *job.first, first, made)) return;
    if (plain) {
        output = surfaceOf(*job.first, first, m_firstImporter, m_first);
    } else {
        // The last effect draws straight into the encoder's frame where that has the same form.
        output = target.format == AV_PIX_FMT_BGRA && m_form != PixelFormat::Float128
                     ? Surface::wrap(viewOf(out, m_form))
                     : scratch(m_output);
        draw(job, output);
        output.touch();
        // What nothing has changed keeps the samples that it came with. Limits have to hold for what the effect's bytes
        // do not tell of other samples, too.
        const bool limits = m_chain.limitsAt(job.index);
        const auto unchanged = [&](const Surface& picture, const FramePtr& frame, const VideoFacts& facts) {
            return picture && !(limits && !isBytes(*frame)) && isUnchanged(picture.view(), output.view()) &&
                   (passOn(job, frame, facts) || convert(job, *frame, facts, made));
        };
        if (unchanged(m_firstPicture, job.first, first) ||
            (job.second && unchanged(m_secondPicture, job.second, factsOf(job.clip + 1))))
            return;
    }
    m_exporter.run(output.view(), out, m_plan.sink.premultiplied());
    job.output = std::move(made);
}

} // namespace larkmoor
