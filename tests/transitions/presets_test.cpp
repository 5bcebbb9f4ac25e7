// What holds for every preset of the transitions that mix, wipe and move.
#include "host/object.h"
#include "transitions/transition.h"

namespace {

using namespace effect_test;

struct tClassFacts {
    const char* name;
    ULONG flags;
    std::size_t recordBytes, presets;
    bool bands, floats;
};
constexpr tClassFacts kClasses[] = {
    {"Dissolve", 0x81, 40, 23, true, true},   {"DXTAdditiveDissolve", 0xC1, 0, 0, true, true},
    {"DXTKwWipe", 1, 16, 12, true, false},    {"DXTKwClock", 0xC1, 16, 6, false, true},
    {"DXTKwPush", 0x41, 32, 12, false, true}, {"DXTKwSqueeze", 0x41, 32, 14, false, true},
    {"DXTKwBarn", 0, 32, 10, false, true},    {"DXTKwZoom", 0, 36, 14, false, true},
};

class Transitions : public testing::TestWithParam<tClassFacts> {
  protected:
    const EffectInfo& info() const { return module().find(GetParam().name); }

    /// Presets, or the one empty record of a class without.
    std::vector<larkmoor::PresetInfo> presets() const {
        return info().presets.empty() ? std::vector<larkmoor::PresetInfo>{{"default", info().defaults}}
                                      : info().presets;
    }
    std::vector<PixelFormat> formats() const {
        return GetParam().floats ? std::vector{kBytes, kFloats} : std::vector{kBytes};
    }
};

TEST_P(Transitions, TellTheirFacts) {
    const tClassFacts& facts = GetParam();
    EXPECT_EQ(facts.recordBytes, info().defaults.size());
    EXPECT_EQ(facts.presets, info().presets.size());
    EXPECT_EQ(larkmoor::EffectKind::Transition, info().kind);
    EXPECT_TRUE(info().minInputs == 2 && info().maxInputs == 2);
    const Effect effect = module().create(info());
    const auto told = KwQuery<IKwEffectInfo>(effect.object());
    tEffectInfo block{};
    ASSERT_EQ(S_OK, told->GetEffectInfo(&block, sizeof block));
    EXPECT_EQ(5, block.kind);
    EXPECT_EQ(facts.flags, block.flags);
    EXPECT_FALSE(KwQuery<IKwEffectGroup>(effect.object()));
    const bool plain = std::string_view(facts.name).starts_with("DXTKw");
    EXPECT_EQ(plain, static_cast<bool>(KwQuery<IKwPresets>(effect.object())));
    EXPECT_EQ(facts.recordBytes > 0, static_cast<bool>(KwQuery<IPersistStreamInit>(effect.object())));
    EXPECT_EQ(facts.recordBytes > 0, static_cast<bool>(KwQuery<IKwParamRamp>(effect.object())));
}

/// How far channels lie apart, in 255ths, and in how many pixels.
struct tGap {
    double most = 0;
    int pixels = 0;
};
tGap GapOf(const Surface& a, const Surface& b) {
    tGap gap;
    const auto x = PixelsOf(a), y = PixelsOf(b);
    const bool floats = a.view().format == kFloats;
    const std::size_t size = floats ? 16 : 4;
    for (std::size_t i = 0; i < x.size(); i += size) {
        double here = 0;
        for (std::size_t c = 0; c < 4; ++c) {
            float f[2]{};
            if (floats) {
                std::memcpy(&f[0], &x[i + c * 4], 4);
                std::memcpy(&f[1], &y[i + c * 4], 4);
            }
            here = std::max(here, floats ? std::abs(double{f[0]} - double{f[1]}) * 255
                                         : std::abs(static_cast<double>(x[i + c]) - static_cast<double>(y[i + c])));
        }
        gap.most = std::max(gap.most, here);
        gap.pixels += here > 0;
    }
    return gap;
}

TEST_P(Transitions, BeginWithTheFirstPictureAndEndWithTheSecond) {
    constexpr int kWidth = 64, kHeight = 48;
    for (const PixelFormat format : formats()) {
        const Surface first = Opaque(format, kWidth, kHeight, 1), second = Opaque(format, kWidth, kHeight, 2);
        for (const auto& preset : presets()) {
            const std::string& name = preset.name;
            const tGap begin = GapOf(first, Transit(info(), preset.record, 0, first, second));
            const tGap end = GapOf(second, Transit(info(), preset.record, 1, first, second));
            SCOPED_TRACE(name);
            const bool dissolve = info().className == "Dissolve";
            const bool throughColor = dissolve && name.starts_with("Fade Through") && name != "Fade Through Greyscale";
            const bool stopsShort = dissolve && (name == "Fade Through Greyscale" || name.starts_with("Red then"));
            const bool wipe = info().className == "DXTKwWipe", hard = wipe && name.ends_with("Hard Edge");
            double least = 0;
            if (dissolve && format == kFloats) least = 0.51; // floats come and go through bytes
            if (info().className == "DXTKwZoom") least = 1;  // the scaled picture is a 16384th of a pixel off
            EXPECT_LE(begin.most, hard ? 255 : least);
            if (throughColor) continue; // ends in its colour
            EXPECT_LE(end.most, hard ? 255 : wipe ? 20 : stopsShort ? 1 + least : least);
            // A wipe leaves half a pixel where it begins and where it ends.
            EXPECT_LE(begin.pixels, wipe ? kWidth : kWidth * kHeight);
            EXPECT_LE(end.pixels, wipe ? kWidth : kWidth * kHeight);
        }
    }
}

TEST_P(Transitions, BandsAndClipsAreInvisible) {
    constexpr int kWidth = 131, kHeight = 160;
    const RECT clip{31, 17, 120, 101};
    for (const PixelFormat format : formats()) {
        const Surface first = Random(format, kWidth, kHeight, 3), second = Random(format, kWidth, kHeight, 4);
        const Surface under = Random(format, kWidth, kHeight, 5);
        for (const auto& preset : presets())
            for (const float progress : {0.13f, 0.5f, 0.81f})
                for (const bool blend : {false, true}) {
                    SCOPED_TRACE(testing::Message() << preset.name << " progress " << progress);
                    const tFrameOptions one{.blend = blend, .under = blend ? &under : nullptr};
                    tFrameOptions four = one, part{.blend = blend, .clip = &clip};
                    four.processors = 4;
                    const Surface whole = Transit(info(), preset.record, progress, first, second, one);
                    ASSERT_EQ(PixelsOf(whole), PixelsOf(Transit(info(), preset.record, progress, first, second, four)));
                    // The softness of a linear wipe is measured on what is done.
                    if (blend || info().className == "DXTKwWipe") continue;
                    ASSERT_EQ(PixelsOf(Cut(whole, clip)),
                              PixelsOf(Transit(info(), preset.record, progress, first, second, part)));
                }
    }
}

/// A surface that lends its neighbour's face and refuses to be locked.
class Refusing final : public larkmoor::ObjectOf<IDXSurface> {
  public:
    Refusing(const Surface& surface, HRESULT status) : m_surface(surface), m_status(status) {}
    HRESULT GetGenerationId(ULONG* id) override { return m_surface.get()->GetGenerationId(id); }
    HRESULT IncrementGenerationId(BOOL) override { return S_OK; }
    HRESULT GetObjectSize(ULONG* bytes) override { return m_surface.get()->GetObjectSize(bytes); }
    HRESULT GetPixelFormat(GUID* format, DWORD* sampleFormat) override {
        return m_surface.get()->GetPixelFormat(format, sampleFormat);
    }
    HRESULT GetBounds(DXBNDS* bounds) override { return m_surface.get()->GetBounds(bounds); }
    HRESULT GetStatusFlags(DWORD*) override { return E_NOTIMPL; }
    HRESULT SetStatusFlags(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurface(const DXBNDS*, ULONG, DWORD, const IID*, void** out, DWORD*) override {
        *out = this; // what stands there after a failure is no pointer to give back
        return m_status;
    }
    HRESULT GetDirectDrawSurface(const IID*, void**) override { return E_NOTIMPL; }
    HRESULT GetColorKey(DWORD*) override { return E_NOTIMPL; }
    HRESULT SetColorKey(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurfaceDC(const DXBNDS*, ULONG, DWORD, IUnknown**) override { return E_NOTIMPL; }
    HRESULT SetAppData(std::uintptr_t) override { return E_NOTIMPL; }
    HRESULT GetAppData(std::uintptr_t*) override { return E_NOTIMPL; }

  private:
    Surface m_surface;
    HRESULT m_status;
};

TEST_P(Transitions, ASurfaceThatCannotBeLockedEndsTheFrame) {
    constexpr HRESULT kOwn = static_cast<HRESULT>(0x80041234);
    const Surface first = Opaque(kBytes, 9, 5, 1), second = Opaque(kBytes, 9, 5, 2), output = Opaque(kBytes, 9, 5, 3);
    const auto before = PixelsOf(output);
    for (int refused = 0; refused < 3; ++refused) {
        Effect effect = module().create(info());
        const auto transform = KwQuery<IDXTransform>(effect.object());
        const CComPtr<Refusing> refusing = larkmoor::makeObject<Refusing>(first, kOwn);
        IUnknown* surfaces[] = {first.get(), second.get(), output.get()};
        surfaces[refused] = refusing.Get();
        ASSERT_EQ(S_OK, transform->Setup(surfaces, 2, surfaces + 2, 1, 0));
        EXPECT_EQ(info().className == "Dissolve" ? kOwn : E_FAIL, transform->Execute(nullptr, nullptr, nullptr));
        EXPECT_EQ(before, PixelsOf(output));
        effect.unbind();
    }
}

INSTANTIATE_TEST_SUITE_P(Classes, Transitions, testing::ValuesIn(kClasses),
                         [](const auto& tested) { return std::string(tested.param.name); });

} // namespace
