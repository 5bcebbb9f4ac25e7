#include "effects/pictures.h"
#include "kernels/shape_mix.h"

namespace {

using namespace effect_test;

const EffectInfo& info() {
    return module().find("DXTKwCCutter");
}

Surface Render(const tCUTTERINFO& record, const Surface& input, unsigned processors = 1, const RECT* clip = nullptr) {
    Effect effect = module().create(info(), processors);
    SetRecord(effect, record);
    Surface output = Surface::create(input.view().format, input.view().width, input.view().height);
    output.setInfo(input.info());
    const POINT place{clip ? clip->left : 0, clip ? clip->top : 0};
    EXPECT_TRUE(effect.render(std::span(&input, 1), output, clip, &place));
    return output;
}

std::vector<tCUTTERINFO> Presets() {
    std::vector<tCUTTERINFO> records;
    for (const auto& preset : info().presets) records.push_back(RecordOf<tCUTTERINFO>(preset.record));
    return records;
}

TEST(CookieCutter, EachPresetIsItsKernel) {
    constexpr RECT frame{0, 0, 90, 60};
    for (const PixelFormat format : {kBytes, kFloats})
        for (tCUTTERINFO record : Presets()) {
            Surface input = Random(format, 90, 60, 1);
            input.setInfo({1.1, 25.0, 0});
            const Surface expected = Surface::create(format, 90, 60);
            const Surface actual = Render(record, input);
            ASSERT_EQ(S_OK, KwDibCutter(ViewOf(expected, frame), ViewOf(input, frame), larkmoor::bytesPerPixel(format),
                                        &record, false, 1.1));
            EXPECT_EQ(PixelsOf(expected), PixelsOf(actual)) << "shape " << record.shape.shape;
        }
}

TEST(CookieCutter, SizesAtAndBeyondTheirEnds) {
    for (const PixelFormat format : {kBytes, kFloats}) {
        const Surface input = Random(format, 41, 33, 2);
        const std::vector<std::byte> whole = PixelsOf(input);
        const std::vector<std::byte> nothing(whole.size());
        for (LONG shape = 0; shape < KW_SHAPE_COUNT; ++shape)
            for (const float size : {-3.0f, 0.0f, 1.0f, 9.0f})
                for (const LONG method : {0, 1}) {
                    const tCUTTERINFO record{.shape = {.shape = shape, .direction = method}, .size = size};
                    EXPECT_EQ((size >= 1) == (method == 1) ? whole : nothing, PixelsOf(Render(record, input)))
                        << "shape " << shape << " size " << size << " method " << method;
                }
    }
}

TEST(CookieCutter, MethodsAreEachOthersReverse) {
    const Surface input = Random(kBytes, 80, 60, 3);
    const tCUTTERINFO keep{.shape = {.shape = KW_SHAPE_SQUARE, .direction = 1}, .size = 0.25f};
    tCUTTERINFO cut = keep;
    cut.shape.direction = 0;
    const Surface kept = Render(keep, input), rest = Render(cut, input);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 80; ++x) {
            // The reach is the smaller side of the cell, 60.
            const bool inside = std::abs(x - 40) <= 15 && y >= 15 && y < 45;
            const tPixel8 in = PixelAt(input, x, y), nothing{}, a = PixelAt(kept, x, y), b = PixelAt(rest, x, y);
            ASSERT_EQ(0, std::memcmp(&a, inside ? &in : &nothing, 4)) << x << ", " << y;
            ASSERT_EQ(0, std::memcmp(&b, inside ? &nothing : &in, 4)) << x << ", " << y;
        }
}

TEST(CookieCutter, BandsAndClipsAreInvisible) {
    const RECT clip{20, 41, 133, 120};
    for (const PixelFormat format : {kBytes, kFloats})
        for (const tCUTTERINFO& record : Presets()) {
            const Surface input = Random(format, 180, 136, 4);
            const Surface whole = Render(record, input), part = Render(record, input, 4, &clip);
            ASSERT_EQ(PixelsOf(whole), PixelsOf(Render(record, input, 4))) << "shape " << record.shape.shape;
            const int size = larkmoor::bytesPerPixel(format);
            for (LONG y = clip.top; y < clip.bottom; ++y)
                ASSERT_EQ(0, std::memcmp(whole.view().data + y * whole.view().stride + clip.left * size,
                                         part.view().data + y * part.view().stride + clip.left * size,
                                         static_cast<std::size_t>((clip.right - clip.left) * size)));
        }
}

TEST(CookieCutter, LeavesTheOutputWhereItCutsAndGoesOverIt) {
    const Surface input = Random(kBytes, 64, 48, 5), before = Random(kBytes, 64, 48, 6);
    Effect effect = module().create(info());
    SetRecord(effect, tCUTTERINFO{.shape = {.shape = KW_SHAPE_RECTANGLE, .direction = 1}, .size = 0.25f});
    const Surface over = CopyOf(before), plain = CopyOf(before);
    ASSERT_TRUE(effect.render(std::span(&input, 1), over));
    BlendWithOutput(effect, false);
    ASSERT_TRUE(effect.render(std::span(&input, 1), plain));
    for (int y = 0; y < 48; ++y)
        for (int x = 0; x < 64; ++x) {
            const bool inside = std::abs(x - 32) <= 16 && y >= 12 && y < 36;
            const tPixel8 in = PixelAt(input, x, y), was = PixelAt(before, x, y);
            ASSERT_EQ(inside ? (in.g + (((255 - in.a) * was.g + 127) >> 8)) & 255 : was.g, PixelAt(over, x, y).g);
            ASSERT_EQ(inside ? in.g : 0, PixelAt(plain, x, y).g);
        }
}

TEST(CookieCutter, RampMovesTheSize) {
    const tCUTTERINFO from{.shape = {.repeatX = 2, .direction = 1}, .size = 0.1f},
        to{.shape = {.repeatX = 5, .direction = 0}, .size = 0.3f};
    tCUTTERINFO middle = from;
    middle.size = from.size + (to.size - from.size) * 0.5f;
    const Surface input = Random(kBytes, 64, 48, 7);
    Effect effect = module().create(info());
    effect.setRamp(std::as_bytes(std::span(&from, 1)), std::as_bytes(std::span(&to, 1)));
    effect.setRampPosition(0.5);
    const Surface output = Surface::create(kBytes, 64, 48);
    ASSERT_TRUE(effect.render(std::span(&input, 1), output));
    EXPECT_EQ(PixelsOf(Render(middle, input)), PixelsOf(output));
}

} // namespace
