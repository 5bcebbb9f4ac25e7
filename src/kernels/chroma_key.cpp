#include "kernels/chroma_key.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/alpha.h"
#include "kernels/color_model.h"
#include "kernels/copy.h"
#include "kernels/gaussian.h"
#include "kernels/quick.h"
#include "kernels/strips.h"
#include "kernels/unaligned.h"

namespace {

constexpr std::ptrdiff_t kBlock = 64; // pixels

/// The key, and what the thresholds need, once for a call.
struct tKey {
    tPixelF color;
    tHSLADOUBLE hsl;
    float low, high, inverse;
    bool tame; ///< color and lower threshold 0 to 1, and a ramp above it
};

/// `KwPixelToHsl` without branches: every value is found and one of them chosen, so that a row is a vector loop.
KWINLINE inline void ByteToHsl(double r, double g, double b, double& hue, double& saturation, double& luminance) {
    const double larger = r > g ? r : g, smaller = r < g ? r : g;
    const double mx = larger > b ? larger : b, mn = smaller < b ? smaller : b;
    const double sum = mx + mn, d = mx - mn;
    luminance = sum * 0.5;
    const double part = d / (luminance <= 0.5 ? sum : 2.0 - mx - mn);
    const double inv = 1.0 / d;
    const double rc = (mx - r) * inv, gc = (mx - g) * inv, bc = (mx - b) * inv;
    const double hRed = g != mn ? 1.0 - gc : bc + 5.0;
    const double hGreen = b != mn ? 3.0 - bc : rc + 1.0;
    const double hBlue = r != mn ? 5.0 - rc : gc + 3.0;
    const double h = r == mx ? hRed : g == mx ? hGreen : hBlue;
    saturation = d > 0.0 ? part : 0.0;
    hue = d > 0.0 ? h * 0.16666666666666666 : 0.0;
}

/// The definition, through the colour model's own conversions. `oldAlpha` was divided out of the pixels.
std::int32_t DifferencePlain(tAnyWord* pixels, const std::uint32_t* oldAlpha, std::ptrdiff_t count, const tKey& key,
                             std::int32_t) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        tPixel8 p = std::bit_cast<tPixel8>(std::uint32_t{pixels[i]});
        tHSLADOUBLE hsl;
        KwPixelToHsl(hsl, p);
        double dh = std::fabs(hsl.hue - key.hsl.hue);
        if (dh > 0.5) dh = 1.0 - dh;
        const double ds = std::fabs(hsl.saturation - key.hsl.saturation);
        const double dl = std::fabs(hsl.luminance - key.hsl.luminance);
        const auto gap = [](float channel, std::uint8_t byte) { return double{channel - byte * 0.003921569f}; };
        const double eb = gap(key.color.b, p.b), eg = gap(key.color.g, p.g), er = gap(key.color.r, p.r);
        const double e = std::sqrt(eb * eb + eg * eg + er * er) * double{1.7320508f};
        const float d = static_cast<float>((e + (dh + dh + dl + ds) * double{0.33333334f}) * 0.5);
        std::int32_t alpha = d < key.low ? 0 : 255;
        if (d >= key.low && d <= key.high) {
            const double ramp = double{(d - key.low) * key.inverse} * 255.0;
            alpha = std::isnan(ramp) ? 0 : KwTrunc(KwClamp(ramp, 0.0, 255.0));
        }
        p.a = static_cast<std::uint8_t>(std::min<std::uint32_t>(static_cast<std::uint32_t>(alpha), oldAlpha[i]));
        pixels[i] = std::bit_cast<std::uint32_t>(p);
    }
    return 0;
}

/// By doubles, as the definition.
KWINLINE inline void CloseDifference(tAnyWord* pixels, const std::uint32_t* oldAlpha, std::ptrdiff_t count,
                                     const tKey& key) {
    constexpr double kUnit = 0.00392156862745098;
    constexpr float kUnitFloat = 0.003921569f; // as floats: a byte of the key's colour is then at no distance
    constexpr double kThird = 0.33333334f, kRoot3 = 1.7320508f;
    const float kb = key.color.b, kg = key.color.g, kr = key.color.r;
    const double kh = key.hsl.hue, ks = key.hsl.saturation, kl = key.hsl.luminance;
    const float low = key.low, high = key.high, inverse = key.inverse;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t pixel = pixels[i];
        const auto b = static_cast<std::int32_t>(pixel & 255);
        const auto g = static_cast<std::int32_t>(pixel >> 8 & 255);
        const auto r = static_cast<std::int32_t>(pixel >> 16 & 255);
        double h, s, l;
        ByteToHsl(r * kUnit, g * kUnit, b * kUnit, h, s, l);
        const double apart = std::fabs(h - kh);
        const double dh = apart > 0.5 ? 1.0 - apart : apart;
        const double ds = std::fabs(s - ks), dl = std::fabs(l - kl);
        const double eb = kb - static_cast<float>(b) * kUnitFloat;
        const double eg = kg - static_cast<float>(g) * kUnitFloat;
        const double er = kr - static_cast<float>(r) * kUnitFloat;
        const double e = std::sqrt(eb * eb + eg * eg + er * er) * kRoot3;
        const float d = static_cast<float>((e + (dh + dh + dl + ds) * kThird) * 0.5);
        const double ramp = static_cast<double>((d - low) * inverse) * 255.0;
        const double between = ramp > 0.0 ? ramp < 255.0 ? ramp : 255.0 : 0.0; // not-a-number gives 0
        const std::int32_t inside = d <= high ? static_cast<std::int32_t>(between) : 255;
        const std::int32_t alpha = d < low ? 0 : inside;
        const auto old = static_cast<std::int32_t>(oldAlpha[i]);
        pixels[i] = (pixel & 0xFFFFFF) | static_cast<std::uint32_t>(alpha < old ? alpha : old) << 24;
    }
}
/// By floats, where twice as many fit a register; `open` is 0 where a pixel is not too close to a step of alpha. Needs
/// `tKey::tame`.
///
/// Channels are whole numbers until they are divided, so hue, saturation and luminance are off by 2e-7 at the most, the
/// key's included, and the distance of colours, which is below 3.1, by 1e-6. With what is rounded in the sums and in
/// the definition's own float, the distance is off by less than 2e-6. The ramp up to 256 adds 2e-7 of itself, and its
/// end is as near to 255.
KWINLINE inline void QuickDifference(tAnyWord* pixels, const std::uint32_t* oldAlpha, std::uint32_t* __restrict open,
                                     std::ptrdiff_t count, const tKey& key) {
    constexpr float kUnitFloat = 0.003921569f, kThird = 0.33333334f, kRoot3 = 1.7320508f;
    const float kb = key.color.b, kg = key.color.g, kr = key.color.r;
    const auto kh = static_cast<float>(key.hsl.hue), ks = static_cast<float>(key.hsl.saturation);
    const auto kl = static_cast<float>(key.hsl.luminance);
    const float low = key.low, scale = key.inverse * 255.0f, error = 2e-6f * scale + 1e-4f;
    const float one = KwHidden(1.0f), clear = KwHidden(0.0f);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t pixel = pixels[i];
        const auto b = static_cast<float>(static_cast<std::int32_t>(pixel & 255));
        const auto g = static_cast<float>(static_cast<std::int32_t>(pixel >> 8 & 255));
        const auto r = static_cast<float>(static_cast<std::int32_t>(pixel >> 16 & 255));
        const float top = std::max(std::max(r, g), b), bottom = std::min(std::min(r, g), b);
        const float sum = top + bottom, spread = top - bottom, middle = r + g + b - sum;
        // The sixth of the circle, and whether the hue falls or rises with the middle channel's distance from the top.
        const float next = r == top ? g : g == top ? b : r;
        const float base = r == top ? 0.0f : 4.0f - (g == top ? 2.0f : 0.0f);
        const float way = (next != bottom ? 2.0f : 0.0f) - 1.0f, sixth = base + way;
        const float from = sixth + (sixth < 0.0f ? 6.0f : 0.0f);
        const float part = way * (middle - top) / std::max(spread, one);
        const float h = spread > 0.0f ? (from + part) * 0.16666667f : 0.0f;
        const float s = spread / std::max(std::min(sum, 510.0f - sum), one);
        const float apart = std::fabs(h - kh), dh = std::min(apart, 1.0f - apart);
        const float ds = std::fabs(s - ks), dl = std::fabs(sum * (1.0f / 510.0f) - kl);
        const float eb = kb - b * kUnitFloat, eg = kg - g * kUnitFloat, er = kr - r * kUnitFloat;
        const float e = std::sqrt(eb * eb + eg * eg + er * er) * kRoot3;
        const float ramp = ((e + (dh + dh + dl + ds) * kThird) * 0.5f - low) * scale;
        const auto old = static_cast<float>(static_cast<std::int32_t>(oldAlpha[i]));
        const auto alpha = static_cast<std::int32_t>(std::min(std::max(ramp - error, clear), old));
        const auto other = static_cast<std::int32_t>(std::min(std::max(ramp + error, clear), old));
        open[i] = static_cast<std::uint32_t>(alpha ^ other);
        pixels[i] = (pixel & 0xFFFFFF) | static_cast<std::uint32_t>(alpha) << 24;
    }
}

/// `close` and what is returned: how many blocks from there on go by doubles at once.
KWINLINE inline std::int32_t DifferenceBlock(tAnyWord* pixels, const std::uint32_t* oldAlpha, std::ptrdiff_t count,
                                             const tKey& key, std::int32_t close) {
    if (close > 0 || !key.tame) {
        CloseDifference(pixels, oldAlpha, count, key);
        return close - 1;
    }
    std::uint32_t open[kBlock];
    QuickDifference(pixels, oldAlpha, open, count, key);
    return KwCloseOpen(open, count, [&](std::ptrdiff_t from, std::ptrdiff_t size) KWINLINE {
        CloseDifference(pixels + from, oldAlpha + from, size, key);
    });
}
constexpr CKwBodies kDifferenceBlock(DifferencePlain, KwClones<DifferenceBlock>);

void UnpremultiplyPlain(tAnyWord* pixels, std::ptrdiff_t count) {
    auto* p = reinterpret_cast<tPixel8*>(pixels);
    for (std::ptrdiff_t i = 0; i < count; ++i) KwDibUnpremultiplyPixel(p[i], 0);
}

/// Below 256 floats are off by less than 4e-5, and a quotient that is not whole is 1/255 or more short of the next.
KWINLINE inline void UnpremultiplyRow(tAnyWord* pixels, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t pixel = pixels[i], alpha = pixel >> 24;
        const float inverse = alpha > 0 ? 255.0f / static_cast<float>(static_cast<std::int32_t>(alpha)) : 0.0f;
        const auto channel = [&](std::uint32_t byte) KWINLINE {
            const float value = static_cast<float>(static_cast<std::int32_t>(byte & 255)) * inverse + 0.001f;
            return static_cast<std::uint32_t>(static_cast<std::int32_t>(std::min(value, 255.0f)));
        };
        pixels[i] = alpha << 24 | channel(pixel >> 16) << 16 | channel(pixel >> 8) << 8 | channel(pixel);
    }
}
constexpr CKwBodies kUnpremultiplyRow(UnpremultiplyPlain, KwClones<UnpremultiplyRow>);

/// Undoes the multiplication by alpha in one block and keeps the alpha.
void UnpremultiplyBlock(tAnyWord* pixels, std::uint32_t* alpha, std::ptrdiff_t count) {
    std::uint32_t all = 0xFFFFFFFF;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        alpha[i] = pixels[i] >> 24;
        all &= pixels[i];
    }
    if (all >> 24 != 255) kUnpremultiplyRow(pixels, count);
}

/// Limits the byte at `shift` to the one above it, where the pixel is not clear.
KWINLINE inline void LimitRow(tAnyWord* pixels, std::ptrdiff_t count, std::uint32_t shift) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t pixel = pixels[i];
        const std::uint32_t value = pixel >> shift & 255, limit = pixel >> (shift + 8) & 255;
        const std::uint32_t excess = value > limit && pixel >> 24 ? value - limit : 0;
        pixels[i] = pixel - (excess << shift);
    }
}
constexpr CKwBodies kLimitRow(KwClones<LimitRow>);

KWINLINE inline void SpreadAlpha(tAnyWord* pixels, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) pixels[i] = (pixels[i] >> 24) * 0x01010101;
}
constexpr CKwBodies kSpreadAlpha(KwClones<SpreadAlpha>);

/// Alpha in all four channels.
HRESULT ShowMask(const tView& view) {
    tRows rows;
    const HRESULT status = KwDibResolveClip(view, 4, rows);
    for (LONG y = 0; y < rows.height; ++y) kSpreadAlpha(KwWordRow(rows, y), rows.width);
    return status;
}

} // namespace

HRESULT KwDibCreateDifferenceAlpha(const tView& view, const tKWRGBADOUBLE* color, const tMASKSETTINGS* settings,
                                   LONG bytesPerPixel) {
    if (!color || !settings) return E_POINTER;
    tRows rows;
    const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows);
    if (FAILED(status) || bytesPerPixel != 4) return status;
    tKey key{{static_cast<float>(color->blue), static_cast<float>(color->green), static_cast<float>(color->red),
              static_cast<float>(color->alpha)},
             {},
             settings->lowThreshold,
             settings->highThreshold,
             0,
             false};
    key.inverse = static_cast<float>(1.0 / (key.high - key.low));
    KwFloatPixelToHsl(key.hsl, key.color);
    const auto isUnit = [](float value) { return value >= 0.0f && value <= 1.0f; };
    key.tame = isUnit(key.color.b) && isUnit(key.color.g) && isUnit(key.color.r) && isUnit(key.low) &&
               key.low < key.high && std::isfinite(key.inverse);
    for (LONG y = 0; y < rows.height; ++y) {
        tAnyWord* row = KwWordRow(rows, y);
        std::int32_t close = 0;
        for (std::ptrdiff_t x = 0; x < rows.width; x += kBlock) {
            const std::ptrdiff_t count = std::min<std::ptrdiff_t>(kBlock, rows.width - x);
            std::uint32_t alpha[kBlock];
            UnpremultiplyBlock(row + x, alpha, count);
            close = kDifferenceBlock(row + x, alpha, count, key, close);
        }
    }
    return status;
}

HRESULT KwDibApplyChromaCorrection(const tView& view, const tKWRGBADOUBLE* key, const tMASKSETTINGS*,
                                   LONG bytesPerPixel) {
    if (!key) return E_POINTER;
    tRows rows;
    const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows);
    if (FAILED(status) || bytesPerPixel != 4) return status;
    const bool blue = key->blue > key->green && key->blue > key->red;
    const bool green = !blue && key->green > key->blue && key->green > key->red;
    if (!blue && !green) return status;
    for (LONG y = 0; y < rows.height; ++y) kLimitRow(KwWordRow(rows, y), rows.width, blue ? 0 : 8);
    return status;
}

HRESULT KwDibChromaKey(const tView& output, const tView& input, LONG bytesPerPixel, const tCHROMAKEYPROP& record) {
    if (bytesPerPixel != 4) return E_NOTIMPL;
    const tKWRGBADOUBLE key{record.blue, record.green, record.red, 1.0};
    const tMASKSETTINGS& settings = record.transparencyMask;
    const auto extract = [&](const tView& out, const tView& in) {
        const HRESULT status = KwDibCopy(out, in, 4);
        return FAILED(status) ? status : KwDibCreateDifferenceAlpha(out, &key, &settings, 4);
    };
    const auto finish = [&](const tView& out, const tView&) {
        const HRESULT status = KwDibApplyChromaCorrection(out, &key, &settings, 4);
        return FAILED(status) ? status : record.maskOnly ? ShowMask(out) : KwDibPremultiply(out, 4);
    };
    if (!(settings.blurAmount > 0.0f))
        return KwForStrips(output, input, 4, [&](const tView& out, const tView& in) {
            const HRESULT status = extract(out, in);
            return FAILED(status) ? status : finish(out, in);
        });
    if (const HRESULT status = KwForStrips(output, input, 4, extract); FAILED(status)) return status;
    const double radius = settings.blurAmount * 36.0;
    if (const HRESULT status = KwDibGaussianBlurChannel(output, output, 4, radius, radius, KW_CHANNEL_ALPHA);
        FAILED(status))
        return status;
    return KwForStrips(output, output, 4, finish);
}
