#include "kernels/smooth_mix.h"

#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/convolve.h"
#include "kernels/over_shapes.h"

namespace {

// 4-byte pixels against the definition itself, floats against the kernels that it names.

int Near(CTestPicture& p, LONG x, LONG y, LONG c) {
    return p.At(std::clamp(x, 0, p.Width() - 1), std::clamp(y, 0, p.Height() - 1))[c];
}

/// Nine weights over a divisor, truncated and limited.
int Weighted(CTestPicture& p, LONG x, LONG y, LONG c, const int (&weights)[9], int divisor) {
    std::int64_t sum = 0;
    for (int i = 0; i < 9; ++i) sum += std::int64_t{weights[i]} * Near(p, x + i % 3 - 1, y + i / 3 - 1, c);
    return static_cast<int>(std::clamp<std::int64_t>(sum / divisor, 0, 255));
}

void DefineSmoothBlend(CTestPicture& d, CTestPicture& s, double amount) {
    const double scaled = amount * 255.0 + 0.5;
    const int a = std::abs(scaled) < 2147483648.0 ? static_cast<int>(scaled) & 255 : 0;
    for (LONG y = 0; y < d.Height(); ++y)
        for (LONG x = 0; x < d.Width(); ++x)
            for (LONG c = 0; c < 4; ++c) {
                const int smooth = Weighted(s, x, y, c, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 16);
                d.At(x, y)[c] = static_cast<std::uint8_t>(smooth + (s.At(x, y)[c] - smooth) * a / 256);
            }
}

void DefineSharpen(CTestPicture& d, CTestPicture& s, int t) {
    for (LONG y = 0; y < d.Height(); ++y)
        for (LONG x = 0; x < d.Width(); ++x) {
            int levels[4];
            for (LONG c = 0; c < 4; ++c)
                levels[c] = Weighted(s, x, y, c, {-1, -2, -1, -2, 29 - t, -2, -1, -2, -1}, 17 - t);
            for (LONG c = 0; c < 4; ++c) d.At(x, y)[c] = static_cast<std::uint8_t>(std::min(levels[c], levels[3]));
        }
}

TEST(SmoothBlend, FollowsTheDefinition) {
    for (const double amount : kWildValues)
        CompareOverShapes(
            4, [&](const tView& d, const tView& s) { return KwDibSmoothBlend(d, s, 4, amount); },
            [&](CTestPicture& d, CTestPicture& s) { DefineSmoothBlend(d, s, amount); });
}

TEST(SmoothBlend, FloatsAreSmoothedThenBlended) {
    CompareOverShapes(
        16, [&](const tView& d, const tView& s) { return KwDibSmoothBlend(d, s, 16, 0.3); },
        [&](CTestPicture& d, CTestPicture& s) {
            KwDibSmooth3x3(d.View(), s.View(), 16);
            KwDibBlend(d.View(), s.View(), 16, 0.3);
        });
}

TEST(Sharpen, FollowsTheDefinition) {
    for (int t = -20; t <= 40; ++t) {
        if (t == 17) continue;
        CompareOverShapes(
            4, [&](const tView& d, const tView& s) { return KwDibSharpen(d, s, 4, t / 16.0 + (t < 0 ? -0.01 : 0.01)); },
            [&](CTestPicture& d, CTestPicture& s) { DefineSharpen(d, s, t); });
    }
}

TEST(Sharpen, FloatsAreConvolvedThenLimited) {
    CompareOverShapes(
        16, [&](const tView& d, const tView& s) { return KwDibSharpen(d, s, 16, 0.5); },
        [&](CTestPicture& d, CTestPicture& s) {
            const LONG weights[9] = {-1, -2, -1, -2, 21, -2, -1, -2, -1};
            KwDibConvolve3x3(d.View(), s.View(), 16, weights, 9);
            KwDibClampToAlpha(d.View(), 16);
        });
}

TEST(Sharpen, ADivisorOfZeroIsRefused) {
    for (const LONG form : {4, 16}) {
        CTestPicture s(9, 9, form), d(9, 9, form);
        s.Fill(1), d.Fill(2);
        CTestPicture expected = d;
        EXPECT_EQ(E_INVALIDARG, KwDibSharpen(d.View(), s.View(), form, 1.07));
        ExpectSame(d, expected);
    }
}

TEST(Sharpen, WildAmountsStayInsideTheirMemory) {
    for (const double amount : kWildValues)
        for (const LONG form : {4, 16}) {
            CTestPicture s(9, 9, form), d(9, 9, form);
            s.Fill(1);
            EXPECT_EQ(S_OK, KwDibSharpen(d.View(), s.View(), form, amount)) << amount;
            d.CheckGuards();
        }
}

} // namespace
