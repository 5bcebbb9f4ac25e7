// Real material through the command: a row a file and a run.
//
// Rows stand in tests/apps/media. To add one: its name; shell lines that make its input with FFmpeg; the arguments of
// one run of the command; its exit status if that is not 0; a piece of what it says on standard error ("*" for
// anything, not a word without); and shell lines that each have to succeed afterwards. The words that those lines are
// made of (`make`, `same`, `pictures`, `psnr` and more) stand in tests/apps/media/words.sh; "$none" is a chain that
// changes nothing.
#include <sstream>

#include "apps/command.h"

namespace {

struct Row {
    std::string name, given = "true", run, says;
    int status = 0;
    std::vector<std::string> holds;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

std::vector<Row> rowsOf(const std::string& file) {
    std::vector<Row> rows;
    std::ifstream in(LARKMOOR_TEST_FOLDER "/apps/media/" + file);
    std::string* last = nullptr;
    for (std::string line; std::getline(in, line);) {
        std::string word;
        std::istringstream(line) >> word;
        if (word.empty() || word[0] == '#') continue;
        if (line[0] != ' ') {
            rows.push_back({.name = line});
            continue;
        }
        Row& row = rows.back();
        const std::string rest = line.substr(std::min<std::size_t>(11, line.size()));
        if (line[4] == ' ')
            *last += " " + rest; // goes on
        else if (word == "status")
            row.status = std::stoi(rest);
        else if (word == "holds")
            last = &row.holds.emplace_back(rest);
        else
            *(last = word == "given" ? &row.given : word == "run" ? &row.run : &row.says) = rest;
    }
    return rows;
}

/// Runs shell lines with the words at hand.
class Words : public CommandTest {
  protected:
    Outcome words(const std::string& line) const {
        return shell(". " LARKMOOR_TEST_FOLDER
                     "/apps/media/words.sh; none='--effect Invert --effect Invert'; larkmoor() { " LARKMOOR_COMMAND_FILE
                     " \"$@\"; }; " +
                     line);
    }

    void make(const std::string& lines) const {
        const Outcome made = words("set -e; " + lines);
        ASSERT_EQ(made.status, 0) << made.err;
    }

    void holds(const std::string& line) const {
        const Outcome held = words(line);
        EXPECT_EQ(held.status, 0) << line << "\n" << held.out << held.err;
    }
};

class Material : public Words, public testing::WithParamInterface<Row> {};

TEST_P(Material, IsReadAndWritten) {
    const Row& row = GetParam();
    ASSERT_NO_FATAL_FAILURE(make(row.given));
    const Outcome run = words("larkmoor " + row.run);
    EXPECT_EQ(run.status, row.status) << run.err;
    if (row.says.empty()) {
        EXPECT_EQ(run.err, "");
    } else if (row.says != "*") {
        EXPECT_NE(run.err.find(row.says), std::string::npos) << run.err;
    }
    for (const std::string& line : row.holds) holds(line);
}

std::string nameOf(const testing::TestParamInfo<Row>& info) {
    return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Reading, Material, testing::ValuesIn(rowsOf("reading.rows")), nameOf);
INSTANTIATE_TEST_SUITE_P(Writing, Material, testing::ValuesIn(rowsOf("writing.rows")), nameOf);
INSTANTIATE_TEST_SUITE_P(Rendering, Material, testing::ValuesIn(rowsOf("rendering.rows")), nameOf);

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

class Quality : public Words, public testing::WithParamInterface<const char*> {};

/// What the encoder ENCODER.ENDING makes of a moving picture is better with each step up.
TEST_P(Quality, MoreIsBetter) {
    const std::string row = GetParam(), encoder = row.substr(0, row.find('.')), ending = row.substr(row.find('.'));
    const bool picture =
        ending.size() > 1 && (ending == ".jpg" || ending == ".jxl" || ending == ".webp" || ending == ".jp2");
    const std::string in = picture ? "in.png" : "in.mkv", out = "out" + ending;
    const Outcome outcome =
        words("set -e; size=256x144 make " + in + " -vf noise=alls=6:all_seed=1 " +
              (picture ? "-pix_fmt rgb24 -frames:v 1" : "-pix_fmt yuv420p -c:v ffv1 -frames:v 4") +
              "; seen=; for q in 0 40 75 100; do larkmoor render " + in + " -y -o " + out + " --codec " + encoder +
              " --quality $q $none; ff -i " + out +
              " -vf scale=in_range=auto:out_range=tv,format=yuv420p -c:v ffv1 a.mkv; "
              "ff -i " +
              in +
              " -pix_fmt yuv420p -c:v ffv1 b.mkv; p=$(psnr b.mkv a.mkv); [ $p != inf ] || p=999; seen=\"$seen $p\"; "
              "done; echo \"$seen\" >&2; ascends $seen");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
}

INSTANTIATE_TEST_SUITE_P(Encoders, Quality,
                         testing::Values("libx264.mkv", "libx265.mkv", "mpeg4.avi", "mpeg2video.mpg", "mpeg1video.mkv",
                                         "mjpeg.jpg", "libvpx.webm", "libvpx-vp9.webm", "libsvtav1.mkv", "librav1e.mkv",
                                         "libtheora.ogv", "snow.nut", "libjxl.jxl", "libwebp.webp", "libopenjpeg.jp2",
                                         "dnxhd.mov"),
                         [](const auto& info) {
                             std::string name = info.param;
                             std::ranges::replace_if(
                                 name, [](char c) { return !std::isalnum(c); }, '_');
                             return name;
                         });

} // namespace
