#include "apps/command.h"

namespace {

using JoinTest = CommandTest;

std::string lines(const std::string& text, std::size_t first, std::size_t count) {
    std::size_t start = 0;
    for (; first > 0; --first) start = text.find('\n', start) + 1;
    std::size_t end = start;
    for (; count > 0; --count) end = text.find('\n', end) + 1;
    return text.substr(start, end - start);
}

TEST_F(JoinTest, ClipsAreUntouchedOutsideTheOverlap) {
    clip("a.mkv", "-pix_fmt bgr0 -c:v ffv1");
    clip("b.mkv", "-vf hflip -pix_fmt bgr0 -c:v ffv1");
    for (const std::string threads : {"1", "3"}) {
        run("join a.mkv b.mkv -y -o out" + threads + ".mkv --transition Dissolve --duration 0.4 --threads " + threads);
    }
    EXPECT_TRUE(content("out1.mkv") == content("out3.mkv"));
    const std::string a = frames("a.mkv", "bgr0"), b = frames("b.mkv", "bgr0"), out = frames("out1.mkv", "bgr0");
    ASSERT_EQ(std::ranges::count(out, '\n'), 40);
    EXPECT_EQ(lines(out, 0, 15), lines(a, 0, 15));
    EXPECT_EQ(lines(out, 25, 15), lines(b, 10, 15));
    EXPECT_NE(lines(out, 20, 1), lines(a, 20, 1));
    EXPECT_NE(lines(out, 20, 1), lines(b, 5, 1));
}

TEST_F(JoinTest, ManyClipsAreAsJoinedOneByOne) {
    const auto sounding = [&](const std::string& name, const std::string& pitch, const std::string& more,
                              const std::string& seconds) {
        clip(name,
             "-f lavfi -i sine=" + pitch + ":sample_rate=48000:duration=" + seconds + " " + more +
                 " -pix_fmt bgr0 -c:v ffv1 -c:a pcm_s16le",
             seconds);
    };
    // The second clip is all overlap.
    sounding("a.mkv", "440", "", "1");
    sounding("b.mkv", "880", "-vf hflip", "0.8");
    sounding("c.mkv", "660", "-vf vflip", "1.2");
    sounding("d.mkv", "550", "-vf negate", "1");
    const std::string more = " -y --codec ffv1 --transition Dissolve --duration 0.4 -o ";
    for (const std::string& run : {"a.mkv b.mkv" + more + "ab.mkv", "ab.mkv c.mkv" + more + "abc.mkv",
                                   "abc.mkv d.mkv" + more + "steps.mkv", "a.mkv b.mkv c.mkv d.mkv" + more + "once.mkv"})
        ASSERT_EQ(larkmoor("join " + run).status, 0) << run;
    EXPECT_EQ(frames("once.mkv", "bgr0"), frames("steps.mkv", "bgr0"));
    EXPECT_EQ(std::ranges::count(frames("once.mkv", "bgr0"), '\n'), 25 + 20 + 30 + 25 - 3 * 10);
    for (const std::string name : {"once", "steps"}) ffmpeg("-i " + name + ".mkv -map 0:a -f s16le " + name + ".raw");
    EXPECT_TRUE(content("once.raw") == content("steps.raw"));
}

TEST_F(JoinTest, ClipsBetweenOthersHoldBothTransitions) {
    clip("a.mkv", "-pix_fmt bgr0 -c:v ffv1");
    clip("b.mkv", "-pix_fmt yuv420p -c:v ffv1", "0.2");
    clip("longer.mkv", "-pix_fmt yuv420p -c:v ffv1", "0.4");
    clip("b.h264", "-pix_fmt yuv420p -c:v libx264", "0.2");
    clip("half.ts", "-pix_fmt yuv420p -c:v libx264", "0.2");
    shell("cat half.ts half.ts >twice.ts");
    const struct {
        std::string clips, duration, says; ///< nothing to say where it fits
        int frames;                        ///< of the film
    } rows[] = {
        {"b.mkv", "0.12", "b.mkv has 5 frames, too few for a transition of 3 at either end; --duration 0.08 is", 0},
        {"b.mkv", "0.08", "", 51},
        // The shortest counts, though it is not the first.
        {"longer.mkv b.mkv", "0.24", "b.mkv has 5 frames", 0},
        // Known only once it is read.
        {"b.h264", "0.12", "b.h264 has 5 frames, too few", 0},
        {"b.h264", "0.08", "", 51},
        // Longer than it tells.
        {"twice.ts", "0.2", "", 50},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.clips + " " + row.duration);
        const Outcome run =
            larkmoor("join a.mkv " + row.clips + " a.mkv -y -o out.mkv --transition Push --duration " + row.duration);
        EXPECT_EQ(run.status == 2, !row.says.empty()) << run.err;
        EXPECT_NE(run.err.find(row.says), std::string::npos) << run.err;
        EXPECT_EQ(exists("out.mkv"), row.says.empty());
        if (row.says.empty()) {
            EXPECT_EQ(std::ranges::count(frames("out.mkv", "bgr0"), '\n'), row.frames);
        }
        std::filesystem::remove(path("out.mkv"));
    }
}

TEST_F(JoinTest, TheSecondIsBroughtToTheFirst) {
    clip("a.mp4", "-f lavfi -i sine=440:duration=1 -c:v libx264 -pix_fmt yuv420p -c:a aac");
    ffmpeg("-f lavfi -i testsrc=size=64x64:rate=15:duration=1 -f lavfi -i sine=880:duration=1:sample_rate=48000 "
           "-ac 2 -c:v libx264 -pix_fmt yuv444p -c:a aac b.mp4");
    const Outcome outcome = run("join a.mp4 b.mp4 -o out.mp4 --transition Dissolve --duration 0.2");
    EXPECT_NE(outcome.err.find("b.mp4 is resampled: 64x64 to 96x64, 15 to 25 frames"), std::string::npos);
    EXPECT_EQ(probe("out.mp4", "stream=width,height,pix_fmt,r_frame_rate,nb_frames", "-select_streams v"),
              "96,64,yuv420p,25/1,45\n");
    EXPECT_NEAR(std::stod(probe("out.mp4", "stream=duration", "-select_streams a")), 1.8, 0.05);
}

TEST_F(JoinTest, PicturesLastAsLongAsTheTransition) {
    clip("a.png", "-frames:v 1");
    clip("b.png", "-vf hflip -frames:v 1");
    run("join a.png b.png a.png -o out.mp4 --transition Dissolve --duration 2");
    EXPECT_EQ(probe("out.mp4", "stream=nb_frames"), "100\n");
    // The rate is that of the first clip that has one.
    ffmpeg("-f lavfi -i testsrc=size=96x64:rate=15:duration=1 -c:v ffv1 c.mkv");
    run("join a.png b.png c.mkv -o out.mkv --transition Dissolve --duration 0.4");
    EXPECT_EQ(probe("out.mkv", "stream=r_frame_rate"), "15/1\n");
}

TEST_F(JoinTest, ShortClipsShortenTheTransition) {
    clip("a.mkv", "-pix_fmt bgr0 -c:v ffv1");
    clip("b.mkv", "-pix_fmt bgr0 -c:v ffv1", "0.2");
    for (const std::string order : {"a.mkv b.mkv", "b.mkv a.mkv"}) {
        const Outcome outcome = run("join " + order + " -y -o out.mkv --transition Dissolve --duration 0.5");
        EXPECT_NE(outcome.err.find("cut to 5 frames"), std::string::npos);
        EXPECT_EQ(std::ranges::count(frames("out.mkv", "bgr0"), '\n'), 25) << order;
    }
    EXPECT_EQ(larkmoor("join a.mkv b.mkv -o x.mkv --transition Dissolve --duration 0").status, 2);
    EXPECT_EQ(larkmoor("render a.mkv -o x.mkv --effect Dissolve").status, 2);
}

} // namespace
