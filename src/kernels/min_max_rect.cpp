// The minimum and maximum filters over a rectangle.
//
// Its rim is made of rows and columns of one weight each. The two greatest values of such a piece and how often they
// occur slide along like the plain extreme. From these the levels of all pieces are taken one after the other, a block
// of lanes at once. Where a piece's third level counts, the cells themselves are gone through, as long as they are few.
// Where they are not, or the result lies so close to a whole number that the order of the sums shows, each lane is
// weighed on its own.
#include <cmath>

#include "kernels/min_max_rim.h"

namespace kw_min_max {
namespace {

/// Each byte becomes the greater of itself and the one `step` on, front to back.
KWINLINE inline void WidenMax(std::uint8_t* row, std::ptrdiff_t step, std::ptrdiff_t count) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) row[i] = std::max(row[i], row[i + step]);
}
constexpr CKwBodies kWidenMax(KwClones<WidenMax>);

/// The two greatest of some samples, `value[0]` above `value[1]`, and how often they occur, 255 for more. A value that
/// does not occur is 0.
template <class Bytes>
struct tTops {
    Bytes value[2], count[2];
};

/// Planes of tops in memory are `plane` bytes apart: greatest, second, and their counts.
template <class Bytes>
KWINLINE inline void LoadTops(const std::uint8_t* from, std::ptrdiff_t plane, tTops<Bytes>& tops) {
    tops.value[0] = KwLoad<Bytes>(from);
    tops.value[1] = KwLoad<Bytes>(from + plane);
    tops.count[0] = KwLoad<Bytes>(from + 2 * plane);
    tops.count[1] = KwLoad<Bytes>(from + 3 * plane);
}

template <class Bytes>
KWINLINE inline void StoreTops(const tTops<Bytes>& tops, std::uint8_t* to, std::ptrdiff_t plane) {
    std::memcpy(to, &tops.value[0], sizeof(Bytes));
    std::memcpy(to + plane, &tops.value[1], sizeof(Bytes));
    std::memcpy(to + 2 * plane, &tops.count[0], sizeof(Bytes));
    std::memcpy(to + 3 * plane, &tops.count[1], sizeof(Bytes));
}

/// Takes the tops of other samples in.
template <class Bytes>
KWINLINE inline void Join(tTops<Bytes>& a, const tTops<Bytes>& b) {
    const Bytes first = KwGreater(a.value[0], b.value[0]);
    const Bytes firsts = KwSum(a.count[0] & Equal(a.value[0], first), b.count[0] & Equal(b.value[0], first));
    const Bytes nextA = a.value[0] == first ? a.value[1] : a.value[0];
    const Bytes nextB = b.value[0] == first ? b.value[1] : b.value[0];
    const Bytes nextCountA = a.value[0] == first ? a.count[1] : a.count[0];
    const Bytes nextCountB = b.value[0] == first ? b.count[1] : b.count[0];
    const Bytes second = KwGreater(nextA, nextB);
    const Bytes seconds = KwSum(nextCountA & Equal(nextA, second), nextCountB & Equal(nextB, second));
    a = {{first, second}, {firsts, seconds}};
}

/// Up to a block behind `bytes` is read and written.
template <std::ptrdiff_t kBytes>
KWINLINE inline void JoinRows(std::uint8_t* to, std::ptrdiff_t toPlane, const std::uint8_t* a, std::ptrdiff_t planeA,
                              const std::uint8_t* b, std::ptrdiff_t planeB, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; i += kBytes) {
        tTops<typename tBlock<kBytes>::tBytes> tops, other;
        LoadTops(a + i, planeA, tops);
        LoadTops(b + i, planeB, other);
        Join(tops, other);
        StoreTops(tops, to + i, toPlane);
    }
}
constexpr CKwBodies kJoinRows(KwWidths<JoinRows<16>, JoinRows<32>, JoinRows<64>>);

/// As `JoinRows` of `a` and single samples.
template <std::ptrdiff_t kBytes>
KWINLINE inline void JoinSamples(std::uint8_t* to, std::ptrdiff_t toPlane, const std::uint8_t* a, std::ptrdiff_t planeA,
                                 const std::uint8_t* samples, std::ptrdiff_t bytes) {
    using tBytes = typename tBlock<kBytes>::tBytes;
    for (std::ptrdiff_t i = 0; i < bytes; i += kBytes) {
        tTops<tBytes> tops;
        LoadTops(a + i, planeA, tops);
        const tBytes sample = KwLoad<tBytes>(samples + i);
        const tBytes first = KwGreater(tops.value[0], sample), lower = KwSmaller(tops.value[0], sample);
        const tBytes second = KwGreater(tops.value[1], lower & ~Equal(lower, first));
        const tBytes firsts = KwSum(tops.count[0] & Equal(tops.value[0], first), Equal(sample, first) & 1);
        const tBytes seconds = KwSum(tops.count[1] & Equal(tops.value[1], second), Equal(sample, second) & 1);
        StoreTops(tTops<tBytes>{{first, second}, {firsts, tops.value[0] == first ? seconds : tops.count[0]}}, to + i,
                  toPlane);
    }
}
constexpr CKwBodies kJoinSamples(KwWidths<JoinSamples<16>, JoinSamples<32>, JoinSamples<64>>);

/// The tops of each sample and the pixel after it.
template <std::ptrdiff_t kBytes>
KWINLINE inline void JoinPairs(std::uint8_t* to, std::ptrdiff_t plane, const std::uint8_t* samples,
                               std::ptrdiff_t bytes) {
    using tBytes = typename tBlock<kBytes>::tBytes;
    for (std::ptrdiff_t i = 0; i < bytes; i += kBytes) {
        const tBytes a = KwLoad<tBytes>(samples + i), b = KwLoad<tBytes>(samples + i + 4);
        const tBytes same = Equal(a, b);
        StoreTops(tTops<tBytes>{{KwGreater(a, b), KwSmaller(a, b) & ~same}, {(same & 1) + 1, ~same & 1}}, to + i,
                  plane);
    }
}
constexpr CKwBodies kJoinPairs(KwWidths<JoinPairs<16>, JoinPairs<32>, JoinPairs<64>>);

/// The greatest of `count` pixels from each on. `row` holds `bytes` and is used up.
void SlideMax(std::uint8_t* to, std::uint8_t* row, std::ptrdiff_t bytes, LONG count, std::ptrdiff_t outBytes) {
    std::ptrdiff_t reach = 1;
    for (; reach * 2 <= count; reach *= 2) {
        bytes -= reach * 4;
        kWidenMax(row, reach * 4, bytes);
    }
    kMaxRows(to, row, row + (count - reach) * 4, outBytes);
}

/// The same with tops, of an odd `count`; `rows` is room to work in.
void SlideTops(std::uint8_t* to, std::ptrdiff_t toPlane, const std::uint8_t* samples, std::uint8_t* rows,
               std::ptrdiff_t plane, std::ptrdiff_t bytes, LONG count, std::ptrdiff_t outBytes) {
    std::ptrdiff_t done = 1; // pixels of the window that are joined in
    if (count == 1) {
        std::memset(to, 0, static_cast<std::size_t>(4 * toPlane));
        kJoinSamples(to, toPlane, to, toPlane, samples, outBytes);
        return;
    }
    bytes -= 4;
    kJoinPairs(rows, plane, samples, bytes);
    for (std::ptrdiff_t reach = 2;; reach *= 2) {
        if (count & reach) {
            if (done == 1)
                kJoinSamples(to, toPlane, rows + 4, plane, samples, outBytes);
            else
                kJoinRows(to, toPlane, to, toPlane, rows + done * 4, plane, outBytes);
            done += reach;
        }
        if (reach * 2 > count) return;
        bytes -= reach * 4;
        kJoinRows(rows, plane, rows, plane, rows + reach * 4, plane, bytes);
    }
}

constexpr std::ptrdiff_t WholeBlocks(std::ptrdiff_t bytes) {
    return (bytes + kWidestBytes - 1) / kWidestBytes * kWidestBytes;
}

/// The greatest, or the tops, of the rows at most `reach` - 1 away, for one row after the other.
/// (M. van Herk, "A fast algorithm for local minimum and maximum filters on rectangular and octagonal kernels", 1992.)
class CColumnMax {
  public:
    CColumnMax(const tTurned& picture, LONG reach, bool tops)
        : m_picture(picture), m_tops(tops), m_length(2 * std::int64_t{reach} - 1),
          m_rows(std::min<std::int64_t>(m_length, picture.height)),
          m_plane(WholeBlocks(std::ptrdiff_t{picture.width} * 4)), m_rowBytes(m_plane * (tops ? 4 : 1)),
          m_behind(UnsetBytes(m_rows, m_rowBytes)), m_ahead(Bytes(1, m_rowBytes)) {
        for (LONG y = 0; y < reach - 1; ++y) Advance();
    }

    /// Stores the next row, its planes `plane` bytes apart.
    void Next(std::uint8_t* to, std::ptrdiff_t plane) {
        Advance();
        const std::int64_t place = (m_last + 1) % m_length; // of the window's first row in its block
        const bool isBlock = place == 0 || m_last < m_length;
        const std::uint8_t* behind = isBlock ? m_ahead.get() : m_behind.get() + place * m_rowBytes;
        if (!m_tops)
            kMaxRows(to, m_ahead.get(), behind, m_plane);
        else if (!isBlock)
            kJoinRows(to, plane, m_ahead.get(), m_plane, behind, m_plane, m_plane);
        else
            for (std::ptrdiff_t i = 0; i < 4; ++i)
                std::memcpy(to + i * plane, m_ahead.get() + i * m_plane, static_cast<std::size_t>(m_plane));
    }

  private:
    /// `to` becomes `from` with row `y` taken in.
    void Take(std::uint8_t* to, const std::uint8_t* from, std::int64_t y) {
        const std::uint8_t* samples = m_picture.Row(static_cast<LONG>(y));
        if (m_tops)
            kJoinSamples(to, m_plane, from, m_plane, samples, m_plane);
        else
            kMaxRows(to, from, samples, m_plane);
    }

    /// Rows go in blocks of the area's height: `m_ahead` is the greatest of the block so far, `m_behind` that of each
    /// row of the block before up to its end. Rows below the picture count nothing.
    void Advance() {
        ++m_last;
        if (m_last % m_length == 0) {
            std::memset(m_ahead.get(), 0, static_cast<std::size_t>(m_rowBytes));
            if (m_last > 0) {
                const std::uint8_t* from = m_ahead.get();
                const std::int64_t start = m_last - m_length;
                for (std::int64_t y = std::min<std::int64_t>(m_last, m_picture.height) - 1; y >= start; --y) {
                    std::uint8_t* to = m_behind.get() + (y - start) * m_rowBytes;
                    Take(to, from, y);
                    from = to;
                }
            }
        }
        if (m_last < m_picture.height) Take(m_ahead.get(), m_ahead.get(), m_last);
    }

    const tTurned& m_picture;
    bool m_tops;
    std::int64_t m_length, m_rows;
    std::int64_t m_last = -1; ///< the last row taken in
    std::ptrdiff_t m_plane, m_rowBytes;
    tMemory m_behind, m_ahead;
};

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
        if (!Any(above)) return;
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
                if (!Any(way.lost)) return;
                tBytes more;
                const tBytes most = full + ((way.ceiling - full) & way.lost);
                const tBytes other = means.Finish(most ^ weights.turn, rough, weights.near, more);
                doubts |= more | (~Equal(result, other) & 1);
            };
            CRimLevels<tBytes> tops(rim, i, weights.mostCounted);
            Descend(tops, full, weights, means, way);
            finish();
            if (const tBytes again = way.lost & Equal(doubts, tBytes{} + 1); rim.hasFewCells && Any(again)) {
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
constexpr CKwBodies kSettleRow(KwWidths<SettleRow<16>, SettleRow<32>, SettleRow<64>>);

/// Whether sums of such weights up to 1, and somewhat above, are exact.
bool IsExact(float weight) {
    return weight * 0x1p23f == std::floor(weight * 0x1p23f);
}

class CRectangle {
  public:
    CRectangle(const tTurned& picture, const tRows& destination, const tAREATABLE& area)
        : m_picture(picture), m_destination(destination), m_fullX(area.FullColumns(0)),
          m_fullY(area.FullRows()), m_weights{.row = area.Weight(0, m_fullY),
                                              .column = area.Weight(m_fullX, 0),
                                              .corner = area.Weight(m_fullX, m_fullY),
                                              .turn = picture.turn},
          m_weighing(picture, area, TakeCells()), m_columns(picture, m_fullY, HasColumns()) {}

    void Run() {
        for (LONG y = 0; y < m_picture.height; ++y) {
            m_columns.Next(m_column.get() + m_side, m_picture.stride);
            std::memcpy(m_scratch.get(), m_column.get() + m_windowStart, static_cast<std::size_t>(m_windowBytes));
            SlideMax(m_full.get(), m_scratch.get(), m_windowBytes, 2 * m_fullX - 1, m_rowBytes);
            std::memset(m_full.get() + m_rowBytes, 255, static_cast<std::size_t>(m_blockBytes - m_rowBytes));
            if (HasRows() || HasColumns()) {
                SlideRows(y);
                WeighRow(y);
            } else {
                kTurnRow(m_destination.Row<std::uint8_t>(y), m_full.get(), m_rowBytes, m_picture.turn);
            }
        }
    }

  private:
    bool HasRows() const { return m_weights.row > 0.0f; }
    bool HasColumns() const { return m_weights.column > 0.0f; }

    /// Fills the lists of the rim's cells and says how many there are; finds out when a result is in doubt.
    std::size_t TakeCells() {
        const auto add = [&](int piece, LONG dx, LONG dy, float weight) {
            if (weight > 0.0f) m_cells[piece].push_back({m_picture.stride * dy + std::ptrdiff_t{dx} * 4, dy, weight});
        };
        for (LONG i = 1 - m_fullX; i < m_fullX; ++i) {
            add(kTop, i, -m_fullY, m_weights.row);
            add(kBottom, i, m_fullY, m_weights.row);
        }
        for (LONG i = 1 - m_fullY; i < m_fullY; ++i) {
            add(kLeft, -m_fullX, i, m_weights.column);
            add(kRight, m_fullX, i, m_weights.column);
        }
        add(kTopLeft, -m_fullX, -m_fullY, m_weights.corner);
        add(kTopRight, m_fullX, -m_fullY, m_weights.corner);
        add(kBottomLeft, -m_fullX, m_fullY, m_weights.corner);
        add(kBottomRight, m_fullX, m_fullY, m_weights.corner);
        std::size_t count = 0;
        float steps = 64.0f; // roundings on the way to a sum of 1, and of a dozen levels' mean here and there
        for (const auto& piece : m_cells) {
            count += piece.size();
            if (!piece.empty()) steps += std::min(static_cast<float>(piece.size()), 1.0f / piece[0].weight + 1.0f);
        }
        const auto isClosedBy127 = [](float weight) { return weight == 0.0f || weight * 127.0f > 1.001f; };
        m_weights.mostCounted = isClosedBy127(m_weights.row) && isClosedBy127(m_weights.column) ? 127 : 255;
        m_weights.near = 255.0f * 0x1p-24f * steps;
        m_weights.rough = IsExact(m_weights.row) && IsExact(m_weights.column) ? 0 : 255;
        m_weights.roughCorners = IsExact(m_weights.corner) ? 0 : 255;
        return count;
    }

    std::uint8_t* RingRow(LONG y) const { return m_ring.get() + y % m_ringRows * 4 * m_blockBytes; }

    /// Brings the tops of the rim's rows down to those that row `y` needs.
    void SlideRows(LONG y) {
        for (; HasRows() && m_slid < m_picture.height && m_slid <= std::int64_t{y} + m_fullY; ++m_slid)
            SlideTops(RingRow(m_slid), m_blockBytes, m_picture.Row(m_slid) - m_side + m_windowStart, m_scratch.get(),
                      m_scratchPlane, m_windowBytes, 2 * m_fullX - 1, m_rowBytes);
    }

    tRim RimAt(LONG y) const {
        const std::ptrdiff_t reach = std::ptrdiff_t{m_fullX} * 4;
        const auto cells = [](LONG full) { return static_cast<std::uint8_t>(full < 128 ? 2 * full - 1 : 0); };
        tRim rim{.rowPlane = m_blockBytes,
                 .columnPlane = m_picture.stride,
                 .samples = m_picture.Row(y),
                 .rowCells = cells(m_fullX),
                 .columnCells = cells(m_fullY)};
        std::size_t count = 0;
        for (int piece = 0; piece < kPieces; ++piece) {
            rim.cells[piece] = CellsInside(m_cells[piece], y, m_picture.height);
            count += rim.cells[piece].size();
        }
        rim.hasFewCells = count < 255;
        std::ranges::fill(rim.pieces, m_none.get());
        if (HasColumns()) {
            rim.pieces[kLeft] = m_column.get() + m_side - reach;
            rim.pieces[kRight] = m_column.get() + m_side + reach;
        }
        const auto put = [&](LONG row, int left, int middle, int right) {
            rim.pieces[middle] = RingRow(row);
            if (!(m_weights.corner > 0.0f)) return;
            rim.pieces[left] = m_picture.Row(row) - reach;
            rim.pieces[right] = m_picture.Row(row) + reach;
        };
        if (HasRows() && y - m_fullY >= 0) put(y - m_fullY, kTopLeft, kTop, kTopRight);
        if (HasRows() && m_picture.height - y > m_fullY) put(y + m_fullY, kBottomLeft, kBottom, kBottomRight);
        return rim;
    }

    void WeighRow(LONG y) {
        tRim rim = RimAt(y);
        std::array<std::uint16_t, 4096> lanes;
        for (std::ptrdiff_t at = 0; at < m_rowBytes; at += std::ssize(lanes)) {
            std::uint8_t* const to = m_destination.Row<std::uint8_t>(y) + at;
            const std::uint8_t* const full = m_full.get() + at;
            const std::ptrdiff_t bytes = std::min(std::ssize(lanes), m_rowBytes - at);
            const std::uint16_t* const end = kSettleRow(rim, full, m_weights, to, bytes, lanes.data());
            for (const std::uint16_t* next = lanes.data(); next != end; ++next) {
                const std::ptrdiff_t lane = *next;
                tHit* hits = m_weighing.Hits();
                for (int piece = 0; piece < kPieces; ++piece)
                    if (rim.pieces[piece][lane] > full[lane])
                        hits = FindHits(rim.samples + lane, full[lane], rim.cells[piece], hits);
                to[lane] = m_weighing.Value({m_weighing.Hits(), hits}, static_cast<LONG>((at + lane) / 4), y,
                                            static_cast<LONG>(lane & 3), full[lane]);
            }
            for (const std::uint8_t*& piece : rim.pieces) piece += bytes;
            rim.samples += bytes;
        }
    }

    const tTurned& m_picture;
    const tRows& m_destination;
    LONG m_fullX, m_fullY; ///< cells of full weight from the centre on
    tRimWeights m_weights;
    std::vector<tCell> m_cells[kPieces];
    CWeighing m_weighing;
    CColumnMax m_columns;
    std::ptrdiff_t m_side = std::ptrdiff_t{m_picture.side} * 4, m_rowBytes = std::ptrdiff_t{m_picture.width} * 4;
    std::ptrdiff_t m_blockBytes = WholeBlocks(m_rowBytes), m_scratchPlane = m_picture.stride + kWidestBytes;
    std::int64_t m_ringRows = std::min<std::int64_t>(2 * std::int64_t{m_fullY} + 1, m_picture.height);
    tMemory m_ring = UnsetBytes(HasRows() ? m_ringRows * 4 : 0, m_blockBytes); ///< tops of the rim's row at each pixel
    tMemory m_column = Bytes(4, m_picture.stride), m_scratch = Bytes(4, m_scratchPlane);
    tMemory m_none = Bytes(4, m_picture.stride), m_full = Bytes(1, m_blockBytes);
    std::ptrdiff_t m_windowBytes = m_rowBytes + (2 * std::ptrdiff_t{m_fullX} - 2) * 4; ///< that a row's windows meet
    std::ptrdiff_t m_windowStart = m_side - (std::ptrdiff_t{m_fullX} - 1) * 4;
    LONG m_slid = 0; ///< rows in the ring so far
};

} // namespace

void FilterRect(const tTurned& picture, const tRows& destination, const tAREATABLE& area) {
    CRectangle(picture, destination, area).Run();
}

} // namespace kw_min_max
