#include "kernels/alpha.h"

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

namespace {

void ClampPlain8(std::uint8_t* p, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i) p[i] = std::min(p[i], p[i | 3]);
}
template <class Bytes>
KWINLINE inline void ClampRow8(std::uint8_t* p, std::ptrdiff_t bytes) {
    KwForBlocks<Bytes>(p, bytes, p, [](const Bytes& pixels) KWINLINE { return KwLimitedToAlpha(pixels); });
}
constexpr CKwBodies kClampRow8(ClampPlain8, KwWidths<ClampRow8<tNarrow>, ClampRow8<tMiddle>, ClampRow8<tWide>>);

KWINLINE inline void ClampRowFloat(tAnyFloat* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float a = p[i * 4 + 3];
        for (int c = 0; c < 3; ++c) p[i * 4 + c] = p[i * 4 + c] > a ? a : p[i * 4 + c];
    }
}
constexpr CKwBodies kClampRowFloat(KwClones<ClampRowFloat>);

void PremultiplyPlain8(std::uint8_t* p, std::ptrdiff_t bytes) {
    for (std::ptrdiff_t i = 0; i < bytes; ++i)
        if (i % 4 != 3) p[i] = static_cast<std::uint8_t>(p[i] * p[i | 3] >> 8);
}
template <class Bytes>
KWINLINE inline void PremultiplyRow8(std::uint8_t* p, std::ptrdiff_t bytes) {
    KwForBlocks<Bytes>(p, bytes, p, [](const Bytes& pixels) KWINLINE {
        return KwWithAlpha(KwProducts(pixels, KwAlphaAmounts(pixels)), pixels);
    });
}
constexpr CKwBodies
    kPremultiplyRow8(PremultiplyPlain8,
                     KwWidths<PremultiplyRow8<tNarrow>, PremultiplyRow8<tMiddle>, PremultiplyRow8<tWide>>);

KWINLINE inline void PremultiplyRowFloat(tAnyFloat* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float a = p[i * 4 + 3];
        for (int c = 0; c < 3; ++c) p[i * 4 + c] *= a;
    }
}
constexpr CKwBodies kPremultiplyRowFloat(KwClones<PremultiplyRowFloat>);

} // namespace

HRESULT KwDibClampToAlpha(const tView& view, LONG bytesPerPixel) {
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    for (LONG y = 0; y < rows.height; ++y) {
        if (bytesPerPixel == 4)
            kClampRow8(rows.Row<std::uint8_t>(y), std::ptrdiff_t{rows.width} * 4);
        else
            kClampRowFloat(KwFloatRow(rows, y), rows.width);
    }
    return S_OK;
}

HRESULT KwDibPremultiply(const tView& view, LONG bytesPerPixel) {
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    for (LONG y = 0; y < rows.height; ++y) {
        if (bytesPerPixel == 4)
            kPremultiplyRow8(rows.Row<std::uint8_t>(y), std::ptrdiff_t{rows.width} * 4);
        else
            kPremultiplyRowFloat(KwFloatRow(rows, y), rows.width);
    }
    return S_OK;
}
