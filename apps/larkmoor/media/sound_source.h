// A clip's sound as samples from its start on.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "media/audio_encoder.h"

namespace larkmoor {

struct SoundFacts {
    int rate = 0;
    AVChannelLayout layout{};
};

class SoundSource {
  public:
    /// Opens the clip's first stream of sound. Throws Error when it cannot be decoded.
    explicit SoundSource(const std::string& path);

    /// False for a clip without sound.
    bool any() const { return m_stream != nullptr; }
    /// Native rate and layout.
    SoundFacts facts() const;

    /// Sets what `read` gives. Call once.
    void prepare(const SoundFacts& wanted);

    /// Fills interleaved samples that follow those read before; silence where the clip has none. A clip without sound
    /// gives silence.
    void read(std::span<float> samples);

  private:
    bool decodeMore();
    void append(const AVFrame* frame);

    InputPtr m_format;
    AVStream* m_stream = nullptr;
    CodecPtr m_decoder;
    std::unique_ptr<SwrContext, FreeByAddress<swr_free>> m_resampler;
    SoundFacts m_wanted;
    std::vector<float> m_ready;
    std::size_t m_taken = 0;
    std::int64_t m_skip = 0; ///< samples before the clip's start
    bool m_placed = false, m_ended = false;
};

} // namespace larkmoor
