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
    const Bytes difference = KwGreater(block, full) ^ full;
    std::uint64_t words[sizeof(Bytes) / 8], any = 0;
    std::memcpy(words, &difference, sizeof(Bytes));
    for (const std::uint64_t word : words) any |= word;
    return any != 0;
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
    std::uint8_t lane, sample;
};

/// Appends the hits of `count` cells for the block `at`, cell by cell, and gives the end of the hits. Eight cells are
/// tested at once, as most hit nothing.
KWINLINE inline tHit* FindHits(const std::uint8_t* at, const std::uint8_t* fullBytes, const tCell* cells,
                               std::ptrdiff_t count, tHit* hits) {
    const tBytes full = KwLoad(fullBytes);
    for (std::ptrdiff_t group = 0; group < count; group += 8) {
        const std::ptrdiff_t end = std::min<std::ptrdiff_t>(group + 8, count);
        tBytes best{};
        for (std::ptrdiff_t i = group; i < end; ++i) best = KwGreater(best, KwLoad(at + cells[i].offset));
        if (!Beats(best, full)) continue;
        for (std::ptrdiff_t i = group; i < end; ++i) {
            const tBytes samples = KwLoad(at + cells[i].offset);
            if (!Beats(samples, full)) continue;
            const tBytes difference = KwGreater(samples, full) ^ full;
            for (std::ptrdiff_t word = 0; word < kBlockBytes; word += 8) {
                std::uint64_t bits;
                std::memcpy(&bits, reinterpret_cast<const std::uint8_t*>(&difference) + word, 8);
                while (bits) {
                    const std::ptrdiff_t byte = std::countr_zero(bits) / 8;
                    bits &= ~(std::uint64_t{255} << byte * 8);
                    const std::ptrdiff_t lane = word + byte;
                    *hits++ = {cells[i].weight, static_cast<std::uint8_t>(lane), at[cells[i].offset + lane]};
                }
            }
        }
    }
    return hits;
}
inline constexpr CKwBodies kFindHits(KwClones<FindHits>);

/// The same for one lane.
inline tHit* FindLaneHits(const std::uint8_t* at, std::uint8_t full, std::span<const tCell> cells, tHit* hits) {
    for (const tCell& cell : cells) { // without a jump, which nobody could foresee
        const std::uint8_t sample = at[cell.offset];
        *hits = {cell.weight, 0, sample};
        hits += sample > full;
    }
    return hits;
}

/// Weighs up the hits of one block.
class CWeighing {
  public:
    CWeighing(const tTurned& picture, const tAREATABLE& area, std::size_t cells)
        : m_picture(picture), m_area(area), m_hits(cells * kBlockBytes), m_sorted(cells * kBlockBytes) {}

    tHit* Hits() { return m_hits.data(); }

    /// Stores the values of all lanes that have hits, these up to `end`.
    void Store(const tHit* end, LONG x, LONG y, const std::uint8_t* full, std::uint8_t* to) {
        std::array<std::uint32_t, kBlockBytes + 1> starts{};
        for (const tHit* hit = m_hits.data(); hit != end; ++hit) ++starts[hit->lane + 1u];
        std::uint64_t lanes = 0;
        for (std::size_t lane = 0; lane < kBlockBytes; ++lane) {
            if (starts[lane + 1] != 0) lanes |= std::uint64_t{1} << lane;
            starts[lane + 1] += starts[lane];
        }
        auto next = starts;
        for (const tHit* hit = m_hits.data(); hit != end; ++hit) m_sorted[next[hit->lane]++] = *hit;
        for (; lanes; lanes &= lanes - 1) {
            const int lane = std::countr_zero(lanes);
            const auto l = static_cast<std::size_t>(lane);
            to[lane] = Value({m_sorted.data() + starts[l], m_sorted.data() + starts[l + 1]}, x + lane / 4, y, lane & 3,
                             full[lane]);
        }
    }

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
    std::vector<tHit> m_hits, m_sorted;
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
