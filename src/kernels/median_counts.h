// Counts of the percentile filter over a rectangle, sixteen at once, and what they weigh.
//
// All counts are cumulative: each tells the samples up to its bin. The two kinds of a count share a lane of a column,
// that of the rows of full weight (full) in its lower half and the one that counts the two rim rows besides (tall) in
// the upper, so that masks and shifts alone separate and widen them.
#pragma once

#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

#include "base/bodies.h"
#include "kernels/median_forms.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace kw_median {

inline constexpr std::ptrdiff_t kColumnLanes = kCoarse + 256; ///< a column's coarse counts, then 16 times the fine ones

/// A count is half a lane. Weights are of the lane's size, or of twice that size in two groups: even and odd bins.
/// Lanes are compared in parts of `PartBytes`.
template <class Lane, class Weight, std::size_t PartBytes = 32>
struct tForm {
    using tLane = Lane;
    using tWeight = Weight;
    static constexpr int kHalf = sizeof(Lane) * 4;
    static constexpr Lane kLow = static_cast<Lane>((Lane{1} << kHalf) - 1);

    using tLanes [[gnu::vector_size(kCoarse * sizeof(Lane))]] = Lane;
    using tPart [[gnu::vector_size(PartBytes)]] = Lane;
};
using tSmall = tForm<std::uint16_t, std::int32_t>;
using tMiddle = tForm<std::uint32_t, std::int32_t>;
using tLarge = tForm<std::uint64_t, std::int64_t>;

/// One channel of a rectangular pass.
struct tRectPass {
    tRows source, destination;
    LONG channel;
    LONG fullX, fullY; ///< cells of full weight on one side, the centre included; at least 1
    LONG rimX, rimY, corner;
    LONG q;
};

/// Sixteen counts over some columns.
template <class Form>
struct tCounts {
    typename Form::tLanes full{}, tall{};

    template <bool Rims>
    KWINLINE void Move(const typename Form::tLane* in, const typename Form::tLane* out) {
        typename Form::tLanes a, b;
        std::memcpy(&a, in, sizeof a);
        std::memcpy(&b, out, sizeof b);
        full += (a & Form::kLow) - (b & Form::kLow);
        if constexpr (Rims) tall += (a >> Form::kHalf) - (b >> Form::kHalf);
    }
};

/// How many of sixteen counts of full rows lie below `count`, and in the second byte how many up to it.
template <class Form>
KWINLINE inline std::uint32_t Ranks(const tCounts<Form>& counts, std::uint16_t count) {
    using tPart = typename Form::tPart;
    const tPart limit = tPart{} + count;
    tPart ranks{};
    for (std::size_t i = 0; i < sizeof counts.full; i += sizeof(tPart)) {
        tPart part;
        std::memcpy(&part, reinterpret_cast<const std::byte*>(&counts.full) + i, sizeof part);
        ranks += (reinterpret_cast<tPart>(part < limit) & 1) + (reinterpret_cast<tPart>(part <= limit) & 256);
    }
    std::uint64_t quads[sizeof(tPart) / 8], sum = 0;
    std::memcpy(quads, &ranks, sizeof quads);
    for (const std::uint64_t quad : quads) sum += quad;
    return static_cast<std::uint32_t>(sum * 0x0001000100010001u >> 48);
}

/// The sum of all lanes.
template <class Vector>
KWINLINE inline auto Total(const Vector& lanes) {
    using tElement = std::remove_cvref_t<decltype(lanes[0])>;
    if constexpr (sizeof(Vector) <= 16) {
        if constexpr (sizeof(tElement) == 8) {
            return lanes[0] + lanes[1];
        } else {
            const Vector pairs = lanes + __builtin_shufflevector(lanes, lanes, 2, 3, 0, 1);
            return pairs[0] + pairs[1];
        }
    } else {
        using tHalf [[gnu::vector_size(sizeof(Vector) / 2)]] = tElement;
        tHalf half[2];
        std::memcpy(half, &lanes, sizeof half);
        const tHalf sum = half[0] + half[1];
        return Total(sum);
    }
}

/// Of sixteen weights, each limited to a band of one cell: the sum, and the last.
struct tLimited {
    std::int32_t sum, last;
};

/// What a count weighs: of the inner columns and of those at the sides, by its kind. A tall one contains the full one.
template <class Form>
struct tFactors {
    typename Form::tWeight full, tall, fullSide, tallSide;

    explicit tFactors(const tRectPass& pass)
        : full(kOne - pass.rimY), tall(pass.rimY), fullSide(pass.rimX - pass.corner), tallSide(pass.corner) {}
};

/// The area's weight up to each of sixteen bins.
template <class Form>
class tWeights {
  public:
    using tWeight = typename Form::tWeight;

    /// @param inner the area's inner columns
    /// @param before, behind the columns at its sides
    KWINLINE tWeights(const tFactors<Form>& by, const tCounts<Form>& inner, const typename Form::tLane* before,
                      const typename Form::tLane* behind) {
        Add(inner.full, by.full);
        Add(inner.tall, by.tall);
        typename Form::tLanes a, b;
        std::memcpy(&a, before, sizeof a);
        std::memcpy(&b, behind, sizeof b);
        Add((a & Form::kLow) + (b & Form::kLow), by.fullSide);
        Add((a >> Form::kHalf) + (b >> Form::kHalf), by.tallSide);
    }

    /// How many are not above `low`.
    KWINLINE LONG UpTo(tWeight low) const {
        tGroup upTo = m_of[0] <= low;
        for (std::size_t i = 1; i < kGroups; ++i) upTo += m_of[i] <= low;
        return static_cast<LONG>(-Total(upTo));
    }

    KWINLINE std::array<tWeight, kCoarse> All() const {
        constexpr std::size_t kSize = kCoarse / kGroups;
        tWeight groups[kCoarse];
        std::memcpy(groups, m_of, sizeof groups);
        std::array<tWeight, kCoarse> all;
        for (std::size_t i = 0; i < kCoarse; ++i) all[i] = groups[i % kGroups * kSize + i / kGroups];
        return all;
    }

    /// Limits the weights and `base`, which is at most that of a cell.
    KWINLINE tLimited Limited(tWeight base) const {
        tGroup sum{}, part;
        for (std::size_t i = 0; i < kGroups; ++i) {
            part = m_of[i] + base;
            part = part < 0 ? tGroup{} : part;
            part = part > kOne ? tGroup{} + kOne : part;
            sum += part;
        }
        return {static_cast<std::int32_t>(Total(sum)), static_cast<std::int32_t>(part[kCoarse / kGroups - 1])};
    }

  private:
    static constexpr std::size_t kGroups = sizeof(tWeight) / sizeof(typename Form::tLane);
    using tGroup [[gnu::vector_size(kCoarse / kGroups * sizeof(tWeight))]] = tWeight;
    using tParts [[gnu::vector_size(kCoarse / kGroups * sizeof(tWeight))]] = std::make_unsigned_t<tWeight>;

    KWINLINE void Add(const typename Form::tLanes& counts, tWeight weight) {
        tParts parts;
        std::memcpy(&parts, &counts, sizeof parts);
        if constexpr (kGroups == 1) {
            m_of[0] += (tGroup)parts * weight;
        } else {
            m_of[0] += (tGroup)(parts & static_cast<typename Form::tLane>(-1)) * weight;
            m_of[1] += (tGroup)(parts >> (8 * sizeof(typename Form::tLane))) * weight;
        }
    }

    tGroup m_of[kGroups]{};
};

#if defined(__SSE2__)
/// SSE2 has no products of 32 bits, but adds two of signed 16 at once, which is the quickest way for all. So that full
/// counts fit, they are less 32768 each; the weights are then less by as much as they are, together, a whole cell each.
template <>
class tWeights<tSmall> {
  public:
    KWINLINE tWeights(const tFactors<tSmall>& by, const tCounts<tSmall>& inner, const std::uint16_t* before,
                      const std::uint16_t* behind) {
        const __m128i rows = Pair(by.full, by.tall), sides = Pair(by.fullSide, by.tallSide);
        const __m128i low = _mm_set1_epi16(static_cast<short>(tSmall::kLow)), less = _mm_set1_epi16(INT16_MIN);
        __m128i full[2], tall[2];
        std::memcpy(full, &inner.full, sizeof full);
        std::memcpy(tall, &inner.tall, sizeof tall);
        for (int i = 0; i < 2; ++i) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(before) + i);
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(behind) + i);
            const __m128i fullSides = _mm_add_epi16(_mm_and_si128(a, low), _mm_and_si128(b, low));
            const __m128i tallSides = _mm_add_epi16(_mm_srli_epi16(a, tSmall::kHalf), _mm_srli_epi16(b, tSmall::kHalf));
            const __m128i fullRows = _mm_xor_si128(full[i], less), tallRows = _mm_xor_si128(tall[i], less);
            m_of[2 * i] = _mm_add_epi32(_mm_madd_epi16(_mm_unpacklo_epi16(fullRows, tallRows), rows),
                                        _mm_madd_epi16(_mm_unpacklo_epi16(fullSides, tallSides), sides));
            m_of[2 * i + 1] = _mm_add_epi32(_mm_madd_epi16(_mm_unpackhi_epi16(fullRows, tallRows), rows),
                                            _mm_madd_epi16(_mm_unpackhi_epi16(fullSides, tallSides), sides));
        }
    }

    KWINLINE LONG UpTo(std::int32_t low) const {
        const __m128i limit = _mm_set1_epi32(low - kLess);
        const auto above = [&](int i) KWINLINE {
            return _mm_packs_epi32(_mm_cmpgt_epi32(m_of[i], limit), _mm_cmpgt_epi32(m_of[i + 1], limit));
        };
        return std::countr_zero(static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(above(0), above(2)))) |
                                1u << kCoarse);
    }

    KWINLINE std::array<std::int32_t, kCoarse> All() const {
        std::array<std::int32_t, kCoarse> all;
        for (std::size_t i = 0; i < std::size(m_of); ++i) {
            const __m128i weights = _mm_add_epi32(m_of[i], _mm_set1_epi32(kLess));
            std::memcpy(all.data() + 4 * i, &weights, sizeof weights);
        }
        return all;
    }

    KWINLINE tLimited Limited(std::int32_t base) const {
        const __m128i change = _mm_set1_epi32(base + kLess), one = _mm_set1_epi16(kOne);
        const auto limited = [&](int i) KWINLINE {
            const __m128i halves = _mm_packs_epi32(_mm_add_epi32(m_of[i], change), _mm_add_epi32(m_of[i + 1], change));
            return _mm_min_epi16(_mm_max_epi16(halves, _mm_setzero_si128()), one);
        };
        const __m128i first = limited(0), second = limited(2), ones = _mm_set1_epi16(1);
        const __m128i fours = _mm_add_epi32(_mm_madd_epi16(first, ones), _mm_madd_epi16(second, ones));
        const __m128i twos = _mm_add_epi32(fours, _mm_unpackhi_epi64(fours, fours));
        return {_mm_cvtsi128_si32(_mm_add_epi32(twos, _mm_shuffle_epi32(twos, 1))), _mm_extract_epi16(second, 7)};
    }

  private:
    static constexpr std::int32_t kLess = kOne << 15;

    static KWINLINE __m128i Pair(LONG full, LONG tall) { return _mm_set1_epi32(full | tall << 16); }

    __m128i m_of[4];
};
#endif

} // namespace kw_median
