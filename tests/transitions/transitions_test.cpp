// What the transitions and the cookie cutter keep to, whatever their pictures are.
#include "effects/pictures.h"
#include "host/services.h"
#include "kernels/dissolve.h"
#include "kernels/shape_mix.h"
#include "kernels/wipe.h"

namespace {

using namespace effect_test;

template <class Record>
std::span<const std::byte> BytesOf(const Record& record) {
    return std::as_bytes(std::span(&record, 1));
}

/// Random content without alpha and without pure black.
Surface Opaque(int width, int height, unsigned seed) {
    const Surface surface = Random(kBytes, width, height, seed);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            std::byte* const pixel = surface.view().data + y * surface.view().stride + x * 4;
            pixel[0] |= std::byte{1};
            pixel[3] = std::byte{255};
        }
    return surface;
}

/// One frame over an output that is clear.
Surface Frame(const EffectInfo& info, std::span<const std::byte> record, float progress,
              std::initializer_list<Surface> inputs) {
    Effect effect = module().create(info);
    effect.setRecord(record);
    effect.setProgress(progress);
    const larkmoor::ImageView view = inputs.begin()->view();
    const Surface output = Surface::create(view.format, view.width, view.height);
    EXPECT_TRUE(effect.render(inputs, output));
    return output;
}

Surface Plain(tPixel8 pixel) {
    const Surface surface = Surface::create(kBytes, 1, 1);
    std::memcpy(surface.view().data, &pixel, 4);
    return surface;
}

bool Sees(const Surface& out, const Surface& in, int x, int y) {
    const tPixel8 a = PixelAt(out, x, y), b = PixelAt(in, x, y);
    return std::memcmp(&a, &b, 4) == 0;
}

/// How far channels lie apart, in 255ths, and in how many pixels.
struct tGap {
    double most = 0;
    int pixels = 0;
};
tGap GapOf(const Surface& a, const Surface& b) {
    tGap gap;
    const auto x = PixelsOf(a), y = PixelsOf(b);
    for (std::size_t i = 0; i < x.size(); i += 4) {
        double here = 0;
        for (std::size_t c = i; c < i + 4; ++c)
            here = std::max(here, std::abs(static_cast<double>(x[c]) - static_cast<double>(y[c])));
        gap.most = std::max(gap.most, here);
        gap.pixels += here > 0;
    }
    return gap;
}

TEST(Transitions, BeginWithTheFirstPictureAndEndWithTheSecond) {
    constexpr int kWidth = 64, kHeight = 48;
    const Surface first = Opaque(kWidth, kHeight, 1), second = Opaque(kWidth, kHeight, 2);
    for (const EffectInfo& info : module().effects()) {
        if (info.kind != larkmoor::EffectKind::Transition) continue;
        for (const auto& preset : info.presets) {
            const std::string& name = preset.name;
            SCOPED_TRACE(info.name + ", " + name);
            const tGap begin = GapOf(first, Frame(info, preset.record, 0, {first, second}));
            const tGap end = GapOf(second, Frame(info, preset.record, 1, {first, second}));
            const bool dissolve = info.className == "Dissolve";
            const bool throughColor = dissolve && name.starts_with("Fade Through") && name != "Fade Through Greyscale";
            const bool stopsShort = dissolve && (name == "Fade Through Greyscale" || name.starts_with("Red then"));
            const bool wipe = info.className == "DXTKwWipe", hard = wipe && name.ends_with("Hard Edge");
            const double least = info.className == "DXTKwZoom"; // the scaled picture is a 16384th of a pixel off
            EXPECT_LE(begin.most, hard ? 255 : least);
            if (throughColor) continue; // ends in its colour
            EXPECT_LE(end.most, hard ? 255 : wipe ? 20 : stopsShort ? 1 : least);
            // A wipe leaves half a pixel where it begins and where it ends.
            EXPECT_LE(begin.pixels, wipe ? kWidth : kWidth * kHeight);
            EXPECT_LE(end.pixels, wipe ? kWidth : kWidth * kHeight);
        }
    }
}

TEST(LinearWipe, ComposesOverTheOutput) {
    const EffectInfo& info = module().find("DXTKwWipe");
    const Surface under = Plain({10, 200, 30, 255});
    Effect effect = module().create(info);
    effect.setRecord(BytesOf(tWIPEPROP{0, 0, 0}));
    effect.setProgress(1);
    const Surface inputs[] = {Plain({}), Plain({20, 30, 40, 100})};
    ASSERT_TRUE(effect.render(inputs, under));
    const tPixel8 pixel = PixelAt(under, 0, 0);
    EXPECT_EQ(20 + ((155 * 10 + 127) >> 8), int{pixel.b});
    EXPECT_EQ(30 + ((155 * 200 + 127) >> 8), int{pixel.g});
    EXPECT_EQ(100 + ((155 * 255 + 127) >> 8), int{pixel.a});
    // A feather beyond 1 is 1.
    const Surface first = Random(kBytes, 97, 71, 1), second = Random(kBytes, 97, 71, 2);
    EXPECT_EQ(PixelsOf(Frame(info, BytesOf(tWIPEPROP{30, 0, 1.0}), 0.4f, {first, second})),
              PixelsOf(Frame(info, BytesOf(tWIPEPROP{30, 0, 7.5}), 0.4f, {first, second})));
}

TEST(LinearWipe, TakesItsOlderForm) {
    struct {
        LONG percent;
        std::size_t bytes;
        double feather;
    } const cases[] = {{50, 8, 0.5}, {100, 12, 1.0}, {250, 15, 1.0}, {-7, 8, 0.0}, {INT32_MIN, 8, 0.0}, {50, 16, 0.25}};
    for (const auto& c : cases) {
        Effect effect = module().create(module().find("DXTKwWipe"));
        effect.loadState(BytesOf(tWIPEPROP{72.5f, c.percent, 0.25}).first(c.bytes));
        const auto record = RecordOf<tWIPEPROP>(effect.record());
        EXPECT_EQ(72.5f, record.angle);
        EXPECT_EQ(c.feather, record.feather) << c.percent;
    }
}

TEST(DissolveEffect, AnUnknownModeLeavesEveryByte) {
    for (const PixelFormat format : {PixelFormat::Argb32, kBytes, kFloats})
        for (const LONG mode : {-1, 10, INT32_MIN}) {
            const Surface inputs[] = {Random(format, 9, 7, 1), Random(format, 9, 7, 2)};
            const Surface output = Random(format, 9, 7, 3);
            Effect effect = module().create(module().find("Dissolve"));
            SetRecord(effect, tDISSOLVEPROP{1, 1, 1, 1, mode, 0});
            effect.setProgress(0.4f);
            ASSERT_TRUE(effect.render(inputs, output));
            EXPECT_EQ(PixelsOf(Random(format, 9, 7, 3)), PixelsOf(output));
        }
}

TEST(DissolveEffect, ItsRampStopsAtTheEnds) {
    Effect effect = module().create(module().find("Dissolve"));
    const auto ramp = KwQuery<IKwParamRamp>(effect.object());
    const tDISSOLVEPROP from{0, 0.5, 1, 0, 3, 0}, to{1, 1, 0, 0.25, 8, 0};
    for (const auto& [position, red, blue] : {std::tuple{-3.0, 0.0, 1.0}, {0.25, 0.25, 0.75}, {40.0, 1.0, 0.0}}) {
        const auto a = larkmoor::createMemoryStream(BytesOf(from)), b = larkmoor::createMemoryStream(BytesOf(to));
        const auto out = larkmoor::createMemoryStream();
        ASSERT_EQ(S_OK, ramp->Interpolate(out.Get(), a.Get(), b.Get(), position));
        const auto between = RecordOf<tDISSOLVEPROP>(larkmoor::streamContent(out.Get()));
        EXPECT_EQ(red, between.red);
        EXPECT_EQ(blue, between.blue);
        EXPECT_EQ(3, between.mode);
    }
}

TEST(Iris, ShapesStandWhereTheyShould) {
    const Surface first = Random(kBytes, 200, 100, 7), second = Random(kBytes, 200, 100, 8);
    const auto at = [&](const tIRISINFO& record) {
        return Frame(module().find("DXTKwIris"), BytesOf(record), 0.5f, {first, second});
    };
    // Half the way to the corner, 111.8 pixels off, less a rim of 1.5.
    const Surface circle = at({});
    EXPECT_TRUE(Sees(circle, second, 100, 50) && Sees(circle, second, 155, 50) && Sees(circle, second, 45, 50));
    EXPECT_TRUE(Sees(circle, first, 158, 50) && Sees(circle, first, 42, 50) && Sees(circle, first, 150, 95));
    // Reach 100 and border 0.1 * 50: at half way 110 * 0.5 less the border of 5 on either side.
    const Surface framed = at({.border = 0.1f, .blue = 1, .red = 1, .shape = KW_SHAPE_RECTANGLE});
    EXPECT_TRUE(Sees(framed, second, 144, 50) && Sees(framed, first, 156, 50));
    const tPixel8 rim = PixelAt(framed, 150, 50);
    EXPECT_GE(rim.b, 254);
    EXPECT_LE(rim.g, 1);
    EXPECT_GE(rim.r, 254);
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
                    EXPECT_EQ((size >= 1) == (method == 1) ? whole : nothing,
                              PixelsOf(Frame(module().find("DXTKwCCutter"), BytesOf(record), 0, {input})))
                        << "shape " << shape << " size " << size << " method " << method;
                }
    }
}

TEST(CookieCutter, MethodsAreEachOthersReverse) {
    const Surface input = Random(kBytes, 80, 60, 3), nothing = Surface::create(kBytes, 80, 60);
    tCUTTERINFO record{.shape = {.shape = KW_SHAPE_SQUARE, .direction = 1}, .size = 0.25f};
    const EffectInfo& info = module().find("DXTKwCCutter");
    const Surface kept = Frame(info, BytesOf(record), 0, {input});
    record.shape.direction = 0;
    const Surface rest = Frame(info, BytesOf(record), 0, {input});
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 80; ++x) {
            // The reach is the smaller side of the cell, 60.
            const bool inside = std::abs(x - 40) <= 15 && y >= 15 && y < 45;
            ASSERT_TRUE(Sees(kept, inside ? input : nothing, x, y)) << x << ", " << y;
            ASSERT_TRUE(Sees(rest, inside ? nothing : input, x, y)) << x << ", " << y;
        }
}

} // namespace
