// Site and services, generations, flags, quality and progress.
#include "frame/transform_base.h"

#include <algorithm>

namespace {

constexpr GUID kDirectDrawService{0x618F8AD4, 0x8B7A, 0x11D0, {0x8F, 0xCC, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
constexpr GUID kDirectDrawId{0x6C14DB80, 0xA733, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
constexpr GUID kRetainedModeService{0x2BC49361, 0x8327, 0x11CF, {0xAC, 0x4A, 0x00, 0x00, 0xC0, 0x38, 0x25, 0xA1}};
constexpr GUID kRetainedModeId{0x4516EC83, 0x8F20, 0x11D0, {0x9B, 0x6D, 0x00, 0x00, 0xC0, 0x78, 0x1B, 0xC3}};

template <class T>
CComPtr<T> QueryService(IServiceProvider* provider, const GUID& service, const IID& iid) {
    return KwReceived<T>([&](void** out) { return provider->QueryService(&service, &iid, out); });
}

} // namespace

void* CTransformBase::FindInterface(const IID& iid) noexcept {
    if (iid == IDXTransform::iid || iid == IDXBaseObject::iid) return static_cast<IDXTransform*>(this);
    if (iid == IObjectWithSite::iid) return static_cast<IObjectWithSite*>(this);
    if (iid == IObjectSafety::iid) return static_cast<IObjectSafety*>(this);
    return nullptr;
}

// Site and services.

HRESULT CTransformBase::SetSite(IUnknown* site) {
    KwGuarded(m_Lock, [&] {
        m_pSite = site;
        DropServices();
        m_ServicesShort = site && FAILED(KwGuarded([&] { return TakeServices(); }));
        if (m_ServicesShort) DropServices();
    });
    return S_OK; // what is missing shows at the next `Setup`
}

HRESULT CTransformBase::TakeServices() {
    // What is asked may set another site meanwhile: all is held here, and kept once nothing more is asked.
    const CComPtr<IUnknown> site = m_pSite;
    const auto factory = KwQuery<IDXTransformFactory>(site.Get());
    if (!factory) return S_OK;
    if (!m_pInputs && m_MaxInputs != 0) m_pInputs = std::make_unique<tTransformInput[]>(m_MaxInputs);

    IServiceProvider* const provider = factory.Get();
    auto surfaces = QueryService<IDXSurfaceFactory>(provider, IDXSurfaceFactory::iid, IDXSurfaceFactory::iid);
    auto tasks = QueryService<IDXTaskManager>(provider, SID_SDXTaskManager, IDXTaskManager::iid);
    ULONG processors = 1;
    CComPtr<IKwWorkers> workers;
    if (tasks) {
        if (FAILED(tasks->QueryNumProcessors(&processors))) processors = 1;
        workers = KwQuery<IKwWorkers>(tasks.Get());
    }
    auto draw = QueryService<IUnknown>(provider, kDirectDrawService, kDirectDrawId);
    CComPtr<IUnknown> retained;
    if (HasMesh()) retained = QueryService<IUnknown>(provider, kRetainedModeService, kRetainedModeId);
    if (site.Get() != m_pSite.Get()) return S_OK;
    m_pTransformFactory = factory;
    m_pSurfaceFactory = std::move(surfaces);
    m_pTaskManager = std::move(tasks);
    m_pWorkers = std::move(workers);
    m_NumProcessors = std::max<ULONG>(processors, 1);
    m_pDirectDraw = std::move(draw);
    m_pDirect3DRM = std::move(retained);
    return S_OK;
}

void CTransformBase::DropServices() {
    m_pDirect3DRM.Reset();
    m_pDirectDraw.Reset();
    m_pWorkers.Reset();
    m_pTaskManager.Reset();
    m_pSurfaceFactory.Reset();
    m_pTransformFactory.Reset();
    m_NumProcessors = 1;
}

HRESULT CTransformBase::GetSite(const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_POINTER;
    return KwGuarded([&] {
        CComPtr<IUnknown> site;
        {
            const CHeld guard(m_Lock);
            site = m_pSite;
        }
        return site ? site->QueryInterface(iid, out) : E_FAIL;
    });
}

// Generations, flags, quality, progress.

HRESULT CTransformBase::GetGenerationId(ULONG* id) {
    if (!id) return E_POINTER;
    return KwGuarded(m_Lock, [&] {
        WithBound([&] { RefreshGenerationId(); });
        *id = m_GenerationId;
    });
}

void CTransformBase::RefreshGenerationId() {
    const auto look = [this](tTransformInput& row) {
        ULONG generation = 0;
        if (!row.base || FAILED(row.base->GetGenerationId(&generation)) || generation == row.generation) return;
        row.generation = generation;
        ++m_GenerationId;
    };
    if (m_MiscFlags & kMiscWatchOutput) look(m_Output);
    for (ULONG i = 0; i < m_NumInputs; ++i) look(m_pInputs[i]);
}

HRESULT CTransformBase::IncrementGenerationId(BOOL refresh) {
    return KwGuarded(m_Lock, [&] {
        ++m_GenerationId;
        if (!refresh) return S_OK;
        const auto held = std::make_unique<CComPtr<IUnknown>[]>(m_NumInputs + 1);
        const auto inputs = std::make_unique<IUnknown*[]>(m_NumInputs + 1);
        for (ULONG i = 0; i < m_NumInputs; ++i) inputs[i] = (held[i] = m_pInputs[i].object).Get();
        IUnknown* const output = (held[m_NumInputs] = m_Output.object).Get();
        return Setup(inputs.get(), m_NumInputs, &output, output ? 1 : 0, 0);
    });
}

HRESULT CTransformBase::GetObjectSize(ULONG* bytes) {
    return KwAnswer(bytes, ObjectSize());
}

HRESULT CTransformBase::SetMiscFlags(DWORD flags) {
    return KwGuarded(m_Lock, [&] {
        const DWORD current = m_MiscFlags & 0xFFFF;
        if (flags == current) return S_OK;
        if ((flags & ~DWORD{3}) || ((flags & 1) && !(m_MiscFlags & kMiscBit0Changeable)) ||
            ((flags & 2) && !(m_MiscFlags & kMiscBit1Changeable)))
            return E_INVALIDARG;
        m_MiscFlags = (m_MiscFlags & 0xFFFF0000) | flags;
        UpdateEffectiveFlags();
        ++m_GenerationId;
        return S_OK;
    });
}

HRESULT CTransformBase::GetMiscFlags(DWORD* flags) {
    return KwAnswer(flags, m_MiscFlags.load());
}

HRESULT CTransformBase::SetQuality(float quality) {
    if (!(m_MiscFlags & kMiscQuality)) return E_NOTIMPL;
    return KwGuarded(m_Lock, [&] {
        if (m_Quality != quality) {
            m_Quality = quality;
            ++m_GenerationId;
        }
        return quality < 0.0f || quality > 1.0f ? E_INVALIDARG : S_OK;
    });
}

HRESULT CTransformBase::GetQuality(float* quality) {
    if (!(m_MiscFlags & kMiscQuality)) return E_NOTIMPL;
    return KwGuarded(m_Lock, [&] { return KwAnswer(quality, m_Quality); });
}

HRESULT CTransformBase::GetProgress(float* progress) {
    return KwGuarded(m_Lock, [&] { return KwAnswer(progress, m_Progress); });
}

HRESULT CTransformBase::PutProgress(float progress) {
    if (progress < 0.0f || progress > 1.0f) return E_INVALIDARG;
    return KwGuarded(m_Lock, [&] {
        m_Progress = progress;
        ++m_ParamGeneration;
        ++m_GenerationId;
    });
}

HRESULT CTransformBase::GetStepResolution(float* resolution) {
    return KwAnswer(resolution, m_StepResolution);
}

HRESULT CTransformBase::GetDuration(float* seconds) {
    return KwGuarded(m_Lock, [&] { return KwAnswer(seconds, m_Duration); });
}

HRESULT CTransformBase::PutDuration(float seconds) {
    if (seconds <= 0.0f) return E_INVALIDARG;
    return KwGuarded(m_Lock, [&] {
        if (m_Duration == seconds) return;
        m_Duration = seconds;
        ++m_ParamGeneration;
        ++m_GenerationId;
    });
}
