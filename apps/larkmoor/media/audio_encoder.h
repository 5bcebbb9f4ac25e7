// Sound of any kind into packets of one encoder.
#pragma once

#include <functional>

#include "media/av.h"

extern "C" {
#include <libavutil/audio_fifo.h>
#include <libswresample/swresample.h>
}

namespace larkmoor {

using PacketTaker = std::function<void(PacketPtr)>;

class AudioEncoder {
  public:
    /// The container's usual sound codec at a rate and layout near the given ones.
    /// Throws Error when there is none or it does not start.
    AudioEncoder(const AVOutputFormat& container, int sampleRate, const AVChannelLayout& layout);

    const AVCodecContext& context() const { return *m_context; }

    /// Encodes more sound; the first frame's time stamp (in seconds, as `start`) says when all of it begins.
    void write(const AVFrame& sound, double start, const PacketTaker& taker);
    void finish(const PacketTaker& taker);

  private:
    void encode(int samples, const PacketTaker& taker);
    void drain(const PacketTaker& taker);
    void convert(const AVFrame* sound);

    CodecPtr m_context;
    std::unique_ptr<SwrContext, FreeByAddress<swr_free>> m_resampler;
    struct FreeFifo {
        void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
    };
    std::unique_ptr<AVAudioFifo, FreeFifo> m_fifo;
    std::int64_t m_next = AV_NOPTS_VALUE;
};

/// An opened decoder for a stream of sound. Throws Error.
CodecPtr openAudioDecoder(const AVStream& stream);

} // namespace larkmoor
