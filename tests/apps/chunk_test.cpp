// A run in parts, in chunks and by several processes, against the whole one.
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "apps/command.h"
#include "farm/claims.h"

namespace {

using testing::HasSubstr;

/// Two clips with sound, the first with pictures that refer to later ones and subtitles, and a project of both.
class FilmTest : public CommandTest {
  protected:
    void SetUp() override {
        write("words.srt", "1\n00:00:00,200 --> 00:00:01,100\nWords\n");
        ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=25:duration=1.2 -f lavfi -i sine=440:duration=1.2 -i words.srt "
               "-c:v libx264 -g 13 -bf 3 -c:a aac -c:s mov_text a.mp4");
        ffmpeg("-f lavfi -i mandelbrot=size=96x64:rate=25 -f lavfi -i sine=880:duration=0.8 -t 0.8 -c:v libx264 -c:a "
               "aac b.mp4");
        std::ofstream(path("film.larkmoor"))
            << R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "a.mp4"}, "in": 3,
                   "second": {"path": "b.mp4", "transition": {"effect": "Iris"}, "duration": 0.4},
                   "effects": [{"effect": "Levels", "keys": {"gamma": [["start", 1], ["end", 3]]}},
                               {"effect": "Add Noise"}, {"effect": "Timecode"},
                               {"effect": "Text", "over": true, "fields": {"text": "Larkmoor"}, "from": 9}]})";
    }
};

using ChunkTest = FilmTest;

struct Parts {
    const char* name;
    const char* arguments;
    std::vector<const char*> parts;
};
std::ostream& operator<<(std::ostream& out, const Parts& parts) {
    return out << parts.name;
}

class PartTest : public FilmTest, public testing::WithParamInterface<Parts> {};

TEST_P(PartTest, BareFramesAreThoseOfTheWhole) {
    const std::string command = std::string(GetParam().arguments) + " --raw bgra ";
    run(command + "-o whole.raw");
    std::string joined;
    for (const char* part : GetParam().parts) {
        run(command + "-y -o part.raw " + part);
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
              {"--frames-of 0:7", "--frames-of 7:19", "--frames-of 19:1000"}},
        Parts{"CutClip", "render a.mp4 --start 0.3 --frames 20 --effect Timecode", {"--chunk 0/2", "--chunk 1/2"}},
        Parts{"CutAtTheEnd", "render a.mp4 --start 0.3 --end 1.0 --effect Timecode", {"--chunk 0/2", "--chunk 1/2"}},
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
    run("render film.larkmoor -o whole/f%03d.png");
    for (const std::string part : {"2/3", "0/3", "1/3"}) run("render film.larkmoor -o parts/f%03d.png --chunk " + part);
    EXPECT_EQ(shell("diff -r whole parts").out, "");
    EXPECT_THAT(larkmoor("render film.larkmoor -o parts/f%03d.png --chunk 1/3").err, HasSubstr("is there already"));
    // Numbers go on from those of a sequence that is read.
    run("render whole/f%03d.png -o parts/g%03d.png --frames-of 9:11 --effect Invert");
    EXPECT_EQ(shell("cd parts && echo g*").out, "g010.png g011.png\n");
}

TEST_F(ChunkTest, StampsArePassedOnFromPartToPart) {
    // Frames of an uneven rate go to whole frames of the encoder, each later than the one before.
    ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=50:duration=2 -vf \"select='lt(n,30)+not(mod(n,9))'\" -vsync vfr "
           "-video_track_timescale 10000 -c:v libx264 -g 8 uneven.mp4");
    const std::string command = "render uneven.mp4 --codec mpeg4 --effect Invert ";
    run(command + "-o whole.mkv");
    run(command + "-o front.mkv --chunk 0/2");
    run(command + "-o back.mkv --chunk 1/2");
    const auto stamps = [&](const std::string& file) { return probe(file, "packet=pts"); };
    EXPECT_EQ(stamps("front.mkv") + stamps("back.mkv"), stamps("whole.mkv"));
}

TEST_F(ChunkTest, APartHoldsPicturesAlone) {
    run("render a.mp4 -o part.mp4 --frames-of 10:20 --effect Invert");
    EXPECT_EQ(probe("part.mp4", "stream=codec_name,nb_frames"), "h264,10\n");
    EXPECT_EQ(probe("part.mp4", "packet=pts_time", "-read_intervals %+#1"), "0.400000\n");
}

TEST_F(ChunkTest, ChunksBeginWithKeyFramesAndKeepAllElse) {
    run("render a.mp4 -o whole.mp4 --effect Invert");
    run("render a.mp4 -o chunks.mp4 --chunk-frames 7 --effect Invert");
    EXPECT_EQ(shell("ffprobe -v error -select_streams v -skip_frame nokey -show_entries frame=pts_time -of csv=p=0 "
                    "chunks.mp4 | tr -d '\\n '")
                  .out,
              "0.000000,0.280000,0.560000,0.840000,1.120000,");
    for (const std::string entries : {"stream=codec_name,nb_frames,duration", "format=duration"})
        EXPECT_EQ(probe("chunks.mp4", entries), probe("whole.mp4", entries));
    for (const std::string stream : {"a", "s"}) {
        const std::string all = "packet=pts,dts,duration,data_hash";
        EXPECT_EQ(probe("chunks.mp4", all, "-show_data_hash md5 -select_streams " + stream),
                  probe("whole.mp4", all, "-show_data_hash md5 -select_streams " + stream));
    }
}

TEST_F(ChunkTest, Refusals) {
    expectRefused("render a.mp4 --effect Invert -o ",
                  {{"out.mkv --frames-of 5:5", 2, "--frames-of takes A:B"},
                   {"out.mkv --frames-of 5", 2, "--frames-of takes A:B"},
                   {"out.mkv --frames-of -1:5", 2, "--frames-of takes A:B"},
                   {"out.mkv --chunk 3/3", 2, "--chunk takes I/N"},
                   {"out.mkv --chunk 0/2 --frames-of 0:2", 2, "--frames-of"},
                   {"out.mkv --chunk-frames 0", 2, "--chunk-frames"},
                   {"out.mkv --frames-of 30:60", 1, "has no frame 30"},
                   {"out.raw --chunk-frames 5", 2, "--chunk-frames is for files that are encoded"},
                   {"out.apng --chunk-frames 5", 2, "is one piece"}});
    run("render a.mp4 --effect Invert -o out.mkv --frames-of 29:60");
    EXPECT_THAT(shell("head -c 24576 /dev/zero | " LARKMOOR_COMMAND_FILE
                      " render - -o out.mkv --raw 64x32:bgra:25 --chunk 0/2 --effect Invert")
                    .err,
                HasSubstr("nothing tells how many frames"));
}

// --- jobs

class JobTest : public FilmTest {
  protected:
    void split(const std::string& options = "") const { run("split film.larkmoor -o job --chunk-frames 7 " + options); }
    nlohmann::json status(const std::string& options = "") const {
        return nlohmann::json::parse(larkmoor("status job --json " + options).out);
    }
    /// A claim as a worker's that is no more leaves it.
    void leaveClaim(int chunk) const {
        std::ofstream(path("job/claims/00000" + std::to_string(chunk)))
            << R"({"host": "elsewhere", "process": 1, "machine": "another"})";
    }
};

struct Form {
    const char* name;
    const char* film;
    const char* codec;
};

class FormTest : public JobTest, public testing::WithParamInterface<Form> {};

TEST_P(FormTest, TwoWorkersMakeTheFileOfOneRun) {
    const Form& form = GetParam();
    const std::string film(form.film);
    shell("mkdir one merged");
    split("--as " + film + form.codec);
    // The two race for all chunks; one that ends early leaves the rest to the other.
    const std::string work = LARKMOOR_COMMAND_FILE " work job --threads 2";
    EXPECT_EQ(shell(work + " & " + work + " --wait && wait $!").status, 0);
    run("render film.larkmoor -o one/" + film + form.codec + " --chunk-frames 7");
    run("merge job -o merged/" + film);
    EXPECT_EQ(shell("diff -r one merged").out, "");
    EXPECT_EQ(status()["done"], status()["chunks"]);
    EXPECT_EQ(shell("ls job/claims job/failed").out, "job/claims:\n\njob/failed:\n");
}

INSTANTIATE_TEST_SUITE_P(, FormTest,
                         testing::Values(Form{"ProRes", "film.mov", " --codec prores"},
                                         Form{"Ffv1", "film.mkv", " --codec ffv1"}, Form{"H264", "film.mp4", ""},
                                         Form{"Pictures", "f%03d.png", ""}),
                         [](const auto& info) { return info.param.name; });

struct Source {
    const char* name;
    const char* clip; ///< made of a test picture by FFmpeg; none for those that are there
    const char* work;
    int frames;
};
std::ostream& operator<<(std::ostream& out, const Source& source) {
    return out << source.name;
}

class SourceTest : public JobTest, public testing::WithParamInterface<Source> {};

TEST_P(SourceTest, AChunkDoesNotTellWhatItsWorkerMadeBefore) {
    const Source& source = GetParam();
    const std::string work = source.work;
    if (*source.clip) ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=50:duration=2 " + std::string(source.clip));
    run("split -o job --chunk-frames 7 " + work);
    // A folder may be seen at another place.
    shell("cp -r job moved");
    const Outcome all = run("work moved --progress json");
    EXPECT_THAT(all.err, HasSubstr("\"frames\":" + std::to_string(source.frames) + ","));
    const int chunks = status()["chunks"];
    for (int chunk = 0; chunk < chunks; ++chunk) {
        for (int other = 0; other < chunks; ++other)
            if (other != chunk) leaveClaim(other);
        run("work job");
        EXPECT_EQ(status()["done"], chunk + 1);
        shell("rm job/claims/*");
    }
    EXPECT_EQ(shell("diff -r job/chunks moved/chunks").out, "");
    run("merge moved -o merged.mp4");
    run("render -o one.mp4 --chunk-frames 7 --threads 4 " + work);
    EXPECT_EQ(shell("cmp one.mp4 merged.mp4").status, 0);
}

INSTANTIATE_TEST_SUITE_P(
    , SourceTest,
    testing::Values(
        Source{"LongGroups", "-c:v libx264 -g 100 -bf 3 -x264-params b-adapt=0 -frames:v 40 long.mp4",
               "long.mp4 --effect Levels --ramp gamma=1:3 --effect 'Add Noise' --effect Timecode", 40},
        Source{"UnevenTimes",
               "-vf \"select='lt(n,30)+not(mod(n,9))'\" -vsync vfr -video_track_timescale 10000 -c:v libx264 -g 20 "
               "uneven.mp4",
               "uneven.mp4 --codec mpeg4 --effect Timecode", 38},
        // Packets that bring no picture, and such as do not tell when theirs is shown.
        Source{"HiddenPictures", "-c:v libvpx -auto-alt-ref 1 -lag-in-frames 16 -frames:v 40 hidden.webm",
               "hidden.webm --effect Timecode", 40},
        Source{"NoTimes", "-c:v mpeg4 -bf 2 -frames:v 40 untimed.avi", "untimed.avi --effect Timecode", 40},
        Source{"Recording", "-c:v mpeg2video -bf 2 -frames:v 40 recording.ts", "recording.ts --effect Timecode", 40},
        Source{"LongerThanTold",
               "-c:v libx264 -frames:v 40 longer.mkv && perl -0777 -pi -e "
               "'s/\\x44\\x89\\x88\\K.{8}/pack(\"d>\", 440)/se' longer.mkv",
               "longer.mkv --effect Timecode", 40},
        Source{"ShorterThanTold",
               "-vf \"select='lt(n,12)+not(mod(n,9))',trim=end_frame=15\" -vsync vfr -c:v libx264 shorter.mkv",
               "shorter.mkv --effect Timecode", 15},
        // Sound that a decoder reads long before its pictures.
        Source{"Slow",
               "-f lavfi -i testsrc2=size=96x64:rate=1:duration=35 -f lavfi -i sine=440:duration=35 -map 1 -map 2 "
               "-c:v libx264 -bf 3 -c:a aac slow.mkv",
               "slow.mkv --effect Timecode", 35},
        Source{"CutOver", "",
               "a.mp4 --start 0.2 --end 1.1 --over b.mp4 --over-effect Text --set text=Hi --key tracking=0s:0,0.5s:1",
               23},
        Source{"Join", "", "film.larkmoor", 37},
        Source{"Pictures", "-frames:v 20 -start_number 5 p%02d.png", "p%02d.png --effect Invert", 20}),
    [](const auto& info) { return info.param.name; });

struct Places {
    std::vector<int> done, claimed, failed;
    std::vector<std::int64_t> begins; ///< one of these
};

TEST_F(JobTest, WorkersKeepOutOfEachOthersWay) {
    larkmoor::ChunkJob job{.folder = path("job"), .request = {}, .build = {}, .chunks = {}, .digest = {}};
    job.chunks.resize(8);
    for (const Places& places : {Places{{}, {}, {}, {0}}, Places{{}, {0}, {}, {3, 4, 5}}, Places{{0, 1}, {}, {}, {2}},
                                 Places{{0, 1}, {2, 5}, {}, {4, 7}}, Places{{0, 1, 2}, {3}, {}, {5, 6}},
                                 Places{{0, 1, 2, 3}, {4}, {5, 6}, {7}}, Places{{0, 1, 2, 3}, {4, 5}, {6, 7}, {7}}}) {
        shell("rm -rf job; mkdir -p job/chunks job/claims job/failed");
        for (const int chunk : places.done) write(job.chunkFile(chunk).lexically_relative(path("")), "");
        for (const int chunk : places.claimed) leaveClaim(chunk);
        for (const int chunk : places.failed) write(job.failureFile(chunk).lexically_relative(path("")), "");
        larkmoor::ChunkQueue queue(job, 1000);
        const auto first = queue.take();
        ASSERT_TRUE(first);
        EXPECT_THAT(places.begins, testing::Contains(first->chunk()));
        // Only what nobody has or has failed at follows.
        const std::int64_t next = first->chunk() + 1;
        const auto has = [&](const std::vector<int>& all) { return std::ranges::count(all, next) > 0; };
        if (next == 8) continue;
        EXPECT_EQ(queue.take(next) == nullptr, has(places.done) || has(places.claimed) || has(places.failed));
    }
}

TEST_F(JobTest, WhatAKilledWorkerLeavesIsTakenOver) {
    split();
    leaveClaim(3);
    // Ends by SIGKILL while it is in a chunk: what it has claimed shows so.
    shell(LARKMOOR_COMMAND_FILE " work job --threads 1 & worker=$!; "
                                "until ls job/claims | grep -qv 000003; do :; done; kill -KILL $worker; wait $worker");
    int ended = 0;
    const nlohmann::json claims = status("--stale 1000")["running"];
    for (const auto& claim : claims) {
        EXPECT_EQ(claim["stale"], claim["chunk"] != 3);
        ended += claim["stale"] == true;
    }
    EXPECT_GE(ended, 1);
    // Nobody takes what may be alive elsewhere; of what ended here everybody knows.
    run("work job --stale 1000");
    EXPECT_EQ(status()["done"], status()["chunks"].get<int>() - 1);
    EXPECT_THAT(larkmoor("merge job -o merged.mp4").err, HasSubstr("1 of 6 chunks are missing, the first is 3"));
    shell("touch -d '2 minutes ago' job/claims/000003");
    run("work job");
    run("merge job -o merged.mp4");
    run("render film.larkmoor -o one.mp4 --chunk-frames 7");
    EXPECT_EQ(shell("cmp one.mp4 merged.mp4").status, 0);
    EXPECT_EQ(shell("ls -A job/chunks | wc -l").out, "6\n");
}

TEST_F(JobTest, FailuresAreToldAndTriedAgain) {
    split("--as film.mkv --codec ffv1");
    // A disk that is full after some blocks.
    const Outcome full = shell("trap '' XFSZ; ulimit -f 8; " LARKMOOR_COMMAND_FILE " work job");
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.err, HasSubstr("this machine gives up"));
    const auto after = status();
    EXPECT_EQ(after["done"], 0);
    ASSERT_EQ(after["failed"].size(), 3u);
    EXPECT_THAT(after["failed"][0]["sentence"].get<std::string>(), HasSubstr("cannot write"));
    // Which three it tried depends on the number of its process.
    shell("echo '{\"host\": 3}' >job/failed/$(ls job/failed | head -n 1)");
    EXPECT_THAT(larkmoor("status job").out, HasSubstr("0 of 6 chunks are done, 0 running, 3 failed"));
    run("work job");
    EXPECT_EQ(status()["failed"].size(), 0u);
    run("merge job -o merged.mkv");
    run("render film.larkmoor -o one.mkv --codec ffv1 --chunk-frames 7");
    EXPECT_EQ(shell("cmp one.mkv merged.mkv").status, 0);
}

TEST_F(JobTest, ADamagedPictureFailsItsOwnChunk) {
    ffmpeg("-f lavfi -i testsrc2=size=96x64 -frames:v 20 p%02d.png");
    shell("truncate -s 400 p08.png");
    run("split p%02d.png -o job --chunk-frames 7 --strict --effect Invert");
    // It is met while the chunk before is not encoded yet.
    const Outcome work = larkmoor("work job");
    EXPECT_EQ(work.status, 1);
    EXPECT_THAT(work.err, HasSubstr("chunk 1: cannot decode"));
    EXPECT_EQ(shell("ls job/chunks job/failed").out, "job/chunks:\n000000\n000002\n\njob/failed:\n000001\n");
}

TEST_F(JobTest, DamageIsToldAsByOneRun) {
    ffmpeg("-f lavfi -i testsrc2=size=96x64:rate=25:duration=2 -c:v libx264 -g 10 whole.mkv");
    std::string bytes = content("whole.mkv");
    for (std::size_t i = bytes.size() / 2; i < bytes.size() / 2 + 300; ++i) bytes[i] ^= 0x55;
    write("torn.mkv", bytes);
    run("split torn.mkv -o job --chunk-frames 7 --effect Invert");
    larkmoor("work job");
    const Outcome merged = larkmoor("merge job -o merged.mp4");
    const Outcome one = larkmoor("render torn.mkv -o one.mp4 --chunk-frames 7 --effect Invert");
    EXPECT_THAT(one.err, HasSubstr("torn.mkv is damaged"));
    EXPECT_EQ(merged.err.substr(merged.err.find("torn.mkv")), one.err.substr(one.err.find("torn.mkv")));
    EXPECT_EQ(merged.status, one.status);
    EXPECT_EQ(shell("cmp one.mp4 merged.mp4").status, 0);
}

TEST_F(JobTest, MergeRefusesWhatDoesNotBelong) {
    split();
    shell("cp -r job other; sed -i 's/\"film\": \"film.mp4\"/\"film\": \"movie.mp4\"/' other/job.json");
    run("work job");
    run("work other");
    const auto merge = [&](const std::string& change) {
        shell("rm -rf spoilt; cp -r job spoilt; " + change);
        const Outcome outcome = larkmoor("merge spoilt -o merged.mp4");
        EXPECT_EQ(outcome.status, outcome.err.find("another kind") == std::string::npos ? 1 : 2) << outcome.err;
        EXPECT_FALSE(exists("merged.mp4"));
        return outcome.err;
    };
    EXPECT_THAT(merge("cp other/chunks/000002 spoilt/chunks/000002"), HasSubstr("belongs to another job"));
    EXPECT_THAT(merge("cp job/chunks/000001 spoilt/chunks/000002"), HasSubstr("belongs to another job"));
    EXPECT_THAT(merge("truncate -s -1 spoilt/chunks/000004"), HasSubstr("is damaged"));
    EXPECT_THAT(merge("printf x | dd of=spoilt/chunks/000004 bs=1 seek=300 conv=notrunc"), HasSubstr("is damaged"));
    EXPECT_THAT(merge("sed -i 's/\"module\": \"./\"module\": \"Z/' spoilt/job.json"), HasSubstr("another module"));
    EXPECT_THAT(merge("perl -0pi -e 's/\"sources\": \\[.*?\\],//s' spoilt/job.json"),
                HasSubstr("the key \"sources\" is missing"));
    EXPECT_THAT(merge("perl -pi -e 's/\"project\": \\{/\"project\": {\"x\": @{[\"[\" x 2e5 . \"]\" x 2e5]},/' "
                      "spoilt/job.json"),
                HasSubstr("goes deeper than 64 levels"));
    EXPECT_THAT(merge("sed -i 's/\"bytes\": /&1/' spoilt/job.json"), HasSubstr("is not the file that"));
    EXPECT_THAT(larkmoor("merge job -o merged.mkv").err, HasSubstr("another kind"));
    EXPECT_THAT(larkmoor("work spoilt").err, HasSubstr("is not the file that"));
    EXPECT_THAT(larkmoor("split film.larkmoor -o job --chunk-frames 7").err, HasSubstr("holds a job already"));
    EXPECT_THAT(larkmoor("split film.larkmoor -o raw --chunk-frames 7 --as x.raw").err, HasSubstr("bare frames"));
    EXPECT_FALSE(exists("raw"));
}

TEST_F(JobTest, EnginesGetScriptsThatShellsRead) {
    // Names that want quotes, of the command itself, too.
    shell("mkdir \"o'd d\"; ln -s " LARKMOOR_COMMAND_FILE " \"o'd d/lark moor\"");
    run("split a.mp4 -o \"o'd d/job\" --chunk-frames 20 --effect Invert");
    const auto submit = [&](const std::string& engine) {
        run("submit \"o'd d/job\" --film \"o'd d/film.mp4\" --command \"$PWD/o'd d/lark moor\" --workers 2 --to " +
            engine);
    };
    for (const char* engine : {"slurm", "gridengine", "parallel", "kubernetes", "opencue"}) submit(engine);
    for (const char* script : {"slurm.sh", "gridengine.sh", "parallel.sh"})
        EXPECT_EQ(shell("sh -n \"o'd d/job/" + std::string(script) + "\"").status, 0) << script;
    // An engine that runs what it is given at once: the words behind --wrap.
    shell("mkdir bin; printf '#!/bin/sh\\nshift $(($# - 1)); sh -c \"$1\" >&2; echo 7\\n' >bin/sbatch; chmod +x "
          "bin/sbatch");
    const Outcome ran = shell("PATH=$PWD/bin:$PATH sh \"o'd d/job/slurm.sh\" --partition=farm");
    EXPECT_EQ(ran.status, 0) << ran.err;
    run("render a.mp4 -o one.mp4 --chunk-frames 20 --effect Invert");
    EXPECT_EQ(shell("cmp one.mp4 \"o'd d/film.mp4\"").status, 0) << ran.err;
    EXPECT_THAT(larkmoor("submit \"o'd d/job\" --film x.mp4 --to parallel --now").err,
                HasSubstr("--now goes with slurm"));
}

} // namespace
