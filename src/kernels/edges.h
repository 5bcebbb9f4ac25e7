// Solid borders with a soft fall-off along axis-aligned edges.
#pragma once

#include <span>
#include <vector>

#include "kernels/fixed.h"

/// One edge, in 14-bit fixed point.
struct tEDGELINE {
    std::int64_t from, to; ///< start and end along the edge
    std::int64_t position; ///< across the edge
    LONG flags;            ///< `kEdgeAlongY`, `kEdgeReversed`
};

inline constexpr LONG kEdgeAlongY = 1;   ///< the edge runs along y, `position` is an x
inline constexpr LONG kEdgeReversed = 2; ///< the inside lies before `position`, not behind it

/// A growing list of edges. E_OUTOFMEMORY leaves it as it was.
class CEdgeList {
  public:
    HRESULT Add(const tEDGELINE& edge);
    /// Four edges with the inside of the rectangle as their inside.
    HRESULT AddRectangle(const tFixedRect& r);

    std::span<const tEDGELINE> Lines() const { return m_lines; }

  private:
    HRESULT Append(std::span<const tEDGELINE> lines);
    std::vector<tEDGELINE> m_lines;
};

/// A soft zone is two pixels wide at least where there is a border at all; the border gives up what the zone takes.
constexpr void KwMinimumSoftness(std::int64_t& width, std::int64_t& softness) {
    if ((width == 0 && softness == 0) || softness >= 2 * kOnePixel) return;
    width = std::max<std::int64_t>(width - (2 * kOnePixel - softness), 0);
    softness = 2 * kOnePixel;
}

/// Paints the edges over the output: `width` of solid colour on the outward side, then a fall-off over `softness` on
/// both sides (lengths in 14-bit fixed point). Outward corners of horizontal edges are round. `extra` moves the whole
/// away from the edge, so that a border fades out behind the frame.
///
/// @param offset added to every edge
/// @param colour in channel order, 0 to 1; the 4-byte form takes truncate(c * 255 + 0.5) as a byte
HRESULT KwDibDrawEdges(const CEdgeList& list, void* outBits, tExtent outSize, LONG outStride, tFixedPoint offset,
                       std::int64_t width, std::int64_t softness, std::int64_t extra, const tPixelF& colour,
                       LONG bytesPerPixel);
