#include "host/alpha.h"

#include <algorithm>
#include <cstdint>

#include "base/arith.h"
#include "base/clones.h"

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

/// Quotients of whole numbers as small as these come out of floats with the right whole part: rounding moves them by
/// less than the distance to the next whole number.
KWCLONES void unpremultiplyRow(std::uint32_t* row, int width) {
    for (int x = 0; x < width; ++x) {
        const std::uint32_t pixel = row[x], a = pixel >> 24;
        const auto divisor = static_cast<float>(static_cast<std::int32_t>(a ? a : 1));
        const auto divided = [&](std::uint32_t c) {
            const auto n = static_cast<std::int32_t>(c * 255 + a / 2);
            const auto quotient = static_cast<std::int32_t>(static_cast<float>(n) / divisor);
            return static_cast<std::uint32_t>(quotient < 255 ? quotient : 255);
        };
        const std::uint32_t out = (pixel & 0xFF000000u) | divided(pixel & 255) | divided(pixel >> 8 & 255) << 8 |
                                  divided(pixel >> 16 & 255) << 16;
        row[x] = a ? out : 0;
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

/// Two channels to a word, each in 16 bits, so that the product and its rounding keep to their halves.
KWCLONES void layOverRow(const std::uint32_t* __restrict front, const std::uint32_t* __restrict back,
                         std::uint32_t* __restrict out, int width) {
    constexpr std::uint32_t halves = 0x00FF00FFu, rounding = 0x00800080u, carries = 0x00010001u;
    for (int x = 0; x < width; ++x) {
        const std::uint32_t f = front[x], b = back[x], clear = 255 - (f >> 24);
        std::uint32_t low = (b & halves) * clear + rounding, high = (b >> 8 & halves) * clear + rounding;
        low = (low + (low >> 8 & halves)) >> 8 & halves;
        high = (high + (high >> 8 & halves)) >> 8 & halves;
        low += f & halves;
        high += f >> 8 & halves;
        low |= (low >> 8 & carries) * 255;
        high |= (high >> 8 & carries) * 255;
        out[x] = (low & halves) | (high & halves) << 8;
    }
}

KWCLONES void layOverRow(const float* __restrict front, const float* __restrict back, float* __restrict out,
                         int width) {
    for (int x = 0; x < width; ++x) {
        const float clear = 1.0f - front[4 * x + 3];
        for (int c = 0; c < 4; ++c) out[4 * x + c] = front[4 * x + c] + back[4 * x + c] * clear;
    }
}

template <class T>
void layOverRows(const ImageView& front, const ImageView& back, const ImageView& out) {
    for (int y = 0; y < out.height; ++y)
        layOverRow(reinterpret_cast<const T*>(front.data + y * front.stride),
                   reinterpret_cast<const T*>(back.data + y * back.stride),
                   reinterpret_cast<T*>(out.data + y * out.stride), out.width);
}

} // namespace

void layOver(const ImageView& front, const ImageView& back, const ImageView& out) {
    if (out.format == PixelFormat::Float128)
        layOverRows<float>(front, back, out);
    else
        layOverRows<std::uint32_t>(front, back, out);
}

bool isOpaque(const ImageView& image) {
    for (int y = 0; y < image.height; ++y)
        if (leastBits(reinterpret_cast<const std::uint32_t*>(image.data + y * image.stride), image.width) != 255)
            return false;
    return true;
}

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
            unpremultiplyRow(reinterpret_cast<std::uint32_t*>(row), image.width);
    }
}

} // namespace larkmoor
