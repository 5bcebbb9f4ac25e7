#include "host/samples.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace larkmoor {
namespace {

static_assert(std::endian::native == std::endian::little, "a sample's bytes stand in the order of a pixel's");

/// Applies `change(color, alpha)` to the three colours of a sample.
template <class Change>
DWORD withColors(DWORD sample, Change change) {
    const DWORD a = sample >> 24;
    DWORD out = a << 24;
    for (const int shift : {0, 8, 16}) out |= change(sample >> shift & 255, a) << shift;
    return out;
}

DWORD premultiplied(DWORD sample) {
    if (sample >> 24 == 255) return sample;
    return withColors(sample, [](DWORD c, DWORD a) { return (c * a + 127) / 255; });
}

DWORD straight(DWORD sample) {
    if (sample >> 24 == 255) return sample;
    return withColors(sample,
                      [](DWORD c, DWORD a) { return a == 0 ? 0 : std::min<DWORD>((c * 255 + a / 2) / a, 255); });
}

DWORD quantized(float value) {
    return value > 0.0f ? static_cast<DWORD>(std::min(value, 1.0f) * 255.0f + 0.5f) : 0;
}

/// @param pixel blue, green, red, alpha; colour premultiplied
DWORD sampleOf(const float (&pixel)[4], SampleKind kind) {
    const float alpha = pixel[3];
    const bool divide = kind == SampleKind::Straight && alpha != 1.0f;
    DWORD sample = quantized(alpha) << 24;
    for (int c = 0; c < 3; ++c) {
        const float value = !divide ? pixel[c] : alpha > 0.0f ? pixel[c] / alpha : 0.0f;
        sample |= quantized(value) << (8 * c);
    }
    return sample;
}

} // namespace

void unpackRow(PixelFormat format, const std::byte* pixels, SampleKind kind, DWORD* samples, std::size_t count) {
    if (format == PixelFormat::Float128) {
        for (std::size_t i = 0; i < count; ++i) {
            float pixel[4];
            std::memcpy(pixel, pixels + i * sizeof pixel, sizeof pixel);
            samples[i] = sampleOf(pixel, kind);
        }
        return;
    }
    std::memmove(samples, pixels, count * sizeof(DWORD));
    if (format == PixelFormat::Argb32 && kind == SampleKind::Premultiplied)
        std::transform(samples, samples + count, samples, premultiplied);
    else if (format == PixelFormat::PremultipliedArgb32 && kind == SampleKind::Straight)
        std::transform(samples, samples + count, samples, straight);
}

void packRow(PixelFormat format, std::byte* pixels, SampleKind kind, const DWORD* samples, std::size_t count) {
    if (format == PixelFormat::Float128) {
        for (std::size_t i = 0; i < count; ++i) {
            float pixel[4];
            for (int c = 0; c < 4; ++c) pixel[c] = static_cast<float>(samples[i] >> (8 * c) & 255) / 255.0f;
            if (kind == SampleKind::Straight)
                for (int c = 0; c < 3; ++c) pixel[c] *= pixel[3];
            std::memcpy(pixels + i * sizeof pixel, pixel, sizeof pixel);
        }
        return;
    }
    if (const bool same = (format == PixelFormat::Argb32) == (kind == SampleKind::Straight); same) {
        std::memmove(pixels, samples, count * sizeof(DWORD));
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const DWORD sample = format == PixelFormat::Argb32 ? straight(samples[i]) : premultiplied(samples[i]);
        std::memcpy(pixels + i * sizeof sample, &sample, sizeof sample);
    }
}

} // namespace larkmoor
