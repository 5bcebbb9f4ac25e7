// A pair of buttons, up and down, that counts the number in the edit beside it. It moves itself by steps of 1 and then
// sends scroll code 4; the page writes the edit.
#pragma once

#include "pages/controls/position_range.h"

class CSpinner : public CPositionControl {
  public:
    CSpinner(IControlOwner& owner, LONG id, LONG editId) : CPositionControl(owner, id), m_editId(editId) {}

    HRESULT Event(const tPageEvent& event) override;
    void Describe(tPageControl& out) const override;
    /// `tTrackbarDetail`.
    HRESULT Detail(void* out, ULONG size) const override;

    /// A key event of the edit. S_FALSE for one that stays the edit's: all but Page Up, Page Down, Up, Down, and with
    /// Ctrl, Home and End.
    HRESULT BuddyKey(const tPageEvent& event);
    /// The edit took or lost the focus.
    void BuddyFocus(bool on) { Scroll(on ? KWSCROLL_FOCUS : KWSCROLL_END); }

  private:
    void Updated(const tPositionRange&) override { Changed(); } // an arrow at its end is grey
    /// 1 up, 2 down, 0 for none.
    LONG ButtonAt(LONG x, LONG y) const;
    LONG Shown() const { return m_over ? m_pressed : 0; }
    void Step(LONG code, LONG size = 1);
    void StepPressed();
    HRESULT Press(const tPageEvent& event);
    HRESULT Release();

    const LONG m_editId;
    LONG m_width = 0, m_height = 0;
    LONG m_pressed = 0;
    bool m_over = false; ///< the pointer is on the pressed button
    LONG m_key = 0;      ///< that is down
};
