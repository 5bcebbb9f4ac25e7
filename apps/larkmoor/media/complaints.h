// What decoders log of broken input.
#pragma once

#include <cstdint>
#include <mutex>
#include <set>
#include <string_view>

#include "media/av.h"

namespace larkmoor {

/// Packets that a decoder complained of. Many faults come back as pictures, and the log alone tells of them, on
/// whatever thread.
class Complaints {
  public:
    /// Hears a decoder from now on, and has to outlive it. Each packet needs a number in `reordered_opaque`.
    void hear(AVCodecContext& decoder);
    /// Takes away the complaint about a packet, if there was one.
    bool take(std::int64_t packet);
    bool any(std::int64_t packet);

    /// A line of FFmpeg's log.
    static void log(void* object, int level, std::string_view line);
    /// Whether a line counts that is plain information to FFmpeg.
    static bool tells(std::string_view line);

  private:
    void add(std::int64_t packet, int level, std::string_view line);

    std::mutex m_lock;
    std::set<std::int64_t> m_packets;
    bool m_strict = false; ///< every error that is logged counts
};

} // namespace larkmoor
