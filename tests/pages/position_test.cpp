#include "pages/controls/trackbar.h"

#include <limits>

#include "pages/control_rig.h"

namespace {

constexpr LONG kMin = std::numeric_limits<LONG>::min();
constexpr LONG kMax = std::numeric_limits<LONG>::max();

/// A bar of 211 by 20 pixels from 0 to 100: two pixels a position, the thumb 11 wide.
struct tBar : CControlRig<CTrackbar> {
    explicit tBar(ULONG style = 0) : CControlRig(style) { Play("size 211,20; focus; msg 1552,1,50"); }
};

TEST(Trackbar, StepPosition) {
    struct {
        LONG code, pos, min, max, small, large;
        bool ctrl, reversed;
        LONG expected;
    } const kCases[] = {
        {0, 50, 0, 100, 2, 20, false, false, 48},
        {1, 50, 0, 100, 2, 20, false, false, 52},
        {2, 50, 0, 100, 2, 20, false, false, 30},
        {3, 50, 0, 100, 2, 20, false, false, 70},
        {6, 50, 0, 100, 2, 20, false, false, 0},
        {7, 50, 0, 100, 2, 20, false, false, 100},
        {0, 50, 0, 100, 2, 20, false, true, 52},
        {1, 50, 0, 100, 2, 20, false, true, 48},
        {2, 50, 0, 100, 2, 20, false, true, 70},
        {3, 50, 0, 100, 2, 20, false, true, 30},
        {6, 50, 0, 100, 2, 20, false, true, 100},
        {7, 50, 0, 100, 2, 20, false, true, 0},
        {3, 50, 0, 1000, 2, 20, true, false, 250}, // Ctrl: ten large steps
        {1, 50, 0, 1000, 2, 20, true, false, 52},  // and small ones as they are
        {3, 10, 0, 94, 1, 0, false, false, 19},    // a tenth, rounded
        {3, 10, 0, 95, 1, 0, false, false, 20},
        {3, 10, 0, 4000, 1, 0, true, false, 4000},
        {3, 1, 0, 4, 1, 0, false, false, 2}, // at least 1
        {3, 1, 0, 4, 1, 0, true, false, 4},
        {4, 33, 0, 100, 2, 20, false, false, 33},
        {5, 33, 0, 100, 2, 20, true, true, 33},
        {8, 33, 0, 100, 2, 20, false, false, 33},
        {-1, 33, 0, 100, 2, 20, false, false, 33},
        {kMax, 133, 0, 100, 2, 20, false, false, 100},
        {1, 99, 0, 100, kMax, 20, false, false, 100},
        {0, kMin, kMin, kMax, kMax, 1, false, false, kMin},
        {1, kMax, kMin, kMax, kMax, 1, false, false, kMax},
        {0, 0, kMin, kMax, kMin, 1, false, false, kMax},
        {3, 0, kMin, kMax, 1, kMax, true, false, kMax},
        {2, 0, kMin, kMax, 1, kMin, true, true, kMin},
        {3, 0, kMin, kMax, 1, 0, false, false, 429496730},
        {6, 7, 9, 5, 1, 0, false, false, 5}, // ends in the wrong order
        {7, 7, 9, 5, 1, 0, false, false, 9},
        {3, 7, 9, 5, 1, 0, false, false, 8},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(StepPosition(c.code, c.pos, c.min, c.max, c.small, c.large, c.ctrl, c.reversed), c.expected)
            << "code " << c.code << " from " << c.pos << " in " << c.min << ".." << c.max;
}

TEST(Trackbar, Scripts) {
    ExpectScripts("trackbar", [](ULONG style) { return std::make_unique<tBar>(style); });
}

TEST(Trackbar, StylesAndWords) {
    tBar t;
    constexpr auto wide = std::numeric_limits<std::intptr_t>::min();
    t.Message(KWTRACK_SET_WORD, 0, wide);
    t.Message(KWTRACK_SET_WORD_2, 0, 12);
    EXPECT_EQ(t.Message(KWTRACK_GET_WORD), wide);
    EXPECT_EQ(t.Message(KWTRACK_GET_WORD_2), 12);
    for (const auto& [message, bit] : {std::pair{1567u, 1u << 9}, {1568u, 1u << 10}}) {
        EXPECT_EQ(t.Message(message, 0, 3), 1);
        EXPECT_EQ(t.control.Style(), bit);
        EXPECT_EQ(t.Message(message, 1, 2), 0);
        EXPECT_EQ(t.control.Style(), 0u);
    }
    for (const auto& [max, bit] : {std::pair{19, KWTBS_DISCRETE}, {20, tTrackbarStyle{}}, {0, KWTBS_DISCRETE}}) {
        t.Message(KWPOS_SET_MAX, 0, max);
        EXPECT_EQ(t.control.Style(), ULONG{bit}) << max;
    }
    tTrackbarDetail half{};
    half.markX = -5;
    EXPECT_EQ(t.control.Detail(&half, sizeof half.channel), S_OK);
    EXPECT_EQ(half.markX, -5);
}

// From 4 to 800 at 72, drawn 16 by 20 pixels.
TEST(Spinner, Scripts) {
    ExpectScripts("spinner", [](ULONG) {
        auto spinner = std::make_unique<CControlRig<CSpinner>>(LONG{1306});
        spinner->Play("msg 1550,0,4; msg 1551,0,800; msg 1552,1,72; size 16,20");
        return spinner;
    });
}

TEST(Spinner, ShowsItsParts) {
    CControlRig<CSpinner> t(LONG{1306});
    t.Play("size 16,20");
    tPageControl shown{};
    t.control.Describe(shown);
    EXPECT_EQ(shown.buddy, 1306);
    EXPECT_EQ(t.Detail<tTrackbarDetail>().up, (RECT{0, 0, 16, 10}));
    EXPECT_EQ(t.Detail<tTrackbarDetail>().down, (RECT{0, 10, 16, 20}));
    t.Play("msg 1552,1,5");
    t.control.BuddyFocus(true);
    t.control.BuddyFocus(false);
    EXPECT_EQ(t.Take(), "9:5 8:5 settled");
}

} // namespace
