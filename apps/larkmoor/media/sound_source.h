// A clip's sound as samples from its start on.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "media/audio_encoder.h"

namespace larkmoor {

class SoundSource {
  public:
    /// Opens a stream of the clip's sound, counted from 0. Throws Error when it cannot be decoded.
    explicit SoundSource(const std::string& path, int number = 0);

    /// False where the clip has no such stream.
    bool any() const { return m_stream != nullptr; }
    SoundFacts facts() const { return soundFacts(*m_stream->codecpar); }
    /// The stream's title, language and such.
    const AVDictionary* metadata() const { return m_stream ? m_stream->metadata : nullptr; }
    int disposition() const { return m_stream ? m_stream->disposition : 0; }

    /// Sets what `read` gives. Call once.
    void prepare(const SoundFacts& wanted);

    /// The next sample to be read is that of a time in seconds from the clip's start on.
    void seek(double seconds);

    /// Fills interleaved samples that follow those read before; silence where the clip has none. A clip without sound
    /// gives silence.
    void read(std::span<float> samples);

  private:
    bool decodeMore();
    void skip();
    void append(const AVFrame* frame);

    InputPtr m_format;
    AVStream* m_stream = nullptr;
    CodecPtr m_decoder;
    std::unique_ptr<SwrContext, FreeByAddress<swr_free>> m_resampler;
    SoundFacts m_wanted;
    std::vector<float> m_ready;
    std::size_t m_taken = 0;
    double m_from = 0;       ///< seconds from the clip's start: where reading begins
    std::int64_t m_skip = 0; ///< samples before that
    bool m_placed = false, m_ended = false;
};

} // namespace larkmoor
