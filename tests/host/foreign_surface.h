// A surface of another maker, for tests to override what they are about.
#pragma once

#include "host/object.h"
#include "platform/transform.h"

namespace larkmoor {

inline DXBNDS boundsOf(LONG left, LONG top, LONG right, LONG bottom) {
    DXBNDS bounds{};
    bounds.Axis[0] = {left, right};
    bounds.Axis[1] = {top, bottom};
    bounds.Axis[2] = bounds.Axis[3] = {0, 1};
    return bounds;
}

/// Nothing but a generation.
class ForeignSurface : public ObjectOf<IDXSurface> {
  public:
    HRESULT GetGenerationId(ULONG* id) override { return *id = 1, S_OK; }
    HRESULT IncrementGenerationId(BOOL) override { return S_OK; }
    HRESULT GetObjectSize(ULONG*) override { return E_NOTIMPL; }
    HRESULT GetPixelFormat(GUID*, DWORD*) override { return E_NOTIMPL; }
    HRESULT GetBounds(DXBNDS*) override { return E_NOTIMPL; }
    HRESULT GetStatusFlags(DWORD*) override { return E_NOTIMPL; }
    HRESULT SetStatusFlags(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurface(const DXBNDS*, ULONG, DWORD, const IID*, void**, DWORD*) override { return E_FAIL; }
    HRESULT GetDirectDrawSurface(const IID*, void**) override { return E_NOTIMPL; }
    HRESULT GetColorKey(DWORD*) override { return E_NOTIMPL; }
    HRESULT SetColorKey(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurfaceDC(const DXBNDS*, ULONG, DWORD, IUnknown**) override { return E_NOTIMPL; }
    HRESULT SetAppData(std::uintptr_t) override { return E_NOTIMPL; }
    HRESULT GetAppData(std::uintptr_t*) override { return E_NOTIMPL; }
};

} // namespace larkmoor
