// Transfer tables: mapping channels through them, and building the two that contrast needs.
#pragma once

#include <algorithm>
#include <optional>

#include "kernels/view.h"

/// Channels that a table maps, as bits.
enum : unsigned { kMapBlue = 1, kMapGreen = 2, kMapRed = 4, kMapColors = 7, kMapAll = 15 };

/// Maps the source's `channels` through one table into the destination; the others are copied. With `limitToAlpha` each
/// colour result is limited to alpha, the mapped one where alpha is mapped. The views may be the same picture, but must
/// not overlap otherwise. A null table gives 0x80004003.
///
/// 4-byte form: `table` is 256 bytes, whatever `tableIs8Bit`. 16-byte form: the index is the exact value * 255,
/// truncated, into 256 bytes, or value * 65535 into 65,536 words of 16 bits; the entry is scaled back as a float. An
/// index outside the table takes its nearest end, not-a-number its first entry.
HRESULT KwDibMapLut(const tView& destination, const tView& source, LONG bytesPerPixel, const void* table,
                    bool tableIs8Bit, unsigned channels, bool limitToAlpha);

/// Levels moved by a distance, or split at a bound, and kept between two ends.
struct tKwRamp {
    std::uint8_t up, down; ///< the distance; one of them is 0
    std::uint8_t split;    ///< 255 where each level that is then above 0 becomes 255, else 0
    std::uint8_t least, most;

    constexpr std::uint8_t operator()(std::int32_t level) const {
        const std::int32_t moved = std::max(std::min(level + up, 255) - down, 0);
        return static_cast<std::uint8_t>(
            std::min<std::int32_t>(std::max<std::int32_t>(moved > 0 ? moved | split : 0, least), most));
    }
};

/// 256 bytes, which have to stay while this is in use, and the ramp that gives the same without a lookup, if there is
/// one: brightness, bounds and thresholds need no table.
class CKwLut {
  public:
    constexpr explicit CKwLut(const std::uint8_t* table) : m_table(table), m_ramp(Find(table)) {}

    constexpr const std::uint8_t* Table() const { return m_table; }
    constexpr const std::optional<tKwRamp>& Ramp() const { return m_ramp; }

  private:
    static constexpr std::optional<tKwRamp> Find(const std::uint8_t* table) {
        tKwRamp ramp{.up = 0, .down = 0, .split = 0, .least = table[0], .most = table[255]};
        std::int32_t first = 1; // that leaves the lower end
        while (first < 255 && table[first] == ramp.least) ++first;
        if (table[first] == ramp.most) {
            ramp.down = static_cast<std::uint8_t>(first - 1);
            ramp.split = 255;
        } else {
            const std::int32_t distance = table[first] - first;
            (distance > 0 ? ramp.up : ramp.down) = static_cast<std::uint8_t>(distance > 0 ? distance : -distance);
        }
        for (std::int32_t level = 0; level < 256; ++level)
            if (ramp(level) != table[level]) return {};
        return ramp;
    }

    const std::uint8_t* m_table;
    std::optional<tKwRamp> m_ramp;
};

/// One row of the 4-byte form of the above; `count` in pixels.
void KwLutRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count, const CKwLut& lut,
              unsigned channels, bool limitToAlpha);

/// The same for all channels of a row whose pixels have one level in all four bytes.
void KwLutSpreadRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count, const CKwLut& lut);

/// `KwDibMapLut` in place: all colours, and alpha too with `mapAlpha`.
HRESULT KwDibApplyLut(const tView& view, LONG bytesPerPixel, const void* table, bool tableIs8Bit, bool mapAlpha,
                      bool limitToAlpha);

/// In place with a table for each channel and without a limit. A null table leaves its channel alone.
HRESULT KwDibApplyLuts(const tView& view, LONG bytesPerPixel, const void* red, const void* green, const void* blue,
                       const void* alpha, bool tableIs8Bit);

/// Fills 256 bytes with i + truncate(`amount` * 255), limited to a byte.
void KwBuildBrightnessTable(std::uint8_t* table, float amount);

/// Adds `amount` (1.0 being full scale) to the colours. 4-byte form: truncate(`amount` * 255) is added, and the colour
/// limited to 0 to alpha; alpha stays. 16-byte form: alpha gets `amount` as well and is limited to 0 to 1, then each
/// colour to 0 to that alpha.
HRESULT KwDibBrightness(const tView& view, LONG bytesPerPixel, float amount);

/// Fills a table that maps `low` up to but not including `high` to full scale: 0 below, full scale from `high` on. The
/// table is 256 bytes for 4-byte pixels, else 65,536 words of 16 bits. `high` below `low` counts as `low`. A bound
/// above the count of entries is refused: false, and the table all zero; false for a null table.
bool KwBuildStretchTable(void* table, LONG low, LONG high, LONG bytesPerPixel);

/// Fills a table that maps full scale to the range from `low` towards `high`, which may be the lower. Tables and
/// refusals as in `KwBuildStretchTable`. The slope has 14 fractional bits and is truncated; entries that do not fit
/// keep their low bits.
bool KwBuildCompressTable(void* table, LONG low, LONG high, LONG bytesPerPixel);
