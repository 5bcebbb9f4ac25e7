// What an ellipse of the percentile filter covers, and counts of the samples of full weight there.
#pragma once

#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "base/bodies.h"
#include "kernels/median_forms.h"

namespace kw_median {

inline constexpr LONG kStripPixels = 64; ///< a multiple of what any body takes at once
inline constexpr LONG kLevels = 256;
inline constexpr LONG kHalfBits = 7; ///< of a weight's 14

/// Cells at (dx, dy), (-dx, dy), (dx, -dy) and (-dx, -dy).
struct tRimCell {
    LONG dx;
    std::uint16_t high, low; ///< weight / 128, and the rest
};

/// The area by its rows from the centre's on.
struct tEllipse {
    LONG columns, rows, fullRows;
    std::vector<LONG> widths;           ///< cells of full weight from the centre on; not wider than in the row before
    std::vector<LONG> heights;          ///< the same by columns
    std::vector<tRimCell> rim;          ///< row by row
    std::vector<std::ptrdiff_t> starts; ///< of the rows in the rim; one more for the end
    std::vector<std::int64_t> totals;   ///< the weight of all cells up to (dx, dy)
    std::int64_t cells;                 ///< of full weight

    explicit tEllipse(const tAREATABLE& area)
        : columns(area.columns), rows(area.rows), widths(static_cast<std::size_t>(rows)),
          heights(static_cast<std::size_t>(columns)), totals(area.weights.size()), cells(0) {
        LONG width = columns;
        auto total = totals.begin();
        for (LONG dy = 0; dy < rows; ++dy) {
            width = std::min(width, area.FullColumns(dy));
            widths[static_cast<std::size_t>(dy)] = width;
            for (LONG dx = 0; dx < width; ++dx) ++heights[static_cast<std::size_t>(dx)];
            cells += (2 * std::int64_t{width} - (width > 0)) * (dy > 0 ? 2 : 1);
            starts.push_back(std::ssize(rim));
            std::int64_t sum = 0;
            for (LONG dx = 0; dx < columns; ++dx, ++total) {
                const LONG weight = FixedWeight(area.Row(dy)[dx]);
                sum += weight;
                *total = sum + (dy > 0 ? *(total - columns) : 0);
                if (dx >= width && weight > 0)
                    rim.push_back({dx, static_cast<std::uint16_t>(weight >> kHalfBits),
                                   static_cast<std::uint16_t>(weight & ((1 << kHalfBits) - 1))});
            }
        }
        starts.push_back(std::ssize(rim));
        fullRows = heights[0];
    }

    /// The weight of the part that reaches so many cells to each side.
    std::int64_t Total(LONG left, LONG right, LONG up, LONG down) const {
        const auto upTo = [&](LONG dx, LONG dy) {
            return totals[static_cast<std::size_t>(dy) * static_cast<std::size_t>(columns) +
                          static_cast<std::size_t>(dx)];
        };
        return upTo(left, up) + upTo(right, up) + upTo(left, down) + upTo(right, down) - upTo(0, up) - upTo(0, down) -
               upTo(left, 0) - upTo(right, 0) + kOne;
    }
};

/// Columns of the picture as samples less 128, since signed bytes are quicker to compare. All other places hold the
/// highest sample, which is below no level.
struct tStrip {
    const tEllipse& area;
    tRows source, destination;
    LONG left, channel, q;
    std::int8_t* memory; ///< the rows and one without pixels, with what the area reaches to both sides
    std::int32_t* counts;
    std::uint8_t* planes; ///< see `CLevelCounts`

    std::ptrdiff_t Stride() const { return kStripPixels + 2 * std::ptrdiff_t{area.columns}; }
    const std::int8_t* Row(LONG y) const {
        return memory + (y >= 0 && y < source.height ? y : source.height) * Stride() + area.columns;
    }

    /// Rows that a plane holds, a power of two.
    std::size_t PlaneRows() const {
        const auto rows = std::min<std::int64_t>(2 * std::int64_t{area.fullRows} - 1, source.height);
        return std::bit_ceil(static_cast<std::size_t>(rows));
    }
    /// A row of it holds the samples that some pixels meet, and is filled by whole vectors of them.
    std::ptrdiff_t PlaneStride(LONG pixels) const {
        return (2 * std::ptrdiff_t{pixels} + 2 * std::ptrdiff_t{area.widths[0]} - 1) / pixels * pixels;
    }
    std::size_t PlaneBytes() const { return PlaneRows() * static_cast<std::size_t>(PlaneStride(kStripPixels)); }
    /// One for all levels, eight a plane, or fewer that take turns: the second-level cache holds no more.
    std::size_t Planes() const {
        return std::clamp<std::size_t>((std::size_t{1} << 21) / PlaneBytes(), 8, kLevels / 8);
    }
};

/// Copies the strip's samples.
KWINLINE inline void FillStrip(const tStrip& strip) {
    const std::ptrdiff_t stride = strip.Stride();
    std::memset(strip.memory, INT8_MAX, static_cast<std::size_t>((std::ptrdiff_t{strip.source.height} + 1) * stride));
    const std::ptrdiff_t from = std::max(-strip.left, -strip.area.columns);
    const std::ptrdiff_t to = std::min<std::ptrdiff_t>(strip.source.width - strip.left, stride - strip.area.columns);
    for (LONG y = 0; y < strip.source.height; ++y) {
        const std::uint8_t* pixel = strip.source.Row<std::uint8_t>(y) + std::ptrdiff_t{strip.left} * 4 + strip.channel;
        std::int8_t* row = strip.memory + y * stride + strip.area.columns;
        for (std::ptrdiff_t x = from; x < to; ++x) row[x] = static_cast<std::int8_t>(pixel[x * 4] ^ 128);
    }
}

/// A strip's samples of full weight by levels, for one pixel.
struct tPixelCount {
    std::array<std::int32_t, kLevels> bins{}, below{};

    /// Comes down to row `y`.
    KWINLINE void Move(const tStrip& strip, LONG y, LONG x) {
        for (LONG dx = 1 - strip.area.widths[0]; dx < strip.area.widths[0]; ++dx) {
            const LONG height = strip.area.heights[static_cast<std::size_t>(std::abs(dx))];
            ++bins[Level(strip.Row(y + height - 1)[x + dx])];
            --bins[Level(strip.Row(y - height)[x + dx])];
        }
    }
    KWINLINE void Sum() {
        std::int32_t sum = 0;
        for (std::size_t i = 0; i < kLevels; ++i) {
            below[i] = sum;
            sum += bins[i];
        }
    }

  private:
    static std::size_t Level(std::int8_t sample) { return static_cast<std::uint8_t>(sample) ^ 128u; }
};

template <class Element, std::size_t kBytes>
struct tVectorOf {
    using tType [[gnu::vector_size(kBytes)]] = Element;
};
template <class Element, std::size_t kBytes>
using tVector = typename tVectorOf<Element, kBytes>::tType;

/// For pixels side by side, as many as a vector has bytes: how many samples of full weight are below a level.
///
/// The first pixel has a count of samples by level, which moves down the picture with it. From pixel to pixel a number
/// differs by what enters and leaves at the ends of the area's rows. For that, planes hold a byte for each sample that
/// the area meets: bit i tells whether it is below level i of eight, so that one vector tells it of eight levels for
/// all pixels. The bits are added up digit by digit, each digit of all the sums being one vector.
template <LONG kLanes>
class CLevelCounts {
  public:
    CLevelCounts(const tStrip& strip, LONG first) : m_strip(strip), m_first(first) {
        m_counted.fill(-1);
        m_compared.fill(-1);
        m_planeOf.fill(-1);
    }

    /// Goes down to row `y`, the one after that before.
    KWINLINE void Move(LONG y) {
        if (y == 0)
            for (LONG above = 1 - m_strip.area.fullRows; above < 0; ++above) m_pixel.Move(m_strip, above, m_first);
        m_pixel.Move(m_strip, y, m_first);
        m_pixel.Sum();
        m_y = y;
    }

    KWINLINE std::int32_t Count(LONG level, LONG pixel) {
        if (m_counted[static_cast<std::size_t>(level)] != m_y) CountLevel(level);
        return *(Counts(level) + pixel);
    }

  private:
    using tSamples = tVector<std::int8_t, kLanes>;
    using tBits = tVector<std::uint8_t, kLanes>;
    using tValues = tVector<std::int32_t, kLanes>;
    static constexpr LONG kQuarter = kLanes / 4, kBlocks = kLevels / 8;
    static constexpr int kMostDigits = 32;

    std::int32_t* Counts(LONG level) const { return m_strip.counts + std::ptrdiff_t{level} * kLanes; }

    /// Gives a block the plane that has had its block for longest.
    KWINLINE void TakePlane(std::size_t block) {
        const auto planes = static_cast<LONG>(m_strip.Planes());
        for (LONG& plane : m_planeOf)
            if (plane == m_next) plane = -1;
        m_planeOf[block] = m_next;
        m_filled[block] = 0;
        m_next = (m_next + 1) % planes;
    }

    /// A block's plane with all rows that the area meets.
    KWINLINE const std::uint8_t* FilledPlane(LONG block) {
        const auto at = static_cast<std::size_t>(block);
        std::uint8_t* const plane = m_strip.planes + static_cast<std::size_t>(m_planeOf[at]) * m_strip.PlaneBytes();
        const LONG reach = m_strip.area.fullRows - 1,
                   end = std::min(m_y, m_strip.source.height - 1 - reach) + reach + 1;
        for (LONG y = std::max(m_filled[at], m_y - reach); y < end; ++y) {
            const std::int8_t* const samples = m_strip.Row(y) + m_first - m_reach;
            std::uint8_t* const row = plane + (y & m_mask) * m_stride;
            for (std::ptrdiff_t x = 0; x < m_stride; x += kLanes) {
                tSamples sample;
                std::memcpy(&sample, samples + x, sizeof sample);
                tBits below{};
                const tBits ones = below + 1;
                KWUNROLL
                for (int i = 0; i < 8; ++i) {
                    const tSamples level = tSamples{} + static_cast<std::int8_t>(block * 8 + i - 128);
                    below |= (tBits)(sample < level) & ones << i;
                }
                std::memcpy(row + x, &below, sizeof below);
            }
        }
        m_filled[at] = end;
        return plane;
    }

    /// Adds two bits to a digit; the result is the carry.
    static KWINLINE tBits AddBits(tBits& digit, const tBits& a, const tBits& b) {
        const tBits either = a ^ b, carry = (either & digit) | (~either & a);
        digit ^= either;
        return carry;
    }
    static KWINLINE tBits Load(const std::uint8_t* from) {
        tBits bits;
        std::memcpy(&bits, from, sizeof bits);
        return bits;
    }
    /// Adds 2 to the power of `kDigit` rows up from `dy` on; the result is the carry.
    template <int kDigit>
    KWINLINE tBits AddRows(tBits* digits, const std::uint8_t* plane, LONG dy) const {
        if constexpr (kDigit == 0) {
            const LONG width = m_strip.area.widths[static_cast<std::size_t>(std::abs(dy))];
            const std::uint8_t* row = plane + ((m_y + dy) & m_mask) * m_stride + m_reach;
            return AddBits(digits[0], Load(row + width - 1), ~Load(row - width));
        } else {
            const tBits a = AddRows<kDigit - 1>(digits, plane, dy);
            const tBits b = AddRows<kDigit - 1>(digits, plane, dy + (1 << (kDigit - 1)));
            return AddBits(digits[kDigit], a, b);
        }
    }
    static KWINLINE void Carry(tBits* digits, int digit, int count, tBits carry) {
        for (; digit < count; ++digit) {
            const tBits next = digits[digit] & carry;
            digits[digit] ^= carry;
            carry = next;
        }
    }

    /// Bit i of byte k becomes bit k of byte i.
    static KWINLINE void Turn(tBits* bytes) {
        const auto swap = [&](int step, int mask) KWINLINE {
            const tBits lower = tBits{} + static_cast<std::uint8_t>(mask);
            KWUNROLL
            for (int i = 0; i < 8; ++i)
                if (!(i & step)) {
                    const tBits change = ((bytes[i] >> step) ^ bytes[i + step]) & lower;
                    bytes[i + step] ^= change;
                    bytes[i] ^= change << step;
                }
        };
        swap(4, 0x0F);
        swap(2, 0x33);
        swap(1, 0x55);
    }

    template <int kStep, std::size_t... kIndex>
    static KWINLINE tValues Behind(const tValues& values, std::index_sequence<kIndex...>) {
        const tValues none{};
        return __builtin_shufflevector(none, values, (static_cast<int>(kIndex) + kQuarter - kStep)...);
    }
    template <int kStep = 1>
    static KWINLINE void AddUp(tValues& values) {
        values += Behind<kStep>(values, std::make_index_sequence<kQuarter>());
        if constexpr (kStep * 2 < kQuarter) AddUp<kStep * 2>(values);
    }

    /// Finds, for eight levels, how many samples more each pixel counts than the one before it, and how many rows:
    /// bytes of numbers, one byte of all pixels after the other, where the counts will stand.
    KWINLINE void CompareBlock(LONG block) {
        const auto at = static_cast<std::size_t>(block);
        if (m_compared[at] == m_y) return;
        m_compared[at] = m_y;
        if (m_planeOf[at] < 0) TakePlane(at);
        const std::uint8_t* const plane = FilledPlane(block);
        const LONG reach = m_strip.area.fullRows - 1, top = std::max(-reach, -m_y),
                   bottom = std::min(reach, m_strip.source.height - 1 - m_y);
        // What leaves is added as ones less what leaves.
        m_rows = bottom - top + 1;
        const int count = std::bit_width(2 * static_cast<std::uint32_t>(m_rows));
        m_bytes = (count + 7) / 8;
        tBits digits[kMostDigits];
        for (int i = 0; i < 8 * m_bytes; ++i) digits[i] = tBits{};
        LONG dy = top;
        for (; dy + 7 <= bottom; dy += 8) Carry(digits, 4, count, AddRows<3>(digits, plane, dy));
        for (; dy <= bottom; ++dy) Carry(digits, 1, count, AddRows<0>(digits, plane, dy));
        for (int byte = 0; byte < m_bytes; ++byte) {
            Turn(digits + 8 * byte);
            for (LONG i = 0; i < 8; ++i)
                std::memcpy(Counts(8 * block + i) + byte * kQuarter, digits + 8 * byte + i, sizeof digits[0]);
        }
    }

    KWINLINE void CountLevel(LONG level) {
        CompareBlock(level / 8);
        m_counted[static_cast<std::size_t>(level)] = m_y;
        tValues parts[4], counts[4];
        for (tValues& part : parts) part = tValues{} - m_rows;
        for (int byte = 0; byte < m_bytes; ++byte) {
            tValues bytes;
            std::memcpy(&bytes, Counts(level) + byte * kQuarter, sizeof bytes);
            for (int k = 0; k < 4; ++k) parts[k] += (bytes >> 8 * k & 255) << 8 * byte;
        }
        parts[0][0] = m_pixel.below[static_cast<std::size_t>(level)];
        tValues all = parts[0] + parts[1] + parts[2] + parts[3];
        AddUp(all);
        for (int k = 3; k >= 0; --k) {
            counts[k] = all;
            all -= parts[k];
        }
        std::memcpy(Counts(level), counts, sizeof counts);
    }

    const tStrip& m_strip;
    const LONG m_first;
    const LONG m_reach = m_strip.area.widths[0], m_mask = static_cast<LONG>(m_strip.PlaneRows()) - 1;
    const std::ptrdiff_t m_stride = m_strip.PlaneStride(kLanes);
    LONG m_y = 0, m_next = 0;
    LONG m_rows = 0;                      ///< that the area meets
    int m_bytes = 0;                      ///< of a number
    tPixelCount m_pixel;                  ///< of the first pixel
    std::array<LONG, kLevels> m_counted;  ///< the row that the counts of a level are those of
    std::array<LONG, kBlocks> m_compared; ///< the row that the bytes of a block are those of
    std::array<LONG, kBlocks> m_planeOf;  ///< -1 for none
    std::array<LONG, kBlocks> m_filled{}; ///< the row behind the last one in a block's plane
};

} // namespace kw_median
