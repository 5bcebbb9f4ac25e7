#include "pages/page.h"

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

template IUnknown* KwCreate<DXTWavePropPage>(const tObjectMapRow&, IUnknown*);
