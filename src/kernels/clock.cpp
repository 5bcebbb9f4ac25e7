#include "kernels/clock.h"

#include <cmath>
#include <cstring>

#include "base/arith.h"
#include "base/bodies.h"
#include "base/functions.h"
#include "kernels/mix_row.h"
#include "kernels/quick.h"

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

/// The arc tangent of small / large, 0 <= small <= large: its own series after a turn that brings the tangent below
/// 0.42.
template <class Number, int kTerms>
KWINLINE inline Number Octant(Number small, Number large) {
    const bool turned = small > Number(0.41421356237309503) * large;
    const Number t = (small - (turned ? large : 0)) / (large + (turned ? small : 0));
    const Number z = t * t;
    Number p = Number(1) / (2 * kTerms + 1);
    KWUNROLL
    for (int k = kTerms - 1; k >= 0; --k) p = Number(1) / static_cast<Number>(2 * k + 1) - z * p;
    return (turned ? Number(kEighth) : 0) + t * p;
}

/// Angles for pixels on one side of the vertical through the centre.
template <class Number, int kTerms>
KWINLINE inline void QuickAngles(Number* angles, Number x, Number step, Number y, std::int32_t count) {
    const Number v = y < 0 ? -y : y;
    const bool left = step > 0 ? x < 0 : x + step * static_cast<Number>(count - 1) < 0;
    // The octant's angle is added to or taken from one of these.
    const Number base = left ? Number(kTurn) : 0, sign = left ? Number(-1) : 1;
    for (std::int32_t i = 0; i < count; ++i) {
        const Number u = std::fabs(x + step * static_cast<Number>(i));
        const Number octant = Octant<Number, kTerms>(std::min(u, v), std::max(u, v));
        const Number quadrant = u > v ? Number(kQuarter) - octant : octant;
        angles[i] = base + sign * (y < 0 ? Number(kHalf) - quadrant : quadrant);
    }
}

/// Weights by quick angles in doubles; `open` is set where a step is too close for them.
///
/// With 16 terms the series ends below 2e-15, and with its roundings the error of an angle stays below 1e-14; so does
/// that of a pixel's own angle, whose cosine is at least 0.7. t has the error of two angles and of the hand's place
/// over the width, and that of the width on top: below (3e-14 + 1e-15 * limit) / width where t is 0 to 1. The curve is
/// at most 1.5 times as steep as t. Outside of 0 to 1 the error grows by less than t itself does.
template <class Form, bool kRadius>
KWINLINE inline void QuickWeights(typename Form::tWeight* weights, std::uint8_t* open, const tHand& hand,
                                  const tSweepRow& row, std::int32_t from, std::int32_t count) {
    double angles[kChunk];
    QuickAngles<double, 16>(angles, row.X(from), row.step, row.y, count);
    const double first = row.X(from), step = row.step, y = row.y, feather = hand.feather, limit = hand.limit;
    for (std::int32_t i = 0; i < count; ++i) {
        double width = feather;
        if constexpr (kRadius) {
            const double x = first + step * i;
            const double r = std::sqrt(x * x + y * y), sine = 1.414 / (r > 2.0 ? r : 2.0);
            const double onePixel = Octant<double, 16>(sine, std::sqrt(1.0 - sine * sine));
            width = feather > onePixel ? feather : onePixel;
        }
        const double error = 1e-14 + (6e-14 + 2e-15 * limit) / width;
        const double t = 1.0 - (angles[i] - (limit - width)) / width;
        const double inside = t < 0.0 ? 0.0 : t > 1.0 ? 1.0 : t;
        const double w = 3.0 * inside * inside - 2.0 * inside * inside * inside;
        const bool near = (t > -error && t < error) || (t > 1.0 - error && t < 1.0 + error);
        if constexpr (Form::kPixelSize == 4) {
            const auto low = static_cast<std::int32_t>((w - error) * 255.0 + 0.5);
            const auto high = static_cast<std::int32_t>((w + error) * 255.0 + 0.5);
            open[i] = static_cast<std::uint8_t>(low != high || near ? 1 : 0);
            weights[i] = static_cast<std::uint16_t>(t >= 1.0 ? Form::kWhole : low);
        } else {
            const auto low = static_cast<float>(w - error), high = static_cast<float>(w + error);
            open[i] = static_cast<std::uint8_t>(low != high || near ? 1 : 0);
            weights[i] = t >= 1.0 ? Form::kWhole : t <= 0.0 ? Form::kKeep : low;
        }
    }
}
template <class Form, bool kRadius>
constexpr CKwBodies kQuickWeights(KwClones<QuickWeights<Form, kRadius>>);

/// The same in floats, where twice as many fit a register. Only for pixels whose soft angle is the feather itself.
KWINLINE inline void RoughWeights(std::uint16_t* weights, std::uint8_t* open, const tHand& hand, const tSweepRow& row,
                                  std::int32_t from, std::int32_t count) {
    constexpr float kAngleError = 4e-6f; // what 5 terms leave, 8e-7, and several units in the last place of a full turn
    float angles[kChunk];
    QuickAngles<float, 5>(angles, static_cast<float>(row.X(from)), static_cast<float>(row.step),
                          static_cast<float>(row.y), count);
    const float scale = static_cast<float>(1.0 / hand.feather);
    const float start = static_cast<float>(hand.limit / hand.feather);
    // Where t is large, so is its rounding; only the zone from 0 to 1 counts.
    const float error = (1e-6f + 2.0f * kAngleError * scale + 4e-7f * start) * 255.0f;
    const float edge = error / 255.0f, least = KwHidden(0.0f), most = KwHidden(1.0f);
    for (std::int32_t i = 0; i < count; ++i) {
        const float t = start - angles[i] * scale;
        const float inside = std::min(std::max(t, least), most);
        const float w = (3.0f - 2.0f * inside) * inside * inside * 255.0f + 0.5f;
        const auto low = static_cast<std::int32_t>(w - error), high = static_cast<std::int32_t>(w + error);
        const bool near = (t > -edge && t < edge) || (t > 1.0f - edge && t < 1.0f + edge);
        open[i] = static_cast<std::uint8_t>(low != high || near ? 1 : 0);
        weights[i] = static_cast<std::uint16_t>(t >= 1.0f ? 256 : low);
    }
}
constexpr CKwBodies kRoughWeights(KwClones<RoughWeights>);

/// Calls `settle` for each pixel that is open.
template <class Settle>
void ForOpen(const std::uint8_t* open, LONG count, Settle settle) {
    constexpr LONG kAtOnce = sizeof(std::uint64_t);
    for (LONG i = 0; i < count; i += kAtOnce) {
        std::uint64_t any = 0;
        std::memcpy(&any, open + i, static_cast<std::size_t>(std::min(kAtOnce, count - i)));
        if (any == 0) continue;
        for (LONG k = i; k < std::min(i + kAtOnce, count); ++k)
            if (open[k]) settle(k);
    }
}

/// Weights of pixels whose soft angle is the feather itself, or with `kRadius` that of any pixel.
template <class Form, bool kRadius>
void SoftWeights(typename Form::tWeight* weights, const tHand& hand, const tSweepRow& row, LONG from, LONG count) {
    std::uint8_t open[kChunk];
    const auto exact = [&](LONG i) { weights[i] = ExactWeight<Form>(hand, row.X(from + i), row.y); };
    if constexpr (Form::kPixelSize == 4 && !kRadius) {
        kRoughWeights(weights, open, hand, row, from, count);
        ForOpen(open, count, [&](LONG i) {
            std::uint8_t still;
            kQuickWeights<Form, kRadius>(weights + i, &still, hand, row, from + i, 1);
            if (still) exact(i);
        });
    } else {
        kQuickWeights<Form, kRadius>(weights, open, hand, row, from, count);
        ForOpen(open, count, exact);
    }
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

    const bool byFeather = !hand.done && hand.feather >= tail;
    for (LONG i = begin; i < end; i += std::min(kChunk, end - i)) {
        const LONG n = std::min(kChunk, end - i);
        typename Form::tWeight weights[kChunk];
        if (byFeather)
            SoftWeights<Form, false>(weights, hand, row, i, n);
        else if (!hand.done)
            SoftWeights<Form, true>(weights, hand, row, i, n);
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
    // No pixel's angle is a whole turn: they stand a pixel apart at least.
    const bool everything = (!std::isfinite(hand.limit) && !(hand.limit < 0.0)) || (hand.done && hand.limit >= kTurn);
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
