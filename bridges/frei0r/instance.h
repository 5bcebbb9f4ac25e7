// One effect in a host's chain.
#pragma once

#include <cstdint>
#include <mutex>

#include "catalog.h"

namespace larkmoor::frei0r {

/// Where a host goes its own way.
struct HostWays {
    bool milliseconds = false; ///< it counts time in milliseconds, not in seconds
    unsigned rowUnit = 1;      ///< its rows are padded to a multiple of so many pixels
};

/// Those of the program or library that an address lies in.
HostWays waysOf(const void* address);

/// Calls from several threads wait for each other.
class Instance {
  public:
    /// Throws Error for sizes outside of 1 to 16384.
    Instance(const Catalog& catalog, const Plugin& plugin, unsigned width, unsigned height);

    /// As `f0r_set_param_value` and `f0r_get_param_value`; does nothing for an index or a value that cannot be.
    void set(int index, const void* value);
    void get(int index, void* value);

    /// Draws `out`. Pictures have rows of `width` pixels without a gap (but see `HostWays`), bytes blue, green, red,
    /// alpha, colour straight.
    /// Where the effect fails, the reason is told on standard error once and `out` is the first input.
    /// @param time in a unit that the parameters or `caller`, an address in the calling program, tell.
    void update(double time, const std::uint32_t* first, const std::uint32_t* second, std::uint32_t* out,
                const void* caller);

  private:
    void render(const Surface* inputs, std::size_t count, const Surface& out);
    Surface input(const std::uint32_t* pixels, const std::uint32_t* out, Surface& memory) const;
    bool passOn(const std::uint32_t* pixels, const Surface& input, std::uint32_t* out) const;
    void applyValues();
    tSurfaceInfo infoOf(double time);
    ImageView viewOf(const std::uint32_t* pixels, PixelFormat format) const;
    /// From the first pixel of a picture to behind its last.
    std::size_t span() const { return m_pitch * (m_height - 1) + m_width; }

    const Plugin& m_plugin;
    const unsigned m_width, m_height;
    std::mutex m_lock;
    Effect m_effect;
    std::vector<Value> m_values; ///< as they were set
    /// What is drawn: of two parameters for one element, the value of the one that changed last stands here, in the
    /// place and the terms of the one from 0 to 1. A host may set all of them again for each frame, changed or not.
    std::vector<Value> m_inForce;
    bool m_changed = false;
    float m_progress = 0;
    Timing m_timing;
    const void* m_caller = nullptr;
    HostWays m_ways;
    std::size_t m_pitch;       ///< pixels from row to row
    std::int64_t m_frames = 0; ///< drawn so far
    bool m_complained = false;
    Surface m_firstCopy, m_secondCopy; ///< premultiplied, for pictures that are not opaque
};

} // namespace larkmoor::frei0r
