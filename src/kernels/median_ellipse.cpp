// The percentile filter over an ellipse, or over a small rectangle.
//
// Neighbouring pixels of a row, one channel of them, are worked on at once: as many as a vector has bytes. The weight
// of the samples below a level is wanted for each of them at a level of its own: a few levels near the percentile tell
// the band. Of these samples
// - those on the rim are held against the pixels' levels one cell after the other. The two to four cells of one weight
//   are counted first, and the count is multiplied by halves of the weight, so that 16 bits hold the sums;
// - those of full weight are counted so as well where they are few. Where they are many, a count for all pixels at one
//   common level takes only the ends of the area's rows (see `CLevelCounts`). Neighbours want much the same levels, and
//   those that nobody wants are not counted.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "base/bodies.h"
#include "kernels/median_levels.h"
#include "kernels/ranges.h"
#include "kernels/row.h"

namespace kw_median {
namespace {

constexpr LONG kFewCells = 255; ///< of full weight: as many as a byte counts

/// Pixels from `first` on, as many as a vector has bytes.
template <LONG kLanes, bool kFew>
class CGroup {
  public:
    KWINLINE CGroup(const tStrip& strip, LONG first)
        : m_strip(strip), m_first(first),
          m_pixels(std::clamp<LONG>(strip.source.width - strip.left - first, 0, kLanes)), m_levelCounts(strip, first) {
        for (LONG i = 0; i < m_pixels; ++i) SetLane(m_inside, i, -1);
        for (tValues& part : m_levels.of) part += kLevels / 2;
    }

    KWINLINE void Run() {
        const LONG height = m_strip.source.height, reach = m_strip.area.rows - 1;
        LONG knownUp = -1, knownDown = -1;
        for (m_y = 0; m_y < height; ++m_y) {
            if constexpr (!kFew) m_levelCounts.Move(m_y);
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
        return KwIsAny(any);
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

    /// The same where there are many.
    KWINLINE void CountMany(const tLanes& wanted, tLanes& cells) {
        std::int32_t levels[kLanes], counts[kLanes];
        std::memcpy(levels, &wanted, sizeof levels);
        for (LONG i = 0; i < kLanes; ++i) counts[i] = m_levelCounts.Count(levels[i], i);
        std::memcpy(&cells, counts, sizeof counts);
    }

    /// The weight of samples below `levels`, less where the band begins, for pixels that are open; and how far above
    /// the next sample is, where few are counted.
    KWINLINE tLanes WeightInBand(const tLanes& levels, tLanes& next) {
        const tValues bytes = levels.of[0] | levels.of[1] << 8 | levels.of[2] << 16 | levels.of[3] << 24;
        tHeld held{reinterpret_cast<tSamples>(reinterpret_cast<tTallies>(bytes) ^ 128)};
        tLanes cells, rest, result;
        if constexpr (kFew) {
            CountFew(held, cells);
        } else {
            CountMany(levels, cells);
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
        if constexpr (kFew) {
            return SumsOfFew();
        } else {
            return SumsOfMany();
        }
    }

    /// From the guess on in growing steps, until there is one level of each kind.
    static KWINLINE tValues NextGuess(const tValues& low, const tValues& high, LONG stride) {
        const tValues isLow = Negative(-low), isHigh = Negative(high - kLevels), middle = (low + high) >> 1;
        const tValues up = Smaller(middle, low + stride), down = Greater(middle, high - stride);
        return Pick(isLow, Pick(isHigh, middle, up), down);
    }

    /// Rounds cost little here: all pixels seek the first level that has some of the band below it, and then all walk
    /// on from there.
    KWINLINE tLanes SumsOfFew() {
        tLanes low, over, at, open = m_inside, sum, rest, step, next;
        tLanes high; // none of the band is below `low`, and some below `high`
        for (int k = 0; k < 4; ++k) {
            at.of[k] = Smaller(m_levels.of[k], tValues{} + (kLevels - 1));
            high.of[k] = 1 - (m_inside.of[k] & -(kLevels - 1));
        }
        for (LONG stride = 1; IsAnyLane(open); stride = std::min<LONG>(stride * 2, kLevels)) {
            const tLanes weight = WeightInBand(at, next);
            for (int k = 0; k < 4; ++k) {
                const tValues above = open.of[k] & Negative(-weight.of[k]), below = open.of[k] & ~above;
                high.of[k] = Pick(above, at.of[k], high.of[k]);
                over.of[k] = Pick(above, weight.of[k], over.of[k]);
                step.of[k] = Pick(above, next.of[k], step.of[k]);
                low.of[k] = Pick(below, at.of[k], low.of[k]);
                open.of[k] = Negative(low.of[k] - high.of[k] + 1);
                at.of[k] = Pick(open.of[k], NextGuess(low.of[k], high.of[k], stride), at.of[k]);
            }
        }
        m_levels = high;
        for (int k = 0; k < 4; ++k) {
            rest.of[k] = Greater(m_band.of[k] - over.of[k], tValues{});
            const tValues isLevel = Negative(high.of[k] - kLevels);
            sum.of[k] = (high.of[k] - 1) * m_band.of[k] + (rest.of[k] & isLevel);
            open.of[k] = m_inside.of[k] & isLevel;
        }
        for (;;) {
            for (int k = 0; k < 4; ++k) { // no sample is between
                const tValues same = Smaller(step.of[k], kLevels - 1 - high.of[k]) & open.of[k];
                sum.of[k] += same * rest.of[k];
                high.of[k] += same;
                open.of[k] &= Negative(-rest.of[k]) & Negative(high.of[k] - (kLevels - 1));
                at.of[k] = Pick(open.of[k], high.of[k] + 1, at.of[k]);
            }
            if (!IsAnyLane(open)) return sum;
            const tLanes weight = WeightInBand(at, next);
            for (int k = 0; k < 4; ++k) {
                const tValues left = Greater(m_band.of[k] - weight.of[k], tValues{});
                rest.of[k] = Pick(open.of[k], left, rest.of[k]);
                sum.of[k] += left & open.of[k];
                high.of[k] -= open.of[k];
                step.of[k] = next.of[k];
            }
        }
    }

    /// Rounds are dear: pixels that have found their first level walk on while others seek theirs.
    KWINLINE tLanes SumsOfMany() {
        constexpr LONG kNone = 2 * kLevels; // a level that no step comes near
        tLanes low, over, at, open = m_inside, sum, rest, step, next, limit, beyond;
        tLanes high;         // none of the band is below `low`, and some below `high`
        tLanes walks, isNew; // from the first level on that has some of the band below it
        for (int k = 0; k < 4; ++k) {
            at.of[k] = Smaller(m_levels.of[k], tValues{} + (kLevels - 1));
            high.of[k] = 1 - (m_inside.of[k] & -(kLevels - 1));
            limit.of[k] = tValues{} + kNone;
        }
        for (LONG stride = 1;; stride = std::min<LONG>(stride * 2, kLevels)) {
            const tLanes weight = WeightInBand(at, next);
            for (int k = 0; k < 4; ++k) {
                const tValues seeks = open.of[k] & ~walks.of[k], walking = open.of[k] & walks.of[k];
                const tValues above = seeks & Negative(-weight.of[k]), below = seeks & ~above;
                high.of[k] = Pick(above, at.of[k], high.of[k]);
                over.of[k] = Pick(above, weight.of[k], over.of[k]);
                low.of[k] = Pick(below, at.of[k], low.of[k]);
                at.of[k] = Pick(seeks, NextGuess(low.of[k], high.of[k], stride), at.of[k]);

                const tValues left = Greater(m_band.of[k] - weight.of[k], tValues{});
                // As far as the weight stays the same: in growing steps, and by halves once it does not.
                const tValues same = walking & Negative((left ^ rest.of[k]) - 1), other = walking & ~same;
                sum.of[k] += ((at.of[k] - high.of[k]) & same) * left;
                high.of[k] = Pick(same, at.of[k], high.of[k]);
                step.of[k] = Pick(isNew.of[k], tValues{} + 1, Smaller(step.of[k] << 1, tValues{} + kLevels));
                limit.of[k] = Pick(other, at.of[k], limit.of[k]);
                beyond.of[k] = Pick(other, left, beyond.of[k]);
                const tValues isNext = walking & Negative(limit.of[k] - high.of[k] - 2);
                sum.of[k] += beyond.of[k] & isNext;
                rest.of[k] = Pick(isNext, beyond.of[k], rest.of[k]);
                high.of[k] -= isNext;
                limit.of[k] = Pick(isNext, tValues{} + kNone, limit.of[k]);
                step.of[k] = Pick(isNext, tValues{} + 1, step.of[k]);

                isNew.of[k] = seeks & Negative(high.of[k] - low.of[k] - 2);
                walks.of[k] |= isNew.of[k];
                const tValues isLevel = Negative(high.of[k] - kLevels);
                rest.of[k] = Pick(isNew.of[k], Greater(m_band.of[k] - over.of[k], tValues{}), rest.of[k]);
                const tValues first = (high.of[k] - 1) * m_band.of[k] + (rest.of[k] & isLevel);
                sum.of[k] = Pick(isNew.of[k], first, sum.of[k]);
                m_levels.of[k] = Pick(isNew.of[k], high.of[k], m_levels.of[k]);
                open.of[k] &= ~walks.of[k] | (Negative(-rest.of[k]) & Negative(high.of[k] - (kLevels - 1)));
                const tValues isBetween = Negative(limit.of[k] - kLevels), half = (high.of[k] + limit.of[k]) >> 1;
                const tValues known = Greater(m_ends.of[k] - 1, high.of[k] + 1);
                const tValues onward = Pick(isNew.of[k], known, high.of[k] + step.of[k]);
                const tValues within = Pick(isBetween, half, Smaller(onward, tValues{} + (kLevels - 1)));
                at.of[k] = Pick(open.of[k] & walks.of[k], within, at.of[k]);
            }
            if (!IsAnyLane(open)) {
                m_ends = high;
                return sum;
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
    tLanes m_ends;                    ///< the lowest in the row before that had all of the band below it
    CLevelCounts<kLanes> m_levelCounts;
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
    const tStrip whole{ellipse, pair.source, pair.destination, 0, 0, q, nullptr, nullptr, nullptr};
    const std::size_t samples =
        static_cast<std::size_t>(whole.Stride()) * (static_cast<std::size_t>(pair.source.height) + 1);
    const std::size_t counts = few ? 0 : kLevels * kStripPixels;
    const auto memory = std::make_unique_for_overwrite<std::int8_t[]>(KwRanges() * samples);
    const auto countMemory = std::make_unique<std::int32_t[]>(KwRanges() * counts);
    const std::size_t planes = few ? 0 : whole.PlaneBytes() * whole.Planes();
    const auto planeMemory = std::make_unique_for_overwrite<std::uint8_t[]>(KwRanges() * planes);
    const LONG strips = (pair.source.width - 1) / kStripPixels + 1;
    const auto count = static_cast<LONG>(channels.size());
    KwForRanges(count * strips, [&](LONG from, LONG to, std::size_t range) {
        tStrip strip = whole;
        strip.memory = memory.get() + range * samples;
        strip.counts = countMemory.get() + range * counts;
        strip.planes = planeMemory.get() + range * planes;
        for (LONG i = from; i < to; ++i) {
            strip.channel = channels[static_cast<std::size_t>(i % count)];
            strip.left = i / count * kStripPixels;
            filter(strip);
        }
    });
}

} // namespace kw_median
