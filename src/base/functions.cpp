#include "base/functions.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// A number of twice a double's digits, the unevaluated sum of two that do not overlap.
/// Source: T. J. Dekker, "A floating-point technique for extending the available precision", 1971.
struct tPair {
    double high, low = 0.0;
};

constexpr tPair SumOf(double a, double b) {
    const double sum = a + b, part = sum - a;
    return {sum, (a - (sum - part)) + (b - part)};
}
/// Where `a` is the larger.
constexpr tPair Packed(double a, double b) {
    const double sum = a + b;
    return {sum, b - (sum - a)};
}
constexpr tPair Split(double a) {
    const double scaled = a * 134217729.0, high = scaled - (scaled - a); // 2^27 + 1
    return {high, a - high};
}
constexpr tPair ProductOf(double a, double b) {
    const tPair x = Split(a), y = Split(b);
    const double product = a * b;
    return {product, ((x.high * y.high - product) + x.high * y.low + x.low * y.high) + x.low * y.low};
}

constexpr tPair operator-(const tPair& a) {
    return {-a.high, -a.low};
}
constexpr tPair operator+(const tPair& a, const tPair& b) {
    const tPair high = SumOf(a.high, b.high), low = SumOf(a.low, b.low);
    const tPair sum = Packed(high.high, high.low + low.high);
    return Packed(sum.high, sum.low + low.low);
}
constexpr tPair operator-(const tPair& a, const tPair& b) {
    return a + -b;
}
constexpr tPair operator*(const tPair& a, const tPair& b) {
    const tPair product = ProductOf(a.high, b.high);
    return Packed(product.high, product.low + (a.high * b.low + a.low * b.high));
}
constexpr tPair operator/(const tPair& a, const tPair& b) {
    const double first = a.high / b.high;
    tPair rest = a - b * tPair{first};
    const double second = rest.high / b.high;
    rest = rest - b * tPair{second};
    return Packed(first, second) + tPair{rest.high / b.high};
}
double Rounded(const tPair& a) {
    return a.high + a.low;
}
/// Of what is above 0.
tPair SquareRoot(const tPair& a) {
    const double root = std::sqrt(a.high);
    const tPair rest = a - ProductOf(root, root);
    return Packed(root, rest.high / (2.0 * root));
}
tPair Scaled(const tPair& a, int exponent) {
    return {std::ldexp(a.high, exponent), std::ldexp(a.low, exponent)};
}

constexpr tPair kPi{3.141592653589793, 1.2246467991473532e-16}, kHalfPi{1.5707963267948966, 6.123233995736766e-17};

/// Factors of a series' terms, made as the source is compiled.
template <int kCount>
struct tSeries {
    tPair factors[kCount];

    /// factors[0] + factors[1] * x + factors[2] * x^2 ... The terms from kFine on are below 2^-50 of the sum, so that
    /// a double's digits do for them.
    template <int kFine>
    constexpr tPair At(const tPair& x) const {
        double rest = 0.0;
        for (int i = kCount - 1; i >= kFine; --i) rest = rest * x.high + factors[i].high;
        tPair sum{rest};
        for (int i = kFine - 1; i >= 0; --i) sum = sum * x + factors[i];
        return sum;
    }
};

/// 1 / first!, sign / (first + step)!, 1 / (first + 2 step)! ...
template <int kCount>
constexpr tSeries<kCount> Factorials(int first, int step, double sign) {
    tSeries<kCount> series{};
    tPair term{1.0};
    int n = 1;
    for (int i = 0; i < kCount; ++i) {
        for (; n <= first + i * step; ++n) term = term / tPair{static_cast<double>(n)};
        series.factors[i] = i % 2 && sign < 0.0 ? -term : term;
    }
    return series;
}

/// 1, sign / 3, 1 / 5 ...
template <int kCount>
constexpr tSeries<kCount> OddParts(double sign) {
    tSeries<kCount> series{};
    for (int i = 0; i < kCount; ++i)
        series.factors[i] = tPair{i % 2 ? sign : 1.0} / tPair{static_cast<double>(2 * i + 1)};
    return series;
}

/// Bits of 2 / pi behind the point.
constexpr std::uint32_t kTwoByPi[] = {
    // clang-format off
    0xA2F9836E, 0x4E441529, 0xFC2757D1, 0xF534DDC0, 0xDB629599, 0x3C439041, 0xFE5163AB, 0xDEBBC561,
    0xB7246E3A, 0x424DD2E0, 0x06492EEA, 0x09D1921C, 0xFE1DEB1C, 0xB129A73E, 0xE88235F5, 0x2EBB4484,
    0xE99C7026, 0xB45F7E41, 0x3991D639, 0x835339F4, 0x9C845F8B, 0xBDF9283B, 0x1FF897FF, 0xDE05980F,
    0xEF2F118B, 0x5A0A6D1F, 0x6D367ECF, 0x27CB09B7, 0x4F463F66, 0x9E5FEA2D, 0x7527BAC7, 0xEBE5F17B,
    0x3D0739F7, 0x8A5292EA, 0x6BFB5FB1, 0x1F8D5D08, 0x56033046, 0xFC7B6BAB, 0xF0CFBC20, 0x9AF4361D,
    // clang-format on
};

/// An angle as quarters of a turn and a rest of at most half a quarter to either side.
struct tAngle {
    unsigned quarter;
    tPair rest;
};

/// Of any finite angle, by as many bits of 2 / pi as matter. Source: M. Payne and R. Hanek, "Radian reduction for
/// trigonometric functions", 1983.
tAngle AngleOf(double x) {
    if (std::fabs(x) <= 0.78539816339744828) return {0, {x}};
    int exponent = 0;
    const auto whole = static_cast<std::uint64_t>(std::ldexp(std::frexp(std::fabs(x), &exponent), 53));
    exponent -= 53; // |x| = whole * 2^exponent
    constexpr int kWords = 9;
    const int first = exponent > 2 ? (exponent - 2) / 32 : 0; // earlier words make whole turns
    std::uint32_t product[kWords + 2] = {};                   // the lowest word first
    for (int part = 0; part < 2; ++part) {
        std::uint64_t carry = 0;
        const std::uint64_t factor = part == 0 ? whole & 0xFFFFFFFF : whole >> 32;
        for (int i = 0; i < kWords; ++i) {
            carry += product[i + part] + factor * kTwoByPi[first + kWords - 1 - i];
            product[i + part] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
        product[kWords + part] = static_cast<std::uint32_t>(carry);
    }
    const int point = 32 * (first + kWords) - exponent; // bits behind the point
    const auto bitsAt = [&](int at) {
        const auto word = [&](int i) -> std::uint64_t { return i < kWords + 2 ? product[i] : 0; };
        return static_cast<std::uint32_t>((word(at / 32) | word(at / 32 + 1) << 32) >> at % 32);
    };
    tAngle angle{bitsAt(point) & 3, {0.0}};
    const bool up = (bitsAt(point - 32) & 0x80000000) != 0; // to the next quarter, back from it
    double unit = 1.0;
    for (int i = 1; i <= 6; ++i) {
        unit *= 0x1p-32;
        const std::uint32_t bits = bitsAt(point - 32 * i);
        angle.rest = angle.rest + tPair{(up ? ~bits : bits) * unit};
    }
    if (up) {
        ++angle.quarter;
        angle.rest = -(angle.rest + tPair{unit});
    }
    angle.rest = angle.rest * kHalfPi;
    if (x < 0.0) {
        angle.quarter = 0u - angle.quarter;
        angle.rest = -angle.rest;
    }
    return angle;
}

tPair SineOf(const tPair& rest) {
    static constexpr auto kSeries = Factorials<14>(1, 2, -1.0);
    return rest * kSeries.At<8>(rest * rest);
}
tPair CosineOf(const tPair& rest) {
    static constexpr auto kSeries = Factorials<15>(0, 2, -1.0);
    return kSeries.At<9>(rest * rest);
}

/// Of 0 to 1, where both are 0 or above.
tPair ArcTangentOf(const tPair& y, const tPair& x) {
    // From the nearest sixteenth.
    constexpr int kParts = 16;
    static constexpr auto kSeries = OddParts<14>(-1.0);
    static constexpr auto kAngles = [] {
        tSeries<kParts + 1> angles{};
        for (int i = 1; i <= kParts; ++i) {
            const tPair step = tPair{1.0 / kParts} / tPair{1.0 + i * (i - 1) / double(kParts * kParts)};
            angles.factors[i] = angles.factors[i - 1] + step * kSeries.At<14>(step * step);
        }
        return angles;
    }();
    const int part = static_cast<int>(y.high / x.high * kParts + 0.5);
    const tPair from{part / double(kParts)};
    const tPair rest = (y - x * from) / (x + y * from);
    return kAngles.factors[part] + rest * kSeries.At<6>(rest * rest);
}

/// Of both 0 or above, not both 0, not infinite, and not so far from 1 that their products leave a double's range.
tPair QuadrantAngle(const tPair& y, const tPair& x) {
    return y.high <= x.high ? ArcTangentOf(y, x) : kHalfPi - ArcTangentOf(x, y);
}

/// The root of 1 - x * x.
tPair OtherSide(double x) {
    const tPair rest = tPair{1.0} - ProductOf(x, x);
    return rest.high > 0.0 ? SquareRoot(rest) : tPair{0.0};
}

/// Of what is finite and above 0.
tPair LogarithmOf(double x) {
    constexpr tPair kLogOf2{0.6931471805599453, 2.3190468138462996e-17};
    static constexpr auto kSeries = OddParts<22>(1.0);
    int exponent = 0;
    double part = std::frexp(x, &exponent);
    if (part < 0.70710678118654757) {
        part *= 2.0;
        --exponent;
    }
    const tPair t = SumOf(part, -1.0) / SumOf(part, 1.0);
    return tPair{static_cast<double>(exponent)} * kLogOf2 + tPair{2.0} * t * kSeries.At<11>(t * t);
}

double ExponentialOf(const tPair& x) {
    if (x.high > 709.79) return kInfinity;
    if (x.high < -745.14) return 0.0;
    // A multiple of the logarithm of 2 goes, then eight halves; the first two parts times a whole number are exact.
    constexpr double kLogOf2[] = {0x1.62e42fefa2000p-1, 0x1.9ef35793c6000p-41, 0x1.673007e5ed5e8p-81};
    constexpr int kHalves = 8;
    static constexpr auto kSeries = Factorials<10>(1, 1, 1.0);
    const double whole = std::floor(x.high * 1.4426950408889634 + 0.5);
    tPair rest = x;
    for (const double part : kLogOf2) rest = rest - ProductOf(whole, part);
    rest = Scaled(rest, -kHalves);
    tPair grown = rest * kSeries.At<6>(rest); // less 1
    for (int i = 0; i < kHalves; ++i) grown = tPair{2.0} * grown + grown * grown;
    return std::ldexp(Rounded(grown + tPair{1.0}), static_cast<int>(whole));
}

/// Whether a number has no fraction, and whether it is odd then.
bool IsWhole(double x) {
    return std::floor(x) == x;
}
bool IsOdd(double x) {
    return IsWhole(x) && std::fabs(x) < 0x1p53 && !IsWhole(x / 2.0);
}

} // namespace

double KwSin(double x) {
    if (!std::isfinite(x)) return kNone;
    if (x == 0.0) return x;
    const tAngle angle = AngleOf(x);
    const tPair value = angle.quarter & 1 ? CosineOf(angle.rest) : SineOf(angle.rest);
    return Rounded(angle.quarter & 2 ? -value : value);
}

double KwCos(double x) {
    if (!std::isfinite(x)) return kNone;
    const tAngle angle = AngleOf(x);
    const tPair value = angle.quarter & 1 ? SineOf(angle.rest) : CosineOf(angle.rest);
    return Rounded((angle.quarter + 1) & 2 ? -value : value);
}

double KwTan(double x) {
    if (!std::isfinite(x)) return kNone;
    if (x == 0.0) return x;
    const tAngle angle = AngleOf(x);
    const tPair sine = SineOf(angle.rest), cosine = CosineOf(angle.rest);
    return Rounded(angle.quarter & 1 ? -(cosine / sine) : sine / cosine);
}

double KwAsin(double x) {
    if (!(std::fabs(x) <= 1.0)) return kNone;
    if (x == 0.0) return x;
    return std::copysign(Rounded(QuadrantAngle({std::fabs(x)}, OtherSide(x))), x);
}

double KwAcos(double x) {
    if (!(std::fabs(x) <= 1.0)) return kNone;
    if (x == 1.0) return 0.0;
    const tPair angle = QuadrantAngle(OtherSide(x), {std::fabs(x)});
    return Rounded(x < 0.0 ? kPi - angle : angle);
}

double KwAtan2(double y, double x) {
    if (std::isnan(x) || std::isnan(y)) return kNone;
    double v = std::fabs(y), u = std::fabs(x);
    if (std::isinf(u) || std::isinf(v)) { // as if the finite one were 0, and two infinite ones the same
        v = std::isinf(v) ? 1.0 : 0.0;
        u = std::isinf(u) ? 1.0 : 0.0;
    }
    tPair angle{0.0};
    if (v != 0.0) {
        int larger = 0;
        std::frexp(v > u ? v : u, &larger);
        constexpr int kHigh = 900; // where the smallest number still has all its digits beside the larger one
        angle = QuadrantAngle({std::ldexp(v, kHigh - larger)}, {std::ldexp(u, kHigh - larger)});
    }
    if (std::signbit(x)) angle = kPi - angle;
    return std::copysign(Rounded(angle), y);
}

double KwExp(double x) {
    return std::isnan(x) ? kNone : ExponentialOf({x});
}

double KwLog(double x) {
    if (x == 0.0) return -kInfinity;
    if (!(x > 0.0)) return kNone;
    return std::isinf(x) ? x : Rounded(LogarithmOf(x));
}

double KwPow(double x, double y) {
    if (y == 0.0 || x == 1.0) return 1.0;
    if (std::isnan(x) || std::isnan(y)) return kNone;
    const double size = std::fabs(x);
    if (std::isinf(y)) return size == 1.0 ? 1.0 : (size > 1.0) == (y > 0.0) ? kInfinity : 0.0;
    if (x < 0.0 && !std::isinf(x) && !IsWhole(y)) return kNone;
    double value = 0.0;
    if (size == 0.0 || std::isinf(size)) {
        value = (size == 0.0) == (y > 0.0) ? 0.0 : kInfinity;
    } else {
        const tPair logarithm = LogarithmOf(size);
        const double estimate = logarithm.high * y; // far out the exact product would leave a double's range
        value = std::fabs(estimate) > 1000.0 ? ExponentialOf({estimate}) : ExponentialOf(logarithm * tPair{y});
    }
    return std::signbit(x) && IsOdd(y) ? -value : value;
}
