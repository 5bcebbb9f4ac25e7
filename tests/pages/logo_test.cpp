#include "pages/controls/logo.h"

#include <random>
#include <sstream>

#include "pages/control_rig.h"

namespace {

struct Logo : testing::Test, CControlRig<CLogo> {
    std::intptr_t AddLink(LONG id, const char* text) {
        return Message(kLogoAddLink, static_cast<std::uintptr_t>(id), const_cast<char*>(text));
    }
    tLogoDetail Detail() const { return CControlRig::Detail<tLogoDetail>(); }
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
        control.SetCaption(row.given);
        EXPECT_EQ(Detail().caption, row.kept);
        tPageControl page{};
        control.Describe(page);
        EXPECT_EQ(page.text, row.kept);
        EXPECT_EQ(CLogo(*this, 1, row.given).Message(0, 0, 0), 0);
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

    EXPECT_EQ(Play("press 264,0; press 293,19; press 294,10; press 263,10; press 258,10; press 257,5; press 252,5; "
                   "press 251,5; press 270,-1; press 270,20; press 4,10; press -2147483648,5; press 5,2147483647; "
                   "move 270,10"),
              "id41001; id41001; no; no; no; id41000; id41000; no; no; no; no; no; no; no");
}

TEST_F(Logo, ResetTakesTheLinksAway) {
    Send(KWEVENT_SIZE, 300, 20);
    control.SetCaption("Iris");
    for (LONG id = 0; id < 6; ++id) EXPECT_EQ(AddLink(id, "x"), id < 4);
    EXPECT_EQ(Detail().linkCount, 4);
    EXPECT_EQ(Play("msg 1536,0,0"), "* =0");
    EXPECT_EQ(Detail().linkCount, 0);
    EXPECT_STREQ(Detail().caption, "Iris");
    AddLink(7, "x"); // the owner sets the band up again while it is told
    EXPECT_EQ(Play("when id7 do msg 1536,0,0; press 290,5; press 290,5"), "; id7 * =0; no");
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
    for (UINT message = 1530; message < 1545; ++message) control.Message(message, 0, 0);
}

} // namespace
