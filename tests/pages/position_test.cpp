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

TEST(Trackbar, DefaultOfARange) {
    struct {
        LONG min, max, expected;
    } const kCases[] = {{0, 1000, 500},     {-100, 100, 0},     {-100, 0, -100},        {-100, -1, -50}, {-7, -2, -4},
                        {0, 0, 0},          {3, 4, 3},          {kMin, kMax, 0},        {-1, 0, -1},     {5, -3, 1},
                        {kMin, kMin, kMin}, {kMax, kMax, kMax}, {kMin, -1, -1073741824}};
    for (const auto& c : kCases) {
        tBar t;
        EXPECT_EQ(t.Message(KWPOS_SET_MIN, 0, c.min), 0);
        EXPECT_EQ(t.Message(KWPOS_SET_MAX, 0, c.max), 0);
        EXPECT_EQ(t.control.Range().defaultPos, c.expected) << c.min << " " << c.max;
        EXPECT_EQ(t.control.Range().pos, 50) << "a new range leaves the position";
    }
}

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

TEST(Trackbar, ThumbIsExactAtBothEnds) {
    struct {
        LONG width, height, min, max, pos, centre, thumb;
    } const kCases[] = {
        {211, 20, 0, 100, 0, 5, 11},
        {211, 20, 0, 100, 100, 205, 11},
        {211, 20, 0, 100, 50, 105, 11},
        {211, 20, 0, 3, 1, 72, 11},
        {211, 20, 0, 3, 2, 138, 11},
        {211, 20, kMin, kMax, kMin, 5, 11},
        {211, 20, kMin, kMax, kMax, 205, 11},
        {211, 20, 4, 4, 4, 5, 11},
        {211, 40, 0, 100, 100, 200, 21},
        {6, 20, 0, 100, 100, 3, 6},
        {1, 1, 0, 100, 100, 0, 1},
        {0, 20, 0, 100, 100, 0, 0},
        {-5, -5, 0, 100, 100, 0, 0},
        {kMax, 20, kMin, kMax, kMax, 65529, 11},
    };
    for (const auto& c : kCases) {
        tBar t;
        t.Send(KWEVENT_SIZE, c.width, c.height);
        t.Message(KWPOS_SET_MIN, 0, c.min);
        t.Message(KWPOS_SET_MAX, 0, c.max);
        t.Message(KWPOS_SET, 1, c.pos);
        const RECT thumb = t.Detail<tTrackbarDetail>().thumb;
        EXPECT_EQ((thumb.left + thumb.right) / 2, c.centre) << c.width << " by " << c.height << " at " << c.pos;
        EXPECT_EQ(thumb.right - thumb.left, c.thumb);
    }
}

constexpr ULONG kReversed = KWTBS_REVERSED, kAtEnd = KWTBS_NO_TRACKING | KWTBS_CLICK;
constexpr tScript kScripts[] = {
    {0, "msg 1549,0,19726236; show; msg 1547,0,0; msg 1548,0,0; msg 1546,0,0",
     "* =0; -100..300 (0) at 50 thumb 75..86; =-100; =300; =50"},
    {0,
     "msg 1549,0,65536100; msg 1552,1,60; msg 1552,1,101; msg 1552,0,102; msg 1552,1,5000; msg 1552,0,-9000000000; msg "
     "1552,1,9223372036854775807; show",
     "* =0; =100; =101; * =102; * =1000; * =100; * =1000; 100..1000 (550) at 1000 thumb 200..211"},
    {0,
     "msg 1553,0,70; msg 1553,0,9223372036854775807; msg 1553,0,-9223372036854775807; show; msg 1550,0,-10; show; msg "
     "1551,0,0; show",
     "* =70; * =100; * =0; 0..100 (0) at 50 thumb 100..111; * =0; -10..100 (0) at 50 thumb 109..120; * =0; -10..0 "
     "(-10) at 50 thumb 200..211"},
    {0, "msg 1550,0,-9223372036854775807; msg 1551,0,9223372036854775807; msg 1552,1,-9223372036854775807; show",
     "* =0; * =0; * =-2147483648; -2147483648..2147483647 (0) at -2147483648 thumb 0..11"},
    {0, "msg 1566,0,2621740; show; msg 1545,1,1; msg 1554,1,1; msg 0,1,1; msg 4294967295,1,1",
     "* =0; 0..100 (50) at 50 thumb 140..161; =0; =0; =0; =0"},
    {0,
     "move 100,5; press 108,5; show; move 108,5; move 110,5; move 110,5; key home; wheel 120; move 2147483647,5; move "
     "-2147483648,5; release; release; cancel; show",
     "no; capture *; 0..100 (50) at 50 thumb 100..111 held; ; * 5:51; ; ; ; * 5:100; * 5:0; free * 8:0 settled; no; "
     "no; 0..100 (50) at 0 thumb 0..11"},
    {0, "press 5,5; msg 1552,1,0; press 5,5; move 25,5; cancel; press 25,5; move 95,5; key escape; move 125,5; show",
     "capture timer1,300 * 2:40; * =0; timer1,0 free 8:0 settled capture *; * 5:10; free * 8:10 settled; capture *; * "
     "5:45; * 5:10 free * 8:10 settled; no; 0..100 (50) at 10 thumb 20..31"},
    {0, "msg 1551,0,2147483647; msg 1552,1,1234567; press 5,5; move 50,5; show; move 5,5; show; release",
     "* =0; =1234567; capture *; * 5:483183821; 0..2147483647 (1073741823) at 483183821 thumb 45..56 held; * "
     "5:1234567; 0..2147483647 (1073741823) at 1234567 thumb 0..11 held; free * 8:1234567 settled"},
    {kAtEnd, "press 105,5; move 125,5; show; release; press 125,5; move 15,5; key escape; press 125,5; release",
     "cmd3 capture *; *; 0..100 (50) at 60 thumb 120..131 held; free * 4:60 8:60 settled; cmd3 capture *; *; * free * "
     "8:60 settled; cmd3 capture *; free * 8:60 settled"},
    {0, "msg 1553,0,30; double 105,5; release; show; double 205,5; cancel",
     "* =30; * 4:30 8:30 settled; no; 0..100 (30) at 30 thumb 60..71; capture timer1,300 * 3:40; timer1,0 free 8:40 "
     "settled"},
    {0,
     "timer 1; press 155,5; timer 2; timer 1; timer 1; timer 1; move 300,5; timer 1; timer 1; timer 1; release; press "
     "0,5+ctrl; cancel",
     "no; capture timer1,300 * 3:60; no; timer1,100 * 3:70; * 3:80 timer1,0; no; timer1,100; * 3:90; * 3:100 timer1,0; "
     "no; free 8:100 settled; capture timer1,300 * 2:0 timer1,0; free 8:0 settled"},
    {kReversed, "press 155,5; timer 1; timer 1; move 300,5; timer 1; timer 1; release; press 0,5+ctrl; cancel",
     "capture timer1,300 * 2:60; timer1,100 * 2:70; * 2:80 timer1,0; timer1,100; * 2:90; * 2:100 timer1,0; free 8:100 "
     "settled; capture timer1,300 * 3:0 timer1,0; free 8:0 settled"},
    {0, "press 155,5; press 105,5; release",
     "capture timer1,300 * 3:60; timer1,0 free 8:60 settled capture timer1,300 * 2:50 timer1,0; free 8:50 settled"},
    {0, "wheel 60; wheel 200; wheel 99; wheel -110; wheel -10; wheel -2147483648; wheel 2147483647; key left; up left",
     "; * 1:52 8:52 settled; ; ; * 0:51 8:51 settled; * 0:0 8:0 settled; * 1:100 8:100 settled; * 0:99; 8:99 settled"},
    {kReversed, "wheel 120; wheel -240", "* 0:51 8:51 settled; * 1:49 8:49 settled"},
    {0, "press 155,5; wheel 120; release", "capture timer1,300 * 3:60; ; timer1,0 free 8:60 settled"},
    {0,
     "key 12; up 12; key 96; up 96; key 105; up 105; key tab+shift; up tab; key return; key escape; key 95; key 106; "
     "up 106; key 0",
     "; ; ; ; ; ; key9+shift no; no; key13 no; key27 no; key95 no; key106 no; no; key0 no"},
    {0, "msg 1551,0,1000; key home; key right+ctrl; key pagedown; key pagedown+ctrl; key home; key end",
     "* =0; * 6:0; 1:1; * 3:101; * 3:1000; * 6:0; * 7:1000"},
    {0, "focus; blur; blur; press 105,5; release; focus; key up; blur; blur",
     "; *; ; focus capture *; free * 8:50 settled; *; * 1:51; * 8:51 settled; "},
    {0,
     "when capture do cancel; press 105,5; move 150,5; show; when capture do release; press 180,5; timer 1; timer 1; "
     "show",
     "; capture free * 8:50 settled *; no; 0..100 (50) at 50 thumb 100..111; ; capture free 8:50 settled; no; no; "
     "0..100 (50) at 50 thumb 100..111"},
    {0,
     "press 105,5; when 5:60 do release; move 125,5; move 150,5; when 8:60 do press 125,5; press 125,5; release; show",
     "capture *; ; * 5:60 free * 8:60 settled; no; ; capture *; free * 8:60 capture * settled; 0..100 (50) at 60 thumb "
     "120..131 held"},
    {0, "press 155,5; when 3:70 do msg 1551,0,40; timer 1; show; timer 1; release",
     "capture timer1,300 * 3:60; ; timer1,100 * 3:70 * =0 timer1,0; 0..40 (20) at 70 thumb 200..211; no; free 8:70 "
     "settled"},
    {0, "when 1:53 do wheel 120; wheel 360; show",
     "; * 1:53 * 1:54 8:54 settled 8:54 settled; 0..100 (50) at 54 thumb 108..119"},
};

TEST(Trackbar, Scripts) {
    for (const tScript& test : kScripts) EXPECT_EQ(tBar(test.style).Play(test.script), test.log) << test.script;
}

TEST(Trackbar, Keys) {
    struct {
        LONG key, code, reversedCode;
    } const kCases[] = {{33, 2, 2},  {34, 3, 3}, {36, 6, 6}, {35, 7, 7},  {37, 0, 0},
                        {114, 0, 0}, {38, 1, 0}, {39, 1, 0}, {120, 1, 0}, {40, 0, 1}};
    for (const auto& c : kCases)
        for (const bool reversed : {false, true}) {
            tBar t(reversed * KWTBS_REVERSED);
            t.moves = false;
            const std::string key = std::to_string(c.key);
            EXPECT_EQ(t.Play("key " + key + "; up " + key),
                      std::to_string(reversed ? c.reversedCode : c.code) + ":50; 8:50 settled");
        }
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

// --- the spinner: 4 to 800 at 72, drawn 16 by 20 pixels

constexpr tScript kSpinnerScripts[] = {
    {0, "show; timer 1; press 3,0; show; timer 1; move 30,0; show; timer 1; move 3,0; show; release; release; show",
     "4..800 (402) at 72 thumb 0..0; no; * capture timer1,300 * 4:73; 4..800 (402) at 73 thumb 0..0 held pressed 1; "
     "timer1,100 * 4:74; *; 4..800 (402) at 74 thumb 0..0 held; ; *; 4..800 (402) at 74 thumb 0..0 held pressed 1; "
     "timer1,0 * free 8:74 settled; no; 4..800 (402) at 74 thumb 0..0"},
    {0, "press 3,10; timer 1; timer 1; cancel; press 16,0; press 3,3; press 3,12; release",
     "* capture timer1,300 * 4:71; timer1,100 * 4:70; * 4:69; timer1,0 * free 8:69 settled; no; * capture timer1,300 * "
     "4:70; timer1,0 * free 8:70 settled * capture timer1,300 * 4:69; timer1,0 * free 8:69 settled"},
    {0, "size -4,0; press 0,0", "*; no"},
    {0, "key up; up up; key down; up down; key pageup; up pageup; key pagedown; up pagedown",
     "* 4:73; 8:73 settled; * 4:72; 8:72 settled; * 4:152; 8:152 settled; * 4:72; 8:72 settled"},
    {0, "key pageup+ctrl; key home+ctrl; up home; key end+ctrl; up end+ctrl; key up; key up",
     "* 4:800; * 4:4; 8:4 settled; * 4:800; 8:800 settled; ; "},
    {0, "key home; up home; key end+shift; key left+ctrl; key return; key 0; up 0", "no; no; no; no; no; no; no"},
    {0, "wheel 240; wheel -120; wheel -2147483648; wheel 2147483647; wheel 60",
     "* 4:74 8:74 settled; * 4:73 8:73 settled; * 4:4 8:4 settled; * 4:800 8:800 settled; "},
    {0, "msg 1552,1,900; msg 1566,1,900; press 3,3; wheel 120; release; move 3,3; move 5,5",
     "* =800; =0; * capture timer1,300; ; timer1,0 * free 8:800 settled; no; no"},
    {0, "when capture do release; press 3,3; timer 1; timer 1; show",
     "; * capture * free 8:72 settled; no; no; 4..800 (402) at 72 thumb 0..0"},
    {0, "when 4:73 do cancel; press 3,3; timer 1; show",
     "; * capture timer1,300 * 4:73 timer1,0 * free 8:73 settled; no; 4..800 (402) at 73 thumb 0..0"},
};

TEST(Spinner, Scripts) {
    for (const tScript& test : kSpinnerScripts) {
        CControlRig<CSpinner> t(LONG{1306});
        t.Play("msg 1550,0,4; msg 1551,0,800; msg 1552,1,72; size 16,20");
        EXPECT_EQ(t.Play(test.script), test.log) << test.script;
    }
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
