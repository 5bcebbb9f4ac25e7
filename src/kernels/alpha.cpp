#include "kernels/alpha.h"

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/unaligned.h"

namespace {

// The 4-byte rows work on each channel in its own place inside the word.

KWINLINE inline void ClampRow8(tAnyWord* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t w = p[i];
        const std::uint32_t b = std::min(w & 0x000000FF, w >> 24);
        const std::uint32_t g = std::min(w & 0x0000FF00, w >> 16 & 0x0000FF00);
        const std::uint32_t r = std::min(w & 0x00FF0000, w >> 8 & 0x00FF0000);
        p[i] = (w & 0xFF000000) | r | g | b;
    }
}
constexpr CKwBodies kClampRow8(KwClones<ClampRow8>);

KWINLINE inline void ClampRowFloat(tAnyFloat* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float a = p[i * 4 + 3];
        for (int c = 0; c < 3; ++c) p[i * 4 + c] = p[i * 4 + c] > a ? a : p[i * 4 + c];
    }
}
constexpr CKwBodies kClampRowFloat(KwClones<ClampRowFloat>);

KWINLINE inline void PremultiplyRow8(tAnyWord* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t w = p[i], a = w >> 24;
        const std::uint32_t rb = (w & 0x00FF00FF) * a >> 8 & 0x00FF00FF;
        const std::uint32_t g = (w & 0x0000FF00) * a >> 8 & 0x0000FF00;
        p[i] = (w & 0xFF000000) | rb | g;
    }
}
constexpr CKwBodies kPremultiplyRow8(KwClones<PremultiplyRow8>);

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
            kClampRow8(KwWordRow(rows, y), rows.width);
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
            kPremultiplyRow8(KwWordRow(rows, y), rows.width);
        else
            kPremultiplyRowFloat(KwFloatRow(rows, y), rows.width);
    }
    return S_OK;
}
