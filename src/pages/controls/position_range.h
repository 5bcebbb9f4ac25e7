// What trackbar and spinner share: a range with a position and a default position, its messages, and scroll codes.
#pragma once

#include "pages/controls/control.h"

enum tPositionMessage : UINT {
    KWPOS_GET = 1546,
    KWPOS_GET_MIN = 1547,
    KWPOS_GET_MAX = 1548,
    KWPOS_SET_RANGE = 1549, ///< signed words: low word minimum, high word maximum
    KWPOS_SET_MIN = 1550,
    KWPOS_SET_MAX = 1551,
    KWPOS_SET = 1552,
    KWPOS_SET_DEFAULT = 1553,
};

/// Low word of WM_HSCROLL's wParam; the high word holds the low 16 bits of the position.
enum tScrollCode : LONG {
    KWSCROLL_LINE_UP = 0,
    KWSCROLL_LINE_DOWN = 1,
    KWSCROLL_PAGE_UP = 2,
    KWSCROLL_PAGE_DOWN = 3,
    KWSCROLL_POSITION = 4, ///< 4 and 5: the control has moved already
    KWSCROLL_TRACK = 5,
    KWSCROLL_TOP = 6,
    KWSCROLL_BOTTOM = 7,
    KWSCROLL_END = 8,
    KWSCROLL_FOCUS = 9, ///< a spinner's edit took the focus
};

/// Any 32-bit ends; where the minimum is above the maximum, the smaller end counts as the low one. The default
/// position is always within; the position only from its next setting on.
struct tPositionRange {
    LONG min = 0, max = 100, defaultPos = 50, pos = 0;

    LONG Low() const { return std::min(min, max); }
    LONG High() const { return std::max(min, max); }
    LONG Clamp(std::int64_t value) const { return static_cast<LONG>(std::clamp<std::int64_t>(value, Low(), High())); }
    /// Resets the default position too: 0 where both signs occur, else the middle.
    void SetRange(LONG newMin, LONG newMax);

    friend bool operator==(const tPositionRange&, const tPositionRange&) = default;
};

/// Where scroll code `code` leads from `pos`, within the range. A large step of 0 stands for a tenth of the range, at
/// least 1; Ctrl makes it ten times as large; `reversed` lets codes 0, 2 and 6 lead up. Other codes leave `pos`.
LONG StepPosition(LONG code, LONG pos, LONG min, LONG max, std::int64_t smallStep, LONG largeStep, bool ctrl,
                  bool reversed);

class CPositionControl : public CPageControl {
  public:
    using CPageControl::CPageControl;

    std::intptr_t Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) override;
    void Describe(tPageControl& out) const override;

    const tPositionRange& Range() const { return m_range; }
    /// Whether Ctrl was held in the event that sent the last scroll code.
    bool CtrlHeld() const { return m_ctrl; }
    /// How many small steps the last scroll code stands for: the notches of a wheel.
    LONG Steps() const { return m_steps; }
    virtual bool Reversed() const { return false; }

  protected:
    static constexpr LONG kRepeatTimer = 1;
    static constexpr LONG kRepeatDelay = 300; ///< milliseconds before the first repeat: a click is one step
    static constexpr LONG kRepeatPeriod = 100;

    /// The range, the default or the position is another than `before`.
    virtual void Updated(const tPositionRange& before) = 0;

    /// Sets the position, clamped; false where it stays.
    bool MoveTo(std::int64_t pos);
    /// WM_HSCROLL with the control at `lParam`; after the last code of what the user does, the toolkit is told too.
    void Scroll(LONG code, LONG steps = 1);
    void HoldCtrl(const tPageEvent& event) { m_ctrl = (event.modifiers & KWMOD_CTRL) != 0; }
    /// Whole notches of a wheel's delta, in 1/120; the rest waits for more of the same direction.
    LONG Notches(LONG delta);
    /// Runs the repeat timer every `milliseconds`; 0 stops it.
    void SetRepeat(LONG milliseconds);
    LONG Repeat() const { return m_repeat; }

  private:
    tPositionRange m_range;
    bool m_ctrl = false;
    LONG m_steps = 1;
    LONG m_rest = 0; ///< of the wheel, -119 to 119
    LONG m_repeat = 0;
};

/// Moves a control by a scroll code, as pages do on WM_HSCROLL. The new position.
LONG TrackbarScroll(LONG code, CPositionControl& control, LONG smallStep, LONG largeStep);
