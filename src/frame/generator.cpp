#include "frame/generator.h"

#include <algorithm>

#include "frame/surface.h"
#include "kernels/alpha.h"

namespace {

constexpr LONG kIdCacheInfo = 3;

constexpr tDispatchMember kMembers[] = {
    {"GetCacheInfo", kIdCacheInfo, DISPATCH_METHOD, KWDISP_POINTER, KWDISP_NONE},
};
constexpr CDispatchTable kDispatch{kMembers};

/// Reads a locked area of a generator. Places outside the area read as 0. One thread at a time.
class CGeneratorReader final : public CZeroFilled, public IDXARGBReadPtr {
  public:
    CGeneratorReader(IDXSurface* surface, std::unique_ptr<CGeneratorRows> rows, const RECT& area, DWORD sampleFormat)
        : m_pSurface(surface), m_pRows(std::move(rows)), m_Area(area), m_SampleFormat(sampleFormat) {}

    HRESULT QueryInterface(const IID* iid, void** out) override {
        if (!out) return E_POINTER;
        *out = nullptr;
        if (!iid) return E_INVALIDARG;
        if (!(*iid == IUnknown::iid) && !(*iid == IDXARGBReadPtr::iid)) return E_NOINTERFACE;
        *out = static_cast<IDXARGBReadPtr*>(this);
        AddRef();
        return S_OK;
    }
    ULONG AddRef() noexcept override { return ++m_References; }
    ULONG Release() noexcept override {
        const ULONG left = --m_References;
        if (left == 0) delete this;
        return left;
    }

    HRESULT GetSurface(const IID* iid, void** out) override { return m_pSurface->QueryInterface(iid, out); }
    DWORD GetNativeType(DXNATIVETYPEINFO* info) override {
        if (!info) return m_SampleFormat;
        *info = {};
        m_pSurface->GetColorKey(&info->dwColorKey);
        if (std::byte* const first = m_pRows->FirstByte()) {
            info->lPitch = m_pRows->Pitch();
            const auto at = [&](LONG x, LONG y) {
                return first + std::ptrdiff_t{info->lPitch} * y + std::ptrdiff_t{x} * 4;
            };
            info->pFirstByte = at(m_Area.left, m_Area.top);
            info->pCurrentData = IsInside() ? at(Column(), Row()) : info->pFirstByte;
        }
        return m_SampleFormat;
    }
    void Move(LONG count) override { m_X += count; }
    void MoveToRow(ULONG y) override { MoveToXY(0, y); }
    void MoveToXY(ULONG x, ULONG y) override {
        m_X = x;
        m_Y = y;
    }
    ULONG MoveAndGetRunInfo(ULONG row, const void** runs) override {
        MoveToRow(row);
        if (runs) *runs = nullptr;
        return 0;
    }
    DWORD* Unpack(DWORD* samples, ULONG count, BOOL move) override {
        UnpackPremult(samples, count, move);
        if (!samples) return samples;
        std::for_each(samples, samples + count, [](DWORD& sample) {
            if (sample >> 24 == 255) return;
            tPixel8 pixel;
            std::memcpy(&pixel, &sample, sizeof pixel);
            KwDibUnpremultiplyPixel(pixel, 0);
            std::memcpy(&sample, &pixel, sizeof pixel);
        });
        return samples;
    }
    DWORD* UnpackPremult(DWORD* samples, ULONG count, BOOL move) override {
        if (samples) {
            const bool inside = IsInside();
            const auto held = inside ? static_cast<ULONG>(std::min<std::int64_t>(count, Width() - m_X)) : ULONG{0};
            if (inside) m_pRows->Read(static_cast<ULONG>(Column()), static_cast<ULONG>(Row()), samples, count);
            std::fill(samples + held, samples + count, DWORD{0});
        }
        if (move) m_X += count;
        return samples;
    }
    void UnpackRect(const void*) override {}

  private:
    std::int64_t Width() const { return KwWidth(m_Area); }
    bool IsInside() const { return m_X >= 0 && m_X < Width() && m_Y < KwHeight(m_Area); }
    LONG Column() const { return static_cast<LONG>(m_Area.left + m_X); }
    LONG Row() const { return static_cast<LONG>(m_Area.top + m_Y); }

    const CModuleLock m_ModuleLock;
    std::atomic<ULONG> m_References{1};
    const CComPtr<IDXSurface> m_pSurface;
    const std::unique_ptr<CGeneratorRows> m_pRows;
    const RECT m_Area;
    const DWORD m_SampleFormat;
    std::int64_t m_X = 0, m_Y = 0; ///< counted from the area's corner
};

} // namespace

CGenerator::CGenerator(const tObjectMapRow& row, IUnknown* outer, const tEffectClass& effect, const tRecordSet& records,
                       const tFormat& format)
    : CAggregable(outer), CDual(row, effect, records, kDispatch), m_Format(format) {}

void* CGenerator::FindInterface(const IID& iid) noexcept {
    if (iid == m_class.iid || iid == IDispatch::iid) return static_cast<IKwGenerator*>(this);
    if (iid == IDXSurface::iid || iid == IDXBaseObject::iid) return static_cast<IDXSurface*>(this);
    if (iid == IDXSurfaceInit::iid) return static_cast<IDXSurfaceInit*>(this);
    if (iid == IObjectWithSite::iid) return static_cast<IObjectWithSite*>(this);
    if (iid == IObjectSafety::iid) return static_cast<IObjectSafety*>(this);
    return FindParamInterface(iid);
}

HRESULT CGenerator::Call(tDispatchCall& call) {
    return GetCacheInfo(call.pointer[0]);
}

// The surface.

HRESULT CGenerator::GetGenerationId(ULONG* id) {
    return KwGuarded(m_SurfaceLock, [&] { return KwAnswer(id, m_GenerationId); });
}

HRESULT CGenerator::IncrementGenerationId(BOOL) {
    return KwGuarded(m_SurfaceLock, [&] { ++m_GenerationId; });
}

HRESULT CGenerator::GetObjectSize(ULONG* bytes) {
    return KwAnswer(bytes, static_cast<ULONG>(sizeof *this));
}

HRESULT CGenerator::GetPixelFormat(GUID* format, DWORD* sampleFormat) {
    if (sampleFormat) *sampleFormat = m_Format.sampleFormat;
    return KwAnswer(format, m_Format.id);
}

HRESULT CGenerator::GetBounds(DXBNDS* bounds) {
    if (!bounds) return E_POINTER;
    return KwGuarded(m_SurfaceLock, [&] {
        *bounds = {};
        bounds->Axis[0] = {0, m_Width};
        bounds->Axis[1] = {0, m_Height};
        bounds->Axis[2] = bounds->Axis[3] = {0, 1};
    });
}

HRESULT CGenerator::GetStatusFlags(DWORD* flags) {
    return KwGuarded(m_SurfaceLock, [&] { return KwAnswer(flags, m_StatusFlags); });
}

HRESULT CGenerator::SetStatusFlags(DWORD flags) {
    return KwGuarded(m_SurfaceLock, [&] { m_StatusFlags = flags; });
}

HRESULT CGenerator::LockSurface(const DXBNDS* bounds, ULONG, DWORD flags, const IID* iid, void** out,
                                DWORD* generation) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_POINTER;
    if (flags & DXLOCKF_READWRITE) return E_NOTIMPL;
    return KwGuarded([&] {
        auto rows = OpenRows();
        if (!rows) return E_OUTOFMEMORY;
        const RECT frame{0, 0, rows->m_Width, rows->m_Height};
        const RECT area = bounds ? KwRectOf(*bounds) : frame;
        if (KwIsEmpty(area) || KwIntersect(area, frame) != area) return E_INVALIDARG;
        auto* const reader = new CGeneratorReader(this, std::move(rows), area, m_Format.sampleFormat);
        if (!reader) return E_OUTOFMEMORY;
        const HRESULT status = reader->QueryInterface(iid, out);
        reader->Release();
        if (SUCCEEDED(status) && generation) GetGenerationId(generation);
        return status;
    });
}

HRESULT CGenerator::GetDirectDrawSurface(const IID*, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOTIMPL;
}

HRESULT CGenerator::GetColorKey(DWORD* key) {
    return KwGuarded(m_SurfaceLock, [&] { return KwAnswer(key, m_ColorKey); });
}

HRESULT CGenerator::SetColorKey(DWORD key) {
    return KwGuarded(m_SurfaceLock, [&] { m_ColorKey = key; });
}

HRESULT CGenerator::LockSurfaceDC(const DXBNDS*, ULONG, DWORD, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOTIMPL;
}

HRESULT CGenerator::SetAppData(std::uintptr_t data) {
    return KwGuarded(m_SurfaceLock, [&] { m_AppData = data; });
}

HRESULT CGenerator::GetAppData(std::uintptr_t* data) {
    return KwGuarded(m_SurfaceLock, [&] { return KwAnswer(data, m_AppData); });
}

HRESULT CGenerator::InitSurface(IUnknown*, const void*, const GUID*, const DXBNDS* bounds, DWORD) {
    if (!bounds || bounds->eType != 0) return E_INVALIDARG;
    const RECT rect = KwRectOf(*bounds);
    const std::int64_t width = KwWidth(rect), height = KwHeight(rect);
    if (width < 1 || height < 1 || width > INT32_MAX || height > INT32_MAX) return E_INVALIDARG;
    return KwGuarded(m_SurfaceLock, [&] {
        if (width == m_Width && height == m_Height) return;
        m_Width = static_cast<LONG>(width);
        m_Height = static_cast<LONG>(height);
        ++m_GenerationId;
        SizeChanged();
    });
}

HRESULT CGenerator::SetSite(IUnknown* site) {
    CComPtr<IUnknown> previous(site); // what is dropped ends outside the lock
    return KwGuarded(m_SurfaceLock, [&] { std::swap(m_pSite, previous); });
}

HRESULT CGenerator::GetSite(const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return KwGuarded([&] {
        CComPtr<IUnknown> site;
        {
            const CHeld guard(m_SurfaceLock);
            site = m_pSite;
        }
        return site ? site->QueryInterface(iid, out) : E_FAIL;
    });
}
