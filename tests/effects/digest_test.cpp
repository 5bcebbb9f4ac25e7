// Every effect, preset and field against the digests of their pictures in tests/data/digests.txt, at every level of
// instructions. After a change of an effect that is meant, LARKMOOR_UPDATE=1 makes the plain level write the table
// anew; `git diff` then tells which rows changed.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>

#include "base/level.h"
#include "digest.h"
#include "effects/digests.h"

namespace {

using namespace larkmoor;

constexpr const char* kTable = LARKMOOR_TEST_FOLDER "/data/digests.txt";
/// A copy of the module that has not chosen its level yet, and is kept for as long as the process.
Module moduleAt(eKwLevel level) {
    setenv("LARKMOOR_LEVEL", KwLevelName(level), 1);
    const std::string file = fmt::format("{}liblarkmoor-{}-{}.so", testing::TempDir(), KwLevelName(level), getpid());
    std::filesystem::copy_file(LARKMOOR_MODULE_FILE, file);
    Module module = Module::load(file);
    std::filesystem::remove(file);
    return module;
}

class Digests : public testing::TestWithParam<int> {};

TEST_P(Digests, AreTheSameEverywhere) {
    const auto level = static_cast<eKwLevel>(GetParam());
    if (level > KwLevels().back()) GTEST_SKIP() << "not on this machine";
    const char* const before = std::getenv("LARKMOOR_LEVEL");
    const auto lines = digestsOf(moduleAt(level));
    before ? setenv("LARKMOOR_LEVEL", before, 1) : unsetenv("LARKMOOR_LEVEL");

    if (level == eKwLevel::Plain && std::getenv("LARKMOOR_UPDATE")) {
        std::ofstream table(kTable);
        for (const std::string& line : lines) table << line << "\n";
    }
    std::ifstream table(kTable);
    ASSERT_TRUE(table) << kTable;
    std::size_t row = 0;
    for (std::string line; std::getline(table, line) && row < lines.size(); ++row) EXPECT_EQ(line, lines[row]);
    EXPECT_TRUE(row == lines.size() && table.peek() == EOF) << "the table has other rows";
}

#if defined(__SANITIZE_ADDRESS__)
constexpr int kFirstLevel = kKwLevels - 1; // the kernels' rig watches the memory of all of them
#else
constexpr int kFirstLevel = 0;
#endif
INSTANTIATE_TEST_SUITE_P(Levels, Digests, testing::Range(kFirstLevel, kKwLevels),
                         [](const auto& tested) { return KwLevelName(static_cast<eKwLevel>(tested.param)); });

} // namespace
