// Generators: a surface without an input, read row by row, bound to the parameter frame.
#pragma once

#include <memory>

#include "base/object.h"
#include "frame/create.h"
#include "frame/dispatch.h"
#include "frame/safety.h"
#include "platform/threads.h"
#include "platform/transform.h"

/// A generator's picture as it was when a reader opened it. Later changes of parameters and size do not reach it.
class CGeneratorRows {
  public:
    CGeneratorRows(LONG width, LONG height) : m_Width(width), m_Height(height) {}
    CGeneratorRows(const CGeneratorRows&) = delete;
    CGeneratorRows& operator=(const CGeneratorRows&) = delete;
    virtual ~CGeneratorRows() = default;

    /// Writes `count` premultiplied samples of the frame's row `y` (inside the frame) from `x` on. What lies beyond the
    /// frame's right edge may be anything.
    virtual void Read(ULONG x, ULONG y, DWORD* samples, ULONG count) noexcept = 0;
    /// The memory of the frame's top left pixel, and the bytes from one row to the next row down; null for none.
    virtual std::byte* FirstByte() const { return nullptr; }
    virtual LONG Pitch() const { return 0; }

    const LONG m_Width, m_Height; ///< of the frame
};

/// A generator without regard to its record. The surface lock guards size, generation and site; it is never held
/// together with the parameter lock.
class CGenerator : public CAggregable,
                   public CDual<IKwGenerator>,
                   public IDXSurface,
                   public IDXSurfaceInit,
                   public IObjectWithSite,
                   public CSafetyList {
  public:
    // `IUnknown`, for every table.
    HRESULT QueryInterface(const IID* iid, void** out) override { return Outer()->QueryInterface(iid, out); }
    ULONG AddRef() override { return Outer()->AddRef(); }
    ULONG Release() override { return Outer()->Release(); }

    HRESULT GetGenerationId(ULONG* id) override;
    HRESULT IncrementGenerationId(BOOL refresh) override;
    HRESULT GetObjectSize(ULONG* bytes) override;

    HRESULT GetPixelFormat(GUID* format, DWORD* sampleFormat) override;
    HRESULT GetBounds(DXBNDS* bounds) override;
    HRESULT GetStatusFlags(DWORD* flags) override;
    HRESULT SetStatusFlags(DWORD flags) override;
    HRESULT LockSurface(const DXBNDS* bounds, ULONG timeout, DWORD flags, const IID* iid, void** out,
                        DWORD* generation) override;
    HRESULT GetDirectDrawSurface(const IID* iid, void** out) override;
    HRESULT GetColorKey(DWORD* key) override;
    HRESULT SetColorKey(DWORD key) override;
    HRESULT LockSurfaceDC(const DXBNDS* bounds, ULONG timeout, DWORD flags, IUnknown** out) override;
    HRESULT SetAppData(std::uintptr_t data) override;
    HRESULT GetAppData(std::uintptr_t* data) override;

    /// Width and height below 1 are refused. Another size steps the generation; the same size does nothing.
    HRESULT InitSurface(IUnknown* directDraw, const void* description, const GUID* format, const DXBNDS* bounds,
                        DWORD flags) override;

    HRESULT SetSite(IUnknown* site) override;
    HRESULT GetSite(const IID* iid, void** out) override;

  protected:
    /// What the surface says of its pixels.
    struct tFormat {
        GUID id;
        DWORD sampleFormat;
    };

    CGenerator(const tObjectMapRow& row, IUnknown* outer, const tEffectClass& effect, const tRecordSet& records,
               const tFormat& format);

    void* FindInterface(const IID& iid) noexcept override;
    HRESULT Call(tDispatchCall& call) override;

    /// The picture as it stands, null where memory is short. May throw std::bad_alloc.
    virtual std::unique_ptr<CGeneratorRows> OpenRows() = 0;
    /// Called under the surface lock.
    virtual void SizeChanged() {}

    mutable CMutex m_SurfaceLock;
    LONG m_Width = 320, m_Height = 240;

  private:
    const tFormat m_Format;
    ULONG m_GenerationId = 1;
    DWORD m_StatusFlags = 0, m_ColorKey = 0;
    std::uintptr_t m_AppData = 0;
    CComPtr<IUnknown> m_pSite;
};
