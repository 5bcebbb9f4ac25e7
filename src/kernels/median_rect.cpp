// The percentile filter over a rectangle.
#include <array>
#include <cstring>
#include <memory>
#include <type_traits>

#include "base/bodies.h"
#include "kernels/median_forms.h"
#include "kernels/ranges.h"

namespace kw_median {
namespace {

// Each column of the picture keeps cumulative counts of the samples that the area covers there, once for the rows of
// full weight and once with the two rim rows, moved down row by row. Along a row the area's counts in 16 coarse bins
// are kept by adding the column that enters and taking off the one that leaves; the 16 fine bins of a coarse one are
// brought up to date only when the band lies in it. (S. Perreault, P. Hebert, "Median Filtering in Constant Time",
// 2007.) All counts are integers, so nothing drifts; weights come in when a band is looked for.
//
// Sixteen counts are worked on at once. The two kinds of a count share a lane, full rows in its lower half, so that
// masks and shifts alone separate and widen them.

constexpr LONG kStripColumns = 640;                    ///< keeps the columns of a strip in the second-level cache
constexpr std::ptrdiff_t kColumnLanes = kCoarse + 256; ///< cumulative coarse counts, then 16 times the fine ones

/// A count is half a lane. Weights are of the lane's size, or of twice that size in two groups: even and odd bins.
/// Lanes are compared in parts of `PartBytes`.
template <class Lane, class Weight, std::size_t PartBytes = 32>
struct tForm {
    using tLane = Lane;
    using tWeight = Weight;
    using tUnsigned = std::make_unsigned_t<Weight>;
    static constexpr int kHalf = sizeof(Lane) * 4;
    static constexpr std::size_t kGroups = sizeof(Weight) / sizeof(Lane);
    static constexpr Lane kLow = static_cast<Lane>((Lane{1} << kHalf) - 1);

    using tLanes [[gnu::vector_size(kCoarse * sizeof(Lane))]] = Lane;
    using tPart [[gnu::vector_size(PartBytes)]] = Lane;
    using tWeights [[gnu::vector_size(kCoarse / kGroups * sizeof(Weight))]] = Weight;
    using tParts [[gnu::vector_size(kCoarse / kGroups * sizeof(Weight))]] = tUnsigned;

    /// What a sample of v adds to sixteen cumulative counts.
    static constexpr std::size_t kNone = 0, kFullIn = 1, kFullOut = 2, kTallIn = 3, kTallOut = 4;
    static constexpr auto kChange = [] {
        std::array<std::array<std::array<Lane, kCoarse>, kCoarse>, 5> table{};
        for (std::size_t v = 0; v < kCoarse; ++v)
            for (std::size_t i = v; i < kCoarse; ++i) {
                table[kFullIn][v][i] = 1;
                table[kFullOut][v][i] = static_cast<Lane>(-1);
                table[kTallIn][v][i] = static_cast<Lane>(Lane{1} << kHalf);
                table[kTallOut][v][i] = static_cast<Lane>(~kLow);
            }
        return table;
    }();
};

/// One channel of a rectangular pass.
struct tRectPass {
    tRows source, destination;
    LONG channel;
    LONG fullX, fullY; ///< cells of full weight on one side, the centre included; at least 1
    LONG rimX, rimY, corner;
    LONG q;
};

/// Sixteen cumulative counts over some columns.
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

/// `weights` += `counts` * `weight`, group by group.
template <class Form>
KWINLINE inline void AddWeighted(const typename Form::tLanes& counts, typename Form::tWeight weight,
                                 typename Form::tWeights (&weights)[Form::kGroups]) {
    typename Form::tParts parts;
    std::memcpy(&parts, &counts, sizeof parts);
    if constexpr (Form::kGroups == 1) {
        weights[0] += (typename Form::tWeights)parts * weight;
    } else {
        weights[0] += (typename Form::tWeights)(parts & static_cast<typename Form::tLane>(-1)) * weight;
        weights[1] += (typename Form::tWeights)(parts >> (8 * sizeof(typename Form::tLane))) * weight;
    }
}

/// The area's weights from the counts of its inner columns and those of the columns at both sides.
template <class Form>
KWINLINE inline void Weigh(const tRectPass& pass, const tCounts<Form>& inner, const typename Form::tLane* before,
                           const typename Form::tLane* behind, typename Form::tWeights (&weights)[Form::kGroups]) {
    AddWeighted<Form>(inner.full, kOne - pass.rimY, weights);
    AddWeighted<Form>(inner.tall, pass.rimY, weights);
    typename Form::tLanes a, b;
    std::memcpy(&a, before, sizeof a);
    std::memcpy(&b, behind, sizeof b);
    AddWeighted<Form>((a & Form::kLow) + (b & Form::kLow), pass.rimX - pass.corner, weights);
    AddWeighted<Form>((a >> Form::kHalf) + (b >> Form::kHalf), pass.corner, weights);
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

/// Moves the counts of columns `left` to `right` down to row `y`.
template <class Form, bool Rims>
KWINLINE inline void MoveColumns(const tRectPass& pass, typename Form::tLane* columns, LONG left, LONG right,
                                 std::int64_t y) {
    constexpr std::size_t rowCount = Rims ? 4 : 2;
    const std::int64_t rows[4] = {y + pass.fullY - 1, y - pass.fullY, y + pass.fullY, y - pass.fullY - 1};
    const std::array<typename Form::tLane, kCoarse>* changes[4];
    const std::uint8_t* samples[4];
    for (std::size_t i = 0; i < rowCount; ++i) {
        const bool inside = rows[i] >= 0 && rows[i] < pass.source.height;
        changes[i] = Form::kChange[inside ? Form::kFullIn + i : Form::kNone].data();
        samples[i] = pass.source.Row<std::uint8_t>(inside ? static_cast<LONG>(rows[i]) : 0) + pass.channel;
    }
    typename Form::tLane* column = columns;
    for (std::ptrdiff_t x = std::ptrdiff_t{left} * 4; x < std::ptrdiff_t{right} * 4; x += 4, column += kColumnLanes) {
        typename Form::tLanes counts, change;
        std::memcpy(&counts, column, sizeof counts);
        for (std::size_t i = 0; i < rowCount; ++i) {
            std::memcpy(&change, changes[i][samples[i][x] >> 4].data(), sizeof change);
            counts += change;
        }
        std::memcpy(column, &counts, sizeof counts);
        for (std::size_t i = 0; i < rowCount; ++i) {
            typename Form::tLane* fine = column + kCoarse + (samples[i][x] & 0xF0);
            std::memcpy(&counts, fine, sizeof counts);
            std::memcpy(&change, changes[i][samples[i][x] & 15].data(), sizeof change);
            counts += change;
            std::memcpy(fine, &counts, sizeof counts);
        }
    }
}

/// Where the band of each pixel of a row begins. `rows`: how many rows of full weight lie in the picture; `rims`: of
/// the two others.
template <class Weight>
void FindStarts(const tRectPass& pass, LONG left, LONG right, LONG rows, LONG rims, Weight* starts) {
    const LONG width = pass.source.width, fullX = pass.fullX;
    const std::int64_t inner = std::int64_t{rows} * kOne + std::int64_t{rims} * pass.rimY;
    const std::int64_t side = std::int64_t{rows} * pass.rimX + std::int64_t{rims} * pass.corner;
    for (LONG x = left; x < right; ++x) {
        const std::int64_t inside = std::min<std::int64_t>(std::int64_t{x} + fullX, width) -
                                    std::max<std::int64_t>(std::int64_t{x} - fullX + 1, 0);
        const std::int64_t sides = (std::int64_t{x} + fullX < width) + (x - fullX >= 0);
        starts[x - left] = static_cast<Weight>(BandStart(inside * inner + sides * side, pass.q));
    }
}

/// A strip's columns in memory; those beside it are one column of zeros.
template <class Lane>
struct tColumns {
    Lane* zeros;
    std::int64_t first, last;

    KWINLINE Lane* operator()(std::int64_t x) const {
        return zeros + (x >= first && x < last ? x - first + 1 : 0) * kColumnLanes;
    }
};

/// Brings sixteen fine counts, those of the pixel `known`, up to the pixel `x`.
template <class Form, bool Rims>
KWINLINE inline void MoveFine(tCounts<Form>& fine, const tColumns<typename Form::tLane>& column, std::ptrdiff_t offset,
                              LONG fullX, std::int64_t known, std::int64_t x) {
    if (x - known > fullX) {
        fine = {};
        const std::int64_t end = std::min<std::int64_t>(x + fullX, column.last);
        for (std::int64_t i = std::max<std::int64_t>(x - fullX + 1, column.first); i < end; ++i)
            fine.template Move<Rims>(column(i) + offset, column.zeros);
    } else {
        for (std::int64_t i = known + 1; i <= x; ++i)
            fine.template Move<Rims>(column(i + fullX - 1) + offset, column(i - fullX) + offset);
    }
}

/// The fine counts of a row's pixel, a set for each coarse bin.
template <class Form>
struct tFine {
    tCounts<Form> counts[kCoarse];
    std::int64_t at[kCoarse]; ///< the pixel that the counts of a bin are those of

    KWINLINE tFine() { std::fill_n(at, kCoarse, std::int64_t{INT32_MIN}); }
};

/// The mean value, in units of 1 / kOne, of the band of weight that begins at `low` over the pixel `x`, whose coarse
/// counts are given.
template <class Form>
KWINLINE inline std::int32_t BandSum(const tRectPass& pass, const tColumns<typename Form::tLane>& column,
                                     const tCounts<Form>& coarse, tFine<Form>& fine, std::int64_t x,
                                     const typename Form::tLane* before, const typename Form::tLane* behind,
                                     typename Form::tWeight low) {
    using tWeight = typename Form::tWeight;
    using tWeights = typename Form::tWeights;
    constexpr LONG groups = Form::kGroups;
    tWeights weights[groups]{};
    Weigh<Form>(pass, coarse, before, behind, weights);
    tWeight stored[kCoarse];
    std::memcpy(stored, weights, sizeof stored);
    const auto upTo = [&](LONG bin) KWINLINE { return stored[bin % groups * (kCoarse / groups) + bin / groups]; };

    const tWeight high = low + kOne;
    tWeights passed = weights[0] <= low;
    for (LONG i = 1; i < groups; ++i) passed += weights[i] <= low;
    LONG k = std::min(static_cast<LONG>(-Total(passed)), kCoarse - 1);
    tWeight below = k ? upTo(k - 1) : 0;
    std::int32_t sum = 0;
    for (bool more = high > 0; more; ++k) {
        const std::ptrdiff_t offset = kCoarse + k * kCoarse;
        const std::int64_t known = fine.at[k];
        fine.at[k] = x;
        MoveFine<Form, true>(fine.counts[k], column, offset, pass.fullX, known, x);
        // The band's share of bin i is c(i) - c(i - 1), c being the weight up to the bin limited to the band: the sum
        // over i * (c(i) - c(i - 1)) takes one sum over c.
        const tWeight base = below - low;
        tWeights bins[groups]{}, limited{};
        Weigh<Form>(pass, fine.counts[k], before + offset, behind + offset, bins);
        for (tWeights& part : bins) {
            part += base;
            part = part < 0 ? tWeights{} : part;
            limited += part > kOne ? tWeights{} + kOne : part;
        }
        const auto covered = static_cast<std::int32_t>(Total(limited));
        below = upTo(k);
        const auto start = static_cast<std::int32_t>(std::clamp<tWeight>(base, 0, kOne));
        const auto stop = static_cast<std::int32_t>(std::clamp<tWeight>(below - low, 0, kOne));
        sum += (k + 1) * kCoarse * stop - k * kCoarse * start - covered;
        more = k < kCoarse - 1 && below < high;
    }
    return sum;
}

/// How many of sixteen cumulative counts lie below `count`, and in the second byte how many up to it.
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

/// `BandSum` where all cells have full weight: the band is a part of one sample, and the rest of it of the next
/// greater.
template <class Form>
KWINLINE inline std::int32_t SampleSum(const tRectPass& pass, const tColumns<typename Form::tLane>& column,
                                       const tCounts<Form>& coarse, tFine<Form>& fine, std::int64_t x,
                                       std::int32_t low) {
    const std::int32_t part = low & (kOne - 1);
    const auto rank = static_cast<std::uint16_t>((low >> 14) + 1); // samples up to the first, itself included
    std::uint16_t stored[kCoarse];
    std::memcpy(stored, &coarse.full, sizeof stored);
    const auto ranksIn = [&](LONG k, std::uint16_t count) KWINLINE {
        const std::int64_t known = fine.at[k];
        fine.at[k] = x;
        MoveFine<Form, false>(fine.counts[k], column, kCoarse + std::ptrdiff_t{k} * kCoarse, pass.fullX, known, x);
        return Ranks(fine.counts[k], count);
    };
    const std::uint32_t bins = Ranks(coarse, rank);
    const LONG first = static_cast<LONG>(bins & 255), next = static_cast<LONG>(bins >> 8);
    const auto inside = static_cast<std::uint16_t>(rank - (first ? stored[first - 1] : 0));
    const std::uint32_t levels = ranksIn(first, inside);
    std::int32_t nextLevel = first * kCoarse + static_cast<std::int32_t>(levels >> 8);
    if (next != first) // none is left beyond the last bin
        nextLevel =
            next == kCoarse || part == 0 ? 0 : next * kCoarse + static_cast<std::int32_t>(ranksIn(next, 0) >> 8);
    return (first * kCoarse + static_cast<std::int32_t>(levels & 255)) * (kOne - part) + nextLevel * part;
}

/// The strip `left` to `right` of the destination. `memory` takes a column of zeros and then those of the strip and
/// as much beside it as the area reaches; `starts` one band start per pixel.
template <class Form, bool Rims>
KWINLINE inline void FilterStrip(const tRectPass& pass, LONG left, LONG right, typename Form::tLane* memory,
                                 typename Form::tWeight* starts) {
    const LONG width = pass.source.width, height = pass.source.height;
    const LONG fullX = pass.fullX, fullY = pass.fullY;
    const LONG first = static_cast<LONG>(std::max<std::int64_t>(std::int64_t{left} - fullX, 0));
    const LONG last = static_cast<LONG>(std::min<std::int64_t>(std::int64_t{right} + fullX, width));
    typename Form::tLane* const columns = memory + kColumnLanes;
    std::fill_n(memory, (std::ptrdiff_t{last} - first + 1) * kColumnLanes, typename Form::tLane{0});
    const tColumns<typename Form::tLane> column{memory, first, last};

    for (std::int64_t y = -std::int64_t{fullY}; y < 0; ++y) MoveColumns<Form, Rims>(pass, columns, first, last, y);
    LONG knownRows = -1, knownRims = -1;
    for (LONG y = 0; y < height; ++y) {
        MoveColumns<Form, Rims>(pass, columns, first, last, y);

        // Totals change only where the area is clipped.
        const LONG rows = static_cast<LONG>(std::min<std::int64_t>(std::int64_t{y} + fullY, height) -
                                            std::max<std::int64_t>(std::int64_t{y} - fullY + 1, 0));
        const LONG rims = (std::int64_t{y} + fullY < height) + (y - fullY >= 0);
        if (rows != knownRows || rims != knownRims) {
            knownRows = rows;
            knownRims = rims;
            FindStarts(pass, left, right, rows, rims, starts);
        }

        tCounts<Form> coarse;
        tFine<Form> fine;
        const std::int64_t filled = std::min<std::int64_t>(std::int64_t{left} + fullX - 1, last);
        for (std::int64_t x = std::max<std::int64_t>(std::int64_t{left} - fullX + 1, first); x < filled; ++x)
            coarse.template Move<Rims>(column(x), memory);

        std::uint8_t* to = pass.destination.Row<std::uint8_t>(y) + std::ptrdiff_t{left} * 4 + pass.channel;
        for (std::int64_t x = left; x < right; ++x, to += 4) {
            const auto* const before = column(x - fullX);
            const auto* const behind = column(x + fullX);
            coarse.template Move<Rims>(column(x + fullX - 1), x > left ? before : memory);
            std::int32_t sum;
            if constexpr (Rims)
                sum = BandSum<Form>(pass, column, coarse, fine, x, before, behind, starts[x - left]);
            else
                sum = SampleSum<Form>(pass, column, coarse, fine, x, starts[x - left]);
            *to = static_cast<std::uint8_t>((sum + kOne / 2) / kOne);
        }
    }
}

using tSmall = tForm<std::uint16_t, std::int32_t>;
using tMiddle = tForm<std::uint32_t, std::int32_t>;
using tLarge = tForm<std::uint64_t, std::int64_t>;

KWINLINE inline void FilterSmall(const tRectPass& pass, LONG left, LONG right, std::uint16_t* memory,
                                 std::int32_t* starts) {
    FilterStrip<tSmall, true>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterSmall(KwClones<FilterSmall>);
template <std::size_t kPartBytes>
KWINLINE inline void FilterSmallWhole(const tRectPass& pass, LONG left, LONG right, std::uint16_t* memory,
                                      std::int32_t* starts) {
    FilterStrip<tForm<std::uint16_t, std::int32_t, kPartBytes>, false>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterSmallWhole(KwWidths<FilterSmallWhole<16>, FilterSmallWhole<32>, FilterSmallWhole<32>>);
KWINLINE inline void FilterMiddle(const tRectPass& pass, LONG left, LONG right, std::uint32_t* memory,
                                  std::int32_t* starts) {
    FilterStrip<tMiddle, true>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterMiddle(KwClones<FilterMiddle>);
KWINLINE inline void FilterLarge(const tRectPass& pass, LONG left, LONG right, std::uint64_t* memory,
                                 std::int64_t* starts) {
    FilterStrip<tLarge, true>(pass, left, right, memory, starts);
}
constexpr CKwBodies kFilterLarge(KwClones<FilterLarge>);

template <class Lane, class Weight>
void FilterStrips(const tRectPass& pass, std::span<const LONG> channels,
                  void (*strip)(const tRectPass&, LONG, LONG, Lane*, Weight*)) {
    const LONG width = pass.source.width;
    const LONG step = std::min(width, std::max(kStripColumns, std::min(width, pass.fullX) * 2));
    const auto columns = std::min<std::int64_t>(std::int64_t{step} + 2 * std::int64_t{pass.fullX}, width) + 1;
    const std::size_t lanes = static_cast<std::size_t>(columns) * static_cast<std::size_t>(kColumnLanes);
    const std::size_t startCount = static_cast<std::size_t>(step);
    const auto memory = std::make_unique_for_overwrite<Lane[]>(KwRanges() * lanes);
    const auto starts = std::make_unique_for_overwrite<Weight[]>(KwRanges() * startCount);
    const LONG strips = static_cast<LONG>((std::int64_t{width} + step - 1) / step);
    KwForRanges(static_cast<LONG>(channels.size()) * strips, [&](LONG from, LONG to, std::size_t range) {
        tRectPass one = pass;
        for (LONG i = from; i < to; ++i) {
            one.channel = channels[static_cast<std::size_t>(i / strips)];
            const std::int64_t left = std::int64_t{i % strips} * step;
            strip(one, static_cast<LONG>(left), static_cast<LONG>(std::min<std::int64_t>(left + step, width)),
                  memory.get() + range * lanes, starts.get() + range * startCount);
        }
    });
}

} // namespace

void FilterRect(const tRowPair& pair, const tAREATABLE& area, LONG q, std::span<const LONG> channels) {
    const LONG fullX = area.FullColumns(0), fullY = area.FullRows();
    const auto weight = [&](LONG dx, LONG dy) { return FixedWeight(area.Weight(dx, dy)); };
    const tRectPass pass{pair.source,      pair.destination,     0, fullX, fullY, weight(fullX, 0),
                         weight(0, fullY), weight(fullX, fullY), q};
    // What the area meets of the picture bounds the counts.
    const std::int64_t rows = std::min<std::int64_t>(2 * std::int64_t{fullY} + 1, pair.source.height);
    const std::int64_t cells = rows * std::min<std::int64_t>(2 * std::int64_t{fullX} + 1, pair.source.width);
    if (cells >= INT32_MAX / kOne || rows > UINT16_MAX)
        FilterStrips(pass, channels, kFilterLarge.Now());
    else if (cells > UINT16_MAX || rows > UINT8_MAX)
        FilterStrips(pass, channels, kFilterMiddle.Now());
    else
        FilterStrips(pass, channels, (pass.rimX || pass.rimY ? kFilterSmall : kFilterSmallWhole).Now());
}

} // namespace kw_median
