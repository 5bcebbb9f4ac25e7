// Brings one clip to the size, rate and pixel aspect of another.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "media/reader.h"

extern "C" {
#include <libavfilter/avfilter.h>
}

namespace larkmoor {

/// Frames through filters of FFmpeg's.
class FilterGraph {
  public:
    /// @param is what goes in.
    /// @param what is done, for the sentences of errors: "resample in.mp4".
    /// @param out pixel format of what comes out; that of `is` without it.
    FilterGraph(const VideoFacts& is, const std::string& filters, const std::string& what,
                AVPixelFormat out = AV_PIX_FMT_NONE);

    void put(AVFrame& frame);
    /// Says that nothing more comes, and until when the last frame lasts.
    void end(std::int64_t stamp);
    /// The next frame that comes out; an empty one as long as the filters want more, or at the end.
    FramePtr take();
    bool ended() const { return m_ended; }

  private:
    std::string m_what;
    std::unique_ptr<AVFilterGraph, FreeByAddress<avfilter_graph_free>> m_graph;
    AVFilterContext* m_in = nullptr;
    AVFilterContext* m_out = nullptr;
    bool m_ended = false;
};

/// The filters that bring a picture to another one's size and pixel aspect: scaled by a Lanczos filter to fit, with
/// black (or clear) bars where the shapes differ. Empty where nothing differs.
/// @param changes gets what is done, for people.
std::string fittingFilters(const VideoFacts& is, const VideoFacts& wanted, std::string& changes);

/// Pulls the frames of a clip at a steady rate, in the size and pixel aspect wanted (see `fittingFilters`).
class Conformer {
  public:
    /// @param wanted size, aspect and rate of the frames to come; the pixel format stays the clip's.
    Conformer(Reader& reader, const VideoFacts& wanted);

    /// The next frame, empty at the end. Stamps count frames.
    FramePtr next();

    /// Packets of selected streams that came along since the last call, on the clip's own clock.
    std::vector<PacketPtr> takeSide() { return std::exchange(m_side, {}); }

    /// What is done to the clip, for the user: "1280x720 to 1920x1080, 25 to 30 frames a second"; empty for nothing.
    const std::string& changes() const { return m_changes; }

  private:
    std::string filters(const VideoFacts& wanted);

    Reader& m_reader;
    std::string m_changes;
    FilterGraph m_graph;
    std::vector<PacketPtr> m_side;
    std::int64_t m_end = 0; ///< of the clip so far, in its own unit
    bool m_ended = false;
};

} // namespace larkmoor
