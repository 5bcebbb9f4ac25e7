// What holds for every effect of the module, found through its own listing: new effects are tested by being there.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "effects/pictures.h"
#include "host/foreign_surface.h"

namespace {

using namespace larkmoor;
using namespace effect_test;

/// Records that no page would make. Fields with storage of their own are left alone.
std::vector<std::byte> wildRecord(const EffectInfo& info, unsigned kind, std::minstd_rand& random) {
    std::vector<std::byte> record = info.defaults;
    constexpr double kReals[] = {0.0,
                                 -1.0,
                                 2.0,
                                 -0.0001,
                                 1e300,
                                 -1e300,
                                 1e9,
                                 std::numeric_limits<double>::infinity(),
                                 -std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN(),
                                 0.999,
                                 1e-300,
                                 16384.0};
    constexpr std::int32_t kWholes[] = {0, -1, 1, 7, 99, INT32_MIN, INT32_MAX, 0x10000, 255};
    for (const tFieldInfo& field : info.fields) {
        if (field.type == KWTYPE_BYTES) continue;
        for (LONG i = 0; i < field.count; ++i) {
            const bool wild = kind < 16 || random() % 3 == 0;
            if (!wild) continue;
            const double real = kReals[kind < std::size(kReals) ? kind : random() % std::size(kReals)];
            const std::int32_t whole = kWholes[kind < std::size(kWholes) ? kind : random() % std::size(kWholes)];
            const float narrow = static_cast<float>(std::abs(real) > 3e38 ? std::copysign(INFINITY, real) : real);
            std::byte* const at = record.data() + field.offset;
            if (field.type == KWTYPE_DOUBLE) std::memcpy(at + i * 8, &real, 8);
            if (field.type == KWTYPE_FLOAT) std::memcpy(at + i * 4, &narrow, 4);
            if (field.type == KWTYPE_LONG) std::memcpy(at + i * 4, &whole, 4);
        }
    }
    return record;
}

class EveryEffect : public testing::TestWithParam<std::size_t> {
  protected:
    const EffectInfo& info() const { return module().effects()[GetParam()]; }
};

constexpr int kWidth = 131, kHeight = 90; // pixels enough for two bands

/// One frame of random pictures over another.
std::vector<std::byte> frameOf(const EffectInfo& info, std::span<const std::byte> record, PixelFormat format,
                               unsigned processors, const RECT* clip = nullptr) {
    Effect effect = module().create(info, processors);
    effect.setRecord(record);
    effect.setProgress(0.4f);
    const Surface inputs[] = {Random(format, kWidth, kHeight, 1), Random(format, kWidth, kHeight, 2)};
    const Surface output = Random(format, kWidth, kHeight, 3);
    for (Surface surface : {inputs[0], inputs[1], output}) surface.setInfo({1.0, 25.0, 400000});
    const POINT place = clip ? POINT{clip->left, clip->top} : POINT{};
    try {
        effect.render(std::span(inputs).first(static_cast<std::size_t>(info.maxInputs)), output, clip,
                      clip ? &place : nullptr);
    } catch (const StatusError&) {
        // Bytes only.
    }
    return PixelsOf(output);
}

/// The rows of a clip.
std::vector<std::byte> cut(const std::vector<std::byte>& pixels, int width, const RECT& clip, PixelFormat format) {
    std::vector<std::byte> part;
    const LONG size = bytesPerPixel(format);
    for (LONG y = clip.top; y < clip.bottom; ++y) {
        const auto row = pixels.begin() + std::ptrdiff_t{y} * width * size;
        part.insert(part.end(), row + clip.left * size, row + clip.right * size);
    }
    return part;
}

TEST_P(EveryEffect, BandsAndClipsAreInvisible) {
    if (info().kind == EffectKind::Generator) GTEST_SKIP() << "knows neither";
    const RECT clip{31, 17, 120, 81};
    // To these the clip is the whole picture.
    constexpr std::string_view kOwn[] = {"DXTKwWipe",   "DXTGaussianBlur", "DXTMax",        "DXTNoise",
                                         "DXTPixelate", "DXTWave",         "DXTFloatMedian"};
    const bool ownClip = std::ranges::find(kOwn, info().className) != std::end(kOwn);
    for (const PixelFormat format : {PixelFormat::PremultipliedArgb32, PixelFormat::Float128})
        for (const PresetInfo& preset : info().presets) {
            SCOPED_TRACE(preset.name);
            const auto whole = frameOf(info(), preset.record, format, 1);
            EXPECT_TRUE(whole == frameOf(info(), preset.record, format, 4));
            if (ownClip) continue;
            EXPECT_TRUE(cut(whole, kWidth, clip, format) ==
                        cut(frameOf(info(), preset.record, format, 4, &clip), kWidth, clip, format));
        }
}

TEST_P(EveryEffect, WhatStoodInTheOutputDoesNotShow) {
    if (info().kind == EffectKind::Generator) GTEST_SKIP() << "covers its picture";
    std::minstd_rand random(13);
    const auto presets = static_cast<unsigned>(info().presets.size());
    for (const PixelFormat format : {PixelFormat::PremultipliedArgb32, PixelFormat::Argb32, PixelFormat::Float128})
        for (unsigned kind = 0; kind < presets + 60; ++kind) {
            const auto record =
                kind < presets ? info().presets[kind].record : wildRecord(info(), kind - presets, random);
            const int width = kind % 3 ? 37 : 5, height = kind % 3 ? 23 : 2;
            // Pictures may be smaller than what they go into.
            const Surface inputs[] = {Random(format, width - kind % 7 / 6, height - kind % 5 / 4, 1),
                                      Random(format, width, height, 2)};
            Surface outputs[] = {Random(format, width, height, 3), Random(format, width, height, 3)};
            outputs[1].clear();
            for (Surface surface : {inputs[0], inputs[1], outputs[0], outputs[1]}) surface.setInfo({1.0, 25.0, 400000});
            bool refused = false;
            for (const Surface& output : outputs) {
                Effect effect = module().create(info());
                effect.setBlending(kind % 7 == 3);
                effect.setRecord(record);
                effect.setProgress(static_cast<float>(kind % 4) / 3);
                try {
                    effect.renderAnew(std::span(inputs).first(static_cast<std::size_t>(info().maxInputs)), output);
                } catch (const StatusError&) { // a form or a size that it does not take
                    refused = true;
                }
            }
            ASSERT_TRUE(refused || PixelsOf(outputs[0]) == PixelsOf(outputs[1])) << "record " << kind;
        }
}

/// A surface that lends another's face and refuses to be locked.
class Refusing final : public ForeignSurface {
  public:
    Refusing(const Surface& surface, HRESULT status) : m_surface(surface), m_status(status) {}
    HRESULT GetPixelFormat(GUID* format, DWORD* sampleFormat) override {
        return m_surface.get()->GetPixelFormat(format, sampleFormat);
    }
    HRESULT GetBounds(DXBNDS* bounds) override { return m_surface.get()->GetBounds(bounds); }
    HRESULT LockSurface(const DXBNDS*, ULONG, DWORD, const IID*, void** out, DWORD*) override {
        *out = this; // what stands there after a failure is no pointer to give back
        return m_status;
    }

  private:
    Surface m_surface;
    HRESULT m_status;
};

TEST_P(EveryEffect, ASurfaceThatCannotBeLockedEndsTheFrame) {
    if (info().kind == EffectKind::Generator) GTEST_SKIP();
    constexpr HRESULT kOwn = static_cast<HRESULT>(0x80041234);
    const Surface first = Random(PixelFormat::PremultipliedArgb32, 9, 5, 1);
    const Surface second = Random(PixelFormat::PremultipliedArgb32, 9, 5, 2), output = CopyOf(second);
    for (int refused = 0; refused <= info().maxInputs; ++refused) {
        Effect effect = module().create(info());
        const auto transform = KwQuery<IDXTransform>(effect.object());
        const CComPtr<Refusing> refusing = makeObject<Refusing>(first, kOwn);
        std::vector<IUnknown*> surfaces{first.get(), second.get()};
        surfaces.resize(static_cast<std::size_t>(info().maxInputs));
        surfaces.push_back(output.get());
        surfaces[static_cast<std::size_t>(refused)] = refusing.Get();
        ASSERT_EQ(S_OK,
                  transform->Setup(surfaces.data(), static_cast<ULONG>(info().maxInputs), &surfaces.back(), 1, 0));
        const HRESULT status = transform->Execute(nullptr, nullptr, nullptr);
        EXPECT_TRUE(status == E_FAIL || status == kOwn) << std::hex << status;
        EXPECT_EQ(PixelsOf(second), PixelsOf(output));
        effect.unbind();
    }
}

/// A number of the field between two others.
double ramped(const tFieldInfo& field, double from, double to, double position) {
    if (field.ramp == KWRAMP_START || field.type == KWTYPE_LONG) return from;
    const double way = to - from;
    if (field.ramp == KWRAMP_LINEAR) return from + way * position;
    // Around a circle of 1, the shorter way.
    const double turned = from + (std::abs(way) < 0.5 ? way : way > 0 ? way - 1 : way + 1) * position;
    return turned - std::floor(turned);
}

TEST_P(EveryEffect, ARampMovesTheFieldsThatSaySo) {
    const Effect effect = module().create(info());
    const auto ramp = KwQuery<IKwParamRamp>(effect.object());
    if (!ramp) GTEST_SKIP() << "has no record";
    auto from = info().defaults, to = info().defaults, expected = info().defaults;
    for (const tFieldInfo& field : info().fields)
        for (LONG i = 0; i < field.count && field.type != KWTYPE_BYTES; ++i) {
            const double reach = field.maximum - field.minimum;
            const auto put = [&](auto number) {
                const LONG at = field.offset + i * static_cast<LONG>(sizeof number);
                const auto other = static_cast<decltype(number)>(field.minimum + reach * 0.875);
                number = static_cast<decltype(number)>(field.minimum + reach * 0.125);
                const auto between = static_cast<decltype(number)>(ramped(field, number, other, 0.3125));
                std::memcpy(from.data() + at, &number, sizeof number);
                std::memcpy(to.data() + at, &other, sizeof number);
                std::memcpy(expected.data() + at, &between, sizeof number);
            };
            field.type == KWTYPE_DOUBLE ? put(0.0) : field.type == KWTYPE_FLOAT ? put(0.0f) : put(LONG{0});
        }
    const auto out = createMemoryStream();
    ASSERT_EQ(S_OK, ramp->Interpolate(out.Get(), createMemoryStream(from).Get(), createMemoryStream(to).Get(), 0.3125));
    const auto between = streamContent(out.Get());
    ASSERT_EQ(expected.size(), between.size());
    for (const tFieldInfo& field : info().fields)
        EXPECT_EQ(fieldText(field, expected), fieldText(field, between)) << field.name;
}

TEST_P(EveryEffect, ItsFieldsCoverTheRecordAndReadBack) {
    for (const PresetInfo& preset : info().presets) {
        ASSERT_EQ(info().defaults.size(), preset.record.size());
        Effect effect = module().create(info());
        effect.applyPreset(preset.name);
        EXPECT_EQ(preset.record, effect.record()) << preset.name;
    }
    for (const tFieldInfo& field : info().fields) {
        EXPECT_TRUE(field.name[0] && field.label[0] && field.help[0]) << field.name;
        EXPECT_LE(field.minimum, field.maximum) << field.name;
        EXPECT_EQ(&field, &info().field(field.name));
        if (field.type == KWTYPE_BYTES) continue;
        const LONG size = field.count * (field.type == KWTYPE_DOUBLE ? 8 : 4);
        EXPECT_LE(field.offset + size, static_cast<LONG>(info().defaults.size())) << field.name;
        auto record = info().defaults;
        setFieldText(field, record, fieldText(field, info().defaults));
        EXPECT_EQ(fieldText(field, info().defaults), fieldText(field, record)) << field.name;
    }
}

INSTANTIATE_TEST_SUITE_P(Module, EveryEffect, testing::Range<std::size_t>(0, module().effects().size()),
                         [](const auto& tested) { return module().effects()[tested.param].className; });

} // namespace
