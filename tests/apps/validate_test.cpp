#include <gmock/gmock.h>

#include "apps/command.h"

namespace {

using testing::HasSubstr;

class ValidateTest : public CommandTest {
  protected:
    Outcome validate(const std::string& module, const std::string& options) const {
        return larkmoor("validate --seed 1 --module " + module + " " + options);
    }
};

TEST_F(ValidateTest, TheModulePasses) {
    const Outcome outcome = validate(LARKMOOR_MODULE_FILE, "--level 2");
    EXPECT_EQ(outcome.status, 0) << outcome.out;
    EXPECT_THAT(outcome.out, HasSubstr("266 checks, 0 failed"));
    EXPECT_EQ(validate(LARKMOOR_MODULE_FILE, "--level 3 --effect Text").status, 0);
}

TEST_F(ValidateTest, FindsEachFault) {
    const struct {
        const char *fault, *check, *says;
    } rows[] = {
        {"", "", ""},
        {"repeats a row", "map", "have one class id"},
        {"fills a word more", "exports", "does not fill its words"},
        {"takes no frame for an empty one", "exports", "missing frame"},
        {"keeps objects alive", "contract", "alive after its last Release"},
        {"refuses each frame", "frames", "gave 0x80004005"},
        {"lock held", "frames", "is held"},
        {"crashes", "frames", "ended"},
        {"ends the process", "frames", "ended itself"},
        {"takes any preset", "nulls", "should have been refused"},
        {"is inside under any id", "aggregation", "another id than IUnknown's gives 0x00000000"},
        {"stays outside", "aggregation", "does not count on the outer one"},
        {"holds its outer object", "aggregation", "holds a reference to its outer one"},
        {"loses the record's end", "records", "leaves another record"},
        {"saves too much", "persistence", "Save"},
        {"tells a page that is none", "pages", "not in the object map"},
        {"shows any object", "pages", "takes an object of another class"},
        {"another picture each time", "layouts", "another picture"},
        {"writes before the picture", "guards", "FAILED"},
        {"writes into the input", "guards", "ended"},
        {"another picture each time", "determinism", "processors"},
        {"hides a refusal", "refusals", "0x00000000 in place of 0x80004005 though lock 1"},
        {"hands a refusal on", "refusals", "0x887A0001 in place of 0x80004005 though lock 1"},
        {"draws all the same", "refusals", "a frame was drawn though lock 2 was refused"},
        {"fails in the end", "refusals", "0x00000001 in place of"},
        {"crashes without surfaces", "order", "ended by signal"},
        {"does not draw again", "order", "makes another picture"},
        {"takes its time", "timing", "took 2."},
        {"another picture each time", "threads", "other threads"},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // whose allocators do not tell what they hold
        {"leaks", "leaks", "leave"},
#endif
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.fault);
        const std::string check = row.check;
        const std::string options = check.empty() ? "--level 2" : "--level 2 --check " + check;
        ::setenv("LARKMOOR_FAULT", row.fault, 1);
        const Outcome outcome = validate(LARKMOOR_FAULTY_MODULE_FILE,
                                         options + (check == "map" || check == "exports" ? "" : " --effect Invert"));
        ::unsetenv("LARKMOOR_FAULT");
        EXPECT_EQ(outcome.status, check.empty() ? 0 : 1) << outcome.out;
        if (check.empty()) continue;
        EXPECT_THAT(outcome.out, HasSubstr(row.says));
        EXPECT_THAT(outcome.out, HasSubstr(" --check " + check + " --level 2 --seed 1\n"));
    }
}

TEST_F(ValidateTest, TellsProgramsAndNamesWhatIsWrong) {
    const Outcome outcome = validate(LARKMOOR_MODULE_FILE, "--effect 'Kestrelwing Invert' --check nulls --json");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("\"passed\": true"));
    EXPECT_THAT(outcome.out, HasSubstr("\"subject\": \"Invert\""));
    expectRefused("validate ", {{"--effect Inwert", 2, "did you mean \"Invert\""},
                                {"--check gards", 2, "did you mean \"guards\""},
                                {"--level 6", 2, "--level"},
                                {"--module none.so", 1, "cannot be loaded"},
                                {"--module .out", 1, "cannot be loaded"}});
}

} // namespace
