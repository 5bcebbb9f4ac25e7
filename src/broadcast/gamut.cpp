#include "kernels/gamut.h"

#include "frame/effect.h"
#include "kernels/copy.h"
#include "kernels/lut.h"
#include "pages/page.h"

namespace {

struct tGAMUTPROP {
    double lowBound, highBound;
    LONG invert;
    LONG smoothUpper;
    LONG smoothLow;
    LONG reserved;
};
static_assert(sizeof(tGAMUTPROP) == 32);

constexpr tGAMUTPROP kDefault{0.0, 1.0, 0, 1, 0, 0};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tGAMUTPROP, lowBound), {"Low bounds:", "How far the lower knee reaches.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tGAMUTPROP, highBound),
             {"Upper bounds:", "How far the upper knee reaches.", 0, 1, 0.001, "$.3f"}),
    KwSwitch(KWMEMBER(tGAMUTPROP, invert), "&Invert out of range colors", "Shows what is still outside 16 to 235."),
    KwSwitch(KWMEMBER(tGAMUTPROP, smoothUpper), "Smooth &upper bounds:", "Bends the upper end."),
    KwSwitch(KWMEMBER(tGAMUTPROP, smoothLow), "Smooth lo&w bounds:", "Bends the lower end."),
};

constexpr tPreset<tGAMUTPROP> kPresets[] = {
    {"Reset to None", {0.0, 1.0, 0, 1, 0, 0}},
    {"Clamp", {0.0, 0.0, 0, 1, 1, 0}},
};

constexpr tEffectClass kClass{
    .iid = {0x5D07B8EC, 0x29C4, 0x4931, {0x87, 0xA5, 0x4B, 0xF0, 0x63, 0x9E, 0x12, 0x0A}},
    .kind = KWKIND_FILTER,
    .family = "Broadcast",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x81,
    .group = tEffectGroup{1, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tGAMUTPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTGamut final : public CEffect<tGAMUTPROP> {
  public:
    DXTGamut(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tGAMUTPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        if (bytesPerPixel != 4) { // floats are copied and then refused, in this order
            const HRESULT status = KwDibCopy(views.output.View(), views.first.View(), bytesPerPixel);
            return FAILED(status) ? status : E_NOTIMPL;
        }
        std::uint8_t table[256], outOfRange[256];
        BuildGamutCurve(table, params.lowBound, params.highBound, params.smoothLow != 0, params.smoothUpper != 0);
        KwBuildOutOfRangeTable(outOfRange);
        return views.ForStrips([&](const tView& output, const tView* input) {
            const HRESULT status = KwDibMapLut(output, input ? *input : output, 4, table, true, kMapColors, true);
            // The colours shown as out of range are not capped at alpha again.
            return SUCCEEDED(status) && params.invert ? KwDibApplyLut(output, 4, outOfRange, true, false, false)
                                                      : status;
        });
    }
};

// --- its page

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

template IUnknown* KwCreate<DXTGamut>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTGamutPropPage>(const tObjectMapRow&, IUnknown*);
