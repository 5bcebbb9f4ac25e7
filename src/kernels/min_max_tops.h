// The greatest samples of windows that slide along rows and down columns, and how often the two greatest occur.
#pragma once

#include "kernels/min_max_rim.h"

namespace kw_min_max {

/// Each byte becomes the greater of itself and the one `step` on, front to back.
KWINLINE inline void WidenMax(std::uint8_t* row, std::ptrdiff_t step, std::ptrdiff_t count) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) row[i] = std::max(row[i], row[i + step]);
}
inline constexpr CKwBodies kWidenMax(KwClones<WidenMax>);

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
inline constexpr CKwBodies kJoinRows(KwWidths<JoinRows<16>, JoinRows<32>, JoinRows<64>>);

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
inline constexpr CKwBodies kJoinSamples(KwWidths<JoinSamples<16>, JoinSamples<32>, JoinSamples<64>>);

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
inline constexpr CKwBodies kJoinPairs(KwWidths<JoinPairs<16>, JoinPairs<32>, JoinPairs<64>>);

/// The greatest of `count` pixels from each on. `row` holds `bytes` and is used up.
inline void SlideMax(std::uint8_t* to, std::uint8_t* row, std::ptrdiff_t bytes, LONG count, std::ptrdiff_t outBytes) {
    std::ptrdiff_t reach = 1;
    for (; reach * 2 <= count; reach *= 2) {
        bytes -= reach * 4;
        kWidenMax(row, reach * 4, bytes);
    }
    kMaxRows(to, row, row + (count - reach) * 4, outBytes);
}

/// The same with tops, of an odd `count`; `rows` is room to work in.
inline void SlideTops(std::uint8_t* to, std::ptrdiff_t toPlane, const std::uint8_t* samples, std::uint8_t* rows,
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

} // namespace kw_min_max
