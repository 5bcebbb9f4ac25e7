#include "kernels/broadcast.h"

#include <cmath>

#include "effects/pictures.h"

namespace {

using namespace effect_test;

const EffectInfo& info() {
    return module().find("DXTBroadcastColors");
}

Surface Render(const tBROADCASTPROP& record, const Surface& input) {
    Effect effect = module().create(info());
    SetRecord(effect, record);
    const Surface output = Surface::create(kBytes, input.view().width, input.view().height);
    EXPECT_TRUE(effect.render(std::span(&input, 1), output));
    return output;
}

Surface RowOf(const std::vector<tPixel8>& pixels) {
    Surface surface = Surface::create(kBytes, static_cast<int>(pixels.size()), 1);
    std::memcpy(surface.view().data, pixels.data(), pixels.size() * 4);
    return surface;
}

/// Luma and the amplitude of chroma, IRE.
struct tLevel {
    double luma, chroma;
};
tLevel LevelOf(tPixel8 p, const tBROADCASTPROP& record) {
    const double setup = record.setup ? 7.5 : 0, black = record.studioRGB ? 16 : 0;
    const double perCode = (100 - setup) / (record.studioRGB ? 219 : 255);
    const double y = 0.299 * p.r + 0.587 * p.g + 0.114 * p.b;
    const double u = p.b * 0.436 - p.g * 0.289 - p.r * 0.147, v = p.r * 0.615 - p.g * 0.515 - p.b * 0.1;
    return {(y - black) * perCode + setup, std::hypot(u, v) * perCode};
}

TEST(BroadcastColors, EachPresetBringsEveryColourInsideItsLimits) {
    std::vector<tPixel8> cube;
    for (int b = 0; b < 256; b += 5)
        for (int g = 0; g < 256; g += 15)
            for (int r = 0; r < 256; r += 5)
                cube.push_back(
                    {static_cast<std::uint8_t>(b), static_cast<std::uint8_t>(g), static_cast<std::uint8_t>(r), 255});
    const Surface input = RowOf(cube);
    // What is lost in codes and in whole steps of luma, IRE.
    constexpr double kRounding = 0.9;
    for (const auto& preset : info().presets)
        for (const LONG studio : {0, 1}) {
            auto record = RecordOf<tBROADCASTPROP>(preset.record);
            record.studioRGB = studio;
            const Surface output = Render(record, input);
            double lowest = 1e9, highest = -1e9, darkest = 1e9, brightest = -1e9, chroma = 0;
            for (std::size_t i = 0; i < cube.size(); ++i) {
                const tLevel level = LevelOf(PixelAt(output, static_cast<int>(i), 0), record);
                lowest = std::min(lowest, level.luma - level.chroma);
                highest = std::max(highest, level.luma + level.chroma);
                darkest = std::min(darkest, level.luma);
                brightest = std::max(brightest, level.luma);
                chroma = std::max(chroma, level.chroma);
            }
            SCOPED_TRACE(preset.name);
            EXPECT_GE(lowest, record.compositeMin - kRounding);
            EXPECT_LE(highest, record.compositeMax + kRounding);
            EXPECT_GE(darkest, record.lumaMin - kRounding);
            EXPECT_LE(brightest, record.lumaMax + kRounding);
            EXPECT_LE(2 * chroma, record.chromaMax + kRounding);
            EXPECT_EQ(preset.name == "Reset to None", PixelsOf(input) == PixelsOf(output));
        }
}

TEST(BroadcastColors, WorkedPixels) {
    struct tCase {
        const char* what;
        tBROADCASTPROP record;
        tPixel8 in, out;
    };
    const tBROADCASTPROP strict{.compositeMax = 100, .setup = 0};
    const tCase cases[] = {
        {"white above the limit", {}, {255, 255, 255, 255}, {235, 235, 235, 255}},
        {"grey is not rounded", {}, {101, 101, 101, 255}, {101, 101, 101, 255}},
        {"a failing clear pixel", {}, {255, 255, 255, 0}, {0, 0, 0, 0}},
        {"colour held to alpha", {}, {255, 255, 255, 90}, {90, 90, 90, 90}},
        // Y 177.2, room 22.8, amplitude 89.46: chroma times 0.2549 around code 210.3.
        {"yellow under a low ceiling", strict, {16, 235, 235, 255}, {160, 216, 216, 255}},
        {"black below 7.5 IRE", {.lumaMin = 15, .setup = 1}, {16, 16, 16, 255}, {34, 34, 34, 255}},
    };
    for (const tCase& c : cases) {
        const tPixel8 actual = PixelAt(Render(c.record, RowOf({c.in})), 0, 0);
        EXPECT_EQ(0, std::memcmp(&c.out, &actual, 4))
            << c.what << ": " << int{actual.b} << ", " << int{actual.g} << ", " << int{actual.r};
    }
}

TEST(BroadcastColors, WorksInPlaceWithoutAnInput) {
    const Surface input = Random(kBytes, 61, 23, 1), output = CopyOf(input);
    Effect effect = module().create(info());
    SetRecord(effect, tBROADCASTPROP{.lumaMax = 60});
    ASSERT_TRUE(effect.render({}, output));
    EXPECT_EQ(PixelsOf(Render({.lumaMax = 60}, input)), PixelsOf(output));
}

} // namespace
