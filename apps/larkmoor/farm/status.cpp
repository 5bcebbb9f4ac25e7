#include "farm/status.h"

#include <algorithm>
#include <chrono>

#include "json_node.h"
#include "output_file.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

/// Empty where there is no such text.
std::string textIn(const Json& json, const char* key) {
    const auto at = json.find(key);
    return at != json.end() && at->is_string() ? at->get<std::string>() : std::string();
}

} // namespace

JobStatus statusOf(const ChunkJob& job, double stale) {
    JobStatus status{.chunks = job.count()};
    const std::vector<std::int64_t> done = numbersIn(job.folder / "chunks");
    const auto isDone = [&](std::int64_t chunk) { return std::ranges::binary_search(done, chunk); };
    status.done = std::ranges::count_if(done, [&](std::int64_t chunk) { return chunk < job.count(); });
    const StaleClaims claims(job, stale);
    for (const std::int64_t chunk : numbersIn(job.folder / "claims")) {
        const auto by = claimantOf(job.claimFile(chunk));
        if (!isDone(chunk))
            status.running.push_back({chunk, by.value_or(Claimant()), claims.isStale(job.claimFile(chunk))});
    }
    for (const std::int64_t chunk : numbersIn(job.folder / "failed")) {
        if (isDone(chunk)) continue;
        const Json json = Json::parse(readText(job.failureFile(chunk)), nullptr, false);
        if (json.is_object()) status.failed.push_back({chunk, textIn(json, "host"), textIn(json, "sentence")});
    }
    if (status.done < 2) return status;
    auto first = fs::file_time_type::max(), last = fs::file_time_type::min();
    for (const std::int64_t chunk : done) {
        std::error_code gone;
        const auto time = fs::last_write_time(job.chunkFile(chunk), gone);
        if (gone) continue;
        first = std::min(first, time);
        last = std::max(last, time);
    }
    if (first > last) return status;
    const double seconds = std::chrono::duration<double>(last - first).count();
    status.secondsLeft =
        seconds / static_cast<double>(status.done - 1) * static_cast<double>(job.count() - status.done);
    return status;
}

void noteFailure(const ChunkJob& job, std::int64_t chunk, const std::string& sentence) {
    try {
        const auto by = claimantOf(job.claimFile(chunk));
        const Json json{{"host", by ? by->host : ""}, {"sentence", sentence}};
        writeWhole(job.failureFile(chunk), json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n", true);
    } catch (const std::exception&) {
        // The disk may be what is full.
    }
}

void forgetFailure(const ChunkJob& job, std::int64_t chunk) {
    std::error_code ignored;
    fs::remove(job.failureFile(chunk), ignored);
}

} // namespace larkmoor
