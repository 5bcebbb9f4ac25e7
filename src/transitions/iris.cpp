#include "base/arith.h"
#include "frame/effect.h"
#include "kernels/shape_mix.h"
#include "pages/page.h"
#include "pages/shape_rows.h"
#include "transitions/shape_fields.h"

namespace {

enum : LONG { kOut, kIn };

constexpr tIRISINFO kDefault{};

constexpr tFieldChoice kDirections[] = {{"Iris in", kIn}, {"Iris out", kOut}};

constexpr auto kFields = KwShapeFields(
    KwChoice(KWMEMBER(tIRISINFO, direction), "&Direction:",
             "Out: the shape grows and shows the second picture. In: it shrinks and holds the first.", kDirections));

constexpr tPreset<tIRISINFO> kPresets[] = {
    {"Circle, Out, Center", KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 1, KW_SHAPE_CIRCLE, kOut)},
    {"Square, In, Center", KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 1, KW_SHAPE_SQUARE, kIn)},
    {"Diamond, Out, Center", KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 1, KW_SHAPE_DIAMOND, kOut)},
    {"Rectangle, In, Center", KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 1, KW_SHAPE_RECTANGLE, kIn)},
    {"Triangle Down, Out, Center", KwShape(0.5f, 0.5f, 0, 0, kBlack, 1, 1, KW_SHAPE_TRIANGLE_DOWN, kOut)},
    {"Circle, Out, White Border", KwShape(0.5f, 0.5f, 0, 0.1f, kWhite, 1, 1, KW_SHAPE_CIRCLE, kOut)},
    {"Square, Out, Black Border", KwShape(0.5f, 0.5f, 0, 0.1f, kBlack, 1, 1, KW_SHAPE_SQUARE, kOut)},
    {"Diamond, In, Feathered Edge", KwShape(0.5f, 0.5f, 0.5f, 0, kBlack, 1, 1, KW_SHAPE_DIAMOND, kIn)},
    {"Oval, Out, Featherd Blue Border", KwShape(0.5f, 0.5f, 0.5f, 0.1f, kBlue, 1, 1, KW_SHAPE_OVAL, kOut)},
    {"Triangle, Out, Bottom, Black Border", KwShape(0.5f, 1, 0, 0.1f, kBlack, 1, 1, KW_SHAPE_TRIANGLE, kOut)},
    {"Four Diamonds, Out, Red Border", KwShape(0, 0, 0, 0.03f, kRed, 2, 2, KW_SHAPE_DIAMOND, kOut)},
    {"Circle, Out, Upper Left, White Border", KwShape(0, 0, 0, 0.1f, kWhite, 1, 1, KW_SHAPE_CIRCLE, kOut)},
    {"Four Circles, Out, White Border", KwShape(0.5f, 0.5f, 0, 0.1f, kWhite, 2, 2, KW_SHAPE_CIRCLE, kOut)},
    {"Nine Diamonds, In, Yellow Border", KwShape(0.5f, 0.5f, 1, 0.2f, kYellow, 3, 3, KW_SHAPE_DIAMOND, kIn)},
};

constexpr tEffectClass kClass{
    .iid = {0xD93D5A37, 0x5173, 0x4A75, {0xA1, 0xCF, 0x97, 0xC3, 0x79, 0x02, 0xDA, 0x70}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0x41,
    .maxBands = 4,
    .defaults = &kDefault,
    .recordSize = sizeof(tIRISINFO),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTKwIris final : public CEffect<tIRISINFO> {
  public:
    DXTKwIris(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tIRISINFO& params) override {
        tIRISINFO info = params;
        const double progress = KwClamp(m_Progress, 0.0f, 1.0f);
        const bool closes = info.direction != kOut;
        const tView first = views.first.View(), second = views.second.View();
        return KwDibIris(views.output.View(), closes ? second : first, closes ? first : second, views.BytesPerPixel(),
                         &info, closes ? 1.0 - progress : progress, BlendsWithOutput(), views.output.GetPixelAspect());
    }
};

// --- its page

namespace {

constexpr std::array<tPageItem, 0> kNoSize{};

constexpr auto kItems = KwItems(KwShapeRows("direction", 96, kNoSize));

constexpr tPageInfo kPage{.title = "Iris", .size = {kShapeWidth, KwRow(5) + 172}, .helpTopic = 1021, .items = kItems};

} // namespace

class DXTKwIrisPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwIris>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwIrisPropPage>(const tObjectMapRow&, IUnknown*);
