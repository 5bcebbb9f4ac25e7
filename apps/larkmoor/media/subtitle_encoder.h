// Subtitles of text from one codec's packets into another's.
#pragma once

#include <cstdint>
#include <vector>

#include "media/audio_encoder.h"

namespace larkmoor {

class SubtitleEncoder {
  public:
    /// From a stream's codec to the container's usual one, both of them of text. Throws Error when there is no way.
    SubtitleEncoder(const AVOutputFormat& container, const AVStream& stream);

    const AVCodecContext& context() const { return *m_encoder; }

    /// Hands the packet's text on at the packet's own time, in units of the stream it is from. What cannot be read is
    /// left out.
    void write(const AVPacket& packet, const PacketTaker& taker);

  private:
    CodecPtr m_decoder, m_encoder;
    AVRational m_unit;
    std::vector<std::uint8_t> m_bytes;
};

} // namespace larkmoor
