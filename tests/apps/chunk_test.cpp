// A run in parts and chunks, against the whole one.
#include <gmock/gmock.h>

#include "apps/command.h"

namespace {

/// Two clips with sound; the first with pictures that refer to later ones, and subtitles.
class ChunkTest : public CommandTest {
  protected:
    void SetUp() override {
        std::ofstream(path("words.srt")) << "1\n00:00:00,200 --> 00:00:01,900\nWords\n";
        ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=25:duration=2 -f lavfi -i sine=440:duration=2 -i words.srt -c:v "
               "libx264 -g 13 -bf 3 -c:a aac -c:s mov_text a.mp4");
        ffmpeg("-f lavfi -i mandelbrot=size=96x64:rate=25 -f lavfi -i sine=880:duration=1 -t 1 -c:v libx264 -c:a aac "
               "b.mp4");
        std::ofstream(path("film.larkmoor"))
            << R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "a.mp4"}, "in": 3,
                   "second": {"path": "b.mp4", "transition": {"effect": "Iris"}, "duration": 0.4},
                   "effects": [{"effect": "Levels", "keys": {"gamma": [["start", 1], ["end", 3]]}},
                               {"effect": "Add Noise"}, {"effect": "Timecode"},
                               {"effect": "Text", "over": true, "fields": {"text": "Larkmoor"}, "from": 20, "to": 50}]})";
    }
};

struct Parts {
    const char* name;
    const char* arguments;
    std::vector<const char*> parts;
};
std::ostream& operator<<(std::ostream& out, const Parts& parts) {
    return out << parts.name;
}

class PartTest : public ChunkTest, public testing::WithParamInterface<Parts> {};

TEST_P(PartTest, BareFramesAreThoseOfTheWhole) {
    const std::string run = std::string(GetParam().arguments) + " --raw bgra ";
    ASSERT_EQ(larkmoor(run + "-o whole.raw").status, 0);
    std::string joined;
    for (const char* part : GetParam().parts) {
        const Outcome outcome = larkmoor(run + "-y -o part.raw " + part);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_GT(content("part.raw").size(), 0u);
        joined += content("part.raw");
    }
    EXPECT_TRUE(joined == content("whole.raw"));
}

INSTANTIATE_TEST_SUITE_P(
    , PartTest,
    testing::Values(
        Parts{"RampOverAClip",
              "render a.mp4 --effect Levels --ramp gamma=1:3 --effect Timecode --key scale=0.5s:0.1,end:1",
              {"--frames-of 0:7", "--frames-of 7:31", "--frames-of 31:1000"}},
        Parts{"CutClip", "render a.mp4 --start 0.3 --frames 30 --effect Timecode", {"--chunk 0/2", "--chunk 1/2"}},
        Parts{"CutAtTheEnd", "render a.mp4 --start 0.3 --end 1.5 --effect Timecode", {"--chunk 0/2", "--chunk 1/2"}},
        Parts{"Over", "render a.mp4 --over b.mp4 --effect Invert", {"--chunk 0/2", "--chunk 1/2"}},
        Parts{"Project", "render film.larkmoor", {"--chunk 0/3", "--chunk 1/3", "--chunk 2/3"}},
        Parts{"Join",
              "join a.mp4 b.mp4 a.mp4 --transition Iris --duration 0.4",
              {"--chunk 0/3", "--chunk 1/3", "--chunk 2/3"}},
        Parts{"Generator",
              "generate Text --size 64x32 --duration 0.4 --set text=Hi --ramp tracking=0:1",
              {"--chunk 0/2", "--chunk 1/2"}}),
    [](const auto& info) { return info.param.name; });

TEST_F(ChunkTest, PartsOfASequenceKeepTheirNumbers) {
    shell("mkdir whole parts");
    ASSERT_EQ(larkmoor("render film.larkmoor -o whole/f%03d.png").status, 0);
    for (const std::string part : {"2/3", "0/3", "1/3"})
        ASSERT_EQ(larkmoor("render film.larkmoor -o parts/f%03d.png --chunk " + part).status, 0);
    EXPECT_EQ(shell("diff -r whole parts").out, "");
    EXPECT_THAT(larkmoor("render film.larkmoor -o parts/f%03d.png --chunk 1/3").err,
                testing::HasSubstr("is there already"));
    // Numbers go on from those of a sequence that is read.
    ASSERT_EQ(larkmoor("render whole/f%03d.png -o parts/g%03d.png --frames-of 9:11 --effect Invert").status, 0);
    EXPECT_EQ(shell("cd parts && echo g*").out, "g010.png g011.png\n");
}

TEST_F(ChunkTest, StampsArePassedOnFromPartToPart) {
    // Frames of an uneven rate go to whole frames of the encoder, each later than the one before.
    ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=50:duration=2 -vf \"select='lt(n,30)+not(mod(n,9))'\" -vsync vfr "
           "-video_track_timescale 10000 -c:v libx264 -g 8 uneven.mp4");
    const std::string run = "render uneven.mp4 --codec mpeg4 --effect Invert ";
    ASSERT_EQ(larkmoor(run + "-o whole.mkv").status, 0);
    ASSERT_EQ(larkmoor(run + "-o front.mkv --chunk 0/2").status, 0);
    ASSERT_EQ(larkmoor(run + "-o back.mkv --chunk 1/2").status, 0);
    const auto stamps = [&](const std::string& file) { return probe(file, "packet=pts"); };
    EXPECT_EQ(stamps("front.mkv") + stamps("back.mkv"), stamps("whole.mkv"));
}

TEST_F(ChunkTest, APartHoldsPicturesAlone) {
    ASSERT_EQ(larkmoor("render a.mp4 -o part.mp4 --frames-of 10:20 --effect Invert").status, 0);
    EXPECT_EQ(probe("part.mp4", "stream=codec_name,nb_frames"), "h264,10\n");
    EXPECT_EQ(probe("part.mp4", "packet=pts_time", "-read_intervals %+#1"), "0.400000\n");
}

TEST_F(ChunkTest, ChunksBeginWithKeyFramesAndKeepAllElse) {
    ASSERT_EQ(larkmoor("render a.mp4 -o whole.mp4 --effect Invert").status, 0);
    ASSERT_EQ(larkmoor("render a.mp4 -o chunks.mp4 --chunk-frames 15 --effect Invert").status, 0);
    EXPECT_EQ(shell("ffprobe -v error -select_streams v -skip_frame nokey -show_entries frame=pts_time -of csv=p=0 "
                    "chunks.mp4 | tr -d '\\n '")
                  .out,
              "0.000000,0.600000,1.200000,1.800000,");
    for (const std::string entries : {"stream=codec_name,nb_frames,duration", "format=duration"})
        EXPECT_EQ(probe("chunks.mp4", entries), probe("whole.mp4", entries));
    for (const std::string stream : {"a", "s"}) {
        const std::string all = "packet=pts,dts,duration,data_hash";
        EXPECT_EQ(probe("chunks.mp4", all, "-show_data_hash md5 -select_streams " + stream),
                  probe("whole.mp4", all, "-show_data_hash md5 -select_streams " + stream));
    }
}

struct Refusal {
    const char* arguments;
    int status;
    const char* says;
};

TEST_F(ChunkTest, Refusals) {
    for (const auto& [arguments, status, says] :
         {Refusal{"--frames-of 5:5", 2, "--frames-of takes A:B"}, Refusal{"--frames-of 5", 2, "--frames-of takes A:B"},
          Refusal{"--frames-of -1:5", 2, "--frames-of takes A:B"}, Refusal{"--chunk 3/3", 2, "--chunk takes I/N"},
          Refusal{"--chunk 0/2 --frames-of 0:2", 2, "--frames-of"}, Refusal{"--chunk-frames 0", 2, "--chunk-frames"},
          Refusal{"--frames-of 50:60", 1, "has no frame 50"}, Refusal{"--frames-of 49:60", 0, ""},
          Refusal{"-o out.raw --chunk-frames 5", 2, "--chunk-frames is for files that are encoded"},
          Refusal{"-o out.apng --chunk-frames 5", 2, "is one piece"}}) {
        SCOPED_TRACE(arguments);
        const std::string output = std::string(arguments).starts_with("-o") ? "" : "-o out.mkv ";
        const Outcome outcome = larkmoor("render a.mp4 --effect Invert -y " + output + arguments);
        EXPECT_EQ(outcome.status, status);
        EXPECT_THAT(outcome.err, testing::HasSubstr(says));
    }
    EXPECT_THAT(shell("head -c 24576 /dev/zero | " LARKMOOR_COMMAND_FILE
                      " render - -o out.mkv --raw 64x32:bgra:25 --chunk 0/2 --effect Invert")
                    .err,
                testing::HasSubstr("nothing tells how many frames"));
}

} // namespace
