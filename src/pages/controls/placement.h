// The placement control: handles over a picture of the frame, moved by pointer and keys.
#pragma once

#include <type_traits>
#include <vector>

#include "pages/controls/control.h"

enum tPlacementCode : LONG {
    KWPLACEMENT_ADDED = 2101,   ///< by double-click
    KWPLACEMENT_CURRENT = 2102, ///< press on a handle, Tab, end of a drag
    KWPLACEMENT_RESET = 2103,
    KWPLACEMENT_MOVED = 2104, ///< each move of a drag, each key, Escape
    KWPLACEMENT_RIGHT_PRESS = 2107,
};

/// What `lParam` of WM_NOTIFY points to; good within the call.
struct tPlacementNotice {
    HWND window; ///< null: the control has no window of its own
    LONG id;
    LONG code; ///< `tPlacementCode`
    LONG index;
    tPlacementHandle after;
    tPlacementHandle before; ///< the same as `after` where no handle changed; in a drag, where the drag began
};
static_assert(std::is_trivially_copyable_v<tPlacementNotice>);

inline constexpr ULONG kPlacementRightPressStyle = 1 << 1; ///< code 2107 in place of the menu
inline constexpr LONG kPlacementReset = 2151;              ///< WM_COMMAND of the menu's one row
inline constexpr LONG kPlacementTimer = 2060;

/// Handles are numbered from 0, the last drawn on top. The owner hears of the user's changes alone, never of those by
/// message, and may send messages from within a notification. If a message takes the dragged handle away or makes
/// another current, the drag is over.
///
/// Messages are those of `tPlacementMessage`. Null pointers do nothing and give 0; a word is 32 bits; counts are
/// limited to 0..1000. WM_COMMAND with `kPlacementReset`: one default handle, as from the menu.
class CPlacement : public CPageControl {
  public:
    CPlacement(IControlOwner& owner, LONG id, ULONG style);

    std::intptr_t Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) override;
    HRESULT Event(const tPageEvent& event) override;
    /// Gives a `tPlacementDetail`.
    HRESULT Detail(void* out, ULONG size) const override;
    HRESULT MenuItem(LONG index, tPageMenuItem& out) const override;

    /// Changes every half second: whether the current handle shows its lit side.
    bool Lit() const { return m_lit; }

  private:
    struct tPoint {
        double x, y;
    };

    LONG Count() const { return static_cast<LONG>(m_handles.size()); }
    bool Has(std::uintptr_t index) const { return index < m_handles.size(); }
    tPoint PixelOf(const tPlacementHandle& handle) const;
    LONG HitTest(LONG x, LONG y) const;
    LONG Add(const tPlacementHandle* record);
    void AddAt(LONG x, LONG y);
    void Remove(LONG index);
    void SetLength(LONG count);
    void MakeCurrent(LONG index);
    void Reset();

    void Resize(LONG width, LONG height);
    void Press(LONG x, LONG y, bool add);
    void Drag(LONG x, LONG y);
    void Release();
    void Escape();
    HRESULT Key(LONG key, ULONG modifiers);
    bool Tab(bool backwards);
    void StopDrag();
    void Notify(LONG code, LONG index, const tPlacementHandle* before = nullptr);

    const ULONG m_style;
    std::vector<tPlacementHandle> m_handles;
    tPlacementHandle m_saved; ///< the current handle as the drag found it
    LONG m_selected = 0;
    LONG m_maxCount, m_minCount = 0;
    double m_stepX[2] = {0.01, 0.1}, m_stepY[2] = {0.01, 0.1}; ///< plain, with Ctrl
    tPoint m_offset{};                                         ///< from the handle's centre to the pointer
    RECT m_area{};
    ULONG m_drawing[3] = {};
    ULONG m_userWord = 0;
    bool m_tracking = false;
    bool m_timerOn = false;
    bool m_lit = true;
};
