// What the two forms of the percentile filter have in common: weights as integers, and the band that is looked for.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "kernels/area_table.h"
#include "kernels/view.h"

namespace kw_median {

inline constexpr LONG kOne = 16384; ///< the weight of a whole cell
inline constexpr LONG kCoarse = 16; ///< coarse bins: the upper four bits of a sample

inline LONG FixedWeight(float weight) {
    return static_cast<LONG>(weight * static_cast<double>(kOne));
}

/// Where the band of one pixel's weight begins that is `q` / 16384 up in a total weight; -16384 for a band that meets
/// no weight at all.
inline std::int64_t BandStart(std::int64_t total, LONG q) {
    std::int64_t product;
    if (__builtin_mul_overflow(total - kOne / 2, std::int64_t{q}, &product)) return -kOne;
    const std::int64_t start = (product >> 14) - kOne / 2;
    return start >= total || start < -kOne ? -kOne : start;
}

/// Adds bins up through the band.
template <class Weight>
struct tBand {
    Weight low, high;
    Weight below;
    std::int64_t sum = 0;

    /// False once the band is passed.
    bool Add(Weight weight, LONG bin) {
        const Weight overlap = std::min<Weight>(below + weight, high) - std::max(below, low);
        below += weight;
        if (overlap > 0) sum += std::int64_t{overlap} * bin;
        return below < high;
    }
    std::uint8_t Value() const { return static_cast<std::uint8_t>((sum + kOne / 2) / kOne); }
};

/// `q`: the percentile, 16384 being the highest. All other channels are left as they are.
void FilterRect(const tRowPair& pair, const tAREATABLE& area, LONG q, std::span<const LONG> channels);
/// Takes any area whose rows get no wider away from the centre's.
void FilterEllipse(const tRowPair& pair, const tAREATABLE& area, LONG q, std::span<const LONG> channels);

} // namespace kw_median
