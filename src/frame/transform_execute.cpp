// Bounds, one frame, and what stands under a point of it.
#include <algorithm>

#include "frame/bounds.h"
#include "frame/transform_base.h"
#include "kernels/ranges.h"

namespace {

BOOL g_Continue = TRUE;

} // namespace

// Bounds.

HRESULT CTransformBase::MapBoundsIn2Out(const DXBNDS* in, ULONG count, ULONG outIndex, DXBNDS* out) {
    if (outIndex != 0 || (count > 0 && !in)) return E_INVALIDARG;
    if (!out) return E_POINTER;
    return KwGuarded(m_Lock, [&] {
        DXBNDS all{};
        const HRESULT status = WithBound([&] { return UniteInputs(in, count, all); });
        *out = {}; // may be one of `in`
        if (FAILED(status)) return status;
        *out = all;
        const bool meshOutput = (m_OptionFlags & kOptionMeshOutput) != 0;
        out->eType = meshOutput ? 2 : 0;
        return meshOutput ? ComputeMeshBounds(*out) : WithBound([&] { return ComputeBounds(*out); });
    });
}

HRESULT CTransformBase::UniteInputs(const DXBNDS* in, ULONG count, DXBNDS& all) const {
    bool any = false;
    const auto unite = [&](const DXBNDS& bounds) {
        if (any)
            KwUniteBounds(all, bounds);
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
    if (clip && !KwIntersectBounds(info.DoBounds, *clip)) return S_FALSE;

    std::int64_t offset[4];
    for (int i = 0; i < 4; ++i) {
        offset[i] = std::int64_t{info.DoBounds.Axis[i].Min} - (placement ? placement->Axis[i] : 0);
        KwMoveAxis(output.Axis[i], offset[i]);
    }
    if (!KwIntersectBounds(info.DoBounds, output)) return S_FALSE;
    info.OutputBounds = info.DoBounds;
    for (int i = 0; i < 4; ++i) KwMoveAxis(info.OutputBounds.Axis[i], -offset[i]);
    return S_OK;
}

HRESULT CTransformBase::Execute(const GUID* request, const DXBNDS* clip, const DXVEC* placement) {
    return KwGuarded(m_Lock, [&] {
        if (m_Binding) return E_UNEXPECTED; // inputs may differ in size yet
        if (!m_Output.surface) return DXTERR_UNINITIALIZED;
        return WithBound([&] { return ExecuteBound(request, clip, placement); });
    });
}

HRESULT CTransformBase::ExecuteBound(const GUID* request, const DXBNDS* clip, const DXVEC* placement) {
    if (m_MaxBands == 0 || HasMesh()) {
        if ((clip && !(m_MiscFlags & kMiscCustomClip)) || (placement && !(m_MiscFlags & kMiscCustomPlacement)))
            return E_INVALIDARG;
        return ExecuteCustom(request, clip, placement);
    }
    if ((clip && clip->eType != 0) || (placement && placement->eType != 0)) return E_INVALIDARG;

    tWorkInfo info{};
    info.object = this;
    if (const HRESULT status = MapBoundsIn2Out(nullptr, 0, 0, &info.DoBounds); FAILED(status)) return status;
    if (const HRESULT status = PlaceAndClip(info, clip, placement); status != S_OK) return status;

    // Each length is below 2^32, so that the product fits without a sign. Without a task manager there is one
    // processor.
    const auto area = static_cast<std::uint64_t>(KwLength(info.OutputBounds.Axis[0])) *
                      static_cast<std::uint64_t>(KwLength(info.OutputBounds.Axis[1]));
    auto bands =
        static_cast<ULONG>(std::min<std::int64_t>({static_cast<std::int64_t>(area >> 12) + 1, m_MaxBands, kMaxBands,
                                                   m_NumProcessors, KwLength(info.DoBounds.Axis[1])}));
    if (const HRESULT status = BeginWork(info, bands); FAILED(status)) return status;
    bands = std::clamp<ULONG>(bands, 1, kMaxBands);

    const HRESULT status =
        (bands == 1 && !request) || !m_pTaskManager ? RunWhole(info) : RunBands(info, bands, request);
    EndWork(info);
    return status;
}

HRESULT CTransformBase::RunWork(const tWorkInfo& info, BOOL* pContinue) noexcept {
    return KwGuarded([&] { return Work(info, pContinue); });
}

HRESULT CTransformBase::RunWhole(const tWorkInfo& info) {
    if (m_NumProcessors == 1 || !m_pWorkers) return RunWork(info, &g_Continue);
    const CComPtr<IKwWorkers> keep = m_pWorkers; // a surface may change the site
    const tKwWorkers workers{m_NumProcessors, keep.Get(), [](void* host, auto piece, void* data, ULONG count) {
                                 return SUCCEEDED(static_cast<IKwWorkers*>(host)->RunPieces(piece, data, count));
                             }};
    const CKwLent lent(&workers);
    return RunWork(info, &g_Continue);
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

    const std::int64_t height = KwLength(info.DoBounds.Axis[1]);
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
        // rows stay in no band, and are not written.
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
    return KwGuarded(m_Lock, [&] { return WithBound([&] { return PickLocked(*point, *inputIndex, *inputPoint); }); });
}

HRESULT CTransformBase::PickLocked(const DXVEC& point, ULONG& inputIndex, DXVEC& inputPoint) {
    DXBNDS spot{};
    for (int i = 0; i < 4; ++i) spot.Axis[i] = {point.Axis[i], KwLimited(std::int64_t{point.Axis[i]} + 1)};
    if (const HRESULT status = PickSurface(spot, inputIndex, inputPoint); status != E_NOTIMPL) return status;

    constexpr ULONG kMostInputs = 8;
    ULONG count = kMostInputs, indices[kMostInputs]{}, weights[kMostInputs]{};
    if (const HRESULT status = GetPickOrder(spot, count, indices, weights); FAILED(status)) return status;
    if (m_PickDefaultOrder && m_MaxInputs > 1) return E_NOTIMPL;
    for (ULONG i = 0; i < std::min(count, kMostInputs); ++i) {
        IDXSurface* const surface = InputSurface(indices[i]);
        if (weights[i] == 0 || !surface) continue;
        DXBNDS place{}, bounds{};
        if (FAILED(MapBoundsOut2In(0, &spot, indices[i], &place)) || FAILED(surface->GetBounds(&bounds)) ||
            !KwIntersectBounds(bounds, place))
            continue;
        const auto read = KwReceived<IDXARGBReadPtr>([&](void** out) {
            return surface->LockSurface(&bounds, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, out, nullptr);
        });
        if (!read) continue;
        DWORD sample = 0;
        read->MoveToXY(0, 0);
        read->Unpack(&sample, 1, FALSE);
        if (std::uint64_t{weights[i]} * (sample >> 24) / 255 == 0) continue;
        inputIndex = indices[i];
        inputPoint = {};
        for (int axis = 0; axis < 4; ++axis) inputPoint.Axis[axis] = place.Axis[axis].Min;
        return S_OK;
    }
    return S_FALSE;
}
