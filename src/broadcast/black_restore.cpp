#include "kernels/black_restore.h"

#include "frame/effect.h"
#include "pages/page.h"

namespace {

struct tBLACKRESTOREPROP {
    double threshold;
};
static_assert(sizeof(tBLACKRESTOREPROP) == 8);

constexpr tBLACKRESTOREPROP kDefault{0.02};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tBLACKRESTOREPROP, threshold),
             {"&Threshold:", "Pixels with every color at or under it become black.", 0, 1, 0.001, "$.3f"}),
};

constexpr tPreset<tBLACKRESTOREPROP> kPresets[] = {{"Reset to None", {0.0}}, {"Streaming", {0.02}}};

constexpr tEffectClass kClass{
    .iid = {0x8A36D471, 0x0B59, 0x4C2F, {0xBD, 0x83, 0x16, 0xE2, 0xA9, 0x70, 0x4F, 0x09}},
    .kind = KWKIND_FILTER,
    .family = "Broadcast",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0xC1,
    .group = tEffectGroup{0, 2},
    .defaults = &kDefault,
    .recordSize = sizeof(tBLACKRESTOREPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTBlackRestore final : public CEffect<tBLACKRESTOREPROP> {
  public:
    DXTBlackRestore(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tBLACKRESTOREPROP& params) override {
        const tView output = views.output.View(), input = views.HasInput() ? views.first.View() : output;
        return KwDibBlackRestore(output, input, views.BytesPerPixel(), params.threshold);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(222, 44);

constexpr auto kItems =
    KwItems(KwSlider(KwRow(0), kColumns, "threshold", 1464, 1465, kThousandthsCut, {.labelId = 1463}));

constexpr tPageInfo kPage{.title = "Black Restore", .size = {222, 40}, .helpTopic = 1032, .items = kItems};

} // namespace

class DXTBlackRestorePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTBlackRestore>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTBlackRestorePropPage>(const tObjectMapRow&, IUnknown*);
