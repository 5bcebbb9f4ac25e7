#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);
constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "amount", 1435, 1383, kThousandthsCut));
constexpr tPageInfo kPage{.title = "Invert", .size = {220, 41}, .helpTopic = 1028, .items = kItems};

} // namespace

class DXTInvertPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTInvertPropPage>(const tObjectMapRow&, IUnknown*);
