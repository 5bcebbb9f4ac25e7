// The percentile filter over a rectangle.
#include <array>
#include <cstring>
#include <memory>

#include "kernels/median_counts.h"
#include "kernels/ranges.h"

namespace kw_median {
namespace {

// Each column of the picture keeps counts of the samples that the area covers there, moved down row by row. Along a row
// the area's counts in 16 coarse bins follow by adding the column that enters and taking off the one that leaves; the
// 16 fine bins of a coarse one are brought up to date only when the band lies in it. (S. Perreault, P. Hebert, "Median
// Filtering in Constant Time", 2007.) Neighbours have their bands in much the same bin, so coarse counts are in turn
// brought up to date only where a band leaves it. All counts are integers, so nothing drifts; weights come in when a
// band is looked for.

constexpr LONG kStripColumns = 640; ///< keeps the columns of a strip in the second-level cache

/// What a sample of v adds to sixteen counts.
constexpr std::size_t kNone = 0, kFullIn = 1, kFullOut = 2, kTallIn = 3, kTallOut = 4;
template <class Form>
constexpr auto kChange = [] {
    using tLane = typename Form::tLane;
    std::array<std::array<std::array<tLane, kCoarse>, kCoarse>, 5> table{};
    for (std::size_t v = 0; v < kCoarse; ++v)
        for (std::size_t i = v; i < kCoarse; ++i) {
            table[kFullIn][v][i] = 1;
            table[kFullOut][v][i] = static_cast<tLane>(-1);
            table[kTallIn][v][i] = static_cast<tLane>(tLane{1} << Form::kHalf);
            table[kTallOut][v][i] = static_cast<tLane>(~Form::kLow);
        }
    return table;
}();

/// Moves the counts of columns `left` to `right` down to row `y`.
template <class Form, bool Rims>
KWINLINE inline void MoveColumns(const tRectPass& pass, typename Form::tLane* columns, LONG left, LONG right,
                                 std::int64_t y) {
    constexpr std::size_t rowCount = Rims ? 4 : 2;
    const std::int64_t rows[4] = {y + pass.fullY - 1, y - pass.fullY, y + pass.fullY, y - pass.fullY - 1};
    const std::array<typename Form::tLane, kCoarse>* changes[4];
    const std::uint8_t* samples[4];
    for (std::size_t i = 0; i < rowCount; ++i) {
        const bool inside = rows[i] >= 0 && rows[i] < pass.source.height;
        changes[i] = kChange<Form>[inside ? kFullIn + i : kNone].data();
        samples[i] = pass.source.Row<std::uint8_t>(inside ? static_cast<LONG>(rows[i]) : 0) + pass.channel;
    }
    typename Form::tLane* column = columns;
    for (std::ptrdiff_t x = std::ptrdiff_t{left} * 4; x < std::ptrdiff_t{right} * 4; x += 4, column += kColumnLanes) {
        typename Form::tLanes counts, change;
        std::memcpy(&counts, column, sizeof counts);
        for (std::size_t i = 0; i < rowCount; ++i) {
            std::memcpy(&change, changes[i][samples[i][x] >> 4].data(), sizeof change);
            counts += change;
        }
        std::memcpy(column, &counts, sizeof counts);
        for (std::size_t i = 0; i < rowCount; ++i) {
            typename Form::tLane* fine = column + kCoarse + (samples[i][x] & 0xF0);
            std::memcpy(&counts, fine, sizeof counts);
            std::memcpy(&change, changes[i][samples[i][x] & 15].data(), sizeof change);
            counts += change;
            std::memcpy(fine, &counts, sizeof counts);
        }
    }
}

/// Where the band of each pixel of a row begins. `rows`: how many rows of full weight lie in the picture; `rims`: of
/// the two others.
template <class Weight>
void FindStarts(const tRectPass& pass, LONG left, LONG right, LONG rows, LONG rims, Weight* starts) {
    const LONG width = pass.source.width, fullX = pass.fullX;
    const std::int64_t inner = std::int64_t{rows} * kOne + std::int64_t{rims} * pass.rimY;
    const std::int64_t side = std::int64_t{rows} * pass.rimX + std::int64_t{rims} * pass.corner;
    for (LONG x = left; x < right; ++x) {
        const std::int64_t inside = std::min<std::int64_t>(std::int64_t{x} + fullX, width) -
                                    std::max<std::int64_t>(std::int64_t{x} - fullX + 1, 0);
        const std::int64_t sides = (std::int64_t{x} + fullX < width) + (x - fullX >= 0);
        starts[x - left] = static_cast<Weight>(BandStart(inside * inner + sides * side, pass.q));
    }
}

/// A strip's columns in memory; those beside it are one column of zeros.
template <class Lane>
struct tColumns {
    const Lane* zeros;
    std::int64_t first, count;

    KWINLINE const Lane* operator()(std::int64_t x) const {
        return zeros + (x >= first && x - first < count ? x - first + 1 : 0) * kColumnLanes;
    }
};

/// A row of a strip.
template <class Form, bool Rims>
class CRow {
  public:
    using tLane = typename Form::tLane;
    using tWeight = typename Form::tWeight;

    KWINLINE CRow(const tRectPass& pass, const tColumns<tLane>& column, const tWeight* starts, LONG left, LONG right,
                  std::uint8_t* to)
        : m_pass(pass), m_factors(pass), m_column(column), m_starts(starts), m_left(left), m_right(right), m_to(to) {}

    KWINLINE void Run() {
        LONG lastBin = kCoarse; // none
        for (m_x = m_left; m_x < m_right;) {
            m_coarse.BringUp(*this, 0);
            const std::int32_t sum = Sum();
            Write(sum);
            const LONG bin = sum / (kCoarse * kOne);
            if (bin == lastBin && m_fine[bin].at == m_x)
                WalkBin(bin);
            else
                ++m_x;
            lastBin = bin;
        }
    }

  private:
    /// The area's sixteen counts over the pixel `at`.
    struct tKnown {
        tCounts<Form> counts;
        std::int64_t at = INT32_MIN;

        /// Brings them up to the row's pixel.
        KWINLINE void BringUp(const CRow& row, std::ptrdiff_t offset) {
            const LONG fullX = row.m_pass.fullX;
            const tColumns<tLane>& column = row.m_column;
            if (row.m_x - at > fullX) {
                counts = {};
                const std::int64_t end = std::min(row.m_x + fullX, column.first + column.count);
                for (std::int64_t i = std::max(row.m_x - fullX + 1, column.first); i < end; ++i)
                    counts.template Move<Rims>(column(i) + offset, column.zeros);
            } else {
                for (std::int64_t i = at + 1; i <= row.m_x; ++i)
                    counts.template Move<Rims>(column(i + fullX - 1) + offset, column(i - fullX) + offset);
            }
            at = row.m_x;
        }
    };

    static KWINLINE std::ptrdiff_t FineOffset(LONG bin) { return kCoarse + std::ptrdiff_t{bin} * kCoarse; }
    KWINLINE const tCounts<Form>& Fine(LONG bin) {
        m_fine[bin].BringUp(*this, FineOffset(bin));
        return m_fine[bin].counts;
    }
    KWINLINE tWeights<Form> Weights(const tCounts<Form>& counts, std::ptrdiff_t offset) const {
        return {m_factors, counts, m_column(m_x - m_pass.fullX) + offset, m_column(m_x + m_pass.fullX) + offset};
    }
    KWINLINE void Write(std::int32_t sum) const { m_to[m_x * 4] = static_cast<std::uint8_t>((sum + kOne / 2) / kOne); }

    /// The mean value, in units of 1 / kOne, of the band of the row's pixel, whose coarse counts are known.
    KWINLINE std::int32_t Sum() {
        if constexpr (Rims) {
            return BandSum(m_starts[m_x - m_left]);
        } else {
            return SampleSum(m_starts[m_x - m_left]);
        }
    }

    KWINLINE std::int32_t BandSum(tWeight low) {
        const auto weights = Weights(m_coarse.counts, 0);
        const auto upTo = weights.All();
        const tWeight high = low + kOne;
        LONG bin = std::min(weights.UpTo(low), kCoarse - 1);
        tWeight below = bin ? upTo[static_cast<std::size_t>(bin - 1)] : 0;
        std::int32_t sum = 0;
        for (bool more = high > 0; more; ++bin) {
            // The band's share of level i is c(i) - c(i - 1), c being the weight up to it limited to the band: the sum
            // over i * (c(i) - c(i - 1)) takes one sum over c.
            const tWeight base = below - low;
            const tLimited covered = Weights(Fine(bin), FineOffset(bin)).Limited(base);
            below = upTo[static_cast<std::size_t>(bin)];
            const auto start = static_cast<std::int32_t>(std::clamp<tWeight>(base, 0, kOne));
            const auto stop = static_cast<std::int32_t>(std::clamp<tWeight>(below - low, 0, kOne));
            sum += (bin + 1) * kCoarse * stop - bin * kCoarse * start - covered.sum;
            more = bin < kCoarse - 1 && below < high;
        }
        return sum;
    }

    /// `BandSum` where all cells have full weight: the band is a part of one sample, and the rest of it of the next
    /// greater.
    KWINLINE std::int32_t SampleSum(std::int32_t low) {
        const std::int32_t part = low & (kOne - 1);
        const auto rank = static_cast<std::uint16_t>((low >> 14) + 1); // samples up to the first, itself included
        std::uint16_t stored[kCoarse];
        std::memcpy(stored, &m_coarse.counts.full, sizeof stored);
        const std::uint32_t bins = Ranks(m_coarse.counts, rank);
        const LONG first = static_cast<LONG>(bins & 255), next = static_cast<LONG>(bins >> 8);
        const std::uint32_t levels =
            Ranks(Fine(first), static_cast<std::uint16_t>(rank - (first ? stored[first - 1] : 0)));
        std::int32_t nextLevel = first * kCoarse + static_cast<std::int32_t>(levels >> 8);
        if (next != first) // none is left beyond the last bin
            nextLevel = next == kCoarse || part == 0
                            ? 0
                            : next * kCoarse + static_cast<std::int32_t>(Ranks(Fine(next), 0) >> 8);
        return (first * kCoarse + static_cast<std::int32_t>(levels & 255)) * (kOne - part) + nextLevel * part;
    }

    /// Goes on from a pixel whose band, or the end of it, lies in the coarse bin `bin`, and writes the next ones as
    /// long as the whole of theirs does. Only the bin's own counts and those below it are kept up to date.
    KWINLINE void WalkBin(LONG bin) {
        const tColumns<tLane>& column = m_column;
        const tFactors<Form> by = m_factors;
        const LONG fullX = m_pass.fullX, lower = std::max(bin - 1, 0);
        const tLane some = bin > 0 ? static_cast<tLane>(-1) : tLane{0};
        const auto full = [&](const tLane* lanes)
                              KWINLINE { return static_cast<tWeight>(lanes[lower] & some & Form::kLow); };
        const auto tall = [&](const tLane* lanes)
                              KWINLINE { return static_cast<tWeight>((lanes[lower] & some) >> Form::kHalf); };
        tLane coarse[2][kCoarse];
        std::memcpy(coarse, &m_coarse.counts, sizeof coarse);
        tWeight belowFull = static_cast<tWeight>(coarse[0][lower] & some),
                belowTall = static_cast<tWeight>(coarse[1][lower] & some);
        tCounts<Form> counts = m_fine[bin].counts;
        const std::ptrdiff_t offset = FineOffset(bin);
        while (++m_x < m_right) {
            const tLane *const before = column(m_x - fullX), *const entering = column(m_x + fullX - 1);
            counts.template Move<Rims>(entering + offset, before + offset);
            belowFull += full(entering) - full(before);
            const tWeight low = m_starts[m_x - m_left];
            if constexpr (Rims) {
                belowTall += tall(entering) - tall(before);
                const tLane* const behind = column(m_x + fullX);
                const tWeight base = belowFull * by.full + belowTall * by.tall +
                                     (full(before) + full(behind)) * by.fullSide +
                                     (tall(before) + tall(behind)) * by.tallSide - low;
                if (base > 0) break;
                const tLimited covered = tWeights<Form>(by, counts, before + offset, behind + offset).Limited(base);
                if (covered.last < kOne) break;
                Write((bin + 1) * kCoarse * kOne - covered.sum);
            } else {
                const std::int32_t part = low & (kOne - 1), rank = (low >> 14) + 1 - belowFull;
                const std::uint32_t levels = Ranks(counts, static_cast<std::uint16_t>(rank));
                const auto first = static_cast<std::int32_t>(levels & 255),
                           next = static_cast<std::int32_t>(levels >> 8);
                if (rank <= 0 || next == kCoarse) break;
                Write((bin * kCoarse + first) * kOne + (next - first) * part);
            }
        }
        m_fine[bin] = {counts, m_x};
    }

    const tRectPass& m_pass;
    const tFactors<Form> m_factors;
    const tColumns<tLane> m_column;
    const tWeight* const m_starts; ///< where the bands begin, from the strip's left edge on
    const LONG m_left, m_right;
    std::uint8_t* const m_to; ///< the picture's row
    std::int64_t m_x = 0;
    tKnown m_coarse;
    tKnown m_fine[kCoarse]; ///< of each coarse bin
};

/// The strip `left` to `right` of the destination. `memory` takes a column of zeros and then those of the strip and
/// as much beside it as the area reaches; `starts` one band start per pixel.
template <class Form, bool Rims>
KWINLINE inline void FilterStrip(const tRectPass& pass, LONG left, LONG right, typename Form::tLane* memory,
                                 typename Form::tWeight* starts) {
    const LONG width = pass.source.width, height = pass.source.height;
    const LONG fullX = pass.fullX, fullY = pass.fullY;
    const LONG first = static_cast<LONG>(std::max<std::int64_t>(std::int64_t{left} - fullX, 0));
    const LONG last = static_cast<LONG>(std::min<std::int64_t>(std::int64_t{right} + fullX, width));
    typename Form::tLane* const columns = memory + kColumnLanes;
    std::fill_n(memory, (std::ptrdiff_t{last} - first + 1) * kColumnLanes, typename Form::tLane{0});
    const tColumns<typename Form::tLane> column{memory, first, last - first};

    for (std::int64_t y = -std::int64_t{fullY}; y < 0; ++y) MoveColumns<Form, Rims>(pass, columns, first, last, y);
    LONG knownRows = -1, knownRims = -1;
    for (LONG y = 0; y < height; ++y) {
        MoveColumns<Form, Rims>(pass, columns, first, last, y);

        // Totals change only where the area is clipped.
        const LONG rows = static_cast<LONG>(std::min<std::int64_t>(std::int64_t{y} + fullY, height) -
                                            std::max<std::int64_t>(std::int64_t{y} - fullY + 1, 0));
        const LONG rims = (std::int64_t{y} + fullY < height) + (y - fullY >= 0);
        if (rows != knownRows || rims != knownRims) {
            knownRows = rows;
            knownRims = rims;
            FindStarts(pass, left, right, rows, rims, starts);
        }
        std::uint8_t* const to = pass.destination.Row<std::uint8_t>(y) + pass.channel;
        CRow<Form, Rims>(pass, column, starts, left, right, to).Run();
    }
}

KWINLINE inline void FilterSmall(const tRectPass& pass, LONG left, LONG right, std::uint16_t* memory,
                                 std::int32_t* starts) {
    FilterStrip<tSmall, true>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterSmall(KwClones<FilterSmall>);
template <std::size_t kPartBytes>
KWINLINE inline void FilterSmallWhole(const tRectPass& pass, LONG left, LONG right, std::uint16_t* memory,
                                      std::int32_t* starts) {
    FilterStrip<tForm<std::uint16_t, std::int32_t, kPartBytes>, false>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterSmallWhole(KwWidths<FilterSmallWhole<16>, FilterSmallWhole<32>, FilterSmallWhole<32>>);
KWINLINE inline void FilterMiddle(const tRectPass& pass, LONG left, LONG right, std::uint32_t* memory,
                                  std::int32_t* starts) {
    FilterStrip<tMiddle, true>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterMiddle(KwClones<FilterMiddle>);
KWINLINE inline void FilterLarge(const tRectPass& pass, LONG left, LONG right, std::uint64_t* memory,
                                 std::int64_t* starts) {
    FilterStrip<tLarge, true>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterLarge(KwClones<FilterLarge>);

template <class Lane, class Weight>
void FilterStrips(const tRectPass& pass, std::span<const LONG> channels,
                  void (*strip)(const tRectPass&, LONG, LONG, Lane*, Weight*)) {
    const LONG width = pass.source.width;
    const LONG step = std::min(width, std::max(kStripColumns, std::min(width, pass.fullX) * 2));
    const auto columns = std::min<std::int64_t>(std::int64_t{step} + 2 * std::int64_t{pass.fullX}, width) + 1;
    const std::size_t lanes = static_cast<std::size_t>(columns) * static_cast<std::size_t>(kColumnLanes);
    const std::size_t startCount = static_cast<std::size_t>(step);
    const auto memory = std::make_unique_for_overwrite<Lane[]>(KwRanges() * lanes);
    const auto starts = std::make_unique_for_overwrite<Weight[]>(KwRanges() * startCount);
    const LONG strips = static_cast<LONG>((std::int64_t{width} + step - 1) / step);
    KwForRanges(static_cast<LONG>(channels.size()) * strips, [&](LONG from, LONG to, std::size_t range) {
        tRectPass one = pass;
        for (LONG i = from; i < to; ++i) {
            one.channel = channels[static_cast<std::size_t>(i / strips)];
            const std::int64_t left = std::int64_t{i % strips} * step;
            strip(one, static_cast<LONG>(left), static_cast<LONG>(std::min<std::int64_t>(left + step, width)),
                  memory.get() + range * lanes, starts.get() + range * startCount);
        }
    });
}

} // namespace

void FilterRect(const tRowPair& pair, const tAREATABLE& area, LONG q, std::span<const LONG> channels) {
    const LONG fullX = area.FullColumns(0), fullY = area.FullRows();
    const auto weight = [&](LONG dx, LONG dy) { return FixedWeight(area.Weight(dx, dy)); };
    const tRectPass pass{pair.source,      pair.destination,     0, fullX, fullY, weight(fullX, 0),
                         weight(0, fullY), weight(fullX, fullY), q};
    // What the area meets of the picture bounds the counts.
    const std::int64_t rows = std::min<std::int64_t>(2 * std::int64_t{fullY} + 1, pair.source.height);
    const std::int64_t cells = rows * std::min<std::int64_t>(2 * std::int64_t{fullX} + 1, pair.source.width);
    if (cells >= INT32_MAX / kOne || rows > UINT16_MAX)
        FilterStrips(pass, channels, kFilterLarge.Now());
    else if (cells > UINT16_MAX || rows > UINT8_MAX)
        FilterStrips(pass, channels, kFilterMiddle.Now());
    else
        FilterStrips(pass, channels, (pass.rimX || pass.rimY ? kFilterSmall : kFilterSmallWhole).Now());
}

} // namespace kw_median
