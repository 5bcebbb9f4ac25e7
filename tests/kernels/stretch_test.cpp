#include "kernels/stretch.h"

#include "kernels/picture.h"

namespace {

using tInt = std::int64_t;
constexpr tInt kPixel = 16384;

HRESULT Draw(CTestPicture& out, const tFixedRect* to, CTestPicture& source, const tFixedRect* from, bool smooth,
             tFixedPoint offset = {0, 0}) {
    return KwDibStretchBlit(out.At(0, 0), {out.Width(), out.Height()}, out.Stride(), to, offset, source.At(0, 0),
                            {source.Width(), source.Height()}, source.Stride(), from, out.BytesPerPixel(), smooth);
}

double Channel(CTestPicture& p, LONG x, LONG y, int c) {
    return p.BytesPerPixel() == 4 ? p.At(x, y)[c] : (&p.PixelF(x, y).b)[c];
}

/// One direction of the definition: the source pixels of an output pixel with exact weights, and its coverage.
struct tReferenceAxis {
    tInt start, end, from, to;
    bool smooth;

    tInt Scale() const { return ((to - from) << 14) / (end - start); }
    double Covered(LONG p) const {
        return static_cast<double>(std::min(end, (p + 1) * kPixel) - std::max(start, p * kPixel)) / kPixel;
    }
    std::vector<std::pair<LONG, double>> Taps(LONG p) const {
        std::vector<std::pair<LONG, double>> taps;
        if (smooth && Scale() > kPixel) {
            const tInt a = from + ((std::max(start, p * kPixel) - start) * Scale() >> 14);
            const tInt b = std::max(a + 1, from + ((std::min(end, (p + 1) * kPixel) - start) * Scale() >> 14));
            for (tInt s = a >> 14; s * kPixel < b; ++s)
                taps.emplace_back(static_cast<LONG>(s),
                                  static_cast<double>(std::min(b, (s + 1) * kPixel) - std::max(a, s * kPixel)) /
                                      static_cast<double>(b - a));
            return taps;
        }
        tInt step = 0;
        if (to - from == end - start)
            step = kPixel;
        else if (to - from >= 2 * kPixel && end - start > kPixel)
            step = ((to - from - kPixel) << 14) / (end - start - kPixel);
        const tInt lowest = from >> 14, highest = (to - 1) >> 14;
        const tInt at = std::clamp(from + ((p * kPixel - start) * step >> 14), lowest << 14, highest << 14);
        const double f = static_cast<double>(at & (kPixel - 1)) / kPixel;
        taps.emplace_back(static_cast<LONG>(at >> 14), 1 - f);
        if (f > 0) taps.emplace_back(static_cast<LONG>((at >> 14) + 1), f);
        return taps;
    }
};

/// Compares with exact arithmetic: bytes within one step, floats closely.
void Compare(LONG w, LONG h, LONG sw, LONG sh, const tFixedRect& to, const tFixedRect& from, bool smooth) {
    for (const LONG bytesPerPixel : {4, 16}) {
        CTestPicture out(w, h, bytesPerPixel), source(sw, sh, bytesPerPixel);
        out.Fill(1, true);
        source.Fill(2, true);
        CTestPicture before = out;
        ASSERT_EQ(S_OK, Draw(out, &to, source, &from, smooth));
        const tReferenceAxis ax{to.left, to.right, from.left, from.right, smooth};
        const tReferenceAxis ay{to.top, to.bottom, from.top, from.bottom, smooth};
        for (LONG y = 0; y < h; ++y)
            for (LONG x = 0; x < w; ++x)
                for (int c = 0; c < 4; ++c) {
                    double value = Channel(before, x, y, c);
                    if (ax.Covered(x) > 0 && ay.Covered(y) > 0) {
                        double sample = 0;
                        for (const auto& [sy, wy] : ay.Taps(y))
                            for (const auto& [sx, wx] : ax.Taps(x)) sample += wx * wy * Channel(source, sx, sy, c);
                        double cover = ax.Covered(x) * ay.Covered(y);
                        if (bytesPerPixel == 4 && cover < 1)
                            cover = std::round(cover * 512) >= 512 ? 255 / 256.0 : std::floor(cover * 255) / 256;
                        value += (sample - value) * cover;
                    }
                    ASSERT_NEAR(value, Channel(out, x, y, c), bytesPerPixel == 4 ? 1.999 : 1e-5)
                        << "x " << x << " y " << y << " of " << w << "x" << h << " from " << sw << "x" << sh;
                }
        out.CheckGuards();
    }
}

constexpr tFixedRect Whole(LONG w, LONG h) {
    return {0, 0, w * kPixel, h * kPixel};
}

TEST(Stretch, FractionsMixNeighboursAndCoverTheRim) {
    for (const tInt dx : {tInt{0}, tInt{8192}, tInt{5}, 3 * kPixel + 16000, -2 * kPixel - 100})
        for (const tInt dy : {tInt{0}, tInt{4096}, -kPixel - 8000})
            Compare(40, 21, 31, 17, {dx, dy, dx + 31 * kPixel, dy + 17 * kPixel}, Whole(31, 17), false);
    // Half a pixel of a source part that starts inside a pixel.
    Compare(20, 5, 20, 5, {0, 0, 7 * kPixel + 300, 5 * kPixel}, {3 * kPixel - 300, 0, 10 * kPixel, 5 * kPixel}, false);
}

TEST(Stretch, ScalesFollowExactArithmetic) {
    for (const LONG w : {1, 3, 17, 20, 60})
        for (const LONG h : {1, 2, 13, 40})
            for (const bool smooth : {false, true}) Compare(60, 40, 20, 13, Whole(w, h), Whole(20, 13), smooth);
    for (const bool smooth : {false, true}) {
        Compare(23, 9, 61, 33, {-30000, 5000, 300000, 100000}, Whole(61, 33), smooth);
        Compare(23, 9, 61, 33, {5000, -200000, 50000, 100000}, {kPixel, 20000, 50 * kPixel, 30 * kPixel + 3}, smooth);
        Compare(9, 700, 5, 700, {0, 0, 9 * kPixel, 1500}, Whole(5, 700), smooth);
        Compare(3, 2, 1300, 2, {100, 0, 2000, 2 * kPixel}, Whole(1300, 2), smooth);
    }
}

TEST(Stretch, TooLittleDrawsNothing) {
    CTestPicture out(8, 8, 4), source(8, 8, 4);
    CTestPicture before = out.Fill(1);
    const tFixedRect cases[] = {{0, 0, 0, kPixel},
                                {0, 0, 1023, kPixel},
                                {kPixel, 0, 0, kPixel},
                                {9 * kPixel, 0, 20 * kPixel, kPixel},
                                {-9 * kPixel, 0, 0, kPixel}};
    for (const tFixedRect& to : cases) EXPECT_EQ(S_OK, Draw(out, &to, source, nullptr, true));
    const tFixedRect to = Whole(8, 8), thin{0, 0, kPixel - 1, 8 * kPixel}, outside{8 * kPixel, 0, 9 * kPixel, kPixel};
    EXPECT_EQ(S_OK, Draw(out, &to, source, &thin, true));
    EXPECT_EQ(S_OK, Draw(out, &to, source, &outside, true));
    ExpectSame(out, before);
}

TEST(Stretch, PartsOfTheOutputGetWhatTheWholeGets) {
    CTestPicture source(50, 30, 4), whole(40, 25, 4), part(40, 25, 4);
    source.Fill(5, true);
    for (const bool smooth : {false, true}) {
        const tFixedRect to{5000, -9000, 37 * kPixel + 17, 22 * kPixel};
        ASSERT_EQ(S_OK, Draw(whole, &to, source, nullptr, smooth));
        for (LONG y = 0; y < 25; y += 5)
            for (LONG x = 0; x < 40; x += 10)
                ASSERT_EQ(S_OK, KwDibStretchBlit(part.At(x, y), {10, 5}, part.Stride(), &to, {-x * kPixel, -y * kPixel},
                                                 source.At(0, 0), {50, 30}, source.Stride(), nullptr, 4, smooth));
        ExpectSame(part, whole);
    }
}

} // namespace
