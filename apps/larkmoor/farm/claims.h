// Who works on which chunk, told by files in the job's folder.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "farm/job.h"

namespace larkmoor {

/// A worker's file of a chunk, made exclusively, so that one of all that try gets it. Its time is set anew every few
/// seconds; it goes with the object.
class Claim {
  public:
    Claim(std::filesystem::path file, std::int64_t chunk);
    ~Claim();
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

    std::int64_t chunk() const { return m_chunk; }

  private:
    void beat();

    std::filesystem::path m_file;
    std::int64_t m_chunk;
    std::uint64_t m_inode; ///< of the file, which another's that took it over has not
    bool m_ended = false;
    std::mutex m_lock;
    std::condition_variable m_end;
    std::thread m_heart;
};

/// What a claim's file tells of its maker.
struct Claimant {
    std::string host;
    std::int64_t process = 0;
    std::string machine; ///< the running system and the numbers of processes that it means
};

/// None where the file has gone or is not written yet.
std::optional<Claimant> claimantOf(const std::filesystem::path& claim);

/// Whether a claim's maker has ended: on this machine by its number, elsewhere when its file was not touched for so
/// many seconds, by the clock of the folder.
class StaleClaims {
  public:
    StaleClaims(const ChunkJob& job, double seconds);
    bool isStale(const std::filesystem::path& claim) const;

  private:
    double m_seconds;
    std::filesystem::file_time_type m_now;
};

/// Finds chunks for one worker.
class ChunkQueue {
  public:
    /// @param stale seconds after which a claim that was not touched is taken over.
    ChunkQueue(const ChunkJob& job, double stale) : m_job(job), m_stale(stale) {}

    /// A chunk that is neither done nor claimed, or whose claim is stale; none when there is no such. Those that failed
    /// elsewhere come last, those that failed here not again.
    std::unique_ptr<Claim> take();
    /// One chunk, where it is neither done nor claimed and did not fail.
    std::unique_ptr<Claim> take(std::int64_t chunk) const;
    void failed(std::int64_t chunk) { m_failed.insert(chunk); }
    /// Whether others are at work.
    bool othersWork() const;

  private:
    std::unique_ptr<Claim> claim(std::int64_t chunk) const;

    const ChunkJob& m_job;
    double m_stale;
    std::set<std::int64_t> m_failed;
};

} // namespace larkmoor
