#include "kernels/zoom.h"

#include "frame/effect.h"
#include "pages/border_rows.h"
#include "pages/page.h"
#include "transitions/border_fields.h"

namespace {

enum : LONG { kIn, kOut };

constexpr tZOOMPROP Of(float anchorX, float anchorY, LONG direction, float border = 0, float feather = 0,
                       const tBorderColor& color = kBlack) {
    return {anchorX, anchorY, border, feather, color.blue, color.green, color.red, color.alpha, direction};
}

constexpr tZOOMPROP kDefault = Of(0.5f, 0.5f, kIn);

constexpr tFieldChoice kDirections[] = {{"Zoom in", kIn}, {"Zoom out", kOut}};

constexpr const char* kUnit = "of the longer side";

constexpr tFieldInfo kFields[] = {
    KwPoint({"anchor", offsetof(tZOOMPROP, anchorX), KWTYPE_FLOAT},
            {"&Location:", "The point from which or to which the picture is scaled.", 0, 1, 0.001, "$.3f"}),
    KwBorderSize<tZOOMPROP>("&Size:", kUnit),
    KwBorderFeather<tZOOMPROP>(kUnit),
    KwBorderColor<tZOOMPROP>(),
    KwChoice(KWMEMBER(tZOOMPROP, direction), "&Direction:",
             "In: the new picture grows from the point. Out: the old picture shrinks to it.", kDirections),
};

constexpr tPreset<tZOOMPROP> kPresets[] = {
    {"Zoom In, Center", Of(0.5f, 0.5f, kIn)},
    {"Zoom In, Top-Left", Of(0, 0, kIn)},
    {"Zoom In, Top-Right", Of(1, 0, kIn)},
    {"Zoom In, Bottom-Left", Of(0, 1, kIn)},
    {"Zoom In, Bottom-Right", Of(1, 1, kIn)},
    {"Zoom Out, Center", Of(0.5f, 0.5f, kOut)},
    {"Zoom Out, Top-Left", Of(0, 0, kOut)},
    {"Zoom Out, Top-Right", Of(1, 0, kOut)},
    {"Zoom Out, Bottom-Left", Of(0, 1, kOut)},
    {"Zoom Out, Bottom-Right", Of(1, 1, kOut)},
    {"Zoom Out, Center, Red Border", Of(0.5f, 0.5f, kOut, 0.05f, 0, kRed)},
    {"Zoom In, Center, White Border", Of(0.5f, 0.5f, kIn, 0.15f, 0, kWhite)},
    {"Zoom Out, Top-Left, Blue Border", Of(0, 0, kOut, 0.03f, 0.05f, kBlue)},
    {"Zoom In, Bottom-Right, Yellow Border", Of(1, 1, kIn, 0, 0.1f, kYellow)},
};

constexpr tEffectClass kClass{
    .iid = {0x73B9E165, 0x07FC, 0x430B, {0x84, 0x4B, 0x1D, 0x5F, 0x79, 0x63, 0xF5, 0x0A}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0,
    .defaults = &kDefault,
    .recordSize = sizeof(tZOOMPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTKwZoom final : public CEffect<tZOOMPROP> {
  public:
    DXTKwZoom(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    // Out is in, run backwards with the pictures exchanged.
    HRESULT Draw(const CEffectViews& views, const tZOOMPROP& params) override {
        const tView output = views.output.View(), first = views.first.View(), second = views.second.View();
        return params.direction == kIn
                   ? KwDibZoom(output, first, second, views.BytesPerPixel(), params, m_Progress)
                   : KwDibZoom(output, second, first, views.BytesPerPixel(), params, 1.0 - m_Progress);
    }
};

// --- its page

namespace {

constexpr LONG kBorder = 100;

constexpr auto kItems = KwItems(
    KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 50, 9), "direction", 1201)),
    KwRadio(KwPlace(60, KwRow(0), 46, 11), "direction", 0, 1201),
    KwRadio(KwPlace(110, KwRow(0), 50, 11), "direction", 1, 1202),
    KwItem(KwLabel(KwPlace(kPageMargin, KwRow(1) + 1, 50, 9), "anchor", 1217)),
    KwItem({.kind = KWCONTROL_PLACEMENT, .id = 1217, .place = KwPlace(60, KwRow(1), 96, 58), .field = "anchor"}),
    KwBorderRows(kBorder, 245));

constexpr tPageInfo kPage{.title = "Zoom", .size = {245, 252}, .helpTopic = 1026, .items = kItems};

} // namespace

class DXTKwZoomPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwZoom>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwZoomPropPage>(const tObjectMapRow&, IUnknown*);
