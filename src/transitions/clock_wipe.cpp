#include "frame/effect.h"
#include "kernels/clock.h"
#include "kernels/copy.h"
#include "pages/page.h"

namespace {

enum : LONG { kClockwise, kCounterclockwise };

constexpr tCLOCKPROP kDefault{kClockwise, 0, 30.0};

constexpr tFieldChoice kDirections[] = {{"Clockwise", kClockwise}, {"Counterclockwise", kCounterclockwise}};

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tCLOCKPROP, direction), "&Direction:", "Which way the hand turns.", kDirections),
    KwNumber(KWMEMBER(tCLOCKPROP, feather),
             {"&Feather angle:", "How wide the soft zone behind the hand is.", 0, 360, 0.01, "$.2f", "degrees"}),
};

constexpr tPreset<tCLOCKPROP> kPresets[] = {
    {"Clockwise, Soft Edge", {kClockwise, 0, 30.0}}, {"Counter Clockwise, Soft Edge", {kCounterclockwise, 0, 30.0}},
    {"Clockwise, Hard Edge", {kClockwise, 0, 0.0}},  {"Counter Clockwise, Hard Edge", {kCounterclockwise, 0, 0.0}},
    {"Clockwise, Blend In", {kClockwise, 0, 220.0}}, {"Counter Clockwise, Blend In", {kCounterclockwise, 0, 220.0}},
};

constexpr tEffectClass kClass{
    .iid = {0xA31DD7FE, 0xC551, 0x4628, {0x8C, 0x9C, 0x9A, 0xC3, 0xBB, 0x4F, 0xED, 0x6D}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 0xC1,
    .defaults = &kDefault,
    .recordSize = sizeof(tCLOCKPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTKwClock final : public CEffect<tCLOCKPROP> {
  public:
    DXTKwClock(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tCLOCKPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        // Both inputs are clipped to one area.
        const tView second = views.second.View();
        return views.ForStrips([&](const tView& output, const tView* first) {
            const HRESULT status = KwDibCopy(output, *first, bytesPerPixel);
            if (FAILED(status)) return status;
            return KwDibClock(output, {second.bits, second.frame, second.stride, first->clip}, bytesPerPixel, &params,
                              m_Progress);
        });
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(240, 52);

/// Hundredths of a degree.
constexpr tPageScale kAngle{0, 36000, 1, 0, [](double v) { return KwTrunc(v * 100); }, [](LONG p) { return p * 0.01; }};

constexpr auto kItems = KwItems(KwItem(KwLabel(KwPlace(kPageMargin, KwRow(0) + 1, 52, 9), "direction", 1181)),
                                KwRadio(KwPlace(62, KwRow(0), 56, 11), "direction", 0, 1181),
                                KwRadio(KwPlace(124, KwRow(0), 80, 11), "direction", 1, 1182),
                                KwSlider(KwRow(1), kColumns, "feather", 1183, 1184, kAngle));

constexpr tPageInfo kPage{.title = "Clock Wipe", .size = {240, 57}, .helpTopic = 1019, .items = kItems};

} // namespace

class DXTKwClockPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTKwClock>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwClockPropPage>(const tObjectMapRow&, IUnknown*);
