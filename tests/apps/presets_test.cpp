// Presets of one's own, states, and values beyond their ranges.
#include <gmock/gmock.h>

#include "apps/command.h"
#include "module.h"
#include "preset_store.h"

namespace {

using namespace larkmoor;
using testing::HasSubstr;

class PresetsTest : public CommandTest {
  protected:
    PresetsTest() {
        ::setenv("XDG_DATA_HOME", path("data").c_str(), 1);
        clip("in.png", "-frames:v 1");
    }
    ~PresetsTest() override { ::unsetenv("XDG_DATA_HOME"); }

    Outcome render(const std::string& options, const std::string& output = "out.png") const {
        return larkmoor("render in.png -y -o " + output + " " + options);
    }
    const std::string folder = "data/larkmoor/presets/";
};

TEST(Presets, DefaultsAndPresetsLieInTheirRanges) {
    for (const EffectInfo& info : module().effects()) {
        std::vector<PresetInfo> all = info.presets;
        all.push_back({"default", info.defaults});
        for (const PresetInfo& preset : all)
            for (const tFieldInfo& field : info.fields)
                EXPECT_EQ(fieldFault(field, preset.record).value_or(""), "") << info.name << ": " << preset.name;
    }
}

TEST_F(PresetsTest, AreKeptByNameAndSayTheSame) {
    ASSERT_EQ(render("--effect Levels --set gamma=1.5 --save-preset 'Día & Noche'", "a.png").status, 0);
    EXPECT_THAT(content(folder + "DXTLevels/Día & Noche.json"),
                testing::AllOf(HasSubstr("\"effect\": \"DXTLevels\""), HasSubstr("\"gamma\": \"1.5\"")));
    ASSERT_EQ(render("--effect Levels --preset DíaNOCHE", "b.png").status, 0);
    EXPECT_TRUE(content("a.png") == content("b.png"));
    EXPECT_THAT(larkmoor("presets").out, HasSubstr("Día & Noche"));
    EXPECT_THAT(larkmoor("presets levels --json").out,
                testing::AllOf(HasSubstr("\"name\": \"Día & Noche\""), HasSubstr("\"effect\": \"Levels\"")));
    EXPECT_THAT(larkmoor("presets Sepia").out, HasSubstr("no presets"));
    // The studio's presets of old.
    shell("mkdir -p data/larkmoor/larkmoor-studio/presets/DXTLevels");
    ASSERT_EQ(
        render("--effect Levels --set gamma=1.5 --save-state data/larkmoor/larkmoor-studio/presets/DXTLevels/Old.state")
            .status,
        0);
    ASSERT_EQ(render("--effect Levels --preset old", "c.png").status, 0);
    EXPECT_TRUE(content("a.png") == content("c.png"));

    // The same words from the store itself.
    const PresetStore store;
    const EffectInfo& levels = module().find("Levels");
    EXPECT_EQ(store.names(levels), (std::vector<std::string>{"Día & Noche", "Old"}));
    for (const EffectInfo& info : module().effects()) {
        const std::vector<std::byte>& record = info.presets.empty() ? info.defaults : info.presets.back().record;
        store.save(info, "Mine", record, false);
        EXPECT_EQ(store.load(module(), info, "Mine", Values::Checked), record) << info.name;
    }
    store.remove(levels, "Old");
    EXPECT_THROW(store.remove(levels, "Old"), Error);
    EXPECT_EQ(store.find(levels, "old"), "");
}

TEST_F(PresetsTest, MistakesGetASentence) {
    write("grade.state", "");
    const std::filesystem::path of = path(folder + "DXTLevels");
    std::filesystem::create_directories(of);
    write(folder + "DXTLevels/foreign.json", R"({"larkmoor preset": 1, "effect": "DXTSepia", "fields": {}})");
    write(folder + "DXTLevels/far.json", R"({"larkmoor preset": 1, "effect": "Levels", "fields": {"gamma": "99"}})");
    write(folder + "DXTLevels/broken.json", "{\n what");
    write(folder + "DXTLevels/huge.json", R"({"larkmoor preset": 1, "fields": {"gamma": 1e999}})");
    write("far.larkmoor",
          R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.png"}, "effects": [{"effect": "Levels",
          "fields": {"gamma": "99"}}]})");
    ASSERT_EQ(render("--effect Levels --unchecked --set gamma=99 --save-state far.state --save-preset There").status,
              0);
    ASSERT_EQ(render("--effect Sepia --save-state sepia.state --effect Invert --save-state invert.state").status, 0);
    expectRefused("render in.png -o x.png ",
                  {{"--effect Levels --set gamma=99", 2, "the field \"gamma\" takes a number from"},
                   {"--effect Levels --set channel=9", 2, "not \"9\""},
                   {"--effect Levels --ramp gamma=1:99", 2, "\"gamma\""},
                   {"--effect Levels --load-state far.state", 2, "far.state: the field \"gamma\""},
                   {"--effect Levels --load-state in.png", 1, "in.png: it holds no settings of Levels"},
                   {"--effect Levels --load-state invert.state", 1, "no settings of Levels"},
                   {"--effect Levels --load-state sepia.state", 2, "sepia.state: the field"}, // of the same size
                   {"--effect Levels --load-state grade.state", 1, "no settings of Levels"},
                   {"--effect Levels --preset foreign", 2, "this is a preset of Sepia, not of Levels"},
                   {"--effect Levels --preset far", 2, "fields.gamma: the field \"gamma\" takes"},
                   {"--effect Levels --preset broken", 2, "line 2: this is no JSON"},
                   {"--effect Levels --preset huge", 2, "a number is too large"},
                   {"--effect Sepia --preset Foreign", 2, "it is one of Levels"},
                   {"--effect Levels --preset Brocken", 2, "did you mean \"broken\"?"},
                   {"--effect Levels --save-preset ../up", 1, "cannot be the name"},
                   {"--effect Levels --save-preset .hidden", 1, "cannot be the name"},
                   {"--effect Levels --save-preset ' '", 1, "cannot be the name"},
                   {"--effect Levels --save-preset 3", 1, "numbers mean"},
                   {"--effect Levels --save-preset darken", 1, "of its own"},
                   {"--effect Levels --save-preset there", 1, "-y overwrites"}});
    expectRefused(
        "render -o x.png ",
        {{"far.larkmoor", 2, "far.larkmoor: effects[0].fields.gamma: the field \"gamma\" takes a number from"}});
    EXPECT_EQ(larkmoor("render far.larkmoor -o x.png --unchecked").status, 0);
    EXPECT_EQ(render("--effect Levels --unchecked --load-state far.state").status, 0);
}

} // namespace
