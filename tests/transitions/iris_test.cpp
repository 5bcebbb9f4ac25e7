#include "effects/pictures.h"
#include "kernels/shape_mix.h"

namespace {

using namespace effect_test;

const EffectInfo& info() {
    return module().find("DXTKwIris");
}

Surface Render(const tIRISINFO& record, float progress, const Surface& first, const Surface& second,
               unsigned processors = 1) {
    Effect effect = module().create(info(), processors);
    SetRecord(effect, record);
    effect.setProgress(progress);
    Surface output = Surface::create(first.view().format, first.view().width, first.view().height);
    output.setInfo(first.info());
    const Surface inputs[] = {first, second};
    EXPECT_TRUE(effect.render(inputs, output));
    return output;
}

/// The presets, and every shape in both directions.
std::vector<tIRISINFO> Records() {
    std::vector<tIRISINFO> records;
    for (const auto& preset : info().presets) records.push_back(RecordOf<tIRISINFO>(preset.record));
    for (LONG shape = -1; shape <= KW_SHAPE_COUNT; ++shape)
        for (const LONG direction : {0, 1}) {
            tIRISINFO record;
            record.shape = shape;
            record.direction = direction;
            record.feather = static_cast<float>(shape % 3) * 0.1f;
            record.border = static_cast<float>(shape % 2) * 0.2f;
            record.repeatX = shape % 4;
            records.push_back(record);
        }
    return records;
}

TEST(Iris, BeginsWithTheFirstPictureAndEndsWithTheSecond) {
    for (const PixelFormat format : {kBytes, kFloats}) {
        const Surface first = Random(format, 61, 47, 1), second = Random(format, 61, 47, 2);
        for (const tIRISINFO& record : Records()) {
            EXPECT_EQ(PixelsOf(first), PixelsOf(Render(record, 0, first, second))) << "shape " << record.shape;
            EXPECT_EQ(PixelsOf(second), PixelsOf(Render(record, 1, first, second))) << "shape " << record.shape;
        }
    }
}

TEST(Iris, InExchangesThePicturesAndRunsBackwards) {
    constexpr RECT frame{0, 0, 80, 50};
    for (const PixelFormat format : {kBytes, kFloats}) {
        Surface first = Random(format, 80, 50, 3), second = Random(format, 80, 50, 4);
        first.setInfo({1.25, 25.0, 0});
        for (const tIRISINFO& record : Records())
            for (const float progress : {0.1f, 0.37f, 0.8f}) {
                Surface expected = Surface::create(format, 80, 50);
                tIRISINFO copy = record;
                const bool in = record.direction == 1;
                const tView a = ViewOf(first, frame), b = ViewOf(second, frame);
                ASSERT_EQ(S_OK,
                          KwDibIris(ViewOf(expected, frame), in ? b : a, in ? a : b, larkmoor::bytesPerPixel(format),
                                    &copy, in ? 1 - double{progress} : double{progress}, false, 1.25));
                EXPECT_EQ(PixelsOf(expected), PixelsOf(Render(record, progress, first, second)))
                    << "shape " << record.shape << " progress " << progress;
            }
    }
}

TEST(Iris, BandsAndClipsAreInvisible) {
    const RECT clip{31, 17, 140, 101};
    const POINT place{31, 17};
    for (const PixelFormat format : {kBytes, kFloats}) {
        const Surface first = Random(format, 181, 160, 5), second = Random(format, 181, 160, 6);
        const Surface inputs[] = {first, second};
        for (const tIRISINFO& record : Records())
            for (const float progress : {0.06f, 0.3f, 0.62f}) {
                const Surface whole = Render(record, progress, first, second);
                ASSERT_EQ(PixelsOf(whole), PixelsOf(Render(record, progress, first, second, 4)))
                    << "shape " << record.shape << " progress " << progress;
                Effect effect = module().create(info(), 4);
                SetRecord(effect, record);
                effect.setProgress(progress);
                Surface part = Surface::create(format, 181, 160), expected = Surface::create(format, 181, 160);
                ASSERT_TRUE(effect.render(inputs, part, &clip, &place));
                const int size = larkmoor::bytesPerPixel(format);
                for (LONG y = clip.top; y < clip.bottom; ++y)
                    std::memcpy(expected.view().data + y * expected.view().stride + clip.left * size,
                                whole.view().data + y * whole.view().stride + clip.left * size,
                                static_cast<std::size_t>((clip.right - clip.left) * size));
                ASSERT_EQ(PixelsOf(expected), PixelsOf(part)) << "shape " << record.shape;
            }
    }
}

TEST(Iris, ShapesStandWhereTheyShould) {
    const Surface first = Random(kBytes, 200, 100, 7), second = Random(kBytes, 200, 100, 8);
    const auto sees = [](const Surface& out, const Surface& in, int x, int y) {
        const tPixel8 a = PixelAt(out, x, y), b = PixelAt(in, x, y);
        return std::memcmp(&a, &b, 4) == 0;
    };
    // Half the way to the corner, 111.8 pixels off, less a rim of 1.5.
    const Surface circle = Render({}, 0.5f, first, second);
    EXPECT_TRUE(sees(circle, second, 100, 50) && sees(circle, second, 155, 50) && sees(circle, second, 45, 50));
    EXPECT_TRUE(sees(circle, first, 158, 50) && sees(circle, first, 42, 50) && sees(circle, first, 150, 95));
    // Reach 100 and border 0.1 * 50: at half way 110 * 0.5 less the border of 5 on either side.
    tIRISINFO box{.border = 0.1f, .blue = 1, .red = 1, .shape = KW_SHAPE_RECTANGLE};
    const Surface framed = Render(box, 0.5f, first, second);
    EXPECT_TRUE(sees(framed, second, 144, 50) && sees(framed, first, 156, 50));
    const tPixel8 rim = PixelAt(framed, 150, 50);
    EXPECT_GE(rim.b, 254);
    EXPECT_LE(rim.g, 1);
    EXPECT_GE(rim.r, 254);
}

TEST(Iris, GoesOverTheOutputUnlessToldNotTo) {
    const Surface first = Random(kBytes, 50, 30, 9), second = Random(kBytes, 50, 30, 10);
    const Surface inputs[] = {first, second};
    const Surface before = Random(kBytes, 50, 30, 11);
    for (const bool over : {true, false}) {
        Effect effect = module().create(info());
        if (!over) BlendWithOutput(effect, false);
        const Surface output = CopyOf(before);
        ASSERT_TRUE(effect.render(inputs, output));
        for (int y = 0; y < 30; ++y)
            for (int x = 0; x < 50; ++x) {
                const tPixel8 r = PixelAt(first, x, y), o = PixelAt(before, x, y), actual = PixelAt(output, x, y);
                const auto expected = [&](int c, int was) { return over ? c + (((255 - r.a) * was + 127) >> 8) : c; };
                ASSERT_EQ(expected(r.b, o.b) & 255, actual.b);
                ASSERT_EQ(expected(r.a, o.a) & 255, actual.a);
            }
    }
}

TEST(Iris, RampMovesTheNumbersAndKeepsTheWholes) {
    tIRISINFO from{.repeatX = 2, .shape = KW_SHAPE_DIAMOND}, to{.centerX = 0.25f,
                                                                .centerY = 1,
                                                                .feather = 0.5f,
                                                                .border = 0.25f,
                                                                .blue = 1,
                                                                .alpha = 0,
                                                                .repeatX = 7,
                                                                .shape = KW_SHAPE_SQUARE,
                                                                .direction = 1};
    tIRISINFO middle = from;
    middle.centerX = 0.375f;
    middle.centerY = 0.75f;
    middle.feather = 0.25f;
    middle.border = 0.125f;
    middle.blue = 0.5f;
    middle.alpha = 0.5f;
    const Surface first = Random(kBytes, 70, 40, 12), second = Random(kBytes, 70, 40, 13);
    const Surface inputs[] = {first, second};
    Effect effect = module().create(info());
    effect.setRamp(std::as_bytes(std::span(&from, 1)), std::as_bytes(std::span(&to, 1)));
    effect.setRampPosition(0.5);
    effect.setProgress(0.4f);
    const Surface output = Surface::create(kBytes, 70, 40);
    ASSERT_TRUE(effect.render(inputs, output));
    EXPECT_EQ(PixelsOf(Render(middle, 0.4f, first, second)), PixelsOf(output));
}

TEST(Iris, ARecordsGridIsLeftAsSet) {
    Effect effect = module().create(info());
    SetRecord(effect, tIRISINFO{.repeatX = 0, .repeatY = -3});
    const Surface picture = Random(kBytes, 9, 9, 1);
    const Surface inputs[] = {picture, picture};
    ASSERT_TRUE(effect.render(inputs, Surface::create(kBytes, 9, 9)));
    EXPECT_EQ(0, RecordOf<tIRISINFO>(effect.record()).repeatX);
    EXPECT_EQ(-3, RecordOf<tIRISINFO>(effect.record()).repeatY);
}

} // namespace
