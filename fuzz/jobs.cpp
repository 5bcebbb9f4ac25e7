// The files of a job's folder, of which any may come from a stranger or a broken disk. The first byte says which one
// the rest is.
#include "farm/claims.h"
#include "farm/job.h"
#include "farm/status.h"
#include "folder.h"
#include "media/packet_file.h"

using namespace larkmoor;
namespace fs = std::filesystem;

namespace {

const Module& module() {
    static const Module loaded = Module::load(LARKMOOR_MODULE_FILE);
    return loaded;
}

void require(bool holds) {
    if (!holds) __builtin_trap();
}

const fuzz::Folder& folder() {
    static const fuzz::Folder own;
    return own;
}

/// A job of three chunks of which the second is done.
const ChunkJob& standing() {
    static const ChunkJob job = [] {
        ChunkJob made{.folder = folder().path() / "standing", .request = {}, .build = {}, .chunks = {}, .digest = "0"};
        for (const char* name : {"chunks", "claims", "failed"}) fs::create_directories(made.folder / name);
        for (std::int64_t first = 0; first < 3; ++first)
            made.chunks.push_back({.first = first, .end = first + 1, .share = {}});
        fuzz::write(made.chunkFile(1), "done");
        return made;
    }();
    return job;
}

void job(const std::string& text) {
    fuzz::write(folder().path() / "job.json", text);
    const ChunkJob job = loadJob(module(), folder().path());
    require(job.count() > 0 && !job.chunks.back().end);
    checkJob(job, module());
}

void chunk(const std::string& text) {
    const fs::path file = folder().path() / "chunk";
    fuzz::write(file, text);
    PacketReader reader(file);
    while (!reader.ended()) {
        while (const PacketPtr packet = reader.next()) require(packet->size == 0 || packet->data);
        reader.endChunk();
    }
}

void beside(const fs::path& file, const std::string& text) {
    fuzz::write(file, text);
    const JobStatus status = statusOf(standing(), 60);
    require(status.chunks == 3 && status.done == 1 && status.running.size() <= 1 && status.failed.size() <= 1);
    ChunkQueue(standing(), 60).take();
    fs::remove(file);
}

void take(int kind, const std::string& text) {
    switch (kind) {
    case 0:
        return job(text);
    case 1:
        return chunk(text);
    case 2:
        return beside(standing().claimFile(0), text);
    default:
        return beside(standing().failureFile(0), text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) return 0;
    try {
        take(data[0] % 4, std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    } catch (const Error& error) {
        require(*error.what() != 0); // a sentence
    }
    return 0;
}
