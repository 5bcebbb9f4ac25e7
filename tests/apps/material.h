// Real material through the command: one row of a table a file and a run.
//
// To add a row: give it a name; the shell lines that make its input with FFmpeg; the arguments of one run of the
// command; the exit status and a piece of what it says on standard error ("" for not a word, nullptr for anything); and
// shell lines that each have to succeed afterwards. The words that those lines are made of (`make`, `same`, `pictures`,
// `psnr` and more) stand in tests/apps/media/words.sh; "$none" is a chain that changes nothing.
#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "apps/command.h"

struct Row {
    const char* name;
    const char* make;
    const char* run;
    int status;
    const char* says;
    std::vector<const char*> holds;
};

inline std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
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

inline std::string nameOf(const testing::TestParamInfo<Row>& info) {
    return info.param.name;
}
