#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(216, 44);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "threshold", 1124, 1125, kHundredthsCut));

constexpr tPageInfo kPage{.title = "Threshold", .size = {216, 38}, .helpTopic = 1011, .items = kItems};

} // namespace

class DXTThresholdPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTThresholdPropPage>(const tObjectMapRow&, IUnknown*);
