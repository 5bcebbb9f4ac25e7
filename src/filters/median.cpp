#include "kernels/median.h"

#include <algorithm>

#include "frame/effect.h"
#include "kernels/copy.h"
#include "pages/page.h"

namespace {

struct tMEDIANPROP {
    LONG reserved;
    float horizontalRange, verticalRange; ///< 1 is a twentieth of the larger side
    LONG circular;                        ///< nonzero: an ellipse
    float offset;                         ///< percentile
};
static_assert(sizeof(tMEDIANPROP) == 20);

constexpr tMEDIANPROP kDefault{0, 0.1f, 0.1f, 0, 0.5f};

constexpr const char* kUnit = "twentieths of the larger side";

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tMEDIANPROP, horizontalRange),
             {"&Horizontal range:", "How far the neighbourhood reaches sideways.", 0, 1, 0.001, "$.3f", kUnit}),
    KwNumber(KWMEMBER(tMEDIANPROP, verticalRange),
             {"&Vertical range:", "How far the neighbourhood reaches up and down.", 0, 1, 0.001, "$.3f", kUnit}),
    KwSwitch(KWMEMBER(tMEDIANPROP, circular), "&Circular area processing", "An ellipse in place of a rectangle."),
    KwNumber(KWMEMBER(tMEDIANPROP, offset),
             {"&Offset:", "The percentile: 0 the lowest level, 0.5 the median, 1 the highest.", 0, 1, 0.001, "$.3f"}),
};

constexpr tPreset<tMEDIANPROP> kPresets[] = {
    {"Reset to None", {0, 0.0f, 0.0f, 0, 0.5f}},
    {"25 %", {0, 0.25f, 0.25f, 0, 0.5f}},
    {"50 %", {0, 0.5f, 0.5f, 0, 0.5f}},
    {"75 %", {0, 0.75f, 0.75f, 0, 0.5f}},
    {"Light noise reduction", {0, 0.018f, 0.018f, 0, 0.5f}},
    {"Round 50 %", {0, 0.5f, 0.5f, 1, 0.5f}},
    {"Round noise reduction", {0, 0.018f, 0.018f, 1, 0.5f}},
    {"Round extreme horizontal", {0, 0.75f, 0.1f, 1, 0.5f}},
    {"Round max", {0, 0.5f, 0.5f, 1, 1.0f}},
};

/// 0 to 1; not-a-number counts as 0.
float Fraction(float range) {
    return range > 0.0f ? std::min(range, 1.0f) : 0.0f;
}

constexpr tEffectClass kClass{
    .iid = {0x7E8CB595, 0xC94D, 0x425B, {0xBE, 0x24, 0xDE, 0x68, 0x59, 0x8C, 0xF2, 0xD9}},
    .kind = KWKIND_FILTER,
    .family = "Detail",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x41,
    .group = tEffectGroup{3, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tMEDIANPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTFloatMedian final : public CEffect<tMEDIANPROP> {
  public:
    DXTFloatMedian(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    // The first form held one whole number, a radius; the second two.
    void UpgradeRecord(std::byte* record, ULONG got) override {
        if (got >= sizeof(tMEDIANPROP)) return;
        LONG radius;
        std::memcpy(&radius, record, sizeof radius);
        const double range = std::clamp(radius * (got < 8 ? 0.005 : 0.0025), 0.0, 1.0);
        tMEDIANPROP& now = *reinterpret_cast<tMEDIANPROP*>(record);
        now.horizontalRange = now.verticalRange = static_cast<float>(range);
        now.circular = 0;
        now.offset = 0.5f;
    }

    std::optional<HRESULT> BeforeRecord(const CEffectViews& views) override { return views.EndIfApart(); }

    HRESULT Draw(const CEffectViews& views, const tMEDIANPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        const tView output = views.output.View(), input = views.first.View();
        tRowPair rows;
        KwDibResolveClipTwo(output, input, bytesPerPixel, rows);
        if (params.horizontalRange <= 0.0f && params.verticalRange <= 0.0f)
            return KwDibCopy(output, input, bytesPerPixel);
        const double size = std::max(rows.source.width, rows.source.height);
        const auto radius = [size](float range) { return static_cast<float>(size * Fraction(range) * 0.05); };
        return KwDibPercentileFilter(output, input, bytesPerPixel, radius(params.horizontalRange),
                                     radius(params.verticalRange), views.first.GetPixelAspect(), params.circular != 0,
                                     params.offset);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(246, 64);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "horizontalRange", 1300, 1301, kThousandths),
                                KwSlider(KwRow(1), kColumns, "verticalRange", 1091, 1092, kThousandths),
                                KwSlider(KwRow(2), kColumns, "offset", 1094, 1095, kThousandths),
                                KwCheck(KwPlace(74, KwRow(3) + 1, 120, 11), "circular", 1469));

constexpr tPageInfo kPage{.title = "Median", .size = {246, 86}, .helpTopic = 1008, .items = kItems};

} // namespace

class DXTFloatMedianPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTFloatMedian>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTFloatMedianPropPage>(const tObjectMapRow&, IUnknown*);
