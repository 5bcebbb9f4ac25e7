// Clips, pictures, numbered sequences and raw frames, as decoded frames in order.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/colour.h"
#include "media/demuxer.h"
#include "media/picture_decoder.h"
#include "media/upright.h"

extern "C" {
#include <libavutil/mastering_display_metadata.h>
}

namespace larkmoor {

/// Where a frame is found without decoding all before it, in the stream's unit.
struct FramePlace {
    std::int64_t stamp = 0; ///< its time stamp
    std::int64_t seek = 0;  ///< decoding time stamp of a key frame from which it can be decoded
};

/// What is made of clips that are not as they should be, or not stored as they are shown.
struct ReadPolicy {
    bool strict = false; ///< damage is an error
    bool turn = true;    ///< pictures that are stored turned or mirrored come upright
    /// The first picture is decoded, and stands for all that follow, at the times that their packets tell. That is
    /// right for most clips that are not damaged.
    bool timesOnly = false;
};

struct ReadOptions {
    std::optional<RawFormat> raw;   ///< read the input as bare frames of this kind
    std::optional<AVRational> rate; ///< of a numbered sequence; 25 without it
    double start = 0;               ///< seconds from the start of the clip
    std::int64_t skip = 0;          ///< frames from `start` to leave out
    std::optional<FramePlace> from; ///< a short way to the first frame, instead of `start` and `skip`
    /// What becomes time 0 on the container's clock, in 1/1000000 s; without it the clip's start, or the first frame
    /// where frames before it are left out.
    std::optional<std::int64_t> origin;
    std::int64_t frames = -1; ///< at most so many; -1 for all
    int threads = 1;          ///< for decoding
    ReadPolicy policy;
};

/// Asked while a file is read through, with the share of it that is behind: whether to go on.
using GoesOn = std::function<bool(double share)>;

/// The reading was given up by whoever asked for it.
struct Stopped : Error {
    Stopped() : Error("the reading was given up") {}
};

/// What a clip's pictures are, read off the first of them.
struct VideoFacts {
    int width = 0, height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    Colour colour;
    AVRational aspect{1, 1};   ///< width of a pixel over its height
    AVRational rate{25, 1};    ///< frames a second; the mean where it varies
    AVRational timeBase{1, 1}; ///< unit of the frames' time stamps
    bool premultiplied = false;
    bool alpha = false; ///< not everything is opaque
    std::optional<AVMasteringDisplayMetadata> mastering;
    std::optional<AVContentLightMetadata> light;
    AVFieldOrder fieldOrder = AV_FIELD_PROGRESSIVE;
};

struct ReadFrame {
    FramePtr frame;              ///< time stamp and duration in the clip's unit, 0 at the start of the range
    std::int64_t time100ns = 0;  ///< from the start of the clip
    std::vector<PacketPtr> side; ///< packets of selected streams that came before it, in the same time
};

/// What of a clip was not as it should be, as far as it was handed out.
struct Damage {
    std::int64_t frames = 0;    ///< damaged, or not there; then the last good one stands in their place
    double first = 0, last = 0; ///< where the first and the last of them are, seconds from the start of the clip
    std::optional<double> cut;  ///< where the file ends before its end

    bool any() const { return frames > 0 || cut; }
    /// For people, about a clip of that name.
    std::string sentence(const std::string& name) const;
};

/// The frames of a clip in the order they are shown, as far as its container tells.
struct FrameTable {
    std::vector<std::int64_t> stamps; ///< time stamps, ascending
    std::vector<FramePlace> keys;     ///< key frames, by time stamp
    bool exact = false;               ///< each frame has a stamp of its own

    std::int64_t count() const { return static_cast<std::int64_t>(stamps.size()); }
    /// The way to a frame of the table; none without exact stamps or to the first frames.
    std::optional<FramePlace> place(std::int64_t frame) const;
};

class Reader {
  public:
    /// Opens `path` ("-" for standard input, with `options.raw`) and decodes the first frame of the range.
    /// Throws Error with a sentence, also when there is no frame.
    Reader(const std::string& path, const ReadOptions& options);

    const VideoFacts& video() const { return m_facts; }
    const AVStream& videoStream() const { return m_demuxer.video(); }
    AVFormatContext& container() const { return m_demuxer.container(); }
    const std::string& path() const { return m_path; }
    bool isPicture() const { return m_demuxer.isPicture(); }       ///< one still picture
    std::optional<int> sequenceNumber() const { return m_number; } ///< of the first frame of the range
    /// A sentence about the damage that was met so far, or none.
    std::vector<std::string> damageTold() const;
    bool isTurned() const { return m_upright.turns(); } ///< the pictures stand upright though they are stored otherwise

    /// Reads the time stamps of a clip's frames, all of the file but without decoding. The range in `options` does not
    /// count.
    static FrameTable table(const std::string& path, ReadOptions options, const GoesOn& goesOn = {});

    /// The clip from a frame on, counted from 0: by the short way of the table where that leads to the very frame, else
    /// by decoding all before it. Throws Error when there is no such frame.
    static std::unique_ptr<Reader> openAt(const std::string& path, ReadOptions options, std::int64_t frame,
                                          const FrameTable& table);

    /// Time stamp of the next frame as the container has it. Call before `next`.
    std::int64_t firstStamp() const { return m_first.frame->pts; }
    /// The same as `next` will hand it out.
    std::int64_t firstStampInRange() const;

    /// Frames in the range as far as the container tells, by its count or by duration and rate.
    std::optional<std::int64_t> expectedFrames() const;

    /// Hands out packets of a stream, beside the pictures.
    void select(int stream);

    /// The next frame; an empty one at the end of the range. Throws Error for input that cannot be read, and for damage
    /// where that is wanted.
    ReadFrame next();
    /// What is left of the selected streams within the range; call after the last frame.
    std::vector<PacketPtr> rest();

    /// Start and end of the range in units of 1/1000000 s on the container's clock; the end only once it is known.
    std::int64_t rangeStart() const { return m_origin; }
    std::optional<std::int64_t> rangeEnd() const;

  private:
    /// A packet that goes beside the pictures.
    struct Held {
        PacketPtr packet;
        std::int64_t after; ///< so many packets of pictures in the file
    };
    bool isCut() const { return m_options.start > 0 || m_options.skip > 0 || m_options.from; }
    void begin();
    void startAtFirst();
    bool seek(std::int64_t stamp);
    void fastForward(std::int64_t from);
    void readFacts();
    PacketPtr read();
    bool feed();
    Picture decode();
    void note(std::int64_t frames, double first, double last);
    void noteEnd();
    double secondsOf(std::int64_t stamp) const;
    void take(PacketPtr packet);
    PacketPtr place(PacketPtr packet) const;
    std::vector<PacketPtr> release(std::int64_t until, std::int64_t last);

    std::string m_path;
    ReadOptions m_options;
    Demuxer m_demuxer;
    AVFormatContext* m_format;
    AVStream* m_stream;
    PictureDecoder m_decoder;
    Upright m_upright;
    VideoFacts m_facts;
    Damage m_damage;
    Picture m_first;
    std::deque<PacketPtr> m_ahead; ///< packets of pictures that are read, but not decoded
    std::deque<Held> m_held;
    std::vector<bool> m_selected;
    std::vector<bool> m_pastEnd;
    std::optional<int> m_number;
    std::int64_t m_origin = 0;     ///< 1/1000000 s: what becomes time 0
    std::int64_t m_clipStart = 0;  ///< 1/1000000 s
    std::int64_t m_endStamp = 0;   ///< end of the last frame handed out, in the video's unit from the origin
    std::int64_t m_done = 0;       ///< frames handed out
    std::int64_t m_lastPacket = 0; ///< number of the last packet of pictures that were handed out
    bool m_selecting = false, m_endOfFile = false, m_finished = false;
    bool m_waitsForKey = false; ///< after a seek what comes before a key frame cannot be decoded
};

} // namespace larkmoor
