// The minimum and maximum filters over a rectangle.
//
// Its rim is made of rows and columns of one weight each. The two greatest values of such a piece and how often they
// occur settle nearly all pixels: they slide along like the plain extreme, and a block of lanes is weighed up at once.
// Where they do not settle it - a third value counts, a count is too large for a byte, or the result lies so close to a
// whole number that the order of the sums shows - the cells themselves are weighed.
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

/// Constant lanes in memory: some compilers take a comparison's result apart into single bytes when it chooses between
/// constants that they know.
struct tConstants {
    std::uint8_t zeros[kBlockBytes] = {}, ones[kBlockBytes], all[kBlockBytes];

    tConstants() {
        std::memset(ones, 1, kBlockBytes);
        std::memset(all, 255, kBlockBytes);
    }
};

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

/// The tops of single samples.
template <class Bytes>
KWINLINE inline void LoadSample(const std::uint8_t* from, const tConstants& constants, tTops<Bytes>& tops) {
    tops.value[0] = KwLoad<Bytes>(from);
    tops.value[1] = KwLoad<Bytes>(constants.zeros);
    tops.count[0] = KwLoad<Bytes>(constants.ones);
    tops.count[1] = KwLoad<Bytes>(constants.zeros);
}

/// Takes the tops of other samples in.
template <class Bytes>
KWINLINE inline void Join(tTops<Bytes>& a, const tTops<Bytes>& b) {
    const Bytes none{};
    const Bytes first = KwGreater(a.value[0], b.value[0]);
    const Bytes countA = a.value[0] == first ? a.count[0] : none, countB = b.value[0] == first ? b.count[0] : none;
    const Bytes nextA = a.value[0] == first ? a.value[1] : a.value[0];
    const Bytes nextB = b.value[0] == first ? b.value[1] : b.value[0];
    const Bytes nextCountA = a.value[0] == first ? a.count[1] : a.count[0];
    const Bytes nextCountB = b.value[0] == first ? b.count[1] : b.count[0];
    const Bytes second = KwGreater(nextA, nextB);
    const Bytes secondA = nextA == second ? nextCountA : none, secondB = nextB == second ? nextCountB : none;
    a.value[0] = first;
    a.value[1] = second;
    a.count[0] = KwSum(countA, countB);
    a.count[1] = KwSum(secondA, secondB);
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
constexpr CKwBodies kJoinRows(KwWidths<JoinRows<16>, JoinRows<32>, JoinRows<32>>);

/// As `JoinRows` of `a` and single samples.
template <std::ptrdiff_t kBytes>
KWINLINE inline void JoinSamples(std::uint8_t* to, const std::uint8_t* a, std::ptrdiff_t plane,
                                 const std::uint8_t* samples, const tConstants& constants, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; i += kBytes) {
        tTops<typename tBlock<kBytes>::tBytes> tops, other;
        LoadTops(a + i, plane, tops);
        LoadSample(samples + i, constants, other);
        Join(tops, other);
        StoreTops(tops, to + i, plane);
    }
}
constexpr CKwBodies kJoinSamples(KwWidths<JoinSamples<16>, JoinSamples<32>, JoinSamples<32>>);

/// The greatest of `count` pixels from each on. `row` holds `bytes` and is used up.
void SlideMax(std::uint8_t* to, std::uint8_t* row, std::ptrdiff_t bytes, LONG count, std::ptrdiff_t outBytes) {
    std::ptrdiff_t reach = 1;
    for (; reach * 2 <= count; reach *= 2) {
        bytes -= reach * 4;
        kWidenMax(row, reach * 4, bytes);
    }
    kMaxRows(to, row, row + (count - reach) * 4, outBytes);
}

/// The same with tops.
void SlideTops(std::uint8_t* to, std::ptrdiff_t toPlane, std::uint8_t* rows, std::ptrdiff_t plane, std::ptrdiff_t bytes,
               LONG count, std::ptrdiff_t outBytes) {
    std::memset(to, 0, static_cast<std::size_t>(4 * toPlane));
    std::ptrdiff_t done = 0; // pixels of the window that are joined in
    for (std::ptrdiff_t reach = 1;; reach *= 2) {
        if (count & reach) {
            kJoinRows(to, toPlane, to, toPlane, rows + done * 4, plane, outBytes);
            done += reach;
        }
        if (reach * 2 > count) return;
        bytes -= reach * 4;
        kJoinRows(rows, plane, rows, plane, rows + reach * 4, plane, bytes);
    }
}

constexpr std::ptrdiff_t WholeBlocks(std::ptrdiff_t bytes) {
    return (bytes + kBlockBytes - 1) / kBlockBytes * kBlockBytes;
}

/// The greatest, or the tops, of the rows at most `reach` - 1 away, for one row after the other.
/// (M. van Herk, "A fast algorithm for local minimum and maximum filters on rectangular and octagonal kernels", 1992.)
class CColumnMax {
  public:
    CColumnMax(const tTurned& picture, const tConstants& constants, LONG reach, bool tops)
        : m_picture(picture), m_constants(constants), m_tops(tops), m_length(2 * std::int64_t{reach} - 1),
          m_rows(std::min<std::int64_t>(m_length, picture.height)),
          m_plane(WholeBlocks(std::ptrdiff_t{picture.width} * 4)), m_rowBytes(m_plane * (tops ? 4 : 1)),
          m_behind(Bytes(m_rows, m_rowBytes)), m_ahead(Bytes(1, m_rowBytes)) {
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
            kJoinSamples(to, from, m_plane, samples, m_constants, m_plane);
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
    const tConstants& m_constants;
    bool m_tops;
    std::int64_t m_length, m_rows;
    std::int64_t m_last = -1; ///< the last row taken in
    std::ptrdiff_t m_plane, m_rowBytes;
    tMemory m_behind, m_ahead;
};

/// The weights of a rectangle's rim.
struct tRimWeights {
    float row, column, corner;
    float near; ///< a result at most this far from a whole number is in doubt; 0 where all sums are exact
    std::uint8_t turn;
};

/// The eight pieces of a rectangle's rim in the order of their rows. Which of the columns comes first makes no
/// difference to sums of one weight.
enum { kTopLeft, kTop, kTopRight, kLeft, kRight, kBottomLeft, kBottom, kBottomRight, kPieces };

/// A block of the rim: rows and columns are tops, corners are samples.
struct tRimBlock {
    const std::uint8_t* pieces[kPieces];
    std::ptrdiff_t rowPlane, columnPlane;
    const tConstants& constants;
};

constexpr int kValues = 3; ///< that are looked at in one block
constexpr int kLists = 5;  ///< that they come from: two rows, two columns, and the corners

KWINLINE inline std::uint8_t Greater(std::uint8_t a, std::uint8_t b) {
    return a > b ? a : b;
}

/// Adds up to 255.
KWINLINE inline std::uint8_t AddCounts(std::uint8_t a, std::uint8_t b) {
    const std::uint8_t room = static_cast<std::uint8_t>(~a);
    return static_cast<std::uint8_t>(a + (b < room ? b : room));
}

/// The values of a list that are yet to be taken, and how often the first two occur. The third stands for all values
/// below the second: their number is not known, and kept as 0.
struct alignas(kBlockBytes) tList {
    std::uint8_t values[3][kBlockBytes], numbers[2][kBlockBytes];
};

/// The highest values of a block, how often they occur in rows, columns and corners, and where that is not known.
struct tRimTops {
    alignas(kBlockBytes) std::uint8_t tops[kValues + 1][kBlockBytes];
    std::uint8_t counts[kValues][3][kBlockBytes], unknown[kValues][kBlockBytes];
};

/// What of the rim's pieces lies above the cells of full weight.
template <std::ptrdiff_t kBytes>
KWINLINE inline void FillLists(const tRimBlock& rim, const std::uint8_t* fullBytes, tList (&lists)[kLists]) {
    alignas(kBlockBytes) std::uint8_t cornerTops[4 * kBlockBytes];
    for (std::ptrdiff_t i = 0; i < kBlockBytes; i += kBytes) {
        tTops<typename tBlock<kBytes>::tBytes> corners, other;
        LoadSample(rim.pieces[kTopLeft] + i, rim.constants, corners);
        for (const int corner : {kTopRight, kBottomLeft, kBottomRight}) {
            LoadSample(rim.pieces[corner] + i, rim.constants, other);
            Join(corners, other);
        }
        StoreTops(corners, cornerTops + i, kBlockBytes);
    }
    const std::uint8_t* const sources[kLists] = {rim.pieces[kTop], rim.pieces[kBottom], rim.pieces[kLeft],
                                                 rim.pieces[kRight], cornerTops};
    const std::ptrdiff_t planes[kLists] = {rim.rowPlane, rim.rowPlane, rim.columnPlane, rim.columnPlane, kBlockBytes};
    for (int p = 0; p < kLists; ++p) {
        const std::uint8_t* source = sources[p];
        const std::ptrdiff_t plane = planes[p];
        tList& list = lists[p];
        for (std::ptrdiff_t i = 0; i < kBlockBytes; ++i) {
            const std::uint8_t floor = fullBytes[i], value = source[i], next = source[i + plane];
            const std::uint8_t number = source[i + 2 * plane], nextNumber = source[i + 3 * plane];
            const std::uint8_t below = static_cast<std::uint8_t>(Greater(next, 1) - 1);
            list.values[0][i] = value > floor ? value : 0;
            list.values[1][i] = next > floor ? next : 0;
            list.values[2][i] = below > floor ? below : 0;
            list.numbers[0][i] = value > floor ? number : 0;
            list.numbers[1][i] = next > floor ? nextNumber : 0;
        }
    }
}

/// All bits of a byte, or none. GCC makes one jump of several choices by one comparison, and then no vectors.
KWINLINE inline std::uint8_t Mask(bool all) {
    return static_cast<std::uint8_t>(-static_cast<int>(all));
}
KWINLINE inline std::uint8_t Chosen(std::uint8_t mask, std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>((a & mask) | (b & ~mask));
}

/// Takes the highest values off the lists.
KWINLINE inline void TakeTops(tList (&lists)[kLists], tRimTops& result) {
    auto& [tops, counts, unknown] = result;
    for (int n = 0; n <= kValues; ++n) {
        for (std::ptrdiff_t i = 0; i < kBlockBytes; ++i)
            tops[n][i] = Greater(Greater(Greater(lists[0].values[0][i], lists[1].values[0][i]),
                                         Greater(lists[2].values[0][i], lists[3].values[0][i])),
                                 lists[4].values[0][i]);
        if (n == kValues) break;
        for (std::ptrdiff_t i = 0; i < kBlockBytes; ++i) {
            const std::uint8_t best = tops[n][i];
            std::uint8_t taken[kLists], isUnknown = 0;
            KWUNROLL
            for (int p = 0; p < kLists; ++p) {
                tList& list = lists[p];
                const std::uint8_t value = list.values[0][i], next = list.values[1][i], third = list.values[2][i];
                const std::uint8_t number = list.numbers[0][i], nextNumber = list.numbers[1][i];
                const std::uint8_t isBest = Mask(value == best);
                const std::uint8_t hidden = value & Mask(number == 0);
                taken[p] = number & isBest;
                isUnknown = Greater(isUnknown, hidden & isBest);
                list.values[0][i] = Chosen(isBest, next, value);
                list.values[1][i] = Chosen(isBest, third, next);
                list.values[2][i] = Chosen(isBest, 0, third);
                list.numbers[0][i] = Chosen(isBest, nextNumber, number);
                list.numbers[1][i] = Chosen(isBest, 0, nextNumber);
            }
            unknown[n][i] = isUnknown;
            counts[n][0][i] = AddCounts(taken[0], taken[1]);
            counts[n][1][i] = AddCounts(taken[2], taken[3]);
            counts[n][2][i] = taken[4];
        }
    }
}

/// The means of one cell's weight from the top on, and where they are in doubt.
KWINLINE inline void WeighTops(const tRimTops& rim, const std::uint8_t* fullBytes, const tRimWeights& weights,
                               std::uint8_t* to, std::uint8_t* doubts) {
    const auto& [tops, counts, unknown] = rim;
    const LONG turn = weights.turn;
    for (std::ptrdiff_t i = 0; i < kBlockBytes; ++i) {
        float sum = 0.0f, value = 0.0f, first = 0.0f;
        LONG doubt = 0;
        KWUNROLL
        for (int n = 0; n < kValues; ++n) {
            const float weight = static_cast<float>(counts[n][0][i]) * weights.row +
                                 static_cast<float>(counts[n][1][i]) * weights.column +
                                 static_cast<float>(counts[n][2][i]) * weights.corner;
            const float left = 1.0f - sum, limited = weight < left ? weight : left;
            doubt |= sum < 1.0f ? unknown[n][i] : 0;
            doubt |= weight < 1.001f ? (counts[n][0][i] == 255) | (counts[n][1][i] == 255) : 0;
            value += (sum < 1.0f ? limited : 0.0f) * static_cast<float>(tops[n][i] ^ turn);
            sum += weight;
            if (n == 0) first = weight;
        }
        doubt |= sum < 1.0f ? tops[kValues][i] : 0;
        value += (sum < 1.0f ? 1.0f - sum : 0.0f) * static_cast<float>(fullBytes[i] ^ turn);
        const LONG whole = static_cast<LONG>(value);
        const float over = value - static_cast<float>(whole);
        const float margin = ((first > 0.0f) & (first < 1.001f)) ? weights.near : -1.0f;
        doubt |= ((over < margin) | (over > 1.0f - margin)) ? 255 : 0;
        to[i] = static_cast<std::uint8_t>(whole);
        doubts[i] = doubt ? 255 : 0;
    }
}

/// Weighs up one block into `to` where the rim beats the cells of full weight, and marks lanes in doubt. False if none
/// is.
template <std::ptrdiff_t kBytes>
KWINLINE inline bool WeighBlock(const tRimBlock& rim, const std::uint8_t* fullBytes, const tRimWeights& weights,
                                std::uint8_t* to, std::uint8_t* doubts) {
    const tBytes full = KwLoad(fullBytes);
    tBytes best = KwLoad(rim.pieces[0]);
    for (int i = 1; i < kPieces; ++i) best = KwGreater(best, KwLoad(rim.pieces[i]));
    if (!Beats(best, full)) return false;

    tList lists[kLists];
    tRimTops tops;
    FillLists<kBytes>(rim, fullBytes, lists);
    TakeTops(lists, tops);
    WeighTops(tops, fullBytes, weights, to, doubts);
    return Beats(KwLoad(doubts), tBytes{});
}
constexpr CKwBodies kWeighBlock(KwWidths<WeighBlock<16>, WeighBlock<32>, WeighBlock<32>>);

/// Whether sums and products of these weights up to 1 are exact: whole multiples of 1 / 256, or of 1 / 65536 for a
/// corner.
bool AreExact(float row, float column) {
    return row * 256.0f == std::floor(row * 256.0f) && column * 256.0f == std::floor(column * 256.0f);
}

class CRectangle {
  public:
    CRectangle(const tTurned& picture, const tRows& destination, const tAREATABLE& area)
        : m_picture(picture), m_destination(destination), m_fullX(area.FullColumns(0)),
          m_fullY(area.FullRows()), m_weights{area.Weight(0, m_fullY), area.Weight(m_fullX, 0),
                                              area.Weight(m_fullX, m_fullY), 0.0f, picture.turn},
          m_weighing(picture, area, TakeCells()), m_columns(picture, *m_constants, m_fullY, HasColumns()) {}

    void Run() {
        for (LONG y = 0; y < m_picture.height; ++y) {
            m_columns.Next(m_column.get() + m_side, m_picture.stride);
            std::memcpy(m_scratch.get(), m_column.get() + m_windowStart, static_cast<std::size_t>(m_windowBytes));
            SlideMax(m_full.get(), m_scratch.get(), m_windowBytes, 2 * m_fullX - 1, m_rowBytes);
            std::memset(m_full.get() + m_rowBytes, 255, static_cast<std::size_t>(m_blockBytes - m_rowBytes));
            kTurnRow(m_destination.Row<std::uint8_t>(y), m_full.get(), m_rowBytes, m_picture.turn);
            if (!HasRows() && !HasColumns()) continue;
            SlideRows(y);
            WeighRow(y);
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
        float steps = 16.0f; // roundings on the way to a sum of 1
        for (const auto& piece : m_cells) {
            count += piece.size();
            if (!piece.empty()) steps += std::min(static_cast<float>(piece.size()), 1.0f / piece[0].weight + 1.0f);
        }
        if (!AreExact(m_weights.row, m_weights.column)) m_weights.near = 255.0f * 0x1p-24f * steps;
        return count;
    }

    std::uint8_t* RingRow(LONG y) const { return m_ring.get() + y % m_ringRows * 4 * m_blockBytes; }

    /// Brings the tops of the rim's rows down to those that row `y` needs.
    void SlideRows(LONG y) {
        for (; HasRows() && m_slid < m_picture.height && m_slid <= std::int64_t{y} + m_fullY; ++m_slid) {
            std::memset(m_scratch.get(), 0, static_cast<std::size_t>(m_scratchPlane * 4));
            kJoinSamples(m_scratch.get(), m_scratch.get(), m_scratchPlane,
                         m_picture.Row(m_slid) - m_side + m_windowStart, *m_constants, m_windowBytes);
            SlideTops(RingRow(m_slid), m_blockBytes, m_scratch.get(), m_scratchPlane, m_windowBytes, 2 * m_fullX - 1,
                      m_rowBytes);
        }
    }

    tRimBlock RimAt(LONG y) const {
        const std::ptrdiff_t reach = std::ptrdiff_t{m_fullX} * 4;
        tRimBlock rim{{}, m_blockBytes, m_picture.stride, *m_constants};
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
        tRimBlock rim = RimAt(y);
        std::span<const tCell> inside[kPieces];
        for (int piece = 0; piece < kPieces; ++piece) inside[piece] = CellsInside(m_cells[piece], y, m_picture.height);
        std::uint8_t* const to = m_destination.Row<std::uint8_t>(y);
        for (std::ptrdiff_t i = 0; i < m_rowBytes; i += kBlockBytes) {
            std::array<std::uint8_t, kBlockBytes> values, doubts;
            std::memcpy(values.data(), m_full.get() + i, kBlockBytes);
            kTurnRow(values.data(), values.data(), kBlockBytes, m_picture.turn);
            if (kWeighBlock(rim, m_full.get() + i, m_weights, values.data(), doubts.data()))
                for (std::ptrdiff_t lane = 0; lane < kBlockBytes; ++lane) {
                    if (!doubts[static_cast<std::size_t>(lane)]) continue;
                    const std::uint8_t floor = m_full[static_cast<std::size_t>(i + lane)];
                    tHit* end = m_weighing.Hits();
                    for (int piece = 0; piece < kPieces; ++piece)
                        if (rim.pieces[piece][lane] > floor)
                            end = FindLaneHits(m_picture.Row(y) + i + lane, floor, inside[piece], end);
                    values[static_cast<std::size_t>(lane)] =
                        m_weighing.Value({m_weighing.Hits(), end}, static_cast<LONG>((i + lane) / 4), y,
                                         static_cast<LONG>(lane & 3), floor);
                }
            std::memcpy(to + i, values.data(), static_cast<std::size_t>(std::min(kBlockBytes, m_rowBytes - i)));
            for (const std::uint8_t*& piece : rim.pieces) piece += kBlockBytes;
        }
    }

    const tTurned& m_picture;
    const tRows& m_destination;
    LONG m_fullX, m_fullY; ///< cells of full weight from the centre on
    tRimWeights m_weights;
    std::vector<tCell> m_cells[kPieces];
    CWeighing m_weighing;
    std::unique_ptr<tConstants> m_constants = std::make_unique<tConstants>();
    CColumnMax m_columns;
    std::ptrdiff_t m_side = std::ptrdiff_t{m_picture.side} * 4, m_rowBytes = std::ptrdiff_t{m_picture.width} * 4;
    std::ptrdiff_t m_blockBytes = WholeBlocks(m_rowBytes), m_scratchPlane = m_picture.stride + kBlockBytes;
    std::int64_t m_ringRows = std::min<std::int64_t>(2 * std::int64_t{m_fullY} + 1, m_picture.height);
    tMemory m_ring = Bytes(HasRows() ? m_ringRows * 4 : 0, m_blockBytes); ///< tops of the rim's row at each pixel
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
