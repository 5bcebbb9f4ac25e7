#include "pages/page.h"
#include "pages/shape_rows.h"

namespace {

constexpr auto kItems = KwItems(
    KwShapeRows("method", 96, KwSlider(KwRow(5), kShapeColumns, "size", kShapeSize, kShapeSizeEdit, kHundredthsCut)));

constexpr tPageInfo kPage{
    .title = "Cookie Cutter", .size = {kShapeWidth, KwRow(6) + 172}, .helpTopic = 1033, .items = kItems};

} // namespace

class DXTKwCCutterPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwCCutterPropPage>(const tObjectMapRow&, IUnknown*);
