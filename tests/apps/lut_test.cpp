#include <gmock/gmock.h>

#include "apps/command.h"

namespace {

using testing::HasSubstr;

class LutTest : public CommandTest {
  protected:
    /// Decibels between what `render` makes of a picture and what FFmpeg makes of it by the LUT.
    double agreement(const std::string& effects, const std::string& options) const {
        EXPECT_EQ(larkmoor("render in.png -y -o wanted.png " + effects).status, 0);
        run("lut -y -o look.cube " + options + " " + effects);
        const std::string log = shell("ffmpeg -nostdin -i in.png -i wanted.png -lavfi "
                                      "'[0:v]format=gbrp,lut3d=look.cube:interp=trilinear[a];[1:v]format=gbrp[b];"
                                      "[a][b]psnr' -f null - 2>&1 | grep -o 'average:[0-9.inf]*' | cut -d: -f2")
                                    .out;
        return log.starts_with("inf") ? 999 : std::atof(log.c_str());
    }
};

TEST_F(LutTest, DoesInEditorsWhatTheEffectsDo) {
    ffmpeg("-f lavfi -i testsrc2=size=192x128 -vf gblur=4,format=rgb24 -frames:v 1 in.png");
    const struct {
        const char *effects, *options;
        double least;
    } rows[] = {
        {"--effect Invert", "--size 2", 50},
        // Finer than bytes, where all effects are.
        {"--effect Sepia", "--size 9", 54},
        {"--effect Levels --set gamma=1.4 --effect Sepia --effect Invert --set amount=0.7", "", 40},
        {"--effect Levels --set gamma=1.4", "--size 65", 45},
        {"--effect 'Gaussian Blur' --set horizontalRange=0 --set verticalRange=0", "--size 17", 50},
    };
    for (const auto& row : rows) EXPECT_GT(agreement(row.effects, row.options), row.least) << row.effects;
    EXPECT_THAT(content("look.cube"), testing::StartsWith("TITLE \"Larkmoor: Gaussian Blur\"\nLUT_3D_SIZE 17\n"));
    run("lut -o red.cube --size 2 --effect Invert");
    EXPECT_EQ(shell("grep '^[0-9]' red.cube | head -2").out,
              "1.000000 1.000000 1.000000\n0.000000 1.000000 1.000000\n");
    ffmpeg("-i in.png -vf lut3d=look.cube neutral.png");
}

TEST_F(LutTest, RefusesWhatIsMoreThanColour) {
    expectRefused("lut -o look.cube ", {{"--effect Sepia --effect 'Gaussian Blur' --preset 'Light Blur'", 2,
                                         "Gaussian Blur, as set, goes by more"},
                                        {"--effect 'Add Noise' --preset 1", 2, "Add Noise, as set, goes by more"},
                                        {"--effect Timecode", 2, "goes by more"},
                                        {"--effect Levels --ramp gamma=1:2", 2, "ramp"},
                                        {"--effect 'Chroma Keyer' --preset 'Green Screen'", 2, "transparent"},
                                        {"--over-effect Text", 2, "laid over"},
                                        {"--effect Iris", 2, "transition"},
                                        {"", 2, "--effect"},
                                        {"--effect Invert --size 1", 2, "--size"},
                                        {"--effect Invert --size 130", 2, "--size"}});
}

} // namespace
