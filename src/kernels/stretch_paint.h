// What the forms of `KwDibStretchBlit` have in common: the two directions of a drawing, and the writing of samples.
#pragma once

#include <algorithm>
#include <type_traits>

#include "base/arith.h"
#include "kernels/fixed.h"
#include "kernels/mix_row.h"

namespace kw_stretch {

/// One direction of a drawing.
struct tAxis {
    std::int64_t start, end;             ///< destination
    std::int64_t sourceStart, sourceEnd; ///< inside the source
    std::int64_t scale;                  ///< source units per 16384 of the destination
    std::int64_t step;                   ///< the same for interpolation, where the end pixels fall on each other
    LONG first, last;                    ///< output pixels touched, `last` exclusive
    LONG lowest, highest;                ///< source pixels that may be read, inclusive
    bool box;

    /// How much of an output pixel is covered, 0 to `kOnePixel`.
    std::int64_t Coverage(LONG pixel) const {
        return std::min(end, KwToFixed(pixel) + kOnePixel) - std::max(start, KwToFixed(pixel));
    }
    /// Where interpolation samples for an output pixel.
    std::int64_t Position(LONG pixel) const {
        return KwClamp(sourceStart + ((KwToFixed(pixel) - start) * step >> 14), KwToFixed(lowest), KwToFixed(highest));
    }
    bool IsShift() const { return !box && step == kOnePixel; }
    std::int64_t Shift() const { return sourceStart - start; }
};

inline std::int64_t FractionOf(std::int64_t position) {
    return position & (kOnePixel - 1);
}

/// The source pixels behind one output pixel: `head` and `tail` weigh the ends, `body` each one between. The weights
/// add up to 1. A single pixel has `head` alone.
struct tTaps {
    LONG first, count;
    double head, body, tail;
};

inline tTaps TapsOf(const tAxis& axis, LONG pixel) {
    if (!axis.box) {
        const std::int64_t position = axis.Position(pixel), f = FractionOf(position);
        const double part = static_cast<double>(f) / static_cast<double>(kOnePixel);
        return {static_cast<LONG>(KwFixedFloor(position)), f ? 2 : 1, 1.0 - part, 0.0, part};
    }
    const std::int64_t from = std::max(axis.start, KwToFixed(pixel));
    const std::int64_t to = std::min(axis.end, KwToFixed(pixel) + kOnePixel);
    const std::int64_t stop = std::min(axis.sourceEnd, axis.sourceStart + ((to - axis.start) * axis.scale >> 14));
    const std::int64_t begin = std::min(stop - 1, axis.sourceStart + ((from - axis.start) * axis.scale >> 14));
    const std::int64_t first = KwFixedFloor(begin), last = KwFixedFloor(stop - 1);
    if (first == last) return {static_cast<LONG>(first), 1, 1, 0, 0};
    const auto share = [length = stop - begin](std::int64_t part) {
        return static_cast<double>(part) / static_cast<double>(length);
    };
    return {static_cast<LONG>(first), static_cast<LONG>(last - first + 1), share(((first + 1) << 14) - begin),
            share(kOnePixel), share(stop - (last << 14))};
}

struct tImage {
    std::byte* bits;
    std::ptrdiff_t stride;

    template <class Form>
    typename Form::tChannel* Row(LONG y, LONG x = 0) const {
        return reinterpret_cast<typename Form::tChannel*>(bits + stride * y +
                                                          static_cast<std::ptrdiff_t>(x) * Form::kPixelSize);
    }
};

/// What is less than half a step of a byte cannot show there.
inline constexpr std::int64_t kInvisible = kOnePixel / 512;

inline std::uint16_t CoverageWeight(tForm8, std::int64_t x, std::int64_t y) {
    const std::int64_t coverage = x * y >> 14;
    return static_cast<std::uint16_t>(coverage > kOnePixel - kInvisible ? 255 : coverage * 255 >> 14);
}
inline float CoverageWeight(tFormF, std::int64_t x, std::int64_t y) {
    return static_cast<float>(x * y) / static_cast<float>(kOnePixel * kOnePixel);
}

/// Writes the samples; the ragged rim of the rectangle is blended.
template <class Form, class Sampler>
void Paint(const tImage& out, const tAxis& x, const tAxis& y, Sampler& sampler) {
    using tChannel = typename Form::tChannel;
    constexpr LONG kChunk = 256;
    std::remove_cv_t<std::conditional_t<sizeof(tChannel) == 1, std::uint8_t, float>> chunk[kChunk * 4];
    const LONG fullFirst = x.first + (x.Coverage(x.first) < kOnePixel ? 1 : 0);
    const LONG fullLast = std::max(fullFirst, x.last - (x.Coverage(x.last - 1) < kOnePixel ? 1 : 0));
    for (LONG row = y.first; row < y.last; ++row) {
        sampler.SetRow(row);
        const std::int64_t coverY = y.Coverage(row);
        const auto blended = [&](LONG from, LONG to, std::int64_t coverX) {
            sampler.Samples(from, to, chunk);
            tChannel* target = out.Row<Form>(row, from);
            KwMixRowBy(target, target, chunk, CoverageWeight(Form{}, coverX, coverY), to - from);
        };
        if (coverY == kOnePixel && fullFirst < fullLast) {
            sampler.Samples(fullFirst, fullLast, out.Row<Form>(row, fullFirst));
        } else {
            for (LONG c = fullFirst; c < fullLast; c += std::min(kChunk, fullLast - c))
                blended(c, std::min(fullLast, c + kChunk), kOnePixel);
        }
        if (x.first < fullFirst) blended(x.first, x.first + 1, x.Coverage(x.first));
        if (fullLast < x.last) blended(fullLast, fullLast + 1, x.Coverage(fullLast));
    }
}

template <class Form, class Sampler>
HRESULT PaintScaled(const tImage& out, const tImage& source, const tAxis& x, const tAxis& y) {
    Sampler sampler(source, x, y);
    if (!sampler) return E_OUTOFMEMORY;
    Paint<Form>(out, x, y, sampler);
    return S_OK;
}

/// The greatest scale that `PaintBytes` takes.
inline constexpr LONG kMostTaps = 16;
inline constexpr std::int64_t kModerate = (kMostTaps - 2) * kOnePixel; // two more pixels may be touched at the ends

/// Scales bytes by moderate reductions and any enlargements.
HRESULT PaintBytes(const tImage& out, const tImage& source, const tAxis& x, const tAxis& y);

} // namespace kw_stretch
