#include "pages/page.h"

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

template IUnknown* KwCreate<DXTMaxPropPage>(const tObjectMapRow&, IUnknown*);
