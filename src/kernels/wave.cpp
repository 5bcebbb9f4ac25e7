#include "kernels/wave.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <type_traits>

#include "base/arith.h"
#include "base/bodies.h"
#include "base/functions.h"
#include "kernels/fetch.h"
#include "kernels/mix_row.h"
#include "kernels/row.h"
#include "kernels/sample.h"
#include "kernels/unaligned.h"

namespace {

constexpr std::int32_t kOne = 16384; ///< one pixel, in 14-bit fixed point
/// Columns handled at a time over the whole height, so that each column's sine is taken once and nothing is allocated.
constexpr std::ptrdiff_t kPart = 256;
constexpr LONG kMostRows = 4096; // whose sines are kept

/// Where a part of a row is read: 14-bit fixed point.
struct tPositions {
    std::int32_t x[kPart], y[kPart];
};

/// Going down a part, each row reads lines of the cache that none has read before, on no path that a processor
/// foresees. They are fetched so many rows ahead: of pixels of 4 bytes for one of a few, as its neighbours are not far.
constexpr LONG kRowsAhead = 8;
constexpr std::ptrdiff_t kFew = 4;

/// The four neighbours of a sample; on a side of a single pixel both are the same.
struct tSource {
    const std::byte* first;
    std::ptrdiff_t stride, nextColumn, nextRow; ///< bytes
    std::int32_t limitX, limitY;                ///< greatest position, 14-bit fixed point
    std::ptrdiff_t ahead = 0;                   ///< bytes from a row's samples to those some rows on

    KWINLINE void FetchAhead(const std::byte* sample) const { KwFetch(sample, ahead); }
};

KWINLINE inline void Locate(tPositions& at, const tSource& source, const double* shift, double y, std::uint32_t x,
                            std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto along = static_cast<std::int32_t>(x + static_cast<std::uint32_t>(i) * kOne);
        at.x[i] = KwClamp(along, 0, source.limitX);
        at.y[i] = KwClamp(KwTrunc((shift[i] + y) * 16384.0), 0, source.limitY);
    }
}

KWINLINE inline const std::byte* Address(const tSource& source, const tPositions& at, std::ptrdiff_t i,
                                         std::ptrdiff_t bytesPerPixel) {
    return source.first + (at.y[i] >> 14) * source.stride + (at.x[i] >> 14) * bytesPerPixel;
}

/// `shift`: the columns' displacements down, in pixels. `x`: the first column's position.
template <class Form>
void WavePlain(typename Form::tChannel* d, const tSource& source, const double* shift, double y, std::uint32_t x,
               std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i, x += kOne) {
        const std::int32_t atX = KwClamp(static_cast<std::int32_t>(x), 0, source.limitX);
        const std::int32_t atY = KwClamp(KwTrunc((shift[i] + y) * 16384.0), 0, source.limitY);
        const std::conditional_t<Form::kPixelSize == 4, tBilinear8, tBilinearF> sample(atX % kOne, atY % kOne);
        const std::byte* const pixel = source.first + atY / kOne * source.stride + atX / kOne * Form::kPixelSize;
        for (int c = 0; c < 4; ++c) {
            const auto at = [&](std::ptrdiff_t offset) {
                return reinterpret_cast<const typename Form::tChannel*>(pixel + offset)[c];
            };
            d[i * 4 + c] = static_cast<typename Form::tChannel>(
                sample(at(0), at(source.nextColumn), at(source.nextRow), at(source.nextRow + source.nextColumn)));
        }
    }
}
void WavePlain8(tAnyWord* d, const tSource& source, const double* shift, double y, std::uint32_t x,
                std::ptrdiff_t count) {
    WavePlain<tForm8>(reinterpret_cast<std::uint8_t*>(d), source, shift, y, x, count);
}

#if defined(__SSE2__)
/// Two neighbours in a row, for four pixels: their weights, and their bytes by turns.
struct tRowPair {
    __m128i weights, low, high;

    KWINLINE tRowPair(const __m128i& row, const __m128i& leftShare, const __m128i& rightShare, const __m128i& left,
                      const __m128i& right)
        : weights(_mm_or_si128(_mm_srli_epi32(_mm_madd_epi16(row, leftShare), 14),
                               _mm_slli_epi32(_mm_srli_epi32(_mm_madd_epi16(row, rightShare), 14), 16))),
          low(_mm_unpacklo_epi8(left, right)), high(_mm_unpackhi_epi8(left, right)) {}

    /// The weighted sums of a pixel's channels.
    template <int kPixel>
    KWINLINE __m128i Sums() const {
        const __m128i zero = _mm_setzero_si128(), bytes = kPixel < 2 ? low : high;
        return _mm_madd_epi16(kPixel % 2 ? _mm_unpackhi_epi8(bytes, zero) : _mm_unpacklo_epi8(bytes, zero),
                              _mm_shuffle_epi32(weights, kPixel * 0x55));
    }
};

/// Four pixels at `x` and `y`. SSE2 has no product of 32 bits, but adds two of 16: all factors fit.
KWINLINE inline __m128i SampleFour(const __m128i& x, const __m128i& y, const __m128i& p00, const __m128i& p10,
                                   const __m128i& p01, const __m128i& p11) {
    const __m128i one = _mm_set1_epi32(kOne), fraction = _mm_set1_epi32(kOne - 1);
    const __m128i fx = _mm_and_si128(x, fraction), fy = _mm_and_si128(y, fraction), restX = _mm_sub_epi32(one, fx);
    const tRowPair upper(_mm_sub_epi32(one, fy), restX, fx, p00, p10), lower(fy, restX, fx, p01, p11);
    const auto levels = [](const __m128i& a, const __m128i& b)
                            KWINLINE { return _mm_srli_epi32(_mm_add_epi32(a, b), 14); };
    return _mm_packus_epi16(
        _mm_packs_epi32(levels(upper.Sums<0>(), lower.Sums<0>()), levels(upper.Sums<1>(), lower.Sums<1>())),
        _mm_packs_epi32(levels(upper.Sums<2>(), lower.Sums<2>()), levels(upper.Sums<3>(), lower.Sums<3>())));
}
#endif

template <class Bytes>
KWINLINE inline void WaveRow8(tAnyWord* d, const tSource& source, const double* shift, double y, std::uint32_t x,
                              std::ptrdiff_t count) {
    tPositions at;
    Locate(at, source, shift, y, x, count);
    std::uint32_t p00[kPart], p10[kPart], p01[kPart], p11[kPart];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::byte* p = Address(source, at, i, 4);
        if (i % kFew == 0) source.FetchAhead(p);
        std::memcpy(&p00[i], p, 4);
        std::memcpy(&p10[i], p + source.nextColumn, 4);
        std::memcpy(&p01[i], p + source.nextRow, 4);
        std::memcpy(&p11[i], p + source.nextRow + source.nextColumn, 4);
    }
    std::ptrdiff_t done = 0;
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>) {
        const auto load = [&done](const auto* from)
                              KWINLINE { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + done)); };
        for (; count - done >= 4; done += 4)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(d + done),
                             SampleFour(load(at.x), load(at.y), load(p00), load(p10), load(p01), load(p11)));
    }
#endif
    KWNODEPENDENCE
    for (std::ptrdiff_t i = done; i < count; ++i) {
        const tBilinear8 sample(at.x[i] & (kOne - 1), at.y[i] & (kOne - 1));
        std::uint32_t out = 0;
        for (int c = 0; c < 32; c += 8)
            out |= static_cast<std::uint32_t>(
                       sample(p00[i] >> c & 255, p10[i] >> c & 255, p01[i] >> c & 255, p11[i] >> c & 255))
                   << c;
        d[i] = out;
    }
}
constexpr CKwBodies kWaveRow8(WavePlain8, KwWidths<WaveRow8<tNarrow>, WaveRow8<tMiddle>, WaveRow8<tWide>>);

KWINLINE inline void WaveRowFloat(tAnyFloat* d, const tSource& source, const double* shift, double y, std::uint32_t x,
                                  std::ptrdiff_t count) {
    tPositions at;
    Locate(at, source, shift, y, x, count);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const tBilinearF sample(at.x[i] & (kOne - 1), at.y[i] & (kOne - 1));
        const std::byte* const p = Address(source, at, i, 16);
        source.FetchAhead(p);
        const auto pixel = [&](std::ptrdiff_t offset)
                               KWINLINE { return reinterpret_cast<const tAnyFloat*>(p + offset); };
        const tAnyFloat* p00 = pixel(0);
        const tAnyFloat* p10 = pixel(source.nextColumn);
        const tAnyFloat* p01 = pixel(source.nextRow);
        const tAnyFloat* p11 = pixel(source.nextRow + source.nextColumn);
        for (int c = 0; c < 4; ++c) d[i * 4 + c] = sample(p00[c], p10[c], p01[c], p11[c]);
    }
}
constexpr CKwBodies kWaveRowFloat(WavePlain<tFormF>, KwClones<WaveRowFloat>);

/// The greatest position of a sample on a side of `size` pixels.
std::int32_t Limit(LONG size) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>((std::int64_t{size} - 2) * kOne, 0, INT32_MAX));
}

} // namespace

HRESULT KwDibWave(const tView& destination, const tView& source, LONG bytesPerPixel, const tWAVEPROP& wave) {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const LONG pixelSize = KwPixelSize(bytesPerPixel);
    const double width = d.width, height = d.height;
    const double ax = width * wave.verticalAmplitude, ay = height * wave.horizontalAmplitude;
    const double kv = wave.verticalWaves * 3.141, kh = wave.horizontalWaves * 3.141;
    tSource from{s.first,        s.stride,       s.width > 1 ? pixelSize : 0, s.height > 1 ? s.stride : 0,
                 Limit(s.width), Limit(s.height)};
    for (LONG top = 0; top < d.height; top += kMostRows) {
        const LONG bottom = std::min(d.height, top + kMostRows);
        std::int32_t rowShift[kMostRows];
        for (LONG y = top; y < bottom; ++y)
            rowShift[y - top] = KwTrunc(KwSin(y / height * kv + wave.verticalPhase) * ax * 16384.0);
        for (std::ptrdiff_t begin = 0; begin < d.width; begin += kPart) {
            const std::ptrdiff_t count = std::min<std::ptrdiff_t>(kPart, d.width - begin);
            double shift[kPart];
            for (std::ptrdiff_t i = 0; i < count; ++i)
                shift[i] = KwSin(static_cast<double>(begin + i) / width * kh + wave.horizontalPhase) * ay;
            for (LONG y = top; y < bottom; ++y) {
                const LONG then = std::min(y + kRowsAhead, bottom - 1);
                from.ahead = (then - y + 1) * s.stride +
                             ((rowShift[then - top] >> 14) - (rowShift[y - top] >> 14)) * from.nextColumn;
                const auto x = static_cast<std::uint32_t>(rowShift[y - top]) + static_cast<std::uint32_t>(begin) * kOne;
                if (bytesPerPixel == 4)
                    kWaveRow8(KwWordRow(d, y) + begin, from, shift, y, x, count);
                else
                    kWaveRowFloat(KwFloatRow(d, y) + begin * 4, from, shift, y, x, count);
            }
        }
    }
    return S_OK;
}
