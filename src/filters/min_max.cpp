#include "kernels/min_max.h"

#include <algorithm>

#include "frame/effect.h"
#include "kernels/copy.h"
#include "pages/page.h"

namespace {

struct tMINMAXPROP {
    LONG maximum; ///< nonzero maximum, 0 minimum
    LONG reserved;
    float horizontalRange, verticalRange; ///< 1 is a twentieth of the larger side
    LONG circular;                        ///< nonzero: an ellipse
};
static_assert(sizeof(tMINMAXPROP) == 20);

constexpr tMINMAXPROP kDefault{1, 0, 0.08f, 0.08f, 0};

constexpr tFieldChoice kOperations[] = {{"Minimum", 0}, {"Maximum", 1}};

constexpr const char* kUnit = "twentieths of the larger side";

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tMINMAXPROP, maximum), "&Operation:", "Which level of the neighbourhood shows.", kOperations),
    KwNumber(KWMEMBER(tMINMAXPROP, horizontalRange),
             {"&Horizontal range:", "How far the neighbourhood reaches sideways.", 0, 1, 0.001, "$.3f", kUnit}),
    KwNumber(KWMEMBER(tMINMAXPROP, verticalRange),
             {"&Vertical range:", "How far the neighbourhood reaches up and down.", 0, 1, 0.001, "$.3f", kUnit}),
    KwSwitch(KWMEMBER(tMINMAXPROP, circular), "&Circular area processing", "An ellipse in place of a rectangle."),
};

constexpr tPreset<tMINMAXPROP> kPresets[] = {
    {"Reset to None", {1, 0, 0.0f, 0.0f, 0}},
    {"Min 50 %", {0, 0, 0.5f, 0.5f, 0}},
    {"Max 50 %", {1, 0, 0.5f, 0.5f, 0}},
};

constexpr tEffectClass kClass{
    .iid = {0xE08C67E4, 0xD1BF, 0x45C9, {0x93, 0x84, 0xE4, 0x1A, 0xD9, 0x96, 0x7E, 0x01}},
    .kind = KWKIND_FILTER,
    .family = "Detail",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x41,
    .group = tEffectGroup{1, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tMINMAXPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTMax final : public CEffect<tMINMAXPROP> {
  public:
    DXTMax(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    bool WritesWholeFrame() const override { return true; } // the plain copy does

    // The older form held the operation and a radius in sixteenths.
    void UpgradeRecord(std::byte* record, ULONG got) override {
        if (got >= sizeof(tMINMAXPROP)) return;
        tMINMAXPROP& now = *reinterpret_cast<tMINMAXPROP*>(record);
        if (got == 8) now.horizontalRange = static_cast<float>(std::clamp(now.reserved * 0.0625, 0.0, 1.0));
        now.verticalRange = now.horizontalRange;
        now.circular = 0;
    }

    std::optional<HRESULT> BeforeRecord(const CEffectViews& views) override { return views.EndIfApart(); }

    HRESULT Draw(const CEffectViews& views, const tMINMAXPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        const tView output = views.output.View(), input = views.first.View();
        tRowPair rows;
        KwDibResolveClipTwo(output, input, bytesPerPixel, rows);
        if (params.horizontalRange <= 0.0f && params.verticalRange <= 0.0f)
            return views.FramesMatch() ? KwDibCopy(views.output.WholeView(), views.first.WholeView(), bytesPerPixel)
                                       : KwDibCopy(output, input, bytesPerPixel);
        const double size = std::max(rows.source.width, rows.source.height);
        const auto radius = [size](float range) { return static_cast<float>(size * range * 0.05f); };
        const auto filter = params.maximum ? KwDibMaxFilter : KwDibMinFilter;
        return filter(output, input, bytesPerPixel, radius(params.horizontalRange), radius(params.verticalRange),
                      views.first.GetPixelAspect(), params.circular != 0);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(256, 64);

constexpr auto kItems = KwItems(KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 64, 9), "maximum", 1082)),
                                KwRadio(KwPlace(74, KwRow(0), 50, 11), "maximum", 0, 1082),
                                KwRadio(KwPlace(130, KwRow(0), 50, 11), "maximum", 1, 1084),
                                KwSlider(KwRow(1), kColumns, "horizontalRange", 1081, 1086, kThousandthsCut),
                                KwSlider(KwRow(2), kColumns, "verticalRange", 1083, 1088, kThousandthsCut),
                                KwCheck(KwPlace(74, KwRow(3) + 1, 120, 11), "circular", 1466));

constexpr tPageInfo kPage{.title = "Min and Max", .size = {256, 87}, .helpTopic = 1009, .items = kItems};

} // namespace

class DXTMaxPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTMax>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTMaxPropPage>(const tObjectMapRow&, IUnknown*);
