// Bodies that compute with less than the definition's digits and settle what lies near a step the long way: on more
// pixels than the rig has, and with settings whose steps pixels meet exactly.
#include "base/level.h"
#include "kernels/broadcast.h"
#include "kernels/chroma_key.h"
#include "kernels/clock.h"
#include "kernels/copy.h"
#include "kernels/picture.h"

namespace {

using V = const tView&;

struct tQuickRow {
    const char* name;
    HRESULT (*run)(const tView& out, const tView& in);
};
std::ostream& operator<<(std::ostream& out, const tQuickRow& row) {
    return out << row.name;
}

HRESULT QuickClock(const tView& out, const tView& in, double feather, double progress) {
    const tCLOCKPROP prop{0, 0, feather};
    return KwDibClock(out, in, 4, &prop, progress);
}

HRESULT QuickKey(const tView& out, const tView& in, float low, float high) {
    tCHROMAKEYPROP record;
    record.transparencyMask.lowThreshold = low;
    record.transparencyMask.highThreshold = high;
    return KwDibChromaKey(out, in, 4, record);
}

HRESULT QuickBroadcast(const tView& out, const tView& in, const tBROADCASTPROP& record) {
    KwDibCopy(out, in, 4);
    tBroadcastTables tables;
    return KwDibBroadcast(out, 4, KwBuildBroadcastTables(record, tables));
}

constexpr tQuickRow kQuickRows[] = {
    {"clock, hard", [](V out, V in) { return QuickClock(out, in, 0.0, 0.4); }},
    {"clock, narrow", [](V out, V in) { return QuickClock(out, in, 2.0, 0.9); }},
    {"clock, wide", [](V out, V in) { return QuickClock(out, in, 220.0, 0.45); }},
    {"keyer", [](V out, V in) { return QuickKey(out, in, 0.0f, 1.0f); }},
    {"keyer, steep", [](V out, V in) { return QuickKey(out, in, 0.4f, 0.42f); }},
    {"keyer, one step", [](V out, V in) { return QuickKey(out, in, 0.4f, 0.4f); }},
    {"limits", [](V out, V in) { return QuickBroadcast(out, in, {}); }},
    {"limits, narrow",
     [](V out, V in) {
         return QuickBroadcast(
             out, in,
             {.lumaMin = 10, .lumaMax = 80, .chromaMax = 60, .compositeMin = 5, .compositeMax = 80, .studioRGB = 0});
     }},
    {"limits, crossed",
     [](V out, V in) {
         return QuickBroadcast(
             out, in,
             {.lumaMin = 30, .lumaMax = 90, .chromaMax = 40, .compositeMin = 35, .compositeMax = 85, .setup = 0});
     }},
};

/// Among the few of all colors where floats alone would give a wrong byte within the limits above.
constexpr std::uint32_t kCloseColors[10] = {0x11A9E9, 0x30F02D, 0x49E4D7, 0x05AEB0, 0x0DBF84,
                                            0x3AF69F, 0x78CCA4, 0xABAEFD, 0x02DE6B, 0x0EF5E6};

class Quick : public testing::TestWithParam<tQuickRow> {
  protected:
    void TearDown() override { KwLimitLevel(m_before); }
    eKwLevel m_before = KwLevel();
};

TEST_P(Quick, GivesThePlainBytes) {
    const auto drawn = [&](eKwLevel level) {
        KwLimitLevel(level);
        CTestPicture in(640, 400, 4), out(640, 400, 4);
        std::uint32_t color = 1;
        for (LONG y = 0; y < in.Height(); ++y)
            for (LONG x = 0; x < in.Width(); ++x) {
                const bool ends = x % 64 == 63;
                if (y % 2 || ends) color = color * 69069 + 1; // every other row is of flat blocks
                std::uint32_t pixel = color;
                if (y == 0 && ends) pixel = kCloseColors[x / 64];
                if (y % 4 == 2) pixel = static_cast<std::uint32_t>(y * 3 + x / 64) % 256 * 0x010101;
                pixel |= 0xFF000000;
                std::memcpy(in.At(x, y), &pixel, 4);
            }
        EXPECT_EQ(S_OK, GetParam().run(out.View(), in.View()));
        return out;
    };
    CTestPicture plain = drawn(eKwLevel::Plain);
    for (const eKwLevel level : KwLevels()) {
        CTestPicture other = drawn(level);
        EXPECT_TRUE(other == plain) << KwLevelName(level) << ", " << plain.FirstDifference(other);
    }
}
INSTANTIATE_TEST_SUITE_P(Table, Quick, testing::ValuesIn(kQuickRows));

} // namespace
