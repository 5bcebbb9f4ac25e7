#include "frame/effect.h"
#include "kernels/smooth_mix.h"
#include "pages/page.h"

namespace {

struct tBLURPROP {
    double blendAmount; ///< 0 leaves the picture, 1 is the full 3x3 smoothing
};
static_assert(sizeof(tBLURPROP) == 8);

constexpr tBLURPROP kDefault{0.0};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tBLURPROP, blendAmount),
             {"&Blend amount:", "How much of the smoothed picture shows.", 0, 1, 0.001, "$1.3f"}),
};

constexpr tEffectClass kClass{
    .iid = {0x4AAF626A, 0x228B, 0x4B52, {0xB4, 0xA1, 0x17, 0xD6, 0x68, 0xF7, 0xB1, 0x54}},
    .kind = KWKIND_FILTER,
    .family = "Blur",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x41,
    .defaults = &kDefault,
    .recordSize = sizeof(tBLURPROP),
    .fields = kFields,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTBlur final : public CEffect<tBLURPROP> {
  public:
    DXTBlur(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tBLURPROP& params) override {
        return KwDibSmoothBlend(views.output.View(), views.first.View(), views.BytesPerPixel(),
                                1.0 - params.blendAmount);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "blendAmount", 1435, 1383, kThousandthsCut));

constexpr tPageInfo kPage{.title = "Quick Blur", .size = {220, 41}, .helpTopic = 1030, .items = kItems};

} // namespace

class DXTBlurPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTBlur>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTBlurPropPage>(const tObjectMapRow&, IUnknown*);
