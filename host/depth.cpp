#include "host/depth.h"

#include <cstdint>
#include <cstring>

#include "base/clones.h"
#include "host/rows.h"

namespace larkmoor {

namespace {

template <class T>
T* rowOf(const ImageView& picture, int y) {
    return reinterpret_cast<T*>(picture.data + y * picture.stride);
}

KWCLONES void narrowRow(const float* __restrict in, std::uint8_t* __restrict out, int samples) {
    for (int i = 0; i < samples; ++i) {
        const float scaled = in[i] * 255.0f + 0.5f;
        const float low = scaled > 0 ? scaled : 0;
        out[i] = static_cast<std::uint8_t>(static_cast<std::int32_t>(low < 255.0f ? low : 255.0f));
    }
}

KWCLONES void widenRow(const std::uint8_t* __restrict in, float* __restrict out, int samples) {
    for (int i = 0; i < samples; ++i) out[i] = static_cast<float>(in[i]) / 255.0f;
}

KWCLONES void limitRow(float* row, int samples) {
    for (int i = 0; i < samples; ++i) {
        const float low = row[i] > 0 ? row[i] : 0;
        row[i] = low < 1 ? low : 1;
    }
}

/// Samples that are neither what they were nor that within its limits.
KWCLONES int changesOf(const float* __restrict before, const float* __restrict after, int width) {
    constexpr float least = 0.25f / 65535;
    int changes = 0;
    for (int x = 0; x < width; ++x) {
        const float a = before[4 * x + 3], top = a > 0 ? (a < 1 ? a : 1) : 0;
        for (int c = 0; c < 4; ++c) {
            const float was = before[4 * x + c], is = after[4 * x + c];
            const float low = was > 0 ? was : 0, limited = low < top ? low : top;
            const float off = is - limited, moved = is - was;
            const bool near = off < least && off > -least;
            changes += !near && !(moved < least && moved > -least);
        }
    }
    return changes;
}

/// The length of the run of pixels from `x` on that are the same or, with `same` false, that differ.
int runOf(const std::uint32_t* a, const std::uint32_t* b, int x, int width, bool same) {
    int end = x;
    while (end < width && (a[end] == b[end]) == same) ++end;
    return end - x;
}

} // namespace

void narrowPicture(const ImageView& floats, const ImageView& bytes) {
    for (int y = 0; y < floats.height; ++y)
        narrowRow(rowOf<const float>(floats, y), rowOf<std::uint8_t>(bytes, y), 4 * floats.width);
}

void restoreDepth(std::span<const TwoDepths> before, const ImageView& after, const ImageView& out) {
    for (int y = 0; y < after.height; ++y) {
        const auto* now = rowOf<const std::uint32_t>(after, y);
        float* to = rowOf<float>(out, y);
        widenRow(rowOf<const std::uint8_t>(after, y), to, 4 * after.width);
        // The first picture has the last word.
        for (std::size_t i = before.size(); i-- > 0;) {
            const auto* was = rowOf<const std::uint32_t>(before[i].bytes, y);
            const float* from = rowOf<const float>(before[i].floats, y);
            for (int x = 0; x < after.width;) {
                x += runOf(was, now, x, after.width, false);
                const int same = runOf(was, now, x, after.width, true);
                std::memcpy(to + std::ptrdiff_t{4} * x, from + std::ptrdiff_t{4} * x,
                            static_cast<std::size_t>(same) * 4 * sizeof(float));
                x += same;
            }
        }
    }
}

void limitPicture(const ImageView& floats) {
    for (int y = 0; y < floats.height; ++y) limitRow(rowOf<float>(floats, y), 4 * floats.width);
}

bool isUnchanged(const ImageView& before, const ImageView& after) {
    const auto bytes = static_cast<std::size_t>(before.width) * static_cast<std::size_t>(bytesPerPixel(before.format));
    return everyRow(before.height, [&](int y) {
        if (std::memcmp(rowOf<std::byte>(before, y), rowOf<std::byte>(after, y), bytes) == 0) return true;
        return before.format == PixelFormat::Float128 &&
               changesOf(rowOf<const float>(before, y), rowOf<const float>(after, y), before.width) == 0;
    });
}

} // namespace larkmoor
