#include "frame/transform_base.h"

#include <algorithm>
#include <cstdlib>

#include "frame/surface.h"

namespace {

constexpr GUID kDirectDrawSurfaceId{0x6C14DB81, 0xA733, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
constexpr GUID kMeshBuilderId{0x4516EC82, 0x8F20, 0x11D0, {0x9B, 0x6D, 0x00, 0x00, 0xC0, 0x78, 0x1B, 0xC3}};
constexpr GUID kDirectDrawService{0x618F8AD4, 0x8B7A, 0x11D0, {0x8F, 0xCC, 0x00, 0xC0, 0x4F, 0xD9, 0x18, 0x9D}};
constexpr GUID kDirectDrawId{0x6C14DB80, 0xA733, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
constexpr GUID kRetainedModeService{0x2BC49361, 0x8327, 0x11CF, {0xAC, 0x4A, 0x00, 0x00, 0xC0, 0x38, 0x25, 0xA1}};
constexpr GUID kRetainedModeId{0x4516EC83, 0x8F20, 0x11D0, {0x9B, 0x6D, 0x00, 0x00, 0xC0, 0x78, 0x1B, 0xC3}};

BOOL g_Continue = TRUE;

LONG Limited(std::int64_t value) {
    return static_cast<LONG>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

void MoveAxis(DXBNDS::tAxis& axis, std::int64_t by) {
    axis = {Limited(axis.Min + by), Limited(axis.Max + by)};
}

/// Per axis the greater min and the lesser max; false where an axis is left empty, and then all axes are zero.
bool IntersectBounds(DXBNDS& bounds, const DXBNDS& other) {
    for (int i = 0; i < 4; ++i) {
        bounds.Axis[i] = {std::max(bounds.Axis[i].Min, other.Axis[i].Min),
                          std::min(bounds.Axis[i].Max, other.Axis[i].Max)};
        if (bounds.Axis[i].Max <= bounds.Axis[i].Min) {
            bounds = {};
            return false;
        }
    }
    return true;
}

void UniteBounds(DXBNDS& bounds, const DXBNDS& other) {
    for (int i = 0; i < 4; ++i)
        bounds.Axis[i] = {std::min(bounds.Axis[i].Min, other.Axis[i].Min),
                          std::max(bounds.Axis[i].Max, other.Axis[i].Max)};
}

std::int64_t Length(const DXBNDS::tAxis& axis) {
    return std::int64_t{axis.Max} - axis.Min;
}

template <class T>
HRESULT Answer(T* out, T value) {
    if (!out) return E_POINTER;
    *out = value;
    return S_OK;
}

template <class T>
CComPtr<T> QueryService(IServiceProvider* provider, const GUID& service, const IID& iid) {
    return KwReceived<T>([&](void** out) { return provider->QueryService(&service, &iid, out); });
}

} // namespace

void* CTransformBase::FindInterface(const IID& iid) {
    if (iid == IDXTransform::iid || iid == IDXBaseObject::iid) return static_cast<IDXTransform*>(this);
    if (iid == IObjectWithSite::iid) return static_cast<IObjectWithSite*>(this);
    if (iid == IObjectSafety::iid) return static_cast<IObjectSafety*>(this);
    return nullptr;
}

HRESULT CTransformBase::GetInterfaceSafetyOptions(const IID* iid, DWORD* supported, DWORD* enabled) {
    return m_Safety.Get(iid, supported, enabled);
}

HRESULT CTransformBase::SetInterfaceSafetyOptions(const IID* iid, DWORD mask, DWORD enabled) {
    return m_Safety.Set(iid, mask, enabled);
}

// Site and services.

HRESULT CTransformBase::SetSite(IUnknown* site) {
    const std::scoped_lock guard(m_Lock);
    m_pSite = site;
    DropServices();
    if (site && FAILED(KwGuarded([&] { return TakeServices(); }))) DropServices();
    return S_OK;
}

HRESULT CTransformBase::TakeServices() {
    m_pTransformFactory = KwQuery<IDXTransformFactory>(m_pSite.Get());
    if (!m_pTransformFactory) return S_OK;
    if (!m_pInputs && m_MaxInputs != 0) m_pInputs = std::make_unique<tTransformInput[]>(m_MaxInputs);

    IServiceProvider* const provider = m_pTransformFactory.Get();
    m_pSurfaceFactory = QueryService<IDXSurfaceFactory>(provider, IDXSurfaceFactory::iid, IDXSurfaceFactory::iid);
    m_pTaskManager = QueryService<IDXTaskManager>(provider, SID_SDXTaskManager, IDXTaskManager::iid);
    m_NumProcessors = 1;
    if (m_pTaskManager) {
        ULONG count = 1;
        if (SUCCEEDED(m_pTaskManager->QueryNumProcessors(&count))) m_NumProcessors = std::max<ULONG>(count, 1);
    }
    m_pDirectDraw = QueryService<IUnknown>(provider, kDirectDrawService, kDirectDrawId);
    if (HasMesh()) m_pDirect3DRM = QueryService<IUnknown>(provider, kRetainedModeService, kRetainedModeId);
    return S_OK;
}

void CTransformBase::DropServices() {
    m_pDirect3DRM.Reset();
    m_pDirectDraw.Reset();
    m_pTaskManager.Reset();
    m_pSurfaceFactory.Reset();
    m_pTransformFactory.Reset();
    m_NumProcessors = 1;
}

HRESULT CTransformBase::GetSite(const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_POINTER;
    const std::scoped_lock guard(m_Lock);
    return m_pSite ? m_pSite->QueryInterface(iid, out) : E_FAIL;
}

// Binding.

HRESULT CTransformBase::Setup(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs, ULONG numOutputs,
                              DWORD flags) {
    const std::scoped_lock guard(m_Lock);
    if (m_Executing) return E_UNEXPECTED; // a surface called back: the frame still stands on what is bound
    if (numInputs == 0 && numOutputs == 0) {
        UnbindAll();
        ReleaseObjects();
        return S_OK;
    }
    if (!m_pTransformFactory) return DXTERR_UNINITIALIZED;
    if (flags != 0 || numOutputs != 1 || numInputs < m_RequiredInputs || numInputs > m_MaxInputs ||
        (numInputs > 0 && !inputs) || !outputs || !outputs[0])
        return E_INVALIDARG;
    for (ULONG i = 0; i < m_RequiredInputs; ++i)
        if (!inputs[i]) return E_INVALIDARG;

    const HRESULT status = KwGuarded([&] { return BindAll(inputs, numInputs, outputs[0], flags); });
    if (FAILED(status)) {
        UnbindAll();
        ReleaseObjects();
    }
    return status;
}

HRESULT CTransformBase::BindAll(IUnknown* const* inputs, ULONG numInputs, IUnknown* output, DWORD flags) {
    UnbindAll();
    m_NumInputs = numInputs;
    for (ULONG i = 0; i < numInputs; ++i)
        if (const HRESULT status = Bind(inputs[i], m_pInputs[i]); FAILED(status)) return status;
    if (const HRESULT status = Bind(output, m_Output); FAILED(status)) return status;
    if (m_OptionFlags & kOptionSameSizeInputs)
        if (const HRESULT status = MakeInputsSameSize(); FAILED(status)) return status;
    UpdateEffectiveFlags();
    return AfterSetup(flags);
}

void CTransformBase::UnbindAll() {
    for (ULONG i = 0; m_pInputs && i < m_MaxInputs; ++i) m_pInputs[i] = {};
    m_Output = {};
    m_NumInputs = 0;
}

HRESULT CTransformBase::Bind(IUnknown* object, tTransformInput& row) {
    if (!object) return S_OK;
    row.object = object;
    HRESULT status = S_OK;
    row.surface =
        KwReceived<IDXSurface>([&](void** out) { return status = object->QueryInterface(&IDXSurface::iid, out); });
    if (FAILED(status) && m_pSurfaceFactory) {
        const auto direct =
            KwReceived<IUnknown>([&](void** out) { return object->QueryInterface(&kDirectDrawSurfaceId, out); });
        if (direct)
            row.surface = KwReceived<IDXSurface>([&](void** out) {
                return status = m_pSurfaceFactory->CreateFromDDSurface(direct.Get(), nullptr, 0, nullptr,
                                                                       &IDXSurface::iid, out);
            });
    }
    if (SUCCEEDED(status) && !row.surface) status = E_NOINTERFACE;
    if (SUCCEEDED(status)) {
        row.base = KwQuery<IDXBaseObject>(row.surface.Get());
        if (!row.base) status = E_NOINTERFACE;
    }
    if (FAILED(status)) return status == E_NOINTERFACE ? E_INVALIDARG : status;

    ULONG generation = 0;
    row.base->GetGenerationId(&generation);
    row.generation = generation - 1;
    GUID format{};
    return row.surface->GetPixelFormat(&format, &row.sampleFormat);
}

HRESULT CTransformBase::MakeInputsSameSize() {
    if (m_NumInputs < 2) return S_OK;
    DXBNDS all{};
    bool any = false;
    for (ULONG i = 0; i < m_NumInputs; ++i) {
        if (!m_pInputs[i].surface) continue;
        DXBNDS bounds{};
        if (const HRESULT status = m_pInputs[i].surface->GetBounds(&bounds); FAILED(status)) return status;
        if (any)
            UniteBounds(all, bounds);
        else
            all = bounds;
        any = true;
    }
    for (ULONG i = 0; i < m_NumInputs; ++i) {
        tTransformInput& row = m_pInputs[i];
        if (!row.surface) continue;
        DXBNDS bounds{};
        if (const HRESULT status = row.surface->GetBounds(&bounds); FAILED(status)) return status;
        if (std::equal(std::begin(bounds.Axis), std::end(bounds.Axis), std::begin(all.Axis))) continue;

        HRESULT status = S_OK;
        const auto modifier = KwReceived<IDXSurfaceModifier>([&](void** out) {
            return status = m_pTransformFactory->QueryService(&CLSID_DXSurfaceModifier, &IDXSurfaceModifier::iid, out);
        });
        if (FAILED(status)) return status;
        if (!modifier) return E_FAIL;
        POINT origin{0, 0};
        if (m_OptionFlags & kOptionCenterInputs)
            origin = {Limited((Length(all.Axis[0]) - Length(bounds.Axis[0])) >> 1),
                      Limited((Length(all.Axis[1]) - Length(bounds.Axis[1])) >> 1)};
        status = modifier->SetForeground(row.surface.Get(), FALSE, &origin);
        if (SUCCEEDED(status)) status = modifier->SetBounds(&all);
        if (FAILED(status)) return status;
        auto shown = KwQuery<IDXSurface>(modifier.Get());
        if (!shown) return E_FAIL;
        row.surface = std::move(shown);
    }
    return S_OK;
}

void CTransformBase::UpdateEffectiveFlags() {
    m_EffectiveFlags = 0;
    if (m_OptionFlags & kOptionMeshOutput) return;
    const bool meshInputs = (m_OptionFlags & kOptionMeshInputs) != 0;
    if (m_MiscFlags & 1) {
        bool translucent = meshInputs;
        for (ULONG i = 0; i < m_NumInputs && !meshInputs; ++i)
            translucent = translucent || (m_pInputs[i].surface && (m_pInputs[i].sampleFormat & DXSAMPLE_TRANSLUCENT));
        if (translucent) m_EffectiveFlags |= 1;
    }
    const DWORD outputDither = m_Output.sampleFormat & DXSAMPLE_DITHER_MASK;
    if ((m_MiscFlags & 2) && outputDither != 0) {
        bool allDithered = true;
        for (ULONG i = 0; i < m_NumInputs; ++i)
            if (m_pInputs[i].surface && (m_pInputs[i].sampleFormat & DXSAMPLE_DITHER_MASK) < outputDither)
                allDithered = false;
        if (!allDithered) m_EffectiveFlags |= 2;
    }
}

IDXSurface* CTransformBase::InputSurface(ULONG index) const {
    return m_pInputs && index < m_NumInputs ? m_pInputs[index].surface.Get() : nullptr;
}

HRESULT CTransformBase::AfterSetup(DWORD) {
    DXBNDS bounds{};
    IDXSurface* const input = InputSurface(0);
    return input ? input->GetBounds(&bounds) : S_OK;
}

// Generations, flags, quality, progress.

HRESULT CTransformBase::GetGenerationId(ULONG* id) {
    if (!id) return E_POINTER;
    const std::scoped_lock guard(m_Lock);
    RefreshGenerationId();
    *id = m_GenerationId;
    return S_OK;
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
    const std::scoped_lock guard(m_Lock);
    ++m_GenerationId;
    if (!refresh) return S_OK;
    return KwGuarded([&] {
        const auto held = std::make_unique<CComPtr<IUnknown>[]>(m_NumInputs + 1);
        const auto inputs = std::make_unique<IUnknown*[]>(m_NumInputs + 1);
        for (ULONG i = 0; i < m_NumInputs; ++i) inputs[i] = (held[i] = m_pInputs[i].object).Get();
        IUnknown* const output = (held[m_NumInputs] = m_Output.object).Get();
        return Setup(inputs.get(), m_NumInputs, &output, output ? 1 : 0, 0);
    });
}

HRESULT CTransformBase::GetObjectSize(ULONG* bytes) {
    return Answer(bytes, ObjectSize());
}

HRESULT CTransformBase::SetMiscFlags(DWORD flags) {
    const std::scoped_lock guard(m_Lock);
    const DWORD current = m_MiscFlags & 0xFFFF;
    if (flags == current) return S_OK;
    if ((flags & ~DWORD{3}) || ((flags & 1) && !(m_MiscFlags & kMiscBit0Changeable)) ||
        ((flags & 2) && !(m_MiscFlags & kMiscBit1Changeable)))
        return E_INVALIDARG;
    m_MiscFlags = (m_MiscFlags & 0xFFFF0000) | flags;
    UpdateEffectiveFlags();
    ++m_GenerationId;
    return S_OK;
}

HRESULT CTransformBase::GetMiscFlags(DWORD* flags) {
    return Answer(flags, m_MiscFlags.load());
}

HRESULT CTransformBase::SetQuality(float quality) {
    if (!(m_MiscFlags & kMiscQuality)) return E_NOTIMPL;
    const std::scoped_lock guard(m_Lock);
    if (m_Quality != quality) {
        m_Quality = quality;
        ++m_GenerationId;
    }
    return quality < 0.0f || quality > 1.0f ? E_INVALIDARG : S_OK;
}

HRESULT CTransformBase::GetQuality(float* quality) {
    return m_MiscFlags & kMiscQuality ? Answer(quality, m_Quality) : E_NOTIMPL;
}

HRESULT CTransformBase::GetProgress(float* progress) {
    const std::scoped_lock guard(m_Lock);
    return Answer(progress, m_Progress);
}

HRESULT CTransformBase::PutProgress(float progress) {
    if (progress < 0.0f || progress > 1.0f) return E_INVALIDARG;
    const std::scoped_lock guard(m_Lock);
    m_Progress = progress;
    ++m_ParamGeneration;
    ++m_GenerationId;
    return S_OK;
}

HRESULT CTransformBase::GetStepResolution(float* resolution) {
    return Answer(resolution, m_StepResolution);
}

HRESULT CTransformBase::GetDuration(float* seconds) {
    const std::scoped_lock guard(m_Lock);
    return Answer(seconds, m_Duration);
}

HRESULT CTransformBase::PutDuration(float seconds) {
    if (seconds <= 0.0f) return E_INVALIDARG;
    const std::scoped_lock guard(m_Lock);
    if (m_Duration == seconds) return S_OK;
    m_Duration = seconds;
    ++m_ParamGeneration;
    ++m_GenerationId;
    return S_OK;
}

HRESULT CTransformBase::GetInOutInfo(BOOL isOutput, ULONG index, DWORD* flags, GUID* ids, ULONG* idCount,
                                     IUnknown** bound) {
    if (isOutput ? index > 0 : index >= m_MaxInputs) return S_FALSE;
    const std::scoped_lock guard(m_Lock);
    if (flags) *flags = !isOutput && index >= m_RequiredInputs ? 1 : 0;
    if (bound) {
        const tTransformInput* const row = isOutput ? &m_Output : m_pInputs ? &m_pInputs[index] : nullptr;
        *bound = CComPtr<IUnknown>(row ? row->object : CComPtr<IUnknown>()).Detach();
    }
    if (!idCount) return S_OK;

    const bool mesh = (m_OptionFlags & (isOutput ? kOptionMeshOutput : kOptionMeshInputs)) != 0;
    const GUID accepted[2] = {mesh ? kMeshBuilderId : IDXSurface::iid, kDirectDrawSurfaceId};
    const ULONG total = mesh ? 1 : 2;
    const ULONG room = *idCount;
    *idCount = total;
    if (!ids) return S_OK;
    std::copy_n(accepted, std::min(room, total), ids);
    return room < total ? KW_E_MORE_DATA : S_OK;
}

// Bounds.

HRESULT CTransformBase::MapBoundsIn2Out(const DXBNDS* in, ULONG count, ULONG outIndex, DXBNDS* out) {
    if (outIndex != 0 || (count > 0 && !in)) return E_INVALIDARG;
    if (!out) return E_POINTER;
    const std::scoped_lock guard(m_Lock);
    DXBNDS all{};
    const HRESULT status = UniteInputs(in, count, all);
    *out = {}; // may be one of `in`
    if (FAILED(status)) return status;
    *out = all;
    const bool meshOutput = (m_OptionFlags & kOptionMeshOutput) != 0;
    out->eType = meshOutput ? 2 : 0;
    return meshOutput ? ComputeMeshBounds(*out) : ComputeBounds(*out);
}

HRESULT CTransformBase::UniteInputs(const DXBNDS* in, ULONG count, DXBNDS& all) const {
    bool any = false;
    const auto unite = [&](const DXBNDS& bounds) {
        if (any)
            UniteBounds(all, bounds);
        else
            all = bounds;
        any = true;
    };
    for (ULONG i = 0; i < count; ++i) {
        if (in[i].eType != (m_OptionFlags & kOptionMeshInputs ? 2 : 0)) return E_INVALIDARG;
        unite(in[i]);
    }
    for (ULONG i = 0; count == 0 && i < m_NumInputs; ++i) {
        DXBNDS bounds{};
        if (!m_pInputs[i].surface) continue;
        if (const HRESULT status = m_pInputs[i].surface->GetBounds(&bounds); FAILED(status)) return status;
        unite(bounds);
    }
    return S_OK;
}

HRESULT CTransformBase::ComputeBounds(DXBNDS& bounds) {
    for (ULONG i = 0; i < m_NumInputs; ++i)
        if (m_pInputs[i].surface) return S_OK;
    if (!m_Output.surface) return S_OK;
    DXBNDS output{};
    const HRESULT status = m_Output.surface->GetBounds(&output);
    if (SUCCEEDED(status)) std::copy(std::begin(output.Axis), std::end(output.Axis), std::begin(bounds.Axis));
    return status;
}

HRESULT CTransformBase::MapBoundsOut2In(ULONG outIndex, const DXBNDS* out, ULONG inIndex, DXBNDS* in) {
    if (m_OptionFlags & kOptionMeshOutput) return E_NOTIMPL;
    if (inIndex >= m_MaxInputs || outIndex != 0 || !out) return E_INVALIDARG;
    if (!in) return E_POINTER;
    *in = *out;
    return S_OK;
}

// One frame.

HRESULT CTransformBase::PlaceAndClip(tWorkInfo& info, const DXBNDS* clip, const DXVEC* placement) {
    DXBNDS output{};
    if (const HRESULT status = m_Output.surface->GetBounds(&output); FAILED(status)) return status;
    if (clip && !IntersectBounds(info.DoBounds, *clip)) return S_FALSE;

    std::int64_t offset[4];
    for (int i = 0; i < 4; ++i) {
        offset[i] = std::int64_t{info.DoBounds.Axis[i].Min} - (placement ? placement->Axis[i] : 0);
        MoveAxis(output.Axis[i], offset[i]);
    }
    if (!IntersectBounds(info.DoBounds, output)) return S_FALSE;
    info.OutputBounds = info.DoBounds;
    for (int i = 0; i < 4; ++i) MoveAxis(info.OutputBounds.Axis[i], -offset[i]);
    return S_OK;
}

HRESULT CTransformBase::Execute(const GUID* request, const DXBNDS* clip, const DXVEC* placement) {
    const std::scoped_lock guard(m_Lock);
    if (!m_Output.surface) return DXTERR_UNINITIALIZED;
    const auto executing = std::exchange(m_Executing, true);
    const HRESULT status = ExecuteBound(request, clip, placement);
    m_Executing = executing;
    return status;
}

HRESULT CTransformBase::ExecuteBound(const GUID* request, const DXBNDS* clip, const DXVEC* placement) {
    if (m_MaxBands == 0 || HasMesh()) {
        if ((clip && !(m_MiscFlags & kMiscCustomClip)) || (placement && !(m_MiscFlags & kMiscCustomPlacement)))
            return E_INVALIDARG;
        return KwGuarded([&] { return ExecuteCustom(request, clip, placement); });
    }
    if ((clip && clip->eType != 0) || (placement && placement->eType != 0)) return E_INVALIDARG;

    tWorkInfo info{};
    info.object = this;
    if (const HRESULT status = MapBoundsIn2Out(nullptr, 0, 0, &info.DoBounds); FAILED(status)) return status;
    if (const HRESULT status = PlaceAndClip(info, clip, placement); status != S_OK) return status;

    ULONG bands = 1;
    if (m_NumProcessors > 1 && m_pTaskManager) {
        // Each length is below 2^32, so that the product fits without a sign.
        const auto area = static_cast<std::uint64_t>(Length(info.OutputBounds.Axis[0])) *
                          static_cast<std::uint64_t>(Length(info.OutputBounds.Axis[1]));
        bands = static_cast<ULONG>(std::min<std::int64_t>({static_cast<std::int64_t>(area >> 12) + 1, m_MaxBands,
                                                           kMaxBands, m_NumProcessors, Length(info.DoBounds.Axis[1])}));
    }
    if (const HRESULT status = BeginWork(info, bands); FAILED(status)) return status;
    bands = std::clamp<ULONG>(bands, 1, kMaxBands);

    const HRESULT status =
        (bands == 1 && !request) || !m_pTaskManager ? RunWork(info, &g_Continue) : RunBands(info, bands, request);
    EndWork(info);
    return status;
}

HRESULT CTransformBase::RunWork(const tWorkInfo& info, BOOL* pContinue) noexcept {
    return KwGuarded([&] { return Work(info, pContinue); });
}

void CTransformBase::RunTask(void* data, BOOL* pContinue) {
    auto& info = *static_cast<tWorkInfo*>(data);
    BOOL proceed = TRUE;
    info.m_Result = info.object->RunWork(info, pContinue ? pContinue : &proceed);
}

HRESULT CTransformBase::RunBands(const tWorkInfo& info, ULONG bands, const GUID* request) {
    tWorkInfo pieces[kMaxBands];
    DXTASKINFO tasks[kMaxBands];
    DWORD ids[kMaxBands]{};

    const std::int64_t height = Length(info.DoBounds.Axis[1]);
    std::int64_t bandHeight = height / bands;
    std::int64_t y = 0;
    for (ULONG i = 0; i < bands; ++i) {
        pieces[i] = info;
        for (DXBNDS* const part : {&pieces[i].DoBounds, &pieces[i].OutputBounds}) {
            const std::int64_t top = part->Axis[1].Min + y;
            part->Axis[1] = {static_cast<LONG>(top), static_cast<LONG>(top + bandHeight)};
        }
        tasks[i] = {&CTransformBase::RunTask, &pieces[i], nullptr, 0, request};
        y += bandHeight;
        // The rows left over go to the next band only while they are fewer than a band and a bit; otherwise the last
        // rows stay in no band, as the system has it.
        if (height - bandHeight - y < bandHeight) bandHeight = height - y;
    }

    const CComPtr<IDXTaskManager> manager = m_pTaskManager; // a task may change the site
    m_Busy = TRUE;
    const HRESULT status = manager->ScheduleTasks(tasks, m_BandEvents, ids, bands, m_TaskTimeout);
    m_Busy = FALSE;
    if (FAILED(status)) return status;
    for (ULONG i = 0; i < bands; ++i)
        if (pieces[i].m_Result != S_OK) return pieces[i].m_Result;
    return S_OK;
}

// Picking.

HRESULT CTransformBase::GetPickOrder(const DXBNDS&, ULONG& count, ULONG* indices, ULONG* weights) {
    m_PickDefaultOrder = TRUE;
    count = 1;
    indices[0] = 0;
    weights[0] = 255;
    return S_OK;
}

HRESULT CTransformBase::PointPick(const DXVEC* point, ULONG* inputIndex, DXVEC* inputPoint) {
    if (!point || point->eType != 0) return E_INVALIDARG;
    if (!inputIndex || !inputPoint) return E_POINTER;
    const std::scoped_lock guard(m_Lock);
    DXBNDS spot{};
    for (int i = 0; i < 4; ++i) spot.Axis[i] = {point->Axis[i], Limited(std::int64_t{point->Axis[i]} + 1)};
    if (const HRESULT status = PickSurface(spot, *inputIndex, *inputPoint); status != E_NOTIMPL) return status;

    constexpr ULONG kMostInputs = 8;
    ULONG count = kMostInputs, indices[kMostInputs]{}, weights[kMostInputs]{};
    if (const HRESULT status = GetPickOrder(spot, count, indices, weights); FAILED(status)) return status;
    if (m_PickDefaultOrder && m_MaxInputs > 1) return E_NOTIMPL;
    for (ULONG i = 0; i < std::min(count, kMostInputs); ++i) {
        IDXSurface* const surface = InputSurface(indices[i]);
        if (weights[i] == 0 || !surface) continue;
        DXBNDS place{}, bounds{};
        if (FAILED(MapBoundsOut2In(0, &spot, indices[i], &place)) || FAILED(surface->GetBounds(&bounds)) ||
            !IntersectBounds(bounds, place))
            continue;
        const auto read = KwReceived<IDXARGBReadPtr>([&](void** out) {
            return surface->LockSurface(&bounds, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, out, nullptr);
        });
        if (!read) continue;
        DWORD sample = 0;
        read->MoveToXY(0, 0);
        read->Unpack(&sample, 1, FALSE);
        if (std::uint64_t{weights[i]} * (sample >> 24) / 255 == 0) continue;
        *inputIndex = indices[i];
        *inputPoint = {};
        for (int axis = 0; axis < 4; ++axis) inputPoint->Axis[axis] = place.Axis[axis].Min;
        return S_OK;
    }
    return S_FALSE;
}
