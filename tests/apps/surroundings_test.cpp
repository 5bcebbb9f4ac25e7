// The command where its surroundings fail it: too little memory, inputs that change while they are read.
#include <gmock/gmock.h>

#include "apps/command.h"

namespace {

using SurroundingsTest = CommandTest;

#ifdef LARKMOOR_SHORT_MEMORY_FILE
/// Each allocation of a run cannot be tried: some from its start, the rest spread over it. No letters are drawn, since
/// fontconfig itself does not outlive a refusal.
TEST_F(SurroundingsTest, ARefusedAllocationIsToldAndLeavesNothing) {
    constexpr long first = 8, spread = 24;
    clip("in.mkv", "-f lavfi -i sine=440:duration=0.1 -frames:v 3 -c:v ffv1 -c:a pcm_s16le", "0.2");
    const std::string loaded = "LD_PRELOAD=" LARKMOOR_SHORT_MEMORY_FILE " ";
    const std::string run =
        LARKMOOR_COMMAND_FILE " render in.mkv --threads 2 --effect Median --effect Wave --codec ffv1 -o out.mkv";
    const auto names = [&] { return shell("ls -A | grep -v '^[.]out$\\|^[.]err$'").out; };
    ASSERT_EQ(shell(loaded + "LARKMOOR_COUNT_IN=count " + run).status, 0);
    shell("mv out.mkv whole.mkv");
    const long count = std::stol(content("count"));
    ASSERT_GT(count, 1000);
    const std::string before = names();
    int refused = 0;
    for (long i = 0; i < first + spread; ++i) {
        const long nth = i < first ? i + 1 : count * (i - first) / spread + i;
        const Outcome outcome = shell(loaded + "LARKMOOR_FAIL_AT=" + std::to_string(nth) + " " + run);
        SCOPED_TRACE(std::to_string(nth) + ": " + outcome.err);
        if (outcome.status == 0) { // what the memory was for could be done without
            EXPECT_EQ(shell("cmp out.mkv whole.mkv && rm out.mkv").status, 0);
            continue;
        }
        if (outcome.status == 3) { // a decoder that lacked the memory for a frame has lost it
            EXPECT_THAT(outcome.err, testing::HasSubstr("is broken or missing"));
            EXPECT_EQ(shell("rm out.mkv").status, 0);
            continue;
        }
        ++refused;
        EXPECT_EQ(outcome.status, 1);
        EXPECT_THAT(outcome.err, testing::StartsWith("larkmoor: "));
        EXPECT_EQ(names(), before);
    }
    EXPECT_GT(refused, spread / 2);
}
#endif

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
