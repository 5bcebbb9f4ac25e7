// The command where its surroundings change: inputs that lose their end while they are read.
#include <gmock/gmock.h>

#include "apps/command.h"

namespace {

using SurroundingsTest = CommandTest;

/// The run waits for the reader of its frames while the file changes.
TEST_F(SurroundingsTest, AnInputThatLosesItsEndIsToldSo) {
    clip("in.nut", "-c:v rawvideo -pix_fmt yuv420p", "4");
    const Outcome outcome =
        shell("mkfifo out.raw; " LARKMOOR_COMMAND_FILE " render in.nut --effect Invert --threads 1 -y -o out.raw & "
              "{ head -c 100000; truncate -s 0 in.nut; cat; } <out.raw >frames; wait $!");
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.err, testing::HasSubstr("cut short at"));
}

} // namespace
