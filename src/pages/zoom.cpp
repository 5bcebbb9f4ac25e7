#include "pages/border_rows.h"
#include "pages/page.h"

namespace {

constexpr LONG kBorder = 100;

constexpr auto kItems = KwItems(
    KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 50, 9), "direction", 1201)),
    KwRadio(KwPlace(60, KwRow(0), 46, 11), "direction", 0, 1201),
    KwRadio(KwPlace(110, KwRow(0), 50, 11), "direction", 1, 1202),
    KwItem(KwLabel(KwPlace(kPageMargin, KwRow(1) + 1, 50, 9), "anchor", 1217)),
    KwItem({.kind = KWCONTROL_PLACEMENT, .id = 1217, .place = KwPlace(60, KwRow(1), 96, 58), .field = "anchor"}),
    KwBorderRows(kBorder, 245));

constexpr tPageInfo kPage{.title = "Zoom", .size = {245, 252}, .helpTopic = 1026, .items = kItems};

} // namespace

class DXTKwZoomPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwZoomPropPage>(const tObjectMapRow&, IUnknown*);
