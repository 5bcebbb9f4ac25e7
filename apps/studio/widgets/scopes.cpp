#include "widgets/scopes.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace larkmoor {
namespace {

constexpr int kCompositeFirst = -256, kCompositeCodes = 768;

/// Rounded square roots of all squared amplitudes that 8-bit colours have.
std::array<std::uint8_t, 162 * 162> makeRoots() {
    std::array<std::uint8_t, 162 * 162> roots;
    for (std::size_t i = 0; i < roots.size(); ++i) roots[i] = static_cast<std::uint8_t>(std::lround(std::sqrt(i)));
    return roots;
}

std::optional<ImageView> bytesOf(const Surface& picture) {
    if (!picture || picture.view().format == PixelFormat::Float128) return {};
    return picture.view();
}

template <typename RowWork>
void eachRow(const ImageView& view, int rowStep, RowWork work) {
    rowStep = std::max(rowStep, 1);
    for (int y = std::min(rowStep / 2, view.height - 1); y < view.height; y += rowStep) {
        work(reinterpret_cast<const std::uint8_t*>(view.data + y * view.stride));
        if (y > view.height - rowStep) break;
    }
}

/// Where the density of each pixel's column starts.
std::vector<std::uint32_t> columnStarts(int width, int columns, int codes) {
    std::vector<std::uint32_t> starts(width);
    for (int x = 0; x < width; ++x)
        starts[x] = static_cast<std::uint32_t>(std::int64_t{x} * columns / width) * static_cast<std::uint32_t>(codes);
    return starts;
}

Waveform emptyWaveform(int columns, int firstCode, int codes) {
    columns = std::clamp(columns, 1, 8192);
    return {columns, firstCode, codes, std::vector<std::uint32_t>(static_cast<std::size_t>(columns) * codes)};
}

} // namespace

int scopeRowStep(int height) {
    return std::max(1, height / 270);
}

Histogram histogramOf(const Surface& picture, int rowStep) {
    Histogram counts;
    const auto view = bytesOf(picture);
    if (!view) return counts;
    eachRow(*view, rowStep, [&](const std::uint8_t* p) {
        for (int x = 0; x < view->width; ++x, p += 4) {
            ++counts.blue[p[0]];
            ++counts.green[p[1]];
            ++counts.red[p[2]];
            ++counts.luma[lumaCode(p[2], p[1], p[0])];
        }
    });
    return counts;
}

Waveform waveformOf(const Surface& picture, int columns, int rowStep) {
    Waveform wave = emptyWaveform(columns, 0, 256);
    const auto view = bytesOf(picture);
    if (!view) return wave;
    const auto starts = columnStarts(view->width, wave.columns, wave.codes);
    eachRow(*view, rowStep, [&](const std::uint8_t* p) {
        for (int x = 0; x < view->width; ++x, p += 4) ++wave.density[starts[x] + lumaCode(p[2], p[1], p[0])];
    });
    return wave;
}

Waveform compositeOf(const Surface& picture, int columns, int rowStep) {
    static const auto roots = makeRoots();
    Waveform wave = emptyWaveform(columns, kCompositeFirst, kCompositeCodes);
    const auto view = bytesOf(picture);
    if (!view) return wave;
    const auto starts = columnStarts(view->width, wave.columns, wave.codes);
    eachRow(*view, rowStep, [&](const std::uint8_t* p) {
        for (int x = 0; x < view->width; ++x, p += 4) {
            const int u = chromaU(p[2], p[1], p[0]), v = chromaV(p[2], p[1], p[0]);
            const int amplitude = roots[u * u + v * v];
            const int luma = lumaCode(p[2], p[1], p[0]) - kCompositeFirst;
            ++wave.density[starts[x] + luma - amplitude];
            ++wave.density[starts[x] + luma + amplitude];
        }
    });
    return wave;
}

Vectorscope vectorscopeOf(const Surface& picture, int rowStep) {
    Vectorscope scope;
    scope.density.resize(static_cast<std::size_t>(Vectorscope::kSide) * Vectorscope::kSide);
    const auto view = bytesOf(picture);
    if (!view) return scope;
    std::uint32_t* centre = scope.density.data() + Vectorscope::kReach * Vectorscope::kSide + Vectorscope::kReach;
    eachRow(*view, rowStep, [&](const std::uint8_t* p) {
        for (int x = 0; x < view->width; ++x, p += 4)
            ++centre[chromaV(p[2], p[1], p[0]) * Vectorscope::kSide + chromaU(p[2], p[1], p[0])];
    });
    return scope;
}

} // namespace larkmoor
