// Packets of pictures and what goes beside them, in one order.
#pragma once

#include <deque>
#include <functional>

#include "film.h"

namespace larkmoor {

/// Packets of pictures that were made before, chunk by chunk.
class PictureSource {
  public:
    virtual ~PictureSource() = default;
    /// The next packet of the chunk, in coding order; empty at its end.
    virtual PacketPtr next() = 0;
    /// Goes on to the next chunk. @return how many frames the one before had. Call at its end.
    virtual std::int64_t endChunk() = 0;
    virtual std::int64_t chunkFrames() const = 0;
};

/// Brings pictures and what goes beside them to the muxer in an order that depends neither on how long an encoder keeps
/// a frame nor on where the packets were made: of each chunk the first frame's side and the first packet, then the
/// second ones, and at its end what is left of either.
class Assembly final : public PictureTaker {
  public:
    /// @param chunkFrames of each chunk but the last.
    Assembly(Film& film, ContainerSink& sink, std::int64_t chunkFrames)
        : m_film(film), m_sink(sink), m_chunkFrames(chunkFrames) {}

    /// What goes beside the next frame, pictures aside.
    void add(Job job);
    void take(PacketPtr packet) override;
    void endChunk(std::int64_t frames) override;

  private:
    void put();
    /// Whether a frame of the chunk whose packets come waits. Later chunks' may be there already.
    bool hasFrame() const { return !m_jobs.empty() && m_jobs.front().index / m_chunkFrames == m_chunk; }

    Film& m_film;
    ContainerSink& m_sink;
    std::int64_t m_chunkFrames;
    std::int64_t m_chunk = 0; ///< whose packets come
    std::deque<Job> m_jobs;
    std::deque<PacketPtr> m_packets;
};

/// Packets were not made of a film's frames, as far as those are known.
struct Misfit : Error {
    using Error::Error;
};

/// Writes a film of packets that `source` has. Throws Misfit.
/// @param each is called after every frame; false ends the work.
void assemble(Film& film, ContainerSink& sink, PictureSource& source, const std::function<bool()>& each);

} // namespace larkmoor
