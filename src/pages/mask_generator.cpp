#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(225, 42);

constexpr auto kItems = KwItems(KwDropDown(KwRow(0), kPageMargin, 42, 80, "type", 1073),
                                KwCheck(KwPlace(kColumns.right - 58, KwRow(0), 58, 11), "invert", 1072),
                                KwSlider(KwRow(1), kColumns, "lowIn", 1069, 1324, kThousandths),
                                KwSlider(KwRow(2), kColumns, "highIn", 1070, 1325, kThousandths),
                                KwSlider(KwRow(3), kColumns, "lowOut", 1075, 1326, kThousandths),
                                KwSlider(KwRow(4), kColumns, "highOut", 1076, 1327, kThousandths));

// Typed bounds may cross: that turns the mask over.
constexpr tPagePair kPairs[] = {{"lowIn", "highIn"}, {"lowOut", "highOut"}};

constexpr tPageInfo kPage{
    .title = "Mask Generator", .size = {225, 105}, .helpTopic = 1022, .items = kItems, .pairs = kPairs};

} // namespace

class DXTKwMaskPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwMaskPropPage>(const tObjectMapRow&, IUnknown*);
