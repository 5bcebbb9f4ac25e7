// The surface modifier: a picture shown at an offset inside other bounds.
#pragma once

#include "host/surface_object.h"
#include "platform/threads.h"

namespace larkmoor {

/// Shows its foreground with the top left at `origin` from the top left of its own bounds (those of the foreground as
/// long as none are set), transparent around it. Locked for read only; the picture is composed in the foreground's
/// format at a lock, and anew when the foreground's generation has changed. Tiles, backgrounds, fill colours, lookup
/// tables and opacities below 1 are not offered (E_NOTIMPL).
class SurfaceModifier final : public ObjectOf<IDXSurface, IDXSurfaceModifier, IKwSurfaceInfo> {
  public:
    HRESULT SetFillColor(DWORD sample) override { return sample == 0 ? S_OK : E_NOTIMPL; }
    HRESULT GetFillColor(DWORD* sample) override { return answer(sample, 0); }
    HRESULT SetBounds(const DXBNDS* bounds) override;
    HRESULT SetBackground(IDXSurface* surface) override { return surface ? E_NOTIMPL : S_OK; }
    HRESULT GetBackground(IDXSurface** surface) override { return answer(surface, nullptr); }
    HRESULT SetCompositeOperation(LONG) override { return E_NOTIMPL; }
    HRESULT GetCompositeOperation(LONG*) override { return E_NOTIMPL; }
    HRESULT SetForeground(IDXSurface* surface, BOOL tile, const POINT* origin) override;
    HRESULT GetForeground(IDXSurface** surface, BOOL* tile, POINT* origin) override;
    HRESULT SetOpacity(float opacity) override { return opacity == 1.0f ? S_OK : E_NOTIMPL; }
    HRESULT GetOpacity(float* opacity) override { return answer(opacity, 1.0f); }
    HRESULT SetLookup(IUnknown* table) override { return table ? E_NOTIMPL : S_OK; }
    HRESULT GetLookup(IUnknown** table) override { return answer(table, nullptr); }

    HRESULT GetGenerationId(ULONG* id) override;
    HRESULT IncrementGenerationId(BOOL refresh) override;
    HRESULT GetObjectSize(ULONG* bytes) override { return answer(bytes, sizeof *this); }
    HRESULT GetPixelFormat(GUID* format, DWORD* sampleFormat) override;
    HRESULT GetBounds(DXBNDS* bounds) override;
    HRESULT GetStatusFlags(DWORD* flags) override { return answer(flags, 0); }
    HRESULT SetStatusFlags(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurface(const DXBNDS* bounds, ULONG timeout, DWORD flags, const IID* iid, void** out,
                        DWORD* generation) override;
    HRESULT GetDirectDrawSurface(const IID*, void** out) override {
        return answer(out, nullptr) ? E_POINTER : E_NOTIMPL;
    }
    HRESULT GetColorKey(DWORD* key) override { return answer(key, 0); }
    HRESULT SetColorKey(DWORD) override { return E_NOTIMPL; }
    HRESULT LockSurfaceDC(const DXBNDS*, ULONG, DWORD, IUnknown** out) override {
        return answer(out, nullptr) ? E_POINTER : E_NOTIMPL;
    }
    HRESULT SetAppData(std::uintptr_t data) override;
    HRESULT GetAppData(std::uintptr_t* data) override { return answer(data, m_appData); }

    HRESULT GetSurfaceInfo(void* block, ULONG size) override;

  private:
    HRESULT boundsNow(DXBNDS& bounds) const;
    HRESULT generationNow(ULONG& generation) const;
    HRESULT compose();
    HRESULT copyForeground(SurfaceObject& target, const RECT& rect) const;

    mutable CRecursiveMutex m_lock; ///< a surface may call back
    CComPtr<IDXSurface> m_foreground;
    POINT m_origin{};
    DXBNDS m_bounds{};
    bool m_hasBounds = false;
    ULONG m_changes = 0;
    CComPtr<SurfaceObject> m_composed; ///< transparent outside the foreground from its making on
    RECT m_composedFrom{};             ///< the foreground's bounds then
    ULONG m_composedGeneration = 0;
    std::atomic<std::uintptr_t> m_appData{0};
};

} // namespace larkmoor
