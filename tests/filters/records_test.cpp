// Filters that map each pixel by itself: records beyond those of presets and pages, whose bytes stand as digests in
// tests/data/records.txt, and pixels worked by hand.
#include "digest.h"
#include "filter.h"
#include "kernels/gamut.h"
#include "kernels/hsl_adjust.h"
#include "kernels/mask_generator.h"
#include "kernels/sepia.h"

namespace {

constexpr const char* kGamut = "(Legacy Plug-In) Broadcast Colors";

/// The records that are no headers', as hosts know them.
struct tBRIGHTCONTRASTPROP {
    double brightness, contrast, contrastCenter;
};
struct tGAMUTPROP {
    double lowBound, highBound;
    LONG invert, smoothUpper, smoothLow, reserved;
};

/// Renders pictures of both forms, odd sizes, whole and clipped, colours beyond alpha and floats beyond 0 to 1 among
/// them. A clip's surroundings count too: some filters work on the whole frame.
std::string DigestOf(const char* name, const std::vector<std::byte>& record) {
    Digest digest;
    larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find(name));
    effect.setRecord(record);
    for (const LONG form : {4, 16})
        for (const auto& [width, height] : {std::pair{1, 1}, {1, 7}, {67, 9}, {1100, 3}})
            for (const bool clipped : {false, true}) {
                CTestPicture input(width, height, form), output(width, height, form);
                input.Fill(static_cast<unsigned>(width) + 3, clipped);
                output.Fill(99);
                const RECT clip{width / 3, height / 4, width - width / 4, height};
                const auto format =
                    form == 4 ? larkmoor::PixelFormat::PremultipliedArgb32 : larkmoor::PixelFormat::Float128;
                digest.add(static_cast<DWORD>(Render(effect, input, output, format, clipped ? &clip : nullptr)));
                output.CheckGuards();
                for (LONG y = 0; y < height; ++y)
                    digest.add(std::span(reinterpret_cast<std::byte*>(output.At(0, y)),
                                         static_cast<std::size_t>(width * form)));
            }
    return digest.text();
}

template <class Record>
void ExpectDigests(const char* name, const std::vector<Record>& records) {
    std::string digests;
    for (const Record& record : records) digests += (digests.empty() ? "" : " ") + DigestOf(name, BytesOf(record));
    expectRow("records.txt", name, digests);
}

TEST(FilterRecords, RefusedFloatsLeaveTheRecordUntaken) {
    for (const char* name : {"Brightness and Contrast", "Chroma Keyer"}) {
        larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find(name));
        const auto persist = KwQuery<IPersistStreamInit>(effect.object());
        CTestPicture input(3, 2, 16), output(3, 2, 16);
        EXPECT_EQ(E_NOTIMPL, Render(effect, input, output, larkmoor::PixelFormat::Float128)) << name;
        EXPECT_EQ(S_OK, persist->IsDirty()) << name;
    }
}

TEST(FilterRecords, GiveTheSameBytesEverywhere) {
    ExpectDigests<double>("Black and White", {0.998, -0.004, 1.5, -2.0});
    ExpectDigests<double>("Black Restore", {0.0, 0.02, 0.3, 0.75, 1.0, 7.0, -1.0});
    ExpectDigests<float>("Threshold", {0.0f, 1.0f, -3.0f, 0.9999f});
    ExpectDigests<tBRIGHTCONTRASTPROP>("Brightness and Contrast", {{1, 0, 0.5},
                                                                   {-1, 0, 0.5},
                                                                   {0, 1, 0.5},
                                                                   {0, -1, 0.5},
                                                                   {0.3, 0.7, 0},
                                                                   {-0.2, -0.7, 1},
                                                                   {0.00001, -0.00001, 0.5},
                                                                   {0.00002, 1, 0.2}});
    std::vector<tSEPIAPROP> tones;
    for (const double strength : {0.1, 0.3333333333333333, 0.3334, 0.6666666666666666, 0.6667, 1.0, 1.7, -0.4})
        for (const double falloff : {0.0, 0.2, 1.0, -0.5}) tones.push_back({{1, 0.2, 0.5, 0.3}, strength, falloff});
    ExpectDigests("Sepia", tones);
    std::vector<tGAMUTPROP> bounds;
    for (const double low : {0.0, 0.4, 1.0})
        for (const double high : {0.0, 0.37, 1.0})
            for (const LONG flags : {0, 1, 2, 3, 4, 5, 6, 7})
                bounds.push_back({low, high, flags & 1, flags & 2, flags & 4, 0});
    ExpectDigests(kGamut, bounds);
}

TEST(FilterRecords, WorkedPixels) {
    const auto gamut = [](LONG invert, LONG smoothLow, double highBound) {
        return BytesOf(tGAMUTPROP{0, highBound, invert, 1, smoothLow, 0});
    };
    const auto mask = [](LONG type, double lowIn, double lowOut, LONG invert) {
        return BytesOf(tMASKPROP{type, 0, lowIn, 1, lowOut, 1, invert, 0});
    };
    const struct {
        const char* effect;
        std::vector<std::byte> record;
        tPixel8 in, out;
    } rows[] = {
        {"Black and White", BytesOf(0.0), {0, 85, 255, 255}, {1, 86, 254, 255}}, // a little short at no grey at all
        {"Black Restore", BytesOf(0.02), {5, 5, 5, 255}, {0, 0, 0, 255}},
        {"Black Restore", BytesOf(0.02), {5, 5, 6, 255}, {5, 5, 6, 255}},
        {"HSL Adjust", BytesOf(tHSLADJUSTPROP{0.5, 1, 1}), {0, 0, 255, 255}, {255, 255, 0, 255}},
        {"HSL Adjust", BytesOf(tHSLADJUSTPROP{0, 0, 1}), {0, 0, 255, 255}, {127, 127, 127, 255}},
        {"Threshold", BytesOf(1.0f), {255, 0, 128, 255}, {0, 0, 0, 255}},
        {"Threshold", BytesOf(0.0f), {0, 1, 70, 70}, {70, 70, 70, 70}},
        {kGamut, gamut(0, 0, 1), {0, 215, 255, 255}, {0, 215, 235, 255}},
        {kGamut, gamut(0, 0, 1), {0, 200, 255, 128}, {0, 128, 128, 128}},
        {kGamut, gamut(0, 1, 0), {0, 128, 255, 255}, {16, 128, 235, 255}},
        {kGamut, gamut(1, 0, 1), {255, 100, 7, 255}, {235, 100, 248, 255}},
        {kGamut, gamut(1, 0, 1), {0, 5, 100, 10}, {255, 250, 245, 10}}, // not capped again
        {"Mask Generator", mask(1, 0, 0, 0), {255, 255, 255, 7}, {255, 255, 255, 255}},
        {"Mask Generator", mask(1, 0.5, 0.1, 0), {9, 9, 9, 200}, {25, 25, 25, 25}},
        {"Mask Generator", mask(0, 0, 0, -3), {9, 9, 9, 200}, {55, 55, 55, 55}},
    };
    for (const auto& row : rows) EXPECT_EQ(row.out, Through(row.effect, row.record, row.in)) << row.effect;
}

TEST(BlackAndWhite, WithoutAnInputWorksInPlace) {
    larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find("Black and White"));
    CTestPicture output(1, 1, 4);
    output.Pixel8(0, 0) = {10, 20, 60, 255};
    effect.render({}, SurfaceOn(output, larkmoor::PixelFormat::PremultipliedArgb32));
    EXPECT_EQ((tPixel8{30, 30, 30, 255}), output.Pixel8(0, 0));
}

// Both knees join without a step; the lower one is half way between the two lines where they meet.
TEST(Gamut, BothKneesJoin) {
    std::uint8_t table[256];
    BuildGamutCurve(table, 1.0, 1.0, true, true);
    EXPECT_EQ(16, table[0]);
    EXPECT_EQ(20, table[16]);
    EXPECT_EQ(32, table[32]);
    for (int i = 1; i < 256; ++i) EXPECT_LE(table[i - 1], table[i]) << i;
}

TEST(MaskGenerator, Refusals) {
    CTestPicture p(4, 4, 4), q(4, 5, 4);
    const tMASKPROP r{1, 0, 0, 1, 0, 1, 0, 0};
    EXPECT_EQ(E_INVALIDARG, KwDibMask(p.View(), p.View(), 4, nullptr));
    EXPECT_EQ(E_INVALIDARG, KwDibMask(p.View(), q.View(), 4, &r));
    EXPECT_EQ(E_POINTER, KwDibMask(p.View(), {nullptr, nullptr, 0, nullptr}, 4, &r));
}

} // namespace
