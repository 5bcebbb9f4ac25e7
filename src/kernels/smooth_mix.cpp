#include "kernels/smooth_mix.h"

#include <bit>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/convolve.h"
#include "kernels/fetch.h"
#include "kernels/row.h"

namespace {

/// Pixels handled at a time: so few that work on one part hides the memory that the next one waits for.
constexpr std::ptrdiff_t kPart = 128;

using tLevels = const std::uint8_t*;

/// The three rows a row's result comes from; at the first and last row of the picture two of them are one.
struct tThreeRows {
    tLevels above, here, below;
};

tThreeRows RowsAround(const tRows& rows, LONG y) {
    const auto row = [&](LONG i) { return rows.Row<std::uint8_t>(i); };
    return {row(std::max(y - 1, 0)), row(y), row(std::min(y, rows.height - 2) + 1)};
}

/// Weights 1-2-1 by 1-2-1, of sum 16, around a sample of a row of `width` pixels.
std::int32_t SumAround(const tThreeRows& rows, std::ptrdiff_t i, std::ptrdiff_t width) {
    const auto column = [&](std::ptrdiff_t x) {
        const std::ptrdiff_t at = KwClamp(x, 0, width - 1) * 4 + i % 4;
        return rows.above[at] + 2 * rows.here[at] + rows.below[at];
    };
    return column(i / 4 - 1) + 2 * column(i / 4) + column(i / 4 + 1);
}

/// The same for the pixels [`begin`, `begin` + `count`) of a row of `width`; pixels beyond
/// the row's ends are its end pixels.
struct tSmoothPart {
    std::uint16_t columns[(kPart + 2) * 4];

    KWINLINE void Load(const tThreeRows& rows, std::ptrdiff_t begin, std::ptrdiff_t count, std::ptrdiff_t width) {
        const std::ptrdiff_t from = begin > 0 ? begin - 1 : begin;
        const std::ptrdiff_t to = begin + count < width ? begin + count + 1 : width;
        std::uint16_t* __restrict out = columns + (from - begin + 1) * 4;
        const tLevels above = rows.above + from * 4, here = rows.here + from * 4, below = rows.below + from * 4;
        for (std::ptrdiff_t i = 0; i < (to - from) * 4; ++i)
            out[i] = static_cast<std::uint16_t>(above[i] + 2 * here[i] + below[i]);
        for (int c = 0; c < 4; ++c) {
            if (from == begin) columns[c] = columns[4 + c];
            if (to == begin + count) columns[(count + 1) * 4 + c] = columns[count * 4 + c];
        }
    }
    KWINLINE std::uint16_t Sum(std::ptrdiff_t i) const {
        return static_cast<std::uint16_t>(columns[i] + 2 * columns[i + 4] + columns[i + 8]);
    }
};

/// Asks for what a part some way behind this one reads first and writes. It may lie behind the row: nothing is touched.
KWINLINE inline void AskAhead(const tThreeRows& rows, const std::uint8_t* out, std::ptrdiff_t begin,
                              std::ptrdiff_t count) {
    constexpr std::ptrdiff_t kAhead = 1024; // bytes
    for (std::ptrdiff_t i = begin * 4 + kAhead; i < (begin + count) * 4 + kAhead; i += kCacheLine) {
        KwFetch(rows.below, i);
        KwFetch<eFetch::toWrite>(out, i);
    }
}

void SmoothBlendPlain(std::uint8_t* d, const tThreeRows& rows, std::ptrdiff_t width, std::uint16_t amount) {
    for (std::ptrdiff_t i = 0; i < width * 4; ++i) {
        const auto smooth = static_cast<std::uint8_t>(SumAround(rows, i, width) / 16);
        d[i] = KwBlend8(smooth, rows.here[i], static_cast<std::uint8_t>(amount));
    }
}

template <class Bytes>
KWINLINE inline void SmoothBlendRow(std::uint8_t* d, const tThreeRows& rows, std::ptrdiff_t width,
                                    std::uint16_t amount) {
    const auto back = KwAmountOfAll<Bytes>(static_cast<std::uint8_t>(amount));
    tSmoothPart part;
    std::uint8_t levels[kPart * 4];
    for (std::ptrdiff_t begin = 0; begin < width; begin += kPart) {
        const std::ptrdiff_t count = std::min(kPart, width - begin);
        AskAhead(rows, d, begin, count);
        part.Load(rows, begin, count, width);
        const tLevels here = rows.here + begin * 4;
        std::uint8_t* out = d + begin * 4;
        if constexpr (sizeof(Bytes) < sizeof(tWide)) {
            for (std::ptrdiff_t i = 0; i < count * 4; ++i) levels[i] = static_cast<std::uint8_t>(part.Sum(i) >> 4);
            KwForBlocks<Bytes>(out, count * 4, levels, here, [&](const Bytes& smooth, const Bytes& s) KWINLINE {
                return KwBlended(smooth, s, back);
            });
        } else { // where one loop costs less than bytes between two
            KWNODEPENDENCE
            for (std::ptrdiff_t i = 0; i < count * 4; ++i) {
                // KwBlend8 on magnitudes, which fit 16 bits.
                const std::int16_t smooth = static_cast<std::int16_t>(part.Sum(i) >> 4), s = here[i];
                const std::int16_t high = s > smooth ? s : smooth, low = s > smooth ? smooth : s;
                const std::uint16_t step = static_cast<std::uint16_t>((high - low) * amount) >> 8;
                out[i] = static_cast<std::uint8_t>(s > smooth ? smooth + step : smooth - step);
            }
        }
    }
}
constexpr CKwBodies kSmoothBlendRow(SmoothBlendPlain,
                                    KwWidths<SmoothBlendRow<tNarrow>, SmoothBlendRow<tMiddle>, SmoothBlendRow<tWide>>);

/// The upper half of a product, which vectors of 16-bit numbers have.
constexpr std::uint16_t Upper(std::uint16_t a, std::uint16_t b) {
    return static_cast<std::uint16_t>(std::uint32_t{a} * b >> 16);
}

/// Division of 0 to 255 * `divisor` + `divisor` - 1 by a divisor of 1 to 17: (v + 1) * factor >> 16 >> shift, where
/// the last shift is an upper half too, and twice the dividend makes it at least one bit.
struct tDivision {
    std::uint16_t divisor, limit, factor, part;

    explicit constexpr tDivision(std::uint32_t by)
        : divisor(static_cast<std::uint16_t>(by)), limit(static_cast<std::uint16_t>(256 * by - 1)),
          factor(static_cast<std::uint16_t>(std::min(65535u, (65536u << (std::bit_width(by) - 1)) / by))),
          part(static_cast<std::uint16_t>(65536u >> std::bit_width(by))) {}

    static constexpr std::uint16_t Twice(std::uint16_t v) { return static_cast<std::uint16_t>(2 * (v + 1)); }
    constexpr std::uint16_t operator()(std::uint16_t v) const { return Upper(Upper(Twice(v), factor), part); }
};

// The first and the last dividend of every quotient, between which nothing falls.
static_assert([] {
    for (std::uint32_t d = 1; d <= 17; ++d)
        for (std::uint32_t q = 0; q < 256; ++q)
            if (tDivision(d)(static_cast<std::uint16_t>(q * d)) != q ||
                tDivision(d)(static_cast<std::uint16_t>(q * d + d - 1)) != q)
                return false;
    return true;
}());

void SharpenPlain(std::uint8_t* d, const tThreeRows& rows, std::ptrdiff_t width, std::int16_t center,
                  tDivision division) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        std::int32_t levels[4];
        for (std::ptrdiff_t c = 0; c < 4; ++c) {
            const std::ptrdiff_t i = x * 4 + c;
            levels[c] = KwClamp((center * rows.here[i] - SumAround(rows, i, width)) / division.divisor, 0, 255);
        }
        for (std::ptrdiff_t c = 0; c < 4; ++c) d[x * 4 + c] = static_cast<std::uint8_t>(std::min(levels[c], levels[3]));
    }
}

template <class Bytes>
KWINLINE inline void SharpenRow(std::uint8_t* d, const tThreeRows& rows, std::ptrdiff_t width, std::int16_t center,
                                tDivision division) {
    tSmoothPart part;
    std::uint16_t halves[kPart * 4];
    std::uint8_t levels[kPart * 4];
    for (std::ptrdiff_t begin = 0; begin < width; begin += kPart) {
        const std::ptrdiff_t count = std::min(kPart, width - begin);
        AskAhead(rows, d, begin, count);
        part.Load(rows, begin, count, width);
        const tLevels here = rows.here + begin * 4;
        const std::int16_t limit = static_cast<std::int16_t>(division.limit), none = 0;
        for (std::ptrdiff_t i = 0; i < count * 4; ++i) {
            // At most 33 * 255 in magnitude.
            const auto v = static_cast<std::int16_t>(center * here[i] - part.Sum(i));
            halves[i] = tDivision::Twice(static_cast<std::uint16_t>(std::min(std::max(v, none), limit)));
        }
        // The halves of a division in loops of their own: in one, compilers multiply in 32 bits.
        for (std::ptrdiff_t i = 0; i < count * 4; ++i) halves[i] = Upper(halves[i], division.factor);
        for (std::ptrdiff_t i = 0; i < count * 4; ++i)
            levels[i] = static_cast<std::uint8_t>(Upper(halves[i], division.part));
        KwForBlocks<Bytes>(d + begin * 4, count * 4, levels,
                           [](const Bytes& pixels) KWINLINE { return KwLimitedToAlpha(pixels); });
    }
}
constexpr CKwBodies kSharpenRow(SharpenPlain, KwWidths<SharpenRow<tNarrow>, SharpenRow<tMiddle>, SharpenRow<tWide>>);

} // namespace

HRESULT KwDibSmoothBlend(const tView& destination, const tView& source, LONG bytesPerPixel, double amount) {
    if (bytesPerPixel != 4) {
        const HRESULT status = KwDibSmooth3x3(destination, source, bytesPerPixel);
        return FAILED(status) ? status : KwDibBlend(destination, source, bytesPerPixel, amount);
    }
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const std::uint8_t a = KwByte(KwTrunc(amount * 255.0 + 0.5));
    for (LONG y = 0; y < d.height; ++y) kSmoothBlendRow(d.Row<std::uint8_t>(y), RowsAround(s, y), d.width, a);
    return S_OK;
}

HRESULT KwDibSharpen(const tView& destination, const tView& source, LONG bytesPerPixel, double amount) {
    const std::int32_t t = KwTrunc(amount * 16.0);
    const LONG divisor = KwWrap32(std::int64_t{17} - t);
    if (divisor == 0) return E_INVALIDARG;
    if (bytesPerPixel != 4 || t < 0 || t > 16) {
        const LONG weights[9] = {-1, -2, -1, -2, KwWrap32(std::int64_t{29} - t), -2, -1, -2, -1};
        const HRESULT status = KwDibConvolve3x3(destination, source, bytesPerPixel, weights, divisor);
        return FAILED(status) ? status : KwDibClampToAlpha(destination, bytesPerPixel);
    }
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const tDivision division(static_cast<std::uint32_t>(divisor));
    const std::int16_t center = static_cast<std::int16_t>(33 - t);
    for (LONG y = 0; y < d.height; ++y)
        kSharpenRow(d.Row<std::uint8_t>(y), RowsAround(s, y), d.width, center, division);
    return S_OK;
}
