// Bar charts, porches, a ramp and a gradient, computed from the position in the frame.
#pragma once

#include <optional>
#include <vector>

#include "platform/types.h"

enum eTESTPATTERN : ULONG {
    kSmpteBarsNtsc,
    kWhitePorches,
    kYellowPorches,
    kPlugeAndPorches,
    kRampPattern,
    kGradientPattern,
    kSmpteBarsPal,
    kColorBarsNtsc,
    kColorBarsPal,
    kTestPatterns
};

/// Part of a row, in samples 0xAARRGGBB.
struct tFillRequest {
    DWORD* samples;
    ULONG count;
    ULONG x, y; ///< place of the first sample in the frame
};

/// Fills the request with the pattern of a frame of that size; a `type` from `kTestPatterns` on counts as 0. A bar that
/// begins in the request is written to its own end, so a caller without that much memory says in `room` how many
/// samples there are: nothing is written past them. The gradient spans each request, not the frame.
void KwFillTestPattern(ULONG type, LONG width, LONG height, const tFillRequest& request, std::size_t room);

/// The same row by row, for a reader that goes through a frame: rows that repeat are copied.
class CTestPatternRows {
  public:
    CTestPatternRows(ULONG type, LONG width, LONG height) : m_type(type), m_width(width), m_height(height) {}

    /// Writes `request.count` samples, no more.
    void Fill(const tFillRequest& request);

  private:
    struct tLook {
        ULONG rows; ///< which table rows the line crosses, or whether it crosses the ramp
        ULONG x, count;
        bool operator==(const tLook&) const = default;
    };

    ULONG m_type;
    LONG m_width, m_height;
    std::optional<tLook> m_look; ///< of `m_row`
    std::vector<DWORD> m_row;
};
