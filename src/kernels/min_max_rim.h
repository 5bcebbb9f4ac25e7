// What the two forms of the minimum and maximum filters have in common: the turned picture, and the cells on the rim.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <vector>

#include "base/arith.h"
#include "base/bodies.h"
#include "base/fits.h"
#include "kernels/area_table.h"
#include "kernels/row.h"

// The result is a bare extreme wherever no sample on the area's rim beats the cells of full weight. These extremes are
// found first, for whole rows; then the rim's cells are held against them, a block of a row at a time, and weights are
// added up for the few samples that beat them. Samples are turned over for the minimum, so that the better sample is
// the greater byte in both filters and 0 stands for what lies outside the picture.

namespace kw_min_max {

using tMemory = std::unique_ptr<std::uint8_t[]>;

inline tMemory UnsetBytes(std::int64_t rows, std::int64_t rowBytes) {
    if (!KwFits(static_cast<std::uint64_t>(rows), static_cast<std::uint64_t>(rowBytes))) throw std::bad_alloc();
    return tMemory(new std::uint8_t[static_cast<std::size_t>(rows) * static_cast<std::size_t>(rowBytes)]);
}
/// Zeros.
inline tMemory Bytes(std::int64_t rows, std::int64_t rowBytes) {
    tMemory memory = UnsetBytes(rows, rowBytes);
    std::memset(memory.get(), 0, static_cast<std::size_t>(rows) * static_cast<std::size_t>(rowBytes));
    return memory;
}

KWINLINE inline void TurnRow(std::uint8_t* to, const std::uint8_t* from, std::ptrdiff_t count, std::uint8_t turn) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = from[i] ^ turn;
}
inline constexpr CKwBodies kTurnRow(KwClones<TurnRow>);

KWINLINE inline void MaxRows(std::uint8_t* __restrict to, const std::uint8_t* a, const std::uint8_t* b,
                             std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = std::max(a[i], b[i]);
}
inline constexpr CKwBodies kMaxRows(KwClones<MaxRows>);

/// True where any byte of `block` is above that of `full`.
template <class Bytes>
KWINLINE inline bool Beats(const Bytes& block, const Bytes& full) {
    using tQuads [[gnu::vector_size(16)]] = std::uint64_t;
    const Bytes difference = KwGreater(block, full) ^ full;
    tQuads any{};
    for (std::size_t i = 0; i < sizeof(Bytes); i += 16) { // a vector's halves cost less than its words
        tQuads part;
        std::memcpy(&part, reinterpret_cast<const std::uint8_t*>(&difference) + i, 16);
        any |= part;
    }
    return (any[0] | any[1]) != 0;
}

/// All bits of the bytes that are equal. Some compilers take a comparison's result apart into single bytes when it
/// chooses between constants that they know, so what is wanted is cut out by it.
template <class Bytes>
KWINLINE inline Bytes Equal(const Bytes& a, const Bytes& b) {
    return reinterpret_cast<Bytes>(a == b);
}

// Some compilers convert no vector whose type depends on a template.
KWINLINE inline tBlock<16>::tFloats Floats(const tBlock<16>::tWholes& v) {
    return __builtin_convertvector(v, tBlock<16>::tFloats);
}
KWINLINE inline tBlock<32>::tFloats Floats(const tBlock<32>::tWholes& v) {
    return __builtin_convertvector(v, tBlock<32>::tFloats);
}
KWINLINE inline tBlock<16>::tWholes Wholes(const tBlock<16>::tFloats& v) {
    return __builtin_convertvector(v, tBlock<16>::tWholes);
}
KWINLINE inline tBlock<32>::tWholes Wholes(const tBlock<32>::tFloats& v) {
    return __builtin_convertvector(v, tBlock<32>::tWholes);
}

/// Every fourth byte from place `shift` / 8 on.
template <class Bytes>
KWINLINE inline tWordsOf<Bytes> Words(const Bytes& bytes, int shift) {
    return reinterpret_cast<tWordsOf<Bytes>>(bytes) >> shift & 255;
}
template <class Bytes>
KWINLINE inline auto Reals(const Bytes& bytes, int shift) {
    return Floats(reinterpret_cast<typename tBlock<sizeof(Bytes)>::tWholes>(Words(bytes, shift)));
}

/// The two highest values of a block of the rim, `best` not below the greatest of the cells of full weight, a limit of
/// all others, and where the weights of the two are not known.
template <class Bytes>
struct tTwoValues {
    Bytes best, second, rest, unknown, full;
};

/// The means of one cell's weight from the top on, and in which bytes (1) they are in doubt. `weight(n, shift)` is that
/// of a value for every fourth byte; a result at most `near` from a whole number is in doubt.
template <class Bytes, class Weight>
KWINLINE inline Bytes Weigh(const tTwoValues<Bytes>& values, Weight weight, float near, std::uint8_t turn,
                            Bytes& doubts) {
    using tWords = tWordsOf<Bytes>;
    using tFloats = typename tBlock<sizeof(Bytes)>::tFloats;
    const auto& [best, second, rest, unknown, full] = values;
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
        inDoubt |= ((low ^ high) | (Words(unknown, shift) & isMixed) | (Words(below, shift) & isOpen)) << shift;
    }
    doubts = KwSmaller(reinterpret_cast<Bytes>(inDoubt) & ~Equal(best, full), Bytes{} + 1);
    return best == full ? fulls : reinterpret_cast<Bytes>(results);
}

/// The picture, turned, with as many zeros to each side as the area reaches, and a block more behind.
struct tTurned {
    LONG width, height, side;
    std::ptrdiff_t stride;
    tMemory memory;
    std::uint8_t turn;

    tTurned(const tRows& source, LONG sidePixels, std::uint8_t turnBits)
        : width(source.width), height(source.height), side(sidePixels),
          stride((std::ptrdiff_t{width} + 2 * std::ptrdiff_t{side}) * 4 + kBlockBytes),
          memory(UnsetBytes(height, stride)), turn(turnBits) {
        const std::ptrdiff_t before = std::ptrdiff_t{side} * 4, bytes = std::ptrdiff_t{width} * 4;
        for (LONG y = 0; y < height; ++y) {
            std::uint8_t* row = memory.get() + y * stride;
            std::memset(row, 0, static_cast<std::size_t>(before));
            kTurnRow(row + before, source.Row<std::uint8_t>(y), bytes, turn);
            std::memset(row + before + bytes, 0, static_cast<std::size_t>(before + kBlockBytes));
        }
    }
    const std::uint8_t* Row(LONG y) const { return memory.get() + y * stride + std::ptrdiff_t{side} * 4; }
};

struct tCell {
    std::ptrdiff_t offset; ///< bytes from the centre
    LONG dy;
    float weight;
};

/// A sample on the rim above the cells of full weight.
struct tHit {
    float weight;
    std::uint8_t sample;
};

/// Appends the hits of one lane.
inline tHit* FindHits(const std::uint8_t* at, std::uint8_t full, std::span<const tCell> cells, tHit* hits) {
    for (const tCell& cell : cells) { // without a jump, which nobody could foresee
        const std::uint8_t sample = at[cell.offset];
        *hits = {cell.weight, sample};
        hits += sample > full;
    }
    return hits;
}

/// Weighs up the hits of one lane.
class CWeighing {
  public:
    CWeighing(const tTurned& picture, const tAREATABLE& area, std::size_t cells)
        : m_picture(picture), m_area(area), m_hits(cells) {}

    tHit* Hits() { return m_hits.data(); }

    /// The value of one channel, given the greatest sample of the cells of full weight.
    std::uint8_t Value(std::span<const tHit> hits, LONG x, LONG y, LONG channel, LONG full) {
        float sum = 0.0f, value = 0.0f;
        const auto take = [&](LONG bin, float weight) {
            value += (sum + weight > 1.0f ? 1.0f - sum : weight) * static_cast<float>(bin ^ m_picture.turn);
            sum += weight;
        };
        LONG best = 0;
        for (const tHit& hit : hits) best = std::max<LONG>(best, hit.sample);
        if (hits.size() <= 8) {
            while (best > full && sum < 1.0f) {
                float weight = 0.0f;
                LONG next = full;
                for (const tHit& hit : hits) {
                    if (hit.sample == best) weight += hit.weight;
                    if (hit.sample < best) next = std::max<LONG>(next, hit.sample);
                }
                take(best, weight);
                best = next;
            }
        } else {
            for (const tHit& hit : hits) m_bins[hit.sample] += hit.weight;
            for (LONG bin = best; bin > full && sum < 1.0f; --bin)
                if (const float weight = m_bins[static_cast<std::size_t>(bin)]; weight > 0.0f) take(bin, weight);
            for (const tHit& hit : hits) m_bins[hit.sample] = 0.0f;
        }
        // Where rounding loses the sum so far, it shows whether the bin of full cells weighs more than 1.
        if (sum < 1.0f) take(full, sum + 1.0f > 1.0f || IsSingle(x, y, channel, full) ? 1.0f : 2.0f);
        return static_cast<std::uint8_t>(KwTrunc(KwClamp(value, 0.0f, 255.0f)));
    }

  private:
    /// True when the samples equal to `full` weigh exactly 1.
    bool IsSingle(LONG x, LONG y, LONG channel, LONG full) const {
        const LONG reachX = m_area.columns - 1, reachY = m_area.rows - 1;
        float weight = 0.0f;
        for (LONG dy = std::max(-reachY, -y); dy <= std::min(reachY, m_picture.height - 1 - y); ++dy) {
            const std::uint8_t* row = m_picture.Row(y + dy) + channel;
            for (LONG dx = std::max(-reachX, -x); dx <= std::min(reachX, m_picture.width - 1 - x); ++dx)
                if (row[(std::ptrdiff_t{x} + dx) * 4] == full) {
                    weight += m_area.Row(std::abs(dy))[std::abs(dx)];
                    if (weight > 1.0f) return false;
                }
        }
        return true;
    }

    const tTurned& m_picture;
    const tAREATABLE& m_area;
    std::vector<tHit> m_hits;
    std::array<float, 256> m_bins{};
};

/// The part of `cells`, which are in the order of their rows, that lies inside the picture at row `y`.
inline std::span<const tCell> CellsInside(const std::vector<tCell>& cells, LONG y, LONG height) {
    const auto first = std::ranges::lower_bound(cells, -y, {}, &tCell::dy);
    const auto last = std::ranges::lower_bound(cells, height - y, {}, &tCell::dy);
    return {first, last};
}

/// `area` has a cell of full weight.
void FilterRect(const tTurned& picture, const tRows& destination, const tAREATABLE& area);
void FilterEllipse(const tTurned& picture, const tRows& destination, const tAREATABLE& area);

} // namespace kw_min_max
