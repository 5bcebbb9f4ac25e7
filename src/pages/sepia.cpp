#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(259, 70);

constexpr auto kItems = KwItems(KwPicker(kPageMargin, KwRow(0), 245, 86, "color", 1107),
                                KwSlider(110, kColumns, "strength", 1109, 1111, kThousandths),
                                KwSlider(127, kColumns, "falloff", 1108, 1110, kThousandths));

constexpr tPageInfo kPage{.title = "Sepia", .size = {259, 145}, .helpTopic = 1007, .items = kItems};

} // namespace

class DXTSepiaPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTSepiaPropPage>(const tObjectMapRow&, IUnknown*);
