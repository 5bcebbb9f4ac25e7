#include "effects/pictures.h"
#include "kernels/chroma_key.h"

namespace {

using namespace effect_test;

const EffectInfo& info() {
    return module().find("DXTChromaKeyFilter");
}

Surface Render(const tCHROMAKEYPROP& record, const Surface& input) {
    Effect effect = module().create(info());
    SetRecord(effect, record);
    Surface output = Surface::create(input.view().format, input.view().width, input.view().height);
    EXPECT_TRUE(effect.render(std::span(&input, 1), output));
    return output;
}

tPixel8 Keyed(const tCHROMAKEYPROP& record, tPixel8 pixel) {
    Surface input = Surface::create(kBytes, 1, 1);
    std::memcpy(input.view().data, &pixel, 4);
    return PixelAt(Render(record, input), 0, 0);
}

void ExpectPixel(tPixel8 expected, tPixel8 actual) {
    EXPECT_EQ(0, std::memcmp(&expected, &actual, 4))
        << int{actual.b} << ", " << int{actual.g} << ", " << int{actual.r} << ", " << int{actual.a};
}

constexpr tCHROMAKEYPROP kGreenKey{.blue = 0, .green = 1, .red = 0};

TEST(ChromaKeyer, WorkedPixels) {
    ExpectPixel({0, 0, 0, 0}, Keyed(kGreenKey, {0, 255, 0, 255}));
    // Distance (0.2157 * root of 3 + 0.1078 / 3) / 2 = 0.20476; the spill goes with green.
    ExpectPixel({0, 0, 0, 52}, Keyed(kGreenKey, {0, 200, 0, 255}));
    ExpectPixel({199, 29, 29, 255}, Keyed(kGreenKey, {200, 90, 30, 255})); // (c * 255) >> 8, green held to red
    ExpectPixel({0, 0, 0, 0}, Keyed(kGreenKey, {0, 0, 0, 0}));
    ExpectPixel({0, 0, 63, 128}, Keyed(kGreenKey, {0, 0, 64, 128})); // red 127 before it is multiplied again
    tCHROMAKEYPROP mask = kGreenKey;
    mask.maskOnly = 2;
    ExpectPixel({52, 52, 52, 52}, Keyed(mask, {0, 200, 0, 255}));
    tCHROMAKEYPROP equal = kGreenKey;
    equal.transparencyMask = {0, 0};
    ExpectPixel({0, 0, 0, 0}, Keyed(equal, {0, 255, 0, 255}));
    // No correction for a red key.
    ExpectPixel({9, 199, 0, 255}, Keyed({.blue = 0, .green = 0, .red = 1}, {10, 200, 0, 255}));
}

TEST(ChromaKeyer, EachPresetClearsItsScreenAndKeepsTheRest) {
    const tPixel8 screens[] = {
        {241, 71, 24, 255}, {24, 244, 41, 255}, {0, 0, 255, 255}, {0, 255, 0, 255}, {255, 0, 0, 255}};
    ASSERT_EQ(std::size(screens), info().presets.size());
    for (std::size_t i = 0; i < std::size(screens); ++i) {
        const auto record = RecordOf<tCHROMAKEYPROP>(info().presets[i].record);
        ExpectPixel({0, 0, 0, 0}, Keyed(record, screens[i]));
        const tPixel8 opposite{static_cast<std::uint8_t>(255 - screens[i].b),
                               static_cast<std::uint8_t>(255 - screens[i].g),
                               static_cast<std::uint8_t>(255 - screens[i].r), 255};
        EXPECT_EQ(255, Keyed(record, opposite).a);
    }
    const auto defaults = RecordOf<tCHROMAKEYPROP>(info().defaults);
    EXPECT_EQ(0.94509804f, defaults.blue);
    EXPECT_EQ(0.2784314f, defaults.green);
    EXPECT_EQ(0.09411765f, defaults.red);
    EXPECT_EQ(1.0f, defaults.alpha);
    EXPECT_EQ(0.0f, RecordOf<tCHROMAKEYPROP>(info().presets[0].record).alpha);
}

TEST(ChromaKeyer, IsItsKernelOnAPicture) {
    constexpr RECT frame{0, 0, 150, 90};
    const Surface input = Random(kBytes, 150, 90, 1);
    for (const float blur : {0.0f, 0.1f})
        for (const LONG maskOnly : {0, 1}) {
            const tCHROMAKEYPROP record{.maskOnly = maskOnly,
                                        .colorCorrectionMask = {0.9f, 0.1f, 0.5f, 0.7f},
                                        .transparencyMask = {0.2f, 0.7f, 0.3f, blur}};
            const Surface expected = Surface::create(kBytes, 150, 90);
            ASSERT_EQ(S_OK, KwDibChromaKey(ViewOf(expected, frame), ViewOf(input, frame), 4, record));
            EXPECT_EQ(PixelsOf(expected), PixelsOf(Render(record, input)));
        }
}

TEST(ChromaKeyer, RefusesFloatsBeforeItCopies) {
    const Surface input = Random(kFloats, 12, 9, 2), output = Random(kFloats, 12, 9, 3);
    const auto before = PixelsOf(output);
    Effect effect = module().create(info());
    try {
        effect.render(std::span(&input, 1), output);
        FAIL() << "floats were taken";
    } catch (const larkmoor::StatusError& error) {
        EXPECT_EQ(E_NOTIMPL, error.code());
    }
    EXPECT_EQ(before, PixelsOf(output));
}

TEST(ChromaKeyer, CopiesAroundTheClip) {
    const Surface input = Random(kBytes, 40, 30, 4), output = Surface::create(kBytes, 40, 30);
    const RECT clip{7, 5, 31, 22};
    const POINT place{7, 5};
    Effect effect = module().create(info());
    SetRecord(effect, kGreenKey);
    ASSERT_TRUE(effect.render(std::span(&input, 1), output, &clip, &place));
    const Surface whole = Render(kGreenKey, input);
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 40; ++x) {
            const bool inside = x >= 7 && x < 31 && y >= 5 && y < 22;
            ExpectPixel(PixelAt(inside ? whole : input, x, y), PixelAt(output, x, y));
        }
}

TEST(ChromaKeyer, RampMovesTheNumbersAndKeepsTheWholes) {
    const tCHROMAKEYPROP from{.blue = 0, .green = 1, .red = 0},
        to{.blue = 0.5f, .green = 0.5f, .red = 0, .maskOnly = 1, .transparencyMask = {0.5f, 0.75f, 0, 0.25f}};
    const tCHROMAKEYPROP middle{
        .blue = 0.25f, .green = 0.75f, .red = 0, .transparencyMask = {0.25f, 0.875f, 0, 0.125f}};
    const Surface input = Random(kBytes, 50, 40, 5), output = Surface::create(kBytes, 50, 40);
    Effect effect = module().create(info());
    effect.setRamp(std::as_bytes(std::span(&from, 1)), std::as_bytes(std::span(&to, 1)));
    effect.setRampPosition(0.5);
    ASSERT_TRUE(effect.render(std::span(&input, 1), output));
    EXPECT_EQ(PixelsOf(Render(middle, input)), PixelsOf(output));
}

} // namespace
