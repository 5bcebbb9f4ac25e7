// The Text page, whose record is more than numbers.
#include "generators/text.h"
#include "pages/open_page.h"

namespace {

enum : LONG { kFamily = 1304, kSize = 1306, kSpinner = 1307, kFore = 1308, kBack = 1309, kColor = 1177, kText = 1426 };

struct tTextPage : tOpenPage {
    tTextPage() : tOpenPage("DXSText") {}
    tLOGFONT Font() const {
        tLOGFONT font;
        std::memcpy(&font, effect.record().data(), sizeof font);
        return font;
    }
    void SetFont(const tLOGFONT& font) {
        effect.setRecord(std::as_bytes(std::span(&font, 1)));
        Command(kPageRefresh);
    }
    void Write(const char* text) { EXPECT_EQ(Send(kText, KWEVENT_TEXT, 0, 0, 0, 0, 0, text), S_OK); }
};

TEST(TextPage, TypedTextIsTakenAsItComes) {
    struct tCase {
        const char *typed, *record, *shown;
    };
    constexpr tCase kCases[] = {
        {"Hello", "Hello", "Hello"},
        {"one\ntwo\n\nthree", "one\\ntwo\\n\\nthree", "one\ntwo\n\nthree"},
        {"one\r\ntwo", "one\\ntwo", "one\ntwo"},
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80",
         "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"", "", ""},
        {"x", "x", "x"},
    };
    tTextPage page;
    EXPECT_EQ(page.Text(kText), "Text");
    for (const tCase& test : kCases) {
        page.Write(test.typed);
        EXPECT_EQ(page.effect.get("text"), test.record);
        EXPECT_EQ(page.Text(kText), test.shown);
        EXPECT_EQ(page.Text(kSize), "100"); // nothing else is lost, not even with an empty text
        page.Command(kPageRefresh);
        EXPECT_EQ(page.Text(kText), test.shown);
    }
    const int applied = page.sink->Count(KWNOTICE_APPLIED);
    page.Write("x");
    page.Send(kText, KWEVENT_BLUR);
    EXPECT_EQ(page.sink->Count(KWNOTICE_APPLIED), applied);
}

TEST(TextPage, FamiliesAreSortedAndKnown) {
    tTextPage page;
    const LONG count = page.Control(kFamily).itemCount;
    ASSERT_GE(count, 1);
    for (LONG i = 0; i < count; ++i) {
        page.Choose(kFamily, i);
        EXPECT_EQ(page.Font().lfFaceName, page.Item(kFamily, i));
        EXPECT_EQ(page.Font().lfHeight, 100);
    }
    tLOGFONT font = page.Font();
    std::strcpy(font.lfFaceName, "No Such Face");
    page.SetFont(font);
    EXPECT_EQ(page.Chosen(kFamily), "Arial");
    EXPECT_STREQ(page.Font().lfFaceName, "No Such Face");      // until one is chosen
    std::memset(font.lfFaceName, 'x', sizeof font.lfFaceName); // without an end
    page.SetFont(font);
    EXPECT_EQ(page.Chosen(kFamily), "Arial");
}

TEST(TextPage, SizeIsAWholeNumber) {
    struct tCase {
        const char* typed;
        LONG size;
    };
    constexpr tCase kCases[] = {{"200", 200}, {"99.9", 99}, {"99", 99}, {"", 99},   {"3", 4},
                                {"-50", 4},   {"801", 800}, {"x", 4},   {"1e9", 4}, {"99999999999999", 800},
                                {"12 pt", 12}};
    tTextPage page;
    for (const tCase& test : kCases) {
        page.Type(kSize, test.typed);
        EXPECT_EQ(page.Font().lfHeight, test.size) << test.typed;
        EXPECT_EQ(page.Text(kSize), std::to_string(test.size));
        EXPECT_EQ(page.Value(kSpinner), test.size);
    }
}

TEST(TextPage, SpinnerCountsTheSize) {
    tTextPage page;
    const auto expect = [&](LONG size) {
        EXPECT_EQ(page.Font().lfHeight, size);
        EXPECT_EQ(page.Text(kSize), std::to_string(size));
        EXPECT_EQ(page.Value(kSpinner), size);
    };
    page.Send(kSpinner, KWEVENT_SIZE, 12, 20);
    page.Send(kSpinner, KWEVENT_PRESS, 3, 3);
    page.Send(kSpinner, KWEVENT_RELEASE, 3, 3);
    expect(101);
    page.Send(kSpinner, KWEVENT_PRESS, 3, 15);
    page.Send(kSpinner, KWEVENT_RELEASE, 3, 15);
    expect(100);
    page.Key(kSize, KWKEY_UP); // keys of the edit are the spinner's
    expect(101);
    page.Key(kSize, KWKEY_HOME);
    expect(101);
    page.Key(kSize, KWKEY_HOME, KWMOD_CTRL);
    expect(4);
    page.Key(kSize, KWKEY_DOWN);
    expect(4);
    page.Key(kSize, KWKEY_END, KWMOD_CTRL);
    expect(800);
    tLOGFONT font = page.Font();
    font.lfHeight = -2000;
    page.SetFont(font);
    EXPECT_EQ(page.Text(kSize), "-2000");
    page.Key(kSize, KWKEY_UP);
    expect(5);
}

TEST(TextPage, ColoursTakeTurns) {
    tTextPage page;
    page.Send(kColor, KWEVENT_SIZE, 330, 130);
    EXPECT_EQ(page.Value(kFore), 1);
    page.Type(kColor, "25", KWPART_EDIT1);
    EXPECT_NEAR(page.Number("fore", 2), 0.25, 1e-7);
    EXPECT_EQ(page.Number("back", 2), 0);
    page.Click(kBack);
    EXPECT_EQ(page.Value(kFore), 0);
    EXPECT_EQ(page.Value(kBack), 1);
    tColorPickDetail detail{};
    page.model->GetDetail(kColor, &detail, sizeof detail);
    EXPECT_EQ(detail.color[2], 0);
    EXPECT_EQ(detail.color[3], 0);
    page.Type(kColor, "75", KWPART_EDIT1);
    EXPECT_NEAR(page.Number("back", 2), 0.75, 1e-7);
    EXPECT_NEAR(page.Number("fore", 2), 0.25, 1e-7);
    page.Click(kBack);
    EXPECT_EQ(page.Value(kBack), 1);
    page.Click(kFore);
    page.model->GetDetail(kColor, &detail, sizeof detail);
    EXPECT_NEAR(detail.color[2], 0.25, 1e-7);
}

} // namespace
