// The C++ face against the real module.

#include "module.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace larkmoor {
namespace {

using testing::HasSubstr;

template <class Call>
std::string sentenceOf(Call&& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return "no error";
}

void fill(const Surface& surface, DWORD sample) {
    const ImageView view = surface.view();
    for (int y = 0; y < view.height; ++y)
        for (int x = 0; x < view.width; ++x) std::memcpy(view.data + y * view.stride + x * 4, &sample, 4);
}

DWORD sampleAt(const Surface& surface, int x, int y) {
    DWORD sample = 0;
    std::memcpy(&sample, surface.view().data + y * surface.view().stride + x * 4, 4);
    return sample;
}

TEST(HostModule, SaysWhereItLooked) {
    EXPECT_THAT(sentenceOf([] { Module::load("/nowhere/at/all.so"); }), HasSubstr("/nowhere/at/all.so"));
    EXPECT_THAT(sentenceOf([] { Module::load("/proc/self/exe"); }), HasSubstr("/proc/self/exe"));
    const auto text = std::filesystem::temp_directory_path() / "larkmoor_no_module.so";
    std::ofstream(text) << "not a library";
    EXPECT_THAT(sentenceOf([&] { Module::load(text); }), HasSubstr("cannot be loaded"));
    std::filesystem::remove(text);
}

TEST(HostModule, ListsWhatItCanMake) {
    ASSERT_FALSE(module().effects().empty());
    for (const EffectInfo& info : module().effects()) {
        SCOPED_TRACE(info.description);
        EXPECT_TRUE(info.description.ends_with(info.name));
        EXPECT_EQ(&module().find(info.className), &info);
        EXPECT_EQ(&module().find(info.description), &info);
        EXPECT_LE(info.minInputs, info.maxInputs);
    }
    EXPECT_EQ(sentenceOf([] { module().find("Invrt"); }), "there is no effect \"Invrt\"; did you mean \"Invert\"?");
    EXPECT_EQ(sentenceOf([] { module().createObject(IDXSurface::iid); }).substr(0, 10), "the module");
    EXPECT_NE(module().symbol("DllCanUnloadNow"), nullptr);
    EXPECT_EQ(module().symbol("DllNothing"), nullptr);
}

TEST(HostModule, StaysWhileAnEffectLives) {
    auto loaded = std::make_unique<Module>(Module::load(LARKMOOR_MODULE_FILE));
    Effect effect = loaded->create(loaded->find("invert"));
    loaded.reset();
    EXPECT_EQ(effect.info().className, "DXTInvert");
    EXPECT_EQ(effect.record(), effect.info().defaults);
}

TEST(HostEffect, RendersWhatItIsGiven) {
    Effect effect = module().create(module().find("Invert"));
    const Surface input = Surface::create(PixelFormat::PremultipliedArgb32, 6, 4);
    fill(input, 0xFF102030);
    const Surface output = Surface::create(PixelFormat::PremultipliedArgb32, 6, 4);
    ASSERT_TRUE(effect.render({&input, 1}, output));
    const DWORD inverted = sampleAt(output, 0, 0);
    EXPECT_NE(inverted, 0u);
    EXPECT_EQ(sampleAt(output, 5, 3), inverted);
    const RECT beside{10, 10, 12, 12}, empty{3, 3, 3, 3};
    EXPECT_FALSE(effect.render({&input, 1}, output, &beside));
    EXPECT_FALSE(effect.render({&input, 1}, output, &empty));

    // Other surfaces are bound as they come.
    const Surface second = Surface::create(PixelFormat::PremultipliedArgb32, 2, 2);
    const Surface small = Surface::create(PixelFormat::PremultipliedArgb32, 2, 2);
    fill(second, 0xFF102030);
    ASSERT_TRUE(effect.render({&second, 1}, small));
    EXPECT_EQ(sampleAt(small, 1, 1), inverted);
    effect.unbind();
    ASSERT_TRUE(effect.render({&second, 1}, small));
}

TEST(HostEffect, ReplacesWhatTheOutputHoldsWithoutBlending) {
    const Surface input = Surface::create(PixelFormat::PremultipliedArgb32, 6, 4);
    fill(input, 0x40102030);
    for (const char* const name : {"Linear Wipe", "Iris", "Cookie Cutter", "Additive Dissolve"}) {
        Effect effect = module().create(module().find(name));
        const std::array inputs{input, input};
        const auto over = [&](DWORD below) {
            Surface output = Surface::create(PixelFormat::PremultipliedArgb32, 6, 4);
            fill(output, below);
            effect.setProgress(0.5f);
            effect.render(std::span(inputs).first(std::size_t(effect.info().maxInputs)), output);
            return sampleAt(output, 3, 2);
        };
        EXPECT_NE(over(0), over(0xFF808080)) << name;
        effect.setBlending(false);
        EXPECT_EQ(over(0), over(0xFF808080)) << name;
        effect.setBlending(true);
        EXPECT_NE(over(0), over(0xFF808080)) << name;
    }
}

TEST(HostEffect, SaysWhatItWasNotGiven) {
    Effect effect = module().create(module().find("Invert"));
    const std::vector<Surface> two(2, Surface::create(PixelFormat::Argb32, 2, 2));
    EXPECT_EQ(sentenceOf([&] { effect.render(two, two[0]); }), "Invert takes 0 to 1 input, not 2");
    EXPECT_EQ(sentenceOf([&] { effect.render({}, Surface()); }), "Invert was given no output picture");
    EXPECT_THAT(sentenceOf([&] { effect.generate(two[0]); }), HasSubstr("no generator"));
    Effect generator = module().create(module().find("Text"));
    EXPECT_THAT(sentenceOf([&] { generator.render({}, two[0]); }), HasSubstr("is a generator"));
    EXPECT_THAT(sentenceOf([&] { effect.set("nothing", "1"); }), HasSubstr("Invert has no field \"nothing\""));
    EXPECT_THAT(sentenceOf([&] { effect.setProgress(2); }), HasSubstr("0 to 1"));
    EXPECT_THAT(sentenceOf([&] { effect.setRecord(std::vector<std::byte>(500)); }), HasSubstr("not 500"));
    EXPECT_THAT(sentenceOf([&] { effect.loadState({}); }), HasSubstr("empty"));
    EXPECT_THAT(sentenceOf([&] { effect.setRamp(effect.record(), {}); }), HasSubstr("not 0"));
    EXPECT_EQ(effect.record(), effect.info().defaults);
}

TEST(HostEffect, SettingsTravel) {
    const EffectInfo& info = module().find("Invert");
    ASSERT_GE(info.presets.size(), 2u);
    Effect effect = module().create(info);
    const Surface input = Surface::create(PixelFormat::PremultipliedArgb32, 1, 1);
    const Surface output = Surface::create(PixelFormat::PremultipliedArgb32, 1, 1);
    fill(input, 0xFF102030);
    const auto rendered = [&](Effect& by) {
        Surface(output).clear();
        by.render({&input, 1}, output);
        return sampleAt(output, 0, 0);
    };
    effect.applyPreset(info.presets[1].name);
    const DWORD expected = rendered(effect);
    Effect other = module().create(info);
    other.loadState(effect.saveState());
    EXPECT_EQ(rendered(other), expected);
    // A ramp between a record and itself shows that record; behind it stands what was set.
    const auto from = info.presets[0].record, to = info.presets[1].record;
    Effect still = module().create(info);
    still.setRecord(to);
    const DWORD end = rendered(still);
    still.setRecord(from);
    const DWORD begin = rendered(still);
    still.setRamp(to, to);
    still.setRampPosition(0.5);
    EXPECT_EQ(rendered(still), end);
    EXPECT_EQ(still.record(), from);
    still.clearRamp();
    EXPECT_EQ(rendered(still), begin);
}

} // namespace
} // namespace larkmoor
