#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(210, 48);

constexpr tPageScale kFactor{
    0, 200, 1, 20, [](double v) { return KwRoundAway(v * 0.5 * 200); }, [](LONG p) { return p * 2.0 * 0.005; }};

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "addHue", 1022, 1029, kHundredths),
                                KwSlider(KwRow(1), kColumns, "saturation", 1023, 1030, kFactor),
                                KwSlider(KwRow(2), kColumns, "luminance", 1024, 1031, kFactor));

constexpr tPageInfo kPage{.title = "HSL Adjust", .size = {210, 71}, .helpTopic = 1006, .items = kItems};

} // namespace

class DXTHSLAdjustPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTHSLAdjustPropPage>(const tObjectMapRow&, IUnknown*);
