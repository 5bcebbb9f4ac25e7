#include "kernels/invert.h"
#include "frame/effect.h"
#include "pages/page.h"

/// Parameters of Invert.
struct tINVERTPROP {
    double amount; ///< 0 the source unchanged, 1 the full negative
};
static_assert(sizeof(tINVERTPROP) == 8);

namespace {

constexpr tINVERTPROP kDefault{.amount = 1.0};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tINVERTPROP, amount),
             {"&Blend amount:", "How much of the negative shows over the picture.", 0, 1, 0.001, "$1.3f"}),
};

constexpr tPreset<tINVERTPROP> kPresets[] = {
    {"Reset to None", {0.0}},
    {"60% Inversion", {0.6}},
    {"75% Inversion", {0.75}},
    {"100% Inversion", {1.0}},
};

constexpr tEffectClass kClass{
    .iid = {0xC3062BE2, 0xE69D, 0x11D1, {0x9A, 0xA9, 0x00, 0xA0, 0xC9, 0x9B, 0x12, 0xC5}},
    .kind = KWKIND_FILTER,
    .family = "Color",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .defaults = &kDefault,
    .recordSize = sizeof(tINVERTPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTInvert final : public CEffect<tINVERTPROP> {
  public:
    DXTInvert(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    // The surface's own: straight pixels are inverted as they stand.
    HRESULT WorkFormat(GUID* format) override {
        DWORD sampleFormat = 0;
        return OutputSurface()->GetPixelFormat(format, &sampleFormat);
    }

    HRESULT Draw(const CEffectViews& views, const tINVERTPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        return views.HasInput() ? KwDibInvert(views.output.View(), views.first.View(), bytesPerPixel, params.amount)
                                : KwDibInvertInPlace(views.output.View(), bytesPerPixel);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);
constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "amount", 1435, 1383, kThousandthsCut));
constexpr tPageInfo kPage{.title = "Invert", .size = {220, 41}, .helpTopic = 1028, .items = kItems};

} // namespace

class DXTInvertPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTInvert>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTInvertPropPage>(const tObjectMapRow&, IUnknown*);
