// The packets of a clip, a picture, a numbered sequence or bare frames, on a clock that does not jump.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "media/clock.h"

namespace larkmoor {

/// Frames without a container.
struct RawFormat {
    int width = 0, height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    AVRational rate{25, 1};
};

class Demuxer {
  public:
    /// @param rate of a numbered sequence; 25 without it.
    /// Throws Error with a sentence.
    Demuxer(const std::string& path, const std::optional<RawFormat>& raw, const std::optional<AVRational>& rate);

    AVFormatContext& container() const { return *m_format; }
    AVStream& video() const { return *m_video; }
    const std::string& name() const { return m_name; } ///< as told to people
    bool isPicture() const { return m_picture; }       ///< one still picture
    bool isRaw() const { return m_raw; }
    std::optional<int> firstNumber() const { return m_number; } ///< of a numbered sequence
    int files() const { return m_files; }                       ///< of a numbered sequence, up to the first gap

    /// Whether the pictures' time stamps come from the container, and mean the same however the place is reached.
    bool hasStamps() const;
    /// Whether a place is found by an index that can be trusted.
    bool hasIndex() const;
    /// To a place at or before a time stamp of the pictures; false where that cannot be done.
    bool seek(std::int64_t stamp);

    /// The next packet; an empty one at the end. Throws Error when the file cannot be read.
    PacketPtr read();
    /// The file ended before its end, or went on as nothing that makes sense.
    bool isCut() const { return m_cut; }
    /// Jumps of the clock so far.
    int jumps() const { return m_clock ? m_clock->jumps() : 0; }

  private:
    void choose();
    PacketPtr readPlain();
    bool endsBeforeIndex() const;
    bool isShorter() const;

    std::string m_name;
    InputPtr m_format;
    AVStream* m_video = nullptr;
    std::optional<int> m_number;
    std::optional<Clock> m_clock;
    std::deque<PacketPtr> m_ready;
    std::int64_t m_lastStamp = AV_NOPTS_VALUE, m_lastDts = AV_NOPTS_VALUE; ///< of the last packet of the pictures
    std::int64_t m_bytes = -1; ///< of the file when it was opened; below 0 where that has no meaning
    int m_files = 0;
    bool m_picture = false, m_raw = false, m_ended = false, m_cut = false, m_memoryTold = false;
    std::vector<bool> m_lastBroken; ///< of each stream's last packet
};

} // namespace larkmoor
