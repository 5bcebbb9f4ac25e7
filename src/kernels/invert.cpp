#include "kernels/invert.h"

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/copy.h"
#include "kernels/row.h"
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

/// The same without a table, a block at once. A half added to the dividend keeps the quotient further from whole
/// numbers than the two roundings of its float err. A colour above alpha counts as alpha. An opaque pixel's product is
/// by 256, which leaves no fraction.
template <class Bytes>
KWINLINE inline Bytes InvertedSoft(const Bytes& pixels) {
    using tWords = tWordsOf<Bytes>;
    using tWholes = typename tBlock<sizeof(Bytes)>::tWholes;
    using tFloats = typename tBlock<sizeof(Bytes)>::tFloats;
    const auto floats = [](const tWords& v)
                            KWINLINE { return __builtin_convertvector(reinterpret_cast<tWholes>(v), tFloats); };
    const tWords w = reinterpret_cast<tWords>(KwLimitedToAlpha(pixels)), alpha = w >> 24;
    const Bytes divisor = KwGreater(reinterpret_cast<Bytes>(alpha), reinterpret_cast<Bytes>(KwRepeated<Bytes>(1)));
    const tFloats inverse = 1.0f / floats(reinterpret_cast<tWords>(divisor));
    const auto straight = [&](const tWords& level) KWINLINE {
        const tFloats quotient = (floats(level) * 255.0f + 0.5f) * inverse;
        return reinterpret_cast<tWords>(__builtin_convertvector(quotient, tWholes));
    };
    const tWords colors = straight(w & 255) | straight(w >> 8 & 255) << 8 | straight(w >> 16 & 255) << 16;
    auto factors = KwAlphaAmounts(pixels);
    factors.even += (factors.even + 1) >> 8;
    factors.odd = factors.even;
    return KwWithAlpha(KwProducts(~reinterpret_cast<Bytes>(colors), factors), pixels);
}

/// Blocks that are opaque throughout turn over their bits.
template <class Bytes>
KWINLINE inline void InvertBlocks8(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count) {
    const Bytes colors = KwPixels<Bytes>(kColors);
    KwForBlocks<Bytes>(reinterpret_cast<std::uint8_t*>(d), count * 4, reinterpret_cast<const std::uint8_t*>(s),
                       [&](const Bytes& pixels) KWINLINE {
                           if (KwAllOpaque(pixels)) return pixels ^ colors;
                           return InvertedSoft(pixels);
                       });
}
constexpr CKwBodies kInvertRow8(InvertPlain8,
                                KwWidths<InvertBlocks8<tNarrow>, InvertBlocks8<tMiddle>, InvertBlocks8<tWide>>);

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
