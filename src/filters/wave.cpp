#include "kernels/wave.h"

#include "frame/effect.h"
#include "pages/page.h"

namespace {

constexpr double kTurn = 6.283185307179586;

constexpr tWAVEPROP kDefault{5.4, 5.4, 0.05, 0.05, 0.0, 0.0};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tWAVEPROP, verticalWaves),
             {"&Vertical waves:", "Half waves along the height, which move pixels sideways.", 0, 32, 0.001, "$.3f",
              "half waves"}),
    KwNumber(KWMEMBER(tWAVEPROP, horizontalWaves),
             {"&Horizontal waves:", "Half waves along the width, which move pixels up and down.", 0, 32, 0.001, "$.3f",
              "half waves"}),
    KwNumber(KWMEMBER(tWAVEPROP, verticalAmplitude),
             {"V&ertical amplitude:", "How far pixels move sideways.", 0, 1, 0.001, "$.3f", "of the width"}),
    KwNumber(KWMEMBER(tWAVEPROP, horizontalAmplitude),
             {"H&orizontal amplitude:", "How far pixels move up and down.", 0, 1, 0.001, "$.3f", "of the height"}),
    KwNumber(KWMEMBER(tWAVEPROP, verticalPhase),
             {"Ve&rtical phase:", "Where the vertical waves begin.", 0, kTurn, 0.001, "$.3f", "radians"}),
    KwNumber(KWMEMBER(tWAVEPROP, horizontalPhase),
             {"Hori&zontal phase:", "Where the horizontal waves begin.", 0, kTurn, 0.001, "$.3f", "radians"}),
};

constexpr tPreset<tWAVEPROP> kPresets[] = {
    {"Reset to None", {0, 0, 0, 0, 0, 0}},         {"Large", {5.4, 5.4, 0.05, 0.05, 0, 0}},
    {"Medium", {14.0, 14.0, 0.05, 0.05, 0, 0}},    {"Small", {20.0, 20.0, 0.03, 0.03, 0, 0}},
    {"Vertical Only", {10.0, 0, 0.04, 0, 0.8, 0}}, {"Horizontal Only", {0, 10.0, 0, 0.04, 0, 0.8}},
};

constexpr tEffectClass kClass{
    .iid = {0x0FCFF565, 0x20BD, 0x4D5E, {0x8E, 0xA2, 0x5A, 0xA6, 0x33, 0x3C, 0x4D, 0x1A}},
    .kind = KWKIND_FILTER,
    .family = "Stylize",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x01,
    .group = tEffectGroup{2, 1},
    .defaults = &kDefault,
    .recordSize = sizeof(tWAVEPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTWave final : public CEffect<tWAVEPROP> {
  public:
    DXTWave(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tWAVEPROP& params) override {
        return KwDibWave(views.output.View(), views.first.View(), views.BytesPerPixel(), params);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(245, 78);

constexpr tPageScale kWaves{
    0, 3200, 1, 0, [](double v) { return KwRoundAway(v * 0.03125 * 3200); }, [](LONG p) { return p * 32.0 / 3200; }};
constexpr tPageScale kAmplitude{
    0, 3200, 1, 0, [](double v) { return KwRoundAway(v * 3200); }, [](LONG p) { return p / 3200.0; }};
/// A turn in radians.
constexpr tPageScale kPhase{0,
                            3200,
                            1,
                            0,
                            [](double v) { return KwRoundAway(v * 0.15915494309137826 * 3200); },
                            [](LONG p) { return p * 6.283185307179586 / 3200; }};

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "verticalWaves", 1127, 1328, kWaves),
                                KwSlider(KwRow(1), kColumns, "horizontalWaves", 1128, 1329, kWaves),
                                KwSlider(KwRow(2), kColumns, "verticalAmplitude", 1129, 1330, kAmplitude),
                                KwSlider(KwRow(3), kColumns, "horizontalAmplitude", 1130, 1331, kAmplitude),
                                KwSlider(KwRow(4), kColumns, "verticalPhase", 1131, 1332, kPhase),
                                KwSlider(KwRow(5), kColumns, "horizontalPhase", 1132, 1333, kPhase));

constexpr tPageInfo kPage{.title = "Wave", .size = {245, 119}, .helpTopic = 1014, .items = kItems};

} // namespace

class DXTWavePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTWave>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTWavePropPage>(const tObjectMapRow&, IUnknown*);
