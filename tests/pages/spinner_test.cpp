#include "pages/controls/spinner.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "pages/position_owner.h"

namespace {

class COwner final : public CRecordingOwner {};

/// 4 to 800 at 72, drawn 16 by 20 pixels.
class CSpin {
  public:
    COwner owner;
    CSpinner spin{owner, 1307, 1306};

    CSpin() {
        spin.Message(KWPOS_SET_MIN, 0, 4);
        spin.Message(KWPOS_SET_MAX, 0, 800);
        spin.Message(KWPOS_SET, 1, 72);
        Send(KWEVENT_SIZE, 16, 20);
        owner.Take();
    }
    HRESULT Send(LONG kind, LONG x = 0, LONG y = 0, LONG value = 0) {
        return spin.Event({kind, x, y, value, 0, 0, nullptr});
    }
    HRESULT Key(LONG kind, LONG key, ULONG modifiers = 0) {
        return spin.BuddyKey({kind, 0, 0, key, modifiers, 0, nullptr});
    }
    LONG Pressed() const {
        tTrackbarDetail detail{};
        spin.Detail(&detail, sizeof detail);
        return detail.pressed;
    }
};

TEST(Spinner, ShowsRangeAndParts) {
    CSpin t;
    tPageControl shown{};
    t.spin.Describe(shown);
    EXPECT_EQ(shown.value, 72);
    EXPECT_EQ(shown.minimum, 4);
    EXPECT_EQ(shown.maximum, 800);
    EXPECT_EQ(shown.mark, 402);
    EXPECT_EQ(shown.buddy, 1306);
    tTrackbarDetail detail{};
    EXPECT_EQ(t.spin.Detail(&detail, sizeof detail), S_OK);
    EXPECT_EQ(detail.up, (RECT{0, 0, 16, 10}));
    EXPECT_EQ(detail.down, (RECT{0, 10, 16, 20}));
    EXPECT_EQ(t.spin.Message(KWPOS_SET, 1, 900), 800);
    EXPECT_EQ(t.spin.Message(1566, 1, 900), 0);
}

TEST(Spinner, ButtonsRepeat) {
    struct {
        LONG y, pressed;
        const char *press, *timer;
    } const kCases[] = {{0, 1, "capture timer 4:73", "timer 4:74"}, {10, 2, "capture timer 4:71", "timer 4:70"}};
    for (const auto& c : kCases) {
        CSpin t;
        EXPECT_EQ(t.Send(KWEVENT_TIMER, 0, 0, 1), S_FALSE);
        EXPECT_EQ(t.Send(KWEVENT_PRESS, 3, c.y), S_OK);
        EXPECT_EQ(t.owner.Take(), c.press);
        EXPECT_EQ(t.Pressed(), c.pressed);
        t.Send(KWEVENT_TIMER, 0, 0, 1);
        EXPECT_EQ(t.owner.Take(), c.timer);
        t.Send(KWEVENT_MOVE, 30, c.y); // off the button: it waits
        EXPECT_EQ(t.Pressed(), 0);
        t.Send(KWEVENT_TIMER, 0, 0, 1);
        EXPECT_EQ(t.owner.Take(), "");
        t.Send(KWEVENT_MOVE, 3, c.y);
        EXPECT_EQ(t.Pressed(), c.pressed);
        t.Send(KWEVENT_RELEASE);
        EXPECT_EQ(t.owner.Take().substr(0, 13), "still free 8:");
        EXPECT_EQ(t.Send(KWEVENT_RELEASE), S_FALSE);
    }
    CSpin t;
    EXPECT_EQ(t.Send(KWEVENT_PRESS, 16, 0), S_FALSE);
    t.Send(KWEVENT_SIZE, -4, 0);
    EXPECT_EQ(t.Send(KWEVENT_PRESS, 0, 0), S_FALSE);
}

TEST(Spinner, KeysOfTheEdit) {
    struct {
        LONG key;
        ULONG modifiers;
        const char* log; ///< null: stays the edit's
    } const kCases[] = {
        {KWKEY_UP, 0, "4:73"},
        {KWKEY_DOWN, 0, "4:71"},
        {KWKEY_PAGE_UP, 0, "4:152"},
        {KWKEY_PAGE_DOWN, 0, "4:4"},
        {KWKEY_PAGE_UP, KWMOD_CTRL, "4:800"},
        {KWKEY_HOME, KWMOD_CTRL, "4:4"},
        {KWKEY_END, KWMOD_CTRL, "4:800"},
        {KWKEY_HOME, 0, nullptr},
        {KWKEY_END, KWMOD_SHIFT, nullptr},
        {KWKEY_LEFT, KWMOD_CTRL, nullptr},
        {KWKEY_RETURN, 0, nullptr},
        {0, 0, nullptr},
    };
    for (const auto& c : kCases) {
        CSpin t;
        EXPECT_EQ(t.Key(KWEVENT_KEY, c.key, c.modifiers), c.log ? S_OK : S_FALSE) << c.key;
        EXPECT_EQ(t.owner.Take(), c.log ? c.log : "") << c.key;
        EXPECT_EQ(t.Key(KWEVENT_KEY_UP, c.key, 0), c.log ? S_OK : S_FALSE) << "Ctrl comes up first";
        EXPECT_EQ(t.owner.Take().substr(0, 2), c.log ? "8:" : "");
    }
    CSpin t;
    t.spin.BuddyFocus(true);
    t.spin.BuddyFocus(false);
    EXPECT_EQ(t.owner.Take(), "9:72 8:72 settled");
    t.Send(KWEVENT_WHEEL, 0, 0, 240);
    t.Send(KWEVENT_WHEEL, 0, 0, -120);
    EXPECT_EQ(t.owner.Take(), "4:74 8:74 settled 4:73 8:73 settled");
    t.spin.Message(KWPOS_SET, 1, 800);
    t.Key(KWEVENT_KEY, KWKEY_UP);
    EXPECT_EQ(t.owner.Take(), "") << "at its end";
}

TEST(Spinner, RandomEvents) {
    std::mt19937 engine(9);
    const auto random = [&] { return static_cast<ULONG>(engine()); };
    for (int run = 0; run < 40; ++run) {
        CSpin t;
        const auto any = [&] {
            return random() % 3 ? static_cast<LONG>(random() % 60) - 10 : static_cast<LONG>(random());
        };
        for (int i = 0; i < 500; ++i) {
            if (random() % 8 == 0)
                t.spin.Message(1545 + random() % 10, random() % 2,
                               static_cast<std::intptr_t>(any()) << (random() % 32));
            else
                t.spin.Event({static_cast<LONG>(random() % 20) - 1, any(), any(), any(), random() % 4, any(), nullptr});
            const tPositionRange& range = t.spin.Range();
            ASSERT_EQ(range.defaultPos, range.Clamp(range.defaultPos));
            t.owner.Take();
        }
        t.Send(KWEVENT_CANCEL);
        EXPECT_EQ(t.Send(KWEVENT_TIMER, 0, 0, 1), S_FALSE);
        EXPECT_EQ(t.Pressed(), 0);
    }
}

} // namespace
