#include "kernels/hsl_adjust.h"

#include "frame/effect.h"
#include "pages/page.h"

namespace {

constexpr tHSLADJUSTPROP kDefault{0.0, 1.0, 1.0};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tHSLADJUSTPROP, addHue),
             {"Add to &hue:", "Turns every color around the hue circle.", 0, 1, 0.01, "$.2f", "turns"}, KWRAMP_HUE),
    KwNumber(KWMEMBER(tHSLADJUSTPROP, saturation),
             {"&Saturation:", "Multiplies saturation; 0 is grey.", 0, 2, 0.01, "$.2f"}),
    KwNumber(KWMEMBER(tHSLADJUSTPROP, luminance), {"&Luminance:", "Multiplies luminance.", 0, 2, 0.01, "$.2f"}),
};

constexpr tPreset<tHSLADJUSTPROP> kPresets[] = {
    {"Reset to None", {0.0, 1.0, 1.0}},   {"Desaturate", {0.0, 0.0, 1.0}},
    {"Invert Color", {0.5, 1.0, 1.0}},    {"Max Saturation", {0.0, 2.0, 1.0}},
    {"Half Saturation", {0.0, 0.5, 1.0}}, {"Saturation and Luminance Boost", {0.0, 2.0, 1.05}},
};

constexpr tEffectClass kClass{
    .iid = {0xE41A7D26, 0x905C, 0x4B38, {0x8D, 0xF2, 0x74, 0x19, 0xC0, 0x5E, 0xA3, 0x06}},
    .kind = KWKIND_FILTER,
    .family = "Color",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .group = tEffectGroup{0, 2},
    .defaults = &kDefault,
    .recordSize = sizeof(tHSLADJUSTPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
    .miscFlags = CTransformBase::kMiscWatchOutput,
};

} // namespace

class DXTHSLAdjust final : public CEffect<tHSLADJUSTPROP> {
  public:
    DXTHSLAdjust(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tHSLADJUSTPROP& params) override {
        const tView output = views.output.View(), input = views.HasInput() ? views.first.View() : output;
        return KwDibHslAdjust(output, input, views.BytesPerPixel(), &params);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(210, 48);

constexpr tPageScale kFactor{
    0, 200, 1, 20, [](double v) { return KwRoundAway(v * 0.5 * 200); }, [](LONG p) { return p * 2.0 * 0.005; }};

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "addHue", 1022, 1029, kHundredths),
                                KwSlider(KwRow(1), kColumns, "saturation", 1023, 1030, kFactor),
                                KwSlider(KwRow(2), kColumns, "luminance", 1024, 1031, kFactor));

constexpr tPageInfo kPage{.title = "HSL Adjust", .size = {210, 71}, .helpTopic = 1006, .items = kItems};

} // namespace

class DXTHSLAdjustPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTHSLAdjust>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTHSLAdjustPropPage>(const tObjectMapRow&, IUnknown*);
