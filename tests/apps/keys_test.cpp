#include <cmath>

#include <gmock/gmock.h>

#include "apps/command.h"
#include "key_options.h"
#include "module.h"

namespace {

using namespace larkmoor;

/// What a field of an effect has at a frame.
std::string valueAt(const char* effect, const char* name, const std::string& keys, std::int64_t frame) {
    const EffectInfo& info = module().find(effect);
    const tFieldInfo& field = info.field(name);
    Curves curves{parseKeys(info, field, info.defaults, keys, Values::Checked)};
    settle(curves, 0, 99, {25, 1});
    const Effect object = module().create(info);
    return fieldText(field, recordAt(module(), object, info.defaults, curves, frame));
}

TEST(Keys, ValuesStandWhereTheirWaysLead) {
    const struct {
        const char *effect, *field, *keys;
        std::int64_t frame;
        double value;
    } rows[] = {
        {"Levels", "gamma", "0:1,50:3:smooth,100:1", -5, 1},
        {"Levels", "gamma", "0:1,50:3:smooth,100:1", 25, 2},
        {"Levels", "gamma", "0:1,50:3:smooth,100:1", 50, 3},
        {"Levels", "gamma", "0:1,50:3:smooth,100:1", 60, 2.792},
        {"Levels", "gamma", "0:1,50:3:smooth,100:1", 130, 1},
        {"Levels", "gamma", "7:2", 0, 2},
        {"Levels", "gamma", "0:1:hold,10:2", 9, 1},
        {"Levels", "gamma", "0:1:hold,10:2", 10, 2},
        // From one smooth way to the next at the weighted harmonic mean of the slopes, 0.09 / 1.3.
        {"Levels", "gamma", "0:1:smooth,10:2:smooth,30:3", 5, 1.5 - 0.125 * 0.9 / 1.3},
        {"Levels", "gamma", "0:1:smooth,10:2:smooth,30:3", 20, 2.5 + 0.125 * 1.8 / 1.3},
        // A turn, a rest and a way that is not smooth are reached at a standstill.
        {"Levels", "gamma", "0:1:smooth,10:3:smooth,20:1", 5, 2},
        {"Levels", "gamma", "0:1:smooth,10:3:smooth,20:3", 5, 2},
        {"Levels", "gamma", "0:1:smooth,10:2:linear,20:3", 5, 1.5},
        {"HSL Adjust", "addHue", "0:0.9,10:0.1", 2, 0.94},
        {"HSL Adjust", "addHue", "0:0.9,10:0.1,20:0.2", 8, 0.06},
        {"HSL Adjust", "addHue", "0:0.9:smooth,10:0.1", 8, 0.9 + 0.2 * 0.896 - 1},
        {"HSL Adjust", "addHue", "0:0.1:smooth,10:0.9", 8, 1.1 - 0.2 * 0.896},
        {"Levels", "gamma", "end:3,1s:1,0:1", 25, 1},
        {"Levels", "gamma", "end:3,1s:1,0:1", 62, 2},
        {"Levels", "gamma", "end:3,start:1", 99, 3},
    };
    for (const auto& row : rows)
        EXPECT_NEAR(std::stod(valueAt(row.effect, row.field, row.keys, row.frame)), row.value, 1e-6)
            << row.keys << " at " << row.frame;
    EXPECT_EQ(valueAt("Levels", "channel", "0:Red,10:Blue", 9), "Red");
    EXPECT_EQ(valueAt("Levels", "channel", "0:Red,10:Blue", 10), "Blue");
    EXPECT_EQ(valueAt("Text", "text", "0:Hello, 3:2 wins,10:Bye: now,20:x", 4), "Hello, 3:2 wins");
    EXPECT_EQ(valueAt("Text", "text", "0:Hello, 3:2 wins,10:Bye: now,20:x", 11), "Bye: now");
    EXPECT_EQ(valueAt("Text", "font", "0:Serif 20,10:Sans Bold 48", 10), "Sans Bold 48");
    EXPECT_EQ(valueAt("Chroma Keyer", "color", "0:#000000,10:1,1,1:smooth,20:0,0,0", 5).substr(0, 12), "0.5,0.5,0.5,");
}

TEST(Keys, SmoothWaysStayBetweenTheirKeys) {
    for (std::int64_t frame = 0; frame <= 40; ++frame) {
        const double value = std::stod(valueAt("Levels", "gamma", "0:1:smooth,3:4.9:smooth,4:5:smooth,40:5", frame));
        EXPECT_GE(value, 1) << frame;
        EXPECT_LE(value, 5) << frame;
    }
}

TEST(Keys, TwoLinearOnesAreARampToTheByte) {
    int fields = 0;
    for (const EffectInfo& info : module().effects()) {
        if (info.fields.empty()) continue;
        SCOPED_TRACE(info.name);
        const Effect effect = module().create(info);
        for (const PresetInfo& preset : info.presets) {
            const Curves curves = rampCurves(info, info.defaults, preset.record, std::pair(2, 13));
            fields += static_cast<int>(curves.size());
            for (std::int64_t frame = 0; frame < 16; ++frame) {
                const double share = std::clamp(static_cast<double>(frame - 2) / 11, 0.0, 1.0);
                EXPECT_EQ(recordAt(module(), effect, info.defaults, curves, frame),
                          interpolate(effect, info.defaults, preset.record, share));
            }
            const Curves all = rampCurves(info, info.defaults, preset.record, {});
            EXPECT_EQ(recordAt(module(), effect, info.defaults, all, 0, 0.3),
                      interpolate(effect, info.defaults, preset.record, 0.3));
        }
    }
    EXPECT_GT(fields, 200);
}

TEST(Keys, AreSetRemovedAndMoved) {
    const EffectInfo& info = module().find("Levels");
    const tFieldInfo &gamma = info.field("gamma"), &channel = info.field("channel");
    const std::vector<std::byte> value = fieldBytes(gamma, info.defaults);
    Curves curves{parseKeys(info, gamma, info.defaults, "0:1:smooth,10:2,end:3", Values::Checked)};
    setKey(curves, gamma, 5, value);
    setKey(curves, gamma, 10, value);
    setKey(curves, channel, 3, fieldBytes(channel, info.defaults));
    ASSERT_EQ(curves.size(), 2u);
    ASSERT_EQ(curves[0].keys.size(), 4u);
    EXPECT_EQ(curves[0].keys[1].frame, 5);
    EXPECT_EQ(curves[0].keys[1].way, Way::Smooth) << "as the way it stands on";
    EXPECT_EQ(curves[0].keys[2].value, value);
    EXPECT_EQ(curves[1].keys[0].way, Way::Hold);
    Span span{4, 8};
    shift(curves, span, -6);
    EXPECT_EQ(curves[0].keys[0].frame, -6);
    EXPECT_EQ(curves[0].keys[3].frame, endFrame);
    EXPECT_EQ(span, (Span{-2, 2}));
    EXPECT_TRUE(span.contains(-2) && span.contains(2) && !span.contains(-3) && !span.contains(3));
    removeKey(curves, channel, -3);
    EXPECT_EQ(curves.size(), 1u) << "a curve goes with its last key";
}

class KeysTest : public CommandTest {
  protected:
    /// The grey of each frame of a clip of 10 frames of grey 40.
    std::vector<int> greys(const std::string& effects) const {
        run("render in.mkv -y -o out.raw --raw gray " + effects);
        const std::string out = content("out.raw");
        std::vector<int> all;
        for (std::size_t at = 0; at < out.size(); at += 96 * 64) all.push_back(static_cast<unsigned char>(out[at]));
        return all;
    }
};

TEST_F(KeysTest, TheCommandRendersThem) {
    clip("in.mkv", "-vf format=gray,geq=lum=40 -pix_fmt bgr0 -c:v ffv1", "0.4");
    const std::vector<int> held = greys("--effect Invert --key amount=0:0:hold,3:1:hold,0.24s:0"),
                           some = greys("--effect Invert --from 2 --to 0.2s"),
                           slow = greys("--effect Invert --key amount=0:0:smooth,end:1 --threads 3");
    for (std::size_t i = 0; i < 10; ++i) {
        EXPECT_NEAR(held[i], i >= 3 && i < 6 ? 215 : 40, 1) << i;
        EXPECT_EQ(some[i], i >= 2 && i <= 5 ? 215 : 40) << i;
        const double t = static_cast<double>(i) / 9;
        EXPECT_NEAR(slow[i], 40 + 175 * (3 * t * t - 2 * t * t * t), 2) << i;
    }
}

TEST_F(KeysTest, FramesOutsideItsRangeDoNotSeeAnEffect) {
    // Deep samples that a round through effects at 8 bits would not keep.
    clip("in.mkv", "-vf format=gray16,geq=lum='X*600+Y*9+N' -pix_fmt gbrp12le -c:v ffv1", "0.2");
    run("render in.mkv -o out.mkv --effect Invert --from 1 --to 2 --effect "
        "Pixelate --from 2 --to 2");
    const std::string was = frames("in.mkv", "gbrp12le"), is = frames("out.mkv", "gbrp12le");
    const std::size_t line = was.size() / 5;
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(is.substr(i * line, line) == was.substr(i * line, line), i != 1 && i != 2) << i;
}

TEST_F(KeysTest, MistakesAreSentences) {
    clip("in.mkv", "-pix_fmt bgr0 -c:v ffv1", "0.2");
    expectRefused("render in.mkv -o out.mkv --effect Levels ", {{"--key gamma", 2, "FIELD=FRAME:VALUE"},
                                                                {"--key gamma=1", 2, "50, 2.5s or end"},
                                                                {"--key gamma=-1:1", 2, "50, 2.5s or end"},
                                                                {"--key gamma=0:1,x:2", 2, "\"1,x:2\""},
                                                                {"--key gama=0:1", 2, "gamma"},
                                                                {"--key gamma=0:1,0:2", 2, "two keys at 0"},
                                                                {"--key gamma=0:9", 2, "--unchecked"},
                                                                {"--key channel=0:Red:linear", 2, "holds"},
                                                                {"--ramp channel=Red:Blue", 2, "--key"},
                                                                {"--from never", 2, "2.5s"},
                                                                {"--from end", 2, "2.5s"},
                                                                {"--from 3 --to 2", 2, "--to"}});
    expectRefused("", {{"lut -o x.cube --effect Levels --key gamma=0:1", 2, ""},
                       {"lut -o x.cube --effect Levels --to 4", 2, ""},
                       {"join in.mkv in.mkv -o x.mkv --duration 0.1 --transition Iris --key feather=start:0,3:0.1", 2,
                        "at its start"}});
    run("render in.mkv -o out.mkv --unchecked --effect Levels --key gamma=0:9");
}

} // namespace
