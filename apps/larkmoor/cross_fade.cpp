#include "cross_fade.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkmoor {

CrossFade::CrossFade(const std::string& first, const std::string& second, int number)
    : m_first(first, number), m_second(second, number) {}

void CrossFade::open(ContainerSink& sink) {
    if (!m_first.any() && !m_second.any()) return;
    const SoundSource& like = m_first.any() ? m_first : m_second;
    m_facts = like.facts();
    m_first.prepare(m_facts);
    m_second.prepare(m_facts);
    const std::optional<std::size_t> number = sink.addSound(m_facts, like.metadata(), like.disposition());
    if (!number) return;
    m_number = *number;
    m_sink = &sink;
}

void CrossFade::overlapAt(double start, double duration) {
    m_start = std::llround(start * m_facts.rate);
    m_length = std::llround(duration * m_facts.rate);
}

void CrossFade::writeUntil(double seconds) {
    advance(seconds, true);
}

void CrossFade::skipUntil(double seconds) {
    advance(seconds, false);
}

void CrossFade::advance(double seconds, bool write) {
    if (!m_sink) return;
    const std::int64_t end = std::llround(seconds * m_facts.rate);
    const int channels = m_facts.layout.nb_channels;
    std::vector<float> first, second;
    while (m_written < end) {
        const auto count = static_cast<int>(std::min<std::int64_t>(end - m_written, 4096));
        FramePtr frame = newFrame();
        frame->format = AV_SAMPLE_FMT_FLT;
        frame->nb_samples = count;
        frame->sample_rate = m_facts.rate;
        avCheck(av_channel_layout_copy(&frame->ch_layout, &m_facts.layout), "set up sound");
        avCheck(av_frame_get_buffer(frame.get(), 0), "hold sound");
        auto* out = reinterpret_cast<float*>(frame->data[0]);
        first.assign(static_cast<std::size_t>(count) * static_cast<std::size_t>(channels), 0.0f);
        second = first;
        if (m_written < m_start || m_written < m_start + m_length) m_first.read(first);
        // The second clip's own start falls on the overlap's.
        const std::int64_t lead = std::clamp<std::int64_t>(m_start - m_written, 0, count);
        m_second.read(std::span(second).subspan(static_cast<std::size_t>(lead * channels)));
        for (int i = 0; i < count; ++i) {
            const std::int64_t at = m_written + i - m_start;
            const double share = m_start == INT64_MAX || at < 0 ? 0
                                 : at >= m_length               ? 1
                                                  : static_cast<double>(at) / static_cast<double>(m_length);
            const double in = std::sin(share * std::numbers::pi / 2),
                         away = share >= 1 ? 0 : std::cos(share * std::numbers::pi / 2);
            for (int c = 0; c < channels; ++c) {
                const int s = i * channels + c;
                out[s] = static_cast<float>(away * first[static_cast<std::size_t>(s)] +
                                            in * second[static_cast<std::size_t>(s)]);
            }
        }
        if (write) m_sink->writeSound(m_number, *frame);
        m_written += count;
    }
}

} // namespace larkmoor
