#include "kernels/desaturate.h"

#include "kernels/blend.h"
#include "kernels/clones.h"
#include "kernels/color_model.h"
#include "kernels/copy.h"
#include "kernels/unaligned.h"
#include "kernels/wide.h"

namespace {

[[gnu::always_inline]] inline std::uint32_t GreyWord(std::uint32_t grey, std::uint32_t word) {
    grey = std::min(grey, word >> 24);
    return (word & 0xFF000000) | grey << 16 | grey << 8 | grey;
}

KWCLONES void SpreadMeanRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count) {
    KwForWide(
        d, s, count,
        [](const tWideBytes& pixels, std::ptrdiff_t) __attribute__((always_inline)) { return KwWideMean(pixels); });
}

KWCLONES void MeanRow8(tAnyWord* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        p[i] = GreyWord(KwMean8(p[i] >> 16 & 255, p[i] >> 8 & 255, p[i] & 255), p[i]);
}

KWCLONES void BlackAndWhiteRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint8_t back) {
    const tWideHalves amount = reinterpret_cast<tWideHalves>(KwWideRepeat(back * 0x00010001u));
    KwForWide(
        d, s, count, [&](const tWideBytes& pixels, std::ptrdiff_t) __attribute__((always_inline)) {
            const tWideBytes grey = KwWideMin(KwWideMean(pixels), KwWideAlpha(pixels));
            return KwWideBlend(KwWideWithAlpha(grey, pixels), pixels, amount);
        });
}

KWCLONES void MeanRowFloat(tAnyFloat* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float a = p[i * 4 + 3], mean = KwMeanF(p[i * 4 + 2], p[i * 4 + 1], p[i * 4]);
        const float grey = mean > a ? a : mean;
        p[i * 4] = grey;
        p[i * 4 + 1] = grey;
        p[i * 4 + 2] = grey;
    }
}

/// Without saturation all three colours are the luminance itself, whatever the hue.
KWCLONES void LuminanceRow8(tAnyWord* p, std::ptrdiff_t count) {
    constexpr double kUnit = 0.00392156862745098;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::int32_t r = p[i] >> 16 & 255, g = p[i] >> 8 & 255, b = p[i] & 255;
        const double luminance = (std::max({r, g, b}) * kUnit + std::min({r, g, b}) * kUnit) * 0.5;
        p[i] = GreyWord(static_cast<std::uint32_t>(static_cast<std::int32_t>(luminance * 255.0)), p[i]);
    }
}

void LuminanceRowFloat(tAnyFloat* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i, p += 4) {
        tPixelF pixel{p[0], p[1], p[2], p[3]};
        tHSLADOUBLE hsl;
        KwFloatPixelToHsl(hsl, pixel);
        hsl.saturation = 0.0;
        KwHslToFloatPixel(pixel, hsl);
        p[0] = pixel.b > pixel.a ? pixel.a : pixel.b;
        p[1] = pixel.g > pixel.a ? pixel.a : pixel.g;
        p[2] = pixel.r > pixel.a ? pixel.a : pixel.r;
    }
}

} // namespace

HRESULT KwDibDesaturate(const tView& view, LONG bytesPerPixel, bool luminance) {
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    const auto row8 = luminance ? LuminanceRow8 : MeanRow8;
    const auto rowFloat = luminance ? LuminanceRowFloat : MeanRowFloat;
    for (LONG y = 0; y < rows.height; ++y) {
        if (bytesPerPixel == 4)
            row8(KwWordRow(rows, y), rows.width);
        else
            rowFloat(KwFloatRow(rows, y), rows.width);
    }
    return S_OK;
}

HRESULT KwDibBlackAndWhite(const tView& destination, const tView& source, LONG bytesPerPixel, double amount) {
    if (bytesPerPixel != 4) {
        HRESULT status = KwDibCopy(destination, source, bytesPerPixel);
        if (SUCCEEDED(status)) status = KwDibDesaturate(destination, bytesPerPixel, false);
        return SUCCEEDED(status) ? KwDibBlend(destination, source, bytesPerPixel, 1.0 - amount) : status;
    }
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, 4, d, s); FAILED(status)) return status;
    const std::uint8_t back = KwByte(KwTrunc((1.0 - amount) * 255.0 + 0.5));
    for (LONG y = 0; y < d.height; ++y)
        BlackAndWhiteRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, back);
    return S_OK;
}

void KwMeanRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count) {
    SpreadMeanRow8(destination, source, count);
}
