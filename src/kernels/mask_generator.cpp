#include "kernels/mask_generator.h"

#include <array>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/desaturate.h"
#include "kernels/lut.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

namespace {

struct tCurve {
    double lowIn, highIn, lowOut, rangeIn, rangeOut;

    double operator()(double v) const {
        const double u = v <= lowIn ? 0.0 : v >= highIn ? 1.0 : (v - lowIn) / rangeIn;
        return u * rangeOut + lowOut;
    }
};

/// Place of the channel of a mask type in a pixel; -1 for the mean.
int ChannelOf(LONG type) {
    switch (type) {
    case 0:
        return 3;
    case 2:
        return 2;
    case 3:
        return 1;
    case 4:
        return 0;
    default:
        return -1;
    }
}

/// The source byte in all four channels.
void SpreadPlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, int channel) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4) d[i] = d[i + 1] = d[i + 2] = d[i + 3] = s[i + channel];
}
template <class Bytes>
KWINLINE inline void SpreadWide8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, int channel) {
    const std::uint32_t shift = static_cast<std::uint32_t>(channel) * 8;
    KwForBlocks<Bytes>(d, count * 4, s, [shift](const Bytes& pixels) KWINLINE {
        return KwSpread(reinterpret_cast<tWordsOf<Bytes>>(pixels) >> shift & 255);
    });
}
constexpr CKwBodies kSpreadChannel(SpreadPlain8,
                                   KwWidths<SpreadWide8<tNarrow>, SpreadWide8<tMiddle>, SpreadWide8<tWide>>);

void MaskRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, int channel, bool invert,
                  const tCurve& curve) {
    for (std::ptrdiff_t i = 0; i < count; ++i, d += 4, s += 4) {
        float v = channel >= 0 ? float{s[channel]} : KwMeanF(s[0], s[1], s[2]);
        if (invert) v = 1.0f - v;
        const float result = static_cast<float>(curve(v));
        d[0] = d[1] = d[2] = d[3] = result;
    }
}

} // namespace

HRESULT KwDibMask(const tView& destination, const tView& source, LONG bytesPerPixel, const tMASKPROP* record) {
    if (!record) return E_INVALIDARG;
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const int channel = ChannelOf(record->type);
    const double rangeIn = record->highIn - record->lowIn, rangeOut = record->highOut - record->lowOut;
    if (bytesPerPixel != 4) {
        const auto narrow = [](double v) { return double{static_cast<float>(v)}; };
        const tCurve curve{narrow(record->lowIn), narrow(record->highIn), narrow(record->lowOut), narrow(rangeIn),
                           narrow(rangeOut)};
        for (LONG y = 0; y < d.height; ++y)
            MaskRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), d.width, channel, record->invert != 0, curve);
        return S_OK;
    }

    const tCurve curve{record->lowIn, record->highIn, record->lowOut, rangeIn, rangeOut};
    std::array<std::uint8_t, 256> table;
    for (std::size_t i = 0; i < 256; ++i) {
        const std::size_t level = record->invert ? 255 - i : i;
        table[i] = KwByte(KwTrunc(curve(static_cast<double>(level) * 0.00392156862745098) * 255.0));
    }
    const CKwLut lut(table.data());
    constexpr std::ptrdiff_t kPart = 2048; // pixels; the table finds the spread ones in the first cache
    for (LONG y = 0; y < d.height; ++y)
        for (std::ptrdiff_t x = 0; x < d.width; x += kPart) {
            auto* const to = d.Row<std::uint8_t>(y) + x * 4;
            const auto* const from = s.Row<std::uint8_t>(y) + x * 4;
            const std::ptrdiff_t count = std::min(kPart, d.width - x);
            if (channel < 0)
                KwMeanRow(to, from, count);
            else
                kSpreadChannel(to, from, count, channel);
            KwLutSpreadRow(to, to, count, lut);
        }
    return S_OK;
}
