#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(231, 82);

// To the right the cells grow: the value is the share of columns that stay.
constexpr tPageScale kScale{
    0, 100, 1, 10, [](double v) { return KwRoundAway((1.0 - v) * 100); }, [](LONG p) { return 1.0 - p * 0.01; }};

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "horizontal", 1091, 1337, kScale),
                                KwSlider(KwRow(1), kColumns, "vertical", 1092, 1338, kScale));

constexpr tPageInfo kPage{.title = "Pixelate", .size = {231, 56}, .helpTopic = 1013, .items = kItems};

} // namespace

class DXTPixelatePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTPixelatePropPage>(const tObjectMapRow&, IUnknown*);
