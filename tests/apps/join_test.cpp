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
        ASSERT_EQ(larkmoor("join a.mkv b.mkv -y -o out" + threads +
                           ".mkv --transition Dissolve --duration 0.4 --threads " + threads)
                      .status,
                  0);
    }
    EXPECT_TRUE(content("out1.mkv") == content("out3.mkv"));
    const std::string a = frames("a.mkv", "bgr0"), b = frames("b.mkv", "bgr0"), out = frames("out1.mkv", "bgr0");
    ASSERT_EQ(std::ranges::count(out, '\n'), 40);
    EXPECT_EQ(lines(out, 0, 15), lines(a, 0, 15));
    EXPECT_EQ(lines(out, 25, 15), lines(b, 10, 15));
    EXPECT_NE(lines(out, 20, 1), lines(a, 20, 1));
    EXPECT_NE(lines(out, 20, 1), lines(b, 5, 1));
}

TEST_F(JoinTest, TheSecondIsBroughtToTheFirst) {
    clip("a.mp4", "-f lavfi -i sine=440:duration=1 -c:v libx264 -pix_fmt yuv420p -c:a aac");
    ffmpeg("-f lavfi -i testsrc=size=64x64:rate=15:duration=1 -f lavfi -i sine=880:duration=1:sample_rate=48000 "
           "-ac 2 -c:v libx264 -pix_fmt yuv444p -c:a aac b.mp4");
    const Outcome outcome = larkmoor("join a.mp4 b.mp4 -o out.mp4 --transition Dissolve --duration 0.2");
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("b.mp4 is resampled: 64x64 to 96x64, 15 to 25 frames"), std::string::npos);
    EXPECT_EQ(probe("out.mp4", "stream=width,height,pix_fmt,r_frame_rate,nb_frames", "-select_streams v"),
              "96,64,yuv420p,25/1,45\n");
    EXPECT_NEAR(std::stod(probe("out.mp4", "stream=duration", "-select_streams a")), 1.8, 0.05);
}

TEST_F(JoinTest, PicturesLastAsLongAsTheTransition) {
    clip("a.png", "-frames:v 1");
    clip("b.png", "-vf hflip -frames:v 1");
    ASSERT_EQ(larkmoor("join a.png b.png -o out.mp4 --transition Dissolve --duration 2").status, 0);
    EXPECT_EQ(probe("out.mp4", "stream=nb_frames"), "50\n");
}

TEST_F(JoinTest, ShortClipsShortenTheTransition) {
    clip("a.mkv", "-pix_fmt bgr0 -c:v ffv1");
    clip("b.mkv", "-pix_fmt bgr0 -c:v ffv1", "0.2");
    const Outcome outcome = larkmoor("join a.mkv b.mkv -o out.mkv --transition Dissolve --duration 0.5");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_NE(outcome.err.find("cut to 5 frames"), std::string::npos);
    EXPECT_EQ(std::ranges::count(frames("out.mkv", "bgr0"), '\n'), 25);
    EXPECT_EQ(larkmoor("join a.mkv b.mkv -o x.mkv --transition Dissolve --duration 0").status, 2);
    EXPECT_EQ(larkmoor("render a.mkv -o x.mkv --effect Dissolve").status, 2);
}

} // namespace
