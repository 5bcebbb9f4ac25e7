#include "frame/effect.h"
#include "kernels/chroma_key.h"
#include "kernels/copy.h"
#include "pages/page.h"

namespace {

constexpr tCHROMAKEYPROP kDefault{};

constexpr tFieldChoice kMasks[] = {{"Transparency Mask", 0}, {"Color Correction Mask", 1}};

constexpr tFieldInfo Share(const tMember& member, const char* label, const char* help, const char* unit = "") {
    return KwNumber(member, {label, help, 0, 1, 0.001, "$.3f", unit});
}

constexpr const char* kNoEffect = "Kept for saved settings, without effect on the picture.";

constexpr tFieldInfo kFields[] = {
    KwColor({"color", offsetof(tCHROMAKEYPROP, blue), KWTYPE_FLOAT}, KWTYPE_FLOAT, "bgra",
            "&Color:", "The color that becomes transparent; its alpha has no effect."),
    KwSwitch(KWMEMBER(tCHROMAKEYPROP, maskOnly), "Show &mask only", "Shows the mask in place of the keyed picture."),
    KwChoice(KWMEMBER(tCHROMAKEYPROP, selectedMask), "Mask settings:", "Which settings a page edits.", kMasks),
    Share(KWMEMBER(tCHROMAKEYPROP, colorCorrectionMask.lowThreshold), "Correction low threshold:", kNoEffect),
    Share(KWMEMBER(tCHROMAKEYPROP, colorCorrectionMask.highThreshold), "Correction high threshold:", kNoEffect),
    Share(KWMEMBER(tCHROMAKEYPROP, colorCorrectionMask.level), "Correction level:", kNoEffect),
    Share(KWMEMBER(tCHROMAKEYPROP, colorCorrectionMask.blurAmount), "Correction blur amount:", kNoEffect),
    Share(KWMEMBER(tCHROMAKEYPROP, transparencyMask.lowThreshold),
          "&Low threshold:", "Distance from the key color below which pixels are clear."),
    Share(KWMEMBER(tCHROMAKEYPROP, transparencyMask.highThreshold),
          "&High threshold:", "Distance from the key color above which pixels are kept whole."),
    Share(KWMEMBER(tCHROMAKEYPROP, transparencyMask.level), "Level:", kNoEffect),
    Share(KWMEMBER(tCHROMAKEYPROP, transparencyMask.blurAmount), "&Blur amount:", "How soft the mask becomes.",
          "of 36 pixels"),
};

constexpr tCHROMAKEYPROP Screen(float blue, float green, float red) {
    return {.blue = blue, .green = green, .red = red, .alpha = 0};
}

constexpr tPreset<tCHROMAKEYPROP> kPresets[] = {
    {"Blue Screen", Screen(0.94509804f, 0.2784314f, 0.09411765f)},
    {"Green Screen", Screen(0.09411765f, 0.95686275f, 0.16078432f)},
    {"Pure Red Screen", Screen(0, 0, 1)},
    {"Pure Green Screen", Screen(0, 1, 0)},
    {"Pure Blue Screen", Screen(1, 0, 0)},
};

constexpr tEffectClass kClass{
    .iid = {0xD59DA737, 0xE175, 0x490F, {0xA6, 0x50, 0x0B, 0x8F, 0x8F, 0xFF, 0xB8, 0x13}},
    .kind = KWKIND_FILTER,
    .family = "Keying",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x01,
    .group = tEffectGroup{1, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tCHROMAKEYPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTChromaKeyFilter final : public CEffect<tCHROMAKEYPROP> {
  public:
    DXTChromaKeyFilter(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    bool WritesWholeFrame() const override { return true; } // the plain copy does, the key keeps to the clip

    std::optional<HRESULT> BeforeRecord(const CEffectViews& views) override {
        return views.BytesPerPixel() == 4 ? std::nullopt : std::optional(E_NOTIMPL);
    }

    HRESULT Draw(const CEffectViews& views, const tCHROMAKEYPROP& params) override {
        const tView output = views.output.View();
        if (views.output.m_ClipRect == views.output.m_Frame || !views.FramesMatch())
            return KwDibChromaKey(output, views.first.View(), 4, params);
        const HRESULT status = KwDibCopy(views.output.WholeView(), views.first.WholeView(), 4);
        return FAILED(status) ? status : KwDibChromaKey(output, output, 4, params);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);

constexpr auto kItems = KwItems(KwPicker(kPageMargin, KwRow(0), 206, 86, "color", 1167),
                                KwSlider(108, kColumns, "transparencyMask.lowThreshold", 1162, 1320, kThousandthsCut),
                                KwSlider(124, kColumns, "transparencyMask.highThreshold", 1163, 1321, kThousandthsCut),
                                KwSlider(140, kColumns, "transparencyMask.blurAmount", 1164, 1322, kThousandthsCut),
                                KwCheck(KwPlace(kPageMargin, 157, 120, 11), "maskOnly", 1161));

constexpr tPageInfo kPage{.title = "Chroma Keyer", .size = {220, 172}, .helpTopic = 1017, .items = kItems};

} // namespace

class DXTChromaKeyPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;

  protected:
    // Of the record's two sets of thresholds the page shows the one that the record names.
    std::string_view FieldOf(const tPageItem& item) const override {
        constexpr std::pair<std::string_view, std::string_view> kTwins[] = {
            {"transparencyMask.lowThreshold", "colorCorrectionMask.lowThreshold"},
            {"transparencyMask.highThreshold", "colorCorrectionMask.highThreshold"},
            {"transparencyMask.blurAmount", "colorCorrectionMask.blurAmount"},
        };
        if (m_Params.empty() || reinterpret_cast<const tCHROMAKEYPROP*>(m_Params.data())->selectedMask == 0)
            return item.field;
        for (const auto& [first, second] : kTwins)
            if (first == item.field) return second;
        return item.field;
    }
};

template IUnknown* KwCreate<DXTChromaKeyFilter>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTChromaKeyPropPage>(const tObjectMapRow&, IUnknown*);
