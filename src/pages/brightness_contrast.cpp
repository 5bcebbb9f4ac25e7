#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(239, 62);

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "brightness", 1017, 1020, kSignedHundredths),
                                KwSlider(KwRow(1), kColumns, "contrast", 1016, 1021, kSignedHundredths),
                                KwSlider(KwRow(2), kColumns, "contrastCenter", 1318, 1319, kHundredths));

constexpr tPageInfo kPage{.title = "Brightness and Contrast", .size = {239, 72}, .helpTopic = 1004, .items = kItems};

} // namespace

class DXTBrightnessContrastPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTBrightnessContrastPropPage>(const tObjectMapRow&, IUnknown*);
