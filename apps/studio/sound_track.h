// The sound of a project's clips, from any time on.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "media/sound_source.h"
#include "preview.h"

namespace larkmoor {

/// Two clips fade into each other at equal power, as in the output. Generators have no sound.
class SoundTrack {
  public:
    static constexpr int kRate = 48000, kChannels = 2;

    /// @param facts of the project's pictures, which tell where clips overlap.
    /// Throws Error where sound cannot be decoded.
    SoundTrack(const Project& project, const PictureFacts& facts);

    /// False where no clip has any.
    bool any() const;
    /// In seconds from the start of the pictures, before any cut; with a length, all behind that piece is silence.
    void seek(double seconds, std::optional<double> length = {});
    /// Interleaved samples that follow those read before; silence beyond the ends.
    void read(std::span<float> samples);

  private:
    struct Part {
        std::unique_ptr<SoundSource> source;
        std::int64_t start = 0; ///< sample of the track
        bool begun = false;
    };
    void add(Part& part, double (*gain)(double), std::span<float> samples);
    double share(std::int64_t at) const;

    std::vector<Part> m_parts; ///< one clip, or two that overlap
    std::int64_t m_overlapStart = 0, m_overlapLength = 0, m_at = 0;
    std::optional<std::int64_t> m_end; ///< of the piece that is heard
    std::vector<float> m_memory;
};

} // namespace larkmoor
