// The percentile filter over an ellipse, or over a small rectangle.
//
// Neighbouring pixels of a row, one channel of them, are worked on at once: as many as a vector has bytes. The weight
// of the samples below a level is wanted for each of them at a level of its own: a few levels near the percentile tell
// the band. Of these samples
// - those on the rim are held against the pixels' levels one cell after the other. The two to four cells of one weight
//   are counted first, and the count is multiplied by halves of the weight, so that 16 bits hold the sums;
// - those of full weight are counted so as well where they are few. Where they are many, a count for all pixels at one
//   common level takes only the ends of the area's rows: it differs from pixel to pixel by what enters and leaves
//   there, and the first pixel has a count of samples by level, which moves down the picture with it. Neighbours want
//   much the same levels, and those that nobody wants are not counted.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "base/bodies.h"
#include "kernels/median_forms.h"
#include "kernels/ranges.h"

namespace kw_median {
namespace {

constexpr LONG kStripPixels = 64; ///< a multiple of what any body takes at once
constexpr LONG kLevels = 256;
constexpr LONG kFewCells = 255; ///< of full weight: as many as a byte counts
constexpr LONG kHalfBits = 7;   ///< of a weight's 14

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

    std::ptrdiff_t Stride() const { return kStripPixels + 2 * std::ptrdiff_t{area.columns}; }
    const std::int8_t* Row(LONG y) const {
        return memory + (y >= 0 && y < source.height ? y : source.height) * Stride() + area.columns;
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

/// Whether any bit is set.
template <class Vector>
KWINLINE inline bool IsAny(const Vector& tested) {
    using tHalf = tVector<std::uint64_t, sizeof(Vector) / 2>;
    tHalf half[2];
    std::memcpy(half, &tested, sizeof half);
    const tHalf both = half[0] | half[1];
    if constexpr (sizeof(Vector) > 16) {
        return IsAny(both);
    } else {
        return both[0] != 0;
    }
}

/// Pixels from `first` on, as many as a vector has bytes.
template <LONG kLanes, bool kFew>
class CGroup {
  public:
    KWINLINE CGroup(const tStrip& strip, LONG first)
        : m_strip(strip), m_first(first),
          m_pixels(std::clamp<LONG>(strip.source.width - strip.left - first, 0, kLanes)) {
        m_counted.fill(-1);
        for (LONG i = 0; i < m_pixels; ++i) SetLane(m_inside, i, -1);
        for (tValues& part : m_levels.of) part += kLevels / 2;
    }

    KWINLINE void Run() {
        const LONG height = m_strip.source.height, reach = m_strip.area.rows - 1;
        if constexpr (!kFew)
            for (LONG y = 1 - m_strip.area.fullRows; y < 0; ++y) m_firstCount.Move(m_strip, y, m_first);
        LONG knownUp = -1, knownDown = -1;
        for (m_y = 0; m_y < height; ++m_y) {
            if constexpr (!kFew) {
                m_firstCount.Move(m_strip, m_y, m_first);
                m_firstCount.Sum();
            }
            const LONG up = std::min(m_y, reach), down = std::min(height - 1 - m_y, reach);
            if (up != knownUp || down != knownDown) FindStarts(knownUp = up, knownDown = down);
            const tLanes sums = BandSums();
            tValues bytes{};
            for (int k = 0; k < 4; ++k) bytes |= (sums.of[k] + kOne / 2) >> 14 << 8 * k;
            std::uint8_t values[kLanes];
            std::memcpy(values, &bytes, sizeof values);
            std::uint8_t* to = m_strip.destination.template Row<std::uint8_t>(m_y) +
                               (std::ptrdiff_t{m_strip.left} + m_first) * 4 + m_strip.channel;
            for (LONG i = 0; i < m_pixels; ++i) to[std::ptrdiff_t{i} * 4] = values[i];
        }
    }

  private:
    using tSamples = tVector<std::int8_t, kLanes>;
    using tTallies = tVector<std::uint8_t, kLanes>;
    using tSums = tVector<std::uint16_t, kLanes>;
    using tValues = tVector<std::int32_t, kLanes>;
    static constexpr LONG kQuarter = kLanes / 4;

    /// A number for each pixel: that of pixel 4 * i + k stands at `of[k][i]`, so that bytes become words by shifts.
    struct tLanes {
        tValues of[4]{};
    };

    static KWINLINE void SetLane(tLanes& lanes, LONG lane, std::int32_t value) { lanes.of[lane % 4][lane / 4] = value; }
    static KWINLINE bool IsAnyLane(const tLanes& tested) {
        const tValues any = tested.of[0] | tested.of[1] | tested.of[2] | tested.of[3];
        return IsAny(any);
    }
    static KWINLINE tValues Smaller(const tValues& a, const tValues& b) { return a < b ? a : b; }
    static KWINLINE tValues Greater(const tValues& a, const tValues& b) { return a > b ? a : b; }

    // Some compilers take comparisons of words apart when their results are more than a choice: masks come from signs.

    /// All ones where a value is below zero.
    static KWINLINE tValues Negative(const tValues& value) { return value >> 31; }
    /// `a` where `mask` is set.
    static KWINLINE tValues Pick(const tValues& mask, const tValues& a, const tValues& b) {
        return (a & mask) | (b & ~mask);
    }

    static KWINLINE tSamples LoadSamples(const std::int8_t* from) {
        tSamples samples;
        std::memcpy(&samples, from, sizeof samples);
        return samples;
    }

    KWINLINE const std::int8_t* Row(LONG y) const { return m_strip.Row(y) + m_first; }

    /// Samples held against levels: how many are below, and how far the next one at or above is.
    struct tHeld {
        tSamples levels;
        tTallies next = ~tTallies{};

        KWINLINE tTallies Count(const std::int8_t* samples) {
            const tSamples s = LoadSamples(samples);
            if constexpr (kFew) {
                const tTallies above = (tTallies)s - (tTallies)levels;
                next = above < next ? above : next;
            }
            return (tTallies)(s < levels); // -1 each
        }
    };

    /// Finds where the band of each pixel begins.
    void FindStarts(LONG up, LONG down) {
        const LONG width = m_strip.source.width, reach = m_strip.area.columns - 1;
        std::int64_t known = -1, start = 0;
        for (LONG i = 0; i < m_pixels; ++i) {
            const LONG x = m_strip.left + m_first + i;
            const std::int64_t total = m_strip.area.Total(std::min(x, reach), std::min(width - 1 - x, reach), up, down);
            if (total != known) start = BandStart(known = total, m_strip.q);
            SetLane(m_startCells, i, static_cast<std::int32_t>(start >> 14));
            SetLane(m_startRest, i, static_cast<std::int32_t>(start & (kOne - 1)));
            SetLane(m_band, i, static_cast<std::int32_t>(std::min<std::int64_t>(kOne, total - start)));
        }
    }

    /// Samples of the rim below the levels, as whole cells and a rest below a cell.
    KWINLINE void WeighRim(tHeld& held, tLanes& cells, tLanes& rest) {
        constexpr LONG kMost = UINT16_MAX / (4 << kHalfBits); // cells that a sum can take
        tSums high[2]{}, low[2]{};
        LONG taken = 0;
        const auto flush = [&]() KWINLINE {
            for (int k = 0; k < 4; ++k) {
                const int shift = k / 2 * 16;
                const tValues highs = reinterpret_cast<tValues>(high[k % 2]) >> shift & UINT16_MAX;
                const tValues lows = reinterpret_cast<tValues>(low[k % 2]) >> shift & UINT16_MAX;
                const tValues sum = (highs << kHalfBits) + lows + rest.of[k];
                cells.of[k] += sum >> 14;
                rest.of[k] = sum & (kOne - 1);
            }
            for (int k = 0; k < 2; ++k) high[k] = low[k] = tSums{};
            taken = 0;
        };
        const tEllipse& area = m_strip.area;
        const std::int8_t* const none = Row(-1);
        for (LONG dy = 0; dy < area.rows; ++dy) {
            const tRimCell* cell = area.rim.data() + area.starts[static_cast<std::size_t>(dy)];
            const tRimCell* const end = area.rim.data() + area.starts[static_cast<std::size_t>(dy) + 1];
            const std::int8_t *up = Row(m_y - dy), *down = dy ? Row(m_y + dy) : none;
            if (up == none && down == none) continue;
            for (; cell != end; ++cell) {
                const std::ptrdiff_t dx = cell->dx;
                tTallies count = held.Count(up + dx) + held.Count(down + dx);
                if (dx) count += held.Count(up - dx) + held.Count(down - dx);
                const tSums counts = reinterpret_cast<tSums>(-count), even = counts & 255, odd = counts >> 8;
                high[0] += even * cell->high;
                high[1] += odd * cell->high;
                low[0] += even * cell->low;
                low[1] += odd * cell->low;
                if (++taken == kMost) flush();
            }
        }
        flush();
    }

    /// The samples of full weight below the levels, which a byte counts.
    KWINLINE void CountFew(tHeld& held, tLanes& cells) {
        tTallies count{};
        for (LONG dy = 1 - m_strip.area.fullRows; dy < m_strip.area.fullRows; ++dy) {
            const std::int8_t* row = Row(m_y + dy);
            const LONG reach = m_strip.area.widths[static_cast<std::size_t>(std::abs(dy))] - 1;
            for (LONG dx = -reach; dx <= reach; ++dx) count -= held.Count(row + dx);
        }
        for (int k = 0; k < 4; ++k) cells.of[k] = reinterpret_cast<tValues>(count) >> 8 * k & 255;
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

    /// Counts the samples of full weight below two levels.
    KWINLINE void CountMany(const std::int32_t (&levels)[2]) {
        constexpr LONG kMost = INT8_MAX; // rows that a byte's difference can take
        const tSamples zeros{}, a = zeros + static_cast<std::int8_t>(levels[0] - 128),
                                b = zeros + static_cast<std::int8_t>(levels[1] - 128);
        tLanes sums[2]{};
        const LONG reach = m_strip.area.fullRows - 1, top = std::max(-reach, -m_y),
                   bottom = std::min(reach, m_strip.source.height - 1 - m_y);
        for (LONG from = top; from <= bottom; from += kMost) {
            tSamples changes[2]{};
            for (LONG dy = from; dy <= std::min(bottom, from + kMost - 1); ++dy) {
                const LONG width = m_strip.area.widths[static_cast<std::size_t>(std::abs(dy))];
                const std::int8_t* row = Row(m_y + dy);
                const tSamples in = LoadSamples(row + width - 1), out = LoadSamples(row - width);
                changes[0] += (out < a) - (in < a);
                changes[1] += (out < b) - (in < b);
            }
            for (int i = 0; i < 2; ++i)
                for (int k = 0; k < 4; ++k)
                    sums[i].of[k] += reinterpret_cast<tValues>(changes[i]) << (24 - 8 * k) >> 24;
        }
        for (int i = 0; i < 2; ++i) {
            tValues(&parts)[4] = sums[i].of;
            parts[0][0] = m_firstCount.below[static_cast<std::size_t>(levels[i])];
            tValues all = parts[0] + parts[1] + parts[2] + parts[3];
            AddUp(all);
            tLanes counts;
            for (int k = 3; k >= 0; --k) {
                counts.of[k] = all;
                all -= parts[k];
            }
            std::memcpy(m_strip.counts + std::ptrdiff_t{levels[i]} * kLanes, &counts, sizeof counts);
        }
    }

    /// The same for all levels that open pixels want.
    KWINLINE void CountMany(const tLanes& wanted, const tLanes& open, tLanes& cells) {
        std::int32_t level[kLanes], isOpen[kLanes], missing[2], counts[kLanes];
        std::memcpy(level, &wanted, sizeof level);
        std::memcpy(isOpen, &open, sizeof isOpen);
        int count = 0;
        for (LONG i = 0; i <= kLanes; ++i) {
            if (i < kLanes) {
                LONG& counted = m_counted[static_cast<std::size_t>(level[i])];
                if (!isOpen[i] || counted == m_y) continue;
                counted = m_y;
                missing[count++] = level[i];
            } else if (count == 1) {
                missing[count++] = missing[0];
            }
            if (count < 2) continue;
            CountMany(missing);
            count = 0;
        }
        for (LONG i = 0; i < kLanes; ++i) counts[i] = m_strip.counts[std::ptrdiff_t{level[i]} * kLanes + i];
        std::memcpy(&cells, counts, sizeof counts);
    }

    /// The weight of samples below `levels`, less where the band begins, for pixels that are open; and how far above
    /// the next sample is, where few are counted.
    KWINLINE tLanes WeightInBand(const tLanes& levels, const tLanes& open, tLanes& next) {
        const tValues bytes = levels.of[0] | levels.of[1] << 8 | levels.of[2] << 16 | levels.of[3] << 24;
        tHeld held{reinterpret_cast<tSamples>(reinterpret_cast<tTallies>(bytes) ^ 128)};
        tLanes cells, rest, result;
        if constexpr (kFew) {
            CountFew(held, cells);
        } else {
            CountMany(levels, open, cells);
        }
        WeighRim(held, cells, rest);
        for (int k = 0; k < 4; ++k) {
            const tValues far = tValues{} + 65536, over = cells.of[k] - m_startCells.of[k];
            result.of[k] = (Smaller(Greater(over, -far), far - 1) << 14) + rest.of[k] - m_startRest.of[k];
            if constexpr (kFew) next.of[k] = reinterpret_cast<tValues>(held.next) >> 8 * k & 255;
        }
        return result;
    }

    /// The mean value of each pixel's band, in units of 1 / kOne.
    ///
    /// With c(t) the part of the band below a level t, and c that of the whole band, the sum over
    /// v * (c(v + 1) - c(v)) is that over c - c(t) for t from 1 to 255.
    KWINLINE tLanes BandSums() {
        tLanes low, over, at, open = m_inside, sum, rest, step, next;
        tLanes high; // none of the band is below `low`, and some below `high`
        for (int k = 0; k < 4; ++k) {
            at.of[k] = Smaller(m_levels.of[k], tValues{} + (kLevels - 1));
            high.of[k] = 1 - (m_inside.of[k] & -(kLevels - 1));
        }
        bool isFound = false;
        for (LONG stride = 1;; stride = std::min<LONG>(stride * 2, kLevels)) {
            if (!isFound && !IsAnyLane(open)) {
                isFound = true;
                m_levels = high;
                for (int k = 0; k < 4; ++k) {
                    rest.of[k] = Greater(m_band.of[k] - over.of[k], tValues{});
                    const tValues isLevel = Negative(high.of[k] - kLevels);
                    sum.of[k] = (high.of[k] - 1) * m_band.of[k] + (rest.of[k] & isLevel);
                    open.of[k] = m_inside.of[k] & isLevel;
                }
            }
            if (isFound) {
                for (int k = 0; k < 4; ++k) {
                    if constexpr (kFew) { // no sample is between
                        const tValues same = Smaller(step.of[k], kLevels - 1 - high.of[k]) & open.of[k];
                        sum.of[k] += same * rest.of[k];
                        high.of[k] += same;
                    }
                    open.of[k] &= Negative(-rest.of[k]) & Negative(high.of[k] - (kLevels - 1));
                    at.of[k] = Pick(open.of[k], high.of[k] + (kFew ? tValues{} + 1 : step.of[k]), at.of[k]);
                }
                if (!IsAnyLane(open)) return sum;
            }
            const tLanes weight = WeightInBand(at, open, next);
            for (int k = 0; k < 4; ++k) {
                if (!isFound) {
                    const tValues above = open.of[k] & Negative(-weight.of[k]), below = open.of[k] & ~above;
                    high.of[k] = Pick(above, at.of[k], high.of[k]);
                    over.of[k] = Pick(above, weight.of[k], over.of[k]);
                    step.of[k] = kFew ? Pick(above, next.of[k], step.of[k]) : tValues{} + 1;
                    low.of[k] = Pick(below, at.of[k], low.of[k]);
                    open.of[k] = Negative(low.of[k] - high.of[k] + 1);
                    // From the guess on in growing steps until there is one of each.
                    const tValues isLow = Negative(-low.of[k]), isHigh = Negative(high.of[k] - kLevels);
                    const tValues middle = (low.of[k] + high.of[k]) >> 1;
                    const tValues up = Smaller(middle, low.of[k] + stride), down = Greater(middle, high.of[k] - stride);
                    at.of[k] = Pick(open.of[k], Pick(isLow, Pick(isHigh, middle, up), down), at.of[k]);
                } else {
                    const tValues left = Greater(m_band.of[k] - weight.of[k], tValues{});
                    if constexpr (kFew) {
                        rest.of[k] = Pick(open.of[k], left, rest.of[k]);
                        sum.of[k] += left & open.of[k];
                        high.of[k] -= open.of[k];
                        step.of[k] = next.of[k];
                    } else { // as far as the weight stays the same, in growing steps, or one level
                        const tValues same = Negative((left ^ rest.of[k]) - 1), isOne = Negative(step.of[k] - 2);
                        const tValues forward = open.of[k] & (same | isOne);
                        sum.of[k] += step.of[k] * left & forward;
                        rest.of[k] = Pick(forward, left, rest.of[k]);
                        high.of[k] = Pick(forward, at.of[k], high.of[k]);
                        step.of[k] = Pick(same, step.of[k] << 1, step.of[k] >> 1);
                        step.of[k] = Greater(Smaller(step.of[k], kLevels - 1 - high.of[k]), tValues{} + 1);
                    }
                }
            }
        }
    }

    const tStrip& m_strip;
    const LONG m_first, m_pixels;
    LONG m_y = 0;
    tLanes m_inside;                  ///< all ones for pixels of the picture
    tLanes m_startCells, m_startRest; ///< where the band begins
    tLanes m_band;                    ///< its weight: that of a cell, or less at the end of all
    tLanes m_levels;                  ///< the lowest in the row before that had a part of the band below it
    tPixelCount m_firstCount;
    std::array<LONG, kLevels> m_counted; ///< the row that the counts of a level are those of
};

template <LONG kLanes, bool kFew>
KWINLINE inline void FilterGroups(const tStrip& strip) {
    FillStrip(strip);
    for (LONG first = 0; first < kStripPixels; first += kLanes) CGroup<kLanes, kFew>(strip, first).Run();
}

template <bool kFew>
constexpr CKwBodies kFilterStrip(KwWidths<FilterGroups<16, kFew>, FilterGroups<32, kFew>, FilterGroups<64, kFew>>);

} // namespace

void FilterEllipse(const tRowPair& pair, const tAREATABLE& area, LONG q, std::span<const LONG> channels) {
    const tEllipse ellipse(area);
    const bool few = ellipse.cells <= kFewCells;
    const auto filter = (few ? kFilterStrip<true> : kFilterStrip<false>).Now();
    const tStrip whole{ellipse, pair.source, pair.destination, 0, 0, q, nullptr, nullptr};
    const std::size_t samples =
        static_cast<std::size_t>(whole.Stride()) * (static_cast<std::size_t>(pair.source.height) + 1);
    const std::size_t counts = few ? 0 : kLevels * kStripPixels;
    const auto memory = std::make_unique_for_overwrite<std::int8_t[]>(KwRanges() * samples);
    const auto countMemory = std::make_unique<std::int32_t[]>(KwRanges() * counts);
    const LONG strips = (pair.source.width - 1) / kStripPixels + 1;
    const auto count = static_cast<LONG>(channels.size());
    KwForRanges(count * strips, [&](LONG from, LONG to, std::size_t range) {
        tStrip strip = whole;
        strip.memory = memory.get() + range * samples;
        strip.counts = countMemory.get() + range * counts;
        for (LONG i = from; i < to; ++i) {
            strip.channel = channels[static_cast<std::size_t>(i % count)];
            strip.left = i / count * kStripPixels;
            filter(strip);
        }
    });
}

} // namespace kw_median
