#include "base/arith.h"
#include "frame/effect.h"
#include "kernels/lut.h"
#include "pages/page.h"

/// Parameters of Threshold.
struct tTHRESHOLDPROP {
    float threshold; ///< fraction of full scale
};
static_assert(sizeof(tTHRESHOLDPROP) == 4);

namespace {

constexpr tTHRESHOLDPROP kDefault{0.5f};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tTHRESHOLDPROP, threshold),
             {"&Threshold:", "Each color below it becomes black, from it on full.", 0, 1, 0.01, "$.2f"}),
};

constexpr tPreset<tTHRESHOLDPROP> kPresets[] = {
    {"25 %", {0.25f}}, {"40 %", {0.4f}}, {"50 %", {0.5f}}, {"60 %", {0.6f}}, {"75 %", {0.75f}},
};

constexpr tEffectClass kClass{
    .iid = {0x2F4B6E11, 0x8C0A, 0x4D93, {0xB5, 0x17, 0xC2, 0x6A, 0x0E, 0x71, 0x9B, 0x03}},
    .kind = KWKIND_FILTER,
    .family = "Color",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .group = tEffectGroup{1, 3},
    .defaults = &kDefault,
    .recordSize = sizeof(tTHRESHOLDPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTThreshold final : public CEffect<tTHRESHOLDPROP> {
  public:
    DXTThreshold(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    bool WritesWholeFrame() const override { return true; }

    HRESULT Draw(const CEffectViews& views, const tTHRESHOLDPROP& params) override {
        const std::int32_t from = KwTrunc(double{params.threshold} * 256.0);
        std::uint8_t table[256];
        for (std::int32_t i = 0; i < 256; ++i) table[i] = i < from ? 0 : 0xFF;
        // The whole frame where both pictures have one size.
        const bool whole = views.FramesMatch();
        const auto view = [whole](const CKwSurface& surface) { return whole ? surface.WholeView() : surface.View(); };
        const tView output = view(views.output), input = views.HasInput() ? view(views.first) : output;
        return KwDibMapLut(output, input, views.BytesPerPixel(), table, true, kMapColors, true);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(216, 44);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "threshold", 1124, 1125, kHundredthsCut));

constexpr tPageInfo kPage{.title = "Threshold", .size = {216, 38}, .helpTopic = 1011, .items = kItems};

} // namespace

class DXTThresholdPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTThreshold>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTThresholdPropPage>(const tObjectMapRow&, IUnknown*);
