#include "kernels/broadcast.h"

#include "frame/effect.h"
#include "kernels/copy.h"
#include "pages/page.h"

namespace {

constexpr tBROADCASTPROP kDefault{};

constexpr tFieldInfo Level(const tMember& member, const char* label, const char* help, double minimum, double maximum) {
    return KwNumber(member, {label, help, minimum, maximum, 0.01, "$.2f", "IRE"});
}
constexpr tFieldInfo Smoothness(const tMember& member, const char* label) {
    return KwNumber(member, {label, "How far the limit bends levels near it; 0 is a hard clip.", 0, 1, 0.001, "$.3f"});
}

constexpr tFieldInfo kFields[] = {
    Level(KWMEMBER(tBROADCASTPROP, lumaMin), "&Luma min:", "The lowest luma.", -8, 40),
    Smoothness(KWMEMBER(tBROADCASTPROP, lumaMinSmooth), "Luma min smoothness:"),
    Level(KWMEMBER(tBROADCASTPROP, lumaMax), "Luma max:", "The highest luma.", 60, 110),
    Smoothness(KWMEMBER(tBROADCASTPROP, lumaMaxSmooth), "Luma max smoothness:"),
    Level(KWMEMBER(tBROADCASTPROP, chromaMax), "&Chroma max:", "The largest chroma, from peak to peak.", 0, 148),
    Smoothness(KWMEMBER(tBROADCASTPROP, chromaMaxSmooth), "Chroma max smoothness:"),
    Level(KWMEMBER(tBROADCASTPROP, compositeMin),
          "Co&mposite min:", "The lowest level of luma less chroma; at most the lowest luma.", -47, 40),
    Smoothness(KWMEMBER(tBROADCASTPROP, compositeMinSmooth), "Composite min smoothness:"),
    Level(KWMEMBER(tBROADCASTPROP, compositeMax),
          "Composite max:", "The highest level of luma plus chroma; at least the highest luma.", 60, 148),
    Smoothness(KWMEMBER(tBROADCASTPROP, compositeMaxSmooth), "Composite max smoothness:"),
    KwSwitch(KWMEMBER(tBROADCASTPROP, setup), "&7.5 IRE setup", "Black stands at 7.5 IRE, not at 0."),
    KwSwitch(KWMEMBER(tBROADCASTPROP, studioRGB), "Studio &RGB (16 to 235)",
             "Colors run from 16 to 235, not from 0 to 255."),
};

constexpr tBROADCASTPROP Hard(double lumaMin, double lumaMax, double chromaMax, double compositeMin,
                              double compositeMax, LONG setup) {
    return {.lumaMin = lumaMin,
            .lumaMax = lumaMax,
            .chromaMax = chromaMax,
            .compositeMin = compositeMin,
            .compositeMax = compositeMax,
            .setup = setup};
}

constexpr tPreset<tBROADCASTPROP> kPresets[] = {
    {"Reset to None", Hard(-8, 110, 148, -47, 148, 1)},
    {"Lenient", Hard(0, 100, 100, -20, 120, 0)},
    {"Lenient - 7.5 Setup", Hard(7.5, 100, 100, -20, 120, 1)},
    {"Conservative", Hard(0, 100, 100, -20, 110, 0)},
    {"Conservative - 7.5 Setup", Hard(7.5, 100, 100, -20, 110, 1)},
    {"Extremely Conservative", Hard(0, 100, 100, -20, 100, 0)},
    {"Extremely Conservative - 7.5 Setup", Hard(7.5, 100, 100, -20, 100, 1)},
};

constexpr tEffectClass kClass{
    .iid = {0x0BE452B9, 0x4C57, 0x49E5, {0xBF, 0xC3, 0xF7, 0x79, 0x59, 0x52, 0x62, 0xFB}},
    .kind = KWKIND_FILTER,
    .family = "Broadcast",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .group = tEffectGroup{1, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tBROADCASTPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTBroadcastColors final : public CEffect<tBROADCASTPROP> {
  public:
    DXTBroadcastColors(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tBROADCASTPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        tBroadcastTables tables;
        const tBroadcastPass pass = KwBuildBroadcastTables(params, tables);
        // Floats are copied and then refused, in this order.
        if (bytesPerPixel != 4 && views.HasInput())
            if (const HRESULT status = KwDibCopy(views.output.View(), views.first.View(), bytesPerPixel);
                FAILED(status))
                return status;
        if (bytesPerPixel != 4) return E_NOTIMPL;
        return views.ForStrips([&](const tView& output, const tView* input) {
            const HRESULT status = input ? KwDibCopy(output, *input, 4) : S_OK;
            return FAILED(status) ? status : KwDibBroadcast(output, 4, pass);
        });
    }
};

// --- its page

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

template IUnknown* KwCreate<DXTBroadcastColors>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTBroadcastColorsPropPage>(const tObjectMapRow&, IUnknown*);
