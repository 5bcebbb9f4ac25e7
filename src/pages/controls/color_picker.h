// The colour picker: bars and numeric edits of each channel, a field of hue and luminance, a swatch, a button that
// changes between RGB and HSL, a screen picker, and a warning when a colour does not fit composite video.
#pragma once

#include <array>
#include <string>

#include "pages/controls/color_math.h"
#include "pages/controls/control.h"

/// Style bits of a colour picker.
inline constexpr ULONG kColorPickAlpha = 1u << 1; ///< alpha has a bar and an edit
inline constexpr ULONG kColorPickGamut = 1u << 6; ///< colours are tested against the PAL and NTSC limits

/// Messages; `lParam` points to four floats: blue, green, red, alpha. Null does nothing; both return 0.
inline constexpr UINT kColorPickGet = 1794;
inline constexpr UINT kColorPickSet = 1795; ///< limited to 0 to 1, not-a-number becomes 0; not notified

/// Changes of the user, not those of messages, are notified by WM_COMMAND with notification 0. KWNOTICE_SETTLED
/// follows a drag, an edit's new number, the release of a stepping key, a picked or corrected colour.
///
/// A grey has no hue, and black and white no saturation: bars and edits of HSL keep what the user left there, until
/// another colour is set. A press in the field keeps the saturation too, but gives a grey the full one.
class CColorPicker final : public CPageControl {
  public:
    /// `style` as above; other bits are not looked at. Black and opaque at first, in RGB, without a size.
    CColorPicker(IControlOwner& owner, LONG id, ULONG style);

    std::intptr_t Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) override;
    HRESULT Event(const tPageEvent& event) override;
    /// Fills a `tColorPickDetail`. Its hue is -1 for any grey, its marks and edits are those of the kept hue.
    HRESULT Detail(void* out, ULONG size) const override;
    /// Paints a shown bar, field or swatch, scaled to the size given. `bits` is the top row; a negative pitch leads
    /// upwards. E_POINTER without memory, E_INVALIDARG for another part, an empty size or a pitch less than the width.
    HRESULT Paint(LONG part, void* bits, LONG width, LONG height, LONG pitch) const override;

  private:
    static constexpr std::size_t kEdits = 4;

    bool HasAlpha() const { return m_style & kColorPickAlpha; }
    bool IsEdit(LONG part) const { return part >= KWPART_EDIT1 && part < KWPART_ALPHA_EDIT + (HasAlpha() ? 1 : 0); }
    RECT Place(LONG part) const;
    double Value(LONG channel) const;
    LONG Mark(LONG bar) const;
    std::string Shown(LONG channel) const;
    std::string Tip() const;
    LONG HitTest(LONG x, LONG y, bool& mark) const;

    void Layout(LONG width, LONG height);
    void SetRgb(const tPickColor& color);
    void SetHsl(const tPickHsl& hsl);
    void SetValue(LONG channel, double value);
    void Refresh();
    void NotifyChange();
    bool ShowText(LONG channel);

    HRESULT Press(LONG x, LONG y);
    void DragTo(LONG x, LONG y);
    HRESULT EndDrag();
    HRESULT Key(const tPageEvent& event);
    bool ReadText(LONG channel, double& number) const;
    bool TakeNumber(LONG channel, double number);
    bool LeaveText(LONG channel);
    HRESULT Focus(LONG part);
    HRESULT Blur(LONG part);
    HRESULT Text(LONG part, const char* text);
    HRESULT Picked(LONG rgb);
    void Settle();

    const ULONG m_style;
    tPickColor m_color{0, 0, 0, 1};
    tPickColor m_correctedColor{0, 0, 0, 1};
    tPickHsl m_hsl{0, 0, 0}; ///< working form, hue always 0 to 1
    bool m_grey = true;
    LONG m_colorSpace = 0;
    LONG m_gamutFlags = 0;
    LONG m_hoverPart = 0;

    LONG m_dragPart = 0;
    LONG m_grip = 0; ///< pixels from the mark to where it was taken
    tPickColor m_previousColor{};
    tPickHsl m_previousHsl{};

    LONG m_focus = 0;       ///< the edit with the focus
    bool m_stepped = false; ///< by a key that is still down
    std::array<std::string, kEdits> m_texts;
    std::array<bool, kEdits> m_typed{}; ///< the text is the user's and not read yet
    std::string m_tip;
    std::array<RECT, KWPART_LAST + 1> m_places{};
};
