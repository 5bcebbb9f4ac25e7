#include "kernels/curve.h"

namespace {

/// Weights of first value, first tangent, second value, second tangent.
struct tBasis {
    double h1, h2, h3, h4;

    double Of(double p0, double m0, double p1, double m1) const { return h1 * p0 + h2 * m0 + h3 * p1 + h4 * m1; }
};

tBasis ValueBasis(double t) {
    const double t2 = t * t, t3 = t2 * t;
    return {2.0 * t3 - 3.0 * t2 + 1.0, t3 - 2.0 * t2 + t, 3.0 * t2 - 2.0 * t3, t3 - t2};
}

tBasis DerivativeBasis(double t) {
    const double t2 = t * t;
    return {6.0 * t2 - 6.0 * t, 3.0 * t2 - 4.0 * t + 1.0, 6.0 * t - 6.0 * t2, 3.0 * t2 - 2.0 * t};
}

template <class Body>
void WithElement(LONG type, Body&& body) {
    if (type == 1)
        body(double{});
    else
        body(float{});
}

void Combine(const tCurveKey& a, const tCurveKey& b, LONG count, const tBasis& basis) {
    if (!a.values || !a.tangents || !b.values || !b.tangents || !a.output) return;
    WithElement(a.type, [&]<class T>(T) {
        const auto* p0 = static_cast<const T*>(a.values);
        const auto* m0 = static_cast<const T*>(a.tangents);
        const auto* p1 = static_cast<const T*>(b.values);
        const auto* m1 = static_cast<const T*>(b.tangents);
        auto* out = static_cast<T*>(a.output);
        for (LONG i = 0; i < count; ++i) out[i] = static_cast<T>(basis.Of(p0[i], m0[i], p1[i], m1[i]));
    });
}

} // namespace

// Out of line, so that the module has them to export.
CKwLinearEval& CKwLinearEval::operator=(const CKwLinearEval&) = default;
CKwHermiteCubicEval& CKwHermiteCubicEval::operator=(const CKwHermiteCubicEval&) = default;

void CKwLinearEval::evaluate(const tCurveKey& a, const void* bValues, LONG count, double t) const {
    if (!a.values || !bValues || !a.output) return;
    WithElement(a.type, [&]<class T>(T) {
        const auto* from = static_cast<const T*>(a.values);
        const auto* to = static_cast<const T*>(bValues);
        auto* out = static_cast<T*>(a.output);
        for (LONG i = 0; i < count; ++i) {
            const double start = from[i];
            out[i] = static_cast<T>(start + (to[i] - start) * t);
        }
    });
}

void CKwHermiteCubicEval::evaluate(const tCurveKey& a, const tCurveKey& b, LONG count, double t) const {
    Combine(a, b, count, ValueBasis(t));
}

void CKwHermiteCubicEval::derivative(const tCurveKey& a, const tCurveKey& b, LONG count, double t) const {
    Combine(a, b, count, DerivativeBasis(t));
}

double CKwHermiteCubicEval::hermite(double p0, double p1, double m0, double m1, double x, double x0, double x1) const {
    const double length = x1 - x0;
    if (!(length > 0.0)) return -1.0;
    return ValueBasis((x - x0) / length).Of(p0, m0 * length, p1, m1 * length);
}

double CKwHermiteCubicEval::hermiteDerivative(double p0, double p1, double m0, double m1, double x, double x0,
                                              double x1) const {
    const double length = x1 - x0;
    if (!(length > 0.0)) return -1.0;
    return DerivativeBasis((x - x0) / length).Of(p0, m0 * length, p1, m1 * length) / length;
}
