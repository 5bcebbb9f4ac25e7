#include <random>

#include "frame/effect.h"
#include "kernels/noise.h"
#include "pages/page.h"

namespace {

constexpr ULONG kSeed = 1234567;

constexpr tNOISEPROP kDefault{0, 1, 1, 0, 0.5, 0.0, kSeed, 0};

constexpr tFieldInfo kFields[] = {
    KwSwitch(KWMEMBER(tNOISEPROP, gaussian), "&Gaussian Noise",
             "Values gather about the middle in place of an even spread."),
    KwSwitch(KWMEMBER(tNOISEPROP, monochromatic), "&Monochromatic", "One noise value for all three colors."),
    KwSwitch(KWMEMBER(tNOISEPROP, animate), "&Animate", "New grain for each frame, from the frame's time."),
    KwNumber(KWMEMBER(tNOISEPROP, level), {"&Noise level:", "Strength of the noise.", 0, 1, 0.001, "$.3f"}),
    KwNumber(KWMEMBER(tNOISEPROP, reserved), {"Reserved:", "Kept and ramped; has no effect.", 0, 1, 0.001, "$.3f"}),
    KwWhole(KWMEMBER(tNOISEPROP, seed), {"Seed:", "Start of the grain where it is not animated.", 0, 2147483647, 1}),
};

constexpr tPreset<tNOISEPROP> kPresets[] = {
    {"Medium", {0, 1, 1, 0, 0.5, 0.0, kSeed, 0}},   {"Grainy", {1, 1, 1, 0, 0.065, 0.0, kSeed, 0}},
    {"Extreme", {1, 1, 1, 0, 0.84, 0.0, kSeed, 0}}, {"Color", {0, 0, 1, 0, 1.0, 0.0, kSeed, 0}},
    {"Screen", {0, 1, 0, 0, 0.214, 0.0, kSeed, 0}}, {"Reset to None", {0, 1, 1, 0, 0.0, 0.0, kSeed, 0}},
};

constexpr tEffectClass kClass{
    .iid = {0xB8F5203D, 0x47A1, 0x4E66, {0x90, 0x0B, 0xDE, 0x31, 0x7C, 0x82, 0x15, 0x07}},
    .kind = KWKIND_FILTER,
    .family = "Stylize",
    .minInputs = 0,
    .maxInputs = 1,
    .infoFlags = 0x1C1,
    .group = tEffectGroup{5, 0},
    .defaults = &kDefault,
    .recordSize = sizeof(tNOISEPROP),
    .fields = kFields,
    .presets = kPresets,
    .miscFlags = CTransformBase::kMiscWatchOutput,
};

/// The seed of a frame: the first word of its time, or a fresh one where the surface knows no frame rate.
ULONG FrameSeed(const tSurfaceInfo& info) {
    if (info.frameRate == 0.0) return (std::random_device{}() & 0x7FFF) * 12323u;
    return static_cast<ULONG>(static_cast<std::uint64_t>(info.time100ns));
}

} // namespace

class DXTNoise final : public CEffect<tNOISEPROP> {
  public:
    DXTNoise(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    HRESULT Draw(const CEffectViews& views, const tNOISEPROP& params) override {
        const LONG bytesPerPixel = views.BytesPerPixel();
        tNOISEPROP record = params;
        if (record.animate == 1) record.seed = FrameSeed(views.output.m_SurfaceInfo);
        m_Generator.Seed(record.seed);
        const tView output = views.output.View(), input = views.HasInput() ? views.first.View() : output;
        return bytesPerPixel == 16 ? KwDibNoiseFloat(output, input, record, m_Generator)
                                   : KwDibNoise(output, input, record, m_Generator);
    }

  private:
    CKwR250 m_Generator; // seeded anew for each frame
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(230, 50);

constexpr auto kItems =
    KwItems(KwSlider(KwRow(0), kColumns, "level", 1143, 1048, kThousandthsCut),
            KwCheck(KwPlace(60, 38, 100, 11), "monochromatic", 1144),
            KwCheck(KwPlace(60, 51, 100, 11), "gaussian", 1146), KwCheck(KwPlace(60, 64, 100, 11), "animate", 1145));

constexpr tPageInfo kPage{.title = "Add Noise", .size = {230, 80}, .helpTopic = 1012, .items = kItems};

} // namespace

class DXTNoisePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTNoise>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTNoisePropPage>(const tObjectMapRow&, IUnknown*);
