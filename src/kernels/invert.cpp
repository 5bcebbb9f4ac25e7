#include "kernels/invert.h"

#include "kernels/alpha.h"
#include "kernels/arith.h"
#include "kernels/blend.h"
#include "kernels/copy.h"

namespace {

constexpr std::ptrdiff_t kBlock = 16; // pixels looked at together for a full alpha

std::uint8_t InvertChannel(std::uint8_t c, std::uint8_t alpha) {
    const int negative = 255 - KwUnpremultiply8(c, alpha);
    return static_cast<std::uint8_t>((negative * alpha) >> 8);
}

tPixel8 InvertPixel(tPixel8 p) {
    if (p.a == 0) return {0, 0, 0, 0};
    if (p.a == 255) return {KwByte(~p.b), KwByte(~p.g), KwByte(~p.r), p.a};
    return {InvertChannel(p.b, p.a), InvertChannel(p.g, p.a), InvertChannel(p.r, p.a), p.a};
}

bool AllOpaque(const std::uint32_t* pixels) {
    std::uint32_t all = 0xFF000000;
    for (std::ptrdiff_t i = 0; i < kBlock; ++i) all &= pixels[i];
    return all >= 0xFF000000;
}

/// The negative of a row of words 0xAARRGGBB, blended back to the source by `back` of 256.
template <bool kBlends>
[[gnu::always_inline]] inline void InvertRowBody(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t width,
                                                 std::int32_t back) {
    const auto finish = [back](std::uint8_t negative, std::uint8_t source) {
        return kBlends ? KwBlend8(negative, source, back) : negative;
    };
    std::ptrdiff_t x = 0;
    while (x < width) {
        const std::ptrdiff_t count = width - x < kBlock ? width - x : kBlock;
        std::uint32_t block[kBlock];
        __builtin_memset(block, 0xFF, sizeof block);
        __builtin_memcpy(block, s + x * 4, static_cast<std::size_t>(count) * 4);
        if (count == kBlock && AllOpaque(block)) {
            if constexpr (kBlends) {
                std::uint8_t bytes[kBlock * 4];
                __builtin_memcpy(bytes, block, sizeof bytes);
                for (std::ptrdiff_t i = 0; i < kBlock; ++i) block[i] ^= 0x00FFFFFF;
                std::uint8_t negative[kBlock * 4];
                __builtin_memcpy(negative, block, sizeof negative);
                for (std::ptrdiff_t i = 0; i < kBlock * 4; ++i) d[x * 4 + i] = KwBlend8(negative[i], bytes[i], back);
            } else {
                for (std::ptrdiff_t i = 0; i < kBlock; ++i) block[i] ^= 0x00FFFFFF;
                __builtin_memcpy(d + x * 4, block, sizeof block);
            }
        } else {
            for (std::ptrdiff_t i = 0; i < count; ++i) {
                tPixel8 p;
                __builtin_memcpy(&p, &block[i], sizeof p);
                const tPixel8 n = InvertPixel(p);
                const tPixel8 result{finish(n.b, p.b), finish(n.g, p.g), finish(n.r, p.r), finish(n.a, p.a)};
                __builtin_memcpy(d + (x + i) * 4, &result, sizeof result);
            }
        }
        x += count;
    }
}

KWCLONES void InvertRow(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t width) {
    InvertRowBody<false>(d, s, width, 0);
}
KWCLONES void InvertRowBlended(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t width, std::int32_t back) {
    InvertRowBody<true>(d, s, width, back);
}

} // namespace

HRESULT KwDibInvert(const tView& destination, const tView& source, LONG bytesPerPixel, double amount) {
    if (bytesPerPixel != 4) {
        if (const HRESULT status = KwDibCopy(destination, source, bytesPerPixel); FAILED(status)) return status;
        return KwDibBlend(destination, source, bytesPerPixel, 1.0 - amount);
    }
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const std::int32_t back = KwByte(KwTrunc((1.0 - amount) * 255.0 + 0.5));
    for (LONG y = 0; y < d.height; ++y) {
        if (back == 0)
            InvertRow(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width);
        else
            InvertRowBlended(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, back);
    }
    return S_OK;
}

HRESULT KwDibInvertInPlace(const tView& view, LONG bytesPerPixel) {
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    for (LONG y = 0; bytesPerPixel == 4 && y < rows.height; ++y)
        InvertRow(rows.Row<std::uint8_t>(y), rows.Row<std::uint8_t>(y), rows.width);
    return S_OK;
}
