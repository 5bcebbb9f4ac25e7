#include "kernels/blend.h"

#include <bit>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/copy.h"
#include "kernels/row.h"
#include "kernels/sample.h"
#include "kernels/unaligned.h"

namespace {

void BlendPlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint8_t amount) {
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = KwBlend8(d[i], s[i], amount);
}
template <class Bytes>
KWINLINE inline void BlendWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint8_t amount) {
    const auto a = KwAmountOfAll<Bytes>(amount);
    KwForBlocks<Bytes>(d, count, d, s,
                       [&a](const Bytes& to, const Bytes& from) KWINLINE { return KwBlended(to, from, a); });
}
constexpr CKwBodies kBlendRow8(BlendPlain8, KwWidths<BlendWide8<tNarrow>, BlendWide8<tMiddle>, BlendWide8<tWide>>);

void BlendSrcAlphaPlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = KwBlend8(d[i], s[i], s[i | 3]);
}
template <class Bytes>
KWINLINE inline void BlendSrcAlphaWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count) {
    KwForBlocks<Bytes>(d, count, d, s, [](const Bytes& to, const Bytes& from) KWINLINE {
        return KwBlended(to, from, KwAlphaAmounts(from));
    });
}
constexpr CKwBodies
    kBlendSrcAlphaRow8(BlendSrcAlphaPlain8,
                       KwWidths<BlendSrcAlphaWide8<tNarrow>, BlendSrcAlphaWide8<tMiddle>, BlendSrcAlphaWide8<tWide>>);

/// `matte` is a word of its bytes; that of alpha has no part.
void MattePlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint32_t matte) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::int32_t m = matte >> i % 4 * 8 & 255, mixed = KwDiv256((m - d[i]) * s[i | 3]) + d[i];
        if (i % 4 != 3) d[i] = static_cast<std::uint8_t>(KwClamp(mixed + s[i] - m, 0, 255));
    }
}
template <class Bytes>
KWINLINE inline void MatteWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint32_t matte) {
    const Bytes mattes = KwPixels<Bytes>(matte);
    KwForBlocks<Bytes>(d, count, d, s, [&](const Bytes& to, const Bytes& from) KWINLINE {
        // Blending towards the matte stays inside a byte; the step from matte to source is limited to what is left.
        const Bytes mixed = KwBlended(to, mattes, KwAlphaAmounts(from));
        const Bytes up = KwRest(from, mattes), down = KwRest(mattes, from);
        return KwWithAlpha(KwRest(KwSum(mixed, up), down), to);
    });
}
constexpr CKwBodies kMatteRow8(MattePlain8, KwWidths<MatteWide8<tNarrow>, MatteWide8<tMiddle>, MatteWide8<tWide>>);

KWINLINE inline void BlendFloats(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, float amount) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = KwBlendFloat(d[i], s[i], amount);
}
constexpr CKwBodies kBlendRowFloat(KwClones<BlendFloats>);

KWINLINE inline void BlendSrcAlphaFloats(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        const float a = s[i + 3];
        for (int c = 0; c < 4; ++c) d[i + c] = KwBlendFloat(d[i + c], s[i + c], a);
    }
}
constexpr CKwBodies kBlendSrcAlphaRowFloat(KwClones<BlendSrcAlphaFloats>);

KWINLINE inline float MatteF(float d, float s, float a, float matte) {
    return KwClamp((matte - d) * a + s - matte + d, 0.0f, 1.0f);
}

KWINLINE inline void MatteFloats(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t width, float blue, float green,
                                 float red) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < width; ++i) {
        const float a = s[i * 4 + 3];
        d[i * 4] = MatteF(d[i * 4], s[i * 4], a, blue);
        d[i * 4 + 1] = MatteF(d[i * 4 + 1], s[i * 4 + 1], a, green);
        d[i * 4 + 2] = MatteF(d[i * 4 + 2], s[i * 4 + 2], a, red);
    }
}
constexpr CKwBodies kMatteRowFloat(KwClones<MatteFloats>);

// What is added to, `base`, may be the target itself.

void AddPlain8(std::uint8_t* d, const std::uint8_t* base, const std::uint8_t* s, std::ptrdiff_t count,
               std::int32_t amount) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        d[i] = static_cast<std::uint8_t>(std::min(base[i] + (s[i] * amount >> 14), 255));
}
template <class Bytes>
KWINLINE inline void AddWide8(std::uint8_t* d, const std::uint8_t* base, const std::uint8_t* s, std::ptrdiff_t count,
                              std::int32_t amount) {
    const tShare<14> share(amount);
    KwForBlocks<Bytes>(d, count, base, s, [&](const Bytes& to, const Bytes& from) KWINLINE {
        return KwSum(to, KwByHalves(from, [&](const tHalvesOf<Bytes>& v) KWINLINE { return share.Of(v); }));
    });
}
constexpr CKwBodies kAddRow8(AddPlain8, KwWidths<AddWide8<tNarrow>, AddWide8<tMiddle>, AddWide8<tWide>>);

KWINLINE inline void AddFloats(tAnyFloat* d, const tAnyFloat* base, const tAnyFloat* s, std::ptrdiff_t count,
                               float amount) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = KwClamp(base[i] + s[i] * amount, 0.0f, 1.0f);
}
constexpr CKwBodies kAddRowFloat(KwClones<AddFloats>);

constexpr double kWholeAmount = 16384.0;

std::int32_t ScaleOf(double amount) {
    return KwTrunc((amount > 0.0 ? std::min(amount, 1.0) : 0.0) * kWholeAmount);
}

void AddRows(const tRows& d, const tRows& base, const tRows& s, LONG bytesPerPixel, std::int32_t scale) {
    const std::ptrdiff_t count = std::ptrdiff_t{d.width} * 4;
    for (LONG y = 0; y < d.height; ++y) {
        if (bytesPerPixel == 4)
            kAddRow8(d.Row<std::uint8_t>(y), base.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count, scale);
        else
            kAddRowFloat(KwFloatRow(d, y), KwFloatRow(base, y), KwFloatRow(s, y), count,
                         static_cast<float>(scale) * 0.00006103515625f);
    }
}

/// A running position on one axis, limited to the pixels there are.
struct tPosition {
    LONG at, next;
    std::int32_t fraction;

    tPosition(std::int64_t start, LONG step, LONG size) {
        const std::int64_t p =
            KwClamp<std::int64_t>(start + step * std::int64_t{16384}, 0, (size - 1) * std::int64_t{16384});
        at = static_cast<LONG>(p >> 14);
        fraction = static_cast<std::int32_t>(p & 16383);
        next = at + (fraction ? 1 : 0);
    }
};

void AddSampled(const tRows& d, const tRows& s, LONG bytesPerPixel, std::int32_t amount, std::int64_t startX,
                std::int64_t startY) {
    const float scale = static_cast<float>(amount) * 0.00006103515625f;
    for (LONG y = 0; y < d.height; ++y) {
        const tPosition v(startY, y, s.height);
        for (LONG x = 0; x < d.width; ++x) {
            const tPosition h(startX, x, s.width);
            const std::ptrdiff_t x0 = std::ptrdiff_t{h.at} * 4, x1 = std::ptrdiff_t{h.next} * 4;
            const std::ptrdiff_t to = std::ptrdiff_t{x} * 4;
            if (bytesPerPixel == 4) {
                const tBilinear8 sample(h.fraction, v.fraction);
                const std::uint8_t* const top = s.Row<std::uint8_t>(v.at);
                const std::uint8_t* const bottom = s.Row<std::uint8_t>(v.next);
                std::uint8_t* const out = d.Row<std::uint8_t>(y) + to;
                for (int c = 0; c < 4; ++c) {
                    const std::int32_t value = sample(top[x0 + c], top[x1 + c], bottom[x0 + c], bottom[x1 + c]);
                    out[c] = static_cast<std::uint8_t>(std::min(out[c] + (value * amount >> 14), 255));
                }
            } else {
                const tBilinearF sample(h.fraction, v.fraction);
                const tAnyFloat* const top = KwFloatRow(s, v.at);
                const tAnyFloat* const bottom = KwFloatRow(s, v.next);
                tAnyFloat* const out = KwFloatRow(d, y) + to;
                for (int c = 0; c < 4; ++c) {
                    const float value = sample(top[x0 + c], top[x1 + c], bottom[x0 + c], bottom[x1 + c]);
                    out[c] = KwClamp(out[c] + value * scale, 0.0f, 1.0f);
                }
            }
        }
    }
}

} // namespace

HRESULT KwDibBlend(const tView& destination, const tView& source, LONG bytesPerPixel, double amount) {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const std::ptrdiff_t count = std::ptrdiff_t{d.width} * 4;
    if (bytesPerPixel == 4) {
        const std::uint8_t a = KwByte(KwTrunc(amount * 255.0 + 0.5));
        for (LONG y = 0; y < d.height; ++y) kBlendRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count, a);
    } else {
        const float a = static_cast<float>(amount);
        for (LONG y = 0; y < d.height; ++y) kBlendRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), count, a);
    }
    return S_OK;
}

HRESULT KwDibBlendSrcAlpha(const tView& destination, const tView& source, LONG bytesPerPixel, const double* matte) {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const std::ptrdiff_t count = std::ptrdiff_t{d.width} * 4;
    if (!matte) {
        for (LONG y = 0; y < d.height; ++y) {
            if (bytesPerPixel == 4)
                kBlendSrcAlphaRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count);
            else
                kBlendSrcAlphaRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), count);
        }
    } else if (bytesPerPixel == 4) {
        const auto level = [](double v) { return KwByte(KwTrunc(KwClamp(v * 255.0, 0.0, 255.0))); };
        const auto word = std::bit_cast<std::uint32_t>(tPixel8{level(matte[2]), level(matte[1]), level(matte[0]), 0});
        for (LONG y = 0; y < d.height; ++y) kMatteRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count, word);
    } else {
        const float red = static_cast<float>(matte[0]), green = static_cast<float>(matte[1]),
                    blue = static_cast<float>(matte[2]);
        for (LONG y = 0; y < d.height; ++y)
            kMatteRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), d.width, blue, green, red);
    }
    return S_OK;
}

HRESULT KwDibAddScaled(const tView& destination, const tView& source, LONG bytesPerPixel, double amount, LONG mode,
                       double offsetX, double offsetY) {
    if (!destination.frame || !destination.bits) return E_POINTER;
    if (mode != 2 && mode != 3) return E_NOTIMPL;
    if (!source.frame || !source.bits) return E_POINTER;
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    if (mode == 2) return E_NOTIMPL;

    const std::int32_t scale = ScaleOf(amount);
    const std::int64_t startX = KwTrunc(offsetX * 16384.0), startY = KwTrunc(offsetY * 16384.0);
    if (startX != 0 || startY != 0)
        AddSampled(d, s, bytesPerPixel, scale, startX, startY);
    else
        AddRows(d, d, s, bytesPerPixel, scale);
    return S_OK;
}

HRESULT KwDibSumScaled(const tView& output, const tView& base, const tView& added, LONG bytesPerPixel, double amount) {
    tRows d, b, again, s;
    const HRESULT first = KwDibResolvePair(output, base, bytesPerPixel, d, b);
    const HRESULT second = KwDibResolvePair(output, added, bytesPerPixel, again, s);
    // In two walks where areas differ, and where what is added has to be the copy already.
    if (FAILED(first) || FAILED(second) || d.first != again.first || d.width != again.width ||
        d.height != again.height || s.first == d.first) {
        const HRESULT status = KwDibCopy(output, base, bytesPerPixel);
        return FAILED(status) ? status : KwDibAddScaled(output, added, bytesPerPixel, amount, 3, 0.0, 0.0);
    }
    AddRows(d, b, s, bytesPerPixel, ScaleOf(amount));
    return S_OK;
}
