#include "kernels/blend.h"

#include "kernels/picture.h"

namespace {

TEST(Blend, FollowsTheRuleForAllBytesAndAmounts) {
    for (const double amount : {0.0, 0.001, 0.25, 0.5, 0.999, 1.0, 1.5, -0.1}) {
        CTestPicture d(256, 64, 4), s(256, 64, 4);
        for (int i = 0; i < 65536; ++i) {
            d.At(0, i / 1024)[i % 1024] = static_cast<std::uint8_t>(i & 255);
            s.At(0, i / 1024)[i % 1024] = static_cast<std::uint8_t>(i >> 8);
        }
        ASSERT_EQ(S_OK, KwDibBlend(d.View(), s.View(), 4, amount));
        const int a = static_cast<int>(amount * 255.0 + 0.5) & 255;
        for (int i = 0; i < 65536; ++i) {
            const int was = i & 255, to = i >> 8;
            ASSERT_EQ((was + (to - was) * a / 256) & 255, d.At(0, i / 1024)[i % 1024]) << was << " to " << to;
        }
    }
}

TEST(AddScaled, ChecksInOrder) {
    CTestPicture p(4, 4, 4), q(4, 4, 4);
    p.Fill(1);
    q.Fill(2);
    CTestPicture expected = p;
    const RECT small{0, 0, 2, 2};
    const tView none{nullptr, nullptr, 0, nullptr}, noBits{nullptr, &small, 8, nullptr};
    EXPECT_EQ(E_POINTER, KwDibAddScaled(none, none, 4, 1, 7, 0, 0));
    EXPECT_EQ(E_POINTER, KwDibAddScaled(noBits, q.View(), 4, 1, 7, 0, 0));
    EXPECT_EQ(E_NOTIMPL, KwDibAddScaled(p.View(), none, 4, 1, 7, 0, 0));
    EXPECT_EQ(E_POINTER, KwDibAddScaled(p.View(), none, 4, 1, 2, 0, 0));
    EXPECT_EQ(E_POINTER, KwDibAddScaled(p.View(), noBits, 4, 1, 3, 0, 0));
    EXPECT_EQ(E_INVALIDARG, KwDibAddScaled(p.View(), q.View(&small), 4, 1, 2, 0, 0));
    EXPECT_EQ(E_NOTIMPL, KwDibAddScaled(p.View(), q.View(), 4, 1, 2, 0, 0));
    ExpectSame(p, expected);
}

/// A sample at a position in 1/16384, by the definition, for any position.
int Sample8(CTestPicture& s, std::int64_t px, std::int64_t py, int c) {
    px = std::clamp<std::int64_t>(px, 0, (s.Width() - 1) * 16384);
    py = std::clamp<std::int64_t>(py, 0, (s.Height() - 1) * 16384);
    const int fx = static_cast<int>(px % 16384), fy = static_cast<int>(py % 16384);
    const auto at = [&](int dx, int dy) {
        return static_cast<int>(s.At(std::min(static_cast<LONG>(px / 16384) + dx, s.Width() - 1),
                                     std::min(static_cast<LONG>(py / 16384) + dy, s.Height() - 1))[c]);
    };
    return (fx * fy / 16384 * at(1, 1) + (16384 - fx) * fy / 16384 * at(0, 1) + (16384 - fy) * fx / 16384 * at(1, 0) +
            (16384 - fy) * (16384 - fx) / 16384 * at(0, 0)) >>
           14;
}

TEST(AddScaled, AddsASampleForEveryPixel) {
    struct {
        double x, y;
    } const offsets[] = {{0, 0}, {0.5, 0}, {0.25, 0.75}, {-0.5, -3.3}, {2, 1}, {1000, -1000}, {1e-9, 0}};
    for (const auto& o : offsets)
        for (const double amount : {0.0, 0.3, 1.0, 7.0, -1.0, static_cast<double>(NAN)}) {
            CTestPicture d(67, 5, 4), s(67, 5, 4);
            d.Fill(3, true);
            s.Fill(4, true);
            CTestPicture expected = d;
            const int scale = static_cast<int>((amount > 0 ? std::min(amount, 1.0) : 0.0) * 16384);
            for (LONG y = 0; y < 5; ++y)
                for (LONG x = 0; x < 67; ++x)
                    for (int c = 0; c < 4; ++c) {
                        const int value = Sample8(s, static_cast<int>(o.x * 16384) + x * 16384,
                                                  static_cast<int>(o.y * 16384) + y * 16384, c);
                        expected.At(x, y)[c] =
                            static_cast<std::uint8_t>(std::min(d.At(x, y)[c] + (value * scale >> 14), 255));
                    }
            ASSERT_EQ(S_OK, KwDibAddScaled(d.View(), s.View(), 4, amount, 3, o.x, o.y));
            ExpectSame(d, expected);
        }
}

} // namespace
