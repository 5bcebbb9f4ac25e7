#include "kernels/invert.h"

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/copy.h"
#include "kernels/strips.h"
#include "kernels/unaligned.h"

namespace {

constexpr std::uint32_t kColors = 0x00FFFFFF;

std::uint32_t InvertPixel(std::uint32_t word) {
    const auto alpha = static_cast<std::uint8_t>(word >> 24);
    if (alpha == 0) return 0;
    const auto channel = [word, alpha](int shift) -> std::uint32_t {
        const auto straight = KwUnpremultiply8(static_cast<std::uint8_t>(word >> shift), alpha);
        return (alpha == 255 ? 255 - straight : (255 - straight) * alpha >> 8) << shift;
    };
    return (word & ~kColors) | channel(0) | channel(8) | channel(16);
}

void InvertPlain8(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = InvertPixel(s[i]);
}

/// The same without a table, sixteen pixels at once. A half added to the dividend keeps the quotient further from whole
/// numbers than the two roundings of its float err. An opaque pixel's product is by 256, which leaves no fraction.
KWINLINE inline void InvertSoft8(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t word = s[i], alpha = word >> 24, factor = alpha + (alpha == 255);
        const float inverse = 1.0f / static_cast<float>(static_cast<std::int32_t>(alpha > 1 ? alpha : 1));
        const auto channel = [word, factor, inverse](int shift) KWINLINE {
            const float c = static_cast<float>(static_cast<std::int32_t>(word >> shift & 255));
            const float straight = (c * 255.0f + 0.5f) * inverse;
            const auto turned = 255 - static_cast<std::int32_t>(straight < 255.0f ? straight : 255.0f);
            return static_cast<std::uint32_t>(turned) * factor >> 8 << shift;
        };
        d[i] = (word & ~kColors) | channel(0) | channel(8) | channel(16);
    }
}

/// Blocks that are opaque throughout turn over their bits.
KWINLINE inline void InvertBlocks8(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count) {
    constexpr std::ptrdiff_t kBlock = 256; // pixels
    for (std::ptrdiff_t x = 0; x < count; x += kBlock) {
        const std::ptrdiff_t end = std::min(x + kBlock, count);
        std::uint32_t all = ~kColors;
        for (std::ptrdiff_t i = x; i < end; ++i) all &= s[i];
        if (all == ~kColors) {
            KWNODEPENDENCE
            for (std::ptrdiff_t i = x; i < end; ++i) d[i] = s[i] ^ kColors;
        } else {
            InvertSoft8(d + x, s + x, end - x);
        }
    }
}
constexpr CKwBodies kInvertRow8(InvertPlain8, KwClones<InvertBlocks8>);

} // namespace

HRESULT KwDibInvert(const tView& destination, const tView& source, LONG bytesPerPixel, double amount) {
    // A blend of 0 leaves bytes alone; among floats it still tells infinities from numbers.
    const bool blends = bytesPerPixel != 4 || KwByte(KwTrunc((1.0 - amount) * 255.0 + 0.5)) != 0;
    return KwForStrips(destination, source, bytesPerPixel, [&](const tView& output, const tView& input) {
        HRESULT status = S_OK;
        if (bytesPerPixel == 4) {
            tRows d, s;
            status = KwDibResolvePair(output, input, bytesPerPixel, d, s);
            for (LONG y = 0; y < d.height; ++y) kInvertRow8(KwWordRow(d, y), KwWordRow(s, y), d.width);
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
        kInvertRow8(KwWordRow(rows, y), KwWordRow(rows, y), rows.width);
    return S_OK;
}
