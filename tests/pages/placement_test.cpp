#include "pages/controls/placement.h"

#include <cmath>
#include <limits>
#include <sstream>

#include "pages/control_rig.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr ULONG kEcho = 1u << 31; ///< the page writes back what it is told

tPlacementHandle Handle(double x, double y, ULONG confined = 1, ULONG selectable = 1, ULONG kind = 2) {
    tPlacementHandle handle;
    handle.x = x;
    handle.y = y;
    handle.confined = confined;
    handle.selectable = selectable;
    handle.kind = kind;
    return handle;
}

/// An area of 100 by 200 pixels from (8, 8).
struct tPlacement : CControlRig<CPlacement> {
    explicit tPlacement(ULONG style = 0) : CControlRig(style) {
        echoes = style & kEcho;
        Play("size 116,216");
    }
    tPlacementHandle At(std::uintptr_t index) {
        tPlacementHandle handle;
        EXPECT_EQ(Message(2053, index, &handle), 1);
        return handle;
    }
};

constexpr tScript kScripts[] = {
    {0, "show; msg 2054,0,0; msg 2050,0,0", "free 0.5,0.5!; =0; =1"},
    {0,
     "set 0.3,0.4; press 41,90; move 41,90; move 51,110; show; move 100000,-100000; show; release; show; release; move "
     "1,1; cancel",
     "*; focus capture 2102 *; 2104; 2104 *; held 0.4,0.5!; 2104 *; held 1,0!; 2102 free * settled; free 1,0!; no; no; "
     "no"},
    {0, "set 0.5,0.5,0; press 58,108; move 208,-92; show; move -2147483648,2147483647; show",
     "*; focus capture 2102 *; 2104 *; held 2,-0.5!; 2104 *; held -1000,1000!"},
    {0, "size 116,16; set 0.5,0.25; press 58,8; move 68,100; show",
     "*; *; focus capture 2102 *; 2104 *; held 0.6,0.25!"},
    {0, "key escape; press 58,108; move 68,108; key escape; show; move 0,0; release; cancel",
     "no; focus capture 2102 *; 2104 *; free 2104 * settled; free 0.5,0.5!; no; no; no"},
    {0, "press 58,108; cancel; press 58,108; press 0,0; show",
     "focus capture 2102 *; 2102 free * settled; focus capture 2102 *; 2102 free * settled focus; free 0.5,0.5!"},
    {0, "press 58,115; press 58,114; show; key home; key tab; key 65; wheel 120; up home",
     "focus; focus capture 2102 *; held 0.5,0.5!; 2104 *; ; no; no; "},
    {0, "press 52,108; release; press 51,108", "focus capture 2102 *; 2102 free * settled; focus"},
    {0,
     "add 0.5,0.5; add 0.5,0.5; add 0,0; press 58,108; show; release; msg 2065,1,0; press 58,108; show; release; msg "
     "2065,3,0; press 58,108; show",
     "*; *; *; focus capture 2102 *; held 0.5,0.5! 0.5,0.5 0.5,0.5 0,0; 2102 free * settled; * =0; focus capture 2102 "
     "*; held 0.5,0.5 0.5,0.5! 0.5,0.5 0,0; 2102 free * settled; * =0; focus capture 2102 *; held 0.5,0.5 0.5,0.5 "
     "0.5,0.5! 0,0"},
    {0, "double 33,58; show; double 115,0; show; double 33,58; release; msg 2061,3,0; double 80,80; show",
     "focus 2101 * settled; free 0.5,0.5 0.25,0.25!; focus 2101 * settled; free 0.5,0.5 0.25,0.25 1,0!; focus capture "
     "2102 *; 2102 free * settled; =0; focus; free 0.5,0.5 0.25,0.25! 1,0"},
    {0, "key pageup; show; key pagedown; show; key home; show; key end; up end; show",
     "2104 *; free 0.5,0!; 2104 *; free 0.5,1!; 2104 *; free 0,1!; 2104 *; settled; free 1,1!"},
    {0,
     "msg 2066,20,200; msg 2067,30,300; key left; show; key right; key right; show; key up; show; key down; key down; "
     "show; key left+ctrl; show; key right+ctrl; key up+ctrl; show; key down+ctrl; key down+ctrl; show",
     "=0; =0; 2104 *; free 0.48,0.5!; 2104 *; 2104 *; free 0.52,0.5!; 2104 *; free 0.52,0.47!; 2104 *; 2104 *; free "
     "0.52,0.53!; 2104 *; free 0.32,0.53!; 2104 *; 2104 *; free 0.52,0.23!; 2104 *; 2104 *; free 0.52,0.83!"},
    {0,
     "key left; key up; show; key right+ctrl; key down+ctrl; show; key home+ctrl; show; key return; up return; key 12; "
     "key 114; key -1; up 32; up 41; up 33; up 40",
     "2104 *; 2104 *; free 0.49,0.49!; 2104 *; 2104 *; free 0.59,0.59!; 2104 *; free 0,0.59!; no; no; no; no; no; no; "
     "no; settled; settled"},
    {0,
     "set 5,-5,0; key left; show; msg 2066,-1,-250; set 0.5,0.5; key right; show; set 0.5,0.5; key right+ctrl; show; "
     "msg 2066,0,-2147483648; key right+ctrl; show; msg 2066,0,1000000; key right+ctrl; show",
     "*; 2104 *; free 1,0!; =0; *; 2104 *; free 1,0.5!; *; 2104 *; free 0.25,0.5!; =0; 2104 *; free 0,0.5!; =0; 2104 "
     "*; free 1,0.5!"},
    {0,
     "add 0.1,0.1,1,0; add 0.1,0.1,1,1; add 0.1,0.1,1,2; add 0.1,0.1,1,1; add 0.1,0.1,1,0; key tab; msg 2054,0,0; key "
     "tab; msg 2054,0,0; key tab; msg 2054,0,0; key tab+shift; key tab+shift; msg 2054,0,0; key tab+shift; press "
     "58,108; key tab; msg 2054,0,0",
     "*; *; *; *; *; 2102 *; =2; 2102 *; =4; no; =4; 2102 *; 2102 *; =0; no; focus capture 2102 *; ; =0"},
    {0,
     "msg 2064,5,0; msg 2050,0,0; msg 2061,3,0; msg 2050,0,0; msg 2064,9,0; msg 2050,0,0; msg 2062,2,0; msg 2050,0,0; "
     "msg 2064,0,0; msg 2050,0,0; msg 2061,10,0; msg 2062,6,0; msg 2050,0,0; msg 2061,4,0; msg 2050,0,0; msg 2064,0,0; "
     "msg 2050,0,0; msg 2062,0,0; msg 2061,0,0; msg 2050,0,0",
     "* =0; =5; * =0; =3; * =0; =3; =0; =3; * =0; =2; =0; * =0; =6; * =0; =4; * =0; =4; =0; * =0; =0"},
    {0,
     "msg 2061,0,0; msg 2064,7,0; msg 2050,0,0; msg 2061,-1,0; msg 2064,2147483647,0; msg 2050,0,0; msg "
     "2061,4294967295,0; msg 2064,2147483647,0; msg 2050,0,0; msg 2062,9223372036854775807,0; msg 2064,1,0; msg "
     "2050,0,0; msg 2061,1,0; msg 2050,0,0",
     "* =0; * =0; =0; =0; * =0; =0; =0; * =0; =1000; =0; * =0; =1000; * =0; =1"},
    {0,
     "add 0.1,0; add 0.2,0; msg 2065,2,0; msg 2059,0,0; show; msg 2059,0,0; show; msg 2062,1,0; msg 2059,0,0; show; "
     "msg 2059,-1,0; msg 2059,7,0",
     "*; *; * =0; * =0; free 0.1,0 0.2,0!; * =0; free 0.2,0!; =0; =0; free 0.2,0!; =0; =0"},
    {0, "add 0.1,0; add 0.2,0; msg 2065,1,0; msg 2059,1,0; show; msg 2059,1,0; show; add 0.3,0; msg 2059,1,0; show",
     "*; *; * =0; * =0; free 0.5,0.5 0.2,0!; * =0; free 0.5,0.5!; *; * =0; free 0.5,0.5!"},
    {0, "add 0,0; msg 2065,1,0; msg 2065,2,0; msg 2065,4294967296,0; msg 2065,-1,0; msg 2054,0,0; msg 2063,0,0",
     "*; * =0; =0; =0; =0; =1; * =0"},
    {0, "msg 2061,0,0; key left; key tab; press 58,108; double 58,108; show; msg 2061,5,0; msg 273,2151,0; show",
     "* =0; no; no; focus; focus; free; =0; 2103 * settled =0; free 0.5,0.5!"},
    {0,
     "add 0.1,0.1; add 0.1,0.1; set 0,0; msg 2065,2,0; right 20,30; msg 273,2151,0; show; msg 273,2152,0; press "
     "58,108; msg 273,2151,0; show",
     "*; *; *; * =0; menu20,30; 2103 * settled =0; free 0.5,0.5!; =0; focus capture 2102 *; free 2103 * settled =0; "
     "free 0.5,0.5!"},
    {2, "right 1,2", "2107"},
    {4294967293, "right 1,2", "menu1,2"},
    {0, "add 0.1,0.5; msg 2065,0,0; press 58,108; msg 2059,1,0; show; msg 2059,0,0; show; move 68,108; release",
     "*; * =0; focus capture 2102 *; * =0; held 0.5,0.5!; free settled * =0; free; no; no"},
    {0, "add 0.9,0.5; press 58,108; msg 2065,1,0; press 58,108; msg 2065,0,0; msg 2064,1,0; show; msg 2061,0,0; show",
     "*; focus capture 2102 *; free settled * =0; focus capture 2102 *; * =0; * =0; held 0.5,0.5!; free settled * =0; "
     "free"},
    {0,
     "add 0.1,0.5; add 0.5,0.9; msg 2065,1,0; press 18,108; msg 2059,0,0; show; move 28,108; show; msg 2064,0,0; show",
     "*; *; * =0; focus capture 2102 *; * =0; held 0.1,0.5! 0.5,0.9; 2104 *; held 0.2,0.5! 0.5,0.9; free settled * =0; "
     "free"},
    {kEcho, "press 58,108; move 59,108; move 68,108; show; release; key left; show",
     "focus capture 2102 * *; 2104 * *; 2104 * *; held 0.6,0.5!; 2102 * free * settled; 2104 * *; free 0.59,0.5!"},
    {0,
     "press 58,108; when 2104 do msg 2064,0,0; move 70,108; show; msg 2064,1,0; when 2102 do msg 2064,0,0; press "
     "58,108; show; move 60,60",
     "focus capture 2102 *; ; 2104 free settled * =0 *; free; * =0; ; focus capture 2102 free settled * =0 *; free; "
     "no"},
    {0,
     "press 58,108; when 2102 do msg 2064,0,0; release; show; msg 2064,3,0; when 2104 do msg 2059,0,0; key left; show",
     "focus capture 2102 *; ; 2102 free settled * =0; free; * =0; ; 2104 * =0 *; free 0.5,0.5! 0.5,0.5"},
    {0,
     "when capture do cancel; press 58,108; show; when focus do msg 2064,0,0; press 58,108; show; when 2101 do msg "
     "2061,0,0; double 20,20; msg 2061,5,0; when 2101 do msg 2059,0,0; double 20,20; show",
     "; focus capture 2102 free * settled 2102 *; free 0.5,0.5!; ; focus * =0; free; ; focus 2101 * =0 * settled; =0; "
     "; focus 2101 * =0 * settled; free"},
    {0,
     "add 0.1,0.1; when 2102 do msg 2064,1,0; key tab; show; press 58,108; when free do press 58,108; key escape; "
     "show; release",
     "*; ; 2102 * =0 *; free 0.5,0.5!; focus capture 2102 *; ; free focus capture 2102 * 2104 * settled; held "
     "0.5,0.5!; 2102 free * settled"},
    {0,
     "press 58,108; when free do msg 2061,0,0; key escape; show; msg 2061,2,0; msg 273,2151,0; press 58,108; when free "
     "do msg 2061,0,0; msg 273,2151,0; show",
     "focus capture 2102 *; ; free * =0 2104 * settled; free; =0; 2103 * settled =0; focus capture 2102 *; ; free * =0 "
     "2103 * settled =0; free"},
};

TEST(Placement, Scripts) {
    for (const tScript& test : kScripts) EXPECT_EQ(tPlacement(test.style).Play(test.script), test.log) << test.script;
}

// What the control tells beside the code: the handle after the change, and before it or where the drag began.
TEST(Placement, NoticesHoldBothRecords) {
    const struct {
        const char* script;
        std::vector<std::pair<tPlacementHandle, tPlacementHandle>> told; ///< before, after
    } rows[] = {
        {"press 58,108; move 68,128; move 108,8; release",
         {{Handle(0.5, 0.5), Handle(0.5, 0.5)},
          {Handle(0.5, 0.5), Handle(0.6, 0.6)},
          {Handle(0.5, 0.5), Handle(1, 0)},
          {Handle(1, 0), Handle(1, 0)}}},
        {"press 58,108; move 68,108; key escape",
         {{Handle(0.5, 0.5), Handle(0.5, 0.5)},
          {Handle(0.5, 0.5), Handle(0.6, 0.5)},
          {Handle(0.6, 0.5), Handle(0.5, 0.5)}}},
        {"key home; key down", {{Handle(0.5, 0.5), Handle(0, 0.5)}, {Handle(0, 0.5), Handle(0, 0.51)}}},
        {"double 33,58", {{Handle(0.25, 0.25), Handle(0.25, 0.25)}}},
        {"msg 2061,0,0; msg 273,2151,0", {{Handle(0.5, 0.5), Handle(0.5, 0.5)}}},
    };
    for (const auto& row : rows) {
        tPlacement p;
        p.Play(row.script);
        ASSERT_EQ(p.handles.size(), row.told.size()) << row.script;
        for (std::size_t i = 0; i < row.told.size(); ++i) {
            EXPECT_EQ(p.handles[i].before, row.told[i].first) << row.script << " " << i;
            EXPECT_EQ(p.handles[i].after, row.told[i].second) << row.script << " " << i;
        }
    }
}

TEST(Placement, AreaLeavesRoomForFrameAndHandle) {
    constexpr LONG most = std::numeric_limits<LONG>::max(), least = std::numeric_limits<LONG>::min();
    const struct {
        LONG x, y;
        RECT area;
    } rows[] = {{116, 216, {8, 8, 108, 208}},
                {17, 16, {8, 8, 9, 8}},
                {10, 1, {5, 0, 5, 0}},
                {0, -5, {0, 0, 0, 0}},
                {most, least, {8, 0, most - 8, 0}}};
    for (const auto& row : rows) {
        tPlacement p;
        p.Send(KWEVENT_SIZE, row.x, row.y);
        EXPECT_EQ(p.Detail<tPlacementDetail>().area, row.area) << row.x << 'x' << row.y;
    }
    CControlRig<CPlacement> fresh(0u);
    EXPECT_EQ(fresh.Play("size 50,50; size 60,50"), "timer2060,500 *; *") << "asks for its timer once";
    const bool lit = fresh.control.Lit();
    EXPECT_EQ(fresh.Play("timer 2060; timer 2061"), "*; no");
    EXPECT_NE(fresh.control.Lit(), lit);
}

TEST(Placement, AddTakesPlacesFrom0To1Only) {
    const struct {
        double x, y;
        bool taken;
    } rows[] = {{0, 0, true},
                {1, 1, true},
                {0.25, 0.75, true},
                {1.5, 0.2, false},
                {0.2, std::nextafter(1.0, 2.0), false},
                {-1e-300, 0, false},
                {kNaN, 0.2, false},
                {0.2, kInfinity, false}};
    tPlacement p;
    for (const auto& row : rows) {
        tPlacementHandle handle = Handle(row.x, row.y, 0, 0, 4);
        const auto before = static_cast<std::uintptr_t>(p.Message(2050));
        EXPECT_EQ(p.Message(2051, 0, &handle), 0);
        EXPECT_EQ(p.At(before), row.taken ? handle : tPlacementHandle{}) << row.x << ',' << row.y;
    }
    EXPECT_TRUE(p.handles.empty());
}

TEST(Placement, ReplaceKeepsRecordsDrawable) {
    const struct {
        tPlacementHandle given, kept;
    } rows[] = {{Handle(0.1, 0.9, 7, 3, 4), Handle(0.1, 0.9, 7, 3, 4)},
                {Handle(0.1, 0.9, 0, 0, 5), Handle(0.1, 0.9, 0, 0, 0)},
                {Handle(0.1, 0.9, 0, 0, 0xFFFFFFFF), Handle(0.1, 0.9, 0, 0, 0)},
                {Handle(1.5, -2), Handle(1.5, -2)},
                {Handle(1e300, -1e300), Handle(1000, -1000)},
                {Handle(kNaN, -kInfinity), Handle(0.5, 0.5)}};
    tPlacement p;
    for (const auto& row : rows) {
        unsigned char bytes[sizeof row.given + 1]; // blocks need no alignment
        std::memcpy(bytes + 1, &row.given, sizeof row.given);
        EXPECT_EQ(p.Message(2052, 0, bytes + 1), 1);
        std::memset(bytes, 0, sizeof bytes);
        EXPECT_EQ(p.Message(2053, 0, bytes + 1), 1);
        EXPECT_EQ(std::memcmp(bytes + 1, &row.kept, sizeof row.kept), 0);
    }
    tPlacementHandle endless;
    std::memset(endless.label, 'x', sizeof endless.label);
    EXPECT_EQ(p.Message(2052, 0, &endless), 1);
    EXPECT_EQ(std::string(p.At(0).label), std::string(27, 'x'));
    for (const std::uintptr_t bad : {std::uintptr_t{1}, std::uintptr_t{1} << 32, ~std::uintptr_t{0}})
        for (const UINT message : {2052, 2053}) EXPECT_EQ(p.Message(message, bad, &endless), 0);
    EXPECT_TRUE(p.handles.empty());
}

TEST(Placement, MessagesTakeNullPointersAndKeepWords) {
    tPlacement p;
    for (UINT message = 2048; message < 2080; ++message)
        EXPECT_EQ(p.Message(message), message == 2050 || message == 2079) << message;
    ULONG words[3] = {1, 2, 0xFFFFFFFF}, out[3] = {}, word = 0;
    EXPECT_EQ(p.Message(2069, 0, words), 0);
    EXPECT_EQ(p.Message(2068, 0, out), 0);
    EXPECT_TRUE(std::equal(words, words + 3, out));
    EXPECT_EQ(p.Message(2079, 0xABCDEF01), 1);
    EXPECT_EQ(p.Message(2078, reinterpret_cast<std::uintptr_t>(&word)), 1);
    EXPECT_EQ(word, 0xABCDEF01);
    LONG area[2] = {-1, -1};
    EXPECT_EQ(p.control.Detail(area, 4), S_OK);
    EXPECT_EQ(area[0], 8);
    EXPECT_EQ(area[1], -1);
}

TEST(Placement, TheMenuHasReset) {
    tPageMenuItem item{};
    tPlacement p, styled(kPlacementRightPressStyle);
    EXPECT_EQ(p.control.MenuItem(0, item), S_OK);
    EXPECT_EQ(item.id, 2151);
    EXPECT_EQ(item.parent, -1);
    EXPECT_STREQ(item.text, "Reset");
    for (const LONG index : {1, -1}) EXPECT_EQ(p.control.MenuItem(index, item), E_INVALIDARG);
    EXPECT_EQ(styled.control.MenuItem(0, item), E_INVALIDARG);
}

} // namespace
