#include "media/alpha.h"

#include <algorithm>
#include <cstdint>

#include "kernels/arith.h"

namespace larkmoor {

namespace {

/// The row's alphas anded together: 255 for an opaque row, which needs no work.
KWCLONES std::uint32_t leastBits(const std::uint32_t* row, int width) {
    std::uint32_t bits = 0xFFFFFFFFu;
    for (int x = 0; x < width; ++x) bits &= row[x];
    return bits >> 24;
}

KWCLONES void premultiplyRow(std::uint8_t* row, int width) {
    for (int x = 0; x < width; ++x) {
        const std::uint32_t a = row[4 * x + 3];
        for (int c = 0; c < 3; ++c) {
            const std::uint32_t t = row[4 * x + c] * a + 128;
            row[4 * x + c] = static_cast<std::uint8_t>((t + (t >> 8)) >> 8);
        }
    }
}

void unpremultiplyRow(std::uint8_t* row, int width) {
    for (std::uint8_t* p = row; p != row + 4 * static_cast<std::ptrdiff_t>(width); p += 4) {
        const std::uint32_t a = p[3];
        if (a == 255) continue;
        for (int c = 0; c < 3; ++c)
            p[c] = a == 0 ? 0 : static_cast<std::uint8_t>(std::min<std::uint32_t>(255, (p[c] * 255u + a / 2) / a));
    }
}

void premultiplyRow(float* row, int width) {
    for (float* p = row; p != row + 4 * static_cast<std::ptrdiff_t>(width); p += 4)
        for (int c = 0; c < 3; ++c) p[c] *= p[3];
}

void unpremultiplyRow(float* row, int width) {
    for (float* p = row; p != row + 4 * static_cast<std::ptrdiff_t>(width); p += 4)
        if (p[3] != 1.0f)
            for (int c = 0; c < 3; ++c) p[c] = p[3] == 0.0f ? 0.0f : p[c] / p[3];
}

} // namespace

void premultiply(const ImageView& image) {
    for (int y = 0; y < image.height; ++y) {
        std::byte* row = image.data + y * image.stride;
        if (image.format == PixelFormat::Float128)
            premultiplyRow(reinterpret_cast<float*>(row), image.width);
        else if (leastBits(reinterpret_cast<const std::uint32_t*>(row), image.width) != 255)
            premultiplyRow(reinterpret_cast<std::uint8_t*>(row), image.width);
    }
}

void unpremultiply(const ImageView& image) {
    for (int y = 0; y < image.height; ++y) {
        std::byte* row = image.data + y * image.stride;
        if (image.format == PixelFormat::Float128)
            unpremultiplyRow(reinterpret_cast<float*>(row), image.width);
        else if (leastBits(reinterpret_cast<const std::uint32_t*>(row), image.width) != 255)
            unpremultiplyRow(reinterpret_cast<std::uint8_t*>(row), image.width);
    }
}

} // namespace larkmoor
