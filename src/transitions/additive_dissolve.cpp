#include "frame/effect.h"
#include "kernels/blend.h"

namespace {

constexpr tEffectClass kClass{
    .iid = {0x3DAB2578, 0xFBC5, 0x4FA8, {0x80, 0x8F, 0x0A, 0xD0, 0x5C, 0x8A, 0xA3, 0xD8}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0xC1,
    .maxBands = 4,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTAdditiveDissolve final : public CEffect<tNoRecord> {
  public:
    DXTAdditiveDissolve(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    // One picture at full strength, the other added: the second up to half time, then the first, on its way out.
    HRESULT Draw(const CEffectViews& views, const tNoRecord&) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        const double progress = m_Progress;
        const bool early = progress < 0.5;
        const tView base = (early ? views.first : views.second).View();
        const tView added = (early ? views.second : views.first).View();
        const double amount = early ? 2.0 * progress : 2.0 * (1.0 - progress);
        const bool blends = BlendsWithOutput();
        return KwForStrips(views.output.View(), base, bytesPerPixel, [&](const tView& output, const tView& strip) {
            // Both inputs are clipped to one area.
            const tView other{added.bits, added.frame, added.stride, strip.clip};
            if (!blends) return KwDibSumScaled(output, strip, other, bytesPerPixel, amount);
            const HRESULT status = KwDibBlendSrcAlpha(output, strip, bytesPerPixel);
            return FAILED(status) ? status : KwDibAddScaled(output, other, bytesPerPixel, amount, 3, 0.0, 0.0);
        });
    }
};

template IUnknown* KwCreate<DXTAdditiveDissolve>(const tObjectMapRow&, IUnknown*);
