#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(230, 36);

/// Tenths of a degree.
constexpr tPageScale kAngle{
    0, 3600, 1, 0, [](double v) { return KwRoundAway(v * 10); }, [](LONG p) { return p * 0.1; }};

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "angle", 1171, 1172, kAngle),
                                KwSlider(KwRow(1), kColumns, "feather", 1175, 1176, kThousandths));

constexpr tPageInfo kPage{.title = "Linear Wipe", .size = {230, 57}, .helpTopic = 1020, .items = kItems};

} // namespace

class DXTKwWipePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwWipePropPage>(const tObjectMapRow&, IUnknown*);
