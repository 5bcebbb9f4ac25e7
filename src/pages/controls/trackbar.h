// A slider with a default position, to which a double-click on the thumb returns.
#pragma once

#include "pages/controls/position_range.h"

/// The trackbar's own messages, beside those of the position.
enum tTrackbarMessage : UINT {
    KWTRACK_LAYOUT = 1566,   ///< pixels: low word width, high word height
    KWTRACK_STYLE_9 = 1567,  ///< the low bit; drawn again if `wParam`; the new bit, 0 or 1
    KWTRACK_STYLE_10 = 1568, ///< likewise
    KWTRACK_SET_WORD = 1575,
    KWTRACK_GET_WORD = 1576,
    KWTRACK_SET_WORD_2 = 1577,
    KWTRACK_GET_WORD_2 = 1578,
};

enum tTrackbarStyle : ULONG {
    KWTBS_REVERSED = 1u << 3, ///< scroll codes 0, 2, 6 lead up; the thumb still goes right as the position grows
    KWTBS_BIT_9 = 1u << 9,
    KWTBS_BIT_10 = 1u << 10,
    KWTBS_DISCRETE = 1u << 15,    ///< kept by the control: so few positions that each may be drawn
    KWTBS_NO_TRACKING = 1u << 18, ///< a drag is told at its end alone
    KWTBS_CLICK = 1u << 19,       ///< WM_COMMAND with notification 3 on a press
};

inline constexpr LONG kTrackbarKeyNotify = -102;

/// At `lParam` of WM_NOTIFY: a key that the trackbar has no use for.
struct tTrackbarKey {
    CPageControl* from;
    LONG id;
    LONG code; ///< `kTrackbarKeyNotify`
    LONG key;
    ULONG modifiers;
};

class CTrackbar : public CPositionControl {
  public:
    CTrackbar(IControlOwner& owner, LONG id, ULONG style = 0);

    std::intptr_t Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) override;
    HRESULT Event(const tPageEvent& event) override;
    /// `tTrackbarDetail`.
    HRESULT Detail(void* out, ULONG size) const override;

    bool Reversed() const override { return (m_style & KWTBS_REVERSED) != 0; }
    ULONG Style() const { return m_style; }
    bool Focused() const { return m_focused; }

  private:
    enum class tHeld { NOTHING, THUMB, CHANNEL };

    void Updated(const tPositionRange& before) override;
    LONG Travel() const { return m_width - m_thumbWidth; }
    LONG ThumbLeft(const tPositionRange& range, LONG pos) const;
    LONG ThumbLeft() const { return ThumbLeft(Range(), Range().pos); }
    LONG PositionAt(std::int64_t thumbLeft) const;
    bool OnThumb(LONG x) const { return x >= ThumbLeft() && x - ThumbLeft() < m_thumbWidth; }
    void SetSize(LONG width, LONG height);
    void SetDiscrete();

    HRESULT Press(const tPageEvent& event);
    HRESULT Move(const tPageEvent& event);
    HRESULT Release();
    HRESULT Wheel(LONG delta);
    HRESULT Key(const tPageEvent& event);
    HRESULT KeyUp(const tPageEvent& event);
    /// Scroll code of a key, -1 for none.
    LONG CodeOf(LONG key) const;
    HRESULT Focus(bool on);
    void Abandon();
    bool Reached() const;
    void StepPage();

    ULONG m_style;
    std::intptr_t m_words[2] = {};
    LONG m_width = 0, m_height = 0, m_thumbWidth = 0; ///< pixels, 0 to 65535
    tHeld m_held = tHeld::NOTHING;
    LONG m_trackStartPos = 0;
    LONG m_grab = 0;          ///< of the pointer from the thumb's left edge
    LONG m_pointer = 0;       ///< x, while the channel is held
    bool m_rightward = false; ///< of page steps
    bool m_keyIsDown = false;
    bool m_focused = false;
};
