#include "pages/border_rows.h"
#include "pages/page.h"

namespace {

constexpr auto kItems =
    KwItems(KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 50, 9), "orientation", 1201)),
            KwRadio(KwPlace(60, KwRow(0), 52, 11), "orientation", 1, 1201),
            KwRadio(KwPlace(116, KwRow(0), 44, 11), "orientation", 0, 1202),
            KwItem(KwLabel(KwPlace(kPageMargin, KwRow(1) + 1, 50, 9), "direction", 1203)),
            KwRadio(KwPlace(60, KwRow(1), 52, 11), "direction", 0, 1203),
            KwRadio(KwPlace(116, KwRow(1), 44, 11), "direction", 1, 1204), KwBorderRows(KwRow(2) + 1, 245));

constexpr tPageInfo kPage{.title = "Barn Door", .size = {245, 206}, .helpTopic = 1018, .items = kItems};

} // namespace

class DXTKwBarnPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwBarnPropPage>(const tObjectMapRow&, IUnknown*);
