// The OpenFX plug-ins under a strict host, against the command's own chain of effects.
#include "bridges/openfx_host.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <random>
#include <set>
#include <sstream>
#include <thread>

#include <malloc.h>

#include <gtest/gtest.h>

#include "chain.h"
#include "host/alpha.h"
#include "host/depth.h"
#include "module.h"

namespace openfxhost {
namespace {

using larkmoor::Chain;
using larkmoor::EffectInfo;
using larkmoor::EffectKind;
using larkmoor::EffectRequest;
using larkmoor::ImageView;
using larkmoor::module;
using larkmoor::PixelFormat;
using larkmoor::Surface;

constexpr double kRate = 25;
constexpr const char* kGeneral = "OfxImageEffectContextGeneral";

const EffectInfo& infoOf(std::size_t nth) {
    return module().effects()[nth];
}

std::size_t numbered(const std::string& name) {
    return static_cast<std::size_t>(&module().find(name) - module().effects().data());
}

std::string contextOf(const EffectInfo& info) {
    return info.kind == EffectKind::Transition  ? "OfxImageEffectContextTransition"
           : info.kind == EffectKind::Generator ? "OfxImageEffectContextGenerator"
                                                : "OfxImageEffectContextFilter";
}

std::vector<std::string> inputsOf(const EffectInfo& info) {
    if (info.kind == EffectKind::Generator) return {};
    if (info.kind == EffectKind::Transition) return {"SourceFrom", "SourceTo"};
    return {"Source"};
}

std::string digits(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

bool isKept(const tFieldInfo& field) {
    return std::string_view(field.help).starts_with("Kept ");
}

std::string parameterOf(const tFieldInfo& field) {
    std::string name = field.name;
    std::replace(name.begin(), name.end(), '.', '_');
    return name;
}

/// Gives a field another value than its default, spread by its place.
/// @return the same in the command's words.
std::string changeField(Instance& instance, const tFieldInfo& field, std::size_t index) {
    Parameter& parameter = instance.parameter(parameterOf(field));
    const double part = static_cast<double>((index * 3 + 1) % 8) / 8;
    const double real = field.minimum + part * (field.maximum - field.minimum);
    const std::string option = std::string(field.name) + "=";
    switch (field.kind) {
    case KWFIELD_TEXT:
        parameter.text = "A\\nb\nc";
        return option + "A\\\\nb\\nc";
    case KWFIELD_FONT:
        parameter.text = "Serif Bold";
        instance.parameter("fontSize").numbers = {12};
        return option + "Serif Bold 12";
    case KWFIELD_SWITCH:
        parameter.numbers = {index % 2 == 0 ? 1.0 : 0.0};
        return option + (index % 2 == 0 ? "on" : "off");
    case KWFIELD_CHOICE: {
        const auto choice = (index * 5 + 1) % static_cast<std::size_t>(field.choiceCount);
        parameter.numbers = {static_cast<double>(choice)};
        return option + std::to_string(field.choices[choice].value);
    }
    case KWFIELD_COLOR: {
        const std::size_t red = (0x12 + index * 0x35) % 256; // no two colours of an effect alike
        parameter.numbers = {static_cast<double>(red) / 255.0, 0xAB / 255.0, 0xFE / 255.0, 0x33 / 255.0};
        parameter.numbers.resize(static_cast<std::size_t>(field.count));
        char text[16];
        std::snprintf(text, sizeof text, "#%02XABFE%s", static_cast<unsigned>(red), field.count == 4 ? "33" : "");
        return option + text;
    }
    case KWFIELD_POINT:
        parameter.numbers = {real, field.maximum - real / 2};
        return option + digits(real) + "," + digits(field.maximum - real / 2);
    default:
        parameter.numbers = {field.kind == KWFIELD_WHOLE || field.type == KWTYPE_LONG ? std::round(real) : real};
        return option + digits(parameter.numbers[0]);
    }
}

/// Noise with alphas of its own or without.
std::vector<std::uint8_t> noise(int width, int height, unsigned seed, bool opaque) {
    std::minstd_rand random(seed);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(width * height * 4));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = opaque && i % 4 == 3 ? 255 : static_cast<std::uint8_t>(random() >> 8);
    return bytes;
}

/// A surface of noise, blue first, the highest row first; in floats between the steps of bytes, with a row
/// beyond white and one beyond black.
Surface surfaceOf(int width, int height, unsigned seed, bool opaque, bool floats) {
    const auto bytes = noise(width, height, seed, opaque);
    const Surface surface =
        Surface::create(floats ? PixelFormat::Float128 : PixelFormat::PremultipliedArgb32, width, height);
    const ImageView view = surface.view();
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const std::size_t row = i / static_cast<std::size_t>(width * 4), at = i % static_cast<std::size_t>(width * 4);
        std::byte* const line = view.data + static_cast<std::ptrdiff_t>(row) * view.stride;
        if (floats)
            reinterpret_cast<float*>(line)[at] = i % 4 == 3 && opaque ? 1.0f
                                                 : i % 4 != 3 && row < 2
                                                     ? (row == 0 ? 1.5f : -0.25f)
                                                     : (static_cast<float>(bytes[i]) + 0.3f) / 255.6f;
        else
            line[at] = static_cast<std::byte>(bytes[i]);
    }
    return surface;
}

/// The pixel of a host's picture that stands for one of a surface.
std::vector<std::byte> hostPixel(const Surface& surface, int x, int row) {
    const ImageView view = surface.view();
    const std::size_t sample = view.format == PixelFormat::Float128 ? 4 : 1;
    const std::byte* const p = view.data + row * view.stride + x * static_cast<int>(4 * sample);
    std::vector<std::byte> pixel;
    for (const std::size_t channel : {2, 1, 0, 3})
        pixel.insert(pixel.end(), p + channel * sample, p + (channel + 1) * sample);
    return pixel;
}

void fill(Picture& picture, const Area& frame, const Surface& surface) {
    for (int y = frame.y1; y < frame.y2; ++y)
        for (int x = frame.x1; x < frame.x2; ++x) {
            const auto pixel = hostPixel(surface, x - frame.x1, frame.y2 - 1 - y);
            std::memcpy(picture.at(x, y), pixel.data(), pixel.size());
        }
}

/// Pixels of `area` that are not those of the surface over `frame`.
int differences(Picture& picture, const Area& frame, const Area& area, const Surface& surface) {
    int count = 0;
    for (int y = area.y1; y < area.y2; ++y)
        for (int x = area.x1; x < area.x2; ++x) {
            const auto pixel = hostPixel(surface, x - frame.x1, frame.y2 - 1 - y);
            count += std::memcmp(picture.at(x, y), pixel.data(), pixel.size()) != 0;
        }
    return count;
}

/// What the command makes of pictures with settings in its words.
Surface commanded(const EffectInfo& info, const std::vector<std::string>& settings, const std::vector<Surface>& inputs,
                  double progress, double frame, Surface output) {
    EffectRequest request{.name = info.name, .values = larkmoor::Values::Unchecked};
    for (const std::string& setting : settings) request.options.emplace_back(EffectRequest::Kind::Set, setting);
    larkmoor::Recipe recipe;
    const larkmoor::Step step = larkmoor::planStep(module(), request);
    if (info.kind == EffectKind::Filter)
        recipe.effects = {step};
    else
        recipe.head = step;
    const tSurfaceInfo told{1, kRate, std::llround(frame / kRate * 1e7)};
    for (Surface input : inputs) input.setInfo(told);
    output.setInfo(told);
    Chain chain(module(), recipe);
    chain.run(inputs.empty() ? Surface() : inputs[0], inputs.size() > 1 ? inputs[1] : Surface(), output, {0, progress});
    // What nothing has changed keeps the samples that it came with.
    for (const Surface& input : inputs)
        if (!larkmoor::limitsLevels(step) && larkmoor::isUnchanged(input.view(), output.view())) return input;
    return output;
}

std::string valueText(const Parameter& parameter, const std::string& property) {
    std::string text;
    for (std::size_t i = 0; i < parameter.properties.values.at(property).size(); ++i) {
        char number[32];
        std::snprintf(number, sizeof number, "%s%.10g", i ? " " : "", parameter.properties.number(property, i));
        text += number;
    }
    return text;
}

/// What the plug-in tells of itself, for people, in the general context.
std::string listing(LoadedPlugin& plugin) {
    const auto effect = plugin.describe(kGeneral);
    const Properties& told = plugin.descriptor();
    std::string text = std::string(plugin.entry().identifier) + " \"" + told.text("OfxPropLabel") + "\", " +
                       told.text("OfxImageEffectPluginPropGrouping") + "\nclips:";
    for (const auto& [name, clip] : effect->clips) text += " " + name;
    for (const std::string& name : effect->order) {
        const Parameter& parameter = *effect->parameters.at(name);
        const Properties& has = parameter.properties;
        char line[200];
        std::snprintf(line, sizeof line, "\n%-30s %-8s \"%s\" = ", name.c_str(), parameter.type.c_str(),
                      has.text("OfxPropLabel").c_str());
        text += line;
        text += parameter.type == "String" ? '"' + has.text("OfxParamPropDefault") + '"'
                                           : valueText(parameter, "OfxParamPropDefault");
        if (has.has("OfxParamPropMin"))
            text += ", " + valueText(parameter, "OfxParamPropMin") + " to " + valueText(parameter, "OfxParamPropMax");
        for (std::size_t i = 0;
             has.has("OfxParamPropChoiceOption") && i < has.values.at("OfxParamPropChoiceOption").size(); ++i)
            text += (i ? " | " : ": ") + has.text("OfxParamPropChoiceOption", i);
    }
    return text + "\n\n";
}

RectD regionOf(const Area& area) {
    return {double(area.x1), double(area.y1), double(area.x2), double(area.y2)};
}

/// An instance with pictures on its clips.
struct Bench {
    Bench(std::size_t nth, const std::string& context, const Area& frame, bool floats, Alpha alpha, int padding = 0,
          bool topDown = false)
        : Bench(*plugins()[nth], infoOf(nth), context, frame, floats, alpha, padding, topDown) {}
    Bench(LoadedPlugin& plugin, const EffectInfo& info, const std::string& context, const Area& frame, bool floats,
          Alpha alpha, int padding = 0, bool topDown = false)
        : info(info), instance(plugin, context), frame(frame), out(frame, floats, alpha, padding, topDown) {
        for (const std::string& name : inputsOf(info)) {
            pictures.push_back(std::make_unique<Picture>(frame, floats, alpha, padding, topDown));
            connect(name, *pictures.back());
        }
        connect("Output", out);
    }
    void connect(const std::string& name, Picture& picture) {
        Clip& clip = instance.clip(name);
        clip.picture = &picture;
        clip.region = regionOf(frame);
        clip.properties.put<double>("OfxImageEffectPropFrameRate", {kRate});
    }
    /// Noise on the inputs, as surfaces too.
    std::vector<Surface> feed(bool opaque) {
        std::vector<Surface> surfaces;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            surfaces.push_back(surfaceOf(static_cast<int>(frame.width()), static_cast<int>(frame.height()),
                                         static_cast<unsigned>(i + 1), opaque, out.floats));
            fill(*pictures[i], frame, surfaces.back());
        }
        return surfaces;
    }
    std::vector<std::string> change() {
        std::vector<std::string> settings;
        for (std::size_t i = 0; i < info.fields.size(); ++i)
            if (!isKept(info.fields[i])) settings.push_back(changeField(instance, info.fields[i], i));
        return settings;
    }
    Surface target() const {
        const PixelFormat form = out.floats                           ? PixelFormat::Float128
                                 : info.kind == EffectKind::Generator ? PixelFormat::Argb32
                                                                      : PixelFormat::PremultipliedArgb32;
        return Surface::create(form, static_cast<int>(frame.width()), static_cast<int>(frame.height()));
    }

    const EffectInfo& info;
    Instance instance;
    Area frame;
    std::vector<std::unique_ptr<Picture>> pictures;
    Picture out;
};

class OpenFx : public testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(plugins().size(), module().effects().size()); }
    void TearDown() override {
        for (const std::string& fault : takeFaults()) ADD_FAILURE() << "the plug-in " << fault;
    }
};

// Projects keep identifiers, names, the order of choices. After a change that is meant, LARKMOOR_UPDATE=1 writes the
// file anew.
TEST_F(OpenFx, TellsWhatProjectsKeep) {
    const char* const file = LARKMOOR_TEST_FOLDER "/data/openfx.txt";
    std::string told;
    for (const auto& plugin : plugins()) told += listing(*plugin);
    if (std::getenv("LARKMOOR_UPDATE")) std::ofstream(file) << told;
    std::stringstream kept;
    kept << std::ifstream(file).rdbuf();
    EXPECT_EQ(told, kept.str());
}

TEST_F(OpenFx, TellsEveryEffectAndParameter) {
    for (std::size_t nth = 0; nth < plugins().size(); ++nth) {
        LoadedPlugin& plugin = *plugins()[nth];
        const EffectInfo& info = infoOf(nth);
        SCOPED_TRACE(info.name);
        EXPECT_STREQ(plugin.entry().api, "OfxImageEffectPluginAPI");
        EXPECT_EQ(plugin.entry().apiVersion, 1);
        EXPECT_EQ(std::string_view(plugin.entry().identifier).find_first_of(" :-()"), std::string::npos);
        const Properties& told = plugin.descriptor();
        EXPECT_EQ(told.text("OfxImageEffectPropSupportedContexts"), contextOf(info));
        EXPECT_EQ(told.text("OfxImageEffectPropSupportedContexts", 1), kGeneral);
        EXPECT_EQ(told.text("OfxImageEffectPluginRenderThreadSafety"), "OfxImageEffectRenderInstanceSafe");
        EXPECT_EQ(plugin.call(nullptr, "OfxActionOfTomorrow"), kReplyDefault);
        for (const std::string& context : {contextOf(info), std::string(kGeneral), std::string("OfxOfTomorrow")}) {
            const auto effect = plugin.describe(context);
            std::set<std::string> clips, wanted{"Output"};
            for (const auto& [name, clip] : effect->clips) {
                clips.insert(name);
                EXPECT_EQ(clip->properties.text("OfxImageEffectPropSupportedComponents"), "OfxImageComponentRGBA");
                EXPECT_EQ(clip->properties.text("OfxImageClipPropFieldExtraction"), "OfxFieldBoth");
            }
            for (const std::string& name : inputsOf(info)) wanted.insert(name);
            EXPECT_EQ(clips, wanted);
            const bool transition = info.kind == EffectKind::Transition, fixed = context == contextOf(info);
            EXPECT_EQ(effect->parameters.count("Transition"), transition && fixed);
            EXPECT_EQ(effect->parameters.count("progress"), transition && !fixed);
            for (const tFieldInfo& field : info.fields)
                EXPECT_EQ(effect->parameters.count(parameterOf(field)), !isKept(field));
            for (const auto& [name, parameter] : effect->parameters) {
                const auto& p = parameter->properties;
                EXPECT_NE(p.text("OfxParamPropHint"), "") << name;
                if (!p.has("OfxParamPropMin")) continue;
                EXPECT_TRUE(p.values.at("OfxParamPropMin") == p.values.at("OfxParamPropDisplayMin")) << name;
                EXPECT_TRUE(p.values.at("OfxParamPropMax") == p.values.at("OfxParamPropDisplayMax")) << name;
                EXPECT_LE(p.number("OfxParamPropMin"), p.number("OfxParamPropDefault")) << name;
                EXPECT_GE(p.number("OfxParamPropMax"), p.number("OfxParamPropDefault")) << name;
            }
        }
    }
}

// Every effect at its defaults and with every field changed, in both contexts and depths, over rows of all kinds.
TEST_F(OpenFx, PicturesEqualTheCommand) {
    constexpr Area frame{-3, 5, 147, 85}; // three bands
    for (std::size_t nth = 0; nth < plugins().size(); ++nth)
        for (unsigned way = 0; way < 8; ++way) {
            const bool general = way & 1, floats = way & 2, changed = way & 4, turned = (nth + way + way / 4) % 2;
            const EffectInfo& info = infoOf(nth);
            Bench bench(nth, general ? kGeneral : contextOf(info), frame, floats,
                        !turned                                         ? Alpha::Opaque
                        : info.kind == EffectKind::Generator && !floats ? Alpha::Straight
                                                                        : Alpha::Premultiplied,
                        turned ? 48 : 0, turned);
            const auto settings = changed ? bench.change() : std::vector<std::string>();
            const auto inputs = bench.feed(true);
            if (!inputs.empty() && inputs.size() > 1)
                bench.instance.parameter(general ? "progress" : "Transition").numbers = {0.375};
            const Surface want = commanded(info, settings, inputs, 0.375, 7, bench.target());
            if (info.kind == EffectKind::Generator && !floats && bench.out.alpha != Alpha::Straight) {
                ImageView view = want.view();
                premultiply(view);
            }
            Picture before = bench.out;
            EXPECT_EQ(bench.instance.render(7, frame), kOk);
            EXPECT_EQ(differences(bench.out, frame, frame, want), 0) << info.name << " " << way;
            EXPECT_FALSE(bench.out.differsOutside(before, frame)) << info.name << " " << way;
        }
}

// A part of the picture is that part of the whole, wherever the picture lies; pictures that end before the frame does
// have nothing there.
TEST_F(OpenFx, WindowsArePartsOfTheWhole) {
    constexpr Area frame{-7, 4, 32, 31}, window{2, 9, 21, 25}, small{-2, 7, 25, 40};
    for (const char* const name : {"Wave", "Gaussian Blur", "Iris", "Test Pattern"})
        for (const bool floats : {false, true}) {
            SCOPED_TRACE(name);
            Bench bench(numbered(name), kGeneral, frame, floats, Alpha::Premultiplied, 32, floats);
            auto inputs = bench.feed(true);
            std::unique_ptr<Picture> cut;
            if (!inputs.empty()) {
                cut = std::make_unique<Picture>(small, floats, Alpha::Premultiplied);
                for (int y = small.y1; y < small.y2; ++y)
                    for (int x = small.x1; x < small.x2; ++x) std::memset(cut->at(x, y), 0, floats ? 16 : 4);
                constexpr Area both{-2, 7, 25, 31}; // small within frame
                for (int y = both.y1; y < both.y2; ++y)
                    std::memcpy(cut->at(both.x1, y), bench.pictures[0]->at(both.x1, y),
                                static_cast<std::size_t>(both.width()) * (floats ? 16 : 4));
                bench.connect(inputsOf(bench.info)[0], *cut);
                const ImageView view = inputs[0].view();
                for (int y = frame.y1; y < frame.y2; ++y)
                    for (int x = frame.x1; x < frame.x2; ++x)
                        if (x < both.x1 || x >= both.x2 || y < both.y1 || y >= both.y2)
                            std::memset(view.data + (frame.y2 - 1 - y) * view.stride +
                                            (x - frame.x1) * (floats ? 16 : 4),
                                        0, floats ? 16 : 4);
            }
            if (inputs.size() > 1) bench.instance.parameter("progress").numbers = {0.5};
            const Surface want = commanded(bench.info, {}, inputs, 0.5, 0, bench.target());
            Picture before = bench.out;
            EXPECT_EQ(bench.instance.render(0, window), kOk);
            EXPECT_EQ(differences(bench.out, frame, window, want), 0);
            EXPECT_FALSE(bench.out.differsOutside(before, window));
            // A host that asks for more than there is.
            const Area beyond{frame.x1 - 2, frame.y1 - 1, frame.x2 + 3, frame.y2};
            bench.out = Picture(beyond, floats, Alpha::Premultiplied);
            EXPECT_EQ(bench.instance.render(0, beyond), kOk);
            EXPECT_EQ(differences(bench.out, frame, frame, want), 0);
            for (const Area& side :
                 {Area{beyond.x1, beyond.y1, frame.x1, beyond.y2}, Area{frame.x2, beyond.y1, beyond.x2, beyond.y2},
                  Area{beyond.x1, beyond.y1, beyond.x2, frame.y1}})
                EXPECT_EQ(std::ranges::count(bench.out.pixels(side), std::byte{0}),
                          side.width() * side.height() * (floats ? 16 : 4));
        }
}

// Whatever the form that it comes in and the one that it is wanted in.
TEST_F(OpenFx, ColourIsMultipliedAndDividedByAlpha) {
    constexpr Area frame{0, 0, 33, 20};
    constexpr Alpha forms[] = {Alpha::Opaque, Alpha::Premultiplied, Alpha::Straight};
    for (const char* const name : {"Invert", "Levels", "Dissolve", "Gaussian Blur", "Pixelate"})
        for (int way = 0; way < 18; ++way) {
            const bool floats = way % 2;
            const Alpha given = forms[way / 2 % 3], wanted = forms[way / 6];
            const bool leaves = std::string_view(name) == "Gaussian Blur" || std::string_view(name) == "Pixelate";
            if (leaves && given == wanted) continue; // goes back as it came
            SCOPED_TRACE(name + std::string(" ") + std::to_string(way));
            Bench bench(numbered(name), kGeneral, frame, floats, given);
            bench.out.alpha = wanted;
            const auto inputs = bench.feed(false);
            for (const Surface& input : inputs) {
                const ImageView view = input.view();
                if (given == Alpha::Straight) premultiply(view);
                for (int i = 0; given == Alpha::Opaque && i < view.width * view.height; ++i) {
                    std::byte* const row = view.data + i / view.width * view.stride;
                    if (floats)
                        reinterpret_cast<float*>(row)[i % view.width * 4 + 3] = 1;
                    else
                        row[i % view.width * 4 + 3] = std::byte{255};
                }
            }
            std::vector<std::string> settings;
            for (const tFieldInfo& field : bench.info.fields) {
                const bool range = std::string_view(field.name).ends_with("Range"); // of Gaussian Blur
                if (!leaves || field.kind == KWFIELD_SWITCH) continue;
                bench.instance.parameter(field.name).numbers = {range ? 0.0 : 1.0};
                settings.push_back(std::string(field.name) + (range ? "=0" : "=1"));
            }
            if (inputs.size() > 1) bench.instance.parameter("progress").numbers = {0.5};
            const Surface want = commanded(bench.info, settings, inputs, 0.5, 0, bench.target());
            if (wanted == Alpha::Straight) unpremultiply(want.view());
            EXPECT_EQ(bench.instance.render(0, frame), kOk);
            EXPECT_EQ(differences(bench.out, frame, frame, want), 0);
        }
}

// What an effect leaves as it is comes back whole: levels beyond white, and colour under alphas that would not bear
// being multiplied and divided.
TEST_F(OpenFx, WhatIsLeftComesBackWhole) {
    constexpr Area frame{0, 0, 24, 10};
    std::set<std::string> identities;
    for (std::size_t nth = 0; nth < plugins().size(); ++nth) {
        const EffectInfo& info = infoOf(nth);
        std::size_t none = 0;
        while (none < info.presets.size() && info.presets[none].name != "Reset to None") ++none;
        if (info.kind != EffectKind::Filter || none == info.presets.size()) continue;
        for (const bool floats : {false, true}) {
            Bench bench(nth, contextOf(info), frame, floats, Alpha::Straight);
            bench.instance.parameter("preset").numbers = {static_cast<double>(none + 1)};
            bench.feed(false);
            if (floats) reinterpret_cast<float*>(bench.pictures[0]->at(3, 3))[1] = 7;
            Properties in(Owner::In), out(Owner::Out);
            in.put<double>("OfxPropTime", {3});
            const int status = bench.instance.call("OfxImageEffectActionIsIdentity", &in, &out);
            EXPECT_EQ(bench.instance.render(3, frame), kOk);
            if (status == kOk) {
                identities.insert(info.name);
                EXPECT_EQ(out.text("OfxPropName"), "Source");
                EXPECT_EQ(out.number("OfxPropTime"), 3);
                EXPECT_TRUE(bench.out.pixels(frame) == bench.pictures[0]->pixels(frame)) << info.name << floats;
            }
            bench.change();
            bench.instance.parameter("preset").numbers = {0};
            EXPECT_EQ(bench.instance.call("OfxImageEffectActionIsIdentity", &in, &out), kReplyDefault) << info.name;
        }
    }
    for (const char* const name : {"Gaussian Blur", "Levels", "Broadcast Colors"})
        EXPECT_EQ(identities.count(name), 1u);
    EXPECT_EQ(identities.count("Sharpen"), 0u); // which sharpens a little even so
}

TEST_F(OpenFx, PresetsSetTheParametersOrStandForThem) {
    constexpr Area frame{0, 0, 30, 20};
    for (std::size_t nth = 0; nth < plugins().size(); ++nth) {
        const EffectInfo& info = infoOf(nth);
        for (std::size_t preset = 0; preset < info.presets.size(); ++preset) {
            Bench bench(nth, kGeneral, frame, false, Alpha::Premultiplied);
            const auto inputs = bench.feed(true);
            bench.change();
            bench.instance.parameter("preset").numbers = {static_cast<double>(preset + 1)};
            if (inputs.size() > 1) bench.instance.parameter("progress").numbers = {0.5};
            EXPECT_EQ(bench.instance.render(0, frame), kOk);
            const auto stands = bench.out.pixels(frame);
            const Surface want = [&] {
                larkmoor::Effect effect = module().create(info);
                effect.setRecord(info.presets[preset].record);
                Surface output = bench.target();
                for (Surface input : inputs) input.setInfo({1, kRate, 0});
                output.setInfo({1, kRate, 0});
                if (info.kind == EffectKind::Generator) {
                    effect.generate(output);
                    premultiply(output.view());
                } else {
                    if (inputs.size() > 1) effect.setProgress(0.5f);
                    effect.render(inputs, output);
                }
                return output;
            }();
            EXPECT_EQ(differences(bench.out, frame, frame, want), 0) << info.name << " " << preset;
            Properties in(Owner::In);
            in.put<double>("OfxPropTime", {0});
            in.put<std::string>("OfxPropType", {"OfxTypeParameter"});
            in.put<std::string>("OfxPropName", {"preset"});
            in.put<std::string>("OfxPropChangeReason", {"OfxChangePluginEdited"});
            EXPECT_EQ(bench.instance.call("OfxActionInstanceChanged", &in), kReplyDefault);
            EXPECT_EQ(bench.instance.parameter("preset").numbers[0], preset + 1.0);
            in.put<std::string>("OfxPropChangeReason", {"OfxChangeUserEdited"});
            in.put<std::string>("OfxPropName", {"Source"});
            EXPECT_EQ(bench.instance.call("OfxActionInstanceChanged", &in), kReplyDefault);
            EXPECT_EQ(bench.instance.parameter("preset").numbers[0], preset + 1.0);
            in.put<std::string>("OfxPropName", {"preset"});
            EXPECT_EQ(bench.instance.call("OfxActionInstanceChanged", &in), kOk);
            EXPECT_EQ(bench.instance.parameter("preset").numbers[0], 0.0);
            EXPECT_EQ(bench.instance.render(0, frame), kOk);
            EXPECT_TRUE(bench.out.pixels(frame) == stands) << info.name << " " << preset;
        }
    }
}

TEST_F(OpenFx, WhatIsMeasuredInPixelsFollowsTheScale) {
    constexpr Area full{0, 0, 120, 60}, half{0, 0, 60, 30};
    Bench text(numbered("Text"), kGeneral, half, false, Alpha::Straight);
    text.instance.parameter("fontSize").numbers = {40};
    // Letters do not become smaller than 4 pixels; a scale that cannot be is none.
    const std::tuple<double, double, int> heights[] = {{0.5, 0.5, 20},  {2, 2, 80},   {0.02, 0.02, 4},
                                                       {2e-4, 2e-4, 4}, {0, 1, 40},   {-1, 1, 40},
                                                       {5e-5, 1, 40},   {1e5, 1, 40}, {std::nan(""), 1, 40}};
    for (const auto& [scale, taken, pixels] : heights) {
        text.instance.clip("Output").region = {0, 0, 60 / taken, 30 / taken};
        EXPECT_EQ(text.instance.render(0, half, scale, scale), kOk);
        const Surface want = commanded(text.info, {"font=Arial " + std::to_string(pixels)}, {}, 0, 0, text.target());
        EXPECT_EQ(differences(text.out, half, half, want), 0) << scale;
    }
    Bench keyer(numbered("Chroma Keyer"), kGeneral, half, false, Alpha::Premultiplied);
    keyer.instance.clip("Output").region = regionOf(full);
    const auto inputs = keyer.feed(true);
    keyer.instance.parameter("transparencyMask_blurAmount").numbers = {0.5};
    EXPECT_EQ(keyer.instance.render(0, half, 0.5, 0.5), kOk);
    const Surface want = commanded(keyer.info, {"transparencyMask.blurAmount=0.25"}, inputs, 0, 0, keyer.target());
    EXPECT_EQ(differences(keyer.out, half, half, want), 0);
}

// Regions are told in square pixels.
TEST_F(OpenFx, RegionsFollowThePixelsAspect) {
    constexpr Area frame{4, 0, 64, 30}, window{10, 2, 40, 20};
    Bench bench(numbered("Wave"), kGeneral, frame, false, Alpha::Premultiplied);
    const auto inputs = bench.feed(true);
    bench.out = Picture(window, false, Alpha::Premultiplied);
    bench.instance.clip("Output").properties.put<double>("OfxImagePropPixelAspectRatio", {2});
    bench.instance.clip("Output").region = {16, 0, 256, 60};
    EXPECT_EQ(bench.instance.render(0, window, 0.5, 0.5), kOk);
    EXPECT_EQ(differences(bench.out, frame, window, commanded(bench.info, {}, inputs, 0, 0, bench.target())), 0);
}

// Straight where any input is, else premultiplied: an effect may clear what was opaque.
TEST_F(OpenFx, PreferencesFollowTheInputs) {
    constexpr const char* states[] = {"OfxImageOpaque", "OfxImageAlphaPremultiplied", "OfxImageAlphaUnPremultiplied"};
    for (std::size_t nth = 0; nth < plugins().size(); ++nth)
        for (int way = 0; way < 9; ++way) {
            Instance instance(*plugins()[nth], kGeneral);
            const auto inputs = inputsOf(infoOf(nth));
            bool straight = false;
            for (std::size_t i = 0; i < inputs.size(); ++i) {
                const int state = i ? way / 3 : way % 3;
                straight = straight || state == 2;
                instance.clip(inputs[i]).properties.put<std::string>("OfxImageEffectPropPreMultiplication",
                                                                     {states[state]});
            }
            Properties out(Owner::Out);
            EXPECT_EQ(instance.call("OfxImageEffectActionGetClipPreferences", nullptr, &out), kOk);
            EXPECT_EQ(out.number("OfxImageEffectFrameVarying"), infoOf(nth).watchesTime) << infoOf(nth).name;
            EXPECT_EQ(out.text("OfxImageEffectPropPreMultiplication"), states[straight ? 2 : 1]) << infoOf(nth).name;
        }
}

TEST_F(OpenFx, TimeAndKeysReachTheEffect) {
    constexpr Area frame{0, 0, 160, 90};
    Bench code(numbered("Timecode"), kGeneral, frame, false, Alpha::Premultiplied);
    const auto inputs = code.feed(true);
    code.instance.parameter("startTime").numbers = {1};
    EXPECT_EQ(code.instance.render(30, frame), kOk);
    EXPECT_EQ(differences(code.out, frame, frame, commanded(code.info, {}, inputs, 0, 90030, code.target())), 0);
    Bench wipe(numbered("Linear Wipe"), "OfxImageEffectContextTransition", frame, false, Alpha::Premultiplied);
    const auto pair = wipe.feed(true);
    wipe.instance.parameter("Transition").perFrame = 0.01;
    wipe.instance.parameter("angle").numbers = {10};
    wipe.instance.parameter("angle").perFrame = 2;
    EXPECT_EQ(wipe.instance.render(25, frame), kOk);
    EXPECT_EQ(differences(wipe.out, frame, frame, commanded(wipe.info, {"angle=60"}, pair, 0.25, 0, wipe.target())), 0);
}

// A transition draws what it has; of a choice of tomorrow's version nothing is taken.
TEST_F(OpenFx, WhatIsMissingIsMissed) {
    constexpr Area frame{0, 0, 20, 14};
    for (std::size_t nth = 0; nth < plugins().size(); ++nth) {
        Bench bench(nth, kGeneral, frame, nth % 2, Alpha::Straight);
        bench.feed(false);
        if (infoOf(nth).presets.size()) bench.instance.parameter("preset").numbers = {1e6};
        EXPECT_EQ(bench.instance.render(0, frame), kOk);
        for (const std::string& name : inputsOf(infoOf(nth))) {
            bench.instance.clip(name).picture = nullptr;
            EXPECT_EQ(bench.instance.render(0, frame), infoOf(nth).kind == EffectKind::Filter ? kFailed : kOk);
        }
    }
}

// The longest text is taken, a longer one leaves the default.
TEST_F(OpenFx, TextsHaveAnEnd) {
    constexpr Area frame{0, 0, 60, 30};
    Bench bench(numbered("Text"), kGeneral, frame, false, Alpha::Straight);
    for (const auto& [blanks, text] : {std::pair{65534, "A"}, {65535, "Text"}}) {
        bench.instance.parameter("text").text = "A" + std::string(static_cast<std::size_t>(blanks), '\n');
        bench.instance.parameter("fontSize").numbers = {12};
        bench.instance.parameter("vertical").numbers = {0};
        EXPECT_EQ(bench.instance.render(0, frame), kOk);
        const Surface want = commanded(bench.info, {"font=Arial 12", "vertical=Top", std::string("text=") + text}, {},
                                       0, 0, bench.target());
        EXPECT_EQ(differences(bench.out, frame, frame, want), 0) << blanks;
    }
}

// The user is told what keeps a frame from being made, once, and that it no longer does.
TEST_F(OpenFx, FailuresAreTold) {
    constexpr Area frame{0, 0, 20, 14};
    using Told = std::vector<std::string>;
    for (const int version : {0, 1, 2}) {
        LoadedPlugin plugin(plugins()[numbered("Sepia")]->entry(), version);
        Bench bench(plugin, infoOf(numbered("Sepia")), kGeneral, frame, true, Alpha::Opaque);
        bench.feed(true);
        const auto frames = [&](int status) {
            bench.instance.effect().messages.clear();
            EXPECT_EQ(bench.instance.render(0, frame), status);
            EXPECT_EQ(bench.instance.render(0, frame), status);
            return bench.instance.effect().messages;
        };
        const auto told = [&](const char* sentence) { return version ? Told{sentence} : Told{}; };
        EXPECT_EQ(frames(kOk), Told{});
        bench.instance.clip("Source").picture = nullptr;
        EXPECT_EQ(frames(kFailed), told("Sepia has no picture to work on: connect one to it"));
        bench.connect("Source", *bench.pictures[0]);
        EXPECT_EQ(frames(kOk), version == 2 ? Told{"nothing"} : Told{});
        Picture bytes(frame, false, Alpha::Opaque);
        bench.connect("Source", bytes);
        EXPECT_EQ(frames(kImageFormat),
                  told("Sepia takes pictures of red, green, blue and alpha, all in bytes or all in floats"));
        bench.instance.clip("Output").picture = nullptr;
        EXPECT_EQ(frames(kFailed), told("the host gives Sepia no picture to draw on"));
        Picture wide({0, 0, 40000, 1}, true, Alpha::Opaque);
        bench.connect("Output", wide);
        bench.instance.clip("Output").region = {};
        EXPECT_EQ(frames(kFailed), told("a picture of 40000 by 1 pixels is too large for Sepia: sides go up to 32768"));
    }
    LoadedPlugin again(plugins()[numbered("Sepia")]->entry());
}

TEST_F(OpenFx, FramesAreGivenUpBetweenBands) {
    constexpr Area frame{0, 0, 200, 120};
    Bench bench(numbered("Iris"), kGeneral, frame, false, Alpha::Premultiplied);
    bench.feed(true);
    bench.instance.parameter("progress").numbers = {0.5};
    Picture before = bench.out;
    int asked = 0;
    for (;; ++asked) {
        bench.instance.effect().abortAfter = asked;
        EXPECT_EQ(bench.instance.render(0, frame), kOk);
        if (bench.out.memory != before.memory) break;
    }
    EXPECT_EQ(asked, 5); // at its start, when the inputs are there, and between four bands
    const auto whole = bench.out.pixels(frame);
    bench.instance.effect().abortAfter = -1;
    EXPECT_EQ(bench.instance.render(0, frame), kOk);
    EXPECT_TRUE(bench.out.pixels(frame) == whole);
}

TEST_F(OpenFx, GeneratorsFillTheProjectAndFiltersSeeAllOfTheirInput) {
    for (std::size_t nth = 0; nth < plugins().size(); ++nth) {
        Instance instance(*plugins()[nth], kGeneral);
        instance.effect().properties.put<double>("OfxImageEffectPropProjectOffset", {-4, 10});
        instance.effect().properties.put<double>("OfxImageEffectPropProjectSize", {640, 360});
        Properties in(Owner::In), out(Owner::Out);
        in.put<double>("OfxPropTime", {0});
        const int status = instance.call("OfxImageEffectActionGetRegionOfDefinition", &in, &out);
        if (infoOf(nth).kind == EffectKind::Generator) {
            EXPECT_EQ(status, kOk);
            const double want[] = {-4, 10, 636, 370};
            for (std::size_t i = 0; i < 4; ++i)
                EXPECT_EQ(out.number("OfxImageEffectPropRegionOfDefinition", i), want[i]);
            continue;
        }
        EXPECT_EQ(status, kReplyDefault);
        for (const std::string& name : inputsOf(infoOf(nth))) instance.clip(name).region = {-1, -2, 30, 40};
        EXPECT_EQ(instance.call("OfxImageEffectActionGetRegionsOfInterest", &in, &out), kOk);
        for (const std::string& name : inputsOf(infoOf(nth)))
            EXPECT_EQ(out.number("OfxImageClipPropRoI_" + name, 3), 40) << infoOf(nth).name;
    }
}

// glibc counts what a thread keeps of freed memory as held, some 40 kB here; without these stores nothing grows at all.
TEST_F(OpenFx, NothingGrows) {
    const char* const tunables = std::getenv("GLIBC_TUNABLES");
    if (!tunables || !std::strstr(tunables, "tcache_count=0")) GTEST_SKIP() << "ctest switches the threads' stores off";
    constexpr std::size_t rounds = 60, least = 32; // bytes of the least block, lost once a round
    constexpr Area frame{0, 0, 24, 16};
    const auto after = [&](std::size_t times) {
        for (std::size_t round = 0; round < times; ++round)
            for (std::size_t nth = 0; nth < plugins().size(); ++nth) {
                LoadedPlugin plugin(plugins()[nth]->entry());
                Bench bench(plugin, infoOf(nth), kGeneral, frame, nth % 2, Alpha::Straight);
                EXPECT_EQ(bench.instance.render(0, frame), kOk);
            }
        return ::mallinfo2().uordblks + ::mallinfo2().hblkhd;
    };
    const auto before = after(2);
    EXPECT_LT(after(rounds), before + rounds * least);
}

// Instances on several threads: made, rendered and ended at random, each frame as it is by itself.
TEST_F(OpenFx, InstancesStandThreads) {
    constexpr Area frame{0, 0, 24, 16};
    std::vector<std::vector<std::byte>> alone;
    const auto frameOf = [&](std::size_t nth) {
        Bench bench(nth, kGeneral, frame, false, Alpha::Straight);
        bench.feed(false);
        bench.change();
        EXPECT_EQ(bench.instance.render(1, frame), kOk);
        return bench.out.pixels(frame);
    };
    for (std::size_t nth = 0; nth < plugins().size(); ++nth) alone.push_back(frameOf(nth));
    std::vector<std::jthread> threads;
    for (unsigned seed = 1; seed <= 4; ++seed)
        threads.emplace_back([&, seed] {
            std::minstd_rand random(seed);
            for (int step = 0; step < 60; ++step) {
                const std::size_t nth = random() % alone.size();
                EXPECT_TRUE(frameOf(nth) == alone[nth]) << infoOf(nth).name;
            }
        });
}

} // namespace
} // namespace openfxhost
