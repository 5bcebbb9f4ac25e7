// Random access to the decoded frames of a clip.
#pragma once

#include <list>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

#include "media/reader.h"

namespace larkmoor {

struct DecodedFrame {
    std::shared_ptr<const AVFrame> frame;
    std::int64_t time100ns = 0; ///< from the start of the clip
};

/// A clip, a picture or a numbered sequence. Frames are counted as a reader hands them out from the start, and are the
/// very pictures that it hands out. Safe to share between threads.
class PreviewSource {
  public:
    /// @param rate of a numbered sequence.
    /// @param cacheBytes for frames that are kept; the last one is kept in any case.
    /// Throws Error as `Reader` does.
    explicit PreviewSource(const std::string& path, std::optional<AVRational> rate = {},
                           std::size_t cacheBytes = std::size_t{256} << 20);

    const VideoFacts& video() const { return m_video; }
    bool isPicture() const { return m_picture; }
    /// Frames as a reader expects them when it opens the clip.
    std::optional<std::int64_t> expectedFrames() const { return m_expected; }

    /// Frames, counted. Reads through the file once where the container does not count them; throws Stopped where that
    /// is to end.
    std::int64_t count(const GoesOn& goesOn = {});
    /// Frames, counted by reading through the file once.
    std::int64_t exactCount();

    /// Throws Error when there is no such frame.
    DecodedFrame frame(std::int64_t number);

    /// Seconds of each frame from the first one on, where some are half a frame or more away from what the rate tells;
    /// else none. Reads through the file once where the container tells that its frames vary.
    std::vector<double> unsteadyTimes(const GoesOn& goesOn = {});

    /// The frame that a steady rate shows at each of its periods, as FFmpeg's `fps` filter picks them.
    std::vector<std::int64_t> steady(AVRational rate, const GoesOn& goesOn = {});

  private:
    struct Entry {
        std::int64_t number;
        DecodedFrame decoded;
        std::size_t bytes;
    };
    const FrameTable& table(const GoesOn& goesOn = {});
    void seek(std::int64_t number);
    DecodedFrame decode(std::int64_t number);
    DecodedFrame keep(std::int64_t number, ReadFrame read);

    std::string m_path;
    ReadOptions m_options;
    std::size_t m_cacheBytes;
    std::mutex m_lock;
    std::unique_ptr<Reader> m_reader; ///< stands before the frame `m_next`
    std::int64_t m_next = 0;
    VideoFacts m_video;
    bool m_picture = false, m_counted = false, m_varies = false;
    std::int64_t m_start = 0; ///< 1/1000000 s: what becomes time 0
    std::optional<std::int64_t> m_expected;
    std::optional<FrameTable> m_table;
    std::list<Entry> m_kept; ///< the one used last first
    std::unordered_map<std::int64_t, std::list<Entry>::iterator> m_places;
    std::size_t m_bytes = 0;
};

} // namespace larkmoor
