// Pictures whose edges tell: a byte read or written beyond them ends the process.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "host/surface.h"

namespace larkmoor::validate {

/// How a picture lies in memory.
struct Layout {
    bool atEnd = true;       ///< its last byte, else its first one, lies beside memory that cannot be touched
    int gap = 0;             ///< bytes between two rows
    bool upsideDown = false; ///< the bottom row comes first
    int left = 0, top = 0;   ///< where its coordinates begin
};

class Picture {
  public:
    /// Throws Error where memory is short.
    Picture(PixelFormat format, int width, int height, const Layout& layout = {});

    const Surface& surface() const { return m_surface; }
    IUnknown* object() const { return m_surface.get(); }

    /// Premultiplied colours, most of them opaque; or, `wild`, any bits, floats that are no numbers included.
    void fill(std::uint32_t seed, bool wild = false);
    /// From here on writing ends the process, too.
    void protect();
    /// The pixels alone, row after row from the top.
    std::vector<std::byte> pixels() const;
    /// Whether the bytes between rows are what they were.
    bool gapsStand() const;

  private:
    std::byte* row(int y) const;

    std::shared_ptr<void> m_memory;
    std::size_t m_bytes = 0; ///< of the pages that can be touched
    std::byte* m_pages = nullptr;
    Surface m_surface;
    std::size_t m_rowBytes = 0;
    int m_gap = 0;
};

} // namespace larkmoor::validate
