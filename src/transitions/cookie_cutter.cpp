#include "frame/effect.h"
#include "kernels/shape_mix.h"
#include "pages/page.h"
#include "pages/shape_rows.h"
#include "transitions/shape_fields.h"

namespace {

enum : LONG { kCutShape, kKeepShape };

constexpr tCUTTERINFO kDefault{};

constexpr tFieldChoice kMethods[] = {{"Cut away all but section", kKeepShape}, {"Cut away section", kCutShape}};

constexpr auto kFields = KwShapeFields(
    KwChoice({"method", offsetof(tIRISINFO, direction), KWTYPE_LONG}, "&Method:", "What becomes transparent.",
             kMethods),
    KwNumber(KWMEMBER(tCUTTERINFO, size), {"Si&ze:", "How large the shape is: 1 covers at least its cell.", 0, 1, 0.01,
                                           "$1.2f", "of the shape's reach"}));

constexpr tPreset<tCUTTERINFO> kPresets[] = {
    {"Reset to None", {KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 1, KW_SHAPE_CIRCLE, kKeepShape), 0.5f}},
    {"Circle, Center", {KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 1, KW_SHAPE_CIRCLE, kKeepShape), 0.2f}},
    {"Square, Center, White Border", {KwShape(0.5f, 0.5f, 0, 0.1f, kWhite, 1, 1, KW_SHAPE_SQUARE, kKeepShape), 0.2f}},
    {"Diamond, Center, Blurred", {KwShape(0.5f, 0.5f, 0.3f, 0, kGreen, 1, 1, KW_SHAPE_DIAMOND, kKeepShape), 0.2f}},
    {"Circle Cut Out, Center, Blurred",
     {KwShape(0.5f, 0.5f, 0.5f, 0, kBlack, 1, 1, KW_SHAPE_CIRCLE, kCutShape), 0.25f}},
    {"Two Rectangles", {KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 2, KW_SHAPE_RECTANGLE, kKeepShape), 0.2f}},
    {"Triangle Cut Out, Blue Border", {KwShape(0.5f, 0.5f, 0, 0.1f, kBlue, 1, 1, KW_SHAPE_TRIANGLE, kCutShape), 0.1f}},
    {"Square, Top Left, Border", {KwShape(0.25f, 0.35f, 0, 0.05f, kRed, 1, 1, KW_SHAPE_SQUARE, kKeepShape), 0.15f}},
    {"Diamond Cut Out, Bottom Right",
     {KwShape(0.75f, 0.65f, 0.1f, 0, kBlack, 1, 1, KW_SHAPE_DIAMOND, kCutShape), 0.15f}},
    {"Top Left Portrait", {KwShape(0.13f, 0.3f, 0, 0.02f, kWhite, 1, 1, KW_SHAPE_OVAL_SIDE, kKeepShape), 0.1f}},
    {"Yellow Glowing Portrait",
     {KwShape(0.75f, 0.25f, 0.28f, 0.06f, kYellow, 1, 1, KW_SHAPE_CIRCLE, kKeepShape), 0.13f}},
    {"Pop-up, Bottom Right", {KwShape(1, 1, 0, 0.04f, kWhite, 1, 1, KW_SHAPE_CIRCLE, kKeepShape), 0.28f}},
    {"Picture-In-Picture", {KwShape(0.765f, 0.765f, 0, 0.01f, kBlack, 1, 1, KW_SHAPE_RECTANGLE, kKeepShape), 0.2f}},
    {"Grate", {KwShape(0.5f, 0.5f, 0, 0.08f, kBlack, 10, 10, KW_SHAPE_DIAMOND, kCutShape), 0.15f}},
    {"TicTacToe", {KwShape(0.5f, 0.5f, 0, 0.04f, kWhite, 3, 3, KW_SHAPE_SQUARE, kCutShape), 0.25f}},
};

constexpr tEffectClass kClass{
    .iid = {0x05D0540C, 0x94C7, 0x49FE, {0xB1, 0x42, 0x16, 0xEB, 0xC5, 0x1E, 0xA0, 0x3F}},
    .kind = KWKIND_FILTER,
    .family = "Stylize",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x01,
    .maxBands = 4,
    .defaults = &kDefault,
    .recordSize = sizeof(tCUTTERINFO),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTKwCCutter final : public CEffect<tCUTTERINFO> {
  public:
    DXTKwCCutter(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tCUTTERINFO& params) override {
        tCUTTERINFO info = params;
        return KwDibCutter(views.output.View(), views.first.View(), views.BytesPerPixel(), &info, BlendsWithOutput(),
                           views.output.GetPixelAspect());
    }
};

// --- its page

namespace {

constexpr auto kItems = KwItems(
    KwShapeRows("method", 96, KwSlider(KwRow(5), kShapeColumns, "size", kShapeSize, kShapeSizeEdit, kHundredthsCut)));

constexpr tPageInfo kPage{
    .title = "Cookie Cutter", .size = {kShapeWidth, KwRow(6) + 172}, .helpTopic = 1033, .items = kItems};

} // namespace

class DXTKwCCutterPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwCCutter>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwCCutterPropPage>(const tObjectMapRow&, IUnknown*);
