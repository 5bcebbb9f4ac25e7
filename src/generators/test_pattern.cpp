#include "kernels/test_pattern.h"

#include "frame/generator.h"
#include "pages/page.h"

namespace {

struct tTESTPATTERNPROP {
    ULONG type; ///< eTESTPATTERN
};
static_assert(sizeof(tTESTPATTERNPROP) == 4);

/// What `GetCacheInfo` tells: nothing is drawn ahead.
struct tPatternCache {
    HANDLE deviceContext, bitmap;
    LONG spare[12];
};

constexpr tTESTPATTERNPROP kDefault{kSmpteBarsNtsc};

constexpr tFieldChoice kTypes[] = {
    {"SMPTE Bars (NTSC)", kSmpteBarsNtsc},
    {"White Porches", kWhitePorches},
    {"Yellow Porches", kYellowPorches},
    {"Pluge and Porches", kPlugeAndPorches},
    {"Ramp", kRampPattern},
    {"Gradient", kGradientPattern},
    {"SMPTE Bars (PAL)", kSmpteBarsPal},
    {"Color Bars (NTSC)", kColorBarsNtsc},
    {"Color Bars (PAL)", kColorBarsPal},
};

constexpr tFieldInfo kFields[] = {
    KwChoice(KWMEMBER(tTESTPATTERNPROP, type), "&Test pattern type:", "The pattern that fills the frame.", kTypes),
};

constexpr tPreset<tTESTPATTERNPROP> kPresets[] = {
    {"SMPTE Bars (NTSC)", {kSmpteBarsNtsc}},   {"SMPTE Bars (PAL)", {kSmpteBarsPal}},
    {"Color Bars (NTSC)", {kColorBarsNtsc}},   {"Color Bars (PAL)", {kColorBarsPal}},
    {"White Porches", {kWhitePorches}},        {"Yellow Porches", {kYellowPorches}},
    {"Pluge and Porches", {kPlugeAndPorches}}, {"Ramp", {kRampPattern}},
    {"Gradient", {kGradientPattern}},
};

constexpr tEffectClass kClass{
    .iid = {0x53D10B0D, 0x2B5E, 0x4916, {0x90, 0x6F, 0x5E, 0x33, 0x0B, 0x5A, 0x06, 0x42}},
    .kind = 0,
    .family = "Generators",
    .minInputs = 0,
    .maxInputs = 0,
    .infoFlags = 0,
    .defaults = &kDefault,
    .recordSize = sizeof(tTESTPATTERNPROP),
    .fields = kFields,
    .presets = kPresets,
};

/// Opaque pixels of 32 bits. There is no memory behind them, and with one of the formats that effects map directly they
/// would look for some.
constexpr GUID kOpaque32{0xE436EB7E, 0x524F, 0x11CE, {0x9F, 0x53, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70}};

class CPatternReader final : public CGeneratorRows {
  public:
    CPatternReader(ULONG type, LONG width, LONG height) : CGeneratorRows(width, height), m_rows(type, width, height) {}
    void Read(ULONG x, ULONG y, DWORD* samples, ULONG count) noexcept override { m_rows.Fill({samples, count, x, y}); }

  private:
    CTestPatternRows m_rows;
};

} // namespace

class DXSTestp final : public CWithRecord<CGenerator, tTESTPATTERNPROP> {
  public:
    DXSTestp(const tObjectMapRow& row, IUnknown* outer) : CWithRecord(row, outer, kClass, tFormat{kOpaque32, 0}) {}

    HRESULT GetCacheInfo(void* cache) override { return KwAnswer(static_cast<tPatternCache*>(cache), {}); }

    // Asking for the record counts as taking it.
    HRESULT get_all(void* pvParam, LONG cbStruct) override {
        if (!pvParam) return E_INVALIDARG;
        const HRESULT status = KwGuarded([&] { UpdateWorkParams(); });
        return FAILED(status) ? status : GetAll(pvParam, cbStruct);
    }

  protected:
    std::unique_ptr<CGeneratorRows> OpenRows() override {
        const ULONG type = UpdateWorkParams().type;
        const CHeld guard(m_SurfaceLock);
        return std::make_unique<CPatternReader>(type, m_Width, m_Height);
    }
};

// --- its page

namespace {

constexpr auto kItems =
    KwItems(KwItem({.id = 1123, .place = KwPlace(kPageMargin, 24, 66, 9), .field = "type", .buddy = 1122}),
            KwItem({.kind = KWCONTROL_LIST,
                    .id = 1122,
                    .place = KwPlace(76, 22, 100, kRowHeight),
                    .field = "type",
                    .sorted = true}));

constexpr tPageInfo kPage{.title = "Test Pattern", .size = {183, 45}, .helpTopic = 1023, .items = kItems};

} // namespace

class DXSTestpPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;
};

template IUnknown* KwCreate<DXSTestp>(const tObjectMapRow&, IUnknown*);
template IUnknown* KwCreate<DXSTestpPropPage>(const tObjectMapRow&, IUnknown*);
