// Interpolation of vectors between two key points.
#pragma once

#include "platform/types.h"

/// One key point. The vectors are the caller's. Element type 1 means `double`, any other value `float`.
struct tCurveKey {
    const void* values;
    const void* tangents; ///< rate of change at the key over the whole interval
    void* output;         ///< where results go; looked at in the first key only
    LONG type;            ///< of all vectors of a call; looked at in the first key only
};

/// a + (b - a) * t. Arithmetic is `double`, results are stored in the element type. `t` is not limited to 0 to 1. A
/// null vector or a count below 1 stores nothing.
class KWEXPORT CKwLinearEval {
  public:
    CKwLinearEval() = default;
    CKwLinearEval(const CKwLinearEval&) = default;
    CKwLinearEval& operator=(const CKwLinearEval&);

    void evaluate(const tCurveKey& a, const void* bValues, LONG count, double t) const;
};

/// Cubic Hermite curve through both keys' values with their tangents; arithmetic and limits as for the linear one.
class KWEXPORT CKwHermiteCubicEval {
  public:
    CKwHermiteCubicEval() = default;
    CKwHermiteCubicEval(const CKwHermiteCubicEval&) = default;
    CKwHermiteCubicEval& operator=(const CKwHermiteCubicEval&);

    void evaluate(const tCurveKey& a, const tCurveKey& b, LONG count, double t) const;
    /// The rate of change with `t`.
    void derivative(const tCurveKey& a, const tCurveKey& b, LONG count, double t) const;

    /// One value at `x` between `x0` and `x1`; tangents are per unit of x. -1.0 unless `x1` is greater than `x0`.
    double hermite(double p0, double p1, double m0, double m1, double x, double x0, double x1) const;
    double hermiteDerivative(double p0, double p1, double m0, double m1, double x, double x0, double x1) const;
};
