#include "pages/controls/trackbar.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "pages/position_owner.h"

namespace {

constexpr LONG kMin = std::numeric_limits<LONG>::min();
constexpr LONG kMax = std::numeric_limits<LONG>::max();
constexpr std::intptr_t kWideMin = std::numeric_limits<std::intptr_t>::min();
constexpr std::intptr_t kWideMax = std::numeric_limits<std::intptr_t>::max();

class COwner final : public CRecordingOwner {
  public:
    tTrackbarKey key{};

  private:
    void OnOther(UINT message, std::intptr_t lParam) override {
        if (message == WM_NOTIFY) key = *reinterpret_cast<tTrackbarKey*>(lParam);
    }
};

constexpr std::intptr_t Words(LONG low, LONG high) {
    return static_cast<std::intptr_t>((low & 0xFFFF) | static_cast<std::int64_t>(high & 0xFFFF) << 16);
}

/// A bar of 211 by 20 pixels from 0 to 100: two pixels a position, the thumb 11 wide.
class CBar {
  public:
    COwner owner;
    CTrackbar bar;

    explicit CBar(ULONG style = 0) : bar(owner, 7, style) {
        Send(KWEVENT_SIZE, 211, 20);
        Send(KWEVENT_FOCUS);
        bar.Message(KWPOS_SET, 1, 50);
        owner.Take();
        owner.TakeChanges();
    }
    HRESULT Send(LONG kind, LONG x = 0, LONG value = 0, ULONG modifiers = 0) {
        return kind == KWEVENT_SIZE ? bar.Event({kind, x, value, 0, 0, 0, nullptr})
                                    : bar.Event({kind, x, 5, value, modifiers, 0, nullptr});
    }
    LONG Pos() { return static_cast<LONG>(bar.Message(KWPOS_GET, 0, 0)); }
    tTrackbarDetail Detail() const {
        tTrackbarDetail detail{};
        EXPECT_EQ(bar.Detail(&detail, sizeof detail), S_OK);
        return detail;
    }
    LONG Centre() const { return Detail().thumb.left + (Detail().thumb.right - Detail().thumb.left) / 2; }
};

TEST(Trackbar, DefaultOfARange) {
    struct {
        LONG min, max, expected;
    } const kCases[] = {{0, 1000, 500},     {-100, 100, 0},     {-100, 0, -100},        {-100, -1, -50}, {-7, -2, -4},
                        {0, 0, 0},          {3, 4, 3},          {kMin, kMax, 0},        {-1, 0, -1},     {5, -3, 1},
                        {kMin, kMin, kMin}, {kMax, kMax, kMax}, {kMin, -1, -1073741824}};
    for (const auto& c : kCases) {
        CBar t;
        EXPECT_EQ(t.bar.Message(KWPOS_SET_MIN, 0, c.min), 0);
        EXPECT_EQ(t.bar.Message(KWPOS_SET_MAX, 0, c.max), 0);
        EXPECT_EQ(t.bar.Range().defaultPos, c.expected) << c.min << " " << c.max;
        EXPECT_EQ(t.Pos(), 50) << "a new range leaves the position";
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

TEST(Trackbar, Messages) {
    CBar t;
    struct {
        UINT message;
        std::uintptr_t wParam;
        std::intptr_t lParam, result;
        LONG min, max, defaultPos, pos;
        int changes;
    } const kCases[] = {
        {1546, 0, 0, 50, 0, 100, 50, 50, 0},
        {1549, 0, Words(-100, 300), 0, -100, 300, 0, 50, 1},
        {1547, 0, 0, -100, -100, 300, 0, 50, 0},
        {1548, 0, 0, 300, -100, 300, 0, 50, 0},
        {1549, 0, Words(100, 1000), 0, 100, 1000, 550, 50, 1},
        {1546, 0, 0, 50, 100, 1000, 550, 50, 0}, // outside, till it is set
        {1552, 1, 60, 100, 100, 1000, 550, 100, 0},
        {1552, 1, 101, 101, 100, 1000, 550, 101, 0}, // the same pixel
        {1552, 0, 102, 102, 100, 1000, 550, 102, 1}, // as a drag
        {1552, 1, 5000, 1000, 100, 1000, 550, 1000, 1},
        {1552, 0, kWideMin, 100, 100, 1000, 550, 100, 1},
        {1552, 1, kWideMax, 1000, 100, 1000, 550, 1000, 1},
        {1553, 0, 700, 700, 100, 1000, 700, 1000, 1},
        {1553, 0, kWideMax, 1000, 100, 1000, 1000, 1000, 1},
        {1553, 0, kWideMin, 100, 100, 1000, 100, 1000, 1},
        {1550, 0, -10, 0, -10, 1000, 0, 1000, 1},
        {1551, 0, 0, 0, -10, 0, -10, 1000, 1},
        {1550, 0, kWideMin, 0, kMin, 0, kMin, 1000, 1},
        {1551, 0, kWideMax, 0, kMin, kMax, 0, 1000, 1},
        {1552, 1, kWideMin, kMin, kMin, kMax, 0, kMin, 1},
        {1566, 0, Words(0xFFFF, 40), 0, kMin, kMax, 0, kMin, 1},
        {1545, 1, 1, 0, kMin, kMax, 0, kMin, 0},
        {1554, 1, 1, 0, kMin, kMax, 0, kMin, 0},
        {0, 1, 1, 0, kMin, kMax, 0, kMin, 0},
        {0xFFFFFFFF, 1, 1, 0, kMin, kMax, 0, kMin, 0},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(testing::Message() << c.message << " " << c.wParam << " " << c.lParam);
        EXPECT_EQ(t.bar.Message(c.message, c.wParam, c.lParam), c.result);
        tPageControl shown{};
        t.bar.Describe(shown);
        EXPECT_EQ(shown.minimum, c.min);
        EXPECT_EQ(shown.maximum, c.max);
        EXPECT_EQ(shown.mark, c.defaultPos);
        EXPECT_EQ(shown.value, c.pos);
        EXPECT_EQ(t.owner.TakeChanges(), c.changes);
        EXPECT_EQ(t.owner.Take(), "");
    }
    EXPECT_EQ(t.Detail().thumb.right - t.Detail().thumb.left, 21) << "by the layout message";
}

TEST(Trackbar, StylesAndWords) {
    CBar t;
    for (const auto& [message, bit] : {std::pair{1567u, 1u << 9}, {1568u, 1u << 10}}) {
        EXPECT_EQ(t.bar.Message(message, 0, 3), 1);
        EXPECT_EQ(t.bar.Style(), bit);
        EXPECT_EQ(t.owner.TakeChanges(), 0);
        EXPECT_EQ(t.bar.Message(message, 1, 2), 0);
        EXPECT_EQ(t.bar.Style(), 0u);
        EXPECT_EQ(t.owner.TakeChanges(), 1);
    }
    t.bar.Message(1575, 0, kWideMin);
    t.bar.Message(1577, 0, 12);
    EXPECT_EQ(t.bar.Message(1576, 0, 0), kWideMin);
    EXPECT_EQ(t.bar.Message(1578, 0, 0), 12);
    for (const auto& [max, bit] : {std::pair{19, KWTBS_DISCRETE}, {20, tTrackbarStyle{}}, {0, KWTBS_DISCRETE}}) {
        t.bar.Message(KWPOS_SET_MAX, 0, max);
        EXPECT_EQ(t.bar.Style(), ULONG{bit}) << max;
    }
    tTrackbarDetail half{};
    half.markX = -5;
    EXPECT_EQ(t.bar.Detail(&half, sizeof half.channel), S_OK);
    EXPECT_EQ(half.markX, -5);
    EXPECT_EQ(t.bar.Detail(nullptr, 0), E_POINTER);
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
        CBar t;
        t.Send(KWEVENT_SIZE, c.width, c.height);
        t.bar.Message(KWPOS_SET_MIN, 0, c.min);
        t.bar.Message(KWPOS_SET_MAX, 0, c.max);
        t.bar.Message(KWPOS_SET, 1, c.pos);
        EXPECT_EQ(t.Centre(), c.centre) << c.width << " by " << c.height << " at " << c.pos;
        EXPECT_EQ(t.Detail().thumb.right - t.Detail().thumb.left, c.thumb);
    }
}

TEST(Trackbar, Drag) {
    CBar t;
    EXPECT_EQ(t.Send(KWEVENT_MOVE, 100), S_FALSE);
    EXPECT_EQ(t.Send(KWEVENT_PRESS, 108), S_OK); // 3 pixels right of the centre
    EXPECT_TRUE(t.Detail().tracking);
    t.Send(KWEVENT_MOVE, 108);
    EXPECT_EQ(t.owner.Take(), "capture");
    t.Send(KWEVENT_MOVE, 110);
    t.Send(KWEVENT_MOVE, 110);
    EXPECT_EQ(t.Send(KWEVENT_KEY, 0, KWKEY_HOME), S_OK) << "no keys while dragging";
    EXPECT_EQ(t.Send(KWEVENT_WHEEL, 0, 120), S_OK);
    EXPECT_EQ(t.owner.Take(), "5:51");
    t.Send(KWEVENT_MOVE, kMax);
    t.Send(KWEVENT_MOVE, kMin);
    t.Send(KWEVENT_RELEASE, 0);
    EXPECT_EQ(t.owner.Take(), "5:100 5:0 free 8:0 settled");
    EXPECT_EQ(t.owner.words.back(), 8u);
    EXPECT_FALSE(t.Detail().tracking);
    EXPECT_EQ(t.Send(KWEVENT_RELEASE, 0), S_FALSE);
    EXPECT_EQ(t.Send(KWEVENT_CANCEL, 0), S_FALSE);

    t.Send(KWEVENT_PRESS, 5);
    t.Send(KWEVENT_MOVE, 25);
    t.Send(KWEVENT_CANCEL);
    EXPECT_EQ(t.owner.Take(), "capture 5:10 free 8:10 settled");
    EXPECT_EQ(t.owner.words.back(), 10u << 16 | 8u);

    t.Send(KWEVENT_PRESS, 25);
    t.Send(KWEVENT_MOVE, 95);
    EXPECT_EQ(t.Send(KWEVENT_KEY, 0, KWKEY_ESCAPE), S_OK);
    EXPECT_EQ(t.owner.Take(), "capture 5:45 5:10 free 8:10 settled");
    EXPECT_EQ(t.Send(KWEVENT_MOVE, 125), S_FALSE);
    EXPECT_EQ(t.Pos(), 10);
}

TEST(Trackbar, DragBackToItsStartKeepsPositionsFinerThanPixels) {
    CBar t;
    t.bar.Message(KWPOS_SET_MAX, 0, kMax);
    t.bar.Message(KWPOS_SET, 1, 1234567);
    t.Send(KWEVENT_PRESS, 5);
    t.Send(KWEVENT_MOVE, 50);
    EXPECT_NE(t.Pos(), 1234567);
    t.Send(KWEVENT_MOVE, 5);
    EXPECT_EQ(t.Pos(), 1234567);
}

TEST(Trackbar, DragWithoutTracking) {
    CBar t(KWTBS_NO_TRACKING | KWTBS_CLICK);
    t.Send(KWEVENT_PRESS, 105);
    EXPECT_EQ(t.owner.last.message, WM_COMMAND);
    EXPECT_EQ(t.owner.last.wParam, 7u | 3u << 16);
    t.Send(KWEVENT_MOVE, 125);
    EXPECT_EQ(t.owner.Take(), "capture");
    EXPECT_EQ(t.Pos(), 60);
    t.Send(KWEVENT_RELEASE);
    EXPECT_EQ(t.owner.Take(), "free 4:60 8:60 settled");
    t.Send(KWEVENT_PRESS, 125);
    t.Send(KWEVENT_MOVE, 15);
    t.Send(KWEVENT_KEY, 0, KWKEY_ESCAPE);
    EXPECT_EQ(t.owner.Take(), "capture free 8:60 settled");
}

TEST(Trackbar, DoublePress) {
    CBar t;
    t.bar.Message(KWPOS_SET_DEFAULT, 0, 30);
    t.Send(KWEVENT_DOUBLE_PRESS, 105);
    EXPECT_EQ(t.owner.Take(), "4:30 8:30 settled");
    EXPECT_EQ(t.Send(KWEVENT_RELEASE), S_FALSE);
    t.Send(KWEVENT_DOUBLE_PRESS, 205); // beside the thumb: as a press
    EXPECT_EQ(t.owner.Take(), "capture timer 3:40");
}

TEST(Trackbar, PageStepsRunToThePointer) {
    for (const ULONG style : {0u, ULONG{KWTBS_REVERSED}}) {
        const std::string up = style ? "2:" : "3:", down = style ? "3:" : "2:";
        CBar t(style);
        EXPECT_EQ(t.Send(KWEVENT_TIMER, 0, 1), S_FALSE);
        t.Send(KWEVENT_PRESS, 5 + 2 * 75);
        EXPECT_EQ(t.owner.Take(), "capture timer " + up + "60");
        EXPECT_EQ(t.Send(KWEVENT_TIMER, 0, 2), S_FALSE);
        t.Send(KWEVENT_TIMER, 0, 1);
        t.Send(KWEVENT_TIMER, 0, 1);
        EXPECT_EQ(t.owner.Take(), "timer " + up + "70 " + up + "80 still");
        EXPECT_EQ(t.Send(KWEVENT_TIMER, 0, 1), S_FALSE);
        t.Send(KWEVENT_MOVE, 300); // further the same way: on
        t.Send(KWEVENT_TIMER, 0, 1);
        t.Send(KWEVENT_TIMER, 0, 1);
        EXPECT_EQ(t.Send(KWEVENT_TIMER, 0, 1), S_FALSE) << "at its end";
        t.Send(KWEVENT_RELEASE);
        EXPECT_EQ(t.owner.Take(), "timer " + up + "90 " + up + "100 still free 8:100 settled");

        t.Send(KWEVENT_PRESS, 0, 0, KWMOD_CTRL);
        EXPECT_EQ(t.owner.Take(), "capture timer " + down + "0 still");
        t.Send(KWEVENT_CANCEL);
        EXPECT_EQ(t.owner.Take(), "free 8:0 settled");
    }
}

TEST(Trackbar, Wheel) {
    CBar t;
    t.owner.small = 2;
    t.Send(KWEVENT_WHEEL, 0, 60);
    EXPECT_EQ(t.owner.Take(), "");
    t.Send(KWEVENT_WHEEL, 0, 200);
    EXPECT_EQ(t.owner.Take(), "1:54 8:54 settled");
    t.Send(KWEVENT_WHEEL, 0, 99);
    EXPECT_EQ(t.owner.Take(), "");
    t.Send(KWEVENT_WHEEL, 0, -110); // what was left of the other direction is dropped
    EXPECT_EQ(t.owner.Take(), "");
    t.Send(KWEVENT_WHEEL, 0, -10);
    EXPECT_EQ(t.owner.Take(), "0:52 8:52 settled");
    t.owner.small = kMax;
    for (const LONG turn : {kMin, kMax}) t.Send(KWEVENT_WHEEL, 0, turn); // a step each, however far
    EXPECT_EQ(t.owner.Take(), "0:0 8:0 settled 1:100 8:100 settled");
    t.owner.small = 2;
    t.Send(KWEVENT_KEY, 0, KWKEY_LEFT);
    EXPECT_EQ(t.owner.Take(), "0:98");

    CBar reversed(KWTBS_REVERSED);
    reversed.Send(KWEVENT_WHEEL, 0, 120);
    EXPECT_EQ(reversed.owner.Take(), "0:51 8:51 settled");
}

TEST(Trackbar, Keys) {
    struct {
        LONG key, code, reversedCode;
    } const kCases[] = {{33, 2, 2},  {34, 3, 3}, {36, 6, 6}, {35, 7, 7},  {37, 0, 0},
                        {114, 0, 0}, {38, 1, 0}, {39, 1, 0}, {120, 1, 0}, {40, 0, 1}};
    for (const auto& c : kCases)
        for (const bool reversed : {false, true}) {
            CBar t(reversed * KWTBS_REVERSED);
            t.owner.moves = false;
            EXPECT_EQ(t.Send(KWEVENT_KEY, 0, c.key), S_OK);
            EXPECT_EQ(t.owner.Take(), std::to_string(reversed ? c.reversedCode : c.code) + ":50") << c.key;
            EXPECT_EQ(t.Send(KWEVENT_KEY_UP, 0, c.key), S_OK);
            EXPECT_EQ(t.owner.Take(), "8:50 settled");
        }
    CBar t;
    for (const LONG key : {12, 96, 105}) {
        EXPECT_EQ(t.Send(KWEVENT_KEY, 0, key), S_OK);
        EXPECT_EQ(t.Send(KWEVENT_KEY_UP, 0, key), S_OK);
    }
    EXPECT_EQ(t.owner.last.message, 0u);
    for (const LONG key : {9, 13, 27, 95, 106, 0}) {
        EXPECT_EQ(t.Send(KWEVENT_KEY, 0, key, KWMOD_SHIFT), S_FALSE);
        EXPECT_EQ(t.Send(KWEVENT_KEY_UP, 0, key), S_FALSE);
        EXPECT_EQ(t.owner.last.message, 78u);
        EXPECT_EQ(t.owner.last.wParam, 7u);
        EXPECT_EQ(t.owner.key.code, -102);
        EXPECT_EQ(t.owner.key.key, key);
        EXPECT_EQ(t.owner.key.modifiers, ULONG{KWMOD_SHIFT});
        EXPECT_EQ(t.owner.key.from, &t.bar);
    }
    EXPECT_EQ(t.owner.Take(), "");
}

TEST(Trackbar, CtrlIsThatOfTheEvent) {
    CBar t;
    t.bar.Message(KWPOS_SET_MAX, 0, 1000);
    t.owner.large = 20;
    t.Send(KWEVENT_KEY, 0, KWKEY_PAGE_DOWN, KWMOD_CTRL);
    EXPECT_EQ(t.Pos(), 250);
    t.Send(KWEVENT_KEY, 0, KWKEY_PAGE_DOWN);
    EXPECT_EQ(t.Pos(), 270);
}

TEST(Trackbar, Focus) {
    CBar t;
    t.Send(KWEVENT_FOCUS);
    EXPECT_EQ(t.owner.TakeChanges(), 0);
    t.Send(KWEVENT_BLUR);
    EXPECT_EQ(t.owner.TakeChanges(), 1);
    EXPECT_FALSE(t.bar.Focused());
    EXPECT_EQ(t.owner.Take(), "");
    t.Send(KWEVENT_PRESS, 105);
    EXPECT_EQ(t.owner.Take(), "focus capture");
    t.Send(KWEVENT_RELEASE);
    t.Send(KWEVENT_FOCUS);
    t.Send(KWEVENT_KEY, 0, KWKEY_UP);
    t.owner.Take();
    t.Send(KWEVENT_BLUR); // with a key still down
    EXPECT_EQ(t.owner.Take(), "8:51 settled");
}

TEST(Trackbar, RandomEvents) {
    std::mt19937 engine(5);
    const auto random = [&] { return static_cast<ULONG>(engine()); };
    const LONG kOdd[] = {kMin, -1, 0, 1, 5, 119, 120, kMax - 1, kMax};
    const auto any = [&] {
        const auto r = random();
        if (r % 4 == 0) return kOdd[r / 4 % std::size(kOdd)];
        if (r % 4 == 1) return static_cast<LONG>(random());
        return static_cast<LONG>(r / 4 % 260) - 20;
    };
    const auto inside = [](const tPositionRange& r, LONG pos) { return pos >= r.Low() && pos <= r.High(); };
    for (int run = 0; run < 40; ++run) {
        CBar t(random());
        for (int i = 0; i < 500; ++i) {
            if (random() % 8 == 0) {
                const UINT message = 1545 + random() % 36;
                const std::intptr_t lParam =
                    random() % 2 ? any() : static_cast<std::intptr_t>(any()) << (random() % 32);
                t.bar.Message(message, random() % 2, lParam);
                EXPECT_TRUE(message != KWPOS_SET || inside(t.bar.Range(), t.Pos()));
            } else {
                t.bar.Event({static_cast<LONG>(random() % 20) - 1, any(), any(), any(), random() % 4, any(), nullptr});
            }
            ASSERT_TRUE(inside(t.bar.Range(), t.bar.Range().defaultPos));
            const tTrackbarDetail detail = t.Detail();
            ASSERT_LE(detail.thumb.left, detail.thumb.right);
            ASSERT_GE(detail.thumb.left, 0);
            t.owner.Take();
        }
        t.Send(KWEVENT_CANCEL);
        t.owner.Take();
        EXPECT_EQ(t.Send(KWEVENT_TIMER, 0, 1), S_FALSE) << "nothing runs on";
    }
}

} // namespace
