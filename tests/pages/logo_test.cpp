#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pages/controls/logo.h"

namespace {

struct Owner : IControlOwner {
    std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam, std::intptr_t) override {
        EXPECT_EQ(message, WM_COMMAND);
        commands.push_back(static_cast<LONG>(wParam));
        if (resets) from.Message(kLogoReset, 0, 0);
        return 0;
    }
    void OnControlNotice(const tPageNotice& notice) override {
        EXPECT_EQ(notice.code, KWNOTICE_CHANGED);
        ++changes;
    }
    std::vector<LONG> commands;
    int changes = 0;
    bool resets = false;
};

class Logo : public testing::Test {
  protected:
    HRESULT Send(LONG kind, LONG x, LONG y) { return control.Event({kind, x, y, 0, 0, 0, nullptr}); }
    std::intptr_t AddLink(LONG id, const char* text) {
        return control.Message(1537, static_cast<std::uintptr_t>(id), reinterpret_cast<std::intptr_t>(text));
    }
    tLogoDetail Detail() {
        tLogoDetail detail{};
        EXPECT_EQ(control.Detail(&detail, sizeof detail), S_OK);
        return detail;
    }

    Owner owner;
    CLogo control{owner, kPageLogo};
};

TEST_F(Logo, CaptionLosesTheMakersWord) {
    const std::string x130(130, 'x'), accents = [] {
        std::string text;
        for (int i = 0; i < 140; ++i) text += "\u00e9";
        return text;
    }();
    const struct {
        std::string given, kept;
    } rows[] = {{"Kestrelwing Iris", "Iris"},
                {"Iris", "Iris"},
                {"", ""},
                {"Kestrelwing ", ""},
                {"Kestrelwing", "Kestrelwing"},
                {"kestrelwing Iris", "kestrelwing Iris"},
                {" Kestrelwing Iris", " Kestrelwing Iris"},
                {"Kestrelwing Kestrelwing Iris", "Kestrelwing Iris"},
                {x130, x130},
                {x130 + "y", x130},
                {"Kestrelwing " + x130, x130.substr(12)},
                {accents, accents.substr(0, 260)}, // never cut within a character
                {std::string(1000, '\x80'), std::string(520, '\x80')}};
    for (const auto& row : rows) {
        owner.changes = 0;
        control.SetCaption(row.given);
        EXPECT_EQ(Detail().caption, row.kept);
        EXPECT_EQ(owner.changes, 1);
        tPageControl page{};
        control.Describe(page);
        EXPECT_EQ(page.text, row.kept);
        EXPECT_EQ(CLogo(owner, 1, row.given).Message(0, 0, 0), 0);
    }
    EXPECT_EQ(Detail().background, 0x969696u);
}

TEST_F(Logo, LinksStandFromTheRight) {
    Send(KWEVENT_SIZE, 300, 20);
    EXPECT_EQ(AddLink(kPageAbout, "About"), 1);
    EXPECT_EQ(AddLink(kPageHelp, "?"), 1);
    const tLogoDetail detail = Detail();
    ASSERT_EQ(detail.linkCount, 2);
    EXPECT_EQ(detail.links[0].id, kPageAbout);
    EXPECT_STREQ(detail.links[0].text, "About");
    EXPECT_EQ(detail.links[0].place, (RECT{264, 0, 294, 20}));
    EXPECT_EQ(detail.links[1].id, kPageHelp);
    EXPECT_STREQ(detail.links[1].text, "?");
    EXPECT_EQ(detail.links[1].place, (RECT{252, 0, 258, 20}));

    const struct {
        LONG x, y, command;
    } rows[] = {{264, 0, kPageAbout}, {293, 19, kPageAbout}, {294, 10, 0},     {263, 10, 0}, {258, 10, 0},
                {257, 5, kPageHelp},  {252, 5, kPageHelp},   {251, 5, 0},      {270, -1, 0}, {270, 20, 0},
                {4, 10, 0},           {INT32_MIN, 5, 0},     {5, INT32_MAX, 0}};
    for (const auto& row : rows) {
        owner.commands.clear();
        EXPECT_EQ(Send(KWEVENT_PRESS, row.x, row.y), row.command ? S_OK : S_FALSE);
        EXPECT_EQ(owner.commands, row.command ? std::vector<LONG>{row.command} : std::vector<LONG>{}) << row.x;
    }
    EXPECT_EQ(Send(KWEVENT_MOVE, 270, 10), S_FALSE);
}

TEST_F(Logo, ResetTakesTheLinksAway) {
    Send(KWEVENT_SIZE, 300, 20);
    control.SetCaption("Iris");
    for (LONG id = 0; id < 6; ++id) EXPECT_EQ(AddLink(id, "x"), id < 4);
    EXPECT_EQ(Detail().linkCount, 4);
    EXPECT_EQ(control.Message(1536, 0, 0), 0);
    EXPECT_EQ(Detail().linkCount, 0);
    EXPECT_STREQ(Detail().caption, "Iris");
    AddLink(-7, "x");
    owner.resets = true; // the owner sets the band up again while it is told
    EXPECT_EQ(Send(KWEVENT_PRESS, 290, 5), S_OK);
    EXPECT_EQ(owner.commands, std::vector<LONG>{-7});
    EXPECT_EQ(Send(KWEVENT_PRESS, 290, 5), S_FALSE);
}

TEST_F(Logo, TakesAnySizeAndText) {
    EXPECT_EQ(AddLink(1, nullptr), 0);
    const std::string endless(5000, 'x');
    AddLink(1, endless.c_str());
    AddLink(2, "About");
    EXPECT_EQ(std::string(Detail().links[0].text).size(), 130u);
    std::mt19937 random(7);
    for (LONG width : {-5, 0, 1, 40, 900, INT32_MAX, INT32_MIN})
        for (LONG height : {-5, 0, 1, 19, 900, INT32_MAX, INT32_MIN}) {
            Send(KWEVENT_SIZE, width, height);
            const tLogoDetail detail = Detail();
            for (LONG i = 0; i < detail.linkCount; ++i) {
                EXPECT_LE(0, detail.links[i].place.left);
                EXPECT_LE(detail.links[i].place.left, detail.links[i].place.right);
                EXPECT_LE(detail.links[i].place.right, std::max(width, 0));
            }
            for (int i = 0; i < 50; ++i)
                Send(static_cast<LONG>(random() % 20), static_cast<LONG>(random()), static_cast<LONG>(random()));
        }
    EXPECT_EQ(control.Detail(nullptr, 8), E_POINTER);
    for (UINT message = 1530; message < 1545; ++message) control.Message(message, 0, 0);
}

} // namespace
