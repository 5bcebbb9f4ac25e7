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

} // namespace
