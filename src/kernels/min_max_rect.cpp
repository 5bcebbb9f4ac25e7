// The minimum and maximum filters over a rectangle.
//
// Its rim is made of rows and columns of one weight each. The two greatest values of such a piece and how often they
// occur settle nearly all pixels: they slide along like the plain extreme, and 64 lanes are weighed up together. Where
// they do not settle it - a third value counts, a count is too large for a byte, or the result lies so close to a whole
// number that the order of the sums shows - the cells themselves are weighed.
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
struct tTops {
    tBytes value[2], count[2];
};

/// Planes of tops in memory are `plane` bytes apart: greatest, second, and their counts.
KWINLINE inline void LoadTops(const std::uint8_t* from, std::ptrdiff_t plane, tTops& tops) {
    tops.value[0] = KwLoad(from);
    tops.value[1] = KwLoad(from + plane);
    tops.count[0] = KwLoad(from + 2 * plane);
    tops.count[1] = KwLoad(from + 3 * plane);
}

KWINLINE inline void StoreTops(const tTops& tops, std::uint8_t* to, std::ptrdiff_t plane) {
    std::memcpy(to, &tops.value[0], kBlockBytes);
    std::memcpy(to + plane, &tops.value[1], kBlockBytes);
    std::memcpy(to + 2 * plane, &tops.count[0], kBlockBytes);
    std::memcpy(to + 3 * plane, &tops.count[1], kBlockBytes);
}

/// The tops of single samples.
KWINLINE inline void LoadSample(const std::uint8_t* from, const tConstants& constants, tTops& tops) {
    tops.value[0] = KwLoad(from);
    tops.value[1] = KwLoad(constants.zeros);
    tops.count[0] = KwLoad(constants.ones);
    tops.count[1] = KwLoad(constants.zeros);
}

/// Takes the tops of other samples in.
KWINLINE inline void Join(tTops& a, const tTops& b) {
    const tBytes none{};
    const tBytes first = KwGreater(a.value[0], b.value[0]);
    const tBytes countA = a.value[0] == first ? a.count[0] : none, countB = b.value[0] == first ? b.count[0] : none;
    const tBytes nextA = a.value[0] == first ? a.value[1] : a.value[0];
    const tBytes nextB = b.value[0] == first ? b.value[1] : b.value[0];
    const tBytes nextCountA = a.value[0] == first ? a.count[1] : a.count[0];
    const tBytes nextCountB = b.value[0] == first ? b.count[1] : b.count[0];
    const tBytes second = KwGreater(nextA, nextB);
    const tBytes secondA = nextA == second ? nextCountA : none, secondB = nextB == second ? nextCountB : none;
    a.value[0] = first;
    a.value[1] = second;
    a.count[0] = KwSum(countA, countB);
    a.count[1] = KwSum(secondA, secondB);
}

/// Up to a block behind `bytes` is read and written.
KWINLINE inline void JoinRows(std::uint8_t* to, std::ptrdiff_t toPlane, const std::uint8_t* a, std::ptrdiff_t planeA,
                              const std::uint8_t* b, std::ptrdiff_t planeB, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; i += kBlockBytes) {
        tTops tops, other;
        LoadTops(a + i, planeA, tops);
        LoadTops(b + i, planeB, other);
        Join(tops, other);
        StoreTops(tops, to + i, toPlane);
    }
}
constexpr CKwBodies kJoinRows(KwClones<JoinRows>);

/// As `JoinRows` of `a` and single samples.
KWINLINE inline void JoinSamples(std::uint8_t* to, const std::uint8_t* a, std::ptrdiff_t plane,
                                 const std::uint8_t* samples, const tConstants& constants, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; i += kBlockBytes) {
        tTops tops, other;
        LoadTops(a + i, plane, tops);
        LoadSample(samples + i, constants, other);
        Join(tops, other);
        StoreTops(tops, to + i, plane);
    }
}
constexpr CKwBodies kJoinSamples(KwClones<JoinSamples>);

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

/// Weighs up one block into `to` where the rim beats the cells of full weight, and marks lanes in doubt. False if none
/// is.
KWINLINE inline bool WeighBlock(const tRimBlock& rim, const std::uint8_t* fullBytes, const tRimWeights& weights,
                                std::uint8_t* to, std::uint8_t* doubts) {
    const tBytes full = KwLoad(fullBytes);
    tBytes top = KwLoad(rim.pieces[0]);
    for (int i = 1; i < kPieces; ++i) top = KwGreater(top, KwLoad(rim.pieces[i]));
    if (!Beats(top, full)) return false;

    tTops corners, other;
    LoadSample(rim.pieces[kTopLeft], rim.constants, corners);
    for (const int corner : {kTopRight, kBottomLeft, kBottomRight}) {
        LoadSample(rim.pieces[corner], rim.constants, other);
        Join(corners, other);
    }
    alignas(kBlockBytes) std::uint8_t cornerTops[4 * kBlockBytes];
    StoreTops(corners, cornerTops, kBlockBytes);
    const std::uint8_t* const sources[kLists] = {rim.pieces[kTop], rim.pieces[kBottom], rim.pieces[kLeft],
                                                 rim.pieces[kRight], cornerTops};
    const std::ptrdiff_t planes[kLists] = {rim.rowPlane, rim.rowPlane, rim.columnPlane, rim.columnPlane, kBlockBytes};
    tList lists[kLists];
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
    // The highest values, how often they occur in rows, columns and corners, and where that is not known.
    alignas(kBlockBytes) std::uint8_t tops[kValues + 1][kBlockBytes], counts[kValues][3][kBlockBytes],
        unknown[kValues][kBlockBytes];
    for (int n = 0; n <= kValues; ++n)
        for (std::ptrdiff_t i = 0; i < kBlockBytes; ++i) {
            const std::uint8_t best = Greater(Greater(Greater(lists[0].values[0][i], lists[1].values[0][i]),
                                                      Greater(lists[2].values[0][i], lists[3].values[0][i])),
                                              lists[4].values[0][i]);
            tops[n][i] = best;
            if (n == kValues) continue;
            std::uint8_t taken[kLists], isUnknown = 0;
            KWUNROLL
            for (int p = 0; p < kLists; ++p) {
                tList& list = lists[p];
                const std::uint8_t value = list.values[0][i], next = list.values[1][i], third = list.values[2][i];
                const std::uint8_t number = list.numbers[0][i], nextNumber = list.numbers[1][i];
                const std::uint8_t hidden = number == 0 ? value : 0;
                taken[p] = value == best ? number : 0;
                isUnknown = Greater(isUnknown, value == best ? hidden : 0);
                list.values[0][i] = value == best ? next : value;
                list.values[1][i] = value == best ? third : next;
                list.values[2][i] = value == best ? 0 : third;
                list.numbers[0][i] = value == best ? nextNumber : number;
                list.numbers[1][i] = value == best ? 0 : nextNumber;
            }
            unknown[n][i] = isUnknown;
            counts[n][0][i] = AddCounts(taken[0], taken[1]);
            counts[n][1][i] = AddCounts(taken[2], taken[3]);
            counts[n][2][i] = taken[4];
        }

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
    return Beats(KwLoad(doubts), tBytes{});
}
constexpr CKwBodies kWeighBlock(KwClones<WeighBlock>);

/// Whether sums and products of these weights up to 1 are exact: whole multiples of 1 / 256, or of 1 / 65536 for a
/// corner.
bool AreExact(float row, float column) {
    return row * 256.0f == std::floor(row * 256.0f) && column * 256.0f == std::floor(column * 256.0f);
}

} // namespace

void FilterRect(const tTurned& picture, const tRows& destination, const tAREATABLE& area) {
    const LONG fullX = area.FullColumns(0), fullY = area.FullRows();
    tRimWeights weights{area.Weight(0, fullY), area.Weight(fullX, 0), area.Weight(fullX, fullY), 0.0f, picture.turn};
    const bool hasRows = weights.row > 0.0f, hasColumns = weights.column > 0.0f;
    const LONG width = picture.width, height = picture.height;
    const std::ptrdiff_t stride = picture.stride, side = std::ptrdiff_t{picture.side} * 4;
    const std::ptrdiff_t rowBytes = std::ptrdiff_t{width} * 4, blockBytes = WholeBlocks(rowBytes);

    std::vector<tCell> cells[kPieces];
    const auto add = [&](int piece, LONG dx, LONG dy, float weight) {
        if (weight > 0.0f) cells[piece].push_back({stride * dy + std::ptrdiff_t{dx} * 4, dy, weight});
    };
    for (LONG i = 1 - fullX; i < fullX; ++i) {
        add(kTop, i, -fullY, weights.row);
        add(kBottom, i, fullY, weights.row);
    }
    for (LONG i = 1 - fullY; i < fullY; ++i) {
        add(kLeft, -fullX, i, weights.column);
        add(kRight, fullX, i, weights.column);
    }
    add(kTopLeft, -fullX, -fullY, weights.corner);
    add(kTopRight, fullX, -fullY, weights.corner);
    add(kBottomLeft, -fullX, fullY, weights.corner);
    add(kBottomRight, fullX, fullY, weights.corner);
    std::size_t cellCount = 0;
    float steps = 16.0f; // roundings on the way to a sum of 1
    for (const auto& piece : cells) {
        cellCount += piece.size();
        if (!piece.empty()) steps += std::min(static_cast<float>(piece.size()), 1.0f / piece[0].weight + 1.0f);
    }
    if (!AreExact(weights.row, weights.column)) weights.near = 255.0f * 0x1p-24f * steps;
    CWeighing weighing(picture, area, cellCount);

    const auto constants = std::make_unique<tConstants>();
    CColumnMax columns(picture, *constants, fullY, hasColumns);
    const std::int64_t ringRows = std::min<std::int64_t>(2 * std::int64_t{fullY} + 1, height);
    const tMemory ring = Bytes(hasRows ? ringRows * 4 : 0, blockBytes); // tops of the rim's row at each pixel
    const std::ptrdiff_t scratchPlane = stride + kBlockBytes;
    const tMemory column = Bytes(4, stride), scratch = Bytes(4, scratchPlane), none = Bytes(4, stride);
    const tMemory full = Bytes(1, blockBytes);
    const std::ptrdiff_t windowBytes = rowBytes + (2 * std::ptrdiff_t{fullX} - 2) * 4;
    const std::ptrdiff_t windowStart = side - (std::ptrdiff_t{fullX} - 1) * 4;
    LONG slid = 0;
    for (LONG y = 0; y < height; ++y) {
        columns.Next(column.get() + side, stride);
        std::memcpy(scratch.get(), column.get() + windowStart, static_cast<std::size_t>(windowBytes));
        SlideMax(full.get(), scratch.get(), windowBytes, 2 * fullX - 1, rowBytes);
        std::memset(full.get() + rowBytes, 255, static_cast<std::size_t>(blockBytes - rowBytes));
        std::uint8_t* to = destination.Row<std::uint8_t>(y);
        kTurnRow(to, full.get(), rowBytes, picture.turn);
        if (!hasRows && !hasColumns) continue;

        for (; hasRows && slid < height && slid <= std::int64_t{y} + fullY; ++slid) {
            std::memset(scratch.get(), 0, static_cast<std::size_t>(scratchPlane * 4));
            kJoinSamples(scratch.get(), scratch.get(), scratchPlane, picture.Row(slid) - side + windowStart, *constants,
                         windowBytes);
            SlideTops(ring.get() + slid % ringRows * 4 * blockBytes, blockBytes, scratch.get(), scratchPlane,
                      windowBytes, 2 * fullX - 1, rowBytes);
        }
        const std::ptrdiff_t reach = std::ptrdiff_t{fullX} * 4;
        tRimBlock rim{{}, blockBytes, stride, *constants};
        std::ranges::fill(rim.pieces, none.get());
        if (hasColumns) {
            rim.pieces[kLeft] = column.get() + side - reach;
            rim.pieces[kRight] = column.get() + side + reach;
        }
        if (hasRows && y - fullY >= 0) {
            rim.pieces[kTop] = ring.get() + (y - fullY) % ringRows * 4 * blockBytes;
            if (weights.corner > 0.0f) {
                rim.pieces[kTopLeft] = picture.Row(y - fullY) - reach;
                rim.pieces[kTopRight] = picture.Row(y - fullY) + reach;
            }
        }
        if (hasRows && height - y > fullY) {
            rim.pieces[kBottom] = ring.get() + (y + fullY) % ringRows * 4 * blockBytes;
            if (weights.corner > 0.0f) {
                rim.pieces[kBottomLeft] = picture.Row(y + fullY) - reach;
                rim.pieces[kBottomRight] = picture.Row(y + fullY) + reach;
            }
        }
        std::span<const tCell> inside[kPieces];
        for (int piece = 0; piece < kPieces; ++piece) inside[piece] = CellsInside(cells[piece], y, height);
        for (std::ptrdiff_t i = 0; i < rowBytes; i += kBlockBytes) {
            std::array<std::uint8_t, kBlockBytes> values, doubts;
            std::memcpy(values.data(), full.get() + i, kBlockBytes);
            kTurnRow(values.data(), values.data(), kBlockBytes, picture.turn);
            if (kWeighBlock(rim, full.get() + i, weights, values.data(), doubts.data()))
                for (std::ptrdiff_t lane = 0; lane < kBlockBytes; ++lane) {
                    if (!doubts[static_cast<std::size_t>(lane)]) continue;
                    const std::uint8_t floor = full[static_cast<std::size_t>(i + lane)];
                    tHit* end = weighing.Hits();
                    for (int piece = 0; piece < kPieces; ++piece)
                        if (rim.pieces[piece][lane] > floor)
                            end = FindLaneHits(picture.Row(y) + i + lane, floor, inside[piece], end);
                    values[static_cast<std::size_t>(lane)] =
                        weighing.Value({weighing.Hits(), end}, static_cast<LONG>((i + lane) / 4), y,
                                       static_cast<LONG>(lane & 3), floor);
                }
            std::memcpy(to + i, values.data(), static_cast<std::size_t>(std::min(kBlockBytes, rowBytes - i)));
            for (const std::uint8_t*& piece : rim.pieces) piece += kBlockBytes;
        }
    }
}

} // namespace kw_min_max
