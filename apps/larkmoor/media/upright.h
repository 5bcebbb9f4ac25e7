// Pictures of a clip in one size and format, the right way up.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "media/av.h"

namespace larkmoor {

class FilterGraph;

/// Turns and mirrors pictures as their container or they themselves say, and brings those that differ from the first in
/// size or format to its own.
class Upright {
  public:
    /// @param turn false leaves them as they are stored.
    /// @param name of the clip, for sentences.
    Upright(const AVStream& stream, bool turn, const std::string& name);
    ~Upright();

    FramePtr run(FramePtr frame);
    /// The first picture was turned or mirrored.
    bool turns() const { return m_turns; }
    /// It was turned by a quarter.
    bool swapsSides() const { return m_swaps; }

  private:
    struct Shape {
        int width = 0, height = 0, format = -1;
        std::string filters; ///< that turn
        friend bool operator==(const Shape&, const Shape&) = default;
    };
    std::string turning(const AVFrame& frame) const;

    const AVStream& m_stream;
    std::string m_name;
    std::optional<Shape> m_first, m_now;  ///< as decoded
    std::unique_ptr<FilterGraph> m_graph; ///< for `m_now`; null where there is nothing to do
    bool m_turn, m_turns = false, m_swaps = false, m_told = false;
};

} // namespace larkmoor
