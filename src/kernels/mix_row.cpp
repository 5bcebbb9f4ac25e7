#include "kernels/mix_row.h"

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/row.h"

namespace {

constexpr std::ptrdiff_t kBlock = 64; // pixels

/// The blend rule on the absolute difference: the same truncation towards zero as of the signed one, in 16 bits.
KWINLINE inline std::uint8_t Mix8(std::uint8_t x, std::uint8_t y, std::uint16_t w) {
    const auto gap = static_cast<std::uint16_t>(y > x ? y - x : x - y);
    const auto step = static_cast<std::uint16_t>(static_cast<std::uint16_t>(gap * w) >> 8);
    return static_cast<std::uint8_t>(y > x ? x + step : x - step);
}

KWINLINE inline float MixF(float x, float y, float w) {
    const float mixed = KwBlendFloat(x, y, w);
    return w < 0.0f ? x : w > 1.0f ? y : mixed;
}

/// The definition of both 4-byte rows.
std::uint8_t MixPlain8(std::uint8_t x, std::uint8_t y, std::uint16_t w) {
    return KwByte(x + KwDiv256((y - x) * w));
}

void MixRowPlain8(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, const std::uint16_t* w,
                  std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count * 4; ++i) out[i] = MixPlain8(a[i], b[i], w[i / 4]);
}
KWINLINE inline void MixRow8(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, const std::uint16_t* w,
                             std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; x += kBlock) {
        const std::ptrdiff_t n = count - x < kBlock ? count - x : kBlock;
        std::uint16_t wide[kBlock * 4];
        for (std::ptrdiff_t i = 0; i < n; ++i)
            for (int c = 0; c < 4; ++c) wide[i * 4 + c] = w[x + i];
        KWNODEPENDENCE
        for (std::ptrdiff_t i = 0; i < n * 4; ++i) out[x * 4 + i] = Mix8(a[x * 4 + i], b[x * 4 + i], wide[i]);
    }
}
constexpr CKwBodies kMixRow8(MixRowPlain8, KwClones<MixRow8>);

KWINLINE inline void MixRowF(tAnyFloat* out, const tAnyFloat* a, const tAnyFloat* b, const float* w,
                             std::ptrdiff_t count) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i)
        for (int c = 0; c < 4; ++c) out[i * 4 + c] = MixF(a[i * 4 + c], b[i * 4 + c], w[i]);
}
constexpr CKwBodies kMixRowF(KwClones<MixRowF>);

void MixRowByPlain8(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, std::uint16_t w,
                    std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count * 4; ++i) out[i] = MixPlain8(a[i], b[i], w);
}
KWINLINE inline void MixRowBy8(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, std::uint16_t w,
                               std::ptrdiff_t count) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count * 4; ++i) out[i] = Mix8(a[i], b[i], w);
}
constexpr CKwBodies kMixRowBy8(MixRowByPlain8, KwClones<MixRowBy8>);

KWINLINE inline void MixRowByF(tAnyFloat* out, const tAnyFloat* a, const tAnyFloat* b, float w, std::ptrdiff_t count) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count * 4; ++i) out[i] = MixF(a[i], b[i], w);
}
constexpr CKwBodies kMixRowByF(KwClones<MixRowByF>);

void OverRowPlain8(std::uint8_t* out, const std::uint8_t* pixels, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const int rest = 255 - pixels[i * 4 + 3];
        for (int c = 0; c < 4; ++c) out[i * 4 + c] = KwByte(pixels[i * 4 + c] + ((rest * out[i * 4 + c] + 127) >> 8));
    }
}
/// Most blocks are opaque, and then there is nothing to weigh.
template <class Bytes>
KWINLINE inline void OverRow8(std::uint8_t* out, const std::uint8_t* pixels, std::ptrdiff_t count) {
    KwForBlocks<Bytes>(out, count * 4, out, pixels, [](const Bytes& back, const Bytes& front) KWINLINE {
        if (KwAllOpaque(front)) return front;
        const auto rest = KwAlphaAmounts(~front);
        const tHalvesOf<Bytes> b = reinterpret_cast<tHalvesOf<Bytes>>(back);
        const tHalvesOf<Bytes> even = ((b & 255) * rest.even + 127) >> 8, odd = ((b >> 8) * rest.odd + 127) & 0xFF00;
        return front + reinterpret_cast<Bytes>(even | odd);
    });
}
constexpr CKwBodies kOverRow8(OverRowPlain8, KwWidths<OverRow8<tNarrow>, OverRow8<tMiddle>, OverRow8<tWide>>);

} // namespace

void KwMixRow(std::uint8_t* out, const std::uint8_t* first, const std::uint8_t* second, const std::uint16_t* weights,
              std::ptrdiff_t count) {
    kMixRow8(out, first, second, weights, count);
}
void KwMixRow(tAnyFloat* out, const tAnyFloat* first, const tAnyFloat* second, const float* weights,
              std::ptrdiff_t count) {
    kMixRowF(out, first, second, weights, count);
}
void KwOverRow(std::uint8_t* out, const std::uint8_t* pixels, std::ptrdiff_t count) {
    kOverRow8(out, pixels, count);
}
void KwMixRowBy(std::uint8_t* out, const std::uint8_t* first, const std::uint8_t* second, std::uint16_t weight,
                std::ptrdiff_t count) {
    kMixRowBy8(out, first, second, weight, count);
}
void KwMixRowBy(tAnyFloat* out, const tAnyFloat* first, const tAnyFloat* second, float weight, std::ptrdiff_t count) {
    kMixRowByF(out, first, second, weight, count);
}
