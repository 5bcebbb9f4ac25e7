#include "pages/controls/trackbar.h"

#include <cstdlib>

namespace {

constexpr LONG kMostDiscrete = 20;
constexpr UINT kClicked = 3;
constexpr LONG kMostPixels = 0xFFFF; // keeps pixels times positions far within 64 bits

bool Swallowed(LONG key) {
    return key == KWKEY_CLEAR || (key >= KWKEY_NUMPAD0 && key < KWKEY_NUMPAD0 + 10);
}

} // namespace

CTrackbar::CTrackbar(IControlOwner& owner, LONG id, ULONG style) : CPositionControl(owner, id), m_style(style) {
    SetDiscrete();
}

std::intptr_t CTrackbar::Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (message) {
    case KWTRACK_LAYOUT:
        SetSize(static_cast<LONG>(lParam & 0xFFFF), static_cast<LONG>(lParam >> 16 & 0xFFFF));
        return 0;
    case KWTRACK_STYLE_9:
    case KWTRACK_STYLE_10: {
        const ULONG bit = message == KWTRACK_STYLE_9 ? KWTBS_BIT_9 : KWTBS_BIT_10;
        m_style = lParam & 1 ? m_style | bit : m_style & ~bit;
        if (wParam) Changed();
        return lParam & 1;
    }
    case KWTRACK_SET_WORD:
    case KWTRACK_SET_WORD_2:
        m_words[message == KWTRACK_SET_WORD_2] = lParam;
        return 0;
    case KWTRACK_GET_WORD:
    case KWTRACK_GET_WORD_2:
        return m_words[message == KWTRACK_GET_WORD_2];
    default:
        return CPositionControl::Message(message, wParam, lParam);
    }
}

HRESULT CTrackbar::Event(const tPageEvent& event) {
    switch (event.kind) {
    case KWEVENT_SIZE:
        SetSize(event.x, event.y);
        return S_OK;
    case KWEVENT_PRESS:
    case KWEVENT_DOUBLE_PRESS:
        return Press(event);
    case KWEVENT_MOVE:
        return Move(event);
    case KWEVENT_RELEASE:
    case KWEVENT_CANCEL:
        return Release();
    case KWEVENT_TIMER:
        // Ctrl is that of the press or of the last move: timers know of no keys.
        if (event.value != kRepeatTimer || !Repeat()) return S_FALSE;
        SetRepeat(m_held == tHeld::CHANNEL ? kRepeatPeriod : 0);
        StepPage();
        return S_OK;
    case KWEVENT_WHEEL:
        HoldCtrl(event);
        return Wheel(event.value);
    case KWEVENT_KEY:
        return Key(event);
    case KWEVENT_KEY_UP:
        return KeyUp(event);
    case KWEVENT_FOCUS:
    case KWEVENT_BLUR:
        return Focus(event.kind == KWEVENT_FOCUS);
    default:
        return S_FALSE;
    }
}

HRESULT CTrackbar::Detail(void* out, ULONG size) const {
    tTrackbarDetail detail{};
    if (m_width > 0 && m_height > 0) {
        // The default position's mark and the ticks stand in the lowest quarter, below the thumb.
        const LONG left = ThumbLeft(), top = m_height / 10, bottom = std::max(m_height - m_height / 4, top + 1);
        const LONG middle = (top + bottom) / 2, half = std::max(m_height / 10, 1), inset = m_thumbWidth / 2;
        detail.thumb = {left, top, left + m_thumbWidth, bottom};
        detail.channel = {inset, std::max(middle - half, 0), std::max(m_width - inset, inset + 1),
                          std::min(middle + half, m_height)};
        detail.markX = ThumbLeft(Range(), Range().defaultPos) + inset;
    }
    detail.tracking = m_held == tHeld::THUMB;
    return Give(detail, out, size);
}

void CTrackbar::Updated(const tPositionRange& before) {
    const tPositionRange& now = Range();
    const bool range = now.min != before.min || now.max != before.max;
    if (range) SetDiscrete();
    if (range || ThumbLeft(before, before.pos) != ThumbLeft() ||
        ThumbLeft(before, before.defaultPos) != ThumbLeft(now, now.defaultPos))
        Changed();
}

/// Left edge of the thumb for a position: rounded, exact at both ends.
LONG CTrackbar::ThumbLeft(const tPositionRange& range, LONG pos) const {
    const std::int64_t span = std::int64_t{range.High()} - range.Low();
    if (span == 0) return 0;
    const std::int64_t steps = std::int64_t{range.Clamp(pos)} - range.Low();
    return static_cast<LONG>((2 * Travel() * steps + span) / (2 * span));
}

LONG CTrackbar::PositionAt(std::int64_t thumbLeft) const {
    const tPositionRange& range = Range();
    const std::int64_t travel = Travel();
    if (travel == 0) return range.pos;
    const std::int64_t span = std::int64_t{range.High()} - range.Low();
    return range.Clamp(range.Low() +
                       (2 * std::clamp<std::int64_t>(thumbLeft, 0, travel) * span + travel) / (2 * travel));
}

void CTrackbar::SetSize(LONG width, LONG height) {
    width = std::clamp(width, LONG{0}, kMostPixels);
    height = std::clamp(height, LONG{0}, kMostPixels);
    if (width == m_width && height == m_height) return;
    m_width = width;
    m_height = height;
    m_thumbWidth = std::min(height / 2 | 1, width); // odd, so that the thumb has a tip
    Changed();
}

void CTrackbar::SetDiscrete() {
    const bool discrete = std::int64_t{Range().High()} - Range().Low() < kMostDiscrete;
    m_style = discrete ? m_style | KWTBS_DISCRETE : m_style & ~KWTBS_DISCRETE;
}

HRESULT CTrackbar::Press(const tPageEvent& event) {
    Release(); // of a button whose release was lost
    HoldCtrl(event);
    if (m_style & KWTBS_CLICK) Command(kClicked);
    if (!m_focused) Notice(KWNOTICE_FOCUS);
    if (m_width == 0 || m_height == 0) return S_OK;

    const bool onThumb = OnThumb(event.x);
    if (onThumb && event.kind == KWEVENT_DOUBLE_PRESS) {
        MoveTo(Range().defaultPos);
        Scroll(KWSCROLL_POSITION);
        Scroll(KWSCROLL_END);
        return S_OK;
    }
    m_trackStartPos = Range().pos;
    if (onThumb) {
        m_held = tHeld::THUMB;
        m_grab = event.x - ThumbLeft();
        Notice(KWNOTICE_CAPTURE, 1);
        Changed();
    } else {
        m_held = tHeld::CHANNEL;
        m_pointer = event.x;
        m_rightward = event.x > ThumbLeft();
        Notice(KWNOTICE_CAPTURE, 1);
        if (m_held != tHeld::CHANNEL) return S_OK; // let go within the notice
        SetRepeat(kRepeatDelay);
        StepPage();
    }
    return S_OK;
}

HRESULT CTrackbar::Move(const tPageEvent& event) {
    if (m_held == tHeld::NOTHING) return S_FALSE;
    HoldCtrl(event);
    if (m_held == tHeld::CHANNEL) {
        m_pointer = event.x;
        SetRepeat(Reached() ? 0 : std::max(Repeat(), kRepeatPeriod));
        return S_OK;
    }
    // Back where it began, a drag leaves no trace, though one pixel may stand for many positions.
    const std::int64_t left = std::int64_t{event.x} - m_grab;
    const LONG to = left == ThumbLeft(Range(), m_trackStartPos) ? m_trackStartPos : PositionAt(left);
    if (to != Range().pos && MoveTo(to) && !(m_style & KWTBS_NO_TRACKING)) Scroll(KWSCROLL_TRACK);
    return S_OK;
}

HRESULT CTrackbar::Release() {
    const tHeld held = m_held;
    if (held == tHeld::NOTHING) return S_FALSE;
    m_held = tHeld::NOTHING;
    SetRepeat(0);
    Notice(KWNOTICE_CAPTURE, 0);
    if (held == tHeld::THUMB) {
        Changed();
        if (m_style & KWTBS_NO_TRACKING && Range().pos != m_trackStartPos) Scroll(KWSCROLL_POSITION);
    }
    Scroll(KWSCROLL_END);
    return S_OK;
}

/// Ends a drag where it began.
void CTrackbar::Abandon() {
    if (m_held == tHeld::THUMB) {
        if (Range().pos != m_trackStartPos) MoveTo(m_trackStartPos);
        if (!(m_style & KWTBS_NO_TRACKING)) Scroll(KWSCROLL_TRACK);
    }
    Release();
}

HRESULT CTrackbar::Wheel(LONG delta) {
    if (m_held != tHeld::NOTHING) return S_OK;
    const LONG notches = Notches(delta);
    if (notches == 0) return S_OK;
    Scroll((notches > 0) != Reversed() ? KWSCROLL_LINE_DOWN : KWSCROLL_LINE_UP, std::abs(notches));
    Scroll(KWSCROLL_END);
    return S_OK;
}

LONG CTrackbar::CodeOf(LONG key) const {
    switch (key) {
    case KWKEY_PAGE_UP:
        return KWSCROLL_PAGE_UP;
    case KWKEY_PAGE_DOWN:
        return KWSCROLL_PAGE_DOWN;
    case KWKEY_HOME:
        return KWSCROLL_TOP;
    case KWKEY_END:
        return KWSCROLL_BOTTOM;
    case KWKEY_LEFT:
    case KWKEY_F3:
        return KWSCROLL_LINE_UP;
    case KWKEY_UP:
    case KWKEY_RIGHT:
    case KWKEY_F9:
        return Reversed() ? KWSCROLL_LINE_UP : KWSCROLL_LINE_DOWN;
    case KWKEY_DOWN:
        return Reversed() ? KWSCROLL_LINE_DOWN : KWSCROLL_LINE_UP;
    default:
        return -1;
    }
}

HRESULT CTrackbar::Key(const tPageEvent& event) {
    if (m_held != tHeld::NOTHING) {
        if (event.value == KWKEY_ESCAPE) Abandon();
        return S_OK;
    }
    if (Swallowed(event.value)) return S_OK;
    const LONG code = CodeOf(event.value);
    if (code < 0) {
        tTrackbarKey key{this, Id(), kTrackbarKeyNotify, event.value, event.modifiers};
        SendToOwner(WM_NOTIFY, static_cast<std::uintptr_t>(Id()), reinterpret_cast<std::intptr_t>(&key));
        return S_FALSE;
    }
    m_keyIsDown = true;
    HoldCtrl(event);
    Scroll(code);
    return S_OK;
}

HRESULT CTrackbar::KeyUp(const tPageEvent& event) {
    if (Swallowed(event.value)) return S_OK;
    if (CodeOf(event.value) < 0) return S_FALSE;
    if (m_held != tHeld::NOTHING) return S_OK;
    m_keyIsDown = false;
    HoldCtrl(event);
    Scroll(KWSCROLL_END);
    return S_OK;
}

HRESULT CTrackbar::Focus(bool on) {
    if (on != m_focused) {
        m_focused = on;
        Changed();
    }
    // The key will come up elsewhere.
    if (!on && m_keyIsDown) {
        m_keyIsDown = false;
        Scroll(KWSCROLL_END);
    }
    return S_OK;
}

/// Whether page steps have come as far as the pointer, or as they can.
bool CTrackbar::Reached() const {
    const LONG left = ThumbLeft();
    if (m_rightward) return std::int64_t{left} + m_thumbWidth > m_pointer || Range().pos >= Range().High();
    return left <= m_pointer || Range().pos <= Range().Low();
}

void CTrackbar::StepPage() {
    if (m_held != tHeld::CHANNEL) return; // let go within a notice
    if (!Reached()) Scroll(m_rightward != Reversed() ? KWSCROLL_PAGE_DOWN : KWSCROLL_PAGE_UP);
    if (Reached()) SetRepeat(0);
}
