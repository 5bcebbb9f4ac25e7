#include "kernels/push.h"

#include "frame/effect.h"
#include "pages/border_rows.h"
#include "pages/page.h"
#include "transitions/border_fields.h"

namespace {

enum : LONG { kUp, kRight, kDown, kLeft };

constexpr tPUSHPROP Of(LONG direction, LONG pushOff, float border = 0, float feather = 0,
                       const tBorderColor& color = kBlack) {
    return {direction, pushOff, border, feather, color.blue, color.green, color.red, color.alpha};
}

constexpr tPUSHPROP kDefault = Of(kUp, 1);

constexpr tFieldChoice kDirections[] = {{"Up", kUp}, {"Down", kDown}, {"Left", kLeft}, {"Right", kRight}};

constexpr const char* kUnit = "of the way";

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tPUSHPROP, direction), "&Direction:", "Which way the new picture moves.", kDirections),
    KwSwitch(KWMEMBER(tPUSHPROP, pushOff), "&Push off previous image", "Moves the old picture out of the way."),
    KwBorderSize<tPUSHPROP>("&Size:", kUnit),
    KwBorderFeather<tPUSHPROP>(kUnit),
    KwBorderColor<tPUSHPROP>(),
};

constexpr tPreset<tPUSHPROP> kPresets[] = {
    {"Push Up", Of(kUp, 1)},
    {"Push Down", Of(kDown, 1)},
    {"Push Left", Of(kLeft, 1)},
    {"Push Right", Of(kRight, 1)},
    {"Push In, Down", Of(kDown, 0)},
    {"Push In, Left", Of(kLeft, 0)},
    {"Push In, Right", Of(kRight, 0)},
    {"Push In, Up", Of(kUp, 0)},
    {"Push In, Left, White Border", Of(kLeft, 0, 0.05f, 0, kWhite)},
    {"Push In, Right, Yellow Border", Of(kRight, 0, 0.08f, 0.08f, kYellow)},
    {"Push Up, Red Border", Of(kUp, 1, 0, 0.08f, kRed)},
    {"Push Down, Blue Border", Of(kDown, 1, 0.05f, 0.02f, kBlue)},
};

constexpr tEffectClass kClass{
    .iid = {0x0B2CB682, 0xFC64, 0x4B63, {0x99, 0xE5, 0x4C, 0xC3, 0x48, 0x34, 0x6C, 0x57}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0x41,
    .defaults = &kDefault,
    .recordSize = sizeof(tPUSHPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTKwPush final : public CEffect<tPUSHPROP> {
  public:
    DXTKwPush(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tPUSHPROP& params) override {
        return KwDibPush(views.output.View(), views.first.View(), views.second.View(), views.BytesPerPixel(), params,
                         m_Progress);
    }
};

// --- its page

namespace {

constexpr auto kItems =
    KwItems(KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 40, 9), "direction", 1201)),
            KwRadio(KwPlace(50, KwRow(0), 32, 11), "direction", 0, 1201),
            KwRadio(KwPlace(86, KwRow(0), 38, 11), "direction", 2, 1202),
            KwRadio(KwPlace(128, KwRow(0), 34, 11), "direction", 3, 1203),
            KwRadio(KwPlace(166, KwRow(0), 40, 11), "direction", 1, 1204),
            KwCheck(KwPlace(50, KwRow(1), 130, 11), "pushOff", 1205), KwBorderRows(KwRow(2) + 1, 245));

constexpr tPageInfo kPage{.title = "Push", .size = {245, 206}, .helpTopic = 1024, .items = kItems};

} // namespace

class DXTKwPushPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwPush>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwPushPropPage>(const tObjectMapRow&, IUnknown*);
