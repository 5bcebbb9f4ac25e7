#include "kernels/sepia.h"
#include "frame/effect.h"
#include "kernels/alpha.h"
#include "kernels/copy.h"
#include "pages/page.h"

namespace {

constexpr tSEPIAPROP kDefault{{0.0, 0.65, 0.65, 1.0}, 0.0, 0.0};

constexpr tFieldInfo kFields[] = {
    KwColor(KWMEMBER(tSEPIAPROP, color), KWTYPE_DOUBLE, "bgra", "&Color:", "The tone; its alpha has no effect."),
    KwNumber(KWMEMBER(tSEPIAPROP, strength),
             {"Blending &strength:", "Takes color out up to a third, tones from there on.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tSEPIAPROP, falloff),
             {"Blending &falloff:", "How far the tone weakens from dark to bright.", 0, 1, 0.001, "$.3f"}),
};

constexpr tPreset<tSEPIAPROP> kPresets[] = {
    {"Reset to None", {{0.0, 0.65, 0.65, 1.0}, 0.0, 0.0}},
    {"Neutral", {{0.0, 0.65, 0.65, 1.0}, 0.72, 0.63}},
    {"Warm", {{0.0, 0.446, 0.797, 1.0}, 0.72, 0.63}},
    {"Cold", {{0.383, 0.548, 0.383, 1.0}, 0.72, 0.63}},
    {"Old Photographs", {{0.0, 0.2487, 0.6499, 1.0}, 0.51, 0.0}},
    {"Old Newspaper", {{0.0, 0.2487, 0.6499, 1.0}, 0.476, 0.0}},
    {"Currency", {{0.1034, 0.8281, 1.0, 1.0}, 0.476, 0.0}},
};

constexpr tEffectClass kClass{
    .iid = {0x0C8A97E3, 0x62D4, 0x4A1B, {0x9E, 0x70, 0x3A, 0xF5, 0xB1, 0x48, 0x6C, 0x05}},
    .kind = KWKIND_FILTER,
    .family = "Color",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .group = tEffectGroup{0, 1},
    .defaults = &kDefault,
    .recordSize = sizeof(tSEPIAPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
    .miscFlags = CTransformBase::kMiscWatchOutput,
};

} // namespace

class DXTSepia final : public CEffect<tSEPIAPROP> {
  public:
    DXTSepia(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    bool WritesWholeFrame() const override { return true; }

    // The copy and the cap keep to the clip, the toning does not.
    HRESULT Draw(const CEffectViews& views, const tSEPIAPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        const tView clip = views.output.View(), whole = views.output.WholeView();
        const tView input = views.HasInput() ? views.first.View() : clip;
        if (views.output.m_ClipRect == views.output.m_Frame)
            return KwDibSepia(clip, input, bytesPerPixel, &params, true);
        HRESULT status = KwDibCopy(clip, input, bytesPerPixel);
        if (SUCCEEDED(status)) status = KwDibSepia(whole, whole, bytesPerPixel, &params, false);
        return SUCCEEDED(status) ? KwDibClampToAlpha(clip, bytesPerPixel) : status;
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(259, 70);

constexpr auto kItems = KwItems(KwPicker(kPageMargin, KwRow(0), 245, 86, "color", 1107),
                                KwSlider(110, kColumns, "strength", 1109, 1111, kThousandths),
                                KwSlider(127, kColumns, "falloff", 1108, 1110, kThousandths));

constexpr tPageInfo kPage{.title = "Sepia", .size = {259, 145}, .helpTopic = 1007, .items = kItems};

} // namespace

class DXTSepiaPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTSepia>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTSepiaPropPage>(const tObjectMapRow&, IUnknown*);
