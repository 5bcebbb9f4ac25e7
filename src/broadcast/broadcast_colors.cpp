#include "kernels/broadcast.h"

#include "frame/effect.h"
#include "kernels/copy.h"

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
             "Colours run from 16 to 235, not from 0 to 255."),
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
    HRESULT Apply(const CEffectViews& views, const tBROADCASTPROP& params) override {
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

template IUnknown* KwCreate<DXTBroadcastColors>(const tObjectMapRow&, IUnknown*);
