#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(216, 36);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "amount", 1112, 1113, kThousandths));

constexpr tPageInfo kPage{.title = "Sharpen", .size = {216, 37}, .helpTopic = 1010, .items = kItems};

} // namespace

class DXTSharpenPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTSharpenPropPage>(const tObjectMapRow&, IUnknown*);
