#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(230, 50);

constexpr auto kItems =
    KwItems(KwSlider(KwRow(0), kColumns, "level", 1143, 1048, kThousandthsCut),
            KwCheck(KwPlace(60, 38, 100, 11), "monochromatic", 1144),
            KwCheck(KwPlace(60, 51, 100, 11), "gaussian", 1146), KwCheck(KwPlace(60, 64, 100, 11), "animate", 1145));

constexpr tPageInfo kPage{.title = "Add Noise", .size = {230, 80}, .helpTopic = 1012, .items = kItems};

} // namespace

class DXTNoisePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTNoisePropPage>(const tObjectMapRow&, IUnknown*);
