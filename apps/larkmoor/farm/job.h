// A piece of work in chunks, as a folder that any number of machines share.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "film.h"
#include "project.h"

namespace larkmoor {

/// What makes the bytes: machines that differ in it do not work on one job.
struct Build {
    std::string program; ///< version of the command
    std::string module;  ///< digest of the module's file
    std::string codecs;  ///< version of FFmpeg's libraries
    friend bool operator==(const Build&, const Build&) = default;
};

/// The build of this process. Throws Error when the module's file cannot be read.
Build buildOf(const Module& module);

/// What a job is before it has a folder.
struct JobRequest {
    Project project;                 ///< the source, and the effects
    std::optional<ClipRequest> clip; ///< the source, where a project cannot say all of it
    OutputRequest output;            ///< its path is a name with the ending of the film to be
};

/// What a worker needs to know of one. In the folder there are `job.json` and the folders `chunks`, `claims` and
/// `failed`; all names are numbers of chunks.
struct ChunkJob {
    std::filesystem::path folder;
    JobRequest request;
    Build build;
    std::vector<Part> chunks; ///< the last one goes on to the end
    std::string digest;       ///< of `job.json`

    std::int64_t count() const { return static_cast<std::int64_t>(chunks.size()); }
    std::filesystem::path chunkFile(std::int64_t number) const;
    std::filesystem::path claimFile(std::int64_t number) const;
    std::filesystem::path failureFile(std::int64_t number) const;
    /// What stands at the head of a chunk's file.
    std::string chunkHead(std::int64_t number) const;
};

/// Numbers of the chunks in one of the job's folders, ascending: finished ones, claimed ones, those that failed.
std::vector<std::int64_t> numbersIn(const std::filesystem::path& folder);

/// Makes the folder. Throws Error when it is there already, and UsageError for work that cannot be split.
void createJob(const Module& module, JobRequest request, const std::filesystem::path& folder);
/// Throws Error, with the place, for a folder that holds no job.
ChunkJob loadJob(const Module& module, const std::filesystem::path& folder);

/// Throws Error where the job is another build's, or where a source is not what it was.
void checkJob(const ChunkJob& job, const Module& module);

/// Renders a chunk, and those behind it that `taker` wants.
Ended renderChunks(const Module& module, const ChunkJob& job, std::int64_t first, int threads, ChunkTaker& taker,
                   const Watch& watch);
/// Joins all chunks. Throws Error that names those that are missing or another job's.
Ended mergeJob(const Module& module, const ChunkJob& job, OutputRequest output, const Watch& watch);

} // namespace larkmoor
