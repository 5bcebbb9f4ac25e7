// What the frame makes of surfaces, services and options that are missing, fail or call back.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <string_view>
#include <utility>

#include "frame/effect.h"
#include "frame/made.h"
#include "host/foreign_surface.h"
#include "host/services.h"
#include "host/surface.h"
#include "platform/exports.h"

namespace {

using larkmoor::PixelFormat;
using larkmoor::Surface;

/// A transform with the options that none of the effects takes.
class COptions final : public CEffect<tNoRecord> {
  public:
    explicit COptions(DWORD options, DWORD misc = 0x06030003, ULONG bands = 1)
        : CEffect(KwObjectMap()[0], nullptr, kClass) {
        m_OptionFlags = options;
        m_MiscFlags = misc;
        m_MaxBands = bands;
        SetSite(larkmoor::createTransformFactory().Get());
    }
    HRESULT Draw(const CEffectViews&, const tNoRecord&) override { return S_OK; }
    HRESULT PickSurface(const DXBNDS&, ULONG&, DXVEC&) override { return picked; }
    HRESULT GetPickOrder(const DXBNDS&, ULONG& count, ULONG* indices, ULONG* weights) override {
        std::ranges::copy(std::array<ULONG, 3>{1, 0, 0}, indices);
        std::ranges::copy(std::array<ULONG, 3>{255, 0, 255}, weights);
        count = 3;
        return order;
    }

    HRESULT picked = E_NOTIMPL, order = S_OK;

  private:
    static constexpr tEffectClass kClass{.iid = {0x22222222, 2, 2, {2, 2, 2, 2, 2, 2, 2, 2}},
                                         .kind = KWKIND_TRANSITION,
                                         .minInputs = 1,
                                         .maxInputs = 2,
                                         .maxBands = 1};
};

/// Its owner.
template <class... Args>
CComPtr<IUnknown> Owned(COptions*& made, Args... args) {
    made = new COptions(args...);
    return CComPtr<IUnknown>::Adopt(made->InnerUnknown());
}

TEST(Answers, OptionsOfATransform) {
    COptions* made = nullptr;
    DXBNDS box{}, out{};
    float quality = 0;
    {
        const auto owner = Owned(made, COptions::kOptionMeshInputs | COptions::kOptionMeshOutput);
        EXPECT_EQ(E_INVALIDARG, made->MapBoundsIn2Out(&box, 1, 0, &out)) << "a box of pixels is no mesh's";
        box.eType = 2;
        EXPECT_EQ(S_OK, made->MapBoundsIn2Out(&box, 1, 0, &out));
        EXPECT_EQ(2, static_cast<int>(out.eType));
        EXPECT_EQ(E_NOTIMPL, made->MapBoundsOut2In(0, &box, 0, &out));
        GUID ids[2]{};
        ULONG count = 2;
        EXPECT_EQ(S_OK, made->GetInOutInfo(FALSE, 0, nullptr, ids, &count, nullptr));
        EXPECT_EQ(1u, count);
        EXPECT_EQ(GUID{}, ids[1]);
    }
    {
        const auto owner = Owned(made, DWORD{0}, COptions::kMiscQuality);
        EXPECT_EQ(S_OK, made->GetQuality(&quality));
        EXPECT_EQ(0.5f, quality);
        EXPECT_EQ(E_POINTER, made->GetQuality(nullptr));
        for (const float value : {0.0f, 1.0f, 1.0f}) EXPECT_EQ(S_OK, made->SetQuality(value));
        for (const float value : {-0.01f, 1.01f}) EXPECT_EQ(E_INVALIDARG, made->SetQuality(value));
        ULONG count = 1;
        GUID ids[2]{};
        DWORD flags = 9;
        IUnknown* bound = owner.Get();
        EXPECT_EQ(KW_E_MORE_DATA, made->GetInOutInfo(FALSE, 1, &flags, ids, &count, &bound));
        EXPECT_EQ(2u, count);
        EXPECT_EQ(1u, flags) << "the second may be missing";
        EXPECT_EQ(nullptr, bound);
        EXPECT_EQ(IDXSurface::iid, ids[0]);
        EXPECT_EQ(GUID{}, ids[1]);
        EXPECT_EQ(S_OK, made->GetInOutInfo(FALSE, 0, &flags, nullptr, &count, nullptr));
        EXPECT_EQ(0u, flags);
        EXPECT_EQ(S_OK, made->GetInOutInfo(TRUE, 0, &flags, ids, &count, nullptr));
        EXPECT_EQ(S_FALSE, made->GetInOutInfo(TRUE, 1, &flags, ids, &count, nullptr));
        EXPECT_EQ(S_FALSE, made->GetInOutInfo(FALSE, 2, &flags, ids, &count, nullptr));
        EXPECT_EQ(E_NOTIMPL, KwQuery<IDXTransform>(Made("DXTInvert").Get())->SetQuality(0));
    }
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    IUnknown* const bound = picture.get();
    const DXBNDS clip = larkmoor::boundsOf(0, 0, 2, 2);
    const DXVEC corner{};
    for (const DWORD misc : {DWORD{0}, DWORD{COptions::kMiscCustomClip}, DWORD{COptions::kMiscCustomPlacement}}) {
        const auto owner = Owned(made, DWORD{0}, misc, ULONG{0}); // no bands: frames go to a routine that it lacks
        ASSERT_EQ(S_OK, made->Setup(&bound, 1, &bound, 1, 0));
        EXPECT_EQ(E_FAIL, made->Execute(nullptr, nullptr, nullptr));
        EXPECT_EQ(misc & COptions::kMiscCustomClip ? E_FAIL : E_INVALIDARG, made->Execute(nullptr, &clip, nullptr));
        EXPECT_EQ(misc & COptions::kMiscCustomPlacement ? E_FAIL : E_INVALIDARG,
                  made->Execute(nullptr, nullptr, &corner));
        EXPECT_EQ(E_INVALIDARG, made->SetMiscFlags(1)) << "not its to change";
        EXPECT_EQ(E_INVALIDARG, made->SetMiscFlags(2)) << "not its to change";
    }
    const auto owner = Owned(made, DWORD{0});
    DXVEC wrong{.eType = 1};
    ULONG index = 0;
    ASSERT_EQ(S_OK, made->Setup(&bound, 1, &bound, 1, 0));
    EXPECT_EQ(E_INVALIDARG, made->Execute(nullptr, nullptr, &wrong));
    EXPECT_EQ(E_INVALIDARG, made->PointPick(&wrong, &index, &wrong));
    EXPECT_EQ(E_POINTER, made->PointPick(&corner, &index, nullptr));
    wrong = {};
    EXPECT_EQ(S_FALSE, made->PointPick(&corner, &index, &wrong)) << "clear there";
    std::memset(picture.view().data, 0xFF, 4);
    index = 9;
    EXPECT_EQ(S_OK, made->PointPick(&corner, &index, &wrong));
    EXPECT_EQ(0u, index) << "the second is not connected, and the first one's first turn weighs nothing";
    made->order = E_UNEXPECTED;
    EXPECT_EQ(E_UNEXPECTED, made->PointPick(&corner, &index, &wrong));
    made->picked = S_FALSE;
    EXPECT_EQ(S_FALSE, made->PointPick(&corner, &index, &wrong));
    for (const LONG away : {4, -4}) {
        const DXVEC beside{.Axis = {0, away, 0, 0}};
        EXPECT_EQ(S_FALSE, made->Execute(nullptr, nullptr, &beside)) << "nothing of the output is met";
    }
    EXPECT_EQ(E_INVALIDARG, made->MapBoundsOut2In(0, nullptr, 0, &out));
    EXPECT_EQ(E_INVALIDARG, made->MapBoundsOut2In(1, &box, 0, &out));
    EXPECT_EQ(E_INVALIDARG, made->Setup(&bound, 1, &bound, 1, 1)) << "no flag is known";
    IUnknown* const none = nullptr;
    EXPECT_EQ(E_INVALIDARG, made->Setup(&none, 1, &bound, 1, 0));
    EXPECT_EQ(E_INVALIDARG, made->Setup(&bound, 1, &none, 1, 0));
    EXPECT_EQ(S_OK, made->IncrementGenerationId(FALSE));
    for (const double level : {-1.0, 0.5, 2.0}) EXPECT_EQ(S_OK, made->SetLevel(level));
}

/// A site that does no more than give services.
struct CServingSite : larkmoor::ObjectOf<IDXTransformFactory> {
    HRESULT SetService(const GUID*, IUnknown*, BOOL) override { return E_NOTIMPL; }
    HRESULT CreateTransform(IUnknown* const*, ULONG, IUnknown* const*, ULONG, IPropertyBag*, IErrorLog*, const CLSID*,
                            const IID*, void**) override {
        return E_NOTIMPL;
    }
    HRESULT InitializeTransform(IDXTransform*, IUnknown* const*, ULONG, IUnknown* const*, ULONG, IPropertyBag*,
                                IErrorLog*) override {
        return E_NOTIMPL;
    }
};

/// A site that has all services but one, which it refuses or, asked for it, says to have given.
struct CPoorSite final : CServingSite {
    HRESULT QueryService(const GUID* service, const IID* iid, void** out) override {
        if (*iid == missing) return *out = nullptr, status;
        return larkmoor::createTransformFactory()->QueryService(service, iid, out);
    }

    IID missing{};
    HRESULT status = E_FAIL;
};

TEST(Answers, SitesMayLackServices) {
    const auto site = larkmoor::makeObject<CPoorSite>();
    const Surface pictures[] = {Surface::create(PixelFormat::PremultipliedArgb32, 4, 4),
                                Surface::create(PixelFormat::PremultipliedArgb32, 6, 3)};
    COptions* fresh = nullptr;
    const auto freshOwner = Owned(fresh, DWORD{0});
    IUnknown* none = freshOwner.Get();
    EXPECT_EQ(S_OK, fresh->GetInOutInfo(FALSE, 0, nullptr, nullptr, nullptr, &none));
    EXPECT_EQ(nullptr, none);
    IUnknown *const two[] = {pictures[0].get(), pictures[1].get()}, *const one[] = {pictures[0].get(), nullptr};
    for (const DWORD options : {DWORD{0}, DWORD{COptions::kOptionMeshInputs}, DWORD{COptions::kOptionMeshOutput},
                                DWORD{COptions::kOptionSameSizeInputs}})
        for (const IID& missing : {GUID{}, IDXSurfaceFactory::iid, IDXTaskManager::iid, IDXSurfaceModifier::iid})
            for (const HRESULT status : {E_FAIL, S_OK}) {
                site->missing = missing;
                site->status = status;
                COptions* made = nullptr;
                const auto owner = Owned(made, options);
                IUnknown* bound = owner.Get();
                made->SetSite(owner.Get()); // no site at all
                EXPECT_EQ(DXTERR_UNINITIALIZED, made->Setup(two, 2, two, 1, 0));
                EXPECT_EQ(S_OK, made->Setup(nullptr, 0, nullptr, 0, 0));
                EXPECT_EQ(S_OK, made->SetSite(site.Get()));
                const bool fails = options == COptions::kOptionSameSizeInputs && missing == IDXSurfaceModifier::iid;
                EXPECT_EQ(fails ? E_FAIL : S_OK, made->Setup(two, 2, two, 1, 0));
                const bool mesh = options & (COptions::kOptionMeshInputs | COptions::kOptionMeshOutput);
                EXPECT_EQ(fails  ? DXTERR_UNINITIALIZED
                          : mesh ? E_FAIL
                                 : S_OK,
                          made->Execute(nullptr, nullptr, nullptr));
                EXPECT_EQ(S_OK, made->Setup(one, 2, two, 1, 0)) << "the second is not connected";
                EXPECT_EQ(S_OK, made->GetInOutInfo(FALSE, 0, nullptr, nullptr, nullptr, &bound));
                EXPECT_EQ(one[0], bound);
                bound->Release();
                EXPECT_EQ(S_OK, made->GetInOutInfo(TRUE, 0, nullptr, nullptr, nullptr, &bound));
                EXPECT_EQ(two[0], bound);
                bound->Release();
                EXPECT_EQ(S_OK, made->SetSite(nullptr));
            }
}

/// Not what a host should bind.
struct COdd final : larkmoor::ObjectOf<IServiceProvider> {
    HRESULT QueryInterface(const IID* iid, void** out) override {
        if (*iid == IUnknown::iid || !(*iid == IDXSurface::iid)) return ObjectOf::QueryInterface(iid, out);
        return *out = nullptr, status;
    }
    HRESULT QueryService(const GUID*, const IID*, void**) override { return E_NOTIMPL; }
    HRESULT status = S_OK;
};

TEST(Answers, WhatIsNoSurfaceIsNotBound) {
    const auto site = larkmoor::makeObject<CPoorSite>();
    const auto odd = larkmoor::makeObject<COdd>();
    const Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    IUnknown *const bad = odd.Get(), *const good = picture.get();
    for (const IID& missing : {GUID{}, IDXSurfaceFactory::iid})
        for (const auto& [status, expected] :
             {std::pair(S_OK, E_INVALIDARG), {E_NOINTERFACE, E_INVALIDARG}, {E_UNEXPECTED, E_UNEXPECTED}}) {
            site->missing = missing;
            odd->status = status;
            COptions* made = nullptr;
            const auto owner = Owned(made, DWORD{0});
            made->SetSite(site.Get());
            EXPECT_EQ(expected, made->Setup(&bad, 1, &good, 1, 0));
            EXPECT_EQ(expected, made->Setup(&good, 1, &bad, 1, 0));
            EXPECT_EQ(DXTERR_UNINITIALIZED, made->Execute(nullptr, nullptr, nullptr));
        }
}

/// What a host does in the middle of a call of its surface or site.
struct tNosy {
    LONG left = -1; ///< calls until then; below 0 it is past
    std::function<void()> act;

    void Call() {
        if (left >= 0 && left-- == 0) act();
    }
};

class CNosySurface final : public larkmoor::ForeignSurface {
  public:
    CNosySurface(tNosy& nosy, const Surface& picture) : m_nosy(nosy), m_picture(picture) {}
    HRESULT QueryInterface(const IID* iid, void** out) override {
        m_nosy.Call();
        return ForeignSurface::QueryInterface(iid, out);
    }
    HRESULT GetGenerationId(ULONG* id) override { return m_nosy.Call(), *id = ++m_generation, S_OK; }
    HRESULT GetPixelFormat(GUID* format, DWORD* samples) override {
        return m_nosy.Call(), m_picture.get()->GetPixelFormat(format, samples);
    }
    HRESULT GetBounds(DXBNDS* bounds) override { return m_nosy.Call(), m_picture.get()->GetBounds(bounds); }
    HRESULT LockSurface(const DXBNDS* bounds, ULONG timeout, DWORD flags, const IID* iid, void** out,
                        DWORD* generation) override {
        return m_nosy.Call(), m_picture.get()->LockSurface(bounds, timeout, flags, iid, out, generation);
    }

  private:
    tNosy& m_nosy;
    Surface m_picture;
    ULONG m_generation = 0;
};

class CNosySite final : public CServingSite {
  public:
    explicit CNosySite(tNosy& nosy) : m_nosy(nosy) {}
    HRESULT QueryInterface(const IID* iid, void** out) override {
        m_nosy.Call();
        return ObjectOf::QueryInterface(iid, out);
    }
    HRESULT QueryService(const GUID* service, const IID* iid, void** out) override {
        m_nosy.Call();
        return m_services->QueryService(service, iid, out);
    }

  private:
    tNosy& m_nosy;
    CComPtr<IDXTransformFactory> m_services = larkmoor::createTransformFactory(2);
};

TEST(Answers, AHostMayCallBackFromAnywhere) {
    const Surface wide = Surface::create(PixelFormat::PremultipliedArgb32, 6, 3),
                  high = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
    COptions* made = nullptr;
    tNosy nosy;
    const auto bindFresh = [&] {
        const auto first = larkmoor::makeObject<CNosySurface>(nosy, wide),
                   second = larkmoor::makeObject<CNosySurface>(nosy, high);
        IUnknown *const in[] = {first.Get(), second.Get()}, *const out[] = {second.Get()};
        return made->Setup(in, 2, out, 1, 0);
    };
    const std::function<void()> acts[] = {
        [&] { made->SetSite(nullptr); },
        [&] { made->Setup(nullptr, 0, nullptr, 0, 0); },
        [&] { bindFresh(); },
        [&] { made->IncrementGenerationId(TRUE); },
        [&] { made->Execute(nullptr, nullptr, nullptr); },
        [&] { made->SetSite(larkmoor::createTransformFactory().Get()); },
    };
    for (const DWORD options : {DWORD{0}, DWORD{COptions::kOptionSameSizeInputs}})
        for (const auto& act : acts)
            for (LONG turn = 0, left = -1; left < 0; ++turn) {
                const auto owner = Owned(made, options);
                nosy = {turn, act};
                // The object alone holds what it is given.
                made->SetSite(larkmoor::makeObject<CNosySite>(nosy).Get());
                bindFresh();
                ULONG id = 0;
                DXBNDS bounds{};
                DXVEC point{};
                made->GetGenerationId(&id);
                made->MapBoundsIn2Out(nullptr, 0, 0, &bounds);
                made->PointPick(&point, &id, &point);
                made->IncrementGenerationId(TRUE);
                made->Execute(nullptr, nullptr, nullptr);
                made->Setup(nullptr, 0, nullptr, 0, 0);
                left = std::exchange(nosy.left, -1);
                made->SetSite(larkmoor::createTransformFactory().Get());
                EXPECT_EQ(S_OK, bindFresh()) << "turn " << turn;
                EXPECT_EQ(S_OK, made->Execute(nullptr, nullptr, nullptr)) << "turn " << turn;
            }
}

/// A picture that answers `allowed` calls and then none.
struct CTiringSurface final : larkmoor::ForeignSurface {
    bool IsTired() {
        if (allowed < 0) return false;
        tired = tired || allowed == 0;
        allowed = std::max<LONG>(allowed - 1, 0);
        return tired;
    }
    HRESULT Answer(HRESULT status) { return IsTired() ? E_FAIL : status; }

    HRESULT GetGenerationId(ULONG* id) override { return Answer((*id = 1, S_OK)); }
    HRESULT GetPixelFormat(GUID* format, DWORD* samples) override {
        *format = DDPF_PMARGB32;
        *samples = DXSAMPLE_TRANSLUCENT | dither;
        return Answer(S_OK);
    }
    HRESULT GetBounds(DXBNDS* bounds) override {
        *bounds = larkmoor::boundsOf(0, 0, size, size);
        return Answer(S_OK);
    }
    HRESULT LockSurface(const DXBNDS* bounds, ULONG x, DWORD flags, const IID* iid, void** out, DWORD* id) override {
        if (IsTired()) return E_FAIL;
        const auto inner = KwQuery<IDXSurface>(picture.get());
        return inner->LockSurface(bounds, x, flags, iid, out, id);
    }

    LONG size = 4, allowed = -1;
    DWORD dither = 0;
    bool tired = false;
    Surface picture = Surface::create(PixelFormat::PremultipliedArgb32, 4, 4);
};

TEST(Answers, SurfacesMayFailAtAnyCall) {
    for (const auto* const name : {"DXTInvert", "DXTKwWipe", "DXTGaussianBlur"})
        for (const LONG size : {4, 3}) // of the first; another than the second's is shown through a modifier
            for (int failing = 0; failing < 3; ++failing) {
                const CComPtr<IUnknown> object = Made(name);
                const auto transform = KwQuery<IDXTransform>(object.Get());
                ASSERT_TRUE(transform) << name;
                KwQuery<IObjectWithSite>(object.Get())->SetSite(larkmoor::createTransformFactory().Get());
                std::array<CComPtr<CTiringSurface>, 3> surfaces;
                for (auto& surface : surfaces) surface = larkmoor::makeObject<CTiringSurface>();
                surfaces[0]->size = size;
                surfaces[0]->picture = Surface::create(PixelFormat::PremultipliedArgb32, size, size);
                surfaces[2]->dither = 0x00100000;
                surfaces[1]->dither = 0x00200000;
                CTiringSurface& tiring = *surfaces[static_cast<std::size_t>(failing)].Get();
                IUnknown *const inputs[] = {surfaces[0].Get(), surfaces[1].Get()}, *const output = surfaces[2].Get();
                ULONG count = 0;
                DXBNDS two[2]{};
                count = transform->MapBoundsOut2In(0, two, 1, two + 1) == S_OK ? 2 : 1;
                const auto frame = [&] {
                    const HRESULT bound = transform->Setup(inputs, count, &output, 1, 0);
                    const HRESULT drawn = transform->Execute(nullptr, nullptr, nullptr);
                    ULONG generation = 0;
                    EXPECT_EQ(S_OK, transform->GetGenerationId(&generation));
                    return std::pair(bound, drawn);
                };
                LONG allowed = 0, failures = 0;
                do {
                    tiring.tired = false;
                    tiring.allowed = allowed++;
                    const auto [bound, drawn] = frame();
                    tiring.allowed = -1;
                    if (FAILED(bound)) {
                        EXPECT_EQ(DXTERR_UNINITIALIZED, drawn);
                    }
                    failures += FAILED(bound) || FAILED(drawn);
                    EXPECT_EQ(std::pair(S_OK, S_OK), frame()) << "once it answers again";
                } while (tiring.tired && allowed < 100);
                EXPECT_TRUE(failures > 2 || (failing == 1 && count == 1)) << name;
                EXPECT_EQ(S_OK, transform->Setup(nullptr, 0, nullptr, 0, 0));
                for (const auto& surface : surfaces) EXPECT_FALSE(surface->isShared()) << name;
            }
}

} // namespace
