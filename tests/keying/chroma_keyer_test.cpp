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

} // namespace
