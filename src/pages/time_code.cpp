#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(259, 78);

constexpr tPageScale kStretch{0,
                              1500,
                              1,
                              150,
                              [](double v) { return KwRoundAway((v - 0.5) * 1000); },
                              [](LONG p) { return p * 1.5 * 0.00066666666 + 0.5; }};

constexpr auto kItems = KwItems(KwDropDown(KwRow(0), kPageMargin, 78, 164, "format", 1477, true),
                                KwDropDown(KwRow(1), kPageMargin, 78, 80, "horizontal", 1474, true),
                                KwDropDown(KwRow(2), kPageMargin, 78, 80, "vertical", 1475, true),
                                KwSlider(KwRow(3), kColumns, "width", 1478, 1479, kStretch, {.mate = 1097}),
                                KwSlider(KwRow(4), kColumns, "height", 1097, 1098, kStretch, {.mate = 1478}));

constexpr tPageInfo kPage{.title = "Timecode", .size = {259, 105}, .helpTopic = 1031, .items = kItems};

} // namespace

class DXTTimeCodePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTTimeCodePropPage>(const tObjectMapRow&, IUnknown*);
