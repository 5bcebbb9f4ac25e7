#include "kernels/broadcast.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/arith.h"
#include "kernels/picture.h"

namespace {

TEST(Broadcast, AllBytesStayInsideTheTables) {
    for (const LONG flags : {0, 1, 2, 3}) {
        tBroadcastTables t;
        const tBroadcastPass pass = KwBuildBroadcastTables({.setup = flags & 1, .studioRGB = flags >> 1}, t);
        for (int corner = 0; corner < 8; ++corner) {
            const int b = corner & 1 ? 255 : 0, g = corner & 2 ? 255 : 0, r = corner & 4 ? 255 : 0;
            const double y = t.weightB[b] + t.weightR[r] + t.weightG[g];
            EXPECT_GE(static_cast<int>(y + 0.5), -16);
            EXPECT_LE(static_cast<int>(y + 0.5), 219);
        }
        EXPECT_LT(static_cast<int>(2 * std::sqrt(25999.205849999995) * pass.perUnit + 0.5), 296);
    }
}

TEST(Broadcast, HardLimitsHaveNoKnees) {
    tBroadcastTables t;
    const tBroadcastPass pass = KwBuildBroadcastTables({}, t);
    for (int i = -16; i < 220; ++i) EXPECT_EQ(i < 0 ? 0.0 : i < 200 ? -3454.0 : 200.0, t.lumaOut[i + 16]) << i;
    for (int i = 0; i < 296; ++i) EXPECT_EQ(i == 0 ? 0.0 : i < 200 ? 1.0 : 200.0 / i, t.chromaScale[i]) << i;
    for (int i = 0; i < 240; ++i) EXPECT_EQ(i == 0 ? 0.0 : i < 200 ? 1.0 : 200.0 / i, t.compositeScale[i]) << i;
    EXPECT_EQ(1.0, pass.lowKnee);
    EXPECT_EQ(100.0, pass.half);
}

/// The tables of a record whose values a page lets through, limit by limit as the rules read, with knees by the general
/// Hermite solve: ends y0 and y1 with slopes 0 and 1, `n` apart.
class CKnees {
  public:
    explicit CKnees(const tBROADCASTPROP& r) {
        const double black = r.studioRGB ? 16 : 0, white = r.studioRGB ? 235 : 255, setup = r.setup ? 15 : 0;
        const double perCode = (200 - setup) / (white - black);
        const double lo = 2 * r.lumaMin, hi = 2 * r.lumaMax, c = 2 * r.chromaMax;
        const double lowest = -black * perCode + setup, highest = (255 - black) * perCode + setup;
        const int a = Near(lo), b = Near(hi), mid = (a + b) / 2;
        int kneeLow = a, kneeHigh = a, topLow = b, topHigh = b;
        if (lowest + 2 < lo && r.lumaMinSmooth > 0) {
            const double room = lo - lowest, share = std::min(1.0, (mid - lo) / room);
            kneeHigh = Near(Near(room) * r.lumaMinSmooth * share) + a;
            if (kneeHigh != a) {
                kneeLow = std::max(a - Near(room), -16);
                kneeHigh = std::min(kneeHigh, mid);
                if ((kneeHigh - kneeLow) / 3.0 >= kneeHigh - lo) kneeLow = kneeHigh - int((kneeHigh - lo) * 3);
            }
        }
        if (hi + 2 < highest && r.lumaMaxSmooth > 0) {
            const double room = highest - hi, share = std::min(1.0, (hi - mid) / room);
            topLow = b - Near(Near(room) * share * r.lumaMaxSmooth);
            if (topLow != b) {
                topHigh = std::min(b + Near(room), 220);
                topLow = std::max(topLow, mid);
                if ((topHigh - topLow) / 3.0 >= hi - topLow) topHigh = int((hi - topLow) * 3) + topLow;
            }
        }
        for (int i = -16; i < 220; ++i)
            luma.push_back(i < kneeLow    ? lo
                           : i < kneeHigh ? Hermite(kneeHigh - kneeLow, lo, kneeHigh, i - kneeLow)
                           : i < topLow   ? tBroadcastTables::kUnchanged
                           : i < topHigh  ? Hermite(topLow - topHigh, hi, topLow, i - topHigh)
                                          : hi);
        int top = Near(c), knee = top;
        const double most = std::sqrt(25999.205849999995) * perCode * 2;
        if (c >= 1 && c + 2 < most && r.chromaMaxSmooth > 0) {
            const double room = most - c;
            const int d = Near(Near(room) * std::min(1.0, (c - 1) / room) * r.chromaMaxSmooth);
            knee = top - d;
            if (d != 0) {
                top = std::min(top + Near(room), 296);
                knee = std::max(knee, 1);
                if ((top - knee) / 3.0 >= c - knee) top = int((c - knee) * 3) + knee;
            }
        }
        Gains(chroma, 296, knee, top, c);
        for (const double smooth : {r.compositeMinSmooth, r.compositeMaxSmooth}) {
            int from = 200, to = 200;
            if (smooth > 0) from = std::max(200 - Near(smooth * 40), 1);
            if (from != 200) to = (240 - from) / 3.0 < 200 - from ? 240 : (300 - from) * 2;
            Gains(composite, 240, from, to, 200);
        }
    }

    std::vector<double> luma, chroma, composite;

  private:
    static int Near(double v) { return static_cast<int>(v + 0.5); }
    static double Hermite(double n, double y0, double y1, double x) {
        const double t = y1 - y0, c3 = (t - n * 0.5) / (n * n * n * -0.5), c2 = (t - n / 3) / (n * n / 3);
        return c3 * x * x * x + c2 * x * x + y0;
    }
    static void Gains(std::vector<double>& table, int count, int knee, int top, double limit) {
        for (int i = 0; i < count; ++i)
            table.push_back(i == 0     ? 0.0
                            : i < knee ? 1.0
                            : i < top  ? Hermite(knee - top, limit, knee, i - top) / i
                                       : limit / i);
    }
};

TEST(Broadcast, KneesFollowTheirRules) {
    for (const double smooth : {0.004, 0.1, 0.33, 0.5, 0.77, 1.0})
        for (const double narrow : {0.0, 7.5, 20.25, 40.0})
            for (const LONG flags : {0, 1, 2, 3}) {
                const tBROADCASTPROP record{.lumaMin = narrow,
                                            .lumaMinSmooth = smooth,
                                            .lumaMax = 110 - narrow,
                                            .lumaMaxSmooth = 1.004 - smooth,
                                            .chromaMax = 148 - 3.5 * narrow,
                                            .chromaMaxSmooth = smooth,
                                            .compositeMinSmooth = smooth,
                                            .compositeMaxSmooth = 1.004 - smooth,
                                            .setup = flags & 1,
                                            .studioRGB = flags >> 1};
                SCOPED_TRACE(testing::Message() << smooth << " " << narrow << " " << flags);
                tBroadcastTables t;
                KwBuildBroadcastTables(record, t);
                const CKnees knees(record);
                const auto same = [](const std::vector<double>& expected, const double* actual) {
                    for (std::size_t i = 0; i < expected.size(); ++i)
                        ASSERT_NEAR(expected[i], actual[i], 1e-9) << "entry " << i;
                };
                same(knees.luma, t.lumaOut);
                same(knees.chroma, t.chromaScale);
                same(knees.composite, t.compositeScale);
            }
}

TEST(Broadcast, WorkedPixels) {
    tBroadcastTables t;
    const auto run = [&](const tBROADCASTPROP& record, tPixel8 pixel) {
        CTestPicture picture(1, 1, 4);
        picture.Pixel8(0, 0) = pixel;
        EXPECT_EQ(S_OK, KwDibBroadcast(picture.View(), 4, KwBuildBroadcastTables(record, t)));
        return picture.Pixel8(0, 0);
    };
    const tPixel8 white = run({}, {255, 255, 255, 255});
    EXPECT_EQ(235, white.b);
    EXPECT_EQ(235, white.g);
    EXPECT_EQ(235, white.r);
    const tPixel8 grey = run({}, {101, 101, 101, 255});
    EXPECT_EQ(101, grey.g);
    const tPixel8 clear = run({}, {255, 255, 255, 0});
    EXPECT_EQ(0, clear.b | clear.g | clear.r);
    EXPECT_DOUBLE_EQ(15.0, (KwBuildBroadcastTables({}, t), t.weightB[16] + t.weightR[16] + t.weightG[16]));
}

TEST(Broadcast, RefusesFloatsAndKeepsToTheClip) {
    tBroadcastTables t;
    const tBroadcastPass pass = KwBuildBroadcastTables({.lumaMin = 30, .lumaMax = 31}, t);
    CTestPicture floats(3, 3, 16);
    CTestPicture untouched = floats.Fill(1);
    EXPECT_EQ(E_NOTIMPL, KwDibBroadcast(floats.View(), 16, pass));
    ExpectSame(floats, untouched);

    CTestPicture whole(90, 11, 4);
    whole.Fill(2);
    CTestPicture bands = whole;
    KwDibBroadcast(whole.View(), 4, pass);
    for (const RECT& clip : {RECT{0, 0, 90, 3}, RECT{0, 3, 31, 11}, RECT{31, 3, 200, 11}})
        KwDibBroadcast(bands.View(&clip), 4, pass);
    ExpectSame(bands, whole);
}

} // namespace
