#include "kernels/curve.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

TEST(Curve, LinearInterpolatesFloatsInDouble) {
    const float a[] = {0.1f, -3.0f, 16777216.0f, 1e30f, 5.0f}, b[] = {0.3f, 5.0f, 16777220.0f, -1e30f, 5.0f};
    for (const double t : {-0.5, 0.0, 0.3, 1.0, 2.0}) {
        float out[5]{};
        CKwLinearEval().evaluate({a, nullptr, out, 0}, b, 5, t);
        for (int i = 0; i < 5; ++i) EXPECT_EQ(static_cast<float>(double{a[i]} + (double{b[i]} - a[i]) * t), out[i]);
    }
}

TEST(Curve, HermiteMeetsItsKeys) {
    const double p0[] = {1.0, -2.0}, m0[] = {7.0, 0.5}, p1[] = {4.0, 8.0}, m1[] = {-1.0, 3.0};
    double out[2];
    const tCurveKey a{p0, m0, out, 1}, b{p1, m1, nullptr, 1};
    const CKwHermiteCubicEval eval;
    for (int i = 0; i < 2; ++i) {
        eval.evaluate(a, b, 2, 0.0);
        EXPECT_EQ(p0[i], out[i]);
        eval.evaluate(a, b, 2, 1.0);
        EXPECT_EQ(p1[i], out[i]);
        eval.derivative(a, b, 2, 0.0);
        EXPECT_EQ(m0[i], out[i]);
        eval.derivative(a, b, 2, 1.0);
        EXPECT_EQ(m1[i], out[i]);
    }
}

TEST(Curve, FlatTangentsGiveTheSmoothStep) {
    const float zero = 0.0f, one = 1.0f;
    float out = -1.0f;
    for (const double t : {0.0, 0.25, 0.5, 0.9, 1.0}) {
        CKwHermiteCubicEval().evaluate({&zero, &zero, &out, 0}, {&one, &zero, nullptr, 0}, 1, t);
        EXPECT_FLOAT_EQ(static_cast<float>(3 * t * t - 2 * t * t * t), out);
    }
}

TEST(Curve, ScalarFormsRunOverTheirOwnInterval) {
    const CKwHermiteCubicEval eval;
    // x^3 between 1 and 3 is its own Hermite curve.
    for (const double x : {1.0, 1.5, 2.0, 3.0}) {
        EXPECT_NEAR(x * x * x, eval.hermite(1, 27, 3, 27, x, 1, 3), 1e-12);
        EXPECT_NEAR(3 * x * x, eval.hermiteDerivative(1, 27, 3, 27, x, 1, 3), 1e-12);
    }
    EXPECT_EQ(-1.0, eval.hermite(1, 2, 0, 0, 1, 2, 2));
    EXPECT_EQ(-1.0, eval.hermiteDerivative(1, 2, 0, 0, 1, 3, 2));
    EXPECT_EQ(-1.0, eval.hermite(1, 2, 0, 0, 1, 0, std::nan("")));
}

TEST(Curve, MissingVectorsAndCountsStoreNothing) {
    const float a = 1.0f;
    float out = 7.0f;
    CKwLinearEval().evaluate({&a, nullptr, &out, 0}, nullptr, 1, 0.5);
    CKwLinearEval().evaluate({&a, nullptr, &out, 0}, &a, -1, 0.5);
    CKwHermiteCubicEval().evaluate({&a, nullptr, &out, 0}, {&a, &a, nullptr, 0}, 1, 0.5);
    EXPECT_EQ(7.0f, out);
}

} // namespace
