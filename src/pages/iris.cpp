#include "pages/page.h"
#include "pages/shape_rows.h"

namespace {

constexpr std::array<tPageItem, 0> kNoSize{};

constexpr auto kItems = KwItems(KwShapeRows("direction", 96, kNoSize));

constexpr tPageInfo kPage{.title = "Iris", .size = {kShapeWidth, KwRow(5) + 172}, .helpTopic = 1021, .items = kItems};

} // namespace

class DXTKwIrisPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwIrisPropPage>(const tObjectMapRow&, IUnknown*);
