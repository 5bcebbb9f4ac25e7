#include "media/sound_source.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include <fmt/format.h>

namespace larkmoor {

SoundSource::SoundSource(const std::string& path, int number) {
    std::error_code ignored;
    if (!std::filesystem::exists(path, ignored)) return;
    AVFormatContext* context = nullptr;
    if (avformat_open_input(&context, ("file:" + path).c_str(), nullptr, nullptr) < 0) return;
    m_format.reset(context);
    avCheck(avformat_find_stream_info(context, nullptr), "read " + path);
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        AVStream& stream = *context->streams[i];
        stream.discard = AVDISCARD_ALL;
        if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO && number-- == 0) m_stream = &stream;
    }
    if (m_stream && !isKnownSound(*m_stream->codecpar)) m_stream = nullptr;
    if (!m_stream) return;
    m_stream->discard = AVDISCARD_DEFAULT;
    m_decoder = openAudioDecoder(*m_stream);
}

void SoundSource::prepare(const SoundFacts& wanted) {
    m_wanted = wanted;
}

void SoundSource::seek(double seconds) {
    if (!m_stream) return;
    constexpr double lead = 0.5; // decoders settle, and containers find places roughly
    const double clip =
        m_format->start_time == AV_NOPTS_VALUE ? 0.0 : static_cast<double>(m_format->start_time) / AV_TIME_BASE;
    const auto stamp = static_cast<std::int64_t>(std::max(0.0, seconds - lead) / av_q2d(m_stream->time_base) +
                                                 clip / av_q2d(m_stream->time_base));
    if (av_seek_frame(m_format.get(), m_stream->index, stamp, AVSEEK_FLAG_BACKWARD) < 0)
        av_seek_frame(m_format.get(), -1, 0, AVSEEK_FLAG_BACKWARD); // it is read through
    avcodec_flush_buffers(m_decoder.get());
    m_resampler.reset();
    m_ready.clear();
    m_taken = 0;
    m_skip = 0;
    m_from = seconds;
    m_placed = m_ended = false;
}

void SoundSource::append(const AVFrame* frame) {
    if (frame && !m_resampler) {
        AVChannelLayout in{};
        if (frame->ch_layout.order == AV_CHANNEL_ORDER_NATIVE)
            in = frame->ch_layout;
        else
            av_channel_layout_default(&in, frame->ch_layout.nb_channels);
        SwrContext* resampler = nullptr;
        avCheck(swr_alloc_set_opts2(&resampler, &m_wanted.layout, AV_SAMPLE_FMT_FLT, m_wanted.rate, &in,
                                    static_cast<AVSampleFormat>(frame->format), frame->sample_rate, 0, nullptr),
                "set up sound");
        m_resampler.reset(resampler);
        avCheck(swr_init(resampler), "set up sound");
    }
    if (!m_resampler) return;
    const auto channels = static_cast<std::size_t>(m_wanted.layout.nb_channels);
    const int room = std::max(0, swr_get_out_samples(m_resampler.get(), frame ? frame->nb_samples : 0));
    m_ready.erase(m_ready.begin(), m_ready.begin() + static_cast<std::ptrdiff_t>(m_taken));
    m_taken = 0;
    const std::size_t before = m_ready.size();
    m_ready.resize(before + static_cast<std::size_t>(room) * channels);
    auto* out = reinterpret_cast<std::uint8_t*>(m_ready.data() + before);
    const int got = avCheck(swr_convert(m_resampler.get(), &out, room,
                                        frame ? const_cast<const std::uint8_t**>(frame->extended_data) : nullptr,
                                        frame ? frame->nb_samples : 0),
                            "convert sound");
    m_ready.resize(before + static_cast<std::size_t>(got) * channels);
}

/// Leaves out what lies before the place that reading begins at.
void SoundSource::skip() {
    const auto skipped = std::min<std::int64_t>(m_skip, static_cast<std::int64_t>(m_ready.size() - m_taken));
    m_taken += static_cast<std::size_t>(skipped);
    m_skip -= skipped;
}

bool SoundSource::decodeMore() {
    if (!m_stream || m_ended) return false;
    FramePtr frame = newFrame();
    while (true) {
        const int status = avMemory(avcodec_receive_frame(m_decoder.get(), frame.get()));
        if (status >= 0) break;
        if (status == AVERROR_EOF) {
            m_ended = true;
            append(nullptr);
            skip();
            return true;
        }
        PacketPtr packet = newPacket();
        const int got = av_read_frame(m_format.get(), packet.get());
        if (got < 0)
            avMemory(avcodec_send_packet(m_decoder.get(), nullptr));
        else if (packet->stream_index == m_stream->index)
            avMemory(avcodec_send_packet(m_decoder.get(), packet.get()));
    }
    if (!m_placed) {
        // Sound may begin later than the clip, or before it.
        m_placed = true;
        const double clip =
            m_format->start_time == AV_NOPTS_VALUE ? 0.0 : static_cast<double>(m_format->start_time) / AV_TIME_BASE;
        const double first = frame->best_effort_timestamp == AV_NOPTS_VALUE
                                 ? clip
                                 : static_cast<double>(frame->best_effort_timestamp) * av_q2d(m_stream->time_base);
        const std::int64_t offset =
            std::llround(std::clamp(first - clip - m_from, -60.0 - m_from, 3600.0) * m_wanted.rate);
        if (offset > 0)
            m_ready.assign(static_cast<std::size_t>(offset) * static_cast<std::size_t>(m_wanted.layout.nb_channels),
                           0.0f);
        else
            m_skip = -offset * m_wanted.layout.nb_channels;
    }
    append(frame.get());
    skip();
    return true;
}

void SoundSource::read(std::span<float> samples) {
    while (m_ready.size() - m_taken < samples.size() && decodeMore()) {
    }
    const std::size_t there = std::min(samples.size(), m_ready.size() - m_taken);
    std::copy_n(m_ready.begin() + static_cast<std::ptrdiff_t>(m_taken), there, samples.begin());
    std::fill(samples.begin() + static_cast<std::ptrdiff_t>(there), samples.end(), 0.0f);
    m_taken += there;
}

} // namespace larkmoor
