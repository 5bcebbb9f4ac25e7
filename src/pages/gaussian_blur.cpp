#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(245, 64);
constexpr LONG kChecks = KwRow(2) + 2;

constexpr auto kItems = KwItems(
    KwSlider(KwRow(0), kColumns, "horizontalRange", 1006, 1014, kThousandths, {.mate = 1433, .showsMate = true}),
    KwSlider(KwRow(1), kColumns, "verticalRange", 1433, 1434, kThousandths, {.mate = 1006, .showsMate = true}),
    KwItem(KwLabel(KwPlace(kPageMargin, kChecks + 1, 44, 9), "", 1001, "Channels:")),
    KwCheck(KwPlace(74, kChecks, 34, 11), "red", 1001), KwCheck(KwPlace(112, kChecks, 40, 11), "green", 1002),
    KwCheck(KwPlace(156, kChecks, 34, 11), "blue", 1003), KwCheck(KwPlace(194, kChecks, 40, 11), "alpha", 1004));

constexpr tPageInfo kPage{.title = "Gaussian Blur", .size = {245, 75}, .helpTopic = 1003, .items = kItems};

} // namespace

class DXTGaussianBlurPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTGaussianBlurPropPage>(const tObjectMapRow&, IUnknown*);
