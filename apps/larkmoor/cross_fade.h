// The sound of clips that overlap one after the other, as one.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "media/container_sink.h"
#include "media/sound_source.h"

namespace larkmoor {

class CrossFade {
  public:
    /// Of the sound streams with this number in the clips, counted from 0.
    CrossFade(std::span<const std::unique_ptr<Reader>> clips, int number);

    /// Adds a stream of sound to the output where one of the clips has any and the container takes it.
    void open(ContainerSink& sink);

    /// From `start` on, in seconds of the output, the next clip comes in, for `duration` at equal power.
    void overlapAt(double start, double duration);

    /// Leaves the sound up to a time out; the output then begins there.
    void skipUntil(double seconds);

    /// Writes the sound up to a time of the output. An overlap has to be known before it is reached.
    void writeUntil(double seconds);

  private:
    /// Samples of the output during which a clip goes and the next one comes.
    struct Overlap {
        std::int64_t start = 0, length = 0;
        /// How far it is at a sample, 0 to 1.
        double share(std::int64_t at) const;
    };

    void advance(double seconds, bool write);
    void mix(std::size_t clip, std::span<double> sum);

    std::vector<SoundSource> m_clips;
    std::vector<Overlap> m_overlaps; ///< as far as they are known; before each clip but the first
    SoundFacts m_facts;
    ContainerSink* m_sink = nullptr;
    std::size_t m_number = 0;     ///< of the sink's stream
    std::int64_t m_written = 0;   ///< samples
    std::vector<float> m_samples; ///< memory
};

} // namespace larkmoor
