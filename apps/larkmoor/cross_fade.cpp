#include "cross_fade.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkmoor {

CrossFade::CrossFade(std::span<const std::unique_ptr<Reader>> clips, int number) {
    for (const auto& clip : clips) m_clips.emplace_back(clip->path(), number);
}

void CrossFade::open(ContainerSink& sink) {
    const auto like = std::ranges::find_if(m_clips, &SoundSource::any);
    if (like == m_clips.end()) return;
    m_facts = like->facts();
    for (SoundSource& clip : m_clips) clip.prepare(m_facts);
    const std::optional<std::size_t> number = sink.addSound(m_facts, like->metadata(), like->disposition());
    if (!number) return;
    m_number = *number;
    m_sink = &sink;
}

void CrossFade::overlapAt(double start, double duration) {
    m_overlaps.push_back({std::llround(start * m_facts.rate), std::llround(duration * m_facts.rate)});
}

void CrossFade::writeUntil(double seconds) {
    advance(seconds, true);
}

void CrossFade::skipUntil(double seconds) {
    advance(seconds, false);
}

double CrossFade::Overlap::share(std::int64_t at) const {
    if (at < start) return 0;
    return at >= start + length ? 1 : static_cast<double>(at - start) / static_cast<double>(length);
}

/// Adds what a clip has for the samples that are to be written next.
void CrossFade::mix(std::size_t clip, std::span<double> sum) {
    const auto channels = static_cast<std::size_t>(m_facts.layout.nb_channels);
    const auto count = static_cast<std::int64_t>(sum.size() / channels);
    const Overlap* in = clip > 0 ? &m_overlaps[clip - 1] : nullptr;
    const Overlap* away = clip < m_overlaps.size() ? &m_overlaps[clip] : nullptr;
    if (away && m_written >= away->start + away->length) return;
    // The clip's own start falls on its overlap's.
    const std::int64_t lead = in ? std::clamp<std::int64_t>(in->start - m_written, 0, count) : 0;
    m_samples.resize(static_cast<std::size_t>(count - lead) * channels);
    m_clips[clip].read(m_samples);
    for (std::int64_t i = lead; i < count; ++i) {
        double gain = in ? std::sin(in->share(m_written + i) * std::numbers::pi / 2) : 1;
        if (const double gone = away ? away->share(m_written + i) : 0; gone > 0)
            gain *= gone < 1 ? std::cos(gone * std::numbers::pi / 2) : 0;
        for (std::size_t c = 0; c < channels; ++c)
            sum[static_cast<std::size_t>(i) * channels + c] +=
                gain * m_samples[static_cast<std::size_t>(i - lead) * channels + c];
    }
}

void CrossFade::advance(double seconds, bool write) {
    if (!m_sink) return;
    const std::int64_t end = std::llround(seconds * m_facts.rate);
    std::vector<double> sum;
    while (m_written < end) {
        const auto count = static_cast<int>(std::min<std::int64_t>(end - m_written, 4096));
        sum.assign(static_cast<std::size_t>(count) * static_cast<std::size_t>(m_facts.layout.nb_channels), 0.0);
        for (std::size_t clip = 0; clip <= m_overlaps.size(); ++clip) mix(clip, sum);
        if (write) {
            FramePtr frame = newFrame();
            frame->format = AV_SAMPLE_FMT_FLT;
            frame->nb_samples = count;
            frame->sample_rate = m_facts.rate;
            avCheck(av_channel_layout_copy(&frame->ch_layout, &m_facts.layout), "set up sound");
            avCheck(av_frame_get_buffer(frame.get(), 0), "hold sound");
            std::ranges::transform(sum, reinterpret_cast<float*>(frame->data[0]),
                                   [](double sample) { return static_cast<float>(sample); });
            m_sink->writeSound(m_number, *frame);
        }
        m_written += count;
    }
}

} // namespace larkmoor
