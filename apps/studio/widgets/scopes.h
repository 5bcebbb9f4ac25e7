// What the scopes count in a picture. Colours are taken as stored, so a premultiplied picture as it stands over black.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "host/surface.h"

namespace larkmoor {

/// How 8-bit codes stand on the IRE scale: from black, 0 or 7.5 IRE, to white, 100 IRE.
struct ScopeLevels {
    bool studio = true; ///< black and white are the codes 16 and 235, otherwise 0 and 255
    bool setup = false; ///< black stands at 7.5 IRE

    double irePerCode() const { return (100.0 - (setup ? 7.5 : 0.0)) / (studio ? 219.0 : 255.0); }
    double ireOf(double code) const { return (code - (studio ? 16.0 : 0.0)) * irePerCode() + (setup ? 7.5 : 0.0); }
    double codeOf(double ire) const { return (ire - (setup ? 7.5 : 0.0)) / irePerCode() + (studio ? 16.0 : 0.0); }
    bool operator==(const ScopeLevels&) const = default;
};

/// Luma of ITU-R BT.601 in codes, rounded.
constexpr int lumaCode(int red, int green, int blue) {
    return (19595 * red + 38470 * green + 7471 * blue + 32768) >> 16;
}

/// Colour differences scaled as in a composite signal, in codes, rounded: -111 to 111 and -157 to 157.
constexpr int chromaU(int red, int green, int blue) {
    return (28574 * blue - 18940 * green - 9634 * red + 32768) >> 16;
}
constexpr int chromaV(int red, int green, int blue) {
    return (40305 * red - 33751 * green - 6554 * blue + 32768) >> 16;
}

/// Pixels by code.
struct Histogram {
    std::array<std::uint32_t, 256> red{}, green{}, blue{}, luma{};
};

/// Pixels by column and level.
struct Waveform {
    int columns = 0;
    int firstCode = 0, codes = 0;       ///< levels of a column, upwards from `firstCode`
    std::vector<std::uint32_t> density; ///< column after column

    std::uint32_t at(int column, int code) const {
        return density[static_cast<std::size_t>(column) * codes + (code - firstCode)];
    }
};

/// Pixels by their two colour differences, each from -`kReach` to `kReach`.
struct Vectorscope {
    static constexpr int kReach = 160, kSide = 2 * kReach + 1;
    std::vector<std::uint32_t> density; ///< rows of V, each by U

    std::uint32_t at(int u, int v) const {
        return density[static_cast<std::size_t>(v + kReach) * kSide + (u + kReach)];
    }
};

/// Every how many rows a picture is read so that no more than about 270 rows are; at least 1.
int scopeRowStep(int height);

/// The counts of every `rowStep`-th row, starting in the middle of the first step. All of them take 8-bit pictures;
/// an empty handle or a picture of floats counts as having no pixels.
Histogram histogramOf(const Surface& picture, int rowStep);

/// Luma, one level a pixel, codes 0 to 255. Column x of a picture of width w goes to x * columns / w.
Waveform waveformOf(const Surface& picture, int columns, int rowStep);

/// The composite signal's two peaks at each pixel, luma less and plus chroma amplitude, codes -256 to 511.
Waveform compositeOf(const Surface& picture, int columns, int rowStep);

Vectorscope vectorscopeOf(const Surface& picture, int rowStep);

} // namespace larkmoor
