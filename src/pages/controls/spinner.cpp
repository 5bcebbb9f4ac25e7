#include "pages/controls/spinner.h"

#include <cstdlib>

HRESULT CSpinner::Event(const tPageEvent& event) {
    switch (event.kind) {
    case KWEVENT_SIZE:
        m_width = std::max(event.x, LONG{0});
        m_height = std::max(event.y, LONG{0});
        Changed();
        return S_OK;
    case KWEVENT_PRESS:
    case KWEVENT_DOUBLE_PRESS:
        return Press(event);
    case KWEVENT_MOVE: {
        if (!m_pressed) return S_FALSE;
        HoldCtrl(event);
        const LONG shown = Shown();
        m_over = ButtonAt(event.x, event.y) == m_pressed;
        if (Shown() != shown) Changed();
        return S_OK;
    }
    case KWEVENT_RELEASE:
    case KWEVENT_CANCEL:
        return Release();
    case KWEVENT_TIMER:
        if (event.value != kRepeatTimer || !Repeat()) return S_FALSE;
        SetRepeat(m_pressed ? kRepeatPeriod : 0);
        if (m_over) StepPressed();
        return S_OK;
    case KWEVENT_WHEEL: {
        if (m_pressed) return S_OK;
        HoldCtrl(event);
        const LONG notches = Notches(event.value);
        if (notches == 0) return S_OK;
        Step(notches > 0 ? KWSCROLL_LINE_DOWN : KWSCROLL_LINE_UP, std::abs(notches));
        Scroll(KWSCROLL_END);
        return S_OK;
    }
    case KWEVENT_KEY:
    case KWEVENT_KEY_UP:
        return BuddyKey(event);
    default:
        return S_FALSE;
    }
}

void CSpinner::Describe(tPageControl& out) const {
    CPositionControl::Describe(out);
    out.buddy = m_editId;
}

HRESULT CSpinner::Detail(void* out, ULONG size) const {
    tTrackbarDetail detail{};
    detail.up = {0, 0, m_width, m_height / 2};
    detail.down = {0, m_height / 2, m_width, m_height};
    detail.tracking = m_pressed != 0;
    detail.pressed = Shown();
    return Give(detail, out, size);
}

HRESULT CSpinner::BuddyKey(const tPageEvent& event) {
    LONG code = -1;
    switch (event.value) {
    case KWKEY_UP:
        code = KWSCROLL_LINE_DOWN;
        break;
    case KWKEY_DOWN:
        code = KWSCROLL_LINE_UP;
        break;
    case KWKEY_PAGE_UP:
        code = KWSCROLL_PAGE_DOWN;
        break;
    case KWKEY_PAGE_DOWN:
        code = KWSCROLL_PAGE_UP;
        break;
    case KWKEY_HOME:
        if (event.modifiers & KWMOD_CTRL) code = KWSCROLL_TOP;
        break;
    case KWKEY_END:
        if (event.modifiers & KWMOD_CTRL) code = KWSCROLL_BOTTOM;
        break;
    default:
        break;
    }
    if (event.kind == KWEVENT_KEY) {
        if (code < 0) return S_FALSE;
        m_key = event.value;
        HoldCtrl(event);
        Step(code);
        return S_OK;
    }
    // Ctrl may come up before the key that it was held for.
    if (event.kind != KWEVENT_KEY_UP || (code < 0 && (m_key == 0 || event.value != m_key))) return S_FALSE;
    m_key = 0;
    Scroll(KWSCROLL_END);
    return S_OK;
}

LONG CSpinner::ButtonAt(LONG x, LONG y) const {
    if (x < 0 || y < 0 || x >= m_width || y >= m_height) return 0;
    return y < m_height / 2 ? 1 : 2;
}

void CSpinner::Step(LONG code, LONG size) {
    const tPositionRange& range = Range();
    if (MoveTo(StepPosition(code, range.pos, range.min, range.max, size, 0, CtrlHeld(), false)))
        Scroll(KWSCROLL_POSITION);
}

void CSpinner::StepPressed() {
    if (m_pressed) Step(m_pressed == 1 ? KWSCROLL_LINE_DOWN : KWSCROLL_LINE_UP);
}

HRESULT CSpinner::Press(const tPageEvent& event) {
    Release(); // of a button whose release was lost
    m_pressed = ButtonAt(event.x, event.y);
    if (!m_pressed) return S_FALSE;
    HoldCtrl(event);
    m_over = true;
    Changed();
    Notice(KWNOTICE_CAPTURE, 1);
    if (!m_pressed) return S_OK; // let go within the notice
    SetRepeat(kRepeatDelay);
    StepPressed();
    return S_OK;
}

HRESULT CSpinner::Release() {
    if (!m_pressed) return S_FALSE;
    m_pressed = 0;
    m_over = false;
    SetRepeat(0);
    Changed();
    Notice(KWNOTICE_CAPTURE, 0);
    Scroll(KWSCROLL_END);
    return S_OK;
}
