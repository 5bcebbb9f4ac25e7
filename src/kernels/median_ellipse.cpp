// The percentile filter over an ellipse: one count of the area's samples, which follows its rim from pixel to pixel.
#include <cstdlib>
#include <vector>

#include "base/bodies.h"
#include "kernels/median_forms.h"
#include "kernels/ranges.h"

namespace kw_median {
namespace {

/// The change of a sample's weight when the area's centre comes nearer by one, from `dx` + 1 to `dx`.
struct tStep {
    LONG dx, dy, change;
};

/// Fine bins stand in steps of 16, so that the sums of 16 bins are one sum of rows: bin v at (v & 15) * 16 + v / 16.
constexpr LONG BinPlace(LONG value) {
    return (value & 15) << 4 | value >> 4;
}

template <class Weight>
KWINLINE inline std::uint8_t BandValue(const Weight* bins, LONG q) {
    alignas(64) Weight coarse[kCoarse] = {};
    for (LONG i = 0; i < kCoarse; ++i)
        for (LONG k = 0; k < kCoarse; ++k) coarse[k] += bins[i * kCoarse + k];
    Weight total = 0;
    for (LONG k = 0; k < kCoarse; ++k) total += coarse[k];
    const Weight low = static_cast<Weight>(BandStart(total, q));
    tBand<Weight> band{low, low + kOne, 0};
    LONG k = 0;
    while (k < kCoarse - 1 && band.below + coarse[k] <= low) band.below += coarse[k++];
    for (bool more = band.high > 0; more && k < kCoarse; ++k)
        for (LONG i = 0; i < kCoarse && more; ++i) more = band.Add(bins[i * kCoarse + k], k * kCoarse + i);
    return band.Value();
}

template <class Weight>
KWINLINE inline void AddPixel(Weight (&bins)[4][256], const std::uint8_t* pixel, LONG change) {
    for (LONG c = 0; c < 4; ++c) bins[c][BinPlace(pixel[c])] += change;
}

/// Steps that lie inside the picture at one row are `steps`, with rows counted from the top of the picture.
template <class Weight>
KWINLINE inline void FilterEllipseRow(const tRowPair& pair, LONG y, const tStep* steps, std::ptrdiff_t count,
                                      Weight (&bins)[4][256], LONG q) {
    const LONG width = pair.source.width;
    const std::uint8_t* const row = pair.source.Row<std::uint8_t>(y);
    const std::ptrdiff_t stride = pair.source.stride;
    std::uint8_t* to = pair.destination.Row<std::uint8_t>(y);
    for (LONG x = 0;; ++x, to += 4) {
        for (LONG c = 0; c < 4; ++c) to[c] = BandValue(bins[c], q);
        if (x + 1 == width) return;
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const std::uint8_t* line = row + steps[i].dy * stride;
            if (const LONG lead = width - x - 1 > steps[i].dx ? x + 1 + steps[i].dx : -1; lead >= 0)
                AddPixel(bins, line + std::ptrdiff_t{lead} * 4, steps[i].change);
            if (const LONG trail = x - steps[i].dx; trail >= 0)
                AddPixel(bins, line + std::ptrdiff_t{trail} * 4, -steps[i].change);
        }
    }
}

KWINLINE inline void FilterEllipseRowSmall(const tRowPair& pair, LONG y, const tStep* steps, std::ptrdiff_t count,
                                           std::int32_t (&bins)[4][256], LONG q) {
    FilterEllipseRow(pair, y, steps, count, bins, q);
}
constexpr CKwBodies kFilterEllipseRowSmall(KwClones<FilterEllipseRowSmall>);
KWINLINE inline void FilterEllipseRowLarge(const tRowPair& pair, LONG y, const tStep* steps, std::ptrdiff_t count,
                                           std::int64_t (&bins)[4][256], LONG q) {
    FilterEllipseRow(pair, y, steps, count, bins, q);
}
constexpr CKwBodies kFilterEllipseRowLarge(KwClones<FilterEllipseRowLarge>);

template <class Weight>
void FilterRows(const tRowPair& pair, const tAREATABLE& area, LONG q,
                void (*filterRow)(const tRowPair&, LONG, const tStep*, std::ptrdiff_t, Weight (&)[4][256], LONG)) {
    const LONG width = pair.source.width, height = pair.source.height;
    std::vector<tStep> all;
    for (LONG dy = 1 - area.rows; dy < area.rows; ++dy) {
        const float* row = area.Row(std::abs(dy));
        for (LONG dx = 0; dx < area.columns; ++dx) {
            const LONG change = FixedWeight(row[dx]) - (dx + 1 < area.columns ? FixedWeight(row[dx + 1]) : 0);
            if (change != 0) all.push_back({dx, dy, change});
        }
    }
    std::vector<std::vector<tStep>> inside(KwRanges());
    for (std::vector<tStep>& steps : inside) steps.reserve(all.size());
    KwForRanges(height, [&](LONG from, LONG to, std::size_t range) {
        std::vector<tStep>& steps = inside[range];
        alignas(64) Weight bins[4][256];
        for (LONG y = from; y < to; ++y) {
            std::fill_n(bins[0], 4 * 256, Weight{0});
            for (LONG dy = std::max(1 - area.rows, -y); dy < std::min(area.rows, height - y); ++dy) {
                const float* weights = area.Row(std::abs(dy));
                const std::uint8_t* pixel = pair.source.Row<std::uint8_t>(y + dy);
                for (LONG x = 0; x < std::min(area.columns, width); ++x, pixel += 4)
                    AddPixel(bins, pixel, FixedWeight(weights[x]));
            }
            steps.clear();
            for (const tStep& step : all)
                if (step.dy >= -y && step.dy < height - y) steps.push_back(step);
            filterRow(pair, y, steps.data(), std::ssize(steps), bins, q);
        }
    });
}

} // namespace

void FilterEllipse(const tRowPair& pair, const tAREATABLE& area, LONG q) {
    const std::int64_t cells = 4 * std::int64_t{area.columns} * area.rows;
    if (cells < INT32_MAX / kOne)
        FilterRows(pair, area, q, kFilterEllipseRowSmall.Now());
    else
        FilterRows(pair, area, q, kFilterEllipseRowLarge.Now());
}

} // namespace kw_median
