#include "frame/effect.h"
#include "kernels/smooth_mix.h"
#include "pages/page.h"

namespace {

struct tSHARPENPROP {
    double amount; ///< works in steps of 1/16
};
static_assert(sizeof(tSHARPENPROP) == 8);

constexpr tSHARPENPROP kDefault{0.5};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tSHARPENPROP, amount),
             {"&Amount:", "Strength, in sixteen steps; 0 still sharpens a little.", 0, 1, 0.001, "$.3f"}),
};

constexpr tPreset<tSHARPENPROP> kPresets[] = {
    {"Reset to None", {0.0}}, {"Medium", {0.5}}, {"Light", {0.25}}, {"Heavy", {0.75}}};

constexpr tEffectClass kClass{
    .iid = {0xA47CE461, 0x1310, 0x4181, {0xAE, 0x1B, 0xEF, 0x6D, 0x79, 0xE7, 0xA5, 0x6F}},
    .kind = KWKIND_FILTER,
    .family = "Detail",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x41,
    .group = tEffectGroup{1, 3},
    .defaults = &kDefault,
    .recordSize = sizeof(tSHARPENPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTSharpen final : public CEffect<tSHARPENPROP> {
  public:
    DXTSharpen(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    bool WritesWholeFrame() const override { return true; }

    HRESULT Draw(const CEffectViews& views, const tSHARPENPROP& params) override {
        const bool whole = views.FramesMatch();
        return KwDibSharpen(whole ? views.output.WholeView() : views.output.View(),
                            whole ? views.first.WholeView() : views.first.View(), views.BytesPerPixel(), params.amount);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(216, 36);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "amount", 1112, 1113, kThousandths));

constexpr tPageInfo kPage{.title = "Sharpen", .size = {216, 37}, .helpTopic = 1010, .items = kItems};

} // namespace

class DXTSharpenPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTSharpen>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTSharpenPropPage>(const tObjectMapRow&, IUnknown*);
