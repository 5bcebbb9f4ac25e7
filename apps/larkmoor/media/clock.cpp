#include "media/clock.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace larkmoor {

namespace {

constexpr AVRational microseconds{1, AV_TIME_BASE};
/// Steps of the clock that are jumps, 1/1000000 s.
constexpr std::int64_t mostBack = AV_TIME_BASE / 10, mostAhead = 10 * std::int64_t{AV_TIME_BASE};
/// So long other streams that have jumped wait for the pictures to do so, too.
constexpr std::int64_t longestWait = 2 * std::int64_t{AV_TIME_BASE};
/// Packets behind a doubtful one after which it counts as broken.
constexpr std::size_t longestDoubt = 2;

} // namespace

std::int64_t stampOf(const AVPacket& packet) {
    return packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
}

Clock::Clock(const AVFormatContext& format, int video)
    : m_format(format), m_video(video), m_tracks(format.nb_streams) {}

std::int64_t Clock::timeOf(const AVPacket& packet) const {
    const std::int64_t stamp = packet.dts != AV_NOPTS_VALUE ? packet.dts : packet.pts;
    if (stamp == AV_NOPTS_VALUE) return stamp;
    return av_rescale_q(stamp, m_format.streams[packet.stream_index]->time_base, microseconds);
}

void Clock::shift(AVPacket& packet) const {
    const std::int64_t by = av_rescale_q(m_shifts[m_tracks[static_cast<std::size_t>(packet.stream_index)].part],
                                         microseconds, m_format.streams[packet.stream_index]->time_base);
    if (packet.pts != AV_NOPTS_VALUE) packet.pts += by;
    if (packet.dts != AV_NOPTS_VALUE) packet.dts += by;
}

/// Hands out those that waited and now can be placed.
void Clock::settle(std::deque<PacketPtr>& out) {
    for (PacketPtr& packet : m_waiting) {
        shift(*packet);
        out.push_back(std::move(packet));
    }
    m_waiting.clear();
}

void Clock::place(PacketPtr packet, std::deque<PacketPtr>& out) {
    // Streams that turn up later have no place.
    if (static_cast<std::size_t>(packet->stream_index) >= m_tracks.size()) return;
    const bool video = packet->stream_index == m_video;
    const std::int64_t time = timeOf(*packet);
    Track& track = this->track(*packet);
    const bool known = time != AV_NOPTS_VALUE;
    const bool jumps =
        known && track.last != AV_NOPTS_VALUE && (time < track.last - mostBack || time > track.last + mostAhead);
    if (known) track.last = time;
    if (jumps) ++track.part;
    if (!video) {
        const std::size_t pictures = m_tracks[static_cast<std::size_t>(m_video)].part;
        if (track.part <= pictures) {
            shift(*packet);
            out.push_back(std::move(packet));
        } else {
            if (m_waiting.empty())
                m_patience = m_tracks[static_cast<std::size_t>(m_video)].last == AV_NOPTS_VALUE
                                 ? time
                                 : m_tracks[static_cast<std::size_t>(m_video)].last + longestWait;
            m_waiting.push_back(std::move(packet));
        }
        return;
    }
    // The last packets before a jump are whole, though what counts them missed some.
    for (PacketPtr& doubtful : m_doubtful)
        if (jumps) doubtful->flags &= ~AV_PKT_FLAG_CORRUPT;
    if (jumps || m_doubtful.size() > longestDoubt) release(out);
    const AVRational unit = m_format.streams[m_video]->time_base;
    if (jumps) {
        // The first picture follows the last one; where it is no key frame the order of decoding tells best.
        const std::int64_t first = (packet->flags & AV_PKT_FLAG_KEY) && packet->pts != AV_NOPTS_VALUE
                                       ? av_rescale_q(packet->pts, unit, microseconds)
                                       : time;
        m_shifts.resize(track.part + 1);
        m_shifts.back() = m_end - first;
    }
    shift(*packet);
    if (const std::int64_t stamp = stampOf(*packet); stamp != AV_NOPTS_VALUE)
        m_end = std::max(m_end, av_rescale_q(stamp + std::max<std::int64_t>(1, packet->duration), unit, microseconds));
    if (!m_waiting.empty() && (jumps || time > m_patience)) {
        // They jumped alone, and stay on the clock of the pictures.
        for (Track& other : m_tracks) other.part = std::min(other.part, track.part);
        settle(out);
    }
    if (!m_doubtful.empty() || (packet->flags & AV_PKT_FLAG_CORRUPT))
        m_doubtful.push_back(std::move(packet));
    else
        out.push_back(std::move(packet));
}

void Clock::release(std::deque<PacketPtr>& out) {
    std::ranges::move(m_doubtful, std::back_inserter(out));
    m_doubtful.clear();
}

void Clock::end(std::deque<PacketPtr>& out) {
    for (Track& other : m_tracks) other.part = std::min(other.part, m_tracks[static_cast<std::size_t>(m_video)].part);
    settle(out);
    release(out);
}

} // namespace larkmoor
