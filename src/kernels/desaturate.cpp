#include "kernels/desaturate.h"

#include "base/bodies.h"
#include "kernels/blend.h"
#include "kernels/color_model.h"
#include "kernels/copy.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

namespace {

KWINLINE inline std::uint32_t GreyWord(std::uint32_t grey, std::uint32_t word) {
    grey = std::min(grey, word >> 24);
    return (word & 0xFF000000) | grey << 16 | grey << 8 | grey;
}

void SpreadMeanPlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4)
        d[i] = d[i + 1] = d[i + 2] = d[i + 3] = static_cast<std::uint8_t>(KwMean8(s[i + 2], s[i + 1], s[i]));
}
template <class Bytes>
KWINLINE inline void SpreadMeanWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count) {
    KwForBlocks<Bytes>(d, count * 4, s, [](const Bytes& pixels) KWINLINE { return KwMeans(pixels); });
}
constexpr CKwBodies
    kSpreadMeanRow8(SpreadMeanPlain8,
                    KwWidths<SpreadMeanWide8<tNarrow>, SpreadMeanWide8<tMiddle>, SpreadMeanWide8<tWide>>);

void MeanPlain8(tAnyWord* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        p[i] = GreyWord(KwMean8(p[i] >> 16 & 255, p[i] >> 8 & 255, p[i] & 255), p[i]);
}
template <class Bytes>
KWINLINE inline void MeanRow8(tAnyWord* p, std::ptrdiff_t count) {
    auto* const bytes = reinterpret_cast<std::uint8_t*>(p);
    KwForBlocks<Bytes>(bytes, count * 4, bytes,
                       [](const Bytes& pixels) KWINLINE { return KwWithAlpha(KwGreys(pixels), pixels); });
}
constexpr CKwBodies kMeanRow8(MeanPlain8, KwWidths<MeanRow8<tNarrow>, MeanRow8<tMiddle>, MeanRow8<tWide>>);

void BlackAndWhitePlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint8_t back) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4) {
        const std::uint8_t alpha = s[i + 3];
        const auto grey = std::min(static_cast<std::uint8_t>(KwMean8(s[i + 2], s[i + 1], s[i])), alpha);
        for (int c = 0; c < 3; ++c) d[i + c] = KwBlend8(grey, s[i + c], back);
        d[i + 3] = alpha;
    }
}
template <class Bytes>
KWINLINE inline void BlackAndWhiteWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count,
                                        std::uint8_t back) {
    auto amount = KwAmounts<Bytes>(back * 0x010101u);
    amount.odd |= reinterpret_cast<tHalvesOf<Bytes>>(KwRepeated<Bytes>(0x01000000)); // all of the source's alpha
    KwForBlocks<Bytes>(d, count * 4, s,
                       [&](const Bytes& pixels) KWINLINE { return KwBlended(KwGreys(pixels), pixels, amount); });
}
constexpr CKwBodies
    kBlackAndWhiteRow8(BlackAndWhitePlain8,
                       KwWidths<BlackAndWhiteWide8<tNarrow>, BlackAndWhiteWide8<tMiddle>, BlackAndWhiteWide8<tWide>>);

KWINLINE inline void MeanRowFloat(tAnyFloat* p, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float a = p[i * 4 + 3], mean = KwMeanF(p[i * 4 + 2], p[i * 4 + 1], p[i * 4]);
        const float grey = mean > a ? a : mean;
        p[i * 4] = grey;
        p[i * 4 + 1] = grey;
        p[i * 4 + 2] = grey;
    }
}
constexpr CKwBodies kMeanRowFloat(KwClones<MeanRowFloat>);

/// Without saturation all three colours are the luminance itself, whatever the hue.
KWINLINE inline void LuminanceRow8(tAnyWord* p, std::ptrdiff_t count) {
    constexpr double kUnit = 0.00392156862745098;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::int32_t r = p[i] >> 16 & 255, g = p[i] >> 8 & 255, b = p[i] & 255;
        const double luminance = (std::max({r, g, b}) * kUnit + std::min({r, g, b}) * kUnit) * 0.5;
        p[i] = GreyWord(static_cast<std::uint32_t>(static_cast<std::int32_t>(luminance * 255.0)), p[i]);
    }
}
constexpr CKwBodies kLuminanceRow8(KwClones<LuminanceRow8>);

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
    const auto row8 = luminance ? kLuminanceRow8.Now() : kMeanRow8.Now();
    const auto rowFloat = luminance ? LuminanceRowFloat : kMeanRowFloat.Now();
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
        kBlackAndWhiteRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, back);
    return S_OK;
}

void KwMeanRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count) {
    kSpreadMeanRow8(destination, source, count);
}
