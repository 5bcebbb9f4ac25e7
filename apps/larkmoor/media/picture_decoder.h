// One stream's packets as pictures, whatever has happened to them.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include "media/complaints.h"

namespace larkmoor {

struct Picture {
    FramePtr frame;
    bool broken = false;      ///< damaged, or the one before once more, in the place of one that cannot be decoded
    std::int64_t packet = -1; ///< number of the one that brought it, as `sent` counts; -1 where there is none
};

class PictureDecoder {
  public:
    /// @param name of the file, for sentences.
    /// Throws Error when there is no decoder.
    PictureDecoder(AVFormatContext& format, AVStream& stream, const std::string& name, int threads);

    /// Takes the next packet, or none at the end. Call when `take` has nothing more.
    void send(const AVPacket* packet);
    /// The next picture, with a stamp above that of the one before it and a duration. Empty where another packet is
    /// wanted, and at the end.
    Picture take();
    bool ended() const { return m_ended && m_ready.empty(); }

    /// Begins anew, after a seek.
    void restart();
    /// Some pictures may be missing about the next packet.
    void tear() { m_torn = m_number; }
    /// From here on nothing is decoded: a picture that came before stands for all that follow.
    void stop() { m_stopped = m_last != nullptr; }
    /// Does not repeat what cannot be decoded at the very end, where the file is cut.
    void endEarly() { m_endsEarly = true; }

    std::int64_t sent() const { return m_number; }
    std::int64_t decoded() const { return m_decoded; }
    /// Pictures before the first one that could not be decoded, though they should.
    std::int64_t lostBefore() const { return m_lostBefore; }
    int firstError() const { return m_firstError; }

  private:
    /// A packet whose picture has not come yet.
    struct Sent {
        std::int64_t stamp = AV_NOPTS_VALUE, duration = 0;
        bool bad = false;
    };
    void accept(FramePtr frame);
    void fail(int code);
    void settle(std::int64_t packet, std::int64_t stamp);
    void fillGap(std::int64_t stamp);
    void repeat(const Sent& in, bool broken, std::int64_t packet = -1);
    void releaseStopped();
    std::int64_t usualDuration() const;
    std::int64_t frameStamp(const AVFrame& frame) const;

    AVFormatContext& m_format;
    AVStream& m_stream;
    Complaints m_complaints; // outlives the decoder
    CodecPtr m_decoder;
    std::map<std::int64_t, Sent> m_sent; ///< by number
    std::deque<Picture> m_ready;
    FramePtr m_last;           ///< the last good picture
    std::int64_t m_number = 0; ///< of the next packet
    std::int64_t m_torn = -1;  ///< of a packet that pictures may be missing about
    std::int64_t m_decoded = 0, m_lostBefore = 0;
    std::int64_t m_lastStamp = AV_NOPTS_VALUE, m_lastDuration = 0;
    std::int64_t m_lastDts = AV_NOPTS_VALUE; ///< of packets that were not decoded
    int m_firstError = 0;
    bool m_ended = false, m_endsEarly = false, m_stopped = false, m_drained = false;
};

} // namespace larkmoor
