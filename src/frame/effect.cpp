#include "frame/effect.h"

#include <algorithm>

#include "frame/dispatch.h"

namespace {

enum : LONG {
    kIdCapabilities = 10000,
    kIdProgress,
    kIdStepResolution,
    kIdDuration,
    kIdAll = 1,
    kIdNotifyWindow = 2,
};

constexpr WORD kGet = DISPATCH_PROPERTYGET, kPut = DISPATCH_PROPERTYPUT, kMethod = DISPATCH_METHOD;

// Each member answers to its property's name and to that of the operation itself.
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
    {"all", kIdAll, kGet | kPut, KWDISP_POINTER, KWDISP_LONG},
    {"get_all", kIdAll + KWDISP_GETTER, kGet, KWDISP_POINTER, KWDISP_LONG},
    {"put_all", kIdAll + KWDISP_PUTTER, kPut, KWDISP_POINTER, KWDISP_LONG},
    {"NotifyWindow", kIdNotifyWindow, kPut | kMethod, KWDISP_POINTER, KWDISP_LONG},
    {"put_NotifyWindow", kIdNotifyWindow + KWDISP_PUTTER, kPut | kMethod, KWDISP_POINTER, KWDISP_LONG},
};
constexpr CDispatchTable kDispatch{kMembers};

} // namespace

CEffectObject::CEffectObject(const tObjectMapRow& row, IUnknown* outer, const tEffectClass& effect,
                             const tRecordSet& records)
    : CTransformBase(outer), CParamObject(row, effect, records) {
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

void* CEffectObject::FindInterface(const IID& iid) {
    if (iid == m_class.iid || iid == IDispatch::iid || iid == IDXEffect::iid) return static_cast<IKwEffect*>(this);
    if (iid == IKwEffectInfo::iid) return static_cast<IKwEffectInfo*>(this);
    if (void* const found = CTransformBase::FindInterface(iid)) return found;
    return FindParamInterface(iid);
}

HRESULT CEffectObject::GetTypeInfoCount(UINT* count) {
    if (!count) return E_POINTER;
    *count = 0;
    return S_OK;
}

HRESULT CEffectObject::GetTypeInfo(UINT, LCID, ITypeInfo** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOTIMPL;
}

HRESULT CEffectObject::GetIDsOfNames(const IID*, OLECHAR** names, UINT count, LCID, LONG* ids) {
    return kDispatch.GetIDsOfNames(names, count, ids);
}

HRESULT CEffectObject::Invoke(LONG id, const IID*, LCID, WORD flags, DISPPARAMS* params, VARIANT* result, EXCEPINFO*,
                              UINT* badArgument) {
    return kDispatch.Invoke(id, flags, params, result, badArgument, [this](tDispatchCall& call) {
        const bool put = call.kind == DISPATCH_PROPERTYPUT;
        switch (call.id) {
        case kIdCapabilities:
            return get_Capabilities(&call.resultLong);
        case kIdProgress:
            return put ? put_Progress(call.real) : get_Progress(&call.resultFloat);
        case kIdStepResolution:
            return get_StepResolution(&call.resultFloat);
        case kIdDuration:
            return put ? put_Duration(call.real) : get_Duration(&call.resultFloat);
        case kIdAll:
            return put ? put_all(call.pointer[0], call.number[1]) : get_all(call.pointer[0], call.number[1]);
        default:
            return put_NotifyWindow(static_cast<HWND>(call.pointer[0]), static_cast<UINT>(call.number[1]));
        }
    });
}

HRESULT CEffectObject::get_Capabilities(LONG* capabilities) {
    if (!capabilities) return E_POINTER;
    *capabilities = 2;
    return S_OK;
}

HRESULT CEffectObject::GetEffectInfo(void* block, ULONG size) {
    if (!block) return E_POINTER;
    std::memcpy(block, &m_Info, std::min<std::size_t>(size, sizeof m_Info));
    return S_OK;
}

HRESULT CEffectObject::SetLevel(double value) {
    m_Level = value > 1.0 ? 1.0 : value >= 0.0 ? value : 0.0;
    return S_OK;
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
