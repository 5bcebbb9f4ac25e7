#include "kernels/mask_generator.h"

#include "frame/effect.h"
#include "pages/page.h"

namespace {

constexpr tFieldChoice kTypes[] = {{"Luminance", 1}, {"Red", 2}, {"Green", 3}, {"Blue", 4}, {"Alpha", 0}};

constexpr tMASKPROP Of(LONG type) {
    return {type, 0, 0.0, 1.0, 0.0, 1.0, 0, 0};
}

constexpr tMASKPROP kDefault = Of(1);

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tMASKPROP, type), "&Type:", "What the mask is made of.", kTypes),
    KwNumber(KWMEMBER(tMASKPROP, lowIn),
             {"&Low in:", "Level at and below which the mask is at its bottom.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tMASKPROP, highIn),
             {"&High in:", "Level at and above which the mask is at its top.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tMASKPROP, lowOut), {"L&ow out:", "Bottom of the mask.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tMASKPROP, highOut), {"H&igh out:", "Top of the mask.", 0, 1, 0.001, "$.3f"}),
    KwSwitch(KWMEMBER(tMASKPROP, invert), "In&vert", "Takes the inverse of the source."),
};

constexpr tPreset<tMASKPROP> kPresets[] = {
    {"Luminance Mask", Of(1)},    {"Red Channel Mask", Of(2)}, {"Green Channel Mask", Of(3)},
    {"Blue Channel Mask", Of(4)}, {"Alpha Mask", Of(0)},
};

constexpr tEffectClass kClass{
    .iid = {0x46E0C97B, 0xD13F, 0x4582, {0xAC, 0x69, 0x98, 0x0D, 0x5B, 0x2E, 0xF7, 0x08}},
    .kind = KWKIND_MASK,
    .family = "Keying",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x81,
    .maxBands = 4,
    .group = tEffectGroup{1, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tMASKPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTKwMask final : public CEffect<tMASKPROP> {
  public:
    DXTKwMask(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tMASKPROP& params) override {
        return KwDibMask(views.output.View(), views.first.View(), views.BytesPerPixel(), &params);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(225, 42);

constexpr auto kItems = KwItems(KwDropDown(KwRow(0), kPageMargin, 42, 80, "type", 1073),
                                KwCheck(KwPlace(kColumns.right - 58, KwRow(0), 58, 11), "invert", 1072),
                                KwSlider(KwRow(1), kColumns, "lowIn", 1069, 1324, kThousandths),
                                KwSlider(KwRow(2), kColumns, "highIn", 1070, 1325, kThousandths),
                                KwSlider(KwRow(3), kColumns, "lowOut", 1075, 1326, kThousandths),
                                KwSlider(KwRow(4), kColumns, "highOut", 1076, 1327, kThousandths));

// Typed bounds may cross: that turns the mask over.
constexpr tPagePair kPairs[] = {{"lowIn", "highIn"}, {"lowOut", "highOut"}};

constexpr tPageInfo kPage{
    .title = "Mask Generator", .size = {225, 105}, .helpTopic = 1022, .items = kItems, .pairs = kPairs};

} // namespace

class DXTKwMaskPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwMask>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwMaskPropPage>(const tObjectMapRow&, IUnknown*);
