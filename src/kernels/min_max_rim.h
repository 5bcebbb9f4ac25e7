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

/// Rows have room for as much behind them.
inline constexpr std::ptrdiff_t kWidestBytes = sizeof(tWide);

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
    return KwIsAny(KwGreater(block, full) ^ full);
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
KWINLINE inline tBlock<64>::tFloats Floats(const tBlock<64>::tWholes& v) {
    return __builtin_convertvector(v, tBlock<64>::tFloats);
}
KWINLINE inline tBlock<16>::tWholes Wholes(const tBlock<16>::tFloats& v) {
    return __builtin_convertvector(v, tBlock<16>::tWholes);
}
KWINLINE inline tBlock<32>::tWholes Wholes(const tBlock<32>::tFloats& v) {
    return __builtin_convertvector(v, tBlock<32>::tWholes);
}
KWINLINE inline tBlock<64>::tWholes Wholes(const tBlock<64>::tFloats& v) {
    return __builtin_convertvector(v, tBlock<64>::tWholes);
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

/// The picture, turned, with as many zeros to each side as the area reaches, and a block more behind.
struct tTurned {
    LONG width, height, side;
    std::ptrdiff_t stride;
    tMemory memory;
    std::uint8_t turn;

    tTurned(const tRows& source, LONG sidePixels, std::uint8_t turnBits)
        : width(source.width), height(source.height), side(sidePixels),
          stride((std::ptrdiff_t{width} + 2 * std::ptrdiff_t{side}) * 4 + kWidestBytes),
          memory(UnsetBytes(height, stride)), turn(turnBits) {
        const std::ptrdiff_t before = std::ptrdiff_t{side} * 4, bytes = std::ptrdiff_t{width} * 4;
        for (LONG y = 0; y < height; ++y) {
            std::uint8_t* row = memory.get() + y * stride;
            std::memset(row, 0, static_cast<std::size_t>(before));
            kTurnRow(row + before, source.Row<std::uint8_t>(y), bytes, turn);
            std::memset(row + before + bytes, 0, static_cast<std::size_t>(before + kWidestBytes));
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
        std::array<std::uint64_t, 4> levels{}; // a bit for each that occurs
        for (const tHit& hit : hits) {
            m_bins[hit.sample] += hit.weight;
            levels[hit.sample / 64] |= std::uint64_t{1} << hit.sample % 64;
        }
        for (std::size_t i = 4; i-- > 0;)
            for (std::uint64_t& bits = levels[i]; bits != 0;) {
                const auto bit = static_cast<std::size_t>(std::bit_width(bits)) - 1, bin = i * 64 + bit;
                if (sum < 1.0f) take(static_cast<LONG>(bin), m_bins[bin]);
                m_bins[bin] = 0.0f;
                bits ^= std::uint64_t{1} << bit;
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
