#include "pages/border_rows.h"
#include "pages/page.h"

namespace {

constexpr auto kItems = KwItems(
    KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 40, 9), "type", 1201)),
    KwRadio(KwPlace(50, KwRow(0), 40, 11), "type", 2, 1201), KwRadio(KwPlace(96, KwRow(0), 40, 11), "type", 0, 1202),
    KwRadio(KwPlace(142, KwRow(0), 40, 11), "type", 5, 1203), KwRadio(KwPlace(188, KwRow(0), 44, 11), "type", 3, 1204),
    KwRadio(KwPlace(50, KwRow(1), 40, 11), "type", 4, 1206), KwRadio(KwPlace(96, KwRow(1), 44, 11), "type", 1, 1207),
    KwCheck(KwPlace(50, KwRow(2), 130, 11), "squeezeOld", 1205), KwBorderRows(KwRow(3) + 1, 245));

constexpr tPageInfo kPage{.title = "Squeeze", .size = {245, 222}, .helpTopic = 1025, .items = kItems};

} // namespace

class DXTKwSqueezePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwSqueezePropPage>(const tObjectMapRow&, IUnknown*);
