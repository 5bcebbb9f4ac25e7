#include "kernels/squeeze.h"

#include "frame/effect.h"
#include "pages/border_rows.h"
#include "pages/page.h"
#include "transitions/border_fields.h"

namespace {

enum : LONG { kDown, kVertical, kUp, kRight, kLateral, kLeft };

constexpr tSQUEEZEPROP Of(LONG type, LONG squeezeOld, float border = 0, float feather = 0,
                          const tBorderColor& color = kBlack) {
    return {type, squeezeOld, border, feather, color.blue, color.green, color.red, color.alpha};
}

constexpr tSQUEEZEPROP kDefault = Of(kDown, 1);

constexpr tFieldChoice kTypes[] = {{"Up", kUp},       {"Down", kDown},       {"Left", kLeft},
                                   {"Right", kRight}, {"Lateral", kLateral}, {"Vertical", kVertical}};

constexpr const char* kUnit = "of the way";

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tSQUEEZEPROP, type),
             "&Direction:", "Which way the new picture grows; lateral and vertical grow from the middle.", kTypes),
    KwSwitch(KWMEMBER(tSQUEEZEPROP, squeezeOld), "Sq&ueeze previous image",
             "Squeezes the old picture into the room that is left."),
    KwBorderSize<tSQUEEZEPROP>("Si&ze:", kUnit),
    KwBorderFeather<tSQUEEZEPROP>(kUnit),
    KwBorderColor<tSQUEEZEPROP>(),
};

constexpr tPreset<tSQUEEZEPROP> kPresets[] = {
    {"Squeeze Down", Of(kDown, 1)},
    {"Squeeze Up", Of(kUp, 1)},
    {"Squeeze Right-Left", Of(kLeft, 1)},
    {"Squeeze Left-Right", Of(kRight, 1)},
    {"Squeeze In, Down", Of(kDown, 0)},
    {"Squeeze In, Up", Of(kUp, 0)},
    {"Squeeze In, Right-Left", Of(kLeft, 0)},
    {"Squeeze In, Left-Right", Of(kRight, 0)},
    {"Lateral", Of(kLateral, 0)},
    {"Vertical", Of(kVertical, 0)},
    {"Lateral In, White Border", Of(kLateral, 1, 0.01f, 0, kWhite)},
    {"Vertical In, Red Border", Of(kVertical, 1, 0.01f, 0.01f, kRed)},
    {"Squeeze In, Left-Right, Green Border", Of(kRight, 0, 0.02f, 0.01f, kGreen)},
    {"Squeeze In, Down, Blue Border", Of(kDown, 0, 0, 0.03f, kBlue)},
};

constexpr tEffectClass kClass{
    .iid = {0x63A9F9D5, 0x57B8, 0x4BCD, {0xAA, 0xE9, 0xBB, 0xFF, 0x41, 0x6F, 0x29, 0x68}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0x41,
    .defaults = &kDefault,
    .recordSize = sizeof(tSQUEEZEPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTKwSqueeze final : public CEffect<tSQUEEZEPROP> {
  public:
    DXTKwSqueeze(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tSQUEEZEPROP& params) override {
        return KwDibSqueeze(views.output.View(), views.first.View(), views.second.View(), views.BytesPerPixel(), params,
                            m_Progress);
    }
};

// --- its page

namespace {

constexpr auto kItems = KwItems(
    KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 40, 9), "type", 1201)),
    KwRadio(KwPlace(50, KwRow(0), 40, 11), "type", 2, 1201), KwRadio(KwPlace(96, KwRow(0), 40, 11), "type", 0, 1202),
    KwRadio(KwPlace(142, KwRow(0), 40, 11), "type", 5, 1203), KwRadio(KwPlace(188, KwRow(0), 44, 11), "type", 3, 1204),
    KwRadio(KwPlace(50, KwRow(1), 40, 11), "type", 4, 1206), KwRadio(KwPlace(96, KwRow(1), 44, 11), "type", 1, 1207),
    KwCheck(KwPlace(50, KwRow(2), 130, 11), "squeezeOld", 1205), KwBorderRows(KwRow(3) + 1, 245));

constexpr tPageInfo kPage{.title = "Squeeze", .size = {245, 222}, .helpTopic = 1025, .items = kItems};

} // namespace

class DXTKwSqueezePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwSqueeze>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwSqueezePropPage>(const tObjectMapRow&, IUnknown*);
