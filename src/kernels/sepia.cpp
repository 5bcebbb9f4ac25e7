#include "kernels/sepia.h"

#include <array>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/desaturate.h"
#include "kernels/lut.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

namespace {

constexpr double kThird = 0.3333333333333333, kTwoThirds = 0.6666666666666666;

enum tStage { kDesaturates, kDesaturatesAndTones, kTonesGrey };

tStage StageOf(double strength) {
    return strength <= kThird ? kDesaturates : strength <= kTwoThirds ? kDesaturatesAndTones : kTonesGrey;
}

struct tTone8 {
    std::uint32_t color;                 ///< 0x00RRGGBB
    std::int32_t desaturation;           ///< of 256
    std::array<std::uint8_t, 256> table; ///< weight of the tone for each grey
};

constexpr std::ptrdiff_t kBlock = 512; // pixels whose weights are looked up together

/// Grey and weight of each pixel of a block, both in all of its bytes. Nobody reads them in the first stage, nor where
/// one weight stands for every grey.
struct tGreys {
    static constexpr std::size_t kWidest = sizeof(tWide);
    alignas(kWidest) std::uint8_t grey[kBlock * 4 + kWidest]{}, weight[kBlock * 4 + kWidest]{};
};

/// The definition of a stage.
template <tStage kStage>
void TonePlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const tTone8& tone, const tGreys&,
                bool limit) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4) {
        const auto grey = static_cast<std::uint8_t>(KwMean8(s[i + 2], s[i + 1], s[i]));
        const std::uint8_t alpha = s[i + 3];
        for (int c = 0; c < 3; ++c) {
            std::uint8_t value = kStage == kTonesGrey ? grey : KwBlend8(s[i + c], grey, tone.desaturation);
            if (kStage != kDesaturates) value = KwBlend8(value, tone.color >> c * 8 & 255, tone.table[grey]);
            d[i + c] = limit ? std::min(value, alpha) : value;
        }
        d[i + 3] = alpha;
    }
}

template <tStage kStage, bool kOneWeight, class Bytes>
KWINLINE inline void ToneWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const tTone8& tone,
                               const tGreys& greys, bool limit) {
    constexpr std::uint32_t kEachColor = 0x010101; // alpha stays
    const auto desaturation = KwAmounts<Bytes>(static_cast<std::uint8_t>(tone.desaturation) * kEachColor);
    const auto weight = KwAmounts<Bytes>(tone.table[0] * kEachColor);
    const Bytes color = KwPixels<Bytes>(tone.color), unlimited = KwPixels<Bytes>(limit ? 0 : 0xFFFFFFFF);
    KwForBlocks<Bytes>(d, count * 4, s, [&](std::ptrdiff_t at, const Bytes& pixels) KWINLINE {
        Bytes value = kOneWeight ? KwMeans(pixels) : KwLoad<Bytes>(greys.grey + at);
        if constexpr (kStage != kTonesGrey) value = KwBlended(pixels, value, desaturation);
        if constexpr (kStage != kDesaturates)
            value = KwBlended(value, color, kOneWeight ? weight : KwByteAmounts(KwLoad<Bytes>(greys.weight + at)));
        value = KwSmaller(value, KwAlphas(pixels) | unlimited);
        return kStage != kTonesGrey && kOneWeight ? value : KwWithAlpha(value, pixels);
    });
}
template <tStage kStage, bool kOneWeight>
constexpr CKwBodies kToneRow8(TonePlain8<kStage>,
                              KwWidths<ToneWide8<kStage, kOneWeight, tNarrow>, ToneWide8<kStage, kOneWeight, tMiddle>,
                                       ToneWide8<kStage, kOneWeight, tWide>>);

struct tToneF {
    double channel[3]; ///< blue, green, red
    double desaturation, base, falloff;
};

template <tStage kStage>
KWINLINE inline void ToneRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, const tToneF& tone,
                                  bool limit) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4) {
        const float sum = s[i + 2] + s[i + 1] + s[i], alpha = s[i + 3];
        const double grey = kStage == kDesaturates ? double{sum * 0.33333334f} : sum * kThird;
        for (int c = 0; c < 3; ++c) {
            const double value = s[i + c];
            const double first = kStage == kTonesGrey ? grey : (grey - value) * tone.desaturation + value;
            const double result =
                kStage == kDesaturates ? first : (tone.channel[c] - first) * (grey * -tone.falloff + tone.base) + first;
            const float narrow = static_cast<float>(result);
            d[i + c] = limit && narrow > alpha ? alpha : narrow;
        }
        d[i + 3] = alpha;
    }
}

KWINLINE inline void ToneRow(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, const tToneF& tone, tStage stage,
                             bool limit) {
    if (stage == kDesaturates)
        ToneRowFloat<kDesaturates>(d, s, count, tone, limit);
    else if (stage == kDesaturatesAndTones)
        ToneRowFloat<kDesaturatesAndTones>(d, s, count, tone, limit);
    else
        ToneRowFloat<kTonesGrey>(d, s, count, tone, limit);
}
constexpr CKwBodies kToneRow(KwClones<ToneRow>);

tTone8 BytesOf(const tSEPIAPROP& record, tStage stage) {
    const double k = record.strength * 1.5, b = (record.strength - kThird) * 1.5;
    tTone8 tone{};
    const auto level = [](double channel) { return std::uint32_t{KwByte(KwTrunc(channel * 255.0))}; };
    tone.color = level(record.color.red) << 16 | level(record.color.green) << 8 | level(record.color.blue);
    // The first stage keeps what no byte holds, within products of 32 bits.
    tone.desaturation = stage == kDesaturates ? KwClamp(KwTrunc(k * 255.0), -8000000, 8000000)
                                              : KwByte(KwTrunc(KwClamp(k, 0.0, 1.0) * 255.0));
    double weight = stage == kTonesGrey ? KwTrunc(KwClamp(b, 0.0, 1.0) * 255.0) : KwTrunc(b * 255.0);
    for (std::uint8_t& entry : tone.table) {
        entry = KwByte(KwTrunc(KwClamp(weight, 0.0, 255.0)));
        weight -= record.falloff;
    }
    return tone;
}

} // namespace

HRESULT KwDibSepia(const tView& destination, const tView& source, LONG bytesPerPixel, const tSEPIAPROP* record,
                   bool limitToAlpha) {
    if (!record) return E_POINTER;
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const tStage stage = StageOf(record->strength);
    if (bytesPerPixel != 4) {
        const tToneF tone{{record->color.blue, record->color.green, record->color.red},
                          record->strength * 1.5,
                          (record->strength - kThird) * 1.5,
                          record->falloff};
        for (LONG y = 0; y < d.height; ++y)
            kToneRow(KwFloatRow(d, y), KwFloatRow(s, y), d.width, tone, stage, limitToAlpha);
        return S_OK;
    }

    const tTone8 tone = BytesOf(*record, stage);
    // A weight that no page gives takes 32 bits.
    const bool wild = tone.desaturation < 0 || tone.desaturation > 255;
    const bool oneWeight = std::ranges::count(tone.table, tone.table[0]) == std::ssize(tone.table);
    const auto pick = [oneWeight](auto& one, auto& each) { return oneWeight ? one.Now() : each.Now(); };
    const auto row = wild                    ? TonePlain8<kDesaturates>
                     : stage == kDesaturates ? kToneRow8<kDesaturates, true>.Now()
                     : stage == kDesaturatesAndTones
                         ? pick(kToneRow8<kDesaturatesAndTones, true>, kToneRow8<kDesaturatesAndTones, false>)
                         : pick(kToneRow8<kTonesGrey, true>, kToneRow8<kTonesGrey, false>);
    const CKwLut weights(tone.table.data());
    tGreys greys;
    for (LONG y = 0; y < d.height; ++y)
        for (std::ptrdiff_t x = 0; x < d.width; x += kBlock) {
            auto* const to = d.Row<std::uint8_t>(y) + x * 4;
            const auto* const from = s.Row<std::uint8_t>(y) + x * 4;
            const std::ptrdiff_t count = std::min(kBlock, d.width - x);
            if (stage != kDesaturates && !oneWeight) {
                KwMeanRow(greys.grey, from, count);
                KwLutSpreadRow(greys.weight, greys.grey, count, weights);
            }
            row(to, from, count, tone, greys, limitToAlpha);
        }
    return S_OK;
}
