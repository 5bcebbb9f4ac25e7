// The sound of two clips that overlap, as one.
#pragma once

#include <optional>
#include <string>

#include "media/container_sink.h"
#include "media/sound_source.h"

namespace larkmoor {

class CrossFade {
  public:
    /// Of the sound streams with this number in both clips, counted from 0.
    CrossFade(const std::string& first, const std::string& second, int number);

    bool first() const { return m_first.any(); }
    bool second() const { return m_second.any(); }

    /// Adds a stream of sound to the output where one of the clips has any and the container takes it.
    void open(ContainerSink& sink);

    /// From `start` on, in seconds of the output, the second clip comes in, for `duration` at equal power.
    void overlapAt(double start, double duration);

    /// Leaves the sound up to a time out; the output then begins there.
    void skipUntil(double seconds);

    /// Writes the sound up to a time of the output. The overlap has to be known before it is reached.
    void writeUntil(double seconds);

  private:
    void advance(double seconds, bool write);

    SoundSource m_first, m_second;
    SoundFacts m_facts;
    ContainerSink* m_sink = nullptr;
    std::size_t m_number = 0;   ///< of the sink's stream
    std::int64_t m_written = 0; ///< samples
    std::int64_t m_start = INT64_MAX, m_length = 0;
};

} // namespace larkmoor
