#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(254, 86);

/// The check box stands where other rows have their label.
constexpr auto Bound(LONG y, const char* gate, LONG check, const char* field, LONG trackbar, LONG edit) {
    const auto row = KwSlider(y, kColumns, field, trackbar, edit, kThousandthsCut, {.enabledBy = gate});
    return KwItems(KwCheck(KwPlace(kPageMargin, y, 84, 11), gate, check), std::array{row[1], row[2]});
}

constexpr auto kItems = KwItems(Bound(KwRow(0), "smoothLow", 1399, "lowBound", 1391, 1390),
                                Bound(KwRow(1), "smoothUpper", 1400, "highBound", 1394, 1393),
                                KwCheck(KwPlace(kPageMargin, KwRow(2), 150, 11), "invert", 1387));

constexpr tPageInfo kPage{.title = "Broadcast Colors", .size = {254, 68}, .helpTopic = 1016, .items = kItems};

} // namespace

class DXTGamutPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTGamutPropPage>(const tObjectMapRow&, IUnknown*);
