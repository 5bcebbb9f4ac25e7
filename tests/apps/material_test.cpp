// Real material through `larkmoor render`: one row of a table a file and a run.
//
// To add a row: give it a name; the shell lines that make its input with FFmpeg; the arguments of one run of the
// command; the exit status and a piece of what it says on standard error ("" for not a word, nullptr for anything); and
// shell lines that each have to succeed afterwards. The words that those lines are made of (`make`, `same`, `pictures`,
// `psnr` and more) stand in tests/apps/media/words.sh; "$none" is a chain that changes nothing.
#include <gtest/gtest.h>

#include "apps/command.h"

namespace {

struct Row {
    const char* name;
    const char* make;
    const char* run;
    int status;
    const char* says;
    std::vector<const char*> holds;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

class Material : public CommandTest, public testing::WithParamInterface<Row> {
  protected:
    Outcome words(const std::string& line) const {
        return shell(". " LARKMOOR_TEST_FOLDER "/apps/media/words.sh; none='--effect Invert --effect Invert'; " + line);
    }
};

TEST_P(Material, IsReadAndWritten) {
    const Row& row = GetParam();
    const Outcome made = words(std::string("set -e; ") + row.make);
    ASSERT_EQ(made.status, 0) << made.err;
    const Outcome run = words(std::string(LARKMOOR_COMMAND_FILE " render ") + row.run);
    EXPECT_EQ(run.status, row.status) << run.err;
    if (row.says && !*row.says) {
        EXPECT_EQ(run.err, "");
    } else if (row.says) {
        EXPECT_NE(run.err.find(row.says), std::string::npos) << run.err;
    }
    for (const char* line : row.holds) {
        const Outcome held = words(line);
        EXPECT_EQ(held.status, 0) << line << "\n" << held.out << held.err;
    }
}

std::string nameOf(const testing::TestParamInfo<Row>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Plain, Material,
    testing::Values(Row{"RgbInMatroska",
                        "make in.mkv -pix_fmt bgr0 -c:v ffv1",
                        "in.mkv -o out.mkv $none",
                        0,
                        "",
                        {"same \"$(pictures out.mkv)\" \"$(pictures in.mkv)\"",
                         "same \"$(stamps out.mkv)\" \"$(stamps in.mkv)\""}},
                    Row{"FilmWithSound",
                        "make in.mp4 -f lavfi -i sine=440:duration=2 -pix_fmt yuv420p -c:v libx264 -bf 2 -c:a aac",
                        "in.mp4 -o out.mp4 $none",
                        0,
                        "",
                        {"atLeast 32 $(psnr in.mp4 out.mp4)", "same \"$(stamps out.mp4)\" \"$(stamps in.mp4)\"",
                         "same \"$(sound out.mp4)\" \"$(sound in.mp4)\""}}),
    nameOf);

constexpr const char* deepClip = "make in.mkv -vf format=yuv420p16,noise=alls=4:allf=t,format=yuv420p10 -c:v ffv1";
constexpr const char* floatPicture =
    "ff -f lavfi -i testsrc2=size=96x64 -frames:v 1 in.png; ff -i in.png -pix_fmt gbrpf32le in.exr";

INSTANTIATE_TEST_SUITE_P(
    Depth, Material,
    testing::Values(
        Row{"TenBitRampKeepsItsLevels",
            "ff -f lavfi -i \"color=size=830x16:rate=5:duration=1,format=yuv420p10,geq=lum='64+X':cb=512:cr=512\" "
            "-color_primaries bt2020 -color_trc smpte2084 -colorspace bt2020nc -c:v ffv1 in.mkv",
            "in.mkv -o out.mkv --effect HSLAdjust --preset Desaturate --effect Sepia --set strength=0.01",
            0,
            "",
            {"atLeast 820 $(levels out.mkv)", "same $(tag pix_fmt out.mkv) yuv420p10le",
             "same $(tag color_transfer out.mkv) smpte2084",
             LARKMOOR_COMMAND_FILE " render in.mkv -o out.mp4 --effect Sharpen", "atLeast 800 $(levels out.mp4)"}},
        Row{"EffectsInBytesAreNamedOnce",
            deepClip,
            "in.mkv -o out.mkv --effect Levels --preset Darken --effect Wave --effect Median --effect Levels",
            0,
            "larkmoor: Levels and Median work at 8 bits; what they leave as it is keeps its depth\n",
            {"same $(tag pix_fmt out.mkv) yuv420p10le"}},
        Row{"TitleCostsTheRestNothing",
            deepClip,
            "in.mkv -o out.mkv --over-effect Text --set text=Hi --set font='Liberation Sans 16' --set vertical=Top",
            0,
            "",
            {"for f in in out; do ff -i $f.mkv -vf crop=96:32:0:32 -c:v ffv1 low-$f.mkv; done",
             "same \"$(pictures low-out.mkv)\" \"$(pictures low-in.mkv)\"",
             "! same \"$(pictures out.mkv)\" \"$(pictures in.mkv)\""}},
        Row{"WipeCostsTheRestNothing",
            deepClip,
            "in.mkv -o out.mkv --effect BlackAndWhite",
            0,
            "",
            {"same \"$(pictures out.mkv)\" \"$(pictures in.mkv)\"",
             LARKMOOR_COMMAND_FILE " join in.mkv in.mkv -o joined.mkv --transition LinearWipe --duration 0.4",
             "same \"$(pictures joined.mkv | head -n 41)\" \"$(pictures in.mkv | head -n 41)\"",
             "same \"$(pictures joined.mkv | tail -n 40)\" \"$(pictures in.mkv | tail -n 40)\"",
             "ff -i in.mkv -vf trim=start_frame=45:end_frame=46,crop=8:64:88:0 -c:v ffv1 late-in.mkv",
             "ff -i joined.mkv -vf trim=start_frame=45:end_frame=46,crop=8:64:88:0 -c:v ffv1 late-joined.mkv",
             "same \"$(pictures late-in.mkv)\" \"$(pictures late-joined.mkv)\""}},
        Row{"FloatsThroughGaussianBlur",
            floatPicture,
            "in.exr -o out.exr --effect GaussianBlur --preset 'Light Blur' --effect Levels --preset Darken",
            0,
            "Gaussian Blur and Levels work at 8 bits",
            {LARKMOOR_COMMAND_FILE
             " render in.png -o out.png --effect GaussianBlur --preset 'Light Blur' --effect Levels --preset Darken",
             "ff -i out.exr -pix_fmt rgb24 float.png", "atLeast 55 $(psnr float.png out.png)"}},
        Row{"FloatsBeyondFullScaleStay",
            "ff -f lavfi -i color=white:size=16x16,format=gbrpf32le,exposure=2 -frames:v 1 in.exr",
            "in.exr -o out.exr --effect Wave --effect Invert --effect Invert",
            0,
            nullptr,
            {"same \"$(pictures out.exr)\" \"$(pictures in.exr)\""}},
        Row{"WhatNothingChangesIsAsItWas",
            "make in.mkv -vf format=yuv420p,noise=alls=9:allf=t -c:v ffv1; make alpha.mkv -vf "
            "format=rgba,colorchannelmixer=aa=0.1 -pix_fmt bgra -c:v ffv1",
            "in.mkv -o out.mkv $none",
            0,
            "",
            {"same \"$(pictures out.mkv)\" \"$(pictures in.mkv)\"",
             LARKMOOR_COMMAND_FILE " render alpha.mkv -o out.mkv -y --effect Levels --preset 'Reset to None'",
             "same \"$(pictures out.mkv)\" \"$(pictures alpha.mkv)\"",
             // JPEG has another range.
             "make tv.mkv -vf format=yuv444p -colorspace bt470bg -c:v ffv1",
             LARKMOOR_COMMAND_FILE " render tv.mkv -o out.jpg --frames 1 --quality 100 $none",
             "ff -i tv.mkv -frames:v 1 -pix_fmt rgb24 tv.png; atLeast 30 $(psnr out.jpg tv.png)"}},
        Row{"LegalLevelsAreLegal",
            "for f in yuv420p yuv420p10; do make $f.mkv -vf format=$f,lutyuv=y=maxval*1.08 -c:v ffv1; done",
            "yuv420p10.mkv -o deep.mkv --effect BroadcastColors --preset 0 --set setup=off",
            0,
            nullptr,
            {LARKMOOR_COMMAND_FILE " render yuv420p.mkv -o out.mkv --effect BroadcastColors --preset 0 --set setup=off",
             "atLeast $(highest out.mkv) 236", "atLeast $(highest deep.mkv) 944"}}),
    nameOf);

} // namespace
