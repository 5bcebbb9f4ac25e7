#include "frame/effect.h"
#include "kernels/barn.h"
#include "pages/border_rows.h"
#include "pages/page.h"
#include "transitions/border_fields.h"

namespace {

enum : LONG { kVertical, kHorizontal };
enum : LONG { kIn, kOut };

constexpr tBARNPROP Of(LONG orientation, LONG direction, float border = 0, float feather = 0,
                       const tBorderColor& color = kBlack) {
    return {orientation, border, feather, color.blue, color.green, color.red, color.alpha, direction};
}

constexpr tBARNPROP kDefault = Of(kVertical, kIn);

constexpr tFieldChoice kOrientations[] = {{"Horizontal", kHorizontal}, {"Vertical", kVertical}};
constexpr tFieldChoice kDirections[] = {{"In", kIn}, {"Out", kOut}};

constexpr const char* kUnit = "of half the way";

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tBARNPROP, orientation), "&Orientation:",
             "Vertical doors stand at left and right, horizontal ones at top and bottom.", kOrientations),
    KwBorderSize<tBARNPROP>("&Size:", kUnit),
    KwBorderFeather<tBARNPROP>(kUnit),
    KwBorderColor<tBARNPROP>(),
    KwChoice(KWMEMBER(tBARNPROP, direction),
             "&Direction:", "In: the new picture closes over the old one. Out: the old picture opens.", kDirections),
};

constexpr tPreset<tBARNPROP> kPresets[] = {
    {"Vertical, In, No Border", Of(kVertical, kIn)},
    {"Vertical, Out, No Border", Of(kVertical, kOut)},
    {"Horizontal, In, No Border", Of(kHorizontal, kIn)},
    {"Horizontal, Out, No Border", Of(kHorizontal, kOut)},
    {"Vertical, In, White Border", Of(kVertical, kIn, 0.1f, 0, kWhite)},
    {"Horizontal, Out, White Border", Of(kHorizontal, kOut, 0.1f, 0, kWhite)},
    {"Vertical, Out, Black Border", Of(kVertical, kOut, 0, 0.07f)},
    {"Horizontal, In, Black Border", Of(kHorizontal, kIn, 0, 0.07f)},
    {"Horizontal, Out, Yellow Border", Of(kHorizontal, kOut, 0, 0.1f, kYellow)},
    {"Vertical, Out, Red Border", Of(kVertical, kOut, 0, 0.3f, kRed)},
};

constexpr tEffectClass kClass{
    .iid = {0x75A0008A, 0x47D9, 0x4394, {0xB2, 0xB9, 0xDF, 0x58, 0x67, 0x9A, 0x9A, 0xD0}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0,
    .defaults = &kDefault,
    .recordSize = sizeof(tBARNPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTKwBarn final : public CEffect<tBARNPROP> {
  public:
    DXTKwBarn(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    // Out is in, run backwards with the pictures exchanged.
    HRESULT Draw(const CEffectViews& views, const tBARNPROP& params) override {
        const tView output = views.output.View(), first = views.first.View(), second = views.second.View();
        return params.direction == kIn
                   ? KwDibBarn(output, first, second, views.BytesPerPixel(), params, m_Progress)
                   : KwDibBarn(output, second, first, views.BytesPerPixel(), params, 1.0 - m_Progress);
    }
};

// --- its page

namespace {

constexpr auto kItems =
    KwItems(KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 50, 9), "orientation", 1201)),
            KwRadio(KwPlace(60, KwRow(0), 52, 11), "orientation", 1, 1201),
            KwRadio(KwPlace(116, KwRow(0), 44, 11), "orientation", 0, 1202),
            KwItem(KwLabel(KwPlace(kPageMargin, KwRow(1) + 1, 50, 9), "direction", 1203)),
            KwRadio(KwPlace(60, KwRow(1), 52, 11), "direction", 0, 1203),
            KwRadio(KwPlace(116, KwRow(1), 44, 11), "direction", 1, 1204), KwBorderRows(KwRow(2) + 1, 245));

constexpr tPageInfo kPage{.title = "Barn Door", .size = {245, 206}, .helpTopic = 1018, .items = kItems};

} // namespace

class DXTKwBarnPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwBarn>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwBarnPropPage>(const tObjectMapRow&, IUnknown*);
