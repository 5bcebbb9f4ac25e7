#include "kernels/push.h"

#include "frame/effect.h"
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
    HRESULT Apply(const CEffectViews& views, const tPUSHPROP& params) override {
        return KwDibPush(views.output.View(), views.first.View(), views.second.View(), views.BytesPerPixel(), params,
                         m_Progress);
    }
};

template IUnknown* KwCreate<DXTKwPush>(const tObjectMapRow&, IUnknown*);
