#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "blendAmount", 1435, 1383, kThousandthsCut));

constexpr tPageInfo kPage{.title = "Quick Blur", .size = {220, 41}, .helpTopic = 1030, .items = kItems};

} // namespace

class DXTBlurPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTBlurPropPage>(const tObjectMapRow&, IUnknown*);
