#include "pages/page.h"

namespace {

/// One limit: what is limited, which end, its edit, and how soft the limit is.
constexpr auto Limit(LONG row, const char* what, const char* end, const char* field, LONG edit, const char* smooth,
                     LONG trackbar, LONG smoothEdit) {
    const LONG y = 24 + 18 * row;
    const tPageColumns right{112, 46, 271};
    return KwItems(
        KwItem(KwLabel(KwPlace(kPageMargin, y + 2, 42, 9), "", edit, what)),
        KwItem(KwLabel(KwPlace(51, y + 2, 18, 9), "", edit, end)),
        KwItem({.kind = KWCONTROL_EDIT, .id = edit, .place = KwPlace(70, y, kEditWidth, kRowHeight), .field = field}),
        KwSlider(y, right, smooth, trackbar, smoothEdit, kThousandthsCut, {.text = "Smoothness:"}));
}

constexpr auto kItems = KwItems(Limit(0, "&Luma:", "Min:", "lumaMin", 1481, "lumaMinSmooth", 1486, 1487),
                                Limit(1, "", "Max:", "lumaMax", 1482, "lumaMaxSmooth", 1488, 1489),
                                Limit(2, "&Chroma:", "Max:", "chromaMax", 1483, "chromaMaxSmooth", 1490, 1491),
                                Limit(3, "Co&mposite:", "Min:", "compositeMin", 1484, "compositeMinSmooth", 1492, 1493),
                                Limit(4, "", "Max:", "compositeMax", 1485, "compositeMaxSmooth", 1494, 1495),
                                KwCheck(KwPlace(kPageMargin, 122, 120, 11), "setup", 1496),
                                KwCheck(KwPlace(kPageMargin, 138, 120, 11), "studioRGB", 1497));

constexpr tPagePair kPairs[] = {{.low = "compositeMin", .high = "lumaMin", .highEdit = tPairEdit::PUSHES},
                                {.low = "lumaMax", .high = "compositeMax", .lowEdit = tPairEdit::PUSHES}};

constexpr tPageInfo kPage{
    .title = "Broadcast Colors", .size = {278, 161}, .helpTopic = 1016, .items = kItems, .pairs = kPairs};

} // namespace

class DXTBroadcastColorsPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTBroadcastColorsPropPage>(const tObjectMapRow&, IUnknown*);
