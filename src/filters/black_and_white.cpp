#include "frame/effect.h"
#include "kernels/desaturate.h"
#include "pages/page.h"

/// Parameters of Black and White.
struct tDESATURATEPROP {
    double blendAmount; ///< 0 leaves the picture, 1 gives full grey
};
static_assert(sizeof(tDESATURATEPROP) == 8);

namespace {

constexpr tDESATURATEPROP kDefault{0.0};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tDESATURATEPROP, blendAmount),
             {"&Blend amount:", "How much of the grey picture shows.", 0, 1, 0.001, "$1.3f"}),
};

constexpr tPreset<tDESATURATEPROP> kPresets[] = {
    {"Reset to None", {0.0}},        {"25% Black and White", {0.25}}, {"50% Black and White", {0.5}},
    {"75% Black and White", {0.75}}, {"100% Black and White", {1.0}},
};

constexpr tEffectClass kClass{
    .iid = {0x71D0B5C8, 0x1E92, 0x4F0A, {0xA3, 0x44, 0x0D, 0x96, 0x57, 0x2B, 0xE8, 0x04}},
    .kind = KWKIND_FILTER,
    .family = "Color",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .defaults = &kDefault,
    .recordSize = sizeof(tDESATURATEPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTDesaturate final : public CEffect<tDESATURATEPROP> {
  public:
    DXTDesaturate(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tDESATURATEPROP& params) override {
        // Without an input there is nothing to blend with.
        const tView output = views.output.View();
        return views.HasInput()
                   ? KwDibBlackAndWhite(output, views.first.View(), views.BytesPerPixel(), params.blendAmount)
                   : KwDibDesaturate(output, views.BytesPerPixel(), false);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "blendAmount", 1435, 1383, kThousandthsCut));

constexpr tPageInfo kPage{.title = "Black and White", .size = {220, 41}, .helpTopic = 1029, .items = kItems};

} // namespace

class DXTDesaturatePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTDesaturate>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTDesaturatePropPage>(const tObjectMapRow&, IUnknown*);
