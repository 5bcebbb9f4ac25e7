#include "farm/chunk_run.h"

#include <utility>

#include "farm/status.h"

namespace larkmoor {

ChunkRun::File::File(const ChunkJob& job, std::int64_t chunk)
    : output(job.chunkFile(chunk), true), packets(output.workPath(), job.chunkFile(chunk), job.chunkHead(chunk)) {}

ChunkRun::ChunkRun(const ChunkJob& job, ChunkQueue& queue, std::unique_ptr<Claim> first, bool alone)
    : m_job(job), m_queue(queue), m_alone(alone) {
    m_claims.push_back(std::move(first));
}

Ended ChunkRun::render(const Module& module, int threads, const Watch& watch) {
    const Ended ended = renderChunks(module, m_job, chunk(), threads, *this, watch);
    // The last chunk of all, and those for which no frame was left.
    while (ended != Ended::Cancelled && !m_claims.empty()) close();
    return ended;
}

std::optional<std::int64_t> ChunkRun::culprit() const {
    return m_claims.size() == 1 ? std::optional(chunk()) : std::nullopt;
}

bool ChunkRun::wants(std::int64_t frame) {
    const std::int64_t next = frame / m_job.request.output.chunkFrames;
    // What is told of the length may be too little: the last chunk goes on to the end.
    if (next >= m_job.count()) return true;
    if (m_alone) return false;
    auto claim = m_queue.take(next);
    if (!claim) return false;
    const std::lock_guard guard(m_lock);
    m_claims.push_back(std::move(claim));
    return true;
}

std::int64_t ChunkRun::chunk() const {
    const std::lock_guard guard(m_lock);
    return m_claims.front()->chunk();
}

PacketWriter& ChunkRun::packets() {
    if (!m_file) m_file.emplace(m_job, chunk());
    return m_file->packets;
}

void ChunkRun::take(PacketPtr packet) {
    packets().take(std::move(packet));
}

void ChunkRun::endChunk(std::int64_t frames) {
    packets().endChunk(frames);
    if (chunk() + 1 < m_job.count()) close();
}

/// The file appears, and the chunk is nobody's any more.
void ChunkRun::close() {
    packets().finish(m_damaged);
    m_file->output.commit();
    m_file.reset();
    forgetFailure(m_job, chunk());
    ++m_done;
    std::unique_ptr<Claim> ended; // goes when the lock is free
    const std::lock_guard guard(m_lock);
    ended = std::move(m_claims.front());
    m_claims.pop_front();
}

} // namespace larkmoor
