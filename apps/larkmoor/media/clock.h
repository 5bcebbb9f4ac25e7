// Time stamps of recordings whose clock jumps.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "media/av.h"

namespace larkmoor {

/// Joins recordings that were put one behind the other: where the clock of a stream jumps, what follows is moved so
/// that the pictures go on where they were.
class Clock {
  public:
    /// @param video the stream that the others follow.
    Clock(const AVFormatContext& format, int video);

    /// Puts a packet onto the clock and hands out those that are settled. A packet that waits for the pictures to jump,
    /// too, is kept.
    void place(PacketPtr packet, std::deque<PacketPtr>& out);
    /// Hands out what is kept.
    void end(std::deque<PacketPtr>& out);

    int jumps() const { return static_cast<int>(m_shifts.size()) - 1; }

  private:
    struct Track {
        std::int64_t last = AV_NOPTS_VALUE; ///< its decoding time, as read, 1/1000000 s
        std::size_t part = 0;               ///< of the file, between jumps
    };
    void shift(AVPacket& packet) const;
    void release(std::deque<PacketPtr>& out);
    void settle(std::deque<PacketPtr>& out);
    Track& track(const AVPacket& packet) { return m_tracks[static_cast<std::size_t>(packet.stream_index)]; }
    std::int64_t timeOf(const AVPacket& packet) const;

    const AVFormatContext& m_format;
    int m_video;
    std::vector<Track> m_tracks;
    std::vector<std::int64_t> m_shifts{0}; ///< of each part, 1/1000000 s
    std::int64_t m_end = AV_NOPTS_VALUE;   ///< of the pictures so far, on the clock
    std::int64_t m_patience = 0;           ///< time of the pictures at which waiting ends, as read
    std::deque<PacketPtr> m_doubtful;      ///< from a picture on that may be broken, or the last before a jump
    std::deque<PacketPtr> m_waiting;
};

/// The time stamp of a packet, or when it is to be decoded where it has none.
std::int64_t stampOf(const AVPacket& packet);

} // namespace larkmoor
