#include <gmock/gmock.h>

#include "apps/command.h"

namespace {

const std::string twice = " --effect Invert --effect Invert ";

using RenderTest = CommandTest;

TEST_F(RenderTest, StraightAlphaIsMultipliedAndDividedAgain) {
    // Invert turns premultiplied colour c to a - c, so that straight colour 200 at alpha 128 becomes 55.
    shell("printf '\\310\\310\\310\\200\\377\\000\\000\\377\\012\\024\\036\\000' >in.raw");
    run("render in.raw --raw 3x1:bgra:25 -o out.raw --effect Invert");
    const std::string out = content("out.raw");
    ASSERT_EQ(out.size(), 12u);
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(static_cast<unsigned char>(out[static_cast<std::size_t>(c)]), 55, 1);
    EXPECT_EQ(out.substr(3), std::string("\x80\x00\xff\xff\xff\x00\x00\x00\x00", 9));
}

TEST_F(RenderTest, RawFramesPassThroughPipes) {
    clip("in.mkv", "-pix_fmt bgr0 -c:v ffv1");
    ffmpeg("-i in.mkv -f rawvideo -pix_fmt rgb24 in.raw");
    ASSERT_EQ(shell(LARKMOOR_COMMAND_FILE " render - -o - --raw 96x64:rgb24:25" + twice + "<in.raw >out.raw").status,
              0);
    EXPECT_TRUE(content("in.raw") == content("out.raw"));
    const Outcome cut = shell("head -c 30000 in.raw | " LARKMOOR_COMMAND_FILE
                              " render - -o cut.mkv --raw 96x64:rgb24:25 --effect Invert");
    EXPECT_EQ(cut.status, 3);
    EXPECT_NE(cut.err.find("cut short at 0:00.040"), std::string::npos) << cut.err;
    EXPECT_EQ(std::ranges::count(frames("cut.mkv", "rgb24"), '\n'), 1);
    expectRefused("render ", {{"- -o x.mkv --effect Invert </dev/null", 2, ""},
                              {"- -o x.mkv --raw 96x64:rgb24:25 --effect Invert </dev/null", 1, ""},
                              {"in.mkv -o - --raw 95x64:rgb24:25 --effect Invert", 2, ""}});
    run("render in.mkv -o /dev/null -y --raw bgra --effect Invert");
}

TEST_F(RenderTest, ClearPicturesLieOverAnotherClip) {
    clip("above.png", "-vf format=bgra,geq=r=X:g=Y:b='X+Y':a='X*3' -frames:v 1 -pix_fmt rgba");
    clip("below.png", "-frames:v 1 -pix_fmt rgb24");
    for (const std::string name : {"above", "below"}) ffmpeg("-i " + name + ".png -f rawvideo -pix_fmt bgra " + name);
    const Outcome outcome = run("render above.png -o out.raw --raw bgra --over below.png");
    EXPECT_EQ(outcome.err, "");
    const std::string above = content("above"), below = content("below"), out = content("out.raw");
    ASSERT_EQ(out.size(), above.size());
    const auto at = [](const std::string& picture, std::size_t i) { return static_cast<unsigned char>(picture[i]); };
    for (std::size_t i = 0; i < out.size(); ++i) {
        const int alpha = at(above, i | 3);
        const int colour = i % 4 == 3 ? alpha : (at(above, i) * alpha + 127) / 255;
        ASSERT_EQ(at(out, i), colour + (at(below, i) * (255 - alpha) + 127) / 255) << i;
    }
}

TEST_F(RenderTest, TheClipBelowIsCutOrHeldToTheOneAbove) {
    clip("clear.mkv", "-vf format=bgra,colorchannelmixer=aa=0 -c:v ffv1");
    for (const std::string seconds : {"0.4", "2"}) clip("b" + seconds + ".mkv", "-pix_fmt bgr0 -c:v ffv1", seconds);
    run("render clear.mkv -o long.mkv --pixel-format bgr0 --over b2.mkv --threads 3");
    EXPECT_EQ(frames("long.mkv", "bgr0"), frames("b2.mkv", "bgr0").substr(0, frames("long.mkv", "bgr0").size()));
    const Outcome held = run("render clear.mkv -o held.mkv --pixel-format bgr0 --over b0.4.mkv");
    EXPECT_NE(held.err.find("b0.4.mkv ends first"), std::string::npos);
    std::string want = frames("b0.4.mkv", "bgr0");
    const std::string last = want.substr(want.size() / 10 * 9);
    for (int i = 10; i < 25; ++i) want += last;
    EXPECT_EQ(frames("held.mkv", "bgr0"), want);
    // A clip that drops frames keeps step with the one below by time.
    clip("gaps.mkv", "-vf \"select='not(between(n,5,9))',format=bgra,colorchannelmixer=aa=0\" -vsync vfr -c:v ffv1");
    run("render gaps.mkv -o late.mkv --pixel-format bgr0 --over b2.mkv");
    const std::string late = frames("late.mkv", "bgr0"), all = frames("b2.mkv", "bgr0");
    ASSERT_EQ(std::ranges::count(late, '\n'), 20);
    EXPECT_EQ(late.substr(late.size() / 20 * 19), all.substr(all.size() / 50 * 24, all.size() / 50));
}

MATCHER_P(Within, distance, "") {
    return std::abs(std::get<0>(arg) - std::get<1>(arg)) <= distance;
}

TEST_F(RenderTest, AKeyedPictureLiesOverAClip) {
    ffmpeg("-f lavfi -i color=0x00FF00:size=96x64:rate=25:duration=0.2 -vf "
           "format=bgr0,drawbox=x=32:y=16:w=32:h=32:color=red:t=fill -c:v ffv1 green.mkv");
    ffmpeg("-f lavfi -i color=0x2040C0:size=48x32:rate=25:duration=0.2 -vf format=bgr0 -c:v ffv1 blue.mkv");
    const Outcome outcome = run("render green.mkv -o out.raw --raw bgr24 --effect 'Chroma Keyer' "
                                "--preset 'Pure Green Screen' --over blue.mkv");
    EXPECT_NE(outcome.err.find("48x32 to 96x64"), std::string::npos);
    const std::string out = content("out.raw");
    ASSERT_EQ(out.size(), 5u * 96 * 64 * 3);
    const auto pixel = [&](std::size_t frame, std::size_t x, std::size_t y) {
        std::vector<int> bytes;
        for (std::size_t c = 0; c < 3; ++c)
            bytes.push_back(static_cast<unsigned char>(out[((frame * 64 + y) * 96 + x) * 3 + c]));
        return bytes;
    };
    for (const std::size_t frame : {0, 4}) {
        // Scaling takes its way through luma and chroma.
        for (const auto& [x, y] : {std::pair<std::size_t, std::size_t>(2, 2), {93, 61}})
            EXPECT_THAT(pixel(frame, x, y), testing::Pointwise(Within(2), {0xC0, 0x40, 0x20}));
        const std::vector<int> box = pixel(frame, 48, 32);
        EXPECT_GT(box[2], 240);
        EXPECT_LT(std::max(box[0], box[1]), 10);
    }
}

TEST_F(RenderTest, AStillLiesOverAClipAsLongAsThat) {
    clip("in.mkv", "-f lavfi -i sine=440:duration=1 -pix_fmt bgr0 -c:v ffv1 -c:a pcm_s16le");
    ffmpeg("-f lavfi -i color=red:size=48x64,format=rgba,pad=96:64:0:0:color=black@0 -frames:v 1 logo.png");
    run("render logo.png --over in.mkv -o out.mkv");
    EXPECT_EQ(probe("out.mkv", "stream=codec_name,width,height"), "ffv1,96,64\npcm_s16le\n");
    for (const char* entries : {"frame=pts_time", "packet=size"})
        EXPECT_EQ(probe("out.mkv", entries, "-select_streams a"), probe("in.mkv", entries, "-select_streams a"));
    EXPECT_EQ(probe("out.mkv", "frame=pts_time", "-select_streams v"),
              probe("in.mkv", "frame=pts_time", "-select_streams v"));
    ffmpeg("-loop 1 -framerate 25 -i logo.png -t 1 -pix_fmt bgra -c:v ffv1 red.mkv");
    // The clip to the right, the still to the left.
    for (const char* side : {"48:64:48:0", "48:64:0:0"}) {
        const auto half = [&](const std::string& file) {
            const std::string cut = std::string("half_") + file;
            ffmpeg("-i " + file + " -map 0:v -vf crop=" + side + " -c:v ffv1 -pix_fmt bgr0 " + cut);
            return frames(cut, "bgr0");
        };
        EXPECT_EQ(half("out.mkv"), half(side[6] == '4' ? "in.mkv" : "red.mkv")) << side;
    }
    run("render logo.png --over in.mkv -o cut.mkv --start 0.4 --frames 5 --effect Invert");
    EXPECT_EQ(std::ranges::count(frames("cut.mkv", "bgr0"), '\n'), 5);
    run("render logo.png --over in.mkv -o one.png");
    run("render logo.png --over one.png -o both.png");
}

TEST_F(RenderTest, SeveralInputsGoIntoAFolder) {
    shell("mkdir clips other");
    clip("clips/b.mkv", "-pix_fmt bgr0 -c:v ffv1", "0.2");
    clip("clips/a.png", "-frames:v 1");
    shell("echo x >clips/notes.txt; echo x >clips/.hidden.mkv; cp clips/a.png other/a.png; ffmpeg -v error -f lavfi -i "
          "sine=d=0.1 clips/song.mp3");
    const std::string invert = " --effect Invert";
    const Outcome all = run("render clips -o out" + invert);
    EXPECT_THAT(all.err, testing::HasSubstr("2 of 2 are done"));
    EXPECT_EQ(shell("ls -A out").out, "a.png\nb.mkv\n");
    run("render clips/a.png -o alone.png" + invert);
    EXPECT_TRUE(content("out/a.png") == content("alone.png"));
    // One that fails does not keep the others.
    shell("echo broken >clips/aa.mp4");
    const Outcome some = larkmoor("render clips/aa.mp4 clips/b.mkv clips/a.png -o new/deep/" + invert);
    EXPECT_EQ(some.status, 1);
    EXPECT_THAT(some.err, testing::AllOf(testing::HasSubstr("larkmoor: cannot open clips/aa.mp4"),
                                         testing::HasSubstr("2 of 3 are done, 1 failed")));
    EXPECT_EQ(shell("ls -A new/deep").out, "a.png\nb.mkv\n");
    expectRefused("", {{"render clips/a.png other/a.png -o out --effect Invert", 2, "would both become out/a.png"},
                       {"render clips/a.png clips/b.mkv -o alone.png --effect Invert", 2, "go into a folder"},
                       {"render clips -o - --effect Invert", 2, "go into a folder"},
                       {"render - clips -o out --effect Invert", 2, "standard input"},
                       {"render none clips -o out --effect Invrt", 2, "Invert"},
                       {"render new -o out --effect Invert", 1, "holds no clips"}});
    for (const auto& [output, says] : {std::pair("clips -y", "is read"), {"out", "there already"}}) {
        const Outcome one = larkmoor("render clips/a.png --effect Invert -o " + std::string(output));
        EXPECT_EQ(one.status, 1);
        EXPECT_THAT(one.err, testing::HasSubstr(says));
    }
}

TEST_F(RenderTest, GeneratorsLieOverThePicture) {
    clip("in.mkv", "-vf format=gray,geq=lum=40 -pix_fmt bgr0 -c:v ffv1", "0.2");
    // The pattern covers everything.
    run("render in.mkv -o bars.raw --raw bgra --effect Invert --over-effect 'Test Pattern'");
    run("generate 'Test Pattern' -o one.raw --raw bgra --size 96x64 --duration 0.2");
    EXPECT_TRUE(content("bars.raw") == content("one.raw"));

    const std::string title =
        " --effect Invert --over-effect Text --set text=Wind --set font='Liberation Sans Bold 20' "
        "--set fore=#FF0000FF --ramp tracking=0.5:1.5 --effect Invert ";
    for (const std::string threads : {"1", "3"})
        run("render in.mkv -y -o title" + threads + ".raw --raw bgr24 --threads " + threads + title);
    const std::string out = content("title1.raw");
    EXPECT_TRUE(out == content("title3.raw"));
    constexpr std::size_t frame = 96 * 64 * 3;
    ASSERT_EQ(out.size(), 5 * frame);
    EXPECT_NE(out.substr(0, frame), out.substr(4 * frame));
    for (std::size_t f = 0; f < 5; ++f) {
        // Red, inverted by the effect that comes after it, on a ground that was inverted twice.
        const std::string picture = out.substr(f * frame, frame);
        EXPECT_EQ(picture.substr(0, 3), "\x28\x28\x28");
        EXPECT_NE(picture.find(std::string("\xFF\xFF\0", 3)), std::string::npos) << f;
    }
}

TEST_F(RenderTest, MistakesGetASentenceAndLeaveNothing) {
    clip("in.mp4", "-c:v libx264 -pix_fmt yuv420p -movflags +faststart");
    shell("head -c $(($(stat -c %s in.mp4) / 2)) in.mp4 >cut.mp4; touch empty.mp4 there.mp4; ffmpeg -v error -f lavfi "
          "-i sine=d=0.1 a.wav");
    ffmpeg("-i in.mp4 -frames:v 1 in.png");
    shell(
        "head -c 400 in.png >cut.png; ln -s in.mp4 link.mp4; ln in.mp4 hard.mp4; cp in.png s10.png; printf x >in.raw");
    expectRefused(
        "", {{"render none.mp4 -o x.mp4 --effect Invert", 1, "none.mp4"},
             {"render empty.mp4 -o x.mp4 --effect Invert", 1, "empty.mp4"},
             {"render cut.mp4 -o x.mp4 --strict --effect Invert", 1, "cut.mp4"},
             {"render cut.png -o x.png --effect Invert", 1, "cut.png"},
             {"render a.wav -o x.mp4 --effect Invert", 1, "no pictures"},
             {"render . -o x.mp4 --effect Invert", 2, "x.mp4/ is one"},
             {"render in.mp4 -o there.mp4 --effect Invert", 1, "-y overwrites"},
             {"render in.mp4 -o none/x.mp4 --effect Invert", 1, "no such folder"},
             {"render in.mp4 -o /dev/full --raw bgra --effect Invert", 1, "No space left"},
             {"render in.mp4 -o x.mp4", 2, "--effect"},
             {"render in.mp4 -o x.mp4 --over none.mp4", 1, "none.mp4"},
             {"render in.mp4 -o x.mp4 --over a.wav", 1, "no pictures"},
             {"render in.mp4 -o x.mp4 --over -", 2, "--raw"},
             {"render in.mp4 -o x.mp4 --over-effect Invert", 2, "lay over"},
             {"render in.mp4 -o x.mp4 --effect 'Test Pattern'", 2, "--over-effect"},
             {"render in.mp4 -o x.mp4 --effect Invert --rate 10", 2, "--rate"},
             {"render in.mp4 -o x.mp4 --effect Invert --rate fast", 2, "frame rate"},
             {"render in.mp4 -o x.xyz --effect Invert", 2, "ending"},
             {"render in.mp4 -o x.mp4 --effect Invrt", 2, "Invert"},
             {"render in.mp4 -o x.mp4 --effect Invert --set amont=1", 2, "amount"},
             {"render in.mp4 -o x.mp4 --effect Invert --set amount=much", 2, "amount"},
             {"render in.mp4 -o x.mp4 --effect Invert --set amount", 2, "FIELD=VALUE"},
             {"render in.mp4 -o x.mp4 --effect Invert --ramp amount=1", 2, "FROM:TO"},
             {"render - --raw 2x2:gray:25 -o - --effect Invert --ramp amount=0:1 </dev/zero", 2, "cannot be told"},
             {"render in.mp4 -o x.mp4 --effect Invert --preset Upside", 2, "preset"},
             {"render in.mp4 -o x.mp4 --set amount=1 --effect Invert", 2, "--effect"},
             {"render in.mp4 -o x.mp4 --effect Invert --frames 0", 2, "--frames"},
             {"render in.mp4 -o x.mp4 --effect Invert --start 1:99", 2, "time"},
             {"render in.mp4 -o x.mp4 --effect Invert --quality 101", 2, "--quality"},
             {"render in.mp4 -o x.mp4 --effect Invert --threads 0", 2, "--threads"},
             {"render in.mp4 -o x.mp4 --effect Invert --codec none", 2, "none"},
             {"render in.mp4 -o x.mp4 --effect Invert --raw bgra", 2, "--raw"},
             {"render in.mp4 -o - --effect Invert", 2, "--raw"},
             {"join in.mp4 in.mp4 -o x.mp4 --transition Invert", 2, "transition"},
             {"generate Invert -o x.mp4 --size 16x16", 2, "render"},
             {"generate Invert -o x.mp4 --size 16", 2, "size"},
             {"show Invrt", 2, "Invert"},
             {"dance", 2, "there is no verb \"dance\""},
             {"", 2, "no verb"},
             {"show Invert Sepia", 2, "\"Sepia\" is one argument too many"},
             {"render in.mp4 --qualty 3 -o x.mp4 --effect Invert", 2, "did you mean \"--quality\"?"},
             {"render in.mp4 -o x.mp4 -o y.mp4 --effect Invert", 2, "--output is given more than once"},
             {"render in.mp4 -o x.mp4 --effect", 2, "--effect needs a value"},
             {"list --quiet --progress json", 2, "--quiet"},
             {"render in.mp4 -y -o ./in.mp4 --effect Invert", 1, "which is read"},
             {"render in.mp4 -y -o link.mp4 --effect Invert", 1, "link.mp4 is in.mp4, which is read"},
             {"render in.mp4 -y -o hard.mp4 --effect Invert", 1, "hard.mp4 is in.mp4, which is read"},
             {"render in.png -y -o in.mp4 --over in.mp4", 1, "in.mp4 is read"},
             {"render s%d.png -y -o s%02d.png --effect Invert", 1, "s10.png is read"},
             {"render - -y -o in.raw --raw 1x1:gray:25 --effect Invert <in.raw", 1, "which is read"},
             {"render in.mp4 -y -o x.mp4 --effect Invert --save-state in.mp4", 1, "in.mp4 is read"},
             {"render in.mp4 -o x.mp4 --effect Invert --save-state none/s", 1, "cannot write none/s: no such folder"},
             {"join in.mp4 hard.mp4 -y -o link.mp4 --transition Iris", 1, "which is read"},
             {"join in.png in.png in.mp4 -y -o in.mp4 --transition Iris", 1, "in.mp4 is read"}});
}

TEST_F(RenderTest, SignalsLeaveNothing) {
    // The pipe stays open, so that the signal meets the work half done: what was fed is more than pipe and reader hold
    // before the output is opened.
    const Outcome outcome = shell("mkfifo pipe; exec 3<>pipe; " LARKMOOR_COMMAND_FILE
                                  " render - -o out.mkv --raw 64x64:bgra:25 --effect Invert <pipe & work=$!; "
                                  "timeout 60 head -c 2000000 /dev/zero >pipe; ls -A | grep -c part >seen; kill -TERM "
                                  "$work; wait $work; echo $? >status");
    EXPECT_EQ(content("seen"), "1\n");
    EXPECT_EQ(content("status"), "143\n") << outcome.err;
    EXPECT_EQ(names(), (std::vector<std::string>{"pipe", "seen", "status"}));
}

TEST_F(RenderTest, PartsOfTheDeadGoAndThoseOfTheLivingStay) {
    for (const std::string output : {"out.mkv", "out%d.png"}) {
        shell("mkfifo pipe; exec 3<>pipe; " LARKMOOR_COMMAND_FILE " render - -o " + output +
              " --raw 64x64:bgra:25 --effect Invert <pipe & work=$!; timeout 60 head -c 2000000 /dev/zero >pipe; "
              "for name in alive dead; do " LARKMOOR_COMMAND_FILE
              " generate 'Test Pattern' -y -o b.png --size 8x8; ls -A | grep -c part >$name; kill -KILL $work; "
              "wait $work; done; rm pipe");
        EXPECT_EQ(content("alive"), "1\n");
        EXPECT_EQ(content("dead"), "0\n");
        EXPECT_EQ(names(), (std::vector<std::string>{"alive", "b.png", "dead"}));
    }
}

TEST_F(RenderTest, WhatCannotBeToldIsDropped) {
    clip("in.mp4", "-f lavfi -i sine=440:duration=1 -c:v libx264 -pix_fmt yuv420p -c:a aac");
    // With a note, as the container takes no AAC.
    const std::string render = LARKMOOR_COMMAND_FILE " render in.mp4 -y --effect Invert -o ";
    const Outcome told = shell(render + "told.webm");
    ASSERT_EQ(told.status, 0);
    ASSERT_NE(told.err, "");
    for (const std::string to : {"2>&-", "2>/dev/full", "2> >(true)", "<&- >&- 2>&-"}) {
        SCOPED_TRACE(to);
        EXPECT_EQ(shell("bash -c '" + render + "out.webm " + to + "'").status, 0);
        EXPECT_TRUE(content("out.webm") == content("told.webm"));
    }
    const Outcome quiet = shell(render + "out.webm --quiet");
    EXPECT_EQ(quiet.err, "");
    EXPECT_THAT(larkmoor("render none.mp4 -o out.webm --quiet --memory --effect Invert").err,
                testing::MatchesRegex("larkmoor: cannot [^\n]*\nlarkmoor: took [0-9]+ MB of memory at most\n"));
    const Outcome json = shell(render + "out.webm --progress json --memory");
    EXPECT_THAT(json.err, testing::MatchesRegex("(\\{\"event\":\"[a-z]+\",[^\n]*\\}\n)+"
                                                "\\{\"event\":\"memory\",\"bytes\":[0-9]{8,10}\\}\n"));
    for (const char* part : {"{\"event\":\"note\",\"text\":\"out.webm does not take",
                             "{\"event\":\"progress\",\"file\":\"in.mp4\",\"frames\":25,\"total\":25,\"seconds\":"})
        EXPECT_THAT(json.err, testing::HasSubstr(part));
    EXPECT_THAT(larkmoor("render none.mp4 -o x.webm --progress json --effect Invert").err,
                testing::StartsWith("{\"event\":\"error\",\"text\":\"cannot"));
    EXPECT_EQ(shell("bash -c 'set -o pipefail; " LARKMOOR_COMMAND_FILE " list --json 2>err | true'; cat err >&2").err,
              "");
    EXPECT_EQ(larkmoor("list >&-").status, 1);
}

TEST_F(RenderTest, ListAndShowTellOfInvert) {
    EXPECT_NE(larkmoor("list").out.find("DXTInvert"), std::string::npos);
    EXPECT_NE(larkmoor("list --json").out.find("\"class\": \"DXTInvert\""), std::string::npos);
    for (const std::string verb : {"list", "show invert"}) {
        const std::string json = larkmoor(verb + " --json").out;
        for (const std::string key : {"classId", "interfaceId"})
            EXPECT_THAT(json,
                        testing::ContainsRegex("\"" + key + "\": \"\\{[0-9A-F]{8}-([0-9A-F]{4}-){3}[0-9A-F]{12}\\}\""));
    }
    EXPECT_NE(larkmoor("show invert").out.find("amount"), std::string::npos);
    EXPECT_NE(larkmoor("show DXTInvert --json").out.find("\"default\": \"1\""), std::string::npos);
    EXPECT_EQ(larkmoor("--help").status, 0);
    for (const char* verb : {"list", "show", "render", "join", "generate", "lut", "presets"})
        EXPECT_THAT(larkmoor(verb + std::string(" --help")).out,
                    testing::HasSubstr("Examples:\n  larkmoor " + std::string(verb)));
    EXPECT_THAT(larkmoor("show Levels --json").out, testing::Not(testing::ContainsRegex("\"label\": \"[^\"]*&")));
    EXPECT_EQ(larkmoor("list >/dev/full").status, 1);
}

} // namespace
