// What the OpenFX plug-ins tell a host, and what they take from it.
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>

#include "bridges/openfx_bench.h"
#include "host/alpha.h"

namespace openfxhost {
namespace {

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

} // namespace
} // namespace openfxhost
