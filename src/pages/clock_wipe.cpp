#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(240, 52);

/// Hundredths of a degree.
constexpr tPageScale kAngle{0, 36000, 1, 0, [](double v) { return KwTrunc(v * 100); }, [](LONG p) { return p * 0.01; }};

constexpr auto kItems = KwItems(KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 52, 9), "direction", 1181)),
                                KwRadio(KwPlace(62, KwRow(0), 56, 11), "direction", 0, 1181),
                                KwRadio(KwPlace(124, KwRow(0), 80, 11), "direction", 1, 1182),
                                KwSlider(KwRow(1), kColumns, "feather", 1183, 1184, kAngle));

constexpr tPageInfo kPage{.title = "Clock Wipe", .size = {240, 57}, .helpTopic = 1019, .items = kItems};

} // namespace

class DXTKwClockPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwClockPropPage>(const tObjectMapRow&, IUnknown*);
