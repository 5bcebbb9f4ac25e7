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
            const bool isOval =
                name.starts_with("Oval");         // as high and wide as its reach, which is not as far as the corners
            if (throughColor || isOval) continue; // the former ends in its colour
            EXPECT_LE(end.most, hard ? 255 : wipe ? 20 : stopsShort ? 1 : least);
            // A wipe leaves half a pixel where it begins and where it ends.
            EXPECT_LE(begin.pixels, wipe ? kWidth : kWidth * kHeight);
            EXPECT_LE(end.pixels, wipe ? kWidth : kWidth * kHeight);
        }
    }
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

} // namespace
