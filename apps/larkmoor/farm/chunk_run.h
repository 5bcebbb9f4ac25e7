// One worker's way through chunks that follow one another.
#pragma once

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>

#include "farm/claims.h"
#include "media/packet_file.h"
#include "output_file.h"

namespace larkmoor {

/// Renders a chunk that was claimed and those behind it, as far as they are free, into their files. Clips are opened
/// and sought in once for all of them, and a chunk's last pictures are encoded beside the next one's first.
class ChunkRun final : ChunkTaker {
  public:
    /// @param alone nothing is claimed besides.
    ChunkRun(const ChunkJob& job, ChunkQueue& queue, std::unique_ptr<Claim> first, bool alone);

    /// Throws Error.
    Ended render(const Module& module, int threads, const Watch& watch);

    /// Chunks whose files appeared, whole.
    std::int64_t done() const { return m_done; }
    /// The chunk that an error was about; none where several were in work.
    std::optional<std::int64_t> culprit() const;

  private:
    /// The file of a chunk in work.
    struct File {
        File(const ChunkJob& job, std::int64_t chunk);
        OutputFile output;
        PacketWriter packets;
    };

    bool wants(std::int64_t frame) override;
    void damaged() override { m_damaged = true; }
    void take(PacketPtr packet) override;
    void endChunk(std::int64_t frames) override;
    std::int64_t chunk() const;
    PacketWriter& packets();
    void close();

    const ChunkJob& m_job;
    ChunkQueue& m_queue;
    bool m_alone;
    std::int64_t m_done = 0;
    mutable std::mutex m_lock; ///< of the claims, which come on one thread and go on another
    std::deque<std::unique_ptr<Claim>> m_claims;
    std::atomic<bool> m_damaged = false;
    std::optional<File> m_file; ///< of the first claim's chunk, once there is something to write
};

} // namespace larkmoor
