// Scope, limits and the pictures agree on what black and white are.
#include <gmock/gmock.h>

#include <QCheckBox>

#include "levels.h"
#include "render_project.h"
#include "studio_window.h"

namespace larkmoor {

namespace {

using testing::HasSubstr;
using testing::Not;

std::string levelsOf(const ProjectEffect& effect) {
    return fieldText(*levelsField(*effect.info), effect.record);
}

class LevelsTest : public StudioTest {
  protected:
    /// The largest difference of two clips' samples.
    int farthest(const std::string& one, const std::string& other) const {
        std::string samples[2];
        for (int i = 0; i < 2; ++i) {
            ffmpeg("-i " + (i ? other : one) + " -pix_fmt yuv444p -f rawvideo bare.yuv");
            samples[i] = content("bare.yuv");
        }
        EXPECT_EQ(samples[0].size(), samples[1].size());
        int most = 0;
        for (std::size_t i = 0; i < std::min(samples[0].size(), samples[1].size()); ++i)
            most = std::max(
                most, std::abs(static_cast<unsigned char>(samples[0][i]) - static_cast<unsigned char>(samples[1][i])));
        return most;
    }
};

TEST_F(LevelsTest, LegalBarsComeBackUnchanged) {
    struct Case {
        const char *name, *make, *taken;
    };
    for (const auto& [name, make, taken] : std::initializer_list<Case>{
             {"bars.mkv",
              "-f lavfi -i pal75bars=size=96x64:rate=25:duration=0.2,format=yuv444p -c:v ffv1 -pix_fmt yuv444p",
              "0 and 255"},
             {"bars.png", "-f lavfi -i pal75bars=size=96x64 -frames:v 1 -pix_fmt rgb24", "0 and 255"}}) {
        SCOPED_TRACE(name);
        ffmpeg(std::string(make) + " " + name);
        const std::string out = std::string("legal-") + name;
        const Outcome done = run(std::string("render ") + name + " -o " + out + " --effect 'Broadcast Colors'");
        EXPECT_THAT(done.err, HasSubstr(taken));
        EXPECT_LE(farthest(out, name), 1) << "of a sample, by way of red, green and blue";
    }
    ASSERT_EQ(larkmoor("generate 'Test Pattern' -o pattern.png --size 96x64 --preset 'Color Bars (PAL)'").status, 0);
    write("pattern.larkmoor", R"x({"larkmoor project": 1, "source": {"kind": "generator", "generator":
        {"effect": "Test Pattern", "fields": {"type": "Color Bars (PAL)"}}, "size": "96x64", "rate": "25",
        "duration": 0.04}, "effects": [{"effect": "Broadcast Colors"}]})x");
    const Outcome done = run("render pattern.larkmoor -o legal.png");
    EXPECT_THAT(done.err, HasSubstr("16 and 235"));
    EXPECT_EQ(frames("legal.png", "rgb24"), frames("pattern.png", "rgb24"));
}

TEST_F(LevelsTest, TheUsersWordCounts) {
    ffmpeg("-f lavfi -i pal75bars=size=96x64 -frames:v 1 -pix_fmt rgb24 bars.png");
    const std::string plain = "render bars.png -y -o out.png --effect 'Broadcast Colors' ";
    const Outcome own = run(plain + "--set studioRGB=on");
    EXPECT_THAT(own.err, Not(HasSubstr("black and white")));
    const std::string limited = frames("out.png", "rgb24");
    EXPECT_NE(limited, frames("bars.png", "rgb24"));
    const Outcome keyed = larkmoor(plain + "--key studioRGB=0:on");
    EXPECT_THAT(keyed.err, Not(HasSubstr("black and white")));
    EXPECT_EQ(frames("out.png", "rgb24"), limited) << "a key is the user's word, too";
    EXPECT_THAT(larkmoor(plain + "--preset Conservative").err, HasSubstr("0 and 255"))
        << "a preset is no word about levels";
    EXPECT_THAT(
        larkmoor("render bars.png -y -o out.png --effect '(Legacy Plug-In) Broadcast Colors' --preset Clamp").err,
        HasSubstr("always takes"));
    // A project keeps whose word it was.
    Project project = projectOf({"Broadcast Colors"});
    for (const bool own : {false, true}) {
        project.effects[0].ownLevels = own;
        const std::string written = projectText(project, "/");
        EXPECT_EQ(written.find("studioRGB") != std::string::npos, own);
        EXPECT_EQ(parseProject(studioModule(), written, "/").effects[0].ownLevels, own);
    }
}

TEST_F(ClipWindowTest, ThePageShowsWhatThePicturesAre) {
    addByName("broadcast colors");
    if (panel().effect()->info().className != "DXTBroadcastColors") window->addEffect("DXTBroadcastColors");
    const auto effect = [&]() -> const ProjectEffect& { return document().project()->effects.back(); };
    EXPECT_EQ(levelsOf(effect()), "off");
    emit panel().presets()->chosen(2);
    EXPECT_EQ(levelsOf(effect()), "off");
    EXPECT_EQ(panel().presets()->currentIndex().row(), 2);
    EXPECT_FALSE(effect().ownLevels);
    const auto boxes = reachable<QCheckBox>(*panel().page());
    const auto box = std::ranges::find_if(boxes, [](QCheckBox* each) { return each->text().contains("16 to 235"); });
    ASSERT_NE(box, boxes.end());
    EXPECT_FALSE((*box)->isChecked());
    (*box)->click();
    EXPECT_TRUE(effect().ownLevels);
    EXPECT_EQ(levelsOf(effect()), "on");
    EXPECT_TRUE(window->scope().levels().studio) << "the user's word";
    history().undo();
    EXPECT_FALSE(effect().ownLevels);
    EXPECT_FALSE(window->scope().levels().studio);
    panel().keyList()->diamond("lumaMax")->click(); // with keys it is the same
    panel().resetAll();
    (*box)->click();
    EXPECT_TRUE(effect().ownLevels);
    panel().resetAll();
    EXPECT_FALSE(effect().ownLevels);
    EXPECT_EQ(levelsOf(effect()), "off");
    panel().keyList()->diamond("studioRGB")->click();
    ASSERT_TRUE(window->saveTo(file("keyed.larkmoor")));
    Project read = loadProject(studioModule(), path("keyed.larkmoor"));
    settleLevels(read);
    EXPECT_TRUE(same(read, *document().project())) << "under the keys, too";
    window->setFrame(10);
    (*box)->click();
    EXPECT_TRUE(window->scope().levels().studio) << "what the key at the playhead says";
    window->setFrame(3);
    EXPECT_FALSE(window->scope().levels().studio);
    idle();
    openGenerator(96, 64, 1);
    EXPECT_TRUE(window->scope().levels().studio);
    window->addEffect("DXTBroadcastColors");
    EXPECT_EQ(levelsOf(effect()), "on");
}

} // namespace

} // namespace larkmoor
