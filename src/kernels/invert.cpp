#include "kernels/invert.h"

#include "base/arith.h"
#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/clones.h"
#include "kernels/copy.h"
#include "kernels/strips.h"
#include "kernels/unaligned.h"

namespace {

constexpr std::ptrdiff_t kBlock = 256; // pixels looked at together for a full alpha
constexpr std::uint32_t kColors = 0x00FFFFFF;

KWCLONES bool IsOpaque(const tAnyWord* s, std::ptrdiff_t count) {
    std::uint32_t all = ~kColors;
    for (std::ptrdiff_t i = 0; i < count; ++i) all &= s[i];
    return all == ~kColors;
}

KWCLONES void InvertOpaque(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = s[i] ^ kColors;
}

std::uint32_t InvertPixel(std::uint32_t word) {
    const auto alpha = static_cast<std::uint8_t>(word >> 24);
    if (alpha == 255) return word ^ kColors;
    if (alpha == 0) return 0;
    const auto channel = [word, alpha](int shift) {
        const auto straight = KwUnpremultiply8(static_cast<std::uint8_t>(word >> shift), alpha);
        return (static_cast<std::uint32_t>(255 - straight) * alpha >> 8) << shift;
    };
    return (word & ~kColors) | channel(0) | channel(8) | channel(16);
}

void InvertRow(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t width) {
    for (std::ptrdiff_t x = 0; x < width; x += kBlock) {
        const std::ptrdiff_t count = std::min(kBlock, width - x);
        if (IsOpaque(s + x, count))
            InvertOpaque(d + x, s + x, count);
        else
            for (std::ptrdiff_t i = x; i < x + count; ++i) d[i] = InvertPixel(s[i]);
    }
}

} // namespace

HRESULT KwDibInvert(const tView& destination, const tView& source, LONG bytesPerPixel, double amount) {
    // A blend of 0 leaves bytes alone; among floats it still tells infinities from numbers.
    const bool blends = bytesPerPixel != 4 || KwByte(KwTrunc((1.0 - amount) * 255.0 + 0.5)) != 0;
    return KwForStrips(destination, source, bytesPerPixel, [&](const tView& output, const tView& input) {
        HRESULT status = S_OK;
        if (bytesPerPixel == 4) {
            tRows d, s;
            status = KwDibResolvePair(output, input, bytesPerPixel, d, s);
            for (LONG y = 0; y < d.height; ++y) InvertRow(KwWordRow(d, y), KwWordRow(s, y), d.width);
        } else {
            status = KwDibCopy(output, input, bytesPerPixel);
        }
        return SUCCEEDED(status) && blends ? KwDibBlend(output, input, bytesPerPixel, 1.0 - amount) : status;
    });
}

HRESULT KwDibInvertInPlace(const tView& view, LONG bytesPerPixel) {
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    for (LONG y = 0; bytesPerPixel == 4 && y < rows.height; ++y)
        InvertRow(KwWordRow(rows, y), KwWordRow(rows, y), rows.width);
    return S_OK;
}
