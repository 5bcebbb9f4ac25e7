#include "media/picture_decoder.h"

#include <algorithm>
#include <limits>
#include <utility>

#include <fmt/format.h>

#include "media/colour.h"

namespace larkmoor {

namespace {

/// Packets after which one that brought no picture is forgotten.
constexpr std::int64_t longestDelay = 256;
/// A torn place is filled up to so many seconds.
constexpr int longestGap = 10;

/// No codec has more pictures that refer to later ones.
constexpr std::size_t mostReordered = 16;

/// Packets behind a torn place that still may be the first after what is missing.
constexpr std::int64_t tornReach = 3;

const AVCodec* decoderFor(const AVStream& stream) {
    // The usual decoders of VP8 and VP9 leave the alpha layer out.
    const AVDictionaryEntry* alpha = av_dict_get(stream.metadata, "alpha_mode", nullptr, 0);
    if (alpha && std::string_view(alpha->value) == "1") {
        const char* name = stream.codecpar->codec_id == AV_CODEC_ID_VP8   ? "libvpx"
                           : stream.codecpar->codec_id == AV_CODEC_ID_VP9 ? "libvpx-vp9"
                                                                          : nullptr;
        if (const AVCodec* codec = name ? avcodec_find_decoder_by_name(name) : nullptr) return codec;
    }
    return avcodec_find_decoder(stream.codecpar->codec_id);
}

} // namespace

PictureDecoder::PictureDecoder(AVFormatContext& format, AVStream& stream, const std::string& name, int threads)
    : m_format(format), m_stream(stream) {
    const AVCodec* codec = decoderFor(stream);
    if (!codec)
        throw Error(
            fmt::format("cannot decode {}: no decoder for {}", name, avcodec_get_name(stream.codecpar->codec_id)));
    m_decoder.reset(avcodec_alloc_context3(codec));
    if (!m_decoder) throw std::bad_alloc();
    avCheck(avcodec_parameters_to_context(m_decoder.get(), stream.codecpar), "read " + name);
    m_decoder->pkt_timebase = stream.time_base;
    m_decoder->thread_count = std::max(1, threads);
    // Sums that some streams carry are compared.
    m_decoder->err_recognition |= AV_EF_CRCCHECK;
    m_complaints.hear(*m_decoder);
    const int status = avcodec_open2(m_decoder.get(), codec, nullptr);
    if (status < 0) throw Error(fmt::format("cannot decode {}: {}", name, avReason(status)));
}

void PictureDecoder::send(const AVPacket* packet) {
    if (packet) {
        const Sent sent{packet->pts, packet->duration, (packet->flags & AV_PKT_FLAG_CORRUPT) != 0};
        // What is not to be shown brings no picture.
        if (!(packet->flags & AV_PKT_FLAG_DISCARD)) m_sent.emplace(m_number, sent);
        m_decoder->reordered_opaque = m_number++;
    }
    if (m_stopped) {
        m_drained = !packet;
        if (packet) m_lastDts = packet->dts;
        return;
    }
    const int status = avcodec_send_packet(m_decoder.get(), packet);
    if (status < 0 && status != AVERROR_EOF) fail(status);
}

void PictureDecoder::restart() {
    avcodec_flush_buffers(m_decoder.get());
    m_sent.clear();
    m_ready.clear();
    m_last.reset();
    m_lastStamp = AV_NOPTS_VALUE;
    m_decoded = m_lostBefore = 0;
    m_torn = -1;
    m_ended = false;
}

/// An error is told when its packet is through, which with several threads is some packets later.
void PictureDecoder::fail(int code) {
    avMemory(code);
    if (m_firstError == 0) m_firstError = code;
    const auto told = std::ranges::find_if(
        m_sent, [&](const auto& entry) { return !entry.second.bad && m_complaints.any(entry.first); });
    const bool delayed = m_decoder->active_thread_type & FF_THREAD_FRAME;
    const auto guess = m_sent.lower_bound(m_number - (delayed ? m_decoder->thread_count : 1));
    if (told != m_sent.end())
        told->second.bad = true;
    else if (guess != m_sent.end())
        guess->second.bad = true;
}

/// Puts the picture in the place of packets, in the order of their times.
void PictureDecoder::releaseStopped() {
    while (!m_sent.empty()) {
        const auto first = std::ranges::min_element(m_sent, {}, [](const auto& entry) { return entry.second.stamp; });
        const auto [number, sent] = *first;
        // Pictures are decoded no later than they are shown.
        if (!m_drained && sent.stamp > m_lastDts && m_sent.size() <= mostReordered) return;
        m_sent.erase(first);
        repeat(sent, false, number);
    }
    m_ended = m_drained;
}

Picture PictureDecoder::take() {
    if (m_stopped) releaseStopped();
    while (!m_stopped && m_ready.empty() && !m_ended) {
        FramePtr frame = newFrame();
        const int status = avcodec_receive_frame(m_decoder.get(), frame.get());
        if (status == AVERROR(EAGAIN)) return {};
        if (status == AVERROR_EOF) {
            m_ended = true;
            if (!m_endsEarly) settle(m_number, std::numeric_limits<std::int64_t>::max());
        } else if (status < 0) {
            fail(status);
        } else {
            dropUnnamedTags(*frame);
            accept(std::move(frame));
        }
    }
    if (m_ready.empty()) return {};
    Picture picture = std::move(m_ready.front());
    m_ready.pop_front();
    return picture;
}

std::int64_t PictureDecoder::usualDuration() const {
    const AVRational rate = av_guess_frame_rate(&m_format, &m_stream, nullptr);
    return std::max<std::int64_t>(1, rate.num > 0 ? av_rescale_q(1, av_inv_q(rate), m_stream.time_base) : 1);
}

/// The stamp on the clip's own clock, or the one that follows from the frame before.
std::int64_t PictureDecoder::frameStamp(const AVFrame& frame) const {
    if (frame.best_effort_timestamp != AV_NOPTS_VALUE) return frame.best_effort_timestamp;
    if (m_lastStamp != AV_NOPTS_VALUE) return m_lastStamp + m_lastDuration;
    return m_stream.start_time == AV_NOPTS_VALUE ? 0 : m_stream.start_time;
}

void PictureDecoder::accept(FramePtr frame) {
    const std::int64_t packet = frame->reordered_opaque;
    if (frame->pkt_duration <= 0) frame->pkt_duration = usualDuration();
    frame->pts = frameStamp(*frame);
    const auto sent = m_sent.find(packet);
    bool broken = m_complaints.take(packet);
    broken = broken || (frame->flags & AV_FRAME_FLAG_CORRUPT) || frame->decode_error_flags != 0;
    if (sent != m_sent.end()) {
        broken = broken || sent->second.bad;
        m_sent.erase(sent);
    }
    settle(packet, frame->pts);
    if (m_torn >= 0 && packet >= m_torn) fillGap(frame->pts);
    if (packet > m_torn + tornReach) m_torn = -1;
    if (m_lastStamp != AV_NOPTS_VALUE && frame->pts <= m_lastStamp) frame->pts = m_lastStamp + 1;
    m_lastStamp = frame->pts;
    m_lastDuration = frame->pkt_duration;
    // Bare frames cannot break, and nobody else may hold one that is worked on in its own memory.
    if (m_decoder->codec_id != AV_CODEC_ID_RAWVIDEO && (!broken || !m_last)) m_last = shareFrame(*frame);
    ++m_decoded;
    m_ready.push_back({std::move(frame), broken, packet});
}

/// Puts pictures in the place of those that should have come before a time stamp, and did not.
void PictureDecoder::settle(std::int64_t packet, std::int64_t stamp) {
    std::vector<Sent> lost;
    for (auto it = m_sent.begin(); it != m_sent.end();) {
        const auto& [number, sent] = *it;
        const bool passed = sent.stamp != AV_NOPTS_VALUE ? sent.stamp < stamp : number < packet;
        const bool bad = sent.bad || (passed && m_complaints.take(number));
        // A picture may come long after its packet, and some packets bring none.
        if (passed && bad) lost.push_back(sent);
        it = (passed && (bad || sent.stamp != AV_NOPTS_VALUE)) || number < packet - longestDelay ? m_sent.erase(it)
                                                                                                 : std::next(it);
    }
    std::ranges::stable_sort(lost, {}, &Sent::stamp);
    for (const Sent& one : lost) repeat(one, true);
}

void PictureDecoder::fillGap(std::int64_t stamp) {
    if (!m_last) return;
    const std::int64_t step = std::max<std::int64_t>(1, m_lastDuration);
    const AVRational unit = m_stream.time_base;
    if (av_compare_ts(stamp - m_lastStamp, unit, longestGap, {1, 1}) > 0) return;
    while (m_lastStamp + step + step / 2 < stamp) repeat({m_lastStamp + step, step}, true);
}

void PictureDecoder::repeat(const Sent& in, bool broken, std::int64_t packet) {
    if (!m_last) {
        ++m_lostBefore;
        return;
    }
    const std::int64_t stamp = in.stamp == AV_NOPTS_VALUE ? m_lastStamp + m_lastDuration : in.stamp;
    if (stamp <= m_lastStamp) return;
    FramePtr frame = shareFrame(*m_last);
    frame->pts = stamp;
    frame->pkt_duration = in.duration > 0 ? in.duration : usualDuration();
    m_lastStamp = stamp;
    m_lastDuration = frame->pkt_duration;
    m_ready.push_back({std::move(frame), broken, packet});
}

} // namespace larkmoor
