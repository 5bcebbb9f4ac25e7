// Brings one clip to the size, rate and pixel aspect of another.
#pragma once

#include <string>

#include "media/reader.h"

extern "C" {
#include <libavfilter/avfilter.h>
}

namespace larkmoor {

/// Pulls the frames of a clip at a steady rate, in the size and pixel aspect wanted: scaled by a Lanczos filter to fit,
/// with black (or clear) bars where the shapes differ.
class Conformer {
  public:
    /// @param wanted size, aspect and rate of the frames to come; the pixel format stays the clip's.
    Conformer(Reader& reader, const VideoFacts& wanted);

    /// The next frame, empty at the end. Stamps count frames.
    FramePtr next();

    /// What is done to the clip, for the user: "1280x720 to 1920x1080, 25 to 30 frames a second"; empty for nothing.
    const std::string& changes() const { return m_changes; }

  private:
    Reader& m_reader;
    std::unique_ptr<AVFilterGraph, FreeByAddress<avfilter_graph_free>> m_graph;
    AVFilterContext* m_in = nullptr;
    AVFilterContext* m_out = nullptr;
    std::string m_changes;
    std::int64_t m_end = 0; ///< of the clip so far, in its own unit
    bool m_ended = false;
};

} // namespace larkmoor
