#include "kernels/gaussian.h"

#include <bit>

#include "kernels/picture.h"

namespace {

struct tArrays {
    double n[5], d[5], m[5], bn[5], bm[5];
};

tArrays DefineCoefficients(double s) {
    const double a0 = 1.6803f, a1 = 3.735f, b0 = 1.783f, b1 = 1.723f, c0 = -0.6803f, c1 = -0.2598f, w0 = 0.6318f,
                 w1 = 1.997f;
    const double k = 1 / (s * 2.50662827463), p = w0 / s, q = w1 / s;
    const double A0 = a0 * k, A1 = a1 * k, C0 = c0 * k, C1 = c1 * k, E0 = exp(-b0 / s), E1 = exp(-b1 / s);
    tArrays r{};
    r.n[0] = A0 + C0;
    r.n[1] = E0 * (A1 * sin(p) - (2 * C0 + A0) * cos(p)) + E1 * (C1 * sin(q) - (2 * A0 + C0) * cos(q));
    r.n[2] = 2 * E0 * E1 * (r.n[0] * cos(q) * cos(p) - A1 * sin(p) * cos(q) - C1 * cos(p) * sin(q)) + A0 * E1 * E1 +
             C0 * E0 * E0;
    r.n[3] = E0 * E1 * E1 * (A1 * sin(p) - A0 * cos(p)) + E0 * E0 * E1 * (C1 * sin(q) - C0 * cos(q));
    r.d[1] = -2 * E1 * cos(q) - 2 * E0 * cos(p);
    r.d[2] = 4 * E0 * E1 * cos(p) * cos(q) + E1 * E1 + E0 * E0;
    r.d[3] = -2 * E0 * E1 * E1 * cos(p) - 2 * E0 * E0 * E1 * cos(q);
    r.d[4] = E0 * E0 * E1 * E1;
    for (int i = 1; i < 5; ++i) r.m[i] = r.n[i] - r.d[i] * r.n[0];
    double sums[3]{};
    for (int i = 0; i < 5; ++i) sums[0] += r.n[i], sums[1] += r.m[i], sums[2] += r.d[i];
    const double sum = 1 + sums[2];
    for (int i = 0; i < 5; ++i) {
        r.bn[i] = (std::abs(sum) <= 1e-17 ? 1 : sums[0] / sum) * r.d[i];
        r.bm[i] = (std::abs(sum) <= 1e-17 ? 1 : sums[1] / sum) * r.d[i];
    }
    return r;
}

TEST(Gaussian, CoefficientsFollowTheirFormulas) {
    for (const double sigma : {0.1, 0.45, 0.6, 1.0, 3.3, 15.6, 108.0, 2000.0, 1e6, 1e12, double{INFINITY}}) {
        const tGaussianCoefficients c = KwGaussianCoefficients(sigma);
        const tArrays expected = DefineCoefficients(sigma);
        EXPECT_EQ(0, std::memcmp(&c, &expected, sizeof c)) << sigma;
    }
}

TEST(Gaussian, ASpeckSpreadsAsTheBell) {
    CTestPicture s(61, 61, 4), d(61, 61, 4);
    s.Pixel8(30, 30) = {255, 255, 255, 255};
    for (const double radius : {2.0, 4.0}) {
        const double sigma = KwGaussianSigma(radius);
        ASSERT_EQ(S_OK, KwDibGaussianBlur(d.View(), s.View(), 4, radius, radius));
        for (LONG y = 0; y < 61; ++y)
            for (LONG x = 0; x < 61; ++x) {
                const double away = (x - 30) * (x - 30) + (y - 30) * (y - 30);
                const double bell = 255 * std::exp(-away / (2 * sigma * sigma)) / (2 * M_PI * sigma * sigma);
                ASSERT_NEAR(bell, d.Pixel8(x, y).g, 0.75) << x << ", " << y << ", " << radius;
            }
    }
}

} // namespace
