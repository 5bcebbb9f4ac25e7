#include "kernels/blend.h"

#include <bit>
#include <cstring>

#include "base/arith.h"
#include "kernels/clones.h"
#include "kernels/sample.h"
#include "kernels/unaligned.h"

namespace {

// The 4-byte rows run on 16 pixels at a time: as bytes, and the same as 16-bit halves for products. The plain loop over
// bytes, which the compiler widens to 32 bits, takes three times as long.
#pragma GCC diagnostic ignored "-Wpsabi" // vectors are passed between inlined functions alone
constexpr std::ptrdiff_t kBlock = 64;
using tBytes [[gnu::vector_size(kBlock)]] = std::uint8_t;
using tHalves [[gnu::vector_size(kBlock)]] = std::uint16_t;
using tWords [[gnu::vector_size(kBlock)]] = std::uint32_t;

/// `KwBlend8` for each byte, by the size of the difference; `a` is the amount for both bytes of a half.
[[gnu::always_inline]] inline tBytes Blend(const tBytes& d, const tBytes& s, const tHalves& a) {
    const tHalves size = reinterpret_cast<tHalves>(d < s ? s - d : d - s);
    const tBytes step = reinterpret_cast<tBytes>(((size & 255) * a >> 8) | ((size >> 8) * a & 0xFF00));
    return d < s ? d + step : d - step;
}

/// Each pixel's alpha as the amount for its bytes.
[[gnu::always_inline]] inline tHalves Alphas(const tBytes& pixels) {
    const tWords a = reinterpret_cast<tWords>(pixels) >> 24;
    return reinterpret_cast<tHalves>(a | a << 16);
}

[[gnu::always_inline]] inline tWords Repeated(std::uint32_t word) {
    std::uint32_t words[kBlock / 4];
    for (std::uint32_t& w : words) w = word;
    tWords result;
    std::memcpy(&result, words, kBlock);
    return result;
}

/// Replaces the destination's bytes by `rule(destination, source)`, whole pixels at a time. Blocks begin where the
/// destination is aligned, which saves a third of the time; what is left at both ends goes through copies.
template <class Rule>
[[gnu::always_inline]] inline void ForBlocks(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, Rule rule) {
    const auto part = [&](std::ptrdiff_t bytes) __attribute__((always_inline)) {
        tBytes to{}, from{};
        std::memcpy(&to, d, static_cast<std::size_t>(bytes));
        std::memcpy(&from, s, static_cast<std::size_t>(bytes));
        to = rule(to, from);
        std::memcpy(d, &to, static_cast<std::size_t>(bytes));
        d += bytes;
        s += bytes;
        count -= bytes;
    };
    const std::ptrdiff_t head = static_cast<std::ptrdiff_t>(-reinterpret_cast<std::uintptr_t>(d) % kBlock);
    if (head > 0 && head % 4 == 0 && head < count) part(head);
    while (count >= kBlock) part(kBlock);
    if (count > 0) part(count);
}

KWCLONES void BlendRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint8_t amount) {
    const tHalves a = reinterpret_cast<tHalves>(Repeated(amount * 0x00010001u));
    ForBlocks(
        d, s, count, [&a](const tBytes& to, const tBytes& from) __attribute__((always_inline)) {
            return Blend(to, from, a);
        });
}

KWCLONES void BlendSrcAlphaRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count) {
    ForBlocks(
        d, s, count, [](const tBytes& to, const tBytes& from) __attribute__((always_inline)) {
            return Blend(to, from, Alphas(from));
        });
}

/// `matte` is a word of its bytes; that of alpha has no part.
KWCLONES void MatteRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint32_t matte) {
    const tBytes mattes = reinterpret_cast<tBytes>(Repeated(matte));
    const tWords keep = Repeated(0xFF000000);
    ForBlocks(
        d, s, count, [&](const tBytes& to, const tBytes& from) __attribute__((always_inline)) {
            // Blending towards the matte stays inside a byte; the step from matte to source is limited to what is left.
            const tBytes mixed = Blend(to, mattes, Alphas(from));
            const tBytes up = from > mattes ? from - mattes : 0, down = from > mattes ? 0 : mattes - from;
            const tBytes room = ~mixed;
            const tBytes value = mixed + (up < room ? up : room) - (down < mixed ? down : mixed);
            return reinterpret_cast<tBytes>((reinterpret_cast<tWords>(to) & keep) |
                                            (reinterpret_cast<tWords>(value) & ~keep));
        });
}

KWCLONES void BlendRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, float amount) {
#pragma GCC ivdep
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = KwBlendFloat(d[i], s[i], amount);
}

/// A pixel of four floats at any address.
using tFour [[gnu::vector_size(16), gnu::aligned(1), gnu::may_alias]] = float;

KWCLONES void BlendSrcAlphaRowFloat(tFour* d, const tFour* s, std::ptrdiff_t width) {
    using tLanes [[gnu::vector_size(16)]] = std::int32_t;
    for (std::ptrdiff_t i = 0; i < width; ++i) {
        const tFour to = d[i], from = s[i];
        d[i] = to + (from - to) * __builtin_shuffle(from, tLanes{3, 3, 3, 3});
    }
}

[[gnu::always_inline]] inline float MatteF(float d, float s, float a, float matte) {
    return KwClamp((matte - d) * a + s - matte + d, 0.0f, 1.0f);
}

KWCLONES void MatteRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t width, float blue, float green,
                            float red) {
#pragma GCC ivdep
    for (std::ptrdiff_t i = 0; i < width; ++i) {
        const float a = s[i * 4 + 3];
        d[i * 4] = MatteF(d[i * 4], s[i * 4], a, blue);
        d[i * 4 + 1] = MatteF(d[i * 4 + 1], s[i * 4 + 1], a, green);
        d[i * 4 + 2] = MatteF(d[i * 4 + 2], s[i * 4 + 2], a, red);
    }
}

/// value * amount >> 14 for a byte, by the upper half of a 16-bit product.
[[gnu::always_inline]] inline std::uint8_t Scaled8(std::uint8_t value, std::uint16_t amount) {
    return static_cast<std::uint8_t>(static_cast<std::uint32_t>(static_cast<std::uint16_t>(value << 2)) * amount >> 16);
}

KWCLONES void AddRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, std::uint16_t amount) {
#pragma GCC ivdep
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint16_t sum = static_cast<std::uint16_t>(d[i] + Scaled8(s[i], amount));
        d[i] = static_cast<std::uint8_t>(sum < 255 ? sum : 255);
    }
}

KWCLONES void AddRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, float amount) {
#pragma GCC ivdep
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = KwClamp(d[i] + s[i] * amount, 0.0f, 1.0f);
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
        for (LONG y = 0; y < d.height; ++y) BlendRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count, a);
    } else {
        const float a = static_cast<float>(amount);
        for (LONG y = 0; y < d.height; ++y) BlendRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), count, a);
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
                BlendSrcAlphaRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count);
            else
                BlendSrcAlphaRowFloat(reinterpret_cast<tFour*>(d.Row<std::byte>(y)),
                                      reinterpret_cast<const tFour*>(s.Row<std::byte>(y)), d.width);
        }
    } else if (bytesPerPixel == 4) {
        const auto level = [](double v) { return KwByte(KwTrunc(KwClamp(v * 255.0, 0.0, 255.0))); };
        const auto word = std::bit_cast<std::uint32_t>(tPixel8{level(matte[2]), level(matte[1]), level(matte[0]), 0});
        for (LONG y = 0; y < d.height; ++y) MatteRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count, word);
    } else {
        const float red = static_cast<float>(matte[0]), green = static_cast<float>(matte[1]),
                    blue = static_cast<float>(matte[2]);
        for (LONG y = 0; y < d.height; ++y)
            MatteRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), d.width, blue, green, red);
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

    const std::int32_t scale = KwTrunc((amount > 0.0 ? std::min(amount, 1.0) : 0.0) * 16384.0);
    const std::int64_t startX = KwTrunc(offsetX * 16384.0), startY = KwTrunc(offsetY * 16384.0);
    if (startX != 0 || startY != 0) {
        AddSampled(d, s, bytesPerPixel, scale, startX, startY);
        return S_OK;
    }
    const std::ptrdiff_t count = std::ptrdiff_t{d.width} * 4;
    for (LONG y = 0; y < d.height; ++y) {
        if (bytesPerPixel == 4)
            AddRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), count, static_cast<std::uint16_t>(scale));
        else
            AddRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), count, static_cast<float>(scale) * 0.00006103515625f);
    }
    return S_OK;
}
