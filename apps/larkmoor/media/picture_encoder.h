// From pictures to packets, by one encoder or by one for each chunk.
#pragma once

#include <cstdint>
#include <functional>
#include <future>
#include <map>
#include <vector>

#include "media/av.h"

namespace larkmoor {

/// Takes what encoders make of the pictures.
class PictureTaker {
  public:
    virtual ~PictureTaker() = default;
    /// The next packet in coding order, in the encoder's unit of time.
    virtual void take(PacketPtr packet) = 0;
    /// An encoder has ended; what follows does not need what came before.
    virtual void endChunk(std::int64_t frames) = 0;
};

class PictureEncoder {
  public:
    /// @param open makes an opened encoder, each like the one before, the first one now.
    /// @param taker gets the packets chunk by chunk, on the threads that call in here.
    PictureEncoder(std::function<CodecPtr(bool again)> open, PictureTaker& taker);

    /// The encoder that takes the next picture.
    const AVCodecContext& context() const { return *m_chunk.codec; }
    void setTaker(PictureTaker& taker) { m_taker = &taker; }

    /// @param frame with its stamp in the encoder's unit; smaller ones go on as their edge pixels do.
    /// @param duration in the same unit. Throws Error where the encoder refuses, here as below.
    void write(FramePtr frame, std::int64_t duration);
    /// The next picture goes to a new encoder. The old one's rest is encoded beside it, or the processors would idle
    /// while the last pictures wait for each other.
    void startChunk();
    /// No picture follows: hands out the rest.
    void finish();

  private:
    /// An encoder and what is in it.
    struct Chunk {
        CodecPtr codec;
        std::int64_t frames = 0;
        std::map<std::int64_t, std::int64_t> durations = {}; ///< by time stamp

        void send(const AVFrame* frame);
        /// Empty when the encoder wants more, or has ended.
        PacketPtr next();
    };
    struct Rest {
        std::vector<PacketPtr> packets;
        std::int64_t frames;
    };
    static Rest restOf(Chunk chunk);
    void settle();

    std::function<CodecPtr(bool again)> m_open;
    PictureTaker* m_taker;
    Chunk m_chunk;
    std::future<Rest> m_ending; ///< of the chunk before
};

} // namespace larkmoor
