// What the OpenFX plug-ins draw, against the command's own chain of effects.
#include <cstdlib>
#include <set>
#include <thread>

#include <malloc.h>

#include "bridges/openfx_bench.h"
#include "host/alpha.h"

namespace openfxhost {
namespace {

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
