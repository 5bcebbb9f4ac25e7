// Clips, pictures, numbered sequences and raw frames, as decoded frames in order.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/av.h"
#include "media/colour.h"

namespace larkmoor {

/// Frames without a container.
struct RawFormat {
    int width = 0, height = 0;
    AVPixelFormat format = AV_PIX_FMT_NONE;
    AVRational rate{25, 1};
};

/// Where a frame is found without decoding all before it, in the stream's unit.
struct FramePlace {
    std::int64_t stamp = 0; ///< its time stamp
    std::int64_t seek = 0;  ///< decoding time stamp of a key frame from which it can be decoded
};

struct ReadOptions {
    std::optional<RawFormat> raw;   ///< read the input as bare frames of this kind
    std::optional<AVRational> rate; ///< of a numbered sequence; 25 without it
    double start = 0;               ///< seconds from the start of the clip
    std::int64_t skip = 0;          ///< frames from `start` to leave out
    std::optional<FramePlace> from; ///< a short way to the first frame, instead of `start` and `skip`
    std::int64_t frames = -1;       ///< at most so many; -1 for all
    int threads = 1;                ///< for decoding
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
    AVFieldOrder fieldOrder = AV_FIELD_PROGRESSIVE;
};

struct ReadFrame {
    FramePtr frame;              ///< time stamp and duration in the clip's unit, 0 at the start of the range
    std::int64_t time100ns = 0;  ///< from the start of the clip
    std::vector<PacketPtr> side; ///< packets of selected streams that came before it, in the same time
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
    const AVStream& videoStream() const { return *m_stream; }
    AVFormatContext& container() const { return *m_format; }
    const std::string& path() const { return m_path; }
    bool isPicture() const { return m_picture; }                   ///< one still picture
    std::optional<int> sequenceNumber() const { return m_number; } ///< of the first frame of the range

    /// Reads the time stamps of a clip's frames, all of the file but without decoding. The range in `options` does not
    /// count.
    static FrameTable table(const std::string& path, ReadOptions options);

    /// The clip from a frame on, counted from 0: by the short way of the table where that leads to the very frame, else
    /// by decoding all before it. Throws Error when there is no such frame.
    static std::unique_ptr<Reader> openAt(const std::string& path, ReadOptions options, std::int64_t frame,
                                          const FrameTable& table);

    /// Time stamp of the next frame as the container has it. Call before `next`.
    std::int64_t firstStamp() const { return m_first->pts; }

    /// Frames in the range as far as the container tells, by its count or by duration and rate.
    std::optional<std::int64_t> expectedFrames() const;

    /// Hands out packets of a stream, beside the pictures.
    void select(int stream);

    /// The next frame; an empty one at the end of the range. Throws Error for broken input.
    ReadFrame next();
    /// What is left of the selected streams within the range; call after the last frame.
    std::vector<PacketPtr> rest();

    /// Start and end of the range in units of 1/1000000 s on the container's clock; the end only once it is known.
    std::int64_t rangeStart() const { return m_origin; }
    std::optional<std::int64_t> rangeEnd() const;

  private:
    struct Closed {};
    Reader(const std::string& path, const ReadOptions& options, Closed);
    bool isCut() const { return m_options.start > 0 || m_options.skip > 0 || m_options.from; }
    void open();
    void openDecoder();
    bool readPacket();
    FramePtr decode();
    FramePtr decodeStamped();
    void complain(int code);
    void take(PacketPtr packet);
    PacketPtr place(PacketPtr packet) const;
    std::vector<PacketPtr> release(std::int64_t until);

    std::string m_path, m_name; ///< as given, and as told to people
    ReadOptions m_options;
    InputPtr m_format;
    CodecPtr m_decoder;
    AVStream* m_stream = nullptr;
    VideoFacts m_facts;
    PacketPtr m_packet;
    FramePtr m_first;
    std::deque<PacketPtr> m_held;
    std::vector<bool> m_selected;
    std::vector<bool> m_pastEnd;
    std::optional<int> m_number;
    std::int64_t m_origin = 0;    ///< 1/1000000 s: what becomes time 0
    std::int64_t m_clipStart = 0; ///< 1/1000000 s
    std::int64_t m_lastStamp = AV_NOPTS_VALUE;
    std::int64_t m_endStamp = 0; ///< end of the last frame handed out, in the video's unit from the origin
    std::int64_t m_done = 0;     ///< frames handed out
    std::int64_t m_decoded = 0;
    std::int64_t m_lastPacket = -1; ///< stamp of the last one
    int m_files = 0;                ///< of a numbered sequence, up to the first gap
    int m_firstError = 0;
    bool m_picture = false, m_selecting = false, m_endOfFile = false, m_finished = false;
};

} // namespace larkmoor
