#include "pages/page.h"

namespace {

constexpr auto kItems =
    KwItems(KwItem({.id = 1123, .place = KwPlace(kPageMargin, 24, 66, 9), .field = "type", .buddy = 1122}),
            KwItem({.kind = KWCONTROL_LIST,
                    .id = 1122,
                    .place = KwPlace(76, 22, 100, kRowHeight),
                    .field = "type",
                    .sorted = true}));

constexpr tPageInfo kPage{.title = "Test Pattern", .size = {183, 45}, .helpTopic = 1023, .items = kItems};

} // namespace

class DXSTestpPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXSTestpPropPage>(const tObjectMapRow&, IUnknown*);
