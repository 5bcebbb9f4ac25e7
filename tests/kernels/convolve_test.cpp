#include "kernels/convolve.h"

#include "kernels/picture.h"

namespace {

constexpr LONG kSizes[][2] = {{1, 1}, {1, 5}, {2, 2}, {5, 1}, {3, 3}, {67, 5}, {130, 4}};

/// The pixel at (x, y), or the nearest inside.
template <class Value>
Value Near(CTestPicture& p, LONG x, LONG y, LONG channel) {
    x = std::clamp(x, 0, p.Width() - 1);
    y = std::clamp(y, 0, p.Height() - 1);
    return reinterpret_cast<const Value*>(p.At(x, y))[channel];
}

template <class Body>
void ForAll(CTestPicture& p, Body&& body) {
    for (LONG y = 0; y < p.Height(); ++y)
        for (LONG x = 0; x < p.Width(); ++x)
            for (LONG c = 0; c < 4; ++c) body(x, y, c);
}

TEST(Smooth3x3, FollowsTheRule) {
    for (const auto& size : kSizes) {
        CTestPicture s(size[0], size[1], 4), expected(size[0], size[1], 4), d = expected;
        s.Fill(1, true);
        ForAll(s, [&](LONG x, LONG y, LONG c) {
            int sum = 0;
            for (LONG dy = -1; dy <= 1; ++dy)
                for (LONG dx = -1; dx <= 1; ++dx)
                    sum += (2 - std::abs(dx)) * (2 - std::abs(dy)) * Near<std::uint8_t>(s, x + dx, y + dy, c);
            expected.At(x, y)[c] = static_cast<std::uint8_t>(sum >> 4);
        });
        ASSERT_EQ(S_OK, KwDibSmooth3x3(d.View(), s.View(), 4));
        ExpectSame(d, expected);
    }
}

TEST(Smooth3x3, FloatsFollowTheOrder) {
    for (const auto& size : kSizes) {
        CTestPicture s(size[0], size[1], 16), expected(size[0], size[1], 16), d = expected;
        s.Fill(2, true);
        ForAll(s, [&](LONG x, LONG y, LONG c) {
            const auto at = [&](LONG dx, LONG dy) { return Near<float>(s, x + dx, y + dy, c); };
            const float edges = at(0, -1) + at(-1, 0) + at(1, 0) + at(0, 1);
            const float corners = at(-1, -1) + at(1, -1) + at(-1, 1) + at(1, 1);
            (&expected.PixelF(x, y).b)[c] = (at(0, 0) * 4.0f + edges * 2.0f + corners) * 0.0625f;
        });
        ASSERT_EQ(S_OK, KwDibSmooth3x3(d.View(), s.View(), 16));
        ExpectSame(d, expected);
    }
}

struct tKernel {
    LONG weights[9];
    LONG divisor;
};

const tKernel kKernels[] = {
    {{-1, -2, -1, -2, 29, -2, -1, -2, -1}, 17},
    {{-1, -2, -1, -2, 13, -2, -1, -2, -1}, 1},
    {{1, 2, 3, 4, 5, 6, 7, 8, 9}, 45},
    {{1, 2, 3, 4, 5, 6, 7, 8, 9}, -7},
    {{-9, 8, -7, 6, -5, 4, -3, 2, -1}, -1},
    {{0, 0, 0, 0, 128, 0, 0, 0, 0}, 128},
    {{0, 0, 0, 0, 129, 0, 0, 0, 0}, 129},
    {{0, 0, 0, 0, 100, 28, 0, 0, 0}, 16777217},
    {{3, 1, 4, 1, 5, 9, 2, 6, 5}, INT32_MAX},
    {{1, 1, 1, 1, 1, 1, 1, 1, 1}, INT32_MIN},
    {{INT32_MAX, INT32_MAX, 1000, 5, -7, 9, INT32_MIN, 0, INT32_MIN}, 1000003},
    {{INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN, INT32_MIN}, INT32_MIN},
};

/// Every sum of a small kernel over every small divisor: quotients next to whole numbers must not slip.
TEST(Convolve3x3, SmallQuotientsAreExact) {
    CTestPicture s(256, 1, 4), d(256, 1, 4);
    for (LONG x = 0; x < 256; ++x) s.Pixel8(x, 0).g = static_cast<std::uint8_t>(x);
    for (const LONG weight : {1, 3, 64, 127, 128})
        for (LONG divisor = 1; divisor < 33000; divisor += divisor < 300 ? 1 : 97) {
            const LONG weights[9] = {0, 0, 0, 0, weight, 0, 0, 0, 0};
            ASSERT_EQ(S_OK, KwDibConvolve3x3(d.View(), s.View(), 4, weights, divisor));
            for (LONG x = 0; x < 256; ++x)
                ASSERT_EQ(std::min(x * weight / divisor, 255), d.Pixel8(x, 0).g)
                    << x << " * " << weight << " / " << divisor;
        }
}

TEST(Convolve3x3, FloatsDivideTheWeightsFirst) {
    for (const tKernel& k : kKernels)
        for (const auto& size : kSizes) {
            CTestPicture s(size[0], size[1], 16), expected(size[0], size[1], 16), d = expected;
            s.Fill(4, true);
            ForAll(s, [&](LONG x, LONG y, LONG c) {
                float sum = 0;
                for (LONG i = 0; i < 9; ++i) {
                    const float weight = static_cast<float>(k.weights[i]) / static_cast<float>(k.divisor);
                    sum += weight * Near<float>(s, x + i % 3 - 1, y + i / 3 - 1, c);
                }
                (&expected.PixelF(x, y).b)[c] = std::clamp(sum, 0.0f, 1.0f) + 0.0f;
            });
            ASSERT_EQ(S_OK, KwDibConvolve3x3(d.View(), s.View(), 16, k.weights, k.divisor));
            ForAll(d, [&](LONG x, LONG y, LONG c) { (&d.PixelF(x, y).b)[c] += 0.0f; }); // either zero
            ExpectSame(d, expected);
        }
}

TEST(Convolve3x3, RefusalsTouchNothing) {
    CTestPicture s(4, 4, 4), d(4, 4, 4);
    s.Fill(6);
    CTestPicture expected = d;
    const LONG weights[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(E_INVALIDARG, KwDibConvolve3x3(d.View(), s.View(), 4, weights, 0));
    EXPECT_EQ(E_POINTER, KwDibConvolve3x3(d.View(), s.View(), 4, nullptr, 1));
    ExpectSame(d, expected);
}

} // namespace
