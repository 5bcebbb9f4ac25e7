// The minimum and maximum filters over an ellipse.
//
// Along each row the greatest sample within a half width comes from tables of the greatest over powers of two; every
// row of the area takes it at its own half width.
#include "kernels/min_max_rim.h"

namespace kw_min_max {
namespace {

KWINLINE inline void MaxRow(std::uint8_t* __restrict to, const std::uint8_t* __restrict from, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = std::max(to[i], from[i]);
}
constexpr CKwBodies kMaxRow(KwClones<MaxRow>);

/// The two highest values of a block of the rim, `best` not below the greatest of the cells of full weight, and a limit
/// of all others.
template <class Bytes>
struct tTwoValues {
    Bytes best, second, rest, full;
};

/// The means of one cell's weight from the top on, and in which bytes (1) they are in doubt. `weight(n, shift)` is that
/// of a value for every fourth byte; a result at most `near` from a whole number is in doubt.
template <class Bytes, class Weight>
KWINLINE inline Bytes Weigh(const tTwoValues<Bytes>& values, Weight weight, float near, std::uint8_t turn,
                            Bytes& doubts) {
    using tWords = tWordsOf<Bytes>;
    using tFloats = typename tBlock<sizeof(Bytes)>::tFloats;
    const auto& [best, second, rest, full] = values;
    const Bytes firsts = best ^ turn, fulls = full ^ turn;
    // Values at or below the cells of full weight count as theirs.
    const Bytes seconds = KwGreater(second, full) ^ turn, below = KwGreater(rest, full) - full;
    const tFloats none{}, one = none + 1.0f;
    tWords results{}, inDoubt{};
    KWUNROLL
    for (int shift = 0; shift < 32; shift += 8) {
        const tFloats all = weight(0, shift), share = all < one ? all : one, left = one - share;
        const tFloats next = weight(1, shift), nextShare = next < left ? next : left, last = left - nextShare;
        const tFloats value =
            share * Reals(firsts, shift) + nextShare * Reals(seconds, shift) + last * Reals(fulls, shift);
        const tWords isMixed = reinterpret_cast<tWords>(all < one * 1.001f);
        const tWords isOpen = reinterpret_cast<tWords>(last > none);
        const tFloats margin = reinterpret_cast<tFloats>(isMixed & reinterpret_cast<tWords>(none + near));
        const tWords low = reinterpret_cast<tWords>(Wholes(value - margin));
        const tWords high = reinterpret_cast<tWords>(Wholes(value + margin));
        results |= low << shift;
        inDoubt |= ((low ^ high) | (Words(below, shift) & isOpen)) << shift;
    }
    doubts = KwSmaller(reinterpret_cast<Bytes>(inDoubt) & ~Equal(best, full), Bytes{} + 1);
    return best == full ? fulls : reinterpret_cast<Bytes>(results);
}

/// Weighs up the block `at` into `to`. Cells that beat `fullBytes` go to `beating`, which has room for all, and
/// lanes in doubt get a 1; gives the number of these cells. Eight cells are tested at once, as most beat nothing.
template <std::ptrdiff_t kBytes>
KWINLINE inline std::ptrdiff_t WeighBlock(const std::uint8_t* at, const std::uint8_t* fullBytes,
                                          std::span<const tCell> cells, std::uint8_t turn, std::uint8_t* to,
                                          tCell* beating, std::uint8_t* doubts) {
    using Bytes = typename tBlock<kBytes>::tBytes;
    using tWholes = typename tBlock<kBytes>::tWholes;
    using tFloats = typename tBlock<kBytes>::tFloats;
    const tBytes full = KwLoad(fullBytes);
    std::ptrdiff_t count = 0;
    const auto test = [&](std::size_t first, std::size_t number) KWINLINE {
        tBytes best{};
        KWUNROLL
        for (std::size_t i = 0; i < number; ++i) best = KwGreater(best, KwLoad(at + cells[first + i].offset));
        if (!Beats(best, full)) return;
        KWUNROLL
        for (std::size_t i = 0; i < number; ++i) {
            beating[count] = cells[first + i];
            count += Beats(KwLoad(at + cells[first + i].offset), full);
        }
    };
    std::size_t first = 0;
    for (; first + 8 <= cells.size(); first += 8) test(first, 8);
    for (; first < cells.size(); ++first) test(first, 1);
    if (count == 0) {
        const tBytes result = full ^ turn;
        std::memcpy(to, &result, kBlockBytes);
        return 0;
    }
    // Roundings on the way to a sum of 1, and of two values' mean, here and there.
    const float near = 255.0f * 0x1p-24f * static_cast<float>(2 * count + 32);
    for (std::ptrdiff_t half = 0; half < kBlockBytes; half += kBytes) {
        const Bytes fullHalf = KwLoad<Bytes>(fullBytes + half);
        Bytes best = fullHalf, second{}, rest{};
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const Bytes samples = KwLoad<Bytes>(at + half + beating[i].offset);
            second = KwGreater(second, KwSmaller(samples, best) & ~Equal(samples, best));
            best = KwGreater(best, samples);
        }
        tFloats weights[2][4]{};
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const Bytes samples = KwLoad<Bytes>(at + half + beating[i].offset);
            const Bytes isBest = Equal(samples, best), isSecond = Equal(samples, second);
            rest = KwGreater(rest, samples & ~(isBest | isSecond));
            const tWholes weight = reinterpret_cast<tWholes>(tFloats{} + beating[i].weight);
            KWUNROLL
            for (int c = 0; c < 4; ++c) {
                const auto spread = [&](const Bytes& mask) KWINLINE {
                    return reinterpret_cast<tFloats>(
                        reinterpret_cast<tWholes>(reinterpret_cast<tWordsOf<Bytes>>(mask) << (24 - 8 * c)) >> 24 &
                        weight);
                };
                weights[0][c] += spread(isBest);
                weights[1][c] += spread(isSecond);
            }
        }
        const auto weight = [&](int n, int shift) KWINLINE { return weights[n][shift / 8]; };
        Bytes inDoubt;
        const Bytes result = Weigh(tTwoValues<Bytes>{best, second, rest, fullHalf}, weight, near, turn, inDoubt);
        std::memcpy(to + half, &result, kBytes);
        std::memcpy(doubts + half, &inDoubt, kBytes);
    }
    return count;
}
constexpr CKwBodies kWeighBlock(KwWidths<WeighBlock<16>, WeighBlock<32>, WeighBlock<32>>);

constexpr LONG kStripPixels = 128; ///< keeps what a strip collects in the second-level cache

class CEllipse {
  public:
    CEllipse(const tTurned& picture, const tRows& destination, const tAREATABLE& area)
        : m_picture(picture), m_destination(destination), m_reachX(picture.side) {
        for (LONG dy = 1 - area.rows; dy < area.rows; ++dy) {
            const LONG full = area.FullColumns(std::abs(dy));
            if (dy >= 0 && full > 0) m_widths.push_back(full);
            for (LONG dx = 1 - area.columns; dx < area.columns; ++dx)
                if (const float weight = area.Weight(std::abs(dx), std::abs(dy)); std::abs(dx) >= full && weight > 0.0f)
                    m_cells.push_back({picture.stride * dy + std::ptrdiff_t{dx} * 4, dy, weight});
        }
        m_beating.resize(m_cells.size());
        m_reachY = static_cast<LONG>(m_widths.size()) - 1;
        m_ringRows = std::min<std::int64_t>(2 * std::int64_t{m_reachY} + 1, picture.height);
        m_rowBytes = (std::ptrdiff_t{kStripPixels} + 2 * std::ptrdiff_t{m_reachX}) * 4;
        m_levels = std::bit_width(static_cast<std::uint32_t>(2 * m_widths[0] - 1));
        m_tables = Bytes(m_levels, m_rowBytes);
        m_ring = Bytes(m_ringRows, kStripBytes + kBlockBytes);
    }

    void Run(const tAREATABLE& area) {
        CWeighing weighing(m_picture, area, m_cells.size());
        for (m_left = 0; m_left < m_picture.width; m_left += std::min(kStripPixels, m_picture.width - m_left)) {
            m_bytes = std::ptrdiff_t{std::min(kStripPixels, m_picture.width - m_left)} * 4;
            for (LONG y = 0; y < m_ringRows; ++y) Clear(Collected(y));
            LONG done = 0;
            for (LONG y = 0; y < m_picture.height; ++y) {
                Collect(y);
                const LONG complete = y == m_picture.height - 1 ? y + 1 : y - m_reachY + 1;
                for (; done < complete; ++done) Finish(done, weighing);
            }
        }
    }

  private:
    static constexpr std::ptrdiff_t kStripBytes = kStripPixels * 4;

    /// The greatest sample of the cells of full weight, for one row of the strip.
    std::uint8_t* Collected(LONG y) { return m_ring.get() + y % m_ringRows * (kStripBytes + kBlockBytes); }

    void Clear(std::uint8_t* collected) {
        std::memset(collected, 0, static_cast<std::size_t>(m_bytes));
        std::memset(collected + m_bytes, 255, kBlockBytes);
    }

    /// Takes row `y` into all rows that reach it.
    void Collect(LONG y) {
        std::uint8_t* row = m_tables.get();
        std::ptrdiff_t valid = m_bytes + 2 * std::ptrdiff_t{m_reachX} * 4;
        std::memcpy(row, m_picture.Row(y) + (std::ptrdiff_t{m_left} - m_reachX) * 4, static_cast<std::size_t>(valid));
        for (LONG level = 1; level < m_levels; ++level, row += m_rowBytes) {
            const std::ptrdiff_t step = std::ptrdiff_t{4} << (level - 1);
            valid -= step;
            kMaxRows(row + m_rowBytes, row, row + step, valid);
        }
        std::array<std::uint8_t, kStripBytes> best;
        LONG known = 0;
        for (LONG dy = 0; dy <= m_reachY; ++dy) {
            const LONG width = m_widths[static_cast<std::size_t>(dy)];
            if (width != known) {
                known = width;
                const LONG level = std::bit_width(static_cast<std::uint32_t>(2 * width - 1)) - 1;
                const std::uint8_t* table = m_tables.get() + level * m_rowBytes;
                const std::ptrdiff_t first = std::ptrdiff_t{m_reachX} - width + 1;
                const std::ptrdiff_t second = std::ptrdiff_t{m_reachX} + width - (std::ptrdiff_t{1} << level);
                kMaxRows(best.data(), table + first * 4, table + second * 4, m_bytes);
            }
            if (dy <= y) kMaxRow(Collected(y - dy), best.data(), m_bytes);
            if (dy > 0 && dy < m_picture.height - y) kMaxRow(Collected(y + dy), best.data(), m_bytes);
        }
    }

    void Finish(LONG y, CWeighing& weighing) {
        std::uint8_t* full = Collected(y);
        std::uint8_t* to = m_destination.Row<std::uint8_t>(y) + std::ptrdiff_t{m_left} * 4;
        const std::span<const tCell> cells = CellsInside(m_cells, y, m_picture.height);
        for (std::ptrdiff_t i = 0; i < m_bytes; i += kBlockBytes) {
            const std::uint8_t* at = m_picture.Row(y) + std::ptrdiff_t{m_left} * 4 + i;
            std::uint8_t values[kBlockBytes], doubts[kBlockBytes];
            const std::ptrdiff_t count =
                kWeighBlock(at, full + i, cells, m_picture.turn, values, m_beating.data(), doubts);
            for (std::ptrdiff_t lane = 0; count > 0 && lane < kBlockBytes; ++lane)
                if (doubts[lane]) {
                    const std::uint8_t floor = full[i + lane];
                    const tHit* end = FindHits(at + lane, floor, {m_beating.data(), static_cast<std::size_t>(count)},
                                               weighing.Hits());
                    values[lane] = weighing.Value({weighing.Hits(), end}, m_left + static_cast<LONG>((i + lane) / 4), y,
                                                  static_cast<LONG>(lane & 3), floor);
                }
            std::memcpy(to + i, values, static_cast<std::size_t>(std::min(kBlockBytes, m_bytes - i)));
        }
        Clear(full);
    }

    const tTurned& m_picture;
    const tRows& m_destination;
    LONG m_reachX, m_reachY;
    std::vector<LONG> m_widths;   ///< cells of full weight from the centre on, in each row of the quadrant
    std::vector<tCell> m_cells;   ///< the rim, from the top left on
    std::vector<tCell> m_beating; ///< of one block
    std::int64_t m_ringRows;
    std::ptrdiff_t m_rowBytes, m_bytes = 0;
    LONG m_levels, m_left = 0;
    tMemory m_tables; ///< a row, then the greatest of 2, 4, 8... of its samples from each on
    tMemory m_ring;
};

} // namespace

void FilterEllipse(const tTurned& picture, const tRows& destination, const tAREATABLE& area) {
    CEllipse(picture, destination, area).Run(area);
}

} // namespace kw_min_max
