#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "blendAmount", 1435, 1383, kThousandthsCut));

constexpr tPageInfo kPage{.title = "Black and White", .size = {220, 41}, .helpTopic = 1029, .items = kItems};

} // namespace

class DXTDesaturatePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTDesaturatePropPage>(const tObjectMapRow&, IUnknown*);
