#include "kernels/wipe.h"

#include <limits>

#include "kernels/picture.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

int Coverage(int i) {
    if (i == 128) return 128;
    const double x = std::fabs(i / 256.0 - 0.5), th = std::acos(2 * x);
    double v = (th / kPi) * (kPi / 4) - (std::sin(th) * 0.5) * x * (std::sin(th) * 0.5);
    if (i < 128) v = kPi / 4 - v;
    return static_cast<int>(std::min(255.0, std::max(0.0, v * (4 / kPi) * 255)));
}

/// The definition, for pictures whose frames start at 0; `left` and `top` place the clip.
void Reference(CTestPicture& out, CTestPicture& a, CTestPicture& b, const RECT& clip, double feather, double angle,
               double progress, bool blend) {
    const auto F = static_cast<long>((0.5 + feather) * 16384);
    if (angle > 89.99 && angle < 90.01) angle = 89.99;
    if (angle > 269.99 && angle < 270.01) angle = 269.99;
    const double rad = angle * 0.017453292519943278, c = std::cos(rad), s = std::sin(rad);
    const double W = a.Width(), H = a.Height(), p = progress;
    double t;
    if (angle < 90)
        t = (std::tan(rad) * H + feather / c + W) * p;
    else if (angle < 180)
        t = W - (W - std::tan(rad) * H - feather / c) * p;
    else if (angle < 270)
        t = (std::tan(rad) * H + W) - (std::tan(rad) * H + W - feather / c) * p;
    else {
        const double Q = std::tan(6.28318530717958 - rad) * H;
        t = (feather / c + W + Q) * p - Q;
    }
    const double d0 = static_cast<float>(t * c);
    const long dx = static_cast<long>(c * -16384);
    for (LONG y = clip.top; y < clip.bottom; ++y) {
        long D = static_cast<long>((d0 - y * s - clip.left * c) * 16384);
        for (LONG x = clip.left; x < clip.right; ++x, D += dx)
            for (int ch = 0; ch < 4; ++ch) {
                const int av = a.At(x, y)[ch], bv = b.At(x, y)[ch], aa = a.At(x, y)[3], ba = b.At(x, y)[3];
                const auto mixed = [&](int from, int to) {
                    if (D >= F) return to;
                    if (D < -8192) return from;
                    const double e =
                        static_cast<int>(std::min(255.0, std::max(0.0, double(D) / double(F) * 255))) / 255.0;
                    const int m = D >= 8192 || feather >= 1.0
                                      ? static_cast<int>(std::min(255.0, 255 * (3 * (e * e) - 2 * (e * e * e))))
                                      : Coverage(static_cast<int>(255 - ((D + 8192) >> 6)));
                    return from + (to - from) * m / 256;
                };
                std::uint8_t& o = out.At(x - clip.left, y - clip.top)[ch];
                const int r = mixed(av, bv);
                o = static_cast<std::uint8_t>(blend ? r + (((255 - mixed(aa, ba)) * o + 127) >> 8) : r);
            }
    }
}

TEST(Wipe, FollowsTheDefinition) {
    const RECT whole{0, 0, 301, 23}, part{13, 5, 300, 20};
    CTestPicture a(301, 23, 4), b(301, 23, 4);
    a.Fill(1, true);
    b.Fill(2, true);
    for (const double angle : {0.0, 30.0, 45.0, 90.0, 135.0, 180.0, 200.0, 270.0, 315.0, 360.0})
        for (const double feather : {0.0, 0.4, 1.0, 20.0, 150.5})
            for (const double progress : {-1.0, 0.0, 0.25, 0.5, 0.99, 1.0, 2.0})
                for (const RECT& clip : {whole, part})
                    for (const bool blend : {false, true}) {
                        CTestPicture out(clip.right - clip.left, clip.bottom - clip.top, 4);
                        out.Fill(3, true);
                        CTestPicture expected = out;
                        ASSERT_EQ(S_OK, KwDibWipe(out.View(), a.View(&clip), b.View(&clip), 4, feather, angle, progress,
                                                  blend));
                        Reference(expected, a, b, clip, feather, angle, progress, blend);
                        ASSERT_TRUE(out == expected) << angle << " " << feather << " " << progress << " " << blend
                                                     << ": " << out.FirstDifference(expected);
                    }
}

TEST(TwinMix, WritesTheDifferenceAsOpaqueGrey) {
    CTestPicture a(33, 9, 4), b(33, 9, 4), out(33, 9, 4);
    a.Fill(1, true);
    b.Fill(2, true);
    ASSERT_EQ(S_OK, KwTwin_mix(out.View(), a.View(), b.View(), 4));
    for (LONG y = 0; y < 9; ++y)
        for (LONG x = 0; x < 33; ++x) {
            unsigned sum = 0;
            for (int c = 0; c < 3; ++c) {
                const int d = a.At(x, y)[c] - b.At(x, y)[c];
                sum += static_cast<unsigned>(d * d);
            }
            const unsigned e = std::min<unsigned>(static_cast<unsigned>((std::uint64_t{sum} * 0x2AAAAAABu) >> 32), 255);
            const tPixel8 p = out.Pixel8(x, y);
            ASSERT_TRUE(p.b == e && p.g == e && p.r == e && p.a == 255) << x << " " << y;
        }
    out.CheckGuards();
}

} // namespace
