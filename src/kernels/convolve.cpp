#include "kernels/convolve.h"

#include <array>
#include <cmath>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/unaligned.h"

namespace {

/// Runs a rule over a row of samples whose pixels are four apart: `rule(i, left, right)` sets sample i from indices i,
/// i + left and i + right of the three rows. The inner pixels are one loop for the compiler. (The rows stay out of the
/// template's arguments, which would lose that their floats may lie anywhere.)
template <class Rule>
KWINLINE inline void ForRow(std::ptrdiff_t width, Rule rule) {
    const std::ptrdiff_t last = (width - 1) * 4, step = width > 1 ? 4 : 0;
    for (std::ptrdiff_t i = 0; i < 4; ++i) rule(i, 0, step);
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 4; i < last; ++i) rule(i, -4, 4);
    for (std::ptrdiff_t i = last; i < last + 4; ++i) rule(i, -step, 0);
}

KWINLINE inline void SmoothRow8(std::uint8_t* d, const std::uint8_t* up, const std::uint8_t* at,
                                const std::uint8_t* down, std::ptrdiff_t width) {
    ForRow(width, [=](std::ptrdiff_t i, std::ptrdiff_t l, std::ptrdiff_t r) KWINLINE {
        const std::uint16_t sum = static_cast<std::uint16_t>(up[i + l] + up[i + r] + down[i + l] + down[i + r] +
                                                             2 * (up[i] + at[i + l] + at[i + r] + down[i]) + 4 * at[i]);
        d[i] = static_cast<std::uint8_t>(sum >> 4);
    });
}
constexpr CKwBodies kSmoothRow8(KwClones<SmoothRow8>);

KWINLINE inline void SmoothRowFloat(tAnyFloat* d, const tAnyFloat* up, const tAnyFloat* at, const tAnyFloat* down,
                                    std::ptrdiff_t width) {
    ForRow(width, [=](std::ptrdiff_t i, std::ptrdiff_t l, std::ptrdiff_t r) KWINLINE {
        const float edges = up[i] + at[i + l] + at[i + r] + down[i];
        const float corners = up[i + l] + up[i + r] + down[i + l] + down[i + r];
        d[i] = (at[i] * 4.0f + edges * 2.0f + corners) * 0.0625f;
    });
}
constexpr CKwBodies kSmoothRowFloat(KwClones<SmoothRowFloat>);

template <class Value>
using tWeights = std::array<Value, 9>;

/// The weighted sum of nine samples, in the order of the weights.
template <class Value>
KWINLINE inline Value Sum(const tWeights<Value>& w, Value a, Value b, Value c, Value d, Value e, Value f, Value g,
                          Value h, Value i) {
    return static_cast<Value>(w[0] * a + w[1] * b + w[2] * c + w[3] * d + w[4] * e + w[5] * f + w[6] * g + w[7] * h +
                              w[8] * i);
}

KWINLINE inline void ConvolveRowFloat(tAnyFloat* d, const tAnyFloat* up, const tAnyFloat* at, const tAnyFloat* down,
                                      std::ptrdiff_t width, const tWeights<float>& weights) {
    ForRow(width, [=](std::ptrdiff_t i, std::ptrdiff_t l, std::ptrdiff_t r) KWINLINE {
        d[i] = KwClamp(Sum<float>(weights, up[i + l], up[i], up[i + r], at[i + l], at[i], at[i + r], down[i + l],
                                  down[i], down[i + r]),
                       0.0f, 1.0f);
    });
}
constexpr CKwBodies kConvolveRowFloat(KwClones<ConvolveRowFloat>);

// The quotient of bytes is exact without a division. A half added to the whole sum keeps sum / divisor away from whole
// numbers, by half a divisor's part, which is 0.5 / sum of the quotient; the product with the rounded reciprocal errs
// by less than three roundings of its type.

/// The definition, for weights and a divisor in any type.
template <class Value, class Divisor>
void DivideSums(std::uint8_t* d, const std::uint8_t* up, const std::uint8_t* at, const std::uint8_t* down,
                std::ptrdiff_t width, const tWeights<Value>& weights, Divisor divisor) {
    const std::uint8_t* const rows[3] = {up, at, down};
    for (std::ptrdiff_t i = 0; i < width * 4; ++i) {
        std::int64_t sum = 0;
        for (std::ptrdiff_t k = 0; k < 9; ++k)
            sum += static_cast<std::int64_t>(weights[static_cast<std::size_t>(k)]) *
                   rows[k / 3][KwClamp(i / 4 + k % 3 - 1, 0, width - 1) * 4 + i % 4];
        d[i] = static_cast<std::uint8_t>(KwClamp<std::int64_t>(sum / static_cast<std::int64_t>(divisor), 0, 255));
    }
}

/// For any weights and a divisor above 0: sums stay below 2^44, where doubles are exact.
KWINLINE inline void ConvolveRow8(std::uint8_t* d, const std::uint8_t* up, const std::uint8_t* at,
                                  const std::uint8_t* down, std::ptrdiff_t width, const tWeights<double>& weights,
                                  double divisor) {
    const double inverse = 1.0 / divisor;
    ForRow(width, [=](std::ptrdiff_t i, std::ptrdiff_t l, std::ptrdiff_t r) KWINLINE {
        const double sum = Sum<double>(weights, up[i + l], up[i], up[i + r], at[i + l], at[i], at[i + r], down[i + l],
                                       down[i], down[i + r]);
        const double quotient = ((sum > 0.0 ? sum : 0.0) + 0.5) * inverse;
        d[i] = static_cast<std::uint8_t>(static_cast<std::int32_t>(quotient < 255.0 ? quotient : 255.0));
    });
}
constexpr CKwBodies kConvolveRow8(DivideSums<double, double>, KwClones<ConvolveRow8>);

constexpr double kMostSmallWeights = 128.0; // sum of sizes; 255 times it fits 16 bits

/// For small weights and a divisor above 0.
KWINLINE inline void ConvolveRowSmall8(std::uint8_t* d, const std::uint8_t* up, const std::uint8_t* at,
                                       const std::uint8_t* down, std::ptrdiff_t width,
                                       const tWeights<std::int16_t>& weights, float divisor) {
    const float inverse = 1.0f / divisor;
    ForRow(width, [=](std::ptrdiff_t i, std::ptrdiff_t l, std::ptrdiff_t r) KWINLINE {
        const std::int16_t sum = Sum<std::int16_t>(weights, up[i + l], up[i], up[i + r], at[i + l], at[i], at[i + r],
                                                   down[i + l], down[i], down[i + r]);
        const float quotient = (static_cast<float>(sum > 0 ? sum : 0) + 0.5f) * inverse;
        d[i] = static_cast<std::uint8_t>(std::min(static_cast<std::int32_t>(quotient), 255));
    });
}
constexpr CKwBodies kConvolveRowSmall8(DivideSums<std::int16_t, float>, KwClones<ConvolveRowSmall8>);

/// Calls `row(y, up, down)` with the numbers of a row and of its neighbours.
template <class Row>
void ForRows(const tRows& d, Row&& row) {
    for (LONG y = 0; y < d.height; ++y) row(y, std::max(y - 1, 0), std::min(y + 1, d.height - 1));
}

} // namespace

HRESULT KwDibSmooth3x3(const tView& destination, const tView& source, LONG bytesPerPixel) {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    ForRows(d, [&](LONG y, LONG up, LONG down) {
        if (bytesPerPixel == 4)
            kSmoothRow8(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(up), s.Row<std::uint8_t>(y),
                        s.Row<std::uint8_t>(down), d.width);
        else
            kSmoothRowFloat(KwFloatRow(d, y), KwFloatRow(s, up), KwFloatRow(s, y), KwFloatRow(s, down), d.width);
    });
    return S_OK;
}

HRESULT KwDibConvolve3x3(const tView& destination, const tView& source, LONG bytesPerPixel, const LONG* weights,
                         LONG divisor) {
    if (!weights) return E_POINTER;
    if (divisor == 0) return E_INVALIDARG;
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;

    const double over = std::abs(static_cast<double>(divisor));
    tWeights<float> wFloat;
    tWeights<double> w;
    double size = 0.0;
    for (std::size_t k = 0; k < 9; ++k) {
        wFloat[k] = static_cast<float>(weights[k]) / static_cast<float>(divisor);
        w[k] = divisor < 0 ? -static_cast<double>(weights[k]) : weights[k];
        size += std::abs(w[k]);
    }
    tWeights<std::int16_t> wSmall{};
    for (std::size_t k = 0; k < 9 && size <= kMostSmallWeights; ++k) wSmall[k] = static_cast<std::int16_t>(w[k]);
    ForRows(d, [&](LONG y, LONG up, LONG down) {
        const auto bytes = [&s](LONG row) { return s.Row<std::uint8_t>(row); };
        if (bytesPerPixel != 4)
            kConvolveRowFloat(KwFloatRow(d, y), KwFloatRow(s, up), KwFloatRow(s, y), KwFloatRow(s, down), d.width,
                              wFloat);
        else if (size <= kMostSmallWeights)
            kConvolveRowSmall8(d.Row<std::uint8_t>(y), bytes(up), bytes(y), bytes(down), d.width, wSmall,
                               static_cast<float>(over));
        else
            kConvolveRow8(d.Row<std::uint8_t>(y), bytes(up), bytes(y), bytes(down), d.width, w, over);
    });
    return S_OK;
}
