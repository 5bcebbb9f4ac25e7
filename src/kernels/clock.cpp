#include "kernels/clock.h"

#include <cmath>
#include <cstring>

#include "base/arith.h"
#include "base/bodies.h"
#include "base/functions.h"
#include "kernels/mix_row.h"

namespace {

constexpr double kTurn = 6.283185307179586;
constexpr double kHalf = kTurn / 2, kQuarter = kTurn / 4, kEighth = kTurn / 8;
constexpr LONG kChunk = 256; // pixels

struct tHand {
    double feather; ///< radians
    double limit;   ///< where the hand is; angles from twelve o'clock in the sense of the sweep
    bool done;
};

/// Pixels of a row, in the sense of the sweep: x = start + step * i from the centre, y upwards.
struct tSweepRow {
    double start, step, y;

    double X(LONG i) const { return start + step * i; }
};

enum class tShare { kNone, kPart, kAll };

/// The definition. `weight` is set for `kPart`.
tShare ExactShare(const tHand& hand, double x, double y, double& weight) {
    double th = KwAtan2(x, y);
    if (th < 0.0) th += kTurn;
    if (th >= hand.limit) return tShare::kNone;
    if (hand.done) return tShare::kAll;
    const double r = std::max(std::sqrt(x * x + y * y), 2.0);
    const double onePixel = KwAsin(1.414 / r);
    const double width = hand.feather > onePixel ? hand.feather : onePixel;
    const double e = std::min(hand.limit - width, hand.feather + kTurn);
    if (!(th > e)) return tShare::kAll;
    const double t = 1.0 - (th - e) / width;
    weight = 3.0 * t * t - 2.0 * t * t * t;
    return tShare::kPart;
}

tForm8::tWeight Weight(tForm8, double w) {
    return static_cast<tForm8::tWeight>(KwByte(KwTrunc(w * 255.0 + 0.5)));
}
tFormF::tWeight Weight(tFormF, double w) {
    return static_cast<float>(w);
}

template <class Form>
typename Form::tWeight ExactWeight(const tHand& hand, double x, double y) {
    double w = 0.0;
    const tShare share = ExactShare(hand, x, y, w);
    return share == tShare::kNone ? Form::kKeep : share == tShare::kAll ? Form::kWhole : Weight(Form{}, w);
}

/// Angles for pixels on one side of the vertical through the centre: the arc tangent's own series after a turn that
/// brings the tangent below 0.42.
template <class Number, int kTerms>
KWINLINE inline void QuickAngles(Number* angles, Number x, Number step, Number y, std::int32_t count) {
    const Number v = y < 0 ? -y : y;
    const bool left = step > 0 ? x < 0 : x + step * static_cast<Number>(count - 1) < 0;
    // The octant's angle is added to or taken from one of these.
    const Number base = left ? Number(kTurn) : 0, sign = left ? Number(-1) : 1;
    for (std::int32_t i = 0; i < count; ++i) {
        const Number xi = x + step * static_cast<Number>(i);
        const Number u = xi < 0 ? -xi : xi;
        const Number large = u > v ? u : v, small = u > v ? v : u;
        const bool turned = small > Number(0.41421356237309503) * large;
        const Number t = (turned ? small - large : small) / (turned ? small + large : large);
        const Number z = t * t;
        Number p = Number(1) / (2 * kTerms + 1);
        KWUNROLL
        for (int k = kTerms - 1; k >= 0; --k) p = Number(1) / static_cast<Number>(2 * k + 1) - z * p;
        const Number octant = (turned ? Number(kEighth) : 0) + t * p;
        const Number quadrant = u > v ? Number(kQuarter) - octant : octant;
        angles[i] = base + sign * (y < 0 ? Number(kHalf) - quadrant : quadrant);
    }
}

/// Weights by quick angles; `open` is set where a step is too close for them. Only for pixels whose soft angle is the
/// feather itself, so that there is no radius in them.
KWINLINE inline void QuickWeights8(std::uint16_t* weights, std::uint8_t* open, const tHand& hand, const tSweepRow& row,
                                   std::int32_t from, std::int32_t count) {
    constexpr float kAngleError = 4e-6f; // several units in the last place of a full turn
    float angles[kChunk];
    QuickAngles<float, 8>(angles, static_cast<float>(row.X(from)), static_cast<float>(row.step),
                          static_cast<float>(row.y), count);
    const float scale = static_cast<float>(1.0 / hand.feather);
    const float start = static_cast<float>(hand.limit / hand.feather);
    // Where t is large, so is its rounding; only the zone from 0 to 1 counts.
    const float error = (1e-6f + 2.0f * kAngleError * scale + 4e-7f * start) * 255.0f;
    const float edge = error / 255.0f;
    for (std::int32_t i = 0; i < count; ++i) {
        const float t = start - angles[i] * scale;
        const float inside = t < 0.0f ? 0.0f : t > 1.0f ? 1.0f : t;
        const float w = (3.0f - 2.0f * inside) * inside * inside * 255.0f + 0.5f;
        const auto low = static_cast<std::int32_t>(w - error), high = static_cast<std::int32_t>(w + error);
        const bool near = (t > -edge && t < edge) || (t > 1.0f - edge && t < 1.0f + edge);
        open[i] = static_cast<std::uint8_t>(low != high || near ? 1 : 0);
        weights[i] = static_cast<std::uint16_t>(t >= 1.0f ? 256 : low);
    }
}
constexpr CKwBodies kQuickWeights8(KwClones<QuickWeights8>);

KWINLINE inline void QuickWeightsF(float* weights, std::uint8_t* open, const tHand& hand, const tSweepRow& row,
                                   std::int32_t from, std::int32_t count) {
    constexpr double kAngleError = 1e-10;
    double angles[kChunk];
    QuickAngles<double, 13>(angles, row.X(from), row.step, row.y, count);
    const double e = hand.limit - hand.feather;
    const double error = 1e-12 + 2.0 * kAngleError / hand.feather + 1e-15 * hand.limit / hand.feather;
    for (std::int32_t i = 0; i < count; ++i) {
        const double t = 1.0 - (angles[i] - e) / hand.feather;
        const double inside = t < 0.0 ? 0.0 : t > 1.0 ? 1.0 : t;
        const double w = 3.0 * inside * inside - 2.0 * inside * inside * inside;
        const auto low = static_cast<float>(w - error), high = static_cast<float>(w + error);
        const bool near = (t > -error && t < error) || (t > 1.0 - error && t < 1.0 + error);
        open[i] = static_cast<std::uint8_t>(low != high || near ? 1 : 0);
        weights[i] = t >= 1.0 ? tFormF::kWhole : t <= 0.0 ? tFormF::kKeep : low;
    }
}
constexpr CKwBodies kQuickWeightsF(KwClones<QuickWeightsF>);

template <class Form>
void SoftWeights(typename Form::tWeight* weights, const tHand& hand, const tSweepRow& row, LONG from, LONG count) {
    std::uint8_t open[kChunk];
    if constexpr (Form::kPixelSize == 4)
        kQuickWeights8(weights, open, hand, row, from, count);
    else
        kQuickWeightsF(weights, open, hand, row, from, count);
    for (LONG i = 0; i < count; ++i)
        if (open[i]) weights[i] = ExactWeight<Form>(hand, row.X(from + i), row.y);
}

template <class Form>
void CopyPixels(typename Form::tChannel* out, const typename Form::tChannel* source, LONG from, LONG to) {
    if (from < to)
        std::memmove(out + std::ptrdiff_t{from} * 4, source + std::ptrdiff_t{from} * 4,
                     static_cast<std::size_t>(to - from) * Form::kPixelSize);
}

/// Pixels [from, to) on one side of the centre, where the angle grows or falls all along. `low` is where it is least,
/// `high` where it is greatest, on that side.
template <class Form>
void DrawSide(typename Form::tChannel* out, const typename Form::tChannel* source, const tHand& hand,
              const tSweepRow& row, LONG from, LONG to, double low, double high) {
    if (from >= to) return;
    const double y = row.y;
    // Here and below the C library does: what it decides shows in the time that a row takes, not in its pixels.
    const double tail = std::max(hand.feather, std::asin(1.414 / std::max(std::fabs(y), 2.0)));
    const bool rises = (y > 0.0) == (row.step > 0.0); // the angle, with the pixel's number

    // The pixel where the ray at an angle crosses the row; beyond the side's ends, the end.
    const auto crossing = [&](double angle) {
        const double first = rises ? from : to, last = rises ? to : from;
        if (angle <= low) return first;
        if (angle >= high) return last;
        return std::clamp((y * std::tan(angle) - row.start) / row.step, static_cast<double>(from),
                          static_cast<double>(to));
    };
    constexpr int kMargin = 2; // pixels, for the rounding of the crossing
    const double whole = crossing(hand.done ? hand.limit : hand.limit - tail), none = crossing(hand.limit);
    const LONG begin = std::max(from, static_cast<LONG>(std::min(whole, none)) - kMargin);
    const LONG end = static_cast<LONG>(
        std::min<std::int64_t>(to, std::int64_t{static_cast<LONG>(std::max(whole, none))} + 1 + kMargin));
    CopyPixels<Form>(out, source, rises ? from : end, rises ? begin : to);

    const bool plain = !hand.done && hand.feather >= tail;
    for (LONG i = begin; i < end; i += std::min(kChunk, end - i)) {
        const LONG n = std::min(kChunk, end - i);
        typename Form::tWeight weights[kChunk];
        if (plain)
            SoftWeights<Form>(weights, hand, row, i, n);
        else
            for (LONG k = 0; k < n; ++k) weights[k] = ExactWeight<Form>(hand, row.X(i + k), y);
        const std::ptrdiff_t at = std::ptrdiff_t{i} * 4;
        KwMixRow(out + at, out + at, source + at, weights, n);
    }
}

template <class Form>
void DrawRow(typename Form::tChannel* out, const typename Form::tChannel* source, const tHand& hand,
             const tSweepRow& row, LONG width) {
    // Pixels before the centre line's own: that one counts to the right, whose angles begin at 0.
    const double centre = -row.start / row.step;
    const LONG before = static_cast<LONG>(std::clamp(row.step > 0.0 ? centre : centre + 1.0, 0.0, double(width)));
    const LONG leftFrom = row.step > 0.0 ? 0 : before, leftTo = row.step > 0.0 ? before : width;
    const LONG rightFrom = row.step > 0.0 ? before : 0, rightTo = row.step > 0.0 ? width : before;
    if (row.y > 0.0) {
        DrawSide<Form>(out, source, hand, row, leftFrom, leftTo, kHalf + kQuarter, kTurn);
        DrawSide<Form>(out, source, hand, row, rightFrom, rightTo, 0.0, kQuarter);
    } else {
        DrawSide<Form>(out, source, hand, row, leftFrom, leftTo, kHalf, kHalf + kQuarter);
        DrawSide<Form>(out, source, hand, row, rightFrom, rightTo, kQuarter, kHalf);
    }
}

/// The definition: the share of each pixel on its own.
template <class Form>
void DrawPlainRow(typename Form::tChannel* out, const typename Form::tChannel* source, const tHand& hand,
                  const tSweepRow& row, LONG width) {
    for (LONG i = 0; i < width; ++i) {
        const std::ptrdiff_t at = std::ptrdiff_t{i} * 4;
        const typename Form::tWeight weight = ExactWeight<Form>(hand, row.X(i), row.y);
        KwMixRow(out + at, out + at, source + at, &weight, 1);
    }
}

template <class Form>
constexpr CKwBodies kDrawRow(DrawPlainRow<Form>, tKwBody{eKwLevel::Base, DrawRow<Form>});

} // namespace

HRESULT KwDibClock(const tView& out, const tView& source, LONG bytesPerPixel, const tCLOCKPROP* prop, double progress) {
    if (!prop) return E_POINTER;
    tRowPair pair;
    if (const HRESULT status = KwDibResolveClipTwo(out, source, bytesPerPixel, pair); FAILED(status)) return status;
    const LONG width = pair.destination.width, height = pair.destination.height;
    if (width == 0 || height == 0) return S_OK;

    const double p = KwClamp(progress, 0.0, 1.0), feather = prop->feather * 0.017453292519943295;
    const tHand hand{feather, (feather + kTurn) * p, p >= 1.0};
    const auto centreX = static_cast<double>(KwWidth(*source.frame) / 2);
    const auto centreY = static_cast<double>(KwHeight(*source.frame) / 2);
    const double left = pair.sourceRect.left - centreX;
    const bool everything = !std::isfinite(hand.limit) && !(hand.limit < 0.0);
    if (hand.limit <= 0.0) return S_OK;

    KwWithForm(bytesPerPixel, [&]<class Form>(Form) {
        using tChannel = typename Form::tChannel;
        for (LONG y = 0; y < height; ++y) {
            auto* d = reinterpret_cast<tChannel*>(pair.destination.Row<std::byte>(y));
            const auto* s = reinterpret_cast<const tChannel*>(pair.source.Row<std::byte>(y));
            const tSweepRow row{prop->direction == 0 ? left : -left, prop->direction == 0 ? 1.0 : -1.0,
                                centreY - pair.sourceRect.top + 0.5 - y};
            if (everything)
                CopyPixels<Form>(d, s, 0, width);
            else
                kDrawRow<Form>(d, s, hand, row, width);
        }
    });
    return S_OK;
}
