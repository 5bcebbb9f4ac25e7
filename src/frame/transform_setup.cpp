// Inputs and outputs: what is bound, and what could be.
#include <algorithm>

#include "frame/bounds.h"
#include "frame/transform_base.h"

namespace {

constexpr GUID kDirectDrawSurfaceId{0x6C14DB81, 0xA733, 0x11CE, {0xA5, 0x21, 0x00, 0x20, 0xAF, 0x0B, 0xE5, 0x60}};
constexpr GUID kMeshBuilderId{0x4516EC82, 0x8F20, 0x11D0, {0x9B, 0x6D, 0x00, 0x00, 0xC0, 0x78, 0x1B, 0xC3}};

} // namespace

HRESULT CTransformBase::Setup(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs, ULONG numOutputs,
                              DWORD flags) {
    return KwGuarded(m_Lock, [&] { return SetupLocked(inputs, numInputs, outputs, numOutputs, flags); });
}

HRESULT CTransformBase::SetupLocked(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs,
                                    ULONG numOutputs, DWORD flags) {
    if (m_Executing || m_Binding) return E_UNEXPECTED; // a surface called back: the call stands on what is bound
    if (numInputs == 0 && numOutputs == 0) {
        UnbindAll();
        ReleaseObjects();
        return S_OK;
    }
    m_Binding = true;
    const HRESULT status = KwGuarded([&] {
        const HRESULT ready = CheckSetup(inputs, numInputs, outputs, numOutputs, flags);
        return FAILED(ready) ? ready : BindAll(inputs, numInputs, outputs[0], flags);
    });
    m_Binding = false;
    if (FAILED(status)) {
        UnbindAll();
        ReleaseObjects();
    }
    return status;
}

HRESULT CTransformBase::CheckSetup(IUnknown* const* inputs, ULONG numInputs, IUnknown* const* outputs, ULONG numOutputs,
                                   DWORD flags) {
    if (m_ServicesShort) {
        const HRESULT status = KwGuarded([&] { return TakeServices(); });
        m_ServicesShort = FAILED(status);
        if (FAILED(status)) return DropServices(), status;
    }
    if (!m_pTransformFactory) return DXTERR_UNINITIALIZED;
    if (flags != 0 || numOutputs != 1 || numInputs < m_RequiredInputs || numInputs > m_MaxInputs ||
        (numInputs > 0 && !inputs) || !outputs || !outputs[0])
        return E_INVALIDARG;
    for (ULONG i = 0; i < m_RequiredInputs; ++i)
        if (!inputs[i]) return E_INVALIDARG;
    return S_OK;
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
    if (const CComPtr<IDXSurfaceFactory> factory = m_pSurfaceFactory; FAILED(status) && factory) {
        const auto direct =
            KwReceived<IUnknown>([&](void** out) { return object->QueryInterface(&kDirectDrawSurfaceId, out); });
        if (direct)
            row.surface = KwReceived<IDXSurface>([&](void** out) {
                return status = factory->CreateFromDDSurface(direct.Get(), nullptr, 0, nullptr, &IDXSurface::iid, out);
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
    const CComPtr<IDXTransformFactory> factory = m_pTransformFactory; // a surface may change the site
    if (!factory) return DXTERR_UNINITIALIZED;
    DXBNDS all{};
    if (const HRESULT status = UniteInputs(nullptr, 0, all); FAILED(status)) return status;
    for (ULONG i = 0; i < m_NumInputs; ++i) {
        tTransformInput& row = m_pInputs[i];
        if (!row.surface) continue;
        DXBNDS bounds{};
        if (const HRESULT status = row.surface->GetBounds(&bounds); FAILED(status)) return status;
        if (std::equal(std::begin(bounds.Axis), std::end(bounds.Axis), std::begin(all.Axis))) continue;

        HRESULT status = S_OK;
        const auto modifier = KwReceived<IDXSurfaceModifier>([&](void** out) {
            return status = factory->QueryService(&CLSID_DXSurfaceModifier, &IDXSurfaceModifier::iid, out);
        });
        if (FAILED(status)) return status;
        if (!modifier) return E_FAIL;
        POINT origin{0, 0};
        if (m_OptionFlags & kOptionCenterInputs)
            origin = {KwLimited((KwLength(all.Axis[0]) - KwLength(bounds.Axis[0])) >> 1),
                      KwLimited((KwLength(all.Axis[1]) - KwLength(bounds.Axis[1])) >> 1)};
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

HRESULT CTransformBase::GetInOutInfo(BOOL isOutput, ULONG index, DWORD* flags, GUID* ids, ULONG* idCount,
                                     IUnknown** bound) {
    if (isOutput ? index > 0 : index >= m_MaxInputs) return S_FALSE;
    if (flags) *flags = !isOutput && index >= m_RequiredInputs ? 1 : 0;
    const HRESULT status = KwGuarded(m_Lock, [&] {
        if (!bound) return;
        const tTransformInput* const row = isOutput ? &m_Output : m_pInputs ? &m_pInputs[index] : nullptr;
        *bound = CComPtr<IUnknown>(row ? row->object : CComPtr<IUnknown>()).Detach();
    });
    if (FAILED(status) || !idCount) return status;

    const bool mesh = (m_OptionFlags & (isOutput ? kOptionMeshOutput : kOptionMeshInputs)) != 0;
    const GUID accepted[2] = {mesh ? kMeshBuilderId : IDXSurface::iid, kDirectDrawSurfaceId};
    const ULONG total = mesh ? 1 : 2;
    const ULONG room = *idCount;
    *idCount = total;
    if (!ids) return S_OK;
    std::copy_n(accepted, std::min(room, total), ids);
    return room < total ? KW_E_MORE_DATA : S_OK;
}
