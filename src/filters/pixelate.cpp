#include "kernels/pixelate.h"

#include "frame/effect.h"
#include "pages/page.h"

namespace {

struct tPIXELATEPROP {
    double horizontal, vertical; ///< resolution kept; 1 is every pixel, and just below it about half
};
static_assert(sizeof(tPIXELATEPROP) == 16);

constexpr tPIXELATEPROP kDefault{0.88, 0.88};

constexpr tFieldInfo kFields[] = {
    KwNumber(KWMEMBER(tPIXELATEPROP, horizontal),
             {"&Horizontal pixelization:", "Resolution kept across; smaller is coarser.", 0, 1, 0.01, "$.2f"}),
    KwNumber(KWMEMBER(tPIXELATEPROP, vertical),
             {"&Vertical pixelization:", "Resolution kept down; smaller is coarser.", 0, 1, 0.01, "$.2f"}),
};

constexpr tPreset<tPIXELATEPROP> kPresets[] = {
    {"Reset to None", {1.0, 1.0}}, {"Small", {0.88, 0.88}},           {"Medium", {0.5, 0.5}},
    {"Large", {0.25, 0.25}},       {"Medium horizontal", {0.5, 1.0}}, {"Medium vertical", {1.0, 0.5}},
};

constexpr tEffectClass kClass{
    .iid = {0x6C4CE49E, 0xB07A, 0x4E97, {0xBF, 0xD1, 0x6F, 0x47, 0x5F, 0xC3, 0xBC, 0xDF}},
    .kind = KWKIND_FILTER,
    .family = "Stylize",
    .minInputs = 1,
    .maxInputs = 1,
    .infoFlags = 0x41,
    .group = tEffectGroup{1, 2},
    .defaults = &kDefault,
    .recordSize = sizeof(tPIXELATEPROP),
    .fields = kFields,
    .presets = kPresets,
    .floatForm = KWFLOAT_SOUND,
};

} // namespace

class DXTPixelate final : public CEffect<tPIXELATEPROP> {
  public:
    DXTPixelate(const tObjectMapRow& row, IUnknown* outer) : CEffect(row, outer, kClass) {}

  protected:
    std::optional<HRESULT> BeforeRecord(const CEffectViews& views) override { return views.EndIfApart(); }

    HRESULT Draw(const CEffectViews& views, const tPIXELATEPROP& params) override {
        return KwDibPixelate(views.output.View(), views.first.View(), views.BytesPerPixel(), params.horizontal,
                             params.vertical);
    }
};

// --- its page

namespace {

constexpr tPageColumns kColumns = KwColumns(231, 82);

// To the right the cells grow: the value is the share of columns that stay.
constexpr tPageScale kScale{
    0, 100, 1, 10, [](double v) { return KwRoundAway((1.0 - v) * 100); }, [](LONG p) { return 1.0 - p * 0.01; }};

constexpr auto kItems = KwItems(KwSlider(KwRow(0), kColumns, "horizontal", 1091, 1337, kScale),
                                KwSlider(KwRow(1), kColumns, "vertical", 1092, 1338, kScale));

constexpr tPageInfo kPage{.title = "Pixelate", .size = {231, 56}, .helpTopic = 1013, .items = kItems};

} // namespace

class DXTPixelatePropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXTPixelate>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXTPixelatePropPage>(const tObjectMapRow&, IUnknown*);
