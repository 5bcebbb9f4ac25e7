#include "pages/page.h"

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

template IUnknown* KwCreate<DXTLevelsPropPage>(const tObjectMapRow&, IUnknown*);
