#include "kernels/median.h"

#include <array>
#include <exception>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/even.h"
#include "kernels/median_forms.h"
#include "kernels/unaligned.h"

namespace {

/// The definition: every cell of the area counted for every pixel, and the band of one cell's weight found by walking
/// up from the lowest level.
void FilterPlain(const tRowPair& pair, const tAREATABLE& area, LONG q) {
    constexpr std::int64_t kOne = kw_median::kOne;
    for (LONG y = 0; y < pair.source.height; ++y)
        for (LONG x = 0; x < pair.source.width; ++x) {
            std::array<std::array<std::int64_t, 256>, 4> bins{};
            KwForEachCell(pair.source, area, x, y, [&](const std::uint8_t* pixel, float weight) {
                for (std::size_t c = 0; c < 4; ++c) bins[c][pixel[c]] += kw_median::FixedWeight(weight);
            });
            for (std::size_t c = 0; c < 4; ++c) {
                std::int64_t total = 0, below = 0, sum = 0;
                for (const std::int64_t weight : bins[c]) total += weight;
                const __int128 low = (static_cast<__int128>(total - kOne / 2) * q >> 14) - kOne / 2;
                for (std::size_t level = 0; level < 256; ++level) {
                    const __int128 from = std::max<__int128>(below, low);
                    below += bins[c][level];
                    const __int128 to = std::min<__int128>(below, low + kOne);
                    if (to > from) sum += static_cast<std::int64_t>(to - from) * static_cast<std::int64_t>(level);
                }
                pair.destination.Row<std::uint8_t>(y)[std::ptrdiff_t{x} * 4 + static_cast<std::ptrdiff_t>(c)] =
                    static_cast<std::uint8_t>((sum + kOne / 2) / kOne);
            }
        }
}

/// Whether the whole band of every pixel lies in the picture, so that a channel of one value keeps it.
bool AreBandsWhole(const tAREATABLE& area, LONG q) {
    // The picture's corners meet a quadrant, and nobody less: weights do not grow away from the centre.
    std::int64_t least = 0;
    for (const float weight : area.weights) least += kw_median::FixedWeight(weight);
    return q <= kw_median::kOne && kw_median::BandStart(least, q) >= 0;
}

template <auto Filter>
void FilterUneven(const tRowPair& pair, const tAREATABLE& area, LONG q) {
    const std::uint32_t even = AreBandsWhole(area, q) ? KwEvenChannels(pair.source) : 0;
    std::array<LONG, 4> channels{};
    std::size_t count = 0;
    for (LONG channel = 0; channel < 4; ++channel)
        if (!(even >> channel & 1)) channels[count++] = channel;
    const std::uint32_t pixel = *KwWordRow(pair.source, 0);
    for (LONG y = 0; even && y < pair.source.height; ++y) {
        tAnyWord* const row = KwWordRow(pair.destination, y);
        for (LONG x = 0; x < pair.source.width; ++x) row[x] = pixel;
    }
    if (count) Filter(pair, area, q, std::span(channels).first(count));
}
constexpr CKwBodies kFilterRect(FilterPlain, tKwBody{eKwLevel::Base, FilterUneven<kw_median::FilterRect>});
constexpr CKwBodies kFilterEllipse(FilterPlain, tKwBody{eKwLevel::Base, FilterUneven<kw_median::FilterEllipse>});

/// A quadrant's entries up to which it is quicker to look at each of a rectangle's cells.
constexpr std::int64_t kFewEntries = 30;

} // namespace

HRESULT KwDibPercentileFilter(const tView& destination, const tView& source, LONG bytesPerPixel, float radiusX,
                              float radiusY, double pixelAspect, bool circular, float offset) try {
    tRowPair pair;
    if (const HRESULT status = KwDibResolveClipTwo(destination, source, bytesPerPixel, pair); FAILED(status))
        return status;
    if (bytesPerPixel != 4 || pair.source.width == 0) return S_OK;

    const LONG q = KwTrunc(offset * static_cast<double>(kw_median::kOne));
    tAREATABLE area;
    (circular ? KwBuildEllipseArea : KwBuildRectArea)(area, static_cast<float>(radiusX / pixelAspect), radiusY,
                                                      pair.source.width, pair.source.height);
    if (area.columns == 0 || area.Row(0)[0] < 1.0f) {
        for (LONG y = 0; y < pair.source.height; ++y)
            std::fill_n(pair.destination.Row<std::uint8_t>(y), std::ptrdiff_t{pair.source.width} * 4, std::uint8_t{0});
    } else {
        const bool few = std::int64_t{area.columns} * area.rows <= kFewEntries;
        (circular || few ? kFilterEllipse : kFilterRect)(pair, area, q);
    }
    return S_OK;
} catch (const std::exception&) { // no memory, or a size beyond any
    return E_OUTOFMEMORY;
}
