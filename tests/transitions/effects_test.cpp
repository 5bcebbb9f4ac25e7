// What the single transitions add to their kernels.
#include "host/samples.h"
#include "host/services.h"
#include "kernels/barn.h"
#include "kernels/blend.h"
#include "kernels/clock.h"
#include "kernels/copy.h"
#include "kernels/dissolve.h"
#include "kernels/push.h"
#include "kernels/squeeze.h"
#include "kernels/wipe.h"
#include "kernels/zoom.h"
#include "transitions/transition.h"

namespace {

using namespace effect_test;

constexpr int kWidth = 97, kHeight = 71;
constexpr RECT kFrame{0, 0, kWidth, kHeight};
constexpr float kTimes[] = {0.0f, 0.2f, 0.5f, 0.77f, 1.0f};

/// Compares an effect with `kernel(out, first, second, bytesPerPixel, record, progress)` at every preset.
template <class Record, class Kernel>
void ExpectKernel(const char* className, std::vector<PixelFormat> formats, bool blend, Kernel kernel) {
    const EffectInfo& info = module().find(className);
    for (const PixelFormat format : formats) {
        const Surface first = Random(format, kWidth, kHeight, 1), second = Random(format, kWidth, kHeight, 2);
        const Surface under = Random(format, kWidth, kHeight, 3);
        for (const auto& preset : info.presets)
            for (const float progress : kTimes) {
                const Surface expected = CopyOf(under);
                ASSERT_EQ(S_OK, kernel(ViewOf(expected, kFrame), ViewOf(first, kFrame), ViewOf(second, kFrame),
                                       larkmoor::bytesPerPixel(format), RecordOf<Record>(preset.record), progress));
                ASSERT_EQ(PixelsOf(expected), PixelsOf(Transit(info, preset.record, progress, first, second,
                                                               {.blend = blend, .under = &under})))
                    << preset.name << " progress " << progress;
            }
    }
}

TEST(PushAndSqueeze, GiveTheirKernelsPictures) {
    ExpectKernel<tPUSHPROP>("DXTKwPush", {kBytes, kFloats}, true, KwDibPush);
    ExpectKernel<tSQUEEZEPROP>("DXTKwSqueeze", {kBytes, kFloats}, true, KwDibSqueeze);
}

TEST(BarnDoor, OutIsInBackwardsWithThePicturesExchanged) {
    ExpectKernel<tBARNPROP>("DXTKwBarn", {kBytes, kFloats}, true,
                            [](const tView& out, const tView& first, const tView& second, LONG bytesPerPixel,
                               const tBARNPROP& record, double p) {
                                return record.direction ? KwDibBarn(out, second, first, bytesPerPixel, record, 1 - p)
                                                        : KwDibBarn(out, first, second, bytesPerPixel, record, p);
                            });
}

TEST(Zoom, OutIsInBackwardsWithThePicturesExchanged) {
    ExpectKernel<tZOOMPROP>("DXTKwZoom", {kBytes, kFloats}, true,
                            [](const tView& out, const tView& first, const tView& second, LONG bytesPerPixel,
                               const tZOOMPROP& record, double p) {
                                return record.direction ? KwDibZoom(out, second, first, bytesPerPixel, record, 1 - p)
                                                        : KwDibZoom(out, first, second, bytesPerPixel, record, p);
                            });
}

TEST(ClockWipe, DrawsTheSecondPictureOverTheFirst) {
    ExpectKernel<tCLOCKPROP>("DXTKwClock", {kBytes, kFloats}, true,
                             [](const tView& out, const tView& first, const tView& second, LONG bytesPerPixel,
                                const tCLOCKPROP& record, double p) {
                                 KwDibCopy(out, first, bytesPerPixel);
                                 return KwDibClock(out, second, bytesPerPixel, &record, p);
                             });
}

TEST(LinearWipe, MeasuresItsFeatherOnTheLongerSide) {
    for (const bool blend : {false, true})
        ExpectKernel<tWIPEPROP>("DXTKwWipe", {kBytes}, blend,
                                [blend](const tView& out, const tView& first, const tView& second, LONG bytesPerPixel,
                                        const tWIPEPROP& record, double p) {
                                    return KwDibWipe(out, first, second, bytesPerPixel, kWidth * record.feather * 0.5,
                                                     double{record.angle}, p, blend);
                                });
    // A feather beyond 1 is 1.
    const EffectInfo& info = module().find("DXTKwWipe");
    const Surface first = Random(kBytes, kWidth, kHeight, 1), second = Random(kBytes, kWidth, kHeight, 2);
    EXPECT_EQ(PixelsOf(Transit(info, BytesOf(tWIPEPROP{30, 0, 1.0}), 0.4f, first, second)),
              PixelsOf(Transit(info, BytesOf(tWIPEPROP{30, 0, 7.5}), 0.4f, first, second)));
}

TEST(LinearWipe, ComposesOverTheOutput) {
    const EffectInfo& info = module().find("DXTKwWipe");
    const auto plain = [](tPixel8 pixel) {
        Surface surface = Surface::create(kBytes, 1, 1);
        std::memcpy(surface.view().data, &pixel, 4);
        return surface;
    };
    const Surface under = plain({10, 200, 30, 255});
    const Surface out = Transit(info, BytesOf(tWIPEPROP{0, 0, 0}), 1.0f, plain({}), plain({20, 30, 40, 100}),
                                {.blend = true, .under = &under});
    const tPixel8 pixel = PixelAt(out, 0, 0);
    EXPECT_EQ(20 + ((155 * 10 + 127) >> 8), int{pixel.b});
    EXPECT_EQ(30 + ((155 * 200 + 127) >> 8), int{pixel.g});
    EXPECT_EQ(100 + ((155 * 255 + 127) >> 8), int{pixel.a});
}

TEST(LinearWipe, TakesBytesOnly) {
    const Surface first = Random(kFloats, 5, 4, 1);
    Effect effect = module().create(module().find("DXTKwWipe"));
    const Surface inputs[] = {first, first}, output = Surface::create(kFloats, 5, 4);
    try {
        effect.render(inputs, output);
        ADD_FAILURE() << "floats were taken";
    } catch (const larkmoor::StatusError& error) {
        EXPECT_EQ(E_NOTIMPL, error.code());
    }
}

TEST(LinearWipe, TakesItsOlderForm) {
    struct {
        LONG percent;
        std::size_t bytes;
        double feather;
    } const cases[] = {{50, 8, 0.5}, {100, 12, 1.0}, {250, 15, 1.0}, {-7, 8, 0.0}, {INT32_MIN, 8, 0.0}};
    for (const auto& c : cases) {
        Effect effect = module().create(module().find("DXTKwWipe"));
        const tWIPEPROP stream{72.5f, c.percent, 0.25};
        effect.loadState(BytesOf(stream).first(c.bytes));
        const auto record = RecordOf<tWIPEPROP>(effect.record());
        EXPECT_EQ(72.5f, record.angle);
        EXPECT_EQ(c.feather, record.feather) << c.percent;
    }
    Effect effect = module().create(module().find("DXTKwWipe"));
    effect.loadState(BytesOf(tWIPEPROP{10, 50, 0.25}));
    EXPECT_EQ(0.25, RecordOf<tWIPEPROP>(effect.record()).feather);
}

TEST(AdditiveDissolve, AddsTheOtherPicture) {
    const EffectInfo& info = module().find("DXTAdditiveDissolve");
    for (const PixelFormat format : {kBytes, kFloats}) {
        const LONG size = larkmoor::bytesPerPixel(format);
        const Surface first = Random(format, kWidth, kHeight, 1), second = Random(format, kWidth, kHeight, 2);
        const Surface under = Random(format, kWidth, kHeight, 3);
        for (const bool blend : {false, true})
            for (const float progress : kTimes) {
                const Surface expected = CopyOf(under);
                const bool early = progress < 0.5f;
                const tView out = ViewOf(expected, kFrame), base = ViewOf(early ? first : second, kFrame);
                blend ? KwDibBlendSrcAlpha(out, base, size) : KwDibCopy(out, base, size);
                KwDibAddScaled(out, ViewOf(early ? second : first, kFrame), size,
                               early ? 2.0 * double{progress} : 2.0 * (1.0 - double{progress}), 3, 0, 0);
                EXPECT_EQ(PixelsOf(expected),
                          PixelsOf(Transit(info, {}, progress, first, second, {.blend = blend, .under = &under})))
                    << "progress " << progress;
            }
    }
}

TEST(AdditiveDissolve, HasNoRecord) {
    const Effect effect = module().create(module().find("DXTAdditiveDissolve"));
    CComPtr<IKwEffect> face;
    ASSERT_EQ(S_OK, effect.object()->QueryInterface(&effect.info().iid, face.ReceiveVoid()));
    std::uint8_t block[8] = {0xA5};
    EXPECT_EQ(S_OK, face->get_all(block, sizeof block));
    EXPECT_EQ(0xA5, block[0]);
    EXPECT_EQ(S_OK, face->put_all(block, sizeof block));
    EXPECT_EQ(E_INVALIDARG, face->get_all(nullptr, 0));
}

/// The picture as premultiplied samples, mixed, and brought back: what a surface of another form goes through.
Surface ThroughSamples(const Surface& first, const Surface& second, const tDISSOLVEPROP& record, float progress) {
    const PixelFormat format = first.view().format;
    const auto unpacked = [](const Surface& from) {
        const Surface to = Surface::create(kBytes, from.view().width, from.view().height);
        for (int y = 0; y < from.view().height; ++y)
            larkmoor::unpackRow(from.view().format, from.view().data + y * from.view().stride,
                                larkmoor::SampleKind::Premultiplied,
                                reinterpret_cast<DWORD*>(to.view().data + y * to.view().stride),
                                static_cast<std::size_t>(from.view().width));
        return to;
    };
    const Surface mixed = Surface::create(kBytes, kWidth, kHeight), out = Surface::create(format, kWidth, kHeight);
    EXPECT_EQ(S_OK, KwDibDissolve(ViewOf(mixed, kFrame), ViewOf(unpacked(first), kFrame),
                                  ViewOf(unpacked(second), kFrame), record, progress));
    for (int y = 0; y < kHeight; ++y)
        larkmoor::packRow(format, out.view().data + y * out.view().stride, larkmoor::SampleKind::Premultiplied,
                          reinterpret_cast<const DWORD*>(mixed.view().data + y * mixed.view().stride), kWidth);
    return out;
}

TEST(DissolveEffect, TakesSurfacesOfEveryForm) {
    const EffectInfo& info = module().find("Dissolve");
    for (const PixelFormat format : {PixelFormat::Argb32, kBytes, kFloats}) {
        const Surface first = Random(format, kWidth, kHeight, 1), second = Random(format, kWidth, kHeight, 2);
        for (const auto& preset : info.presets)
            for (const float progress : {0.3f, 0.8f})
                for (const unsigned processors : {1u, 4u})
                    EXPECT_EQ(
                        PixelsOf(ThroughSamples(first, second, RecordOf<tDISSOLVEPROP>(preset.record), progress)),
                        PixelsOf(Transit(info, preset.record, progress, first, second, {.processors = processors})))
                        << preset.name;
    }
}

TEST(DissolveEffect, AnUnknownModeLeavesEveryByte) {
    const EffectInfo& info = module().find("Dissolve");
    for (const PixelFormat format : {PixelFormat::Argb32, kBytes, kFloats}) {
        const Surface first = Random(format, 9, 7, 1), under = Random(format, 9, 7, 3);
        for (const LONG mode : {-1, 10, INT32_MIN})
            EXPECT_EQ(PixelsOf(under), PixelsOf(Transit(info, BytesOf(tDISSOLVEPROP{1, 1, 1, 1, mode, 0}), 0.4f, first,
                                                        first, {.under = &under})));
    }
}

TEST(DissolveEffect, ItsRampStopsAtTheEnds) {
    Effect effect = module().create(module().find("Dissolve"));
    const auto ramp = KwQuery<IKwParamRamp>(effect.object());
    const tDISSOLVEPROP from{0, 0.5, 1, 0, 3, 0}, to{1, 1, 0, 0.25, 8, 0};
    for (const auto& [position, red, blue] :
         {std::tuple{-3.0, 0.0, 1.0}, {0.0, 0.0, 1.0}, {0.25, 0.25, 0.75}, {1.0, 1.0, 0.0}, {40.0, 1.0, 0.0}}) {
        const auto a = larkmoor::createMemoryStream(BytesOf(from)), b = larkmoor::createMemoryStream(BytesOf(to));
        const auto out = larkmoor::createMemoryStream();
        ASSERT_EQ(S_OK, ramp->Interpolate(out.Get(), a.Get(), b.Get(), position));
        const auto between = RecordOf<tDISSOLVEPROP>(larkmoor::streamContent(out.Get()));
        EXPECT_EQ(red, between.red);
        EXPECT_EQ(blue, between.blue);
        EXPECT_EQ(3, between.mode);
    }
}

TEST(DissolveEffect, ListsItsPresetsWithoutThePresetInterface) {
    const EffectInfo& info = module().find("Dissolve");
    EXPECT_EQ("Red then Green then Blue Crossfade", info.presets[22].name);
    Effect effect = module().create(info);
    EXPECT_FALSE(KwQuery<IKwPresets>(effect.object()));
    effect.applyPreset("Fade Through White");
    const auto record = RecordOf<tDISSOLVEPROP>(effect.record());
    EXPECT_TRUE(record.red == 1 && record.green == 1 && record.blue == 1 && record.alpha == 1 && record.mode == 8);
    EXPECT_EQ(40u, effect.saveState().size());
}

} // namespace
