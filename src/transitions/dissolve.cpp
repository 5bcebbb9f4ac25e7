#include "kernels/dissolve.h"

#include <memory>
#include <new>

#include "base/arith.h"
#include "frame/effect.h"
#include "pages/page.h"
#include "support/strings.h"

namespace {

constexpr tDISSOLVEPROP kDefault{0, 0, 0, 0, 0, 0};

constexpr tFieldChoice kModes[] = {
    {"Additive Dissolve", 0},     {"Subtractive Dissolve", 1},
    {"Subtractive Crossfade", 2}, {"Color Bleed", 3},
    {"Pixel Color Morph", 4},     {"Threshold Dissolve", 5},
    {"Threshold Appear", 6},      {"Fade Through Greyscale", 7},
    {"Fade Through Color", 8},    {"R then G then B Crossfade", 9},
};

constexpr tFieldInfo kFields[] = {
    KwNumber(
        KWMEMBER(tDISSOLVEPROP, red),
        {"&Red", "Color Bleed and Morph: how much faster red goes. Fade Through Color: its red.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tDISSOLVEPROP, green),
             {"&Green", "Color Bleed and Morph: how much faster green goes. Fade Through Color: its green.", 0, 1,
              0.001, "$.3f"}),
    KwNumber(KWMEMBER(tDISSOLVEPROP, blue),
             {"&Blue", "Color Bleed and Morph: how much faster blue goes. Fade Through Color: its blue.", 0, 1, 0.001,
              "$.3f"}),
    KwNumber(KWMEMBER(tDISSOLVEPROP, alpha),
             {"&Alpha", "Color Bleed and Morph: how much faster alpha goes. Fade Through Color: its alpha.", 0, 1,
              0.001, "$.3f"}),
    KwChoice(KWMEMBER(tDISSOLVEPROP, mode), "Select &Dissolve", "How one picture passes into the other.", kModes),
};

constexpr tPreset<tDISSOLVEPROP> kPresets[] = {
    {"Additive Dissolve", {0, 0, 0, 0, 0, 0}},
    {"Subtractive Dissolve", {0, 0, 0, 0, 1, 0}},
    {"Subtractive Crossfade", {0, 0, 0, 0, 2, 0}},
    {"Color Bleed", {0, 0, 0, 0, 3, 0}},
    {"Color Bleed Fast Red", {1, 0, 0, 0, 3, 0}},
    {"Color Bleed Fast Green", {0, 1, 0, 0, 3, 0}},
    {"Color Bleed Fast Blue", {0, 0, 1, 0, 3, 0}},
    {"Color Bleed Fast Alpha", {0, 0, 0, 1, 3, 0}},
    {"Color Morph", {0, 0, 0, 0, 4, 0}},
    {"Color Morph Fast Red", {1, 0, 0, 0, 4, 0}},
    {"Color Morph Fast Green", {0, 1, 0, 0, 4, 0}},
    {"Color Morph Fast Blue", {0, 0, 1, 0, 4, 0}},
    {"Color Morph Fast Alpha", {0, 0, 0, 1, 4, 0}},
    {"Threshold Dissolve", {0, 0, 0, 0, 5, 0}},
    {"Threshold Appear", {0, 0, 0, 0, 6, 0}},
    {"Fade Through Greyscale", {0, 0, 0, 0, 7, 0}},
    {"Fade Through Black", {0, 0, 0, 1, 8, 0}},
    {"Fade Through White", {1, 1, 1, 1, 8, 0}},
    {"Fade Through Red", {1, 0, 0, 1, 8, 0}},
    {"Fade Through Green", {0, 1, 0, 1, 8, 0}},
    {"Fade Through Blue", {0, 0, 1, 1, 8, 0}},
    {"Fade Through Transparent", {0, 0, 0, 0, 8, 0}},
    {"Red then Green then Blue Crossfade", {0, 0, 0, 0, 9, 0}},
};

constexpr tEffectClass kClass{
    .iid = {0x0E0FEC15, 0x07B1, 0x4B6C, {0xAD, 0x1E, 0xFF, 0xFB, 0xBB, 0x5C, 0xEE, 0x5A}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0x81,
    .maxBands = 4,
    .defaults = &kDefault,
    .recordSize = sizeof(tDISSOLVEPROP),
    .fields = kFields,
    .presets = kPresets,
    .answersPresets = false,
};

/// An area of a surface as premultiplied 4-byte pixels: its own memory where that has this form, else a copy.
class CPremultipliedArea {
  public:
    /// The status of the lock where that fails; E_OUTOFMEMORY where there is no room for a copy.
    HRESULT Lock(IDXSurface* surface, const DXBNDS& bounds, bool forWrite) {
        if (!surface) return E_FAIL;
        const RECT area = KwRectOf(bounds);
        if (KwIsEmpty(area) || KwWidth(area) > INT32_MAX / 4 || KwHeight(area) > INT32_MAX) return E_INVALIDARG;
        m_frame = {0, 0, static_cast<LONG>(KwWidth(area)), static_cast<LONG>(KwHeight(area))};
        GUID format{};
        DWORD sampleFormat = 0;
        if (const HRESULT status = surface->GetPixelFormat(&format, &sampleFormat); FAILED(status)) return status;
        const HRESULT status = surface->LockSurface(&bounds, 0, forWrite ? DXLOCKF_READWRITE : DXLOCKF_READ,
                                                    forWrite ? &IDXARGBReadWritePtr::iid : &IDXARGBReadPtr::iid,
                                                    forWrite ? m_write.ReceiveVoid() : m_read.ReceiveVoid(), nullptr);
        if (FAILED(status)) {
            m_read.Detach();
            m_write.Detach();
            return status;
        }
        if (!Reader()) return E_FAIL;
        return format == DDPF_PMARGB32 ? TakeMemory() : Unpack();
    }

    /// Brings a copy back to the surface.
    void PackBack() const {
        if (!m_copy) return;
        for (LONG y = 0; y < m_frame.bottom; ++y) {
            m_write->MoveToRow(static_cast<ULONG>(y));
            m_write->PackPremultAndMove(Row(y), static_cast<ULONG>(m_frame.right));
        }
    }

    tView View() const { return {m_bits, &m_frame, m_stride, nullptr}; }

  private:
    IDXARGBReadPtr* Reader() const { return m_write ? m_write.Get() : m_read.Get(); }
    DWORD* Row(LONG y) const { return m_copy.get() + std::ptrdiff_t{y} * m_frame.right; }

    HRESULT TakeMemory() {
        DXNATIVETYPEINFO native{};
        Reader()->GetNativeType(&native);
        m_bits = native.pFirstByte;
        m_stride = native.lPitch;
        return m_bits ? S_OK : E_FAIL;
    }

    HRESULT Unpack() {
        // A surface without memory draws in runs, which may end behind the count.
        constexpr std::size_t kSpare = 64;
        const std::size_t count = static_cast<std::size_t>(m_frame.right) * static_cast<std::size_t>(m_frame.bottom);
        m_copy.reset(new (std::nothrow) DWORD[count + kSpare]());
        if (!m_copy) return E_OUTOFMEMORY;
        for (LONG y = 0; y < m_frame.bottom; ++y) {
            Reader()->MoveToRow(static_cast<ULONG>(y));
            Reader()->UnpackPremult(Row(y), static_cast<ULONG>(m_frame.right), FALSE);
        }
        m_bits = m_copy.get();
        m_stride = m_frame.right * 4;
        return S_OK;
    }

    CComPtr<IDXARGBReadPtr> m_read;
    CComPtr<IDXARGBReadWritePtr> m_write;
    std::unique_ptr<DWORD[]> m_copy;
    void* m_bits = nullptr;
    RECT m_frame{};
    LONG m_stride = 0; ///< bytes
};

} // namespace

class Dissolve final : public CEffect<tDISSOLVEPROP> {
  public:
    Dissolve(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    void RampRecord(const std::byte* from, const std::byte* to, double position, std::byte* out) override {
        CEffect::RampRecord(from, to, KwClamp(position, 0.0, 1.0), out);
    }

    // Everything but premultiplied bytes goes through copies of that form, floats as well.
    HRESULT Work(const tWorkInfo& info, BOOL*) override {
        const tDISSOLVEPROP params = UpdateWorkParams();
        CPremultipliedArea first, second, output;
        if (const HRESULT status = first.Lock(InputSurface(0), info.DoBounds, false); FAILED(status)) return status;
        if (const HRESULT status = second.Lock(InputSurface(1), info.DoBounds, false); FAILED(status)) return status;
        if (const HRESULT status = output.Lock(OutputSurface(), info.OutputBounds, true); FAILED(status)) return status;
        if (params.mode < 0 || params.mode > 9) return S_OK; // also no way there and back for straight pixels
        const HRESULT status = KwDibDissolve(output.View(), first.View(), second.View(), params, m_Progress);
        if (SUCCEEDED(status)) output.PackBack();
        return status;
    }

    HRESULT Draw(const CEffectViews&, const tDISSOLVEPROP&) override { return E_NOTIMPL; } // `Work` stands for it
};

// --- its page

namespace {

enum : LONG { kMode = 1247, kGroup = 1248, kColor = 1249, kSlow = 1270, kFast = 1271 };

/// Ids of a speed's label, trackbar and edit.
struct tSpeed {
    const char* field;
    LONG label, trackbar, edit;
};
constexpr tSpeed kSpeeds[] = {
    {"red", 1261, 1251, 1252}, {"green", 1262, 1253, 1254}, {"blue", 1263, 1255, 1256}, {"alpha", 1264, 1257, 1258}};

constexpr tPageColumns kColumns{13, 30, 223};
constexpr LONG kTop = 40;

constexpr auto Speed(LONG index) {
    const tSpeed& speed = kSpeeds[index];
    return KwSlider(kTop + 24 + 18 * index, kColumns, speed.field, speed.trackbar, speed.edit, kThousandthsCut,
                    {.labelId = speed.label});
}

constexpr auto kItems = KwItems(KwDropDown(KwRow(0), kPageMargin, 58, 130, "mode", kMode),
                                KwItem({.kind = KWCONTROL_GROUP, .id = kGroup, .place = {7, kTop, 229, 142}}),
                                KwItem({.id = kSlow, .place = KwPlace(46, kTop + 12, 30, 9), .text = "Slow"}),
                                KwItem({.id = kFast, .place = KwPlace(162, kTop + 12, 24, 9), .text = "Fast"}),
                                Speed(0), Speed(1), Speed(2), Speed(3),
                                KwItem({.kind = KWCONTROL_COLOR,
                                        .id = kColor,
                                        .place = {13, kTop + 12, 223, 138},
                                        .field = "red",
                                        .style = kPickAlpha | kPickGamut,
                                        .elements = "rgba"}));

constexpr tPageInfo kPage{.title = "Dissolve", .size = {236, 148}, .helpTopic = 1027, .items = kItems};

} // namespace

class DissolvePP final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;

  protected:
    // What the four numbers mean follows the mode, and so do the controls for them.
    void ShowRecord(const CPageControl* except) override {
        CPropPage::ShowRecord(except);
        constexpr LONG kBleed = 3, kMorph = 4, kFadeThroughColor = 8;
        constexpr UINT kBleedTitle = 1285, kMorphTitle = 1286, kColorTitle = 1287;
        const LONG mode = Params<tDISSOLVEPROP>().mode;
        const bool speeds = mode == kBleed || mode == kMorph, color = mode == kFadeThroughColor;
        for (const tSpeed& speed : kSpeeds)
            for (const LONG id : {speed.label, speed.trackbar, speed.edit}) ShowControl(id, speeds);
        for (const LONG id : {kSlow, kFast}) ShowControl(id, speeds);
        ShowControl(kColor, color);
        ShowControl(kGroup, speeds || color);
        if (speeds || color)
            Control<CStaticText>(kGroup).SetText(GetResourceString(nullptr, color            ? kColorTitle
                                                                            : mode == kBleed ? kBleedTitle
                                                                                             : kMorphTitle));
    }
};

template IUnknown* KwCreate<Dissolve>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DissolvePP>(const tObjectMapRow&, IUnknown*);
