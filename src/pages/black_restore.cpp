#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(222, 44);

constexpr auto kItems =
    KwItems(KwSlider(KwRow(0), kColumns, "threshold", 1464, 1465, kThousandthsCut, {.labelId = 1463}));

constexpr tPageInfo kPage{.title = "Black Restore", .size = {222, 40}, .helpTopic = 1032, .items = kItems};

} // namespace

class DXTBlackRestorePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTBlackRestorePropPage>(const tObjectMapRow&, IUnknown*);
