// How far a job is.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "farm/claims.h"

namespace larkmoor {

struct JobStatus {
    struct Running {
        std::int64_t chunk = 0;
        Claimant by;
        bool stale = false;
    };
    struct Failure {
        std::int64_t chunk = 0;
        std::string host, sentence;
    };
    std::int64_t chunks = 0, done = 0;
    std::vector<Running> running;
    std::vector<Failure> failed;
    std::optional<double> secondsLeft; ///< at the pace so far; none before there is one
};

/// @param stale as of `ChunkQueue`.
JobStatus statusOf(const ChunkJob& job, double stale);

/// Keeps why a chunk failed, as far as the folder can be written.
void noteFailure(const ChunkJob& job, std::int64_t chunk, const std::string& sentence);
void forgetFailure(const ChunkJob& job, std::int64_t chunk);

} // namespace larkmoor
