#include "kernels/min_max.h"

#include <array>
#include <cstring>
#include <exception>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/area_table.h"
#include "kernels/min_max_rim.h"

namespace {

/// The definition: every cell of the area counted for every pixel, and weight taken from the best level on until there
/// is that of one cell. `turn`: 0 for the greatest, 255 for the least.
void FilterPlain(const tRowPair& pair, const tAREATABLE& area, std::uint8_t turn) {
    for (LONG y = 0; y < pair.source.height; ++y)
        for (LONG x = 0; x < pair.source.width; ++x) {
            std::array<std::array<float, 256>, 4> bins{};
            KwForEachCell(pair.source, area, x, y, [&](const std::uint8_t* pixel, float weight) {
                for (std::size_t c = 0; c < 4; ++c) bins[c][pixel[c]] += weight;
            });
            std::uint8_t* const to = pair.destination.Row<std::uint8_t>(y) + std::ptrdiff_t{x} * 4;
            for (std::size_t c = 0; c < 4; ++c) {
                float sum = 0.0f, value = 0.0f;
                for (std::size_t i = 0; i < 256 && sum < 1.0f; ++i) {
                    const std::size_t level = (255 - i) ^ turn;
                    const float weight = bins[c][level];
                    value += (sum + weight > 1.0f ? 1.0f - sum : weight) * static_cast<float>(level);
                    sum += weight;
                }
                to[c] = static_cast<std::uint8_t>(KwTrunc(KwClamp(value, 0.0f, 255.0f)));
            }
        }
}

template <auto Filter>
void FilterTurned(const tRowPair& pair, const tAREATABLE& area, std::uint8_t turn) {
    Filter(kw_min_max::tTurned(pair.source, area.columns, turn), pair.destination, area);
}
constexpr CKwBodies kFilterRect(FilterPlain, tKwBody{eKwLevel::Base, FilterTurned<kw_min_max::FilterRect>});
constexpr CKwBodies kFilterEllipse(FilterPlain, tKwBody{eKwLevel::Base, FilterTurned<kw_min_max::FilterEllipse>});

HRESULT Filter(const tView& destination, const tView& source, LONG bytesPerPixel, float radiusX, float radiusY,
               double pixelAspect, bool circular, std::uint8_t turn) try {
    tRowPair pair;
    if (const HRESULT status = KwDibResolveClipTwo(destination, source, bytesPerPixel, pair); FAILED(status))
        return status;
    if (bytesPerPixel != 4 || pair.source.width == 0) return S_OK;

    tAREATABLE area;
    (circular ? KwBuildEllipseArea : KwBuildRectArea)(area, static_cast<float>(radiusX / pixelAspect), radiusY,
                                                      pair.source.width, pair.source.height);
    if (area.columns == 0 || area.Row(0)[0] < 1.0f) {
        for (LONG y = 0; y < pair.source.height; ++y)
            std::memset(pair.destination.Row<std::uint8_t>(y), 0, static_cast<std::size_t>(pair.source.width) * 4);
        return S_OK;
    }
    (circular ? kFilterEllipse : kFilterRect)(pair, area, turn);
    return S_OK;
} catch (const std::exception&) { // no memory, or a size beyond any
    return E_OUTOFMEMORY;
}

} // namespace

HRESULT KwDibMaxFilter(const tView& destination, const tView& source, LONG bytesPerPixel, float radiusX, float radiusY,
                       double pixelAspect, bool circular) {
    return Filter(destination, source, bytesPerPixel, radiusX, radiusY, pixelAspect, circular, 0);
}

HRESULT KwDibMinFilter(const tView& destination, const tView& source, LONG bytesPerPixel, float radiusX, float radiusY,
                       double pixelAspect, bool circular) {
    return Filter(destination, source, bytesPerPixel, radiusX, radiusY, pixelAspect, circular, 255);
}
