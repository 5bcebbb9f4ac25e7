// What is read: depth, pictures, rotation, damage, starts.
#include "apps/material.h"

namespace {

TEST_P(Material, IsReadAndWritten) {
    const Row& row = GetParam();
    ASSERT_NO_FATAL_FAILURE(make(row.make));
    const Outcome run = words(std::string("larkmoor ") + row.run);
    EXPECT_EQ(run.status, row.status) << run.err;
    if (row.says && !*row.says) {
        EXPECT_EQ(run.err, "");
    } else if (row.says) {
        EXPECT_NE(run.err.find(row.says), std::string::npos) << run.err;
    }
    for (const char* line : row.holds) holds(line);
}

constexpr const char* deepClip = "make in.mkv -vf format=yuv420p16,noise=alls=4:allf=t,format=yuv420p10 -c:v ffv1";
constexpr const char* floatPicture =
    "ff -f lavfi -i testsrc2=size=96x64 -frames:v 1 in.png; ff -i in.png -pix_fmt gbrpf32le in.exr";

INSTANTIATE_TEST_SUITE_P(
    Depth, Material,
    testing::Values(
        Row{"TenBitRampKeepsItsLevels",
            "ff -f lavfi -i \"color=size=830x16:rate=5:duration=1,format=yuv420p10,geq=lum='64+X':cb=512:cr=512\" "
            "-color_primaries bt2020 -color_trc smpte2084 -colorspace bt2020nc -c:v ffv1 in.mkv",
            "render in.mkv -o out.mkv --effect HSLAdjust --preset Desaturate --effect Sepia --set strength=0.01",
            0,
            "",
            {"atLeast 820 $(levels out.mkv)", "same $(tag pix_fmt out.mkv) yuv420p10le",
             "same $(tag color_transfer out.mkv) smpte2084",
             LARKMOOR_COMMAND_FILE " render in.mkv -o out.mp4 --quality 90 --effect Sharpen",
             "atLeast 800 $(levels out.mp4)"}},
        Row{"EffectsInBytesAreNamedOnce",
            deepClip,
            "render in.mkv -o out.mkv --effect Levels --preset Darken --effect Wave --effect Median --effect Levels",
            0,
            "larkmoor: Levels and Median work at 8 bits; what they leave as it is keeps its depth\n",
            {"same $(tag pix_fmt out.mkv) yuv420p10le"}},
        Row{"TitleCostsTheRestNothing",
            deepClip,
            "render in.mkv -o out.mkv --over-effect Text --set text=Hi --set font='Liberation Sans 16' --set "
            "vertical=Top",
            0,
            "",
            {"for f in in out; do ff -i $f.mkv -vf crop=96:32:0:32 -c:v ffv1 low-$f.mkv; done",
             "same \"$(pictures low-out.mkv)\" \"$(pictures low-in.mkv)\"",
             "! same \"$(pictures out.mkv)\" \"$(pictures in.mkv)\""}},
        Row{"WipeCostsTheRestNothing",
            deepClip,
            "render in.mkv -o out.mkv --effect BlackAndWhite",
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
            "render in.exr -o out.exr --effect GaussianBlur --preset 'Light Blur' --effect Levels --preset Darken",
            0,
            "Gaussian Blur and Levels work at 8 bits",
            {LARKMOOR_COMMAND_FILE
             " render in.png -o out.png --effect GaussianBlur --preset 'Light Blur' --effect Levels --preset Darken",
             "ff -i out.exr -pix_fmt rgb24 float.png", "atLeast 55 $(psnr float.png out.png)"}},
        Row{"FloatsBeyondFullScaleStay",
            "ff -f lavfi -i color=white:size=16x16,format=gbrpf32le,exposure=2 -frames:v 1 in.exr",
            "render in.exr -o out.exr --effect Wave --effect Invert --effect Invert",
            0,
            nullptr,
            {"same \"$(pictures out.exr)\" \"$(pictures in.exr)\""}},
        Row{"WhatNothingChangesIsAsItWas",
            "make in.mkv -vf format=yuv420p,noise=alls=9:allf=t -c:v ffv1; make alpha.mkv -vf "
            "format=rgba,colorchannelmixer=aa=0.1 -pix_fmt bgra -c:v ffv1",
            "render in.mkv -o out.mkv $none",
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
            "render yuv420p10.mkv -o deep.mkv --effect BroadcastColors --preset 0 --set setup=off",
            0,
            nullptr,
            {LARKMOOR_COMMAND_FILE " render yuv420p.mkv -o out.mkv --effect BroadcastColors --preset 0 --set setup=off",
             "atLeast $(highest out.mkv) 236", "atLeast $(highest deep.mkv) 944"}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Pictures, Material,
    testing::Values(
        Row{"TiffWithTagsNobodyKnows",
            "make in.tif -frames:v 1 -c:v tiff -compression_algo lzw -pix_fmt rgb24",
            "render in.tif -o out.png $none",
            0,
            "",
            {"same \"$(pictures out.png rgb24)\" \"$(pictures in.tif rgb24)\""}},
        Row{"TiffOfSixteenBits",
            "make in.tif -frames:v 1 -c:v tiff -compression_algo deflate -pix_fmt rgb48le",
            "render in.tif -o out.png $none",
            0,
            nullptr,
            {"atLeast 45 $(psnr in.tif out.png)"}},
        Row{"JpegCutShort",
            "make in.jpg -frames:v 1; cutTo in.jpg 600",
            "render in.jpg -o out.png $none",
            3,
            "in.jpg is damaged; what could be decoded of it is shown",
            {"same $(count out.png) 1"}},
        Row{"JpegTurnedByItsCamera",
            "make up.jpg -frames:v 1; { head -c 2 up.jpg; printf '\\377\\341\\000\\042Exif\\000\\000MM\\000\\052\\000"
            "\\000\\000\\010\\000\\001\\001\\022\\000\\003\\000\\000\\000\\001\\000\\006\\000\\000\\000\\000\\000\\000'"
            "; "
            "tail -c +3 up.jpg; } >in.jpg; larkmoor render up.jpg -o up.png $none; ff -i up.png -vf transpose=clock "
            "want.png",
            "render in.jpg -o out.png $none",
            0,
            "",
            {"atLeast 45 $(psnr out.png want.png)"}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Turned, Material,
    testing::Values(
        Row{"UprightInAnyContainer",
            "make up.mp4 -pix_fmt yuv420p; ff -i up.mp4 -c copy -metadata:s:v rotate=90 in.mp4",
            "render in.mp4 -o out.mkv --codec ffv1 $none",
            0,
            "",
            {"same \"$(tag width out.mkv)\" 64", "atLeast 33 $(psnr in.mp4 out.mkv)",
             // The second clip of a film stands upright, too.
             "larkmoor join in.mp4 in.mp4 -o both.mkv --codec ffv1 --transition Dissolve --duration 0.2 && same $(tag "
             "height both.mkv) 96"}},
        Row{"UprightWithoutATag",
            "make up.mp4 -pix_fmt yuv420p; ff -i up.mp4 -c copy -metadata:s:v rotate=180 in.mp4",
            "render in.mp4 -o out.mp4 $none",
            0,
            "",
            {"! look v:0 stream_side_data=rotation out.mp4 | grep .",
             "for f in in out; do ff -i $f.mp4 -vf format=gray -c:v ffv1 $f.mkv; done; atLeast 30 $(psnr in.mkv "
             "out.mkv)"}},
        Row{"ChromaTurnsAlong",
            "make up.mp4 -pix_fmt yuv420p -c:v libx264; for turn in 90 180 270; do ff -i up.mp4 -c copy "
            "-metadata:s:v rotate=$turn $turn.mp4; done",
            "render up.mp4 -o up.mkv --codec ffv1 --pixel-format bgr0 $none",
            0,
            nullptr,
            {"for turn in 90:transpose=clock 180:hflip,vflip 270:transpose=cclock; do larkmoor render ${turn%%:*}.mp4 "
             "-y -o out.mkv --codec ffv1 --pixel-format bgr0 $none; ff -i out.mkv -vf ${turn#*:} -c:v ffv1 back.mkv; "
             "atLeast 52 $(psnr up.mkv back.mkv) || exit 1; done",
             // MPEG-4 knows one place only.
             "larkmoor render 90.mp4 -o out.avi $none && ff -i 90.mp4 -vf format=gray -c:v ffv1 a.mkv && ff -i out.avi "
             "-vf format=gray -c:v ffv1 b.mkv && atLeast 35 $(psnr a.mkv b.mkv)"}},
        Row{"AsStored",
            "make up.mp4 -pix_fmt yuv420p; ff -i up.mp4 -c copy -metadata:s:v rotate=90 in.mp4",
            "render in.mp4 -o out.mp4 --no-autorotate $none",
            0,
            "",
            {"same \"$(tag width out.mp4)\" 96", "look v:0 stream_side_data=rotation out.mp4 | grep -q 90"}}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Damage, Material,
    testing::Values(
        Row{"RecordingsOneBehindTheOther",
            "make a.ts -f lavfi -i sine=440:duration=2 -pix_fmt yuv420p -c:v libx264 -bf 2 -g 10 -c:a aac; cat a.ts "
            "a.ts >in.ts",
            "render in.ts -o out.mp4 $none",
            0,
            "",
            {"same $(count out.mp4) 100", "same \"$(stamps out.mp4)\" \"$(seq 0 40 3960)\"",
             "atLeast 3.9 $(look a:0 stream=duration out.mp4)",
             "larkmoor render in.ts -o out.avi $none && same $(count out.avi) 100",
             "larkmoor render in.ts -o late.mkv --start 3 $none && same $(count late.mkv) 25"}},
        Row{"JoinedStrictly",
            "make a.mp4 -pix_fmt yuv420p -c:v libx264; make in.mp4 -pix_fmt yuv420p -c:v libx264 -movflags +faststart; "
            "cutTo in.mp4 800",
            "join a.mp4 in.mp4 -o strict.mp4 --strict --transition Dissolve --duration 0.2",
            1,
            "in.mp4",
            {"! [ -e strict.mp4 ]",
             "larkmoor join a.mp4 in.mp4 -o out.mp4 --transition Dissolve --duration 0.2; [ $? = 3 ]"}},
        Row{"StillOverDamage",
            "make in.jpg -frames:v 1 -pix_fmt yuvj420p; cp in.jpg whole.jpg; cutTo in.jpg 600; make in.mp4 -pix_fmt "
            "yuv420p -c:v libx264 -movflags +faststart; cp in.mp4 whole.mp4; cutTo in.mp4 600",
            "render whole.jpg --over in.mp4 -o out.mp4",
            3,
            "cut short at 0:01",
            {"larkmoor render in.jpg --over whole.mp4 -o still.mp4; [ $? = 3 ]",
             "larkmoor render in.jpg --over whole.mp4 -o strict.mp4 --strict; [ $? = 1 ] && ! [ -e strict.mp4 ]"}},
        Row{"ExrCutShort",
            "ff -f lavfi -i testsrc2=size=96x64 -frames:v 1 -pix_fmt gbrpf32le in.exr; for i in 1 2 3; do cp in.exr "
            "in0$i.exr; done; cutTo in02.exr 600; cp in.exr whole.exr; cutTo in.exr 900",
            "render in.exr -o out.exr --effect Wave",
            3,
            "in.exr is damaged",
            {"larkmoor render in%02d.exr -o out.mkv --effect Wave 2>said; [ $? = 3 ] && grep '1 frame, at 0:00.040' "
             "said",
             "larkmoor render whole.exr -o out2.exr --effect Wave"}},
        Row{"EndsThatReadersDoNotMiss",
            "make whole.ogv -f lavfi -i sine=440:d=2 -pix_fmt yuv420p -c:v libtheora -q:v 8 -c:a libvorbis; make "
            "whole.wmv -f lavfi -i sine=440:d=2 -c:v wmv2 -c:a wmav2; make whole.ts -f lavfi -i sine=440:d=2 -pix_fmt "
            "yuv420p -c:v libx264 -c:a aac; for f in ogv wmv ts; do cp whole.$f in.$f; done; cutTo in.ogv 600; cutTo "
            "in.wmv 600; truncate -s $(($(wc -c <in.ts) / 188 * 6 / 10 * 188)) in.ts",
            "render in.ogv -o out.mkv $none",
            3,
            "in.ogv is cut short at 0:0",
            {"larkmoor render in.wmv -o out-wmv.mkv $none 2>said; [ $? = 3 ] && grep 'cut short at 0:0' said",
             "larkmoor render in.ts -o out-ts.mkv $none 2>said; [ $? = 3 ] && grep 'cut short at 0:0' said",
             "for f in ogv wmv ts; do larkmoor render whole.$f -o whole-$f.mkv $none || exit 1; done",
             "head -c 4000 whole.ts >b.ts; larkmoor render b.ts -o b.mkv $none 2>said; [ $? = 3 ] && grep 'holds "
             "nothing "
             "of it' said && larkmoor join b.ts whole.ts -o j.mkv --transition Dissolve --duration 0.1; [ $? = 3 ]"}},
        Row{"PacketsOfTransportStreams",
            "make whole.ts -pix_fmt yuv420p -c:v mpeg2video; make whole.m2ts -pix_fmt yuv420p -c:v mpeg2video; head -c "
            "$((188 * 90 + 1)) whole.ts >in.ts",
            "render in.ts -o out.mkv $none",
            3,
            "cut short at 0:0",
            {"for n in 1 187; do head -c $((188 * 90 + n)) whole.ts >a.ts; larkmoor render a.ts -o a$n.mkv $none "
             "2>said; "
             "[ $? = 3 ] && grep -q 'cut short at 0:0' said || exit 1; done",
             "for n in 1 4 191; do head -c $((192 * 90 + n)) whole.m2ts >b.m2ts; larkmoor render b.m2ts -o b$n.mkv "
             "$none "
             "2>said; [ $? = 3 ] && grep -q 'cut short at 0:0' said || exit 1; done",
             "{ cat whole.ts; head -c 1000 /dev/zero; } >padded.ts; for f in whole.ts whole.m2ts padded.ts; do "
             "larkmoor "
             "render $f -o whole-$f.mkv $none || exit 1; done"}},
        Row{"BitsOfHevc",
            "make in.mp4 -pix_fmt yuv420p -c:v libx265 -x265-params log-level=none:hash=1; poke in.mp4 500 30",
            "render in.mp4 -o out.mp4 $none",
            3,
            "in.mp4 is damaged",
            {"same $(count out.mp4) 50"}},
        Row{"OneOfAnotherSize",
            "make a.ts -pix_fmt yuv420p -c:v libx264 -g 10; size=64x64 make b.ts -pix_fmt yuv420p -c:v libx264; cat "
            "a.ts "
            "b.ts >in.ts",
            "render in.ts -o out.mp4 $none",
            0,
            "change their size; they are resampled: 64x64 to 96x64",
            {"same $(count out.mp4) 100"}},
        Row{"BrokenFrame",
            "make in.mp4 -pix_fmt yuv420p -c:v libx264 -g 10 -threads 1; poke in.mp4 450 60",
            "render in.mp4 -o out.mp4 --threads 4 $none",
            3,
            "in.mp4 is damaged: 1 frame, at 0:0",
            {"same \"$(stamps out.mp4)\" \"$(stamps in.mp4)\"",
             "larkmoor render in.mp4 -o strict.mp4 --strict $none; [ $? = 1 ] && ! [ -e strict.mp4 ]"}},
        Row{"LosslessFrameOfAWrongSum",
            "make in.mkv -c:v ffv1 -level 3; poke in.mkv 450 60",
            "render in.mkv -o out.mkv $none",
            3,
            "1 frame, at 0:0",
            {"same $(count out.mkv) 50"}},
        Row{"PictureOfASequence",
            "make in%02d.png -frames:v 5; printf nothing >in03.png",
            "render in%02d.png -o out.mkv --codec ffv1 $none",
            3,
            "1 frame, at 0:00.080, is broken",
            {"same \"$(pictures out.mkv | sed -n 3p)\" \"$(pictures out.mkv | sed -n 2p)\"",
             "same $(count out.mkv) 5"}},
        Row{"HoleInARecording",
            "make a.ts -pix_fmt yuv420p -c:v libx264 -bf 0 -g 10; head -c $((188 * 60)) a.ts >in.ts; tail -c +$((188 * "
            "90 + 1)) a.ts >>in.ts",
            "render in.ts -o out.mkv $none",
            3,
            "in.ts is damaged: ",
            {"same \"$(stamps out.mkv)\" \"$(stamps a.ts)\""}},
        Row{"MovieCutShort",
            "make in.mp4 -f lavfi -i sine=440:duration=2 -pix_fmt yuv420p -c:v libx264 -c:a aac -movflags +faststart; "
            "cutTo in.mp4 600",
            "render in.mp4 -o out.mp4 $none",
            3,
            "in.mp4 is cut short at 0:0",
            {"atLeast 15 $(count out.mp4)",
             "larkmoor render in.mp4 -o strict.mp4 --strict $none; [ $? = 1 ] && ! [ -e strict.mp4 ]"}}),
    nameOf);

/// A start, seconds, in a clip of two seconds.
struct Start {
    const char* ending;
    const char* options;
    const char* seconds = "1.4";
    int frames = 15;
};

std::ostream& operator<<(std::ostream& out, const Start& start) {
    return out << start.ending << " " << start.options;
}

class Starts : public Words, public testing::WithParamInterface<Start> {};

TEST_P(Starts, AreExactToTheFrame) {
    const Start& c = GetParam();
    const std::string in = std::string("in.") + c.ending;
    ASSERT_NO_FATAL_FAILURE(make("make " + in + " " + c.options));
    const Outcome all = words("larkmoor render " + in + " -o all.mkv --codec ffv1 $none");
    ASSERT_EQ(all.status, 0) << all.err;
    const Outcome run = words("larkmoor render " + in + " -o out.mkv --codec ffv1 --start " + c.seconds + " $none");
    ASSERT_EQ(run.status, 0) << run.err;
    holds("same \"$(pictures out.mkv)\" \"$(pictures all.mkv | tail -n " + std::to_string(c.frames) + ")\"");
}

INSTANTIATE_TEST_SUITE_P(
    Containers, Starts,
    testing::Values(Start{"ts", "-pix_fmt yuv420p -c:v libx264 -bf 2 -g 10"},
                    Start{"ts", "-pix_fmt yuv420p -c:v libx264 -bf 2 -g 250"},
                    Start{"ts", "-pix_fmt yuv420p -c:v libx264 -bf 3 -g 10 -x264-params open-gop=1", "0.76", 31},
                    Start{"ts", "-pix_fmt yuv420p -c:v libx265 -x265-params keyint=10:log-level=none"},
                    Start{"m2ts", "-pix_fmt yuv420p -c:v libx264 -bf 2 -g 10"},
                    Start{"mpg", "-c:v mpeg2video -bf 2 -g 10"}, Start{"m2v", "-c:v mpeg2video -bf 2 -g 10"},
                    Start{"h264", "-pix_fmt yuv420p -c:v libx264 -bf 2 -g 10"},
                    Start{"mkv", "-pix_fmt yuv420p -c:v libx264 -bf 3 -g 10 -x264-params open-gop=1", "0.76", 31},
                    Start{"mp4", "-pix_fmt yuv420p -c:v libx264 -bf 2 -g 10"}, Start{"flv", "-c:v flv -g 10"},
                    Start{"avi", "-c:v mjpeg"}, Start{"nut", "-c:v mpeg4 -bf 2 -g 10"}));

} // namespace
