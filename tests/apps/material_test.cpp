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

} // namespace
