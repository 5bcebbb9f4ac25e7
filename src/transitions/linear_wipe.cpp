#include <algorithm>

#include "base/arith.h"
#include "frame/effect.h"
#include "kernels/wipe.h"
#include "pages/page.h"

namespace {

constexpr tWIPEPROP kDefault{0.0f, 0, 0.1};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tWIPEPROP, angle),
             {"&Angle:", "Which way the edge moves: 0 to the right, 90 down, 180 to the left, 270 up.", 0, 360, 0.1,
              "$.1f", "degrees"}),
    KwNumber(KWMEMBER(tWIPEPROP, feather),
             {"&Feather:", "How soft the edge is.", 0, 1, 0.001, "$.3f", "halves of the longer side"}),
};

constexpr tPreset<tWIPEPROP> kPresets[] = {
    {"Top-Left, Diagonal, Soft Edge", {45, 0, 0.1}},
    {"Top-Down, Hard Edge", {90, 0, 0.0}},
    {"Left-Right, Hard Edge", {0, 0, 0.0}},
    {"Bottom-Up, Hard Edge", {270, 0, 0.0}},
    {"Right-Left, Hard Edge", {180, 0, 0.0}},
    {"Right-Left, Soft Edge", {180, 0, 0.5}},
    {"Top-Down, Soft Edge", {90, 0, 0.5}},
    {"Left-Right, Soft Edge", {0, 0, 0.5}},
    {"Top-Left, Diagonal, Blend In", {45, 0, 1.0}},
    {"Bottom-Left, Diagonal, Soft Edge", {315, 0, 0.1}},
    {"Bottom-Right, Diagonal, Soft Edge", {225, 0, 0.1}},
    {"Top-Right, Diagonal, Soft Edge", {135, 0, 0.1}},
};

constexpr tEffectClass kClass{
    .iid = {0xA27B36F2, 0xE090, 0x44D2, {0xB9, 0xDF, 0xA7, 0x1C, 0x11, 0x9C, 0xB0, 0xA0}},
    .kind = KWKIND_TRANSITION,
    .family = "Transitions",
    .minInputs = 2,
    .maxInputs = 2,
    .infoFlags = 1,
    .maxBands = 4,
    .defaults = &kDefault,
    .recordSize = sizeof(tWIPEPROP),
    .fields = kFields,
    .presets = kPresets,
};

} // namespace

class DXTKwWipe final : public CEffect<tWIPEPROP> {
  public:
    DXTKwWipe(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    // The feather is measured on the frame, so that bands do not show.
    HRESULT BeginWork(tWorkInfo& info, ULONG&) override {
        const RECT area = KwRectOf(info.OutputBounds);
        m_LongerSide = static_cast<double>(std::max(KwWidth(area), KwHeight(area)));
        return S_OK;
    }

    // The older form held the feather in percent.
    void UpgradeRecord(std::byte* record, ULONG got) override {
        if (got >= sizeof(tWIPEPROP)) return;
        tWIPEPROP& now = *reinterpret_cast<tWIPEPROP*>(record);
        now.feather = std::clamp(now.reserved * 0.01, 0.0, 1.0);
    }

    HRESULT Draw(const CEffectViews& views, const tWIPEPROP& params) override {
        return KwDibWipe(views.output.View(), views.first.View(), views.second.View(), views.BytesPerPixel(),
                         m_LongerSide * KwClamp(params.feather, 0.0, 1.0) * 0.5, static_cast<double>(params.angle),
                         m_Progress, BlendsWithOutput());
    }

  private:
    double m_LongerSide = 0.0; ///< pixels of this frame's output area
};

// --- its page

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

template IUnknown* KwCreate<DXTKwWipe>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTKwWipePropPage>(const tObjectMapRow&, IUnknown*);
