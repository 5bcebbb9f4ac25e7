#include "frame/effect.h"

#include <algorithm>

namespace {

enum : LONG {
    kIdCapabilities = 10000,
    kIdProgress,
    kIdStepResolution,
    kIdDuration,
};

constexpr WORD kGet = DISPATCH_PROPERTYGET, kPut = DISPATCH_PROPERTYPUT;

constexpr tDispatchMember kMembers[] = {
    {"Capabilities", kIdCapabilities, kGet, KWDISP_LONG, KWDISP_NONE},
    {"get_Capabilities", kIdCapabilities + KWDISP_GETTER, kGet, KWDISP_LONG, KWDISP_NONE},
    {"Progress", kIdProgress, kGet | kPut, KWDISP_FLOAT, KWDISP_NONE},
    {"get_Progress", kIdProgress + KWDISP_GETTER, kGet, KWDISP_FLOAT, KWDISP_NONE},
    {"put_Progress", kIdProgress + KWDISP_PUTTER, kPut, KWDISP_FLOAT, KWDISP_NONE},
    {"StepResolution", kIdStepResolution, kGet, KWDISP_FLOAT, KWDISP_NONE},
    {"get_StepResolution", kIdStepResolution + KWDISP_GETTER, kGet, KWDISP_FLOAT, KWDISP_NONE},
    {"Duration", kIdDuration, kGet | kPut, KWDISP_FLOAT, KWDISP_NONE},
    {"get_Duration", kIdDuration + KWDISP_GETTER, kGet, KWDISP_FLOAT, KWDISP_NONE},
    {"put_Duration", kIdDuration + KWDISP_PUTTER, kPut, KWDISP_FLOAT, KWDISP_NONE},
};
constexpr CDispatchTable kDispatch{kMembers};

} // namespace

CEffectObject::CEffectObject(const tObjectMapRow& row, IUnknown* outer, const tEffectClass& effect,
                             const tRecordSet& records)
    : CTransformBase(outer), CDual(row, effect, records, kDispatch) {
    m_MaxInputs = static_cast<ULONG>(effect.maxInputs);
    m_RequiredInputs = static_cast<ULONG>(effect.minInputs);
    m_MaxBands = effect.maxBands;
    m_OptionFlags = kOptionSameSizeInputs | kOptionCenterInputs;
    m_Duration = 0.5f;
    m_MiscFlags |= effect.miscFlags;
    m_Info.kind = effect.kind;
    m_Info.weight = 1.0;
    m_Info.minInputs = effect.minInputs;
    m_Info.maxInputs = effect.maxInputs;
    m_Info.flags = effect.infoFlags;
}

void* CEffectObject::FindInterface(const IID& iid) noexcept {
    if (iid == m_class.iid || iid == IDispatch::iid || iid == IDXEffect::iid) return static_cast<IKwEffect*>(this);
    if (iid == IKwEffectInfo::iid) return static_cast<IKwEffectInfo*>(this);
    if (void* const found = CTransformBase::FindInterface(iid)) return found;
    return FindParamInterface(iid);
}

HRESULT CEffectObject::Call(tDispatchCall& call) {
    const bool put = call.kind == DISPATCH_PROPERTYPUT;
    switch (call.id) {
    case kIdCapabilities:
        return get_Capabilities(&call.resultLong);
    case kIdProgress:
        return put ? put_Progress(call.real) : get_Progress(&call.resultFloat);
    case kIdStepResolution:
        return get_StepResolution(&call.resultFloat);
    default:
        return put ? put_Duration(call.real) : get_Duration(&call.resultFloat);
    }
}

HRESULT CEffectObject::GetEffectInfo(void* block, ULONG size) {
    if (!block) return E_POINTER;
    std::memcpy(block, &m_Info, std::min<std::size_t>(size, sizeof m_Info));
    return S_OK;
}

HRESULT CEffectObject::SetLevel(double value) {
    return KwGuarded(m_Lock, [&] { m_Level = value > 1.0 ? 1.0 : value >= 0.0 ? value : 0.0; });
}

HRESULT CEffectWork::LockViews(const tWorkInfo& info, CEffectViews& views) {
    GUID format{};
    if (const HRESULT status = WorkFormat(&format); FAILED(status)) return status;
    if (!LockOutput(info, views.output, format)) return E_FAIL;
    CKwSurface* const inputs[] = {&views.first, &views.second};
    for (ULONG i = 0; i < std::size(inputs); ++i) {
        IDXSurface* const surface = InputSurface(i);
        if (surface && !inputs[i]->Lock(surface, &format, FALSE, &info.DoBounds)) return E_FAIL;
    }
    return S_OK;
}

bool CEffectWork::LockOutput(const tWorkInfo& info, CKwSurface& output, const GUID& format) {
    if (!WritesWholeFrame()) return output.Lock(OutputSurface(), &format, TRUE, &info.OutputBounds) != FALSE;
    if (output.Lock(OutputSurface(), &format, TRUE)) {
        output.m_ClipBounds = info.OutputBounds;
        output.m_ClipRect = KwRectOf(info.OutputBounds);
        return true;
    }
    output.Unlock();
    if (!output.Lock(OutputSurface(), &format, TRUE, &info.OutputBounds)) return false;
    output.m_Frame = output.m_ClipRect;
    return true;
}
