#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "pages/controls/placement.h"

namespace {

constexpr LONG kId = 1234;
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Writes down what the control says, in order: "2104" for a notification, "capture 1", "changed" and so on.
struct Owner : IControlOwner {
    std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam,
                                   std::intptr_t lParam) override {
        EXPECT_EQ(message, WM_NOTIFY);
        EXPECT_EQ(wParam, static_cast<std::uintptr_t>(kId));
        notices.push_back(*reinterpret_cast<const tPlacementNotice*>(lParam));
        EXPECT_EQ(notices.back().window, nullptr);
        EXPECT_EQ(notices.back().id, kId);
        log << notices.back().code << ' ';
        if (answer) answer(from, notices.back());
        return 0;
    }
    void OnControlNotice(const tPageNotice& notice) override {
        EXPECT_EQ(notice.control, kId);
        constexpr const char* names[] = {"", "changed", "applied", "settled", "capture", "timer", "focus", "menu"};
        log << names[notice.code];
        if (notice.code == KWNOTICE_CAPTURE) log << notice.x;
        if (notice.code == KWNOTICE_TIMER || notice.code == KWNOTICE_MENU) log << notice.x << ',' << notice.y;
        log << ' ';
    }
    std::string Log() { return std::exchange(log, std::ostringstream{}).str(); }

    std::vector<tPlacementNotice> notices;
    std::ostringstream log;
    void (*answer)(CPageControl&, const tPlacementNotice&) = nullptr;
};

tPlacementHandle Handle(double x, double y, ULONG confined = 1, ULONG selectable = 1, ULONG kind = 2) {
    tPlacementHandle handle;
    handle.x = x;
    handle.y = y;
    handle.confined = confined;
    handle.selectable = selectable;
    handle.kind = kind;
    return handle;
}

// An area of 100 by 200 pixels from (8, 8).
class Placement : public testing::Test {
  protected:
    Placement() { MakeSize(116, 216); }

    void MakeSize(LONG x, LONG y) {
        Send(KWEVENT_SIZE, x, y);
        owner.Log();
    }
    HRESULT Send(LONG kind, LONG x = 0, LONG y = 0, LONG value = 0, ULONG modifiers = 0) {
        return control.Event({kind, x, y, value, modifiers, 0, nullptr});
    }
    HRESULT Key(LONG key, ULONG modifiers = 0) { return Send(KWEVENT_KEY, 0, 0, key, modifiers); }
    std::intptr_t Message(UINT message, std::uintptr_t wParam = 0, std::intptr_t lParam = 0) {
        return control.Message(message, wParam, lParam);
    }
    std::intptr_t Message(UINT message, std::uintptr_t wParam, void* block) {
        return control.Message(message, wParam, reinterpret_cast<std::intptr_t>(block));
    }
    void Add(tPlacementHandle handle) { EXPECT_EQ(Message(2051, 0, &handle), 0); }
    void Replace(std::uintptr_t index, tPlacementHandle handle) { EXPECT_EQ(Message(2052, index, &handle), 1); }
    tPlacementHandle At(std::uintptr_t index) {
        tPlacementHandle handle;
        EXPECT_EQ(Message(2053, index, &handle), 1);
        return handle;
    }
    tPlacementDetail Detail() {
        tPlacementDetail detail{};
        EXPECT_EQ(control.Detail(&detail, sizeof detail), S_OK);
        return detail;
    }

    Owner owner;
    CPlacement control{owner, kId, 0};
};

TEST_F(Placement, BeginsWithOneHandleInTheMiddle) {
    EXPECT_EQ(Message(2050), 1);
    EXPECT_EQ(Message(2054), 0);
    EXPECT_EQ(At(0), tPlacementHandle{});
    EXPECT_EQ(At(0).x, 0.5);
    EXPECT_EQ(At(0).y, 0.5);
    EXPECT_EQ(At(0).kind, 2u);
}

TEST_F(Placement, AsksForItsTimerOnce) {
    Owner other;
    CPlacement fresh(other, kId, 0);
    EXPECT_EQ(other.Log(), "");
    fresh.Event({KWEVENT_SIZE, 50, 50, 0, 0, 0, nullptr});
    fresh.Event({KWEVENT_SIZE, 60, 50, 0, 0, 0, nullptr});
    EXPECT_EQ(other.Log(), "timer2060,500 changed changed ");
    const bool lit = control.Lit();
    EXPECT_EQ(Send(KWEVENT_TIMER, 0, 0, 2060), S_OK);
    EXPECT_NE(control.Lit(), lit);
    EXPECT_EQ(Send(KWEVENT_TIMER, 0, 0, 2061), S_FALSE);
    EXPECT_NE(control.Lit(), lit);
    EXPECT_EQ(owner.Log(), "changed ");
}

TEST_F(Placement, AreaLeavesRoomForFrameAndHandle) {
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
        MakeSize(row.x, row.y);
        EXPECT_EQ(Detail().area, row.area) << row.x << 'x' << row.y;
    }
}

TEST_F(Placement, AddTakesPlacesFrom0To1Only) {
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
    for (const auto& row : rows) {
        const auto before = Message(2050);
        Add(Handle(row.x, row.y, 0, 0, 4));
        EXPECT_EQ(Message(2050), before + 1);
        EXPECT_EQ(At(before), row.taken ? Handle(row.x, row.y, 0, 0, 4) : tPlacementHandle{}) << row.x << ',' << row.y;
    }
    EXPECT_EQ(Message(2051), 0);
    EXPECT_EQ(Message(2050), 10);
    EXPECT_EQ(At(9), tPlacementHandle{});
    EXPECT_EQ(Message(2054), 0);
    EXPECT_TRUE(owner.notices.empty());
}

TEST_F(Placement, ReplaceKeepsRecordsDrawable) {
    const struct {
        tPlacementHandle given, kept;
    } rows[] = {{Handle(0.1, 0.9, 7, 3, 4), Handle(0.1, 0.9, 7, 3, 4)},
                {Handle(0.1, 0.9, 0, 0, 5), Handle(0.1, 0.9, 0, 0, 0)},
                {Handle(0.1, 0.9, 0, 0, 0xFFFFFFFF), Handle(0.1, 0.9, 0, 0, 0)},
                {Handle(1.5, -2), Handle(1.5, -2)},
                {Handle(1e300, -1e300), Handle(1000, -1000)},
                {Handle(kNaN, -kInfinity), Handle(0.5, 0.5)}};
    for (const auto& row : rows) {
        Replace(0, row.given);
        EXPECT_EQ(At(0), row.kept);
    }
    tPlacementHandle endless;
    std::memset(endless.label, 'x', sizeof endless.label);
    Replace(0, endless);
    EXPECT_EQ(std::string(At(0).label), std::string(27, 'x'));
    EXPECT_EQ(Message(2052, 1, &endless), 0);
    EXPECT_EQ(Message(2052, ~std::uintptr_t{0}, &endless), 0);
    EXPECT_EQ(Message(2053, 1, &endless), 0);
    EXPECT_TRUE(owner.notices.empty());
}

TEST_F(Placement, BlocksNeedNoAlignment) {
    unsigned char bytes[sizeof(tPlacementHandle) + 1];
    const tPlacementHandle handle = Handle(0.25, 0.125);
    std::memcpy(bytes + 1, &handle, sizeof handle);
    EXPECT_EQ(Message(2052, 0, bytes + 1), 1);
    std::memset(bytes, 0, sizeof bytes);
    EXPECT_EQ(Message(2053, 0, bytes + 1), 1);
    EXPECT_EQ(std::memcmp(bytes + 1, &handle, sizeof handle), 0);
}

TEST_F(Placement, DragTellsInOrder) {
    Replace(0, Handle(0.3, 0.4)); // pixel (38, 88)
    owner.Log();
    EXPECT_EQ(Send(KWEVENT_PRESS, 41, 90), S_OK);
    EXPECT_EQ(owner.Log(), "focus capture1 2102 changed ");
    EXPECT_TRUE(Detail().tracking);
    Send(KWEVENT_MOVE, 41, 90, 1);
    EXPECT_EQ(owner.Log(), "2104 "); // told, but nothing to draw
    EXPECT_NEAR(At(0).x, 0.3, 1e-12);
    EXPECT_NEAR(At(0).y, 0.4, 1e-12);
    Send(KWEVENT_MOVE, 51, 110, 1);
    EXPECT_EQ(owner.Log(), "2104 changed ");
    EXPECT_NEAR(At(0).x, 0.4, 1e-12);
    EXPECT_NEAR(At(0).y, 0.5, 1e-12);
    Send(KWEVENT_MOVE, 100000, -100000, 1);
    EXPECT_EQ(At(0).x, 1);
    EXPECT_EQ(At(0).y, 0);
    owner.Log();
    EXPECT_EQ(Send(KWEVENT_RELEASE, 0, 0), S_OK);
    EXPECT_EQ(owner.Log(), "2102 capture0 changed settled ");
    EXPECT_FALSE(Detail().tracking);

    ASSERT_EQ(owner.notices.size(), 5u);
    EXPECT_EQ(owner.notices[0].before, Handle(0.3, 0.4));
    EXPECT_EQ(owner.notices[0].after, Handle(0.3, 0.4));
    for (int i = 1; i < 4; ++i) EXPECT_EQ(owner.notices[i].before, Handle(0.3, 0.4)) << i;
    EXPECT_EQ(owner.notices[3].after, Handle(1, 0));
    EXPECT_EQ(owner.notices[4].before, Handle(1, 0));
    EXPECT_EQ(owner.notices[4].after, Handle(1, 0));
}

TEST_F(Placement, FreeHandleFollowsBeyondTheArea) {
    Replace(0, Handle(0.5, 0.5, 0));
    Send(KWEVENT_PRESS, 58, 108);
    Send(KWEVENT_MOVE, 208, -92, 1);
    EXPECT_EQ(At(0), Handle(2, -0.5, 0));
    Send(KWEVENT_MOVE, std::numeric_limits<LONG>::min(), std::numeric_limits<LONG>::max(), 1);
    EXPECT_EQ(At(0), Handle(-1000, 1000, 0));
}

TEST_F(Placement, AxisWithoutLengthKeepsItsShare) {
    MakeSize(116, 16);
    Replace(0, Handle(0.5, 0.25));
    Send(KWEVENT_PRESS, 58, 8);
    Send(KWEVENT_MOVE, 68, 100, 1);
    EXPECT_EQ(At(0), Handle(0.6, 0.25));
}

TEST_F(Placement, EscapeTakesTheDragBack) {
    EXPECT_EQ(Key(KWKEY_ESCAPE), S_FALSE);
    Send(KWEVENT_PRESS, 58, 108);
    Send(KWEVENT_MOVE, 68, 108, 1);
    owner.Log();
    EXPECT_EQ(Key(KWKEY_ESCAPE), S_OK);
    EXPECT_EQ(owner.Log(), "capture0 2104 changed settled ");
    EXPECT_EQ(At(0), tPlacementHandle{});
    EXPECT_EQ(owner.notices.back().after, tPlacementHandle{});
    EXPECT_EQ(owner.notices.back().before, Handle(0.6, 0.5));
    EXPECT_EQ(Send(KWEVENT_MOVE, 0, 0, 1), S_FALSE);
    EXPECT_EQ(Send(KWEVENT_RELEASE), S_FALSE);
    EXPECT_EQ(Send(KWEVENT_CANCEL), S_FALSE);
    EXPECT_EQ(owner.Log(), "");
}

TEST_F(Placement, CancelAndASecondPressEndADragAsARelease) {
    Send(KWEVENT_PRESS, 58, 108);
    owner.Log();
    EXPECT_EQ(Send(KWEVENT_CANCEL), S_OK);
    EXPECT_EQ(owner.Log(), "2102 capture0 changed settled ");
    Send(KWEVENT_PRESS, 58, 108);
    owner.Log();
    Send(KWEVENT_PRESS, 0, 0);
    EXPECT_EQ(owner.Log(), "2102 capture0 changed settled focus ");
}

TEST_F(Placement, PressOnNothingTakesTheFocusAlone) {
    EXPECT_EQ(Send(KWEVENT_PRESS, 58, 115), S_OK); // 7 pixels below the centre
    EXPECT_EQ(owner.Log(), "focus ");
    Send(KWEVENT_PRESS, 58, 114);
    EXPECT_EQ(owner.Log(), "focus capture1 2102 changed ");
}

TEST_F(Placement, CurrentHandleIsHitFirstThenTheLast) {
    Add(tPlacementHandle{});
    Add(tPlacementHandle{});
    const struct { LONG current, x, hit; } rows[] = {{0, 58, 0}, {1, 58, 1}, {2, 58, 2}, {3, 58, 2}};
    Add(Handle(0, 0));
    for (const auto& row : rows) {
        Message(2065, row.current);
        Send(KWEVENT_PRESS, row.x, 108);
        EXPECT_EQ(Message(2054), row.hit) << row.current;
        EXPECT_EQ(owner.notices.back().index, row.hit);
        Send(KWEVENT_RELEASE);
    }
}

TEST_F(Placement, DoubleClickAddsWhereNothingIs) {
    EXPECT_EQ(Send(KWEVENT_DOUBLE_PRESS, 33, 58), S_OK);
    EXPECT_EQ(owner.Log(), "focus 2101 changed settled ");
    EXPECT_EQ(Message(2054), 1);
    EXPECT_EQ(At(1), Handle(0.25, 0.25));
    EXPECT_EQ(owner.notices.back().index, 1);
    EXPECT_EQ(owner.notices.back().after, At(1));
    EXPECT_FALSE(Detail().tracking);
    Send(KWEVENT_DOUBLE_PRESS, 115, 0); // in the frame: the nearest corner
    EXPECT_EQ(At(2), Handle(1, 0));
    owner.Log();
    Send(KWEVENT_DOUBLE_PRESS, 33, 58);
    EXPECT_EQ(owner.Log(), "focus capture1 2102 changed ");
    Send(KWEVENT_RELEASE);
    Message(2061, 3);
    owner.Log();
    Send(KWEVENT_DOUBLE_PRESS, 80, 80);
    EXPECT_EQ(owner.Log(), "focus ");
    EXPECT_EQ(Message(2050), 3);
}

TEST_F(Placement, KeysMoveTheCurrentHandle) {
    Message(2066, 20, 200);
    Message(2067, 30, 300);
    const struct {
        LONG key;
        ULONG modifiers;
        double x, y;
    } rows[] = {{KWKEY_PAGE_UP, 0, 0.5, 0},
                {KWKEY_PAGE_DOWN, 0, 0.5, 1},
                {KWKEY_HOME, 0, 0, 0.5},
                {KWKEY_END, 0, 1, 0.5},
                {KWKEY_LEFT, 0, 0.48, 0.5},
                {KWKEY_RIGHT, 0, 0.52, 0.5},
                {KWKEY_UP, 0, 0.5, 0.47},
                {KWKEY_DOWN, 0, 0.5, 0.53},
                {KWKEY_LEFT, KWMOD_CTRL, 0.3, 0.5},
                {KWKEY_RIGHT, KWMOD_CTRL | KWMOD_SHIFT, 0.7, 0.5},
                {KWKEY_UP, KWMOD_CTRL, 0.5, 0.2},
                {KWKEY_DOWN, KWMOD_CTRL, 0.5, 0.8},
                {KWKEY_HOME, KWMOD_CTRL, 0, 0.5}};
    for (const auto& row : rows) {
        Replace(0, tPlacementHandle{});
        owner.Log();
        EXPECT_EQ(Key(row.key, row.modifiers), S_OK);
        EXPECT_EQ(Send(KWEVENT_KEY_UP, 0, 0, row.key), S_OK);
        EXPECT_EQ(owner.Log(), "2104 changed settled ") << row.key;
        EXPECT_DOUBLE_EQ(At(0).x, row.x) << row.key;
        EXPECT_DOUBLE_EQ(At(0).y, row.y) << row.key;
        EXPECT_EQ(owner.notices.back().before, tPlacementHandle{});
        EXPECT_EQ(owner.notices.back().after, At(0));
    }
    for (LONG key : {LONG{KWKEY_RETURN}, LONG{KWKEY_CLEAR}, LONG{KWKEY_F3}, LONG{65}, LONG{-1}}) {
        EXPECT_EQ(Key(key), S_FALSE);
        EXPECT_EQ(Send(KWEVENT_KEY_UP, 0, 0, key), S_FALSE);
    }
}

TEST_F(Placement, KeysKeepBothSharesFrom0To1) {
    Replace(0, Handle(5, -5, 0));
    Key(KWKEY_LEFT);
    EXPECT_EQ(At(0), Handle(1, 0, 0));
    const struct {
        std::uintptr_t plain;
        std::intptr_t ctrl;
        ULONG modifiers;
        double x;
    } rows[] = {{~std::uintptr_t{0}, 0, 0, 1}, // the plain step is unsigned
                {0, -250, KWMOD_CTRL, 0.25},   // the other is not
                {0, 1'000'000, KWMOD_CTRL, 1},
                {0, std::numeric_limits<LONG>::min(), KWMOD_CTRL, 0}};
    for (const auto& row : rows) {
        Message(2066, row.plain, row.ctrl);
        Replace(0, tPlacementHandle{});
        Key(KWKEY_RIGHT, row.modifiers);
        EXPECT_EQ(At(0).x, row.x);
    }
    Replace(0, tPlacementHandle{});
    Key(KWKEY_DOWN);
    EXPECT_DOUBLE_EQ(At(0).y, 0.51);
    Key(KWKEY_UP, KWMOD_CTRL);
    EXPECT_DOUBLE_EQ(At(0).y, 0.41);
}

TEST_F(Placement, TabStopsAtSelectableHandles) {
    for (ULONG selectable : {0u, 1u, 2u, 1u, 0u}) Add(Handle(0.1, 0.1, 1, selectable));
    Message(2065, 0);
    owner.Log();
    const struct {
        ULONG modifiers;
        HRESULT result;
        LONG current;
    } rows[] = {{0, S_OK, 2},           {0, S_OK, 4},           {0, S_FALSE, 4}, // leaves the control
                {KWMOD_SHIFT, S_OK, 2}, {KWMOD_SHIFT, S_OK, 0}, {KWMOD_SHIFT, S_FALSE, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(Key(KWKEY_TAB, row.modifiers), row.result);
        EXPECT_EQ(Message(2054), row.current);
        EXPECT_EQ(owner.Log(), row.result == S_OK ? "2102 changed " : "");
        EXPECT_EQ(owner.notices.back().index, row.current);
    }
    Send(KWEVENT_PRESS, 58, 108);
    owner.Log();
    EXPECT_EQ(Key(KWKEY_TAB), S_OK); // a drag keeps the focus and its handle
    EXPECT_EQ(owner.Log(), "");
    EXPECT_EQ(Message(2054), 0);
}

TEST_F(Placement, CountsStayWithinTheirLimits) {
    const struct {
        UINT message;
        std::uintptr_t count;
        LONG length;
    } rows[] = {{2064, 5, 5},
                {2061, 3, 3},
                {2064, 9, 3},
                {2062, 2, 3},
                {2064, 0, 2},
                {2061, 10, 2},
                {2062, 6, 6},
                {2061, 4, 4}, // the greatest prevails
                {2064, 0, 4},
                {2062, 0, 4},
                {2061, 0, 0},
                {2064, 7, 0},
                {2061, ~std::uintptr_t{0}, 0}, // -1
                {2061, 0xFFFFFFFF, 0},
                {2064, 0x7FFFFFFF, 1000},
                {2062, ~std::uintptr_t{0} >> 1, 1000},
                {2064, 1, 1000},
                {2061, 1, 1}};
    for (const auto& row : rows) {
        EXPECT_EQ(Message(row.message, row.count), 0);
        EXPECT_EQ(Message(2050), row.length) << row.message << ' ' << row.count;
        EXPECT_LE(Message(2054), std::max(row.length - 1, 0));
    }
    EXPECT_TRUE(owner.notices.empty());
}

TEST_F(Placement, RemovingKeepsTheCurrentHandle) {
    const struct {
        LONG current, removed, then;
    } rows[] = {{2, 0, 1}, {2, 1, 1}, {0, 2, 0}, {1, 1, 1}, {2, 2, 1}, {2, 3, 2}, {0, -1, 0}};
    for (const auto& row : rows) {
        Message(2064, 1);
        for (double x : {0.1, 0.2}) Add(Handle(x, 0));
        Message(2065, row.current);
        Message(2059, row.removed);
        EXPECT_EQ(Message(2054), row.then) << row.current << ' ' << row.removed;
        EXPECT_EQ(Message(2050), row.removed < 0 || row.removed > 2 ? 3 : 2);
        Message(2064, 0);
        Message(2064, 1);
    }
    Message(2062, 1);
    Message(2059, 0);
    EXPECT_EQ(Message(2050), 1);
}

TEST_F(Placement, CurrentHandleIsSetByGoodIndicesOnly) {
    Add(tPlacementHandle{});
    Message(2065, 1);
    owner.Log();
    for (std::uintptr_t bad : {std::uintptr_t{2}, std::uintptr_t{0x100000000}, ~std::uintptr_t{0}}) Message(2065, bad);
    EXPECT_EQ(Message(2054), 1);
    EXPECT_EQ(owner.Log(), "");
}

TEST_F(Placement, EmptyListIsQuiet) {
    Message(2061, 0);
    owner.Log();
    EXPECT_EQ(Key(KWKEY_LEFT), S_FALSE);
    EXPECT_EQ(Key(KWKEY_TAB), S_FALSE);
    Send(KWEVENT_PRESS, 58, 108);
    Send(KWEVENT_DOUBLE_PRESS, 58, 108);
    EXPECT_EQ(owner.Log(), "focus focus ");
    Message(2061, 5);
    Message(WM_COMMAND, 2151);
    EXPECT_EQ(Message(2050), 1);
}

TEST_F(Placement, ResetLeavesOneHandleInTheMiddle) {
    for (int i = 0; i < 3; ++i) Add(Handle(0.1, 0.1));
    Replace(0, Handle(0, 0));
    Message(2065, 2);
    owner.Log();
    EXPECT_EQ(Send(KWEVENT_RIGHT_PRESS, 20, 30), S_OK);
    EXPECT_EQ(owner.Log(), "menu20,30 ");
    tPageMenuItem item{};
    EXPECT_EQ(control.MenuItem(0, item), S_OK);
    EXPECT_EQ(item.id, 2151);
    EXPECT_EQ(item.parent, -1);
    EXPECT_STREQ(item.text, "Reset");
    EXPECT_EQ(control.MenuItem(1, item), E_INVALIDARG);
    EXPECT_EQ(control.MenuItem(-1, item), E_INVALIDARG);
    Message(WM_COMMAND, item.id);
    EXPECT_EQ(owner.Log(), "2103 changed settled ");
    EXPECT_EQ(Message(2050), 1);
    EXPECT_EQ(Message(2054), 0);
    EXPECT_EQ(At(0), tPlacementHandle{});
    Message(WM_COMMAND, 2152);
    EXPECT_EQ(owner.Log(), "");
    Send(KWEVENT_PRESS, 58, 108);
    owner.Log();
    Message(WM_COMMAND, 2151);
    EXPECT_EQ(owner.Log(), "capture0 2103 changed settled ");
}

TEST_F(Placement, StyleBitAsksForTheRightPress) {
    Owner other;
    CPlacement styled(other, kId, 2);
    EXPECT_EQ(styled.Event({KWEVENT_RIGHT_PRESS, 1, 2, 0, 0, 0, nullptr}), S_OK);
    EXPECT_EQ(other.Log(), "2107 ");
    tPageMenuItem item{};
    EXPECT_EQ(styled.MenuItem(0, item), E_INVALIDARG);
    CPlacement plain(other, kId, ~2u);
    plain.Event({KWEVENT_RIGHT_PRESS, 1, 2, 0, 0, 0, nullptr});
    EXPECT_EQ(other.Log(), "menu1,2 ");
}

TEST_F(Placement, DragEndsWithItsHandle) {
    const struct {
        UINT message;
        std::uintptr_t wParam;
        bool ends;
    } rows[] = {{2059, 1, true}, {2059, 0, false}, {2059, 2, false}, {2061, 1, true}, {2061, 2, false},
                {2064, 1, true}, {2064, 2, false}, {2065, 0, true},  {2065, 1, false}};
    for (const auto& row : rows) {
        Message(2061, 1000);
        Message(2064, 0);
        for (double x : {0.1, 0.5, 0.9}) Add(Handle(x, 0.5));
        Send(KWEVENT_PRESS, 58, 108);
        ASSERT_EQ(Message(2054), 1);
        owner.Log();
        Message(row.message, row.wParam);
        EXPECT_EQ(owner.Log(), row.ends ? "capture0 settled changed " : "changed ") << row.message << ' ' << row.wParam;
        EXPECT_EQ(Detail().tracking, !row.ends);
        Send(KWEVENT_MOVE, 68, 108, 1);
        Send(KWEVENT_RELEASE);
    }
}

// A page writes the record that it was told back into the control, and may empty the list.
TEST_F(Placement, OwnerMaySendMessagesFromWithin) {
    owner.answer = [](CPageControl& from, const tPlacementNotice& notice) {
        tPlacementHandle handle = notice.after;
        handle.x = static_cast<float>(handle.x);
        from.Message(2052, notice.index, reinterpret_cast<std::intptr_t>(&handle));
    };
    Send(KWEVENT_PRESS, 58, 108);
    for (LONG x = 58; x <= 68; ++x) Send(KWEVENT_MOVE, x, 108, 1);
    EXPECT_EQ(At(0).x, 0.6f);
    EXPECT_TRUE(Detail().tracking);
    owner.answer = [](CPageControl& from, const tPlacementNotice&) { from.Message(2064, 0, 0); };
    Send(KWEVENT_MOVE, 70, 108, 1);
    EXPECT_FALSE(Detail().tracking);
    Message(2064, 1);
    Send(KWEVENT_PRESS, 58, 108); // the handle goes within the notification
    EXPECT_FALSE(Detail().tracking);
    owner.answer = nullptr;
    Message(2064, 1);
    Send(KWEVENT_PRESS, 58, 108);
    owner.Log();
    owner.answer = [](CPageControl& from, const tPlacementNotice&) { from.Message(2064, 0, 0); };
    Send(KWEVENT_RELEASE);
    EXPECT_EQ(owner.Log(), "2102 capture0 settled changed "); // let go once
    for (int i = 0; i < 4; ++i) {
        Message(2064, 3);
        Message(2065, 2);
        Send(KWEVENT_PRESS, 58, 108);
        Send(KWEVENT_RELEASE);
        Message(2064, 3);
        Key(KWKEY_LEFT);
        Send(KWEVENT_DOUBLE_PRESS, 20 + i, 20);
    }
    EXPECT_EQ(Message(2050), 0);
}

TEST_F(Placement, WordsAreKept) {
    ULONG words[3] = {1, 2, 0xFFFFFFFF}, out[3] = {};
    EXPECT_EQ(Message(2069, 0, words), 0);
    EXPECT_EQ(Message(2068, 0, out), 0);
    EXPECT_TRUE(std::equal(words, words + 3, out));
    ULONG word = 0;
    EXPECT_EQ(Message(2079, 0xABCDEF01), 1);
    EXPECT_EQ(Message(2078, reinterpret_cast<std::uintptr_t>(&word)), 1);
    EXPECT_EQ(word, 0xABCDEF01);
}

TEST_F(Placement, EveryMessageTakesNullPointers) {
    for (UINT message = 2048; message < 2080; ++message) {
        const auto result = Message(message);
        EXPECT_EQ(result, message == 2050 || message == 2079 ? 1 : 0) << message;
    }
    Message(2063);
    EXPECT_EQ(control.Detail(nullptr, 100), E_POINTER);
    LONG area[2] = {-1, -1};
    EXPECT_EQ(control.Detail(area, 4), S_OK);
    EXPECT_EQ(area[0], 8);
    EXPECT_EQ(area[1], -1);
    EXPECT_EQ(Send(KWEVENT_WHEEL, 58, 108, 120), S_FALSE);
    EXPECT_EQ(Send(-1), S_FALSE);
}

TEST_F(Placement, WithstandsRandomEventsAndMessages) {
    std::mt19937 engine(20);
    const auto random = [&] { return static_cast<ULONG>(engine()); };
    const auto pick = [&]<class T>(std::initializer_list<T> from) { return from.begin()[random() % from.size()]; };
    const auto number = [&]() -> LONG {
        switch (random() % 8) {
        case 0:
            return static_cast<LONG>(random());
        case 1:
            return pick({INT32_MIN, INT32_MAX, -1});
        default:
            return static_cast<LONG>(random() % 220);
        }
    };
    const auto share = [&]() -> double {
        return pick({random() / 4294967296.0, 0.0, 1.0, kNaN, kInfinity, -1e300, 1.5, 5e-324});
    };
    for (int i = 0; i < 30000; ++i) {
        tPlacementHandle handle = Handle(share(), share(), random() % 2, random() % 2, random());
        ULONG words[3]{};
        const UINT message = 2048 + random() % 32;
        switch (random() % 3) {
        case 0:
            Message(message, message == 2078 ? reinterpret_cast<std::uintptr_t>(words) : number(),
                    message == 2068 || message == 2069 ? static_cast<void*>(words) : &handle);
            break;
        default:
            if (random() % 20 == 0) Message(2061, 1000);
            Send(static_cast<LONG>(random() % 20), number(), number(),
                 random() % 2 ? number() : static_cast<LONG>(9 + random() % 32), random());
            break;
        }
        const tPlacementDetail detail = Detail();
        ASSERT_LE(detail.count, 1000);
        ASSERT_GE(detail.selected, 0);
        ASSERT_TRUE(detail.selected < detail.count || (detail.selected == 0 && !detail.tracking));
        if (detail.count == 0) continue;
        handle = At(detail.selected);
        ASSERT_LE(std::abs(handle.x), 1000);
        ASSERT_LE(std::abs(handle.y), 1000);
    }
}

} // namespace
