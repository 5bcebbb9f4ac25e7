#include "assembly.h"

#include <algorithm>
#include <set>
#include <utility>

#include <fmt/format.h>

namespace larkmoor {

void Assembly::add(Job job) {
    job.first.reset();
    job.output.reset();
    // That there is one is all that counts from here on.
    if (job.second) av_frame_unref(job.second.get());
    m_jobs.push_back(std::move(job));
    if (!m_packets.empty() && hasFrame()) put();
}

void Assembly::take(PacketPtr packet) {
    m_packets.push_back(std::move(packet));
    if (hasFrame()) put();
}

void Assembly::endChunk(std::int64_t) {
    while (hasFrame() || !m_packets.empty()) put();
    ++m_chunk;
}

void Assembly::put() {
    const bool frame = hasFrame();
    if (frame)
        for (PacketPtr& packet : m_jobs.front().side) m_sink.writeSide(std::move(packet));
    if (!m_packets.empty()) {
        m_sink.writePicture(std::move(m_packets.front()));
        m_packets.pop_front();
    }
    if (!frame) return;
    m_film.written(m_jobs.front());
    m_jobs.pop_front();
}

void assemble(Film& film, ContainerSink& sink, PictureSource& source, const std::function<bool()>& each) {
    Assembly assembly(film, sink, source.chunkFrames());
    const auto misfit = [&] {
        return Misfit(fmt::format(
            "the chunks were made of other frames than those of {}; it has changed, or is damaged", film.name()));
    };
    std::set<std::int64_t> stamps, made; // of the chunk's frames and packets
    std::int64_t frames = 0;
    const auto feed = [&] {
        PacketPtr packet = source.next();
        if (!packet) return false;
        made.insert(packet->pts);
        assembly.take(std::move(packet));
        return true;
    };
    const auto end = [&] {
        while (feed()) {
        }
        assembly.endChunk(frames);
        if (source.endChunk() != frames || !std::ranges::includes(made, stamps)) throw misfit();
        stamps.clear();
        made.clear();
        frames = 0;
    };
    for (Job job; film.read(job); job = {.index = job.index + 1}) {
        const std::int64_t stamp = job.first ? job.first->pts : job.index;
        const std::int64_t duration = job.first ? job.first->pkt_duration : 1;
        stamps.insert(sink.pass(stamp, duration));
        ++frames;
        assembly.add(std::move(job));
        feed();
        if (frames == source.chunkFrames()) end();
        if (!each()) return;
    }
    if (frames > 0) end();
    if (source.next() || source.endChunk() > 0) throw misfit();
}

} // namespace larkmoor
