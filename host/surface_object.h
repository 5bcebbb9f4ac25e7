// The component behind a `Surface`.
#pragma once

#include "host/object.h"
#include "host/surface.h"
#include "platform/threads.h"

namespace larkmoor {

const GUID& formatId(PixelFormat format);
/// The format of an id; false for one that is not known.
bool formatOfId(const GUID& id, PixelFormat& format);

class SurfaceObject final : public ObjectOf<IDXSurface, IKwSurfaceInfo> {
  public:
    /// On zeroed memory of its own. Throws Error for sizes that cannot be, std::bad_alloc.
    static CComPtr<SurfaceObject> create(PixelFormat format, int width, int height, int left = 0, int top = 0);

    /// On memory that `owner` keeps. Throws Error for a view that cannot be addressed.
    SurfaceObject(const ImageView& view, int left, int top, std::shared_ptr<void> owner);

    const ImageView& view() const { return m_view; }
    const RECT& bounds() const { return m_bounds; }
    tSurfaceInfo info() const;
    void setInfo(const tSurfaceInfo& info);
    void touch() { ++m_generation; }

    /// `LockSurface` in the name of another surface, to which the pointer object leads back.
    HRESULT lockFor(IDXSurface* face, const DXBNDS* bounds, DWORD flags, const IID* iid, void** out);

    HRESULT GetGenerationId(ULONG* id) override { return answer(id, m_generation); }
    HRESULT IncrementGenerationId(BOOL) override;
    HRESULT GetObjectSize(ULONG* bytes) override;
    HRESULT GetPixelFormat(GUID* format, DWORD* sampleFormat) override;
    HRESULT GetBounds(DXBNDS* bounds) override { return answer(bounds, boundsOf(m_bounds)); }
    HRESULT GetStatusFlags(DWORD* flags) override { return answer(flags, m_statusFlags); }
    HRESULT SetStatusFlags(DWORD flags) override;
    HRESULT LockSurface(const DXBNDS* bounds, ULONG timeout, DWORD flags, const IID* iid, void** out,
                        DWORD* generation) override;
    HRESULT GetDirectDrawSurface(const IID* iid, void** out) override;
    HRESULT GetColorKey(DWORD* key) override { return answer(key, m_colorKey); }
    HRESULT SetColorKey(DWORD key) override;
    HRESULT LockSurfaceDC(const DXBNDS* bounds, ULONG timeout, DWORD flags, IUnknown** out) override;
    HRESULT SetAppData(std::uintptr_t data) override;
    HRESULT GetAppData(std::uintptr_t* data) override { return answer(data, m_appData); }

    HRESULT GetSurfaceInfo(void* block, ULONG size) override;

  private:
    const ImageView m_view;
    const RECT m_bounds;
    const std::shared_ptr<void> m_owner;
    std::atomic<ULONG> m_generation{1};
    std::atomic<DWORD> m_statusFlags{0};
    std::atomic<DWORD> m_colorKey{0};
    std::atomic<std::uintptr_t> m_appData{0};
    mutable CMutex m_infoLock;
    tSurfaceInfo m_info{.pixelAspect = 1.0, .frameRate = 0.0, .time100ns = 0};
};

} // namespace larkmoor
