#include "kernels/broadcast.h"

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
