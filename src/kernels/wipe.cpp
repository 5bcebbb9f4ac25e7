#include "kernels/wipe.h"

#include <array>
#include <cmath>
#include <cstring>

#include "base/arith.h"
#include "base/bodies.h"
#include "base/functions.h"
#include "kernels/curve.h"
#include "kernels/fixed.h"
#include "kernels/mix_row.h"

namespace {

constexpr double kPi = 3.141592653589793;
constexpr LONG kChunk = 2048; // pixels

using tWeightTable = std::array<std::uint8_t, 256>;

/// The share of a pixel-sized disc on one side of the edge, as it moves over the pixel. The second term has the sine
/// squared where the true area has it once: the contract.
tWeightTable MakeCoverage() {
    tWeightTable table{};
    for (int i = 0; i < 256; ++i) {
        const double x = std::fabs(i / 256.0 - 0.5), th = KwAcos(2.0 * x);
        double v = (th / kPi) * (kPi / 4.0) - (KwSin(th) * 0.5) * x * (KwSin(th) * 0.5);
        if (i < 128) v = kPi / 4.0 - v;
        table[static_cast<std::size_t>(i)] =
            i == 128 ? 128 : KwByte(KwTrunc(KwClamp(v * (4.0 / kPi) * 255.0, 0.0, 255.0)));
    }
    return table;
}

tWeightTable MakeEdgeCurve() {
    tWeightTable table{};
    const double zero = 0.0, one = 1.0;
    double e = 0.0;
    const tCurveKey start{&zero, &zero, &e, 1}, end{&one, &zero, nullptr, 1};
    for (int i = 0; i < 256; ++i) {
        CKwHermiteCubicEval().evaluate(start, end, 1, i / 255.0);
        table[static_cast<std::size_t>(i)] = KwByte(KwTrunc(KwClamp(255.0 * e, 0.0, 255.0)));
    }
    return table;
}

struct tTables {
    tWeightTable coverage = MakeCoverage(), curve = MakeEdgeCurve();
};
const tTables& Tables() {
    static const tTables tables;
    return tables;
}

/// How the swept distance D, in 14-bit fixed point, becomes a weight.
struct tEdge {
    std::int64_t far; ///< from here on the second picture is whole
    bool soft;
    std::int64_t step; ///< of D from pixel to pixel
};

/// Places in the curve's table for `count` distances from `d` on. A quotient this close to a whole number could go
/// either way in a product: then false, and the places are no good.
KWINLINE inline bool QuickPlaces(std::int32_t* places, double d, double step, double far, std::int32_t count) {
    const double scale = 255.0 / far;
    std::int32_t bad = 0;
    for (std::int32_t i = 0; i < count; ++i) {
        const double v = (d + static_cast<double>(i) * step) * scale;
        const auto below = static_cast<std::int32_t>(v - 1e-10), above = static_cast<std::int32_t>(v + 1e-10);
        bad |= below ^ above;
        const std::int32_t place = below < 0 ? 0 : below;
        places[i] = place > 255 ? 255 : place;
    }
    return bad == 0;
}
bool NoPlaces(std::int32_t*, double, double, double, std::int32_t) {
    return false;
}
constexpr CKwBodies kQuickPlaces(NoPlaces, KwClones<QuickPlaces>);

void ExactPlaces(std::int32_t* places, double d, double step, double far, std::int32_t count) {
    for (std::int32_t i = 0; i < count; ++i) places[i] = KwTrunc(KwClamp((d + i * step) / far * 255.0, 0.0, 255.0));
}

/// Weights in the zone between the two whole pictures.
void ZoneWeights(std::uint16_t* weights, const tEdge& edge, std::int64_t d, LONG count) {
    const tTables& tables = Tables();
    std::int32_t places[kChunk];
    const auto df = static_cast<double>(d), step = static_cast<double>(edge.step), far = static_cast<double>(edge.far);
    // Only a negative feather makes the zone this short, and then quotients may leave the integers.
    if (far < 8192.0 || !kQuickPlaces(places, df, step, far, count)) ExactPlaces(places, df, step, far, count);
    if (edge.soft) {
        for (LONG i = 0; i < count; ++i) weights[i] = tables.curve[static_cast<std::size_t>(places[i])];
        return;
    }
    for (LONG i = 0; i < count; ++i, d += edge.step)
        weights[i] = d >= 8192 ? tables.curve[static_cast<std::size_t>(places[i])]
                               : tables.coverage[static_cast<std::size_t>(255 - ((d + 8192) >> 6))];
}

/// The weights of the zone last drawn: an upright edge has the same in every row.
struct tZone {
    std::int64_t d = 0;
    LONG count = 0;
    std::uint16_t weights[kChunk];

    const std::uint16_t* Get(const tEdge& edge, std::int64_t from, LONG length) {
        if (from != d || length > count) {
            d = from;
            count = length;
            ZoneWeights(weights, edge, from, length);
        }
        return weights;
    }
};

/// Pixels at the start of a row that lie on the same side of `bound` as the first.
LONG RunOf(std::int64_t d, std::int64_t step, std::int64_t bound, LONG count) {
    std::int64_t run = count;
    if (d >= bound && step < 0) run = (d - bound) / -step + 1;
    if (d < bound && step > 0) run = (bound - d + step - 1) / step;
    return static_cast<LONG>(std::min<std::int64_t>(run, count));
}

void Put(std::uint8_t* out, const std::uint8_t* pixels, LONG count, bool blend) {
    if (blend)
        KwOverRow(out, pixels, count);
    else if (out != pixels)
        std::memmove(out, pixels, static_cast<std::size_t>(count) * 4);
}

void WipeRow(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, LONG count, std::int64_t d,
             const tEdge& edge, tZone& zone, bool blend) {
    const std::int64_t low = std::min<std::int64_t>(-8192, edge.far);
    for (LONG x = 0; x < count;) {
        const std::ptrdiff_t at = std::ptrdiff_t{x} * 4;
        LONG run = RunOf(d, edge.step, edge.far, count - x);
        if (d >= edge.far) {
            Put(out + at, b + at, run, blend);
        } else {
            run = std::min(run, RunOf(d, edge.step, low, count - x));
            if (d < low) {
                Put(out + at, a + at, run, blend);
            } else {
                run = std::min(run, kChunk);
                const std::uint16_t* weights = zone.Get(edge, d, run);
                if (blend) {
                    std::uint8_t mixed[kChunk * 4];
                    KwMixRow(mixed, a + at, b + at, weights, run);
                    KwOverRow(out + at, mixed, run);
                } else {
                    KwMixRow(out + at, a + at, b + at, weights, run);
                }
            }
        }
        x += run;
        d += run * edge.step;
    }
}

/// Distance of the edge from the origin along its normal, as far as the sweep has gone.
double SweepDistance(double a, double c, double width, double height, double feather, double progress) {
    constexpr double kQuarter = kPi / 2.0;
    const double rise = KwTan(a) * height, soft = feather / c;
    double t;
    if (a < kQuarter) {
        t = (rise + soft + width) * progress;
    } else if (a < 2.0 * kQuarter) {
        t = width - (width - rise - soft) * progress;
    } else if (a < 3.0 * kQuarter) {
        t = (rise + width) - (rise + width - soft) * progress;
    } else {
        const double back = KwTan(6.28318530717958 - a) * height;
        t = (soft + width + back) * progress - back;
    }
    return static_cast<float>(t * c);
}

KWINLINE inline void DifferenceRow(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b,
                                   std::ptrdiff_t count) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const int db = a[i * 4] - b[i * 4], dg = a[i * 4 + 1] - b[i * 4 + 1], dr = a[i * 4 + 2] - b[i * 4 + 2];
        const int e = (dr * dr + dg * dg + db * db) / 6;
        const auto grey = static_cast<std::uint8_t>(e < 255 ? e : 255);
        out[i * 4] = out[i * 4 + 1] = out[i * 4 + 2] = grey;
        out[i * 4 + 3] = 255;
    }
}
constexpr CKwBodies kDifferenceRow(KwClones<DifferenceRow>);

} // namespace

HRESULT KwDibWipe(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, double featherPixels,
                  double angle, double progress, bool blendWithOutput) {
    if (bytesPerPixel != 4) return E_NOTIMPL;
    tRowPair a, b;
    KwDibResolveClipTwo(out, first, bytesPerPixel, a);
    if (const HRESULT status = KwDibResolveClipTwo(out, second, bytesPerPixel, b); FAILED(status)) return status;
    if (b.source.width != 0 && !first.bits) return E_POINTER;
    const LONG width = std::min(a.source.width, b.source.width), height = std::min(a.source.height, b.source.height);
    if (width == 0 || height == 0) return S_OK;

    // The tangent has to stay finite.
    if (angle > 89.99 && angle < 90.01) angle = 89.99;
    if (angle > 269.99 && angle < 270.01) angle = 269.99;
    const double radians = angle * 0.017453292519943278, c = KwCos(radians), s = KwSin(radians);
    const double distance = SweepDistance(radians, c, static_cast<double>(KwWidth(*second.frame)),
                                          static_cast<double>(KwHeight(*second.frame)), featherPixels, progress);
    const tEdge edge{KwFixed((0.5 + featherPixels) * 16384.0), featherPixels >= 1.0, KwFixed(c * -16384.0)};
    tZone zone;
    for (LONG y = 0; y < height; ++y) {
        const double row = static_cast<double>(b.sourceRect.top) + y;
        const std::int64_t d = KwFixed((distance - row * s - b.sourceRect.left * c) * 16384.0);
        WipeRow(b.destination.Row<std::uint8_t>(y), a.source.Row<std::uint8_t>(y), b.source.Row<std::uint8_t>(y), width,
                d, edge, zone, blendWithOutput);
    }
    return S_OK;
}

HRESULT KwTwin_mix(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel) {
    if (bytesPerPixel != 4) return E_NOTIMPL;
    tRowPair a, b;
    KwDibResolveClipTwo(out, first, bytesPerPixel, a);
    KwDibResolveClipTwo(out, second, bytesPerPixel, b);
    const LONG width = std::min(a.source.width, b.source.width), height = std::min(a.source.height, b.source.height);
    if (width == 0 || height == 0) return S_OK;
    for (LONG y = 0; y < height; ++y)
        kDifferenceRow(b.destination.Row<std::uint8_t>(y), a.source.Row<std::uint8_t>(y), b.source.Row<std::uint8_t>(y),
                       width);
    return S_OK;
}
