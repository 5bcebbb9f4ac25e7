#include <cmath>

#include "base/arith.h"
#include "frame/effect.h"
#include "kernels/copy.h"
#include "kernels/lut.h"
#include "kernels/strips.h"
#include "pages/page.h"

/// Parameters of Brightness and Contrast, in units of full scale.
struct tBRIGHTCONTRASTPROP {
    double brightness;     ///< added to each colour
    double contrast;       ///< above 0 stretches, below 0 compresses
    double contrastCenter; ///< the level about which contrast pivots
};
static_assert(sizeof(tBRIGHTCONTRASTPROP) == 24);

namespace {

constexpr double kLeast = 0.00001; // below this a step leaves the picture alone

constexpr tBRIGHTCONTRASTPROP kDefault{.brightness = 0.0, .contrast = 0.0, .contrastCenter = 0.5};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tBRIGHTCONTRASTPROP, brightness), {"&Brightness:", "Added to each color.", -1, 1, 0.01, "$.2f"}),
    KwNumber(
        KWMEMBER(tBRIGHTCONTRASTPROP, contrast),
        {"&Contrast:", "Above 0 stretches the levels about the centre, below 0 compresses them.", -1, 1, 0.01, "$.2f"}),
    KwNumber(KWMEMBER(tBRIGHTCONTRASTPROP, contrastCenter),
             {"Contrast c&enter:", "The level about which contrast pivots.", 0, 1, 0.01, "$.2f"}),
};

constexpr tPreset<tBRIGHTCONTRASTPROP> kPresets[] = {
    {"Reset to None", {0.0, 0.0, 0.5}},
    {"Brighter", {0.1, 0.0, 0.5}},
    {"Very Bright", {0.25, 0.0, 0.5}},
    {"Darker", {-0.1, 0.0, 0.5}},
    {"Very Dark", {-0.25, 0.0, 0.5}},
    {"Brighter, More Contrast", {0.15, 0.15, 0.5}},
    {"Brighter, Less Contrast", {0.15, -0.15, 0.5}},
    {"Darker, More Contrast", {-0.15, 0.15, 0.5}},
    {"Darker, Less Contrast", {-0.15, -0.15, 0.5}},
    {"Flat", {0.0, -0.5, 0.5}},
};

constexpr tEffectClass kClass{
    .iid = {0x5E0E1C52, 0x7B0D, 0x4C5B, {0x8A, 0x6E, 0x21, 0x0B, 0x4E, 0x9D, 0x33, 0x01}},
    .kind = KWKIND_FILTER,
    .family = "Color",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .group = tEffectGroup{0, 1},
    .defaults = &kDefault,
    .recordSize = sizeof(tBRIGHTCONTRASTPROP),
    .fields = kFields,
    .presets = kPresets,
    .miscFlags = CTransformBase::kMiscWatchOutput,
};

} // namespace

class DXTBrightnessContrast final : public CEffect<tBRIGHTCONTRASTPROP> {
  public:
    DXTBrightnessContrast(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    // Floats are copied and then refused.
    std::optional<HRESULT> BeforeRecord(const CEffectViews& views) override {
        if (views.BytesPerPixel() == 4) return {};
        if (views.HasInput()) KwDibCopy(views.output.View(), views.first.View(), views.BytesPerPixel());
        return E_NOTIMPL;
    }

    HRESULT Draw(const CEffectViews& views, const tBRIGHTCONTRASTPROP& params) override {
        const bool brightens = std::abs(params.brightness) > kLeast;
        const bool contrasts = std::abs(params.contrast) > kLeast;
        if (!brightens && !contrasts)
            return views.HasInput() ? KwDibCopy(views.output.View(), views.first.View(), 4) : S_OK;
        std::uint8_t brighter[256], table[256];
        if (brightens) KwBuildBrightnessTable(brighter, static_cast<float>(params.brightness));
        if (contrasts) {
            const double amount = std::abs(params.contrast), center = params.contrastCenter;
            const LONG high = KwTrunc(255.0 - (255.0 - center * 255.0) * amount);
            const LONG low = KwTrunc(amount * center * 255.0);
            params.contrast > 0.0 ? KwBuildStretchTable(table, low, high, 4)
                                  : KwBuildCompressTable(table, low, high, 4);
        }
        return views.ForStrips([&](const tView& output, const tView* input) {
            const tView& source = input ? *input : output;
            const HRESULT status = KwDibMapLut(output, source, 4, brightens ? brighter : table, true, kMapColors, true);
            return SUCCEEDED(status) && brightens && contrasts ? KwDibApplyLut(output, 4, table, true, false, true)
                                                               : status;
        });
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(239, 62);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "brightness", 1017, 1020, kSignedHundredths),
                                KwSlider(KwRow(1), kColumns, "contrast", 1016, 1021, kSignedHundredths),
                                KwSlider(KwRow(2), kColumns, "contrastCenter", 1318, 1319, kHundredths));

constexpr tPageInfo kPage{.title = "Brightness and Contrast", .size = {239, 72}, .helpTopic = 1004, .items = kItems};

} // namespace

class DXTBrightnessContrastPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTBrightnessContrast>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTBrightnessContrastPropPage>(const tObjectMapRow&, IUnknown*);
