#include <memory>

#include "frame/effect.h"
#include "kernels/levels.h"
#include "kernels/lut.h"
#include "pages/page.h"

namespace {

enum : LONG { kBlue, kGreen, kRed, kAlpha, kAll };

constexpr tFieldChoice kChannels[] = {
    {"All channels", kAll}, {"Red", kRed}, {"Green", kGreen}, {"Blue", kBlue}, {"Alpha", kAlpha}};

// Deliberately not neutral: a new object brightens.
constexpr tLEVELSPROP kDefault{0.0, 0.5, 0.0, 1.0, 2.07, kAll, 0};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tLEVELSPROP, inputStart), {"I&nput start:", "Level that becomes black.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tLEVELSPROP, inputEnd), {"In&put end:", "Level that becomes white.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tLEVELSPROP, outputStart),
             {"&Output start:", "What the bottom of the input range becomes.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tLEVELSPROP, outputEnd),
             {"O&utput end:", "What the top of the input range becomes.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tLEVELSPROP, gamma), {"&Gamma:", "Above 1 lifts the middle tones.", 0.45, 5, 0.001, "$.3f"}),
    KwChoice(KWMEMBER(tLEVELSPROP, channel), "&Channel:", "The colors that are mapped; Alpha maps all three.",
             kChannels),
};

constexpr tPreset<tLEVELSPROP> kPresets[] = {
    {"Reset to None", {0.0, 1.0, 0.0, 1.0, 1.0, kAll, 0}},
    {"Brighten", {0.0, 0.7, 0.0, 1.0, 1.0, kAll, 0}},
    {"Darken", {0.3, 1.0, 0.0, 1.0, 1.0, kAll, 0}},
    {"Increase Gamma", {0.0, 1.0, 0.0, 1.0, 2.0, kAll, 0}},
    {"Decrease Gamma", {0.0, 1.0, 0.0, 1.0, 0.7, kAll, 0}},
    {"Studio RGB to Computer RGB", {0.06274509803921569, 0.9215686274509803, 0.0, 1.0, 1.0, kAll, 0}},
};

constexpr tEffectClass kClass{
    .iid = {0x9D5C1F0A, 0x3E6B, 0x4B7E, {0x91, 0x2C, 0x5F, 0x60, 0x88, 0x1A, 0xD4, 0x02}},
    .kind = KWKIND_FILTER,
    .family = "Color",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0x81,
    .defaults = &kDefault,
    .recordSize = sizeof(tLEVELSPROP),
    .fields = kFields,
    .presets = kPresets,
    .miscFlags = CTransformBase::kMiscWatchOutput,
};

/// What a channel number maps; every colour is capped at alpha whether it is mapped or not.
unsigned Channels(LONG channel) {
    switch (channel) {
    case kBlue:
        return kMapBlue;
    case kGreen:
        return kMapGreen;
    case kRed:
        return kMapRed;
    case kAlpha: // asks for all colours as well; alpha itself stays
    case kAll:
        return kMapColors;
    default:
        return 0;
    }
}

} // namespace

class DXTLevels final : public CEffect<tLEVELSPROP> {
  public:
    DXTLevels(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tLEVELSPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        std::uint8_t bytes[256];
        std::unique_ptr<std::uint16_t[]> words;
        if (bytesPerPixel != 4) words = std::make_unique_for_overwrite<std::uint16_t[]>(65536);
        void* const table = words ? static_cast<void*>(words.get()) : bytes;
        KwBuildLevelsTable(table, bytesPerPixel, &params);
        const tView output = views.output.View(), input = views.HasInput() ? views.first.View() : output;
        return KwDibMapLut(output, input, bytesPerPixel, table, false, Channels(params.channel), true);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(250, 52);

constexpr tPageScale kGamma{0,
                            1000,
                            1,
                            100,
                            [](double v) { return KwRoundAway((v - 0.45) * 1000 / 4.55); },
                            [](LONG p) { return p * 4.55 * 0.001 + 0.45; }};

constexpr auto kItems = KwItems(KwDropDown(KwRow(0), kPageMargin, 52, 80, "channel", 1063),
                                KwSlider(KwRow(1), kColumns, "inputStart", 1053, 1064, kThousandths),
                                KwSlider(KwRow(2), kColumns, "inputEnd", 1055, 1065, kThousandths),
                                KwSlider(KwRow(3), kColumns, "outputStart", 1057, 1066, kThousandths),
                                KwSlider(KwRow(4), kColumns, "outputEnd", 1059, 1067, kThousandths),
                                KwSlider(KwRow(5), kColumns, "gamma", 1061, 1068, kGamma));

constexpr tPagePair kPairs[] = {{"inputStart", "inputEnd"}, {"outputStart", "outputEnd"}};

constexpr tPageInfo kPage{.title = "Levels", .size = {250, 118}, .helpTopic = 1005, .items = kItems, .pairs = kPairs};

} // namespace

class DXTLevelsPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTLevels>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTLevelsPropPage>(const tObjectMapRow&, IUnknown*);
