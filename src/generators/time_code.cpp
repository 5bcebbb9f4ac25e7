#include "generators/time_code.h"

#include <array>
#include <memory>
#include <string>

#include "base/arith.h"
#include "frame/effect.h"
#include "kernels/copy.h"
#include "kernels/unaligned.h"
#include "pages/page.h"
#include "platform/glyphs.h"
#include "support/time_format.h"

namespace {

constexpr tTIMECODEPROP kDefault{1, 1, kTimeSmpteDrop, 1.0f, 1.0f, 1.0f, 0, 0};

constexpr tFieldChoice kHorizontal[] = {{"Left", 0}, {"Middle", 1}, {"Right", 2}};
constexpr tFieldChoice kVertical[] = {{"Top", 0}, {"Middle", 1}, {"Bottom", 2}};
constexpr tFieldChoice kFormats[] = {
    {"Time", kTimeClock},
    {"Seconds", kTimeSeconds},
    {"Time & Frames", kTimeClockFrames},
    {"Absolute Frames", kTimeFrames},
    {"SMPTE Non-Drop (29.97 fps, Video)", kTimeSmpteNonDrop},
    {"SMPTE 30 (30 fps, Audio)", kTimeSmpte30},
    {"SMPTE Drop (29.97 fps, Video)", kTimeSmpteDrop},
    {"SMPTE EBU (25 fps, Video)", kTimeSmpteEbu},
    {"SMPTE Film Sync (24 fps)", kTimeSmpteFilm},
    {"Feet and Frames 16mm (40 fpf)", kTimeFeet16},
    {"Feet and Frames 35mm (16 fpf)", kTimeFeet35},
};

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tTIMECODEPROP, horizontal),
             "&Horizontal alignment:", "Where the digits stand from left to right.", kHorizontal),
    KwChoice(KWMEMBER(tTIMECODEPROP, vertical), "&Vertical alignment:", "Where the digits stand from top to bottom.",
             kVertical),
    KwChoice(KWMEMBER(tTIMECODEPROP, format), "&Timecode format:", "How the time of the frame is written.", kFormats),
    KwNumber(KWMEMBER(tTIMECODEPROP, width),
             {"Timecode &width:", "Stretches the digits sideways.", 0.5, 2, 0.001, "$.3f"}, KWRAMP_START),
    KwNumber(KWMEMBER(tTIMECODEPROP, height),
             {"Timecode h&eight:", "Stretches the digits upwards.", 0.5, 2, 0.001, "$.3f"}, KWRAMP_START),
    KwNumber(KWMEMBER(tTIMECODEPROP, scale),
             {"&Scale:", "Kept with the record; nothing reads it.", 0, 1, 0.001, "$.3f"}),
};

constexpr tTIMECODEPROP AtBottomRight(LONG format, float size) {
    return {2, 2, format, size, size, 1.0f, 0, 0};
}

constexpr tPreset<tTIMECODEPROP> kPresets[] = {
    {"SMPTE Drop (29.97 fps)", AtBottomRight(kTimeSmpteDrop, 1.0f)},
    {"SMPTE Drop (29.97 fps), Small", AtBottomRight(kTimeSmpteDrop, 0.75f)},
    {"SMPTE Non-Drop (29.97 fps)", AtBottomRight(kTimeSmpteNonDrop, 1.0f)},
    {"SMPTE Film (24 fps)", AtBottomRight(kTimeSmpteFilm, 1.0f)},
    {"Seconds", AtBottomRight(kTimeSeconds, 1.0f)},
    {"Absolute Frames", AtBottomRight(kTimeFrames, 1.0f)},
    {"Time & Frames", AtBottomRight(kTimeClockFrames, 1.0f)},
};

constexpr tEffectClass kClass{
    .iid = {0x4F96B579, 0xE249, 0x412A, {0x8D, 0x81, 0x2B, 0xF4, 0x73, 0x4F, 0xF7, 0x91}},
    .kind = KWKIND_FILTER,
    .family = "Titles",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0x141,
    .group = tEffectGroup{1, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tTIMECODEPROP),
    .fields = kFields,
    .presets = kPresets,
};

constexpr std::string_view kCharacters = "0123456789;:.,+-";

/// Every other character shows as the last.
std::size_t SlotOf(char character) {
    return std::min(kCharacters.find(character), kCharacters.size() - 1);
}

/// As 16.16: the whole part truncated, the rest beside it. Nothing sensible gives 0.
LONG FixedOf(float scale) {
    return scale > -32768.0f && scale < 32768.0f ? KwTrunc(double{scale} * 65536.0) : 0;
}

/// A character's measures; all 0 where there is no ink.
struct tSlot {
    ULONG glyph = 0;
    LONG width = 0, height = 0, originX = 0, originY = 0, cellIncrement = 0;
};

/// The characters of a timecode at one size.
class CDigits {
  public:
    CDigits(LONG fontSize, float width, float height) : m_fontSize(fontSize), m_scale{width, height} {
        const tLOGFONT description{
            .lfHeight = fontSize, .lfWeight = 700, .lfCharSet = 1, .lfOutPrecision = 7, .lfFaceName = "Arial"};
        m_font = CGlyphFont::Open(description, FixedOf(width), FixedOf(height));
        for (std::size_t i = 0; m_font && i < m_slots.size(); ++i) {
            const ULONG index = m_font->IndexOf(static_cast<unsigned char>(kCharacters[i]));
            if (const tGlyph* const glyph = m_font->Glyph(index); glyph && glyph->coverage)
                m_slots[i] = {index,          glyph->boxWidth, glyph->boxHeight,
                              glyph->originX, glyph->originY,  glyph->cellIncrementX};
        }
        for (const tSlot& slot : m_slots) {
            m_top = std::max(m_top, slot.originY);
            if (slot.originY < 0) m_bottom = slot.height;
        }
    }

    bool IsFor(LONG fontSize, float width, float height) const {
        const float scale[] = {width, height};
        return fontSize == m_fontSize && std::memcmp(scale, m_scale, sizeof scale) == 0;
    }
    const tSlot& operator[](char character) const { return m_slots[SlotOf(character)]; }
    LONG Top() const { return m_top; }
    LONG Bottom() const { return m_bottom; }

    /// Draws a slot's box with its top left at (x, y), grey on black. Its pixels are made of what is seen of it alone:
    /// at a wild scale all of them would be gigabytes.
    HRESULT Draw(const tSlot& slot, std::int64_t x, std::int64_t y, const RECT& within, const tView& output) {
        const std::int64_t left = std::max<std::int64_t>(x, within.left),
                           right = std::min<std::int64_t>(x + slot.width, within.right);
        const std::int64_t top = std::max<std::int64_t>(y, within.top),
                           bottom = std::min<std::int64_t>(y + slot.height, within.bottom);
        if (left >= right || top >= bottom) return S_OK;
        const tGlyph* const glyph = m_font->Glyph(slot.glyph);
        if (!glyph) return E_OUTOFMEMORY;
        for (std::int64_t row = top; row < bottom; ++row) {
            const std::uint8_t* const coverage = glyph->coverage + (row - y) * glyph->stride;
            auto* const pixels = reinterpret_cast<tAnyWord*>(KwPixelAddress(output, 0, static_cast<LONG>(row), 4));
            for (std::int64_t column = left; column < right; ++column)
                pixels[column] = 0xFF000000 | std::min<DWORD>(4u * coverage[column - x], 255) * 0x010101;
        }
        return S_OK;
    }

  private:
    LONG m_fontSize;
    float m_scale[2];
    std::unique_ptr<CGlyphFont> m_font;
    std::array<tSlot, kCharacters.size()> m_slots;
    LONG m_top = 0, m_bottom = 0;
};

/// The rate that frames are counted at: hosts give that of the fields for interlaced video.
double CountingRate(double rate) {
    const double half = rate * 0.5;
    const bool isFieldRate =
        (half >= 29.96502997002997 && half <= 29.97502997002997) || (half >= 24.995 && half <= 25.005);
    return isFieldRate ? half : rate;
}

/// The time moved to the begin of its frame.
std::int64_t SnapToFrame(std::int64_t time, double rate) {
    const auto frames = static_cast<double>(KwTrunc64(static_cast<double>(time) * 1e-7 * rate + 1e-5));
    return KwTrunc64(frames / rate * 1e7 + 0.5);
}

LONG Limited(std::int64_t value) {
    return static_cast<LONG>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

} // namespace

class DXTTimeCode final : public CEffect<tTIMECODEPROP> {
  public:
    DXTTimeCode(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tTIMECODEPROP& params) override {
        const tView output = views.output.View();
        if (views.HasInput())
            if (const HRESULT status = KwDibCopy(output, views.first.View(), views.BytesPerPixel()); FAILED(status))
                return status;
        if (views.BytesPerPixel() != 4) return E_NOTIMPL;

        const LONG width = views.output.m_Width, height = views.output.m_Height;
        const LONG fontSize = std::min(width, height) / 6;
        if (!m_Digits || !m_Digits->IsFor(fontSize, params.width, params.height))
            m_Digits = std::make_unique<CDigits>(fontSize, params.width, params.height);
        CDigits& digits = *m_Digits;

        const tSurfaceInfo& info = views.output.m_SurfaceInfo;
        const std::string text = TextOf(params.format, CountingRate(info.frameRate), info.time100ns);
        LONG total = 0, tallest = 0;
        for (const char c : text) {
            total += digits[c].cellIncrement;
            tallest = std::max(tallest, digits[c].height + digits[c].originY);
        }

        const RECT& frame = views.output.m_Frame;
        const std::int64_t left = frame.left, top = frame.top;
        std::int64_t x = left + width / 10, y = top + height / 10 + tallest / 2;
        if (params.horizontal == 1) x = left + width / 2 - total / 2;
        if (params.horizontal == 2) x = left + width - width / 10 - total;
        if (params.vertical == 1) y = top + height / 2 + tallest / 4;
        if (params.vertical == 2) y = top + height - height / 10;

        const LONG aside = tallest / 4, above = tallest / 8;
        const RECT within = KwIntersect(frame, *output.clip);
        const RECT box = KwIntersect(within, {Limited(x - aside), Limited(y - above - digits.Top()),
                                              Limited(x + aside + total), Limited(y + above + digits.Bottom())});
        if (!KwIsEmpty(box))
            if (const HRESULT status = KwDibFill({output.bits, output.frame, output.stride, &box}, 4, 0, 0, 0, 1.0);
                FAILED(status))
                return status;
        for (const char c : text) {
            const tSlot& slot = digits[c];
            if (const HRESULT status = digits.Draw(slot, x + slot.originX, y - slot.originY, within, output);
                FAILED(status))
                return status;
            x += slot.cellIncrement;
        }
        return S_OK;
    }

  private:
    /// One byte for each character: those of several bytes are none that can be drawn.
    static std::string TextOf(LONG format, double rate, std::int64_t time) {
        tTIMEFORMAT wanted{};
        wanted.format = format;
        wanted.frameRate = rate;
        char buffer[260];
        const std::size_t length = FormatTime(buffer, wanted, rate != 0.0 ? SnapToFrame(time, rate) : time, false);
        std::string text(buffer, length);
        std::erase_if(text, [](char c) { return (c & 0xC0) == 0x80; });
        return text;
    }

    std::unique_ptr<CDigits> m_Digits;
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(259, 78);

constexpr tPageScale kStretch{0,
                              1500,
                              1,
                              150,
                              [](double v) { return KwRoundAway((v - 0.5) * 1000); },
                              [](LONG p) { return p * 1.5 * 0.00066666666 + 0.5; }};

constexpr auto kItems = KwItems(KwDropDown(KwRow(0), kPageMargin, 78, 164, "format", 1477, true),
                                KwDropDown(KwRow(1), kPageMargin, 78, 80, "horizontal", 1474, true),
                                KwDropDown(KwRow(2), kPageMargin, 78, 80, "vertical", 1475, true),
                                KwSlider(KwRow(3), kColumns, "width", 1478, 1479, kStretch, {.mate = 1097}),
                                KwSlider(KwRow(4), kColumns, "height", 1097, 1098, kStretch, {.mate = 1478}));

constexpr tPageInfo kPage{.title = "Timecode", .size = {259, 105}, .helpTopic = 1031, .items = kItems};

} // namespace

class DXTTimeCodePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTTimeCode>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTTimeCodePropPage>(const tObjectMapRow&, IUnknown*);
