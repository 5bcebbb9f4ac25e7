#include "pages/controls/position_range.h"

#include <limits>

namespace {

LONG ToLong(std::intptr_t value) {
    using tLimits = std::numeric_limits<LONG>;
    return static_cast<LONG>(std::clamp<std::int64_t>(value, tLimits::min(), tLimits::max()));
}

} // namespace

void tPositionRange::SetRange(LONG newMin, LONG newMax) {
    min = newMin;
    max = newMax;
    if (min < 0 && max >= 0)
        defaultPos = max == 0 ? min : 0;
    else
        defaultPos = static_cast<LONG>((std::int64_t{min} + max) / 2);
}

LONG StepPosition(LONG code, LONG pos, LONG min, LONG max, std::int64_t smallStep, LONG largeStep, bool ctrl,
                  bool reversed) {
    const std::int64_t low = std::min(min, max), high = std::max(min, max);
    std::int64_t large = largeStep;
    if (large == 0) large = std::max<std::int64_t>((std::int64_t{max} - min + 5) / 10, 1);
    if (ctrl) large *= 10;
    const std::int64_t sign = reversed ? -1 : 1;

    std::int64_t to = pos;
    switch (code) {
    case KWSCROLL_LINE_UP:
        to -= sign * smallStep;
        break;
    case KWSCROLL_LINE_DOWN:
        to += sign * smallStep;
        break;
    case KWSCROLL_PAGE_UP:
        to -= sign * large;
        break;
    case KWSCROLL_PAGE_DOWN:
        to += sign * large;
        break;
    case KWSCROLL_TOP:
        to = reversed ? high : low;
        break;
    case KWSCROLL_BOTTOM:
        to = reversed ? low : high;
        break;
    default:
        break;
    }
    return static_cast<LONG>(std::clamp(to, low, high));
}

LONG TrackbarScroll(LONG code, CPositionControl& control, LONG smallStep, LONG largeStep) {
    const tPositionRange& range = control.Range();
    const LONG to = StepPosition(code, range.pos, range.min, range.max, std::int64_t{smallStep} * control.Steps(),
                                 largeStep, control.CtrlHeld(), control.Reversed());
    return static_cast<LONG>(control.Message(KWPOS_SET, 1, to));
}

std::intptr_t CPositionControl::Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
    const tPositionRange before = m_range;
    const auto setRange = [&](LONG min, LONG max) {
        m_range.SetRange(min, max);
        if (m_range != before) Updated(before);
        return std::intptr_t{0};
    };
    switch (message) {
    case KWPOS_GET:
        return m_range.pos;
    case KWPOS_GET_MIN:
        return m_range.min;
    case KWPOS_GET_MAX:
        return m_range.max;
    case KWPOS_SET_RANGE:
        return setRange(static_cast<std::int16_t>(lParam & 0xFFFF), static_cast<std::int16_t>(lParam >> 16 & 0xFFFF));
    case KWPOS_SET_MIN:
        return setRange(ToLong(lParam), m_range.max);
    case KWPOS_SET_MAX:
        return setRange(m_range.min, ToLong(lParam));
    case KWPOS_SET:
        // A drag draws the thumb anew wherever it goes; a page's setting only where it shows.
        if (wParam) {
            MoveTo(lParam);
        } else {
            m_range.pos = m_range.Clamp(lParam);
            Changed();
        }
        return m_range.pos;
    case KWPOS_SET_DEFAULT:
        m_range.defaultPos = m_range.Clamp(lParam);
        if (m_range != before) Updated(before);
        return m_range.defaultPos;
    default:
        return 0;
    }
}

void CPositionControl::Describe(tPageControl& out) const {
    out.value = m_range.pos;
    out.minimum = m_range.min;
    out.maximum = m_range.max;
    out.mark = m_range.defaultPos;
}

bool CPositionControl::MoveTo(std::int64_t pos) {
    const tPositionRange before = m_range;
    m_range.pos = m_range.Clamp(pos);
    if (m_range.pos == before.pos) return false;
    Updated(before);
    return true;
}

void CPositionControl::Scroll(LONG code, LONG steps) {
    m_steps = steps;
    const std::uintptr_t word = static_cast<std::uint16_t>(m_range.pos);
    SendToOwner(WM_HSCROLL, static_cast<std::uint16_t>(code) | word << 16, reinterpret_cast<std::intptr_t>(this));
    if (code == KWSCROLL_END) Notice(KWNOTICE_SETTLED);
}

LONG CPositionControl::Notches(LONG delta) {
    constexpr LONG kNotch = 120;
    if ((delta < 0) != (m_rest < 0)) m_rest = 0;
    const std::int64_t sum = std::int64_t{m_rest} + delta;
    m_rest = static_cast<LONG>(sum % kNotch);
    return static_cast<LONG>(sum / kNotch);
}

void CPositionControl::SetRepeat(LONG milliseconds) {
    if (milliseconds == m_repeat) return;
    m_repeat = milliseconds;
    Notice(KWNOTICE_TIMER, kRepeatTimer, milliseconds);
}
