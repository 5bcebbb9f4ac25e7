#include "pages/border_rows.h"
#include "pages/page.h"

namespace {

constexpr auto kItems =
    KwItems(KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 40, 9), "direction", 1201)),
            KwRadio(KwPlace(50, KwRow(0), 32, 11), "direction", 0, 1201),
            KwRadio(KwPlace(86, KwRow(0), 38, 11), "direction", 2, 1202),
            KwRadio(KwPlace(128, KwRow(0), 34, 11), "direction", 3, 1203),
            KwRadio(KwPlace(166, KwRow(0), 40, 11), "direction", 1, 1204),
            KwCheck(KwPlace(50, KwRow(1), 130, 11), "pushOff", 1205), KwBorderRows(KwRow(2) + 1, 245));

constexpr tPageInfo kPage{.title = "Push", .size = {245, 206}, .helpTopic = 1024, .items = kItems};

} // namespace

class DXTKwPushPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwPushPropPage>(const tObjectMapRow&, IUnknown*);
