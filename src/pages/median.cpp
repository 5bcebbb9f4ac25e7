#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(246, 64);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "horizontalRange", 1300, 1301, kThousandths),
                                KwSlider(KwRow(1), kColumns, "verticalRange", 1091, 1092, kThousandths),
                                KwSlider(KwRow(2), kColumns, "offset", 1094, 1095, kThousandths),
                                KwCheck(KwPlace(74, KwRow(3) + 1, 120, 11), "circular", 1469));

constexpr tPageInfo kPage{.title = "Median", .size = {246, 86}, .helpTopic = 1008, .items = kItems};

} // namespace

class DXTFloatMedianPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTFloatMedianPropPage>(const tObjectMapRow&, IUnknown*);
