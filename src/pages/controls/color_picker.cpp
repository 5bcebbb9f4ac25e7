#include "pages/controls/color_picker.h"

#include <cmath>
#include <cstring>
#include <new>

#include "support/value_format.h"
#include "support/value_read.h"

namespace {

constexpr LONG kMarkReach = 6; ///< pixels
constexpr LONG kAlpha = 3;     ///< channels as the bars count them: 0 to 2 by the colour space, then alpha

constexpr const char* kChannelTips[2][4] = {
    {"Red: %0.2f%%", "Green: %0.2f%%", "Blue: %0.2f%%", "Alpha: %0.2f%%"},
    {"Hue: %0.2f deg.", "Saturation: %0.2f%%", "Luminance: %0.2f%%", "Alpha: %0.2f%%"},
};
constexpr const char* kGamutTips[4] = {
    "",
    "Color Outside PAL Gamut - Click Swatch to Correct",
    "Color Outside NTSC Gamut - Click Swatch to Correct",
    "Color Outside NTSC and PAL Gamut - Click Swatch to Correct",
};

constexpr double Limited(double value) {
    return value > 0.0 ? value < 1.0 ? value : 1.0 : 0.0;
}

bool IsEmpty(const RECT& r) {
    return r.left >= r.right || r.top >= r.bottom;
}
bool Holds(const RECT& r, LONG x, LONG y) {
    return x >= r.left && x < r.right && y >= r.top && y < r.bottom;
}
/// Where a place lies between the first and the last pixel, 0 to 1.
double Along(std::int64_t place, LONG first, LONG end) {
    return Limited(static_cast<double>(place - first) / std::max(end - first - 1, 1));
}

std::uint8_t ByteOf(double value) {
    return static_cast<std::uint8_t>(Limited(value) * 255.0 + 0.5);
}
void Put(std::uint8_t* pixel, const tPickRgb& rgb, double alpha) {
    pixel[0] = ByteOf(rgb.blue);
    pixel[1] = ByteOf(rgb.green);
    pixel[2] = ByteOf(rgb.red);
    pixel[3] = ByteOf(alpha);
}

tPickRgb RgbOf(const tPickColor& color) {
    return {color[2], color[1], color[0]};
}

} // namespace

CColorPicker::CColorPicker(IControlOwner& owner, LONG id, ULONG style) : CPageControl(owner, id), m_style(style) {
    Refresh();
}

std::intptr_t CColorPicker::Message(UINT message, std::uintptr_t /*wParam*/, std::intptr_t lParam) {
    void* const floats = reinterpret_cast<void*>(lParam);
    if (!floats) return 0;
    if (message == kColorPickGet) std::memcpy(floats, m_color.data(), sizeof m_color);
    if (message == kColorPickSet) {
        tPickColor color;
        std::memcpy(color.data(), floats, sizeof color);
        for (float& c : color) c = static_cast<float>(Limited(c));
        // A page echoes each notified colour: that must not disturb the working form of a drag.
        if (color == m_color) return 0;
        SetRgb(color);
        Refresh();
        Changed();
    }
    return 0;
}

HRESULT CColorPicker::Event(const tPageEvent& event) {
    switch (event.kind) {
    case KWEVENT_SIZE:
        Layout(event.x, event.y);
        return S_OK;
    case KWEVENT_PRESS:
    case KWEVENT_DOUBLE_PRESS:
        return Press(event.x, event.y);
    case KWEVENT_MOVE: {
        bool mark;
        m_hoverPart = m_dragPart ? m_dragPart : HitTest(event.x, event.y, mark);
        if (m_dragPart)
            DragTo(event.x, event.y);
        else
            m_tip = Tip();
        return S_OK;
    }
    case KWEVENT_LEAVE:
        m_hoverPart = 0;
        m_tip.clear();
        return S_OK;
    case KWEVENT_RELEASE:
    case KWEVENT_CANCEL:
        return EndDrag();
    case KWEVENT_KEY:
        return Key(event);
    case KWEVENT_KEY_UP:
        if (!m_stepped || (event.value != KWKEY_UP && event.value != KWKEY_DOWN)) return S_FALSE;
        Settle();
        return S_OK;
    case KWEVENT_FOCUS:
        return Focus(event.part);
    case KWEVENT_BLUR:
        return Blur(event.part);
    case KWEVENT_TEXT:
        return Text(event.part, event.text);
    case KWEVENT_PICKED:
        return Picked(event.value);
    default:
        return S_FALSE;
    }
}

HRESULT CColorPicker::Detail(void* out, ULONG size) const {
    tColorPickDetail detail{};
    std::ranges::copy(m_color, detail.color);
    std::ranges::copy(m_correctedColor, detail.corrected);
    detail.hue = m_grey ? -1.0 : m_hsl.hue;
    detail.saturation = m_hsl.saturation;
    detail.luminance = m_hsl.luminance;
    detail.colorSpace = m_colorSpace;
    detail.gamutFlags = m_gamutFlags;
    detail.hoverPart = m_hoverPart;
    detail.dragPart = m_dragPart;
    for (LONG part = 0; part <= KWPART_LAST; ++part) {
        detail.parts[part] = Place(part);
        if (IsEdit(part)) detail.edits[part] = m_texts[static_cast<std::size_t>(part - KWPART_EDIT1)].c_str();
    }
    for (LONG bar = KWPART_BAR1; bar <= KWPART_ALPHA_BAR; ++bar) detail.marks[bar] = Mark(bar);
    const RECT& field = m_places[KWPART_FIELD];
    if (!IsEmpty(field)) {
        const auto place = [](double value, LONG first, LONG end) {
            return first + static_cast<LONG>(value * (end - first - 1) + 0.5);
        };
        detail.fieldMark = {place(m_hsl.hue, field.left, field.right),
                            place(1.0 - m_hsl.luminance, field.top, field.bottom)};
    }
    detail.tip = m_tip.c_str();
    return Give(detail, out, size);
}

HRESULT CColorPicker::Paint(LONG part, void* bits, LONG width, LONG height, LONG pitch) const {
    if (!bits) return E_POINTER;
    if (width <= 0 || height <= 0 || std::abs(std::int64_t{pitch}) < std::int64_t{width} * 4) return E_INVALIDARG;
    const bool bar = part >= KWPART_BAR1 && part < KWPART_ALPHA_BAR + (HasAlpha() ? 1 : 0);
    const bool gamut = part == KWPART_GAMUT && m_gamutFlags;
    if (!bar && !gamut && part != KWPART_FIELD && part != KWPART_SWATCH) return E_INVALIDARG;

    auto* const first = static_cast<std::uint8_t*>(bits);
    if (part == KWPART_FIELD) {
        for (LONG y = 0; y < height; ++y) {
            std::uint8_t* const row = first + std::ptrdiff_t{pitch} * y;
            const double luminance = 1.0 - Along(y, 0, height);
            for (LONG x = 0; x < width; ++x)
                Put(row + std::ptrdiff_t{x} * 4, HSLtoRGB({Along(x, 0, width), 1.0, luminance}), 1.0);
        }
        return S_OK;
    }

    // All others have equal rows.
    const tPickColor& solid = gamut ? m_correctedColor : m_color;
    for (LONG x = 0; x < width; ++x) {
        tPickRgb rgb = RgbOf(solid);
        double alpha = HasAlpha() ? double{solid[3]} : 1.0;
        if (bar) {
            const double value = Along(x, 0, width);
            double own[3] = {Value(0), Value(1), Value(2)};
            alpha = part == KWPART_ALPHA_BAR ? value : 1.0;
            if (part != KWPART_ALPHA_BAR) {
                own[part - KWPART_BAR1] = value;
                rgb = m_colorSpace ? HSLtoRGB({own[0], own[1], own[2]}) : tPickRgb{own[0], own[1], own[2]};
            }
        }
        Put(first + std::ptrdiff_t{x} * 4, rgb, alpha);
    }
    for (LONG y = 1; y < height; ++y)
        std::memcpy(first + std::ptrdiff_t{pitch} * y, first, static_cast<std::size_t>(width) * 4);
    return S_OK;
}

RECT CColorPicker::Place(LONG part) const {
    return part == KWPART_GAMUT && !m_gamutFlags ? RECT{} : m_places[static_cast<std::size_t>(part)];
}

double CColorPicker::Value(LONG channel) const {
    if (channel == kAlpha || !m_colorSpace)
        return m_color[static_cast<std::size_t>(channel == kAlpha ? kAlpha : 2 - channel)];
    return channel == 0 ? m_hsl.hue : channel == 1 ? m_hsl.saturation : m_hsl.luminance;
}

LONG CColorPicker::Mark(LONG bar) const {
    const RECT place = Place(bar);
    if (IsEmpty(place)) return 0;
    return place.left + static_cast<LONG>(Value(bar - KWPART_BAR1) * (place.right - place.left - 1) + 0.5);
}

std::string CColorPicker::Shown(LONG channel) const {
    return FormatText("%d", static_cast<LONG>(std::floor(Value(channel) * 100.0 + 0.5)));
}

std::string CColorPicker::Tip() const {
    LONG bar = m_hoverPart;
    if (bar >= KWPART_EDIT1 && bar <= KWPART_ALPHA_EDIT) bar -= KWPART_EDIT1 - KWPART_BAR1;
    switch (bar) {
    case KWPART_SPACE:
        return FormatText(m_colorSpace ? "Change Color Space to RGB" : "Change Color Space to HSL");
    case KWPART_PICKER:
        return FormatText("Pick Color from Screen");
    case KWPART_BAR1:
    case KWPART_BAR1 + 1:
    case KWPART_BAR1 + 2:
    case KWPART_ALPHA_BAR: {
        const LONG channel = bar - KWPART_BAR1;
        const bool hue = m_colorSpace && channel == 0;
        return FormatText(kChannelTips[m_colorSpace][channel], Value(channel) * (hue ? 360.0 : 100.0));
    }
    case KWPART_GAMUT:
        return FormatText(kGamutTips[m_gamutFlags]);
    case KWPART_FIELD:
        if (m_grey) return FormatText("Luminance: %0.2f%%", m_hsl.luminance * 100.0);
        return FormatText("Hue: %0.2f deg. : Luminance: %0.2f%%", m_hsl.hue * 360.0, m_hsl.luminance * 100.0);
    default:
        return {};
    }
}

LONG CColorPicker::HitTest(LONG x, LONG y, bool& mark) const {
    mark = false;
    for (LONG bar = KWPART_BAR1; bar <= KWPART_ALPHA_BAR; ++bar) {
        const RECT place = Place(bar);
        if (IsEmpty(place) || y < place.top || y >= place.bottom) continue;
        mark = std::abs(std::int64_t{x} - Mark(bar)) <= kMarkReach;
        if (mark) return bar;
    }
    for (LONG part = KWPART_SPACE; part <= KWPART_LAST; ++part)
        if (Holds(Place(part), x, y)) return part;
    return 0;
}

// The field takes two fifths of the width; beside it a row for each channel and one for buttons and swatches.
void CColorPicker::Layout(LONG width, LONG height) {
    constexpr LONG kLargest = 1 << 20; // keeps the arithmetic in range
    width = std::clamp<LONG>(width, 0, kLargest);
    height = std::clamp<LONG>(height, 0, kLargest);
    m_places = {};

    const LONG channels = HasAlpha() ? 4 : 3;
    const LONG across = std::clamp<LONG>(width / 32, 4, 8), down = std::clamp<LONG>(height / 32, 2, 6);
    const LONG row = std::max<LONG>((height - channels * down) / (channels + 1), 0);
    const LONG edit = std::min(std::max(row + 12, row * 14 / 9), width / 5);
    const auto place = [&](LONG left, LONG top, LONG right, LONG bottom) {
        const RECT r{std::min(left, width), std::min(top, height), std::min(right, width), std::min(bottom, height)};
        return IsEmpty(r) ? RECT{} : r;
    };

    m_places[KWPART_FIELD] = place(0, 0, width * 2 / 5, height);
    const LONG left = width * 2 / 5 + across, editLeft = width - edit;
    for (LONG channel = 0; channel < channels; ++channel) {
        const LONG top = channel * (row + down);
        m_places[static_cast<std::size_t>(KWPART_BAR1 + channel)] = place(left, top, editLeft - across, top + row);
        m_places[static_cast<std::size_t>(KWPART_EDIT1 + channel)] = place(editLeft, top, width, top + row);
    }

    const LONG top = channels * (row + down), button = std::min((height - top) * 3 / 2, (width - left) / 5);
    const LONG picker = left + button + across, swatch = picker + button + across;
    // Room for the correction is kept free where one may come: the swatch stands still.
    const bool gamut = m_style & kColorPickGamut;
    const LONG swatchRight = gamut ? swatch + (width - swatch - across) / 2 : width;
    m_places[KWPART_SPACE] = place(left, top, left + button, height);
    m_places[KWPART_PICKER] = place(picker, top, picker + button, height);
    m_places[KWPART_SWATCH] = place(swatch, top, swatchRight, height);
    if (gamut) m_places[KWPART_GAMUT] = place(swatchRight + across, top, width, height);
}

void CColorPicker::SetRgb(const tPickColor& color) {
    m_color = color;
    const tPickHsl hsl = RGBtoHSL(RgbOf(color));
    m_hsl = {hsl.hue < 0.0 ? m_hsl.hue : hsl.hue, hsl.saturation, hsl.luminance};
}

void CColorPicker::SetHsl(const tPickHsl& hsl) {
    m_hsl = hsl;
    const tPickRgb rgb = HSLtoRGB(hsl);
    m_color = {static_cast<float>(Limited(rgb.blue)), static_cast<float>(Limited(rgb.green)),
               static_cast<float>(Limited(rgb.red)), m_color[3]};
}

void CColorPicker::SetValue(LONG channel, double value) {
    if (channel == kAlpha) {
        m_color[kAlpha] = static_cast<float>(value);
    } else if (!m_colorSpace) {
        tPickColor color = m_color;
        color[static_cast<std::size_t>(2 - channel)] = static_cast<float>(value);
        SetRgb(color);
    } else {
        tPickHsl hsl = m_hsl;
        (channel == 0 ? hsl.hue : channel == 1 ? hsl.saturation : hsl.luminance) = value;
        SetHsl(hsl);
    }
}

/// All that follows from the colour, the colour space and the pointer's part.
void CColorPicker::Refresh() {
    m_grey = RGBtoHSL(RgbOf(m_color)).hue < 0.0;
    m_gamutFlags = m_style & kColorPickGamut ? TestGamut(m_color) : 0;
    m_correctedColor = m_gamutFlags ? CorrectGamut(m_color) : m_color;
    for (LONG channel = 0; channel <= kAlpha; ++channel)
        if (KWPART_EDIT1 + channel != m_focus) ShowText(channel);
    if (m_hoverPart == KWPART_GAMUT && !m_gamutFlags) m_hoverPart = 0;
    m_tip = Tip();
}

void CColorPicker::NotifyChange() {
    Refresh();
    Changed();
    Command(0);
}

/// True where the edit held another text.
bool CColorPicker::ShowText(LONG channel) {
    const auto index = static_cast<std::size_t>(channel);
    m_typed[index] = false;
    std::string text = Shown(channel);
    if (text == m_texts[index]) return false;
    m_texts[index] = std::move(text);
    return true;
}

void CColorPicker::Settle() {
    m_stepped = false;
    Notice(KWNOTICE_SETTLED);
}

HRESULT CColorPicker::Press(LONG x, LONG y) {
    EndDrag();
    bool mark;
    const LONG part = HitTest(x, y, mark);
    switch (part) {
    case KWPART_SPACE:
        m_colorSpace = !m_colorSpace;
        // What was typed was meant for the other space.
        for (LONG channel = 0; channel < kAlpha; ++channel) ShowText(channel);
        Refresh();
        Changed();
        return S_OK;
    case KWPART_PICKER:
        Notice(KWNOTICE_PICK);
        return S_OK;
    case KWPART_GAMUT:
        SetRgb(m_correctedColor);
        NotifyChange();
        Settle();
        return S_OK;
    case KWPART_BAR1:
    case KWPART_BAR1 + 1:
    case KWPART_BAR1 + 2:
    case KWPART_ALPHA_BAR:
    case KWPART_FIELD:
        m_dragPart = part;
        m_previousColor = m_color;
        m_previousHsl = m_hsl;
        m_grip = mark ? x - Mark(part) : 0;
        Notice(KWNOTICE_CAPTURE, 1);
        if (mark)
            Changed();
        else
            DragTo(x, y);
        return S_OK;
    default:
        return S_FALSE;
    }
}

void CColorPicker::DragTo(LONG x, LONG y) {
    if (!m_dragPart) return; // let go within a notice
    const RECT place = Place(m_dragPart);
    const double across = Along(std::int64_t{x} - m_grip, place.left, place.right);
    if (m_dragPart == KWPART_FIELD)
        SetHsl({across, m_hsl.saturation > 0.0 ? m_hsl.saturation : 1.0, 1.0 - Along(y, place.top, place.bottom)});
    else
        SetValue(m_dragPart - KWPART_BAR1, across);
    NotifyChange();
}

HRESULT CColorPicker::EndDrag() {
    if (!m_dragPart) return S_FALSE;
    m_dragPart = 0;
    Notice(KWNOTICE_CAPTURE, 0);
    Changed();
    Settle();
    return S_OK;
}

HRESULT CColorPicker::Key(const tPageEvent& event) {
    if (m_dragPart && event.value == KWKEY_ESCAPE) {
        m_color = m_previousColor;
        m_hsl = m_previousHsl;
        NotifyChange();
        return EndDrag();
    }
    if (!IsEdit(event.part)) return S_FALSE;
    const LONG channel = event.part - KWPART_EDIT1;
    const bool typed = m_typed[static_cast<std::size_t>(channel)];
    switch (event.value) {
    case KWKEY_RETURN:
        LeaveText(channel);
        return typed ? S_OK : S_FALSE;
    case KWKEY_ESCAPE:
        if (ShowText(channel)) Changed();
        return typed ? S_OK : S_FALSE;
    case KWKEY_UP:
    case KWKEY_DOWN: {
        double number;
        if (!ReadText(channel, number)) number = std::floor(Value(channel) * 100.0 + 0.5);
        const double step = event.modifiers & KWMOD_CTRL ? 10.0 : 1.0;
        if (TakeNumber(channel, event.value == KWKEY_UP ? number + step : number - step)) m_stepped = true;
        return S_OK;
    }
    default:
        return S_FALSE;
    }
}

/// False where there is no number that the user typed.
bool CColorPicker::ReadText(LONG channel, double& number) const {
    const auto index = static_cast<std::size_t>(channel);
    const char* const text = m_texts[index].c_str();
    if (!m_typed[index] || m_texts[index] == Shown(channel)) return false;
    const char* end;
    number = ReadDouble(text, &end);
    return std::any_of(text, end, [](char c) { return c >= '0' && c <= '9'; });
}

/// Sets a channel in hundredths and shows it. True where that changed the colour, which is then notified.
bool CColorPicker::TakeNumber(LONG channel, double number) {
    const tPickColor before = m_color;
    SetValue(channel, Limited(number / 100.0));
    ShowText(channel);
    if (m_color != before) {
        NotifyChange();
        return true;
    }
    Refresh();
    Changed();
    return false;
}

/// Reads what the user typed, or puts the value's text back.
bool CColorPicker::LeaveText(LONG channel) {
    double number;
    if (ReadText(channel, number)) {
        const bool changed = TakeNumber(channel, number);
        if (changed) Settle();
        return changed;
    }
    if (ShowText(channel)) Changed();
    return false;
}

HRESULT CColorPicker::Focus(LONG part) {
    if (!IsEdit(part)) return S_FALSE;
    if (m_focus && m_focus != part) Blur(m_focus);
    m_focus = part;
    return S_OK;
}

HRESULT CColorPicker::Blur(LONG part) {
    if (!IsEdit(part)) return S_FALSE;
    if (m_focus == part) m_focus = 0;
    if (!LeaveText(part - KWPART_EDIT1) && m_stepped) Settle();
    return S_OK;
}

HRESULT CColorPicker::Text(LONG part, const char* text) {
    if (!IsEdit(part)) return S_FALSE;
    const auto index = static_cast<std::size_t>(part - KWPART_EDIT1);
    if (!text) text = "";
    if (m_texts[index] == text) return S_OK;
    m_texts[index] = text;
    m_typed[index] = true;
    return S_OK;
}

HRESULT CColorPicker::Picked(LONG rgb) {
    if (rgb < 0) return S_OK;
    const auto channel = [rgb](int shift) { return static_cast<float>(rgb >> shift & 255) / 255.0f; };
    SetRgb({channel(0), channel(8), channel(16), m_color[3]});
    NotifyChange();
    Settle();
    return S_OK;
}
