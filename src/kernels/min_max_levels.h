// What the rim of a rectangle adds to the extreme inside: its levels, taken from the highest on until a cell's weight
// is together.
#pragma once

#include "kernels/min_max_tops.h"

namespace kw_min_max {

/// The weights of a rectangle's rim.
struct tRimWeights {
    float row, column, corner;
    std::uint8_t turn;
    std::uint8_t mostCounted = 255;       ///< as good as any more cells of a piece
    std::uint8_t rough{}, roughCorners{}; ///< 0 where sums are exact: without corners, and of all weights
    float near = 0.0f;                    ///< how far from a whole number the order of sums that are not shows
};

/// The eight pieces of a rectangle's rim in the order of their rows. Which of the columns comes first makes no
/// difference to sums of one weight.
enum { kTopLeft, kTop, kTopRight, kLeft, kRight, kBottomLeft, kBottom, kBottomRight, kPieces };

/// The rim along a row: rows and columns are tops, corners are samples.
struct tRim {
    const std::uint8_t* pieces[kPieces];
    std::ptrdiff_t rowPlane, columnPlane;
    const std::uint8_t* samples;        ///< at the centre
    std::uint8_t rowCells, columnCells; ///< of each piece, 0 for more than a byte counts
    bool hasFewCells;
    std::span<const tCell> cells[kPieces];
};

/// The means of one cell's weight of a block, which is taken from the highest level on.
template <class Bytes>
class CMeans {
    using tWords = tWordsOf<Bytes>;
    using tFloats = typename tBlock<sizeof(Bytes)>::tFloats;

  public:
    KWINLINE CMeans() {
        KWUNROLL
        for (tFloats& left : m_left) left = tFloats{} + 1.0f;
    }

    /// Takes `weight(shift)` of a level for every fourth byte, or what is left. Gives all bits of the bytes where some
    /// may be left, by a margin for another order of sums.
    template <class Weight>
    KWINLINE Bytes Take(const Bytes& level, Weight weight) {
        tWords open{};
        KWUNROLL
        for (int c = 0; c < 4; ++c) {
            const tFloats all = weight(8 * c), share = all < m_left[c] ? all : m_left[c];
            open |= reinterpret_cast<tWords>(all < m_left[c] * 1.001f) & 0xFFu << 8 * c;
            m_value[c] += share * Reals(level, 8 * c);
            m_left[c] -= share;
        }
        return reinterpret_cast<Bytes>(open);
    }

    /// Takes what is left of the level `last`. Lanes that have a 1 in `rough` get a 1 in `doubts` where the result is
    /// at most `near` from a whole number, others a 0.
    KWINLINE Bytes Finish(const Bytes& last, const Bytes& rough, float near, Bytes& doubts) const {
        tWords results{}, open{};
        KWUNROLL
        for (int c = 0; c < 4; ++c) {
            const tFloats value = m_value[c] + m_left[c] * Reals(last, 8 * c);
            const tFloats margin = Reals(rough, 8 * c) * near;
            const tWords low = reinterpret_cast<tWords>(Wholes(value - margin));
            results |= low << 8 * c;
            open |= (low ^ reinterpret_cast<tWords>(Wholes(value + margin))) << 8 * c;
        }
        doubts = KwSmaller(reinterpret_cast<Bytes>(open), Bytes{} + 1);
        return reinterpret_cast<Bytes>(results);
    }

  private:
    tFloats m_value[4]{}, m_left[4];
};

/// What is left of a block of the rim, from its highest level down. A piece's third level may be anything below its
/// second one, any number of times: a count of 255 says so, as it does where a byte counts no further.
template <class Bytes>
class CRimLevels {
  public:
    KWINLINE CRimLevels(const tRim& rim, std::ptrdiff_t at, std::uint8_t mostCounted) {
        KWUNROLL
        for (int i = 0; i < 4; ++i) {
            auto& [value, count] = m_edges[i];
            LoadTops(rim.pieces[kEdges[i]] + at, i < 2 ? rim.rowPlane : rim.columnPlane, m_edges[i]);
            const Bytes whole =
                Equal(KwSum(count[0], count[1]), i < 2 ? Bytes{} + rim.rowCells : Bytes{} + rim.columnCells);
            m_rest[i] = KwRest(value[1], Bytes{} + 1) & ~whole;
            for (Bytes& n : count) n = KwSmaller(n, Bytes{} + mostCounted);
            m_corners[i] = KwLoad<Bytes>(rim.pieces[kCorners[i]] + at);
        }
    }

    KWINLINE Bytes Best(Bytes best) const {
        KWUNROLL
        for (int i = 0; i < 4; ++i) best = KwGreater(best, KwGreater(m_edges[i].value[0], m_corners[i]));
        return best;
    }

    /// Removes the level `best`, which none is above, and counts it in rows, columns and corners. Gives all bits where
    /// that is more than can be told.
    KWINLINE Bytes Remove(const Bytes& best, Bytes (&counts)[3]) {
        counts[2] = Bytes{};
        KWUNROLL
        for (int i = 0; i < 4; ++i) {
            auto& [value, count] = m_edges[i];
            const Bytes isBest = Equal(value[0], best), found = count[0] & isBest;
            counts[i / 2] = i % 2 == 0 ? found : KwSum(counts[i / 2], found);
            count[0] = value[0] == best ? count[1] : count[0];
            count[1] |= isBest;
            const Bytes next = value[0] == best ? value[1] : value[0];
            value[1] = value[0] == best ? m_rest[i] : value[1];
            value[0] = next;
            const Bytes isCorner = Equal(m_corners[i], best);
            counts[2] -= isCorner;
            m_corners[i] &= ~isCorner;
        }
        return Equal(KwGreater(counts[0], counts[1]), Bytes{} + 255);
    }

  private:
    static constexpr int kEdges[] = {kTop, kBottom, kLeft, kRight};
    static constexpr int kCorners[] = {kTopLeft, kTopRight, kBottomLeft, kBottomRight};
    tTops<Bytes> m_edges[4];
    Bytes m_rest[4]; ///< limits of the third levels
    Bytes m_corners[4];
};

/// The same of the cells themselves, at most 254, from `ceiling` down, where there may be none.
template <class Bytes>
class CCellLevels {
  public:
    KWINLINE CCellLevels(const tRim& rim, std::ptrdiff_t at, const Bytes& full, const Bytes& ceiling)
        : m_samples(rim.samples + at), m_best(ceiling) {
        for (int p = 0; p < kPieces; ++p) {
            m_pieces[m_count] = {rim.cells[p], p == kTop || p == kBottom ? 0 : p == kLeft || p == kRight ? 1 : 2};
            m_count += Beats(KwSmaller(KwLoad<Bytes>(rim.pieces[p] + at), ceiling), full);
        }
    }

    KWINLINE Bytes Best(const Bytes& best) const { return KwGreater(best, m_best); }

    KWINLINE Bytes Remove(const Bytes& best, Bytes (&counts)[3]) {
        const Bytes ceiling = KwRest(best, Bytes{} + 1);
        Bytes next{};
        counts[0] = counts[1] = counts[2] = Bytes{};
        for (int i = 0; i < m_count; ++i) {
            Bytes found{};
            for (const tCell& cell : m_pieces[i].cells) {
                const Bytes sample = KwLoad<Bytes>(m_samples + cell.offset);
                found -= Equal(sample, best);
                next = KwGreater(next, sample & Equal(KwSmaller(sample, ceiling), sample));
            }
            counts[m_pieces[i].kind] += found;
        }
        m_best = next;
        return Bytes{};
    }

  private:
    struct tPiece {
        std::span<const tCell> cells;
        int kind;
    };
    const std::uint8_t* m_samples;
    tPiece m_pieces[kPieces + 1]; ///< one more for what has nothing to tell
    int m_count = 0;
    Bytes m_best;
};

/// Where a block stands on its way down the levels: all bits of lanes that have more than one level, that
/// took a corner, and whose levels from `ceiling` down are not known, so that the rest is between that and `full`.
template <class Bytes>
struct tDescent {
    Bytes mixed{}, cornered{}, lost{}, ceiling{};
};

/// Takes levels above `full` until a cell's weight is together.
template <class Levels, class Bytes>
KWINLINE inline void Descend(Levels& levels, const Bytes& full, const tRimWeights& weights, CMeans<Bytes>& means,
                             tDescent<Bytes>& way) {
    for (Bytes above = ~Bytes{};;) {
        const Bytes best = levels.Best(full);
        above &= ~Equal(best, full);
        if (!KwIsAny(above)) return;
        Bytes counts[3];
        const Bytes lost = levels.Remove(best, counts) & above, taking = above & ~lost;
        for (Bytes& count : counts) count &= taking;
        above = taking & means.Take(best ^ weights.turn, [&](int shift) KWINLINE {
            return Reals(counts[0], shift) * weights.row + Reals(counts[1], shift) * weights.column +
                   Reals(counts[2], shift) * weights.corner;
        });
        way.mixed |= above | lost;
        way.cornered |= ~Equal(counts[2], Bytes{});
        way.lost |= lost;
        way.ceiling |= best & lost;
    }
}

/// Sets `bytes` of a row. Appends the lanes in doubt and gives their end.
template <std::ptrdiff_t kBytes>
KWINLINE inline std::uint16_t* SettleRow(const tRim& rim, const std::uint8_t* fullBytes, const tRimWeights& weights,
                                         std::uint8_t* to, std::ptrdiff_t bytes, std::uint16_t* lanes) {
    using tBytes = typename tBlock<kBytes>::tBytes;
    for (std::ptrdiff_t i = 0; i < bytes; i += kBytes) {
        const tBytes full = KwLoad<tBytes>(fullBytes + i);
        tBytes best = full;
        KWUNROLL
        for (int p = 0; p < kPieces; ++p) best = KwGreater(best, KwLoad<tBytes>(rim.pieces[p] + i));
        tBytes result = full ^ weights.turn;
        if (Beats(best, full)) {
            CMeans<tBytes> means;
            tDescent<tBytes> way;
            tBytes doubts;
            const auto finish = [&]() KWINLINE {
                const tBytes mixed = way.mixed & ((way.cornered & weights.roughCorners) | weights.rough);
                const tBytes rough = (way.lost | mixed) & 1;
                result = means.Finish(full ^ weights.turn, rough, weights.near, doubts);
                if (!KwIsAny(way.lost)) return;
                tBytes more;
                const tBytes most = full + ((way.ceiling - full) & way.lost);
                const tBytes other = means.Finish(most ^ weights.turn, rough, weights.near, more);
                doubts |= more | (~Equal(result, other) & 1);
            };
            CRimLevels<tBytes> tops(rim, i, weights.mostCounted);
            Descend(tops, full, weights, means, way);
            finish();
            if (const tBytes again = way.lost & Equal(doubts, tBytes{} + 1); rim.hasFewCells && KwIsAny(again)) {
                CCellLevels<tBytes> cells(rim, i, full, way.ceiling & again);
                way.lost &= ~again;
                Descend(cells, full, weights, means, way);
                finish();
            }
            for (std::ptrdiff_t word = 0; word < kBytes; word += 8) {
                std::uint64_t bits;
                std::memcpy(&bits, reinterpret_cast<const std::uint8_t*>(&doubts) + word, 8);
                for (; bits; bits &= bits - 1)
                    *lanes++ = static_cast<std::uint16_t>(i + word + std::countr_zero(bits) / 8);
            }
        }
        if (bytes - i >= kBytes)
            std::memcpy(to + i, &result, kBytes);
        else
            std::memcpy(to + i, &result, static_cast<std::size_t>(bytes - i));
    }
    return lanes;
}
inline constexpr CKwBodies kSettleRow(KwWidths<SettleRow<16>, SettleRow<32>, SettleRow<64>>);

} // namespace kw_min_max
