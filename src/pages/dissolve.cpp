#include "kernels/dissolve.h"
#include "pages/page.h"
#include "support/strings.h"

namespace {

enum : LONG { kMode = 1247, kGroup = 1248, kColor = 1249, kSlow = 1270, kFast = 1271 };

/// Ids of a speed's label, trackbar and edit.
struct tSpeed {
    const char* field;
    LONG label, trackbar, edit;
};
constexpr tSpeed kSpeeds[] = {
    {"red", 1261, 1251, 1252}, {"green", 1262, 1253, 1254}, {"blue", 1263, 1255, 1256}, {"alpha", 1264, 1257, 1258}};

constexpr tPageColumns kColumns{13, 30, 223};
constexpr LONG kTop = 40;

constexpr auto Speed(LONG index) {
    const tSpeed& speed = kSpeeds[index];
    return KwSlider(kTop + 24 + 18 * index, kColumns, speed.field, speed.trackbar, speed.edit, kThousandthsCut,
                    {.labelId = speed.label});
}

constexpr auto kItems = KwItems(KwDropDown(KwRow(0), kPageMargin, 58, 130, "mode", kMode),
                                KwItem({.kind = KWCONTROL_GROUP, .id = kGroup, .place = {7, kTop, 229, 142}}),
                                KwItem({.id = kSlow, .place = KwPlace(46, kTop + 12, 30, 9), .text = "Slow"}),
                                KwItem({.id = kFast, .place = KwPlace(162, kTop + 12, 24, 9), .text = "Fast"}),
                                Speed(0), Speed(1), Speed(2), Speed(3),
                                KwItem({.kind = KWCONTROL_COLOR,
                                        .id = kColor,
                                        .place = {13, kTop + 12, 223, 138},
                                        .field = "red",
                                        .style = kPickAlpha | kPickGamut,
                                        .elements = "rgba"}));

constexpr tPageInfo kPage{.title = "Dissolve", .size = {236, 148}, .helpTopic = 1027, .items = kItems};

} // namespace

class DissolvePP final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;

  protected:
    // What the four numbers mean follows the mode, and so do the controls for them.
    void ShowRecord(const CPageControl* except) override {
        CPropPage::ShowRecord(except);
        constexpr LONG kBleed = 3, kMorph = 4, kFadeThroughColor = 8;
        constexpr UINT kBleedTitle = 1285, kMorphTitle = 1286, kColorTitle = 1287;
        const LONG mode = Params<tDISSOLVEPROP>().mode;
        const bool speeds = mode == kBleed || mode == kMorph, color = mode == kFadeThroughColor;
        for (const tSpeed& speed : kSpeeds)
            for (const LONG id : {speed.label, speed.trackbar, speed.edit}) ShowControl(id, speeds);
        for (const LONG id : {kSlow, kFast}) ShowControl(id, speeds);
        ShowControl(kColor, color);
        ShowControl(kGroup, speeds || color);
        if (speeds || color)
            Control<CStaticText>(kGroup).SetText(GetResourceString(nullptr, color            ? kColorTitle
                                                                            : mode == kBleed ? kBleedTitle
                                                                                             : kMorphTitle));
    }
};

template IUnknown* KwCreate<DissolvePP>(const tObjectMapRow&, IUnknown*);
