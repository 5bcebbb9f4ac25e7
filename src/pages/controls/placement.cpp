#include "pages/controls/placement.h"

#include <cmath>
#include <new>
#include <utility>

#include "base/arith.h"

namespace {

constexpr LONG kMostHandles = 1000;
constexpr LONG kBlinkTime = 500; // milliseconds
constexpr LONG kFrame = 2;       // pixels
constexpr ULONG kKinds = 5;
constexpr double kFarthest = 1000;

bool InUnit(double value) {
    return value >= 0 && value <= 1;
}

double Drawable(double value) {
    return std::isfinite(value) ? KwClamp(value, -kFarthest, kFarthest) : 0.5;
}

// Counts come as signed or unsigned numbers of any width.
LONG CountOf(std::uintptr_t wParam) {
    return static_cast<LONG>(KwClamp<std::intptr_t>(static_cast<std::intptr_t>(wParam), 0, kMostHandles));
}

// Records at `lParam` need not be aligned.
tPlacementHandle HandleAt(const void* memory) {
    tPlacementHandle handle;
    std::memcpy(&handle, memory, sizeof handle);
    handle.label[sizeof handle.label - 1] = 0;
    return handle;
}

void SetSteps(double (&steps)[2], std::uintptr_t plain, std::intptr_t ctrl) {
    steps[0] = static_cast<ULONG>(plain) * 0.001;
    steps[1] = static_cast<LONG>(ctrl) * 0.001;
}

// From the pointer to a share of an axis; an axis without length keeps what it has.
double Share(double pixel, LONG from, LONG to, bool confined, double present) {
    if (from >= to) return present;
    if (confined) pixel = KwClamp(pixel, from, to);
    return Drawable((pixel - from) / (static_cast<double>(to) - from));
}

bool IsPositionKey(LONG key) {
    return key >= KWKEY_PAGE_UP && key <= KWKEY_DOWN;
}

} // namespace

CPlacement::CPlacement(IControlOwner& owner, LONG id, ULONG style)
    : CPageControl(owner, id), m_style(style), m_handles(1), m_maxCount(kMostHandles) {}

CPlacement::tPoint CPlacement::PixelOf(const tPlacementHandle& handle) const {
    return {m_area.left + handle.x * (m_area.right - m_area.left),
            m_area.top + handle.y * (m_area.bottom - m_area.top)};
}

// The current handle wins, then the topmost; -1 for none.
LONG CPlacement::HitTest(LONG x, LONG y) const {
    const auto hit = [&](LONG index) {
        const tPoint centre = PixelOf(m_handles[index]);
        const double dx = x - centre.x, dy = y - centre.y;
        return dx * dx + dy * dy <= kPlacementReach * kPlacementReach;
    };
    if (Has(m_selected) && hit(m_selected)) return m_selected;
    for (LONG index = Count() - 1; index >= 0; --index)
        if (hit(index)) return index;
    return -1;
}

// The new index; -1 where there is no room.
LONG CPlacement::Add(const tPlacementHandle* record) {
    if (Count() >= m_maxCount) return -1;
    const bool taken = record && InUnit(record->x) && InUnit(record->y);
    m_handles.push_back(taken ? *record : tPlacementHandle{});
    return Count() - 1;
}

// The frame around the area counts as the area's edge.
void CPlacement::AddAt(LONG x, LONG y) {
    tPlacementHandle handle;
    handle.x = Share(x, m_area.left, m_area.right, true, handle.x);
    handle.y = Share(y, m_area.top, m_area.bottom, true, handle.y);
    const LONG index = Add(&handle);
    if (index < 0) return;
    m_selected = index;
    Notify(KWPLACEMENT_ADDED, index);
    Changed();
    Notice(KWNOTICE_SETTLED);
}

void CPlacement::Remove(LONG index) {
    if (Count() <= m_minCount) return;
    m_handles.erase(m_handles.begin() + index);
    const bool dragged = m_selected == index;
    if (m_selected > index || m_selected == Count()) m_selected = std::max(m_selected - 1, 0);
    if (dragged) StopDrag();
    Changed();
}

void CPlacement::SetLength(LONG count) {
    if (count < Count()) {
        m_handles.resize(count);
        if (m_selected >= count) {
            m_selected = std::max(count - 1, 0);
            StopDrag();
        }
    } else {
        while (Count() < count && Add(nullptr) >= 0) continue;
    }
    Changed();
}

void CPlacement::MakeCurrent(LONG index) {
    const bool other = m_selected != index;
    m_selected = index;
    if (other) StopDrag();
    Changed();
}

void CPlacement::Reset() {
    m_handles.clear();
    Add(nullptr);
    m_selected = 0;
    if (m_tracking) {
        m_tracking = false;
        Notice(KWNOTICE_CAPTURE, 0);
    }
    Notify(KWPLACEMENT_RESET, 0);
    Changed();
    Notice(KWNOTICE_SETTLED);
}

// For a drag whose handle is gone.
void CPlacement::StopDrag() {
    if (!m_tracking) return;
    m_tracking = false;
    Notice(KWNOTICE_CAPTURE, 0);
    Notice(KWNOTICE_SETTLED);
}

// An empty list shows as the default handle.
void CPlacement::Notify(LONG code, LONG index, const tPlacementHandle* before) {
    tPlacementNotice notice{};
    notice.id = Id();
    notice.code = code;
    notice.index = index;
    if (Has(index)) notice.after = m_handles[index];
    notice.before = before ? *before : notice.after;
    SendToOwner(WM_NOTIFY, static_cast<std::uintptr_t>(notice.id), reinterpret_cast<std::intptr_t>(&notice));
}

std::intptr_t CPlacement::Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
    void* const memory = reinterpret_cast<void*>(lParam);
    switch (message) {
    case WM_COMMAND:
        if ((wParam & 0xFFFF) == kPlacementReset) Reset();
        break;
    case KWHANDLE_COUNT:
        return Count();
    case KWHANDLE_ADD:
        if (memory) {
            const tPlacementHandle record = HandleAt(memory);
            Add(&record);
        } else {
            Add(nullptr);
        }
        Changed();
        break;
    case KWHANDLE_SET:
        if (memory && Has(wParam)) {
            tPlacementHandle record = HandleAt(memory);
            if (record.kind >= kKinds) record.kind = 0;
            record.x = Drawable(record.x);
            record.y = Drawable(record.y);
            m_handles[wParam] = record;
            Changed();
            return 1;
        }
        break;
    case KWHANDLE_GET:
        if (memory && Has(wParam)) {
            std::memcpy(memory, &m_handles[wParam], sizeof(tPlacementHandle));
            return 1;
        }
        break;
    case KWHANDLE_CURRENT:
        return m_selected;
    case KWHANDLE_REMOVE:
        if (Has(wParam)) Remove(static_cast<LONG>(wParam));
        break;
    case KWHANDLE_MOST:
        m_maxCount = CountOf(wParam);
        if (Count() > m_maxCount) SetLength(m_maxCount);
        break;
    case KWHANDLE_LEAST:
        m_minCount = CountOf(wParam);
        if (Count() < m_minCount) SetLength(m_minCount);
        break;
    case KWHANDLE_REPAINT:
        Changed();
        break;
    case KWHANDLE_RESIZE:
        SetLength(std::min(std::max(CountOf(wParam), m_minCount), m_maxCount));
        break;
    case KWHANDLE_SELECT:
        if (Has(wParam)) MakeCurrent(static_cast<LONG>(wParam));
        break;
    case KWHANDLE_STEP_X:
        SetSteps(m_stepX, wParam, lParam);
        break;
    case KWHANDLE_STEP_Y:
        SetSteps(m_stepY, wParam, lParam);
        break;
    case KWHANDLE_GET_LOOK:
        if (memory) std::memcpy(memory, m_drawing, sizeof m_drawing);
        break;
    case KWHANDLE_SET_LOOK:
        if (memory) {
            std::memcpy(m_drawing, memory, sizeof m_drawing);
            Changed();
        }
        break;
    case KWHANDLE_GET_WORD:
        if (wParam) {
            std::memcpy(reinterpret_cast<void*>(wParam), &m_userWord, sizeof m_userWord);
            return 1;
        }
        break;
    case KWHANDLE_SET_WORD:
        m_userWord = static_cast<ULONG>(wParam);
        return 1;
    default:
        break;
    }
    return 0;
}

HRESULT CPlacement::Event(const tPageEvent& event) {
    switch (event.kind) {
    case KWEVENT_SIZE:
        Resize(event.x, event.y);
        return S_OK;
    case KWEVENT_PRESS:
    case KWEVENT_DOUBLE_PRESS:
        Press(event.x, event.y, event.kind == KWEVENT_DOUBLE_PRESS);
        return S_OK;
    case KWEVENT_MOVE:
        if (!m_tracking) return S_FALSE;
        Drag(event.x, event.y);
        return S_OK;
    case KWEVENT_RELEASE:
    case KWEVENT_CANCEL:
        if (!m_tracking) return S_FALSE;
        Release();
        return S_OK;
    case KWEVENT_RIGHT_PRESS:
        if (m_style & kPlacementRightPressStyle)
            Notify(KWPLACEMENT_RIGHT_PRESS, m_selected);
        else
            Notice(KWNOTICE_MENU, event.x, event.y);
        return S_OK;
    case KWEVENT_KEY:
        return Key(event.value, event.modifiers);
    case KWEVENT_KEY_UP:
        if (!IsPositionKey(event.value)) return S_FALSE;
        if (!m_tracking) Notice(KWNOTICE_SETTLED);
        return S_OK;
    case KWEVENT_TIMER:
        if (event.value != kPlacementTimer) return S_FALSE;
        m_lit = !m_lit;
        Changed();
        return S_OK;
    default:
        return S_FALSE;
    }
}

// Keeps room for the frame and for half a handle on every side. Below twice that an axis has no length.
void CPlacement::Resize(LONG width, LONG height) {
    constexpr LONG margin = kFrame + kPlacementReach;
    width = std::max(width, 0);
    height = std::max(height, 0);
    m_area.left = std::min(margin, width / 2);
    m_area.top = std::min(margin, height / 2);
    m_area.right = std::max(m_area.left, width - margin);
    m_area.bottom = std::max(m_area.top, height - margin);
    if (!m_timerOn) {
        m_timerOn = true;
        Notice(KWNOTICE_TIMER, kPlacementTimer, kBlinkTime);
    }
    Changed();
}

void CPlacement::Press(LONG x, LONG y, bool add) {
    if (m_tracking) Release(); // its release was lost
    Notice(KWNOTICE_FOCUS);
    const LONG index = HitTest(x, y);
    if (index < 0) {
        if (add) AddAt(x, y);
        return;
    }
    m_selected = index;
    m_tracking = true;
    m_saved = m_handles[index];
    const tPoint centre = PixelOf(m_saved);
    m_offset = {x - centre.x, y - centre.y};
    Notice(KWNOTICE_CAPTURE, 1);
    Notify(KWPLACEMENT_CURRENT, index);
    Changed();
}

void CPlacement::Drag(LONG x, LONG y) {
    tPlacementHandle& handle = m_handles[m_selected];
    const auto pixel = [&] {
        const tPoint centre = PixelOf(handle);
        return POINT{KwTrunc(std::floor(centre.x + 0.5)), KwTrunc(std::floor(centre.y + 0.5))};
    };
    const POINT before = pixel();
    const bool confined = handle.confined != 0;
    handle.x = Share(x - m_offset.x, m_area.left, m_area.right, confined, handle.x);
    handle.y = Share(y - m_offset.y, m_area.top, m_area.bottom, confined, handle.y);
    const POINT after = pixel();
    Notify(KWPLACEMENT_MOVED, m_selected, &m_saved);
    if (before.x != after.x || before.y != after.y) Changed();
}

void CPlacement::Release() {
    Notify(KWPLACEMENT_CURRENT, m_selected);
    if (!m_tracking) return; // ended by the owner's answer
    m_tracking = false;
    Notice(KWNOTICE_CAPTURE, 0);
    Changed();
    Notice(KWNOTICE_SETTLED);
}

void CPlacement::Escape() {
    const tPlacementHandle before = std::exchange(m_handles[m_selected], m_saved);
    m_tracking = false;
    Notice(KWNOTICE_CAPTURE, 0);
    Notify(KWPLACEMENT_MOVED, m_selected, &before);
    Changed();
    Notice(KWNOTICE_SETTLED);
}

// Does not run round the ends, so that Tab leaves the control behind the last handle.
bool CPlacement::Tab(bool backwards) {
    const LONG step = backwards ? -1 : 1;
    for (LONG index = m_selected + step; index >= 0 && index < Count(); index += step) {
        if (m_handles[index].selectable != 1) continue;
        m_selected = index;
        Notify(KWPLACEMENT_CURRENT, index);
        Changed();
        return true;
    }
    return false;
}

HRESULT CPlacement::Key(LONG key, ULONG modifiers) {
    if (key == KWKEY_TAB) return m_tracking || Tab((modifiers & KWMOD_SHIFT) != 0) ? S_OK : S_FALSE;
    if (key == KWKEY_ESCAPE) {
        if (!m_tracking) return S_FALSE;
        Escape();
        return S_OK;
    }
    if (!IsPositionKey(key) || !Has(m_selected)) return S_FALSE;

    const bool ctrl = (modifiers & KWMOD_CTRL) != 0;
    tPlacementHandle& handle = m_handles[m_selected];
    const tPlacementHandle before = handle;
    switch (key) {
    case KWKEY_PAGE_UP:
        handle.y = 0;
        break;
    case KWKEY_PAGE_DOWN:
        handle.y = 1;
        break;
    case KWKEY_HOME:
        handle.x = 0;
        break;
    case KWKEY_END:
        handle.x = 1;
        break;
    case KWKEY_LEFT:
        handle.x -= m_stepX[ctrl];
        break;
    case KWKEY_RIGHT:
        handle.x += m_stepX[ctrl];
        break;
    case KWKEY_UP:
        handle.y -= m_stepY[ctrl];
        break;
    default:
        handle.y += m_stepY[ctrl];
        break;
    }
    handle.x = KwClamp(handle.x, 0, 1);
    handle.y = KwClamp(handle.y, 0, 1);
    Notify(KWPLACEMENT_MOVED, m_selected, &before);
    Changed();
    return S_OK;
}

HRESULT CPlacement::Detail(void* out, ULONG size) const {
    return Give(tPlacementDetail{m_area, Count(), m_selected, m_tracking}, out, size);
}

HRESULT CPlacement::MenuItem(LONG index, tPageMenuItem& out) const {
    if (index != 0 || m_style & kPlacementRightPressStyle) return E_INVALIDARG;
    out = {kPlacementReset, -1, FALSE, "Reset"};
    return S_OK;
}
