#include "kernels/broadcast.h"

#include <limits>

#include "base/arith.h"
#include "kernels/picture.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// The rule for one pixel, word for word, with the tables as built.
tPixel8 Limited(tPixel8 p, const tBROADCASTPROP& record, const tBroadcastPass& pass) {
    const tBroadcastTables& t = *pass.tables;
    const double perUnit = 2 * (100 - (record.setup ? 7.5 : 0)) / (record.studioRGB ? 219 : 255);
    const double upper = 2 * record.compositeMax, lower = 2 * record.compositeMin;
    const double Y = t.weightB[p.b] + t.weightR[p.r] + t.weightG[p.g];
    double U = p.b * 0.436 - (p.g * 0.289 + p.r * 0.147), V = p.r * 0.615 - p.g * 0.515 - p.b * 0.1;
    const int i = static_cast<int>(Y + 0.5);
    EXPECT_TRUE(i >= -16 && i <= 219);
    double up = upper - Y, down = Y - lower;
    bool touched = false;
    if (t.lumaOut[i + 16] != -3454.0) {
        up = upper - t.lumaOut[i + 16];
        down = t.lumaOut[i + 16] - lower;
        touched = true;
    } else {
        const double a = (std::fabs(V) + std::fabs(U)) * perUnit;
        if (a < up && a < down && a < pass.half) return p;
    }
    const bool low = down < up;
    const double room = low ? down : up, k = low ? pass.lowKnee : pass.highKnee;
    double q = (U * U + V * V) * (perUnit * perUnit);
    if (q >= pass.quarter) {
        const double s = t.chromaScale[static_cast<int>(2 * std::sqrt(q) + 0.5)];
        U *= s;
        V *= s;
        q *= s * s;
        touched = true;
    }
    if (q > 0 && q >= (k * room) * (k * room)) {
        double r = room / std::sqrt(q);
        if (r > 5.0 / 6.0) r = t.compositeScale[static_cast<int>(200 / r) + (low ? 0 : 240)];
        U *= r;
        V *= r;
    } else if (!touched) {
        return p;
    }
    const double L = t.lumaCode[i + 16];
    const auto byte = [&](double v) { return static_cast<std::uint8_t>(KwClamp(KwTrunc(v), 0, int{p.a})); };
    return {byte(U * 2.032 + L), byte(L - U * 0.394 - V * 0.581), byte(V * 1.14 + L), p.a};
}

std::vector<tBROADCASTPROP> Records() {
    std::vector<tBROADCASTPROP> records = {
        {},
        {.lumaMin = -8, .lumaMax = 110, .chromaMax = 148, .compositeMin = -47, .compositeMax = 148},
        {.compositeMax = 100, .setup = 0},
        {.lumaMin = 7.5, .compositeMax = 100, .studioRGB = 0},
        {.lumaMin = 20, .lumaMax = 60, .chromaMax = 0, .compositeMin = 20, .compositeMax = 60},
    };
    for (const double smooth : {0.01, 0.3, 0.7, 1.0})
        for (const LONG flags : {0, 1, 2, 3})
            records.push_back({.lumaMin = 10,
                               .lumaMinSmooth = smooth,
                               .lumaMax = 90,
                               .lumaMaxSmooth = smooth,
                               .chromaMax = 60,
                               .chromaMaxSmooth = smooth,
                               .compositeMin = -10,
                               .compositeMinSmooth = smooth,
                               .compositeMax = 95,
                               .compositeMaxSmooth = smooth,
                               .setup = flags & 1,
                               .studioRGB = flags >> 1});
    for (int field = 0; field < 10; ++field)
        for (const double wild : {kNaN, kInf, -kInf, 1e300, -1e300, -1727.0, 0.5, 1e9, -1e9, 1.0}) {
            tBROADCASTPROP record = records[5 + static_cast<std::size_t>(field) % 4];
            reinterpret_cast<double*>(&record)[field] = wild;
            records.push_back(record);
        }
    return records;
}

TEST(Broadcast, FollowsTheRuleForEveryRecord) {
    CTestPicture source(67, 40, 4);
    source.Fill(5, true);
    source.Pixel8(0, 0) = {0, 0, 0, 255};
    source.Pixel8(1, 0) = {255, 255, 255, 255};
    source.Pixel8(2, 0) = {255, 0, 0, 255};
    source.Pixel8(3, 0) = {0, 0, 255, 255};
    for (const tBROADCASTPROP& record : Records()) {
        tBroadcastTables tables;
        const tBroadcastPass pass = KwBuildBroadcastTables(record, tables);
        CTestPicture actual = source, expected = source;
        for (LONG y = 0; y < 40; ++y)
            for (LONG x = 0; x < 67; ++x) expected.Pixel8(x, y) = Limited(source.Pixel8(x, y), record, pass);
        ASSERT_EQ(S_OK, KwDibBroadcast(actual.View(), 4, pass));
        ExpectSame(actual, expected);
    }
}

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

TEST(Broadcast, KneesAreMonotonicAndMeetTheirEnds) {
    for (const double smooth : {0.1, 0.5, 1.0}) {
        tBroadcastTables t;
        KwBuildBroadcastTables({.lumaMin = 10,
                                .lumaMinSmooth = smooth,
                                .lumaMax = 90,
                                .lumaMaxSmooth = smooth,
                                .chromaMax = 60,
                                .chromaMaxSmooth = smooth,
                                .compositeMinSmooth = smooth,
                                .compositeMaxSmooth = smooth,
                                .setup = 0},
                               t);
        double before = t.lumaOut[0];
        EXPECT_EQ(20.0, before);
        EXPECT_EQ(180.0, t.lumaOut[235]);
        for (int i = 1; i < 236; ++i) {
            const double level = t.lumaOut[i] == -3454.0 ? i - 16 : t.lumaOut[i];
            EXPECT_GE(level, before - 0.5) << i - 16;
            EXPECT_LE(level, before + 2.0) << i - 16;
            before = level;
        }
        for (int i = 2; i < 296; ++i) EXPECT_GE(t.chromaScale[i] * i, t.chromaScale[i - 1] * (i - 1) - 1e-9) << i;
        for (int i = 2; i < 240; ++i) EXPECT_LE(t.compositeScale[i] * i, 200.0 + 1e-9) << i;
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
