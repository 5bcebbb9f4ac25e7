#include <algorithm>

#include "frame/effect.h"
#include "kernels/alpha.h"
#include "kernels/copy.h"
#include "kernels/gaussian.h"
#include "pages/page.h"

namespace {

struct tGAUSSIANBLURPROP {
    double horizontalRange;       ///< fraction of the larger side of the frame
    LONG red, green, blue, alpha; ///< 1 blurs the channel
    double verticalRange;         ///< as `horizontalRange`, scaled by the pixel aspect
};
static_assert(sizeof(tGAUSSIANBLURPROP) == 32);

constexpr tGAUSSIANBLURPROP Of(double range, LONG blue = 1) {
    return {range, 1, 1, blue, 1, range};
}

constexpr tGAUSSIANBLURPROP kDefault = Of(0.25);

constexpr const char* kUnit = "of the larger side";

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tGAUSSIANBLURPROP, horizontalRange),
             {"&Horizontal range:", "How far the blur reaches sideways.", 0, 1, 0.001, "$.3f", kUnit}),
    KwSwitch(KWMEMBER(tGAUSSIANBLURPROP, red), "&Red", "Blurs the red channel."),
    KwSwitch(KWMEMBER(tGAUSSIANBLURPROP, green), "&Green", "Blurs the green channel."),
    KwSwitch(KWMEMBER(tGAUSSIANBLURPROP, blue), "&Blue", "Blurs the blue channel."),
    KwSwitch(KWMEMBER(tGAUSSIANBLURPROP, alpha), "&Alpha", "Blurs the alpha channel."),
    KwNumber(KWMEMBER(tGAUSSIANBLURPROP, verticalRange),
             {"&Vertical range:", "How far the blur reaches up and down.", 0, 1, 0.001, "$.3f", kUnit}),
};

constexpr tPreset<tGAUSSIANBLURPROP> kPresets[] = {
    {"Medium Blur", Of(0.0625)},  {"Reset to None", Of(0.0)}, {"Light Blur", Of(0.0025)},
    {"Extreme Blur", Of(0.1875)}, {"Soften", Of(0.027)},      {"Yellow Glow", Of(0.095, 0)},
};

constexpr tEffectClass kClass{
    .iid = {0x8D0C1854, 0x9202, 0x4CCB, {0xAE, 0x1D, 0x1B, 0x15, 0x3A, 0xD3, 0xC1, 0x86}},
    .kind = KWKIND_FILTER,
    .family = "Blur",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x41,
    .group = tEffectGroup{1, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tGAUSSIANBLURPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTGaussianBlur final : public CEffect<tGAUSSIANBLURPROP> {
  public:
    DXTGaussianBlur(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tGAUSSIANBLURPROP& params) override {
        const tView output = views.output.View(), input = views.first.View();
        const LONG bytesPerPixel = views.BytesPerPixel();
        const double size = std::max(views.first.m_Width, views.first.m_Height);
        const auto fraction = [](double range) { return range > 0.0 ? std::min(range, 1.0) : 0.0; };
        const double horizontal = size * fraction(params.horizontalRange);
        const double vertical = size * views.first.GetPixelAspect() * fraction(params.verticalRange);
        if (horizontal == 0.0 && vertical == 0.0) return KwDibCopy(output, input, bytesPerPixel);

        const LONG channels[] = {params.blue, params.green, params.red, params.alpha};
        if (std::ranges::all_of(channels, [](LONG on) { return on == 1; }))
            return KwDibGaussianBlur(output, input, bytesPerPixel, horizontal, vertical, &m_scratch);
        HRESULT status = KwDibCopy(output, input, bytesPerPixel);
        for (LONG channel = 0; channel < 4 && SUCCEEDED(status); ++channel)
            if (channels[channel])
                status = KwDibGaussianBlurChannel(output, input, bytesPerPixel, horizontal, vertical, channel);
        return SUCCEEDED(status) ? KwDibClampToAlpha(output, bytesPerPixel) : status;
    }

  private:
    CKwScratch m_scratch; ///< frames are drawn one at a time, in one band
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(245, 64);
constexpr LONG kChecks = KwRow(2) + 2;

constexpr auto kItems = KwItems(
    KwSlider(KwRow(0), kColumns, "horizontalRange", 1006, 1014, kThousandths, {.mate = 1433, .showsMate = true}),
    KwSlider(KwRow(1), kColumns, "verticalRange", 1433, 1434, kThousandths, {.mate = 1006, .showsMate = true}),
    KwItem(KwLabel(KwPlace(kPageMargin, kChecks + 1, 44, 9), "", 1001, "Channels:")),
    KwCheck(KwPlace(74, kChecks, 34, 11), "red", 1001), KwCheck(KwPlace(112, kChecks, 40, 11), "green", 1002),
    KwCheck(KwPlace(156, kChecks, 34, 11), "blue", 1003), KwCheck(KwPlace(194, kChecks, 40, 11), "alpha", 1004));

constexpr tPageInfo kPage{.title = "Gaussian Blur", .size = {245, 75}, .helpTopic = 1003, .items = kItems};

} // namespace

class DXTGaussianBlurPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTGaussianBlur>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTGaussianBlurPropPage>(const tObjectMapRow&, IUnknown*);
