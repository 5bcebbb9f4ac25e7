#include "host/surface_modifier.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/samples.h"

namespace larkmoor {
namespace {

struct ComposedFormat {
    PixelFormat format = PixelFormat::PremultipliedArgb32;
    bool isNative = false; ///< the foreground's memory holds pixels of that format
};
ComposedFormat composedFormat(IDXSurface* foreground) {
    GUID id{};
    DWORD sampleFormat = 0;
    ComposedFormat composed;
    composed.isNative = SUCCEEDED(foreground->GetPixelFormat(&id, &sampleFormat)) && formatOfId(id, composed.format);
    return composed;
}

/// Where `length` pixels from `origin` on lie inside 0 to `room`.
struct Span {
    std::int64_t begin, end;
};
Span shown(std::int64_t origin, std::int64_t length, std::int64_t room) {
    const std::int64_t begin = std::clamp<std::int64_t>(origin, 0, room);
    return {begin, std::clamp<std::int64_t>(origin + length, begin, room)};
}

} // namespace

HRESULT SurfaceModifier::SetBounds(const DXBNDS* bounds) {
    if (!bounds) return E_POINTER;
    const RECT rect = rectOf(*bounds);
    if (bounds->eType != 0 || rect.left >= rect.right || rect.top >= rect.bottom) return E_INVALIDARG;
    const CHeld guard(m_lock);
    m_bounds = *bounds;
    m_hasBounds = true;
    m_composed.Reset();
    ++m_changes;
    return S_OK;
}

HRESULT SurfaceModifier::SetForeground(IDXSurface* surface, BOOL tile, const POINT* origin) {
    if (tile) return E_NOTIMPL;
    if (surface == this) return E_INVALIDARG;
    CComPtr<IDXSurface> old;
    const CHeld guard(m_lock);
    std::swap(old, m_foreground);
    m_foreground = surface;
    m_origin = origin ? *origin : POINT{};
    m_composed.Reset();
    ++m_changes;
    return S_OK;
}

HRESULT SurfaceModifier::GetForeground(IDXSurface** surface, BOOL* tile, POINT* origin) {
    if (!surface) return E_POINTER;
    const CHeld guard(m_lock);
    *surface = CComPtr<IDXSurface>(m_foreground).Detach();
    if (tile) *tile = FALSE;
    if (origin) *origin = m_origin;
    return S_OK;
}

HRESULT SurfaceModifier::boundsNow(DXBNDS& bounds) const {
    if (m_hasBounds) {
        bounds = m_bounds;
        return S_OK;
    }
    return m_foreground ? m_foreground->GetBounds(&bounds) : DXTERR_UNINITIALIZED;
}

HRESULT SurfaceModifier::generationNow(ULONG& generation) const {
    generation = 0;
    const HRESULT status = m_foreground ? m_foreground->GetGenerationId(&generation) : S_OK;
    generation += m_changes;
    return status;
}

HRESULT SurfaceModifier::GetGenerationId(ULONG* id) {
    if (!id) return E_POINTER;
    const CHeld guard(m_lock);
    return generationNow(*id);
}

HRESULT SurfaceModifier::IncrementGenerationId(BOOL) {
    const CHeld guard(m_lock);
    ++m_changes;
    return S_OK;
}

HRESULT SurfaceModifier::GetPixelFormat(GUID* format, DWORD* sampleFormat) {
    if (!format) return E_POINTER;
    const CHeld guard(m_lock);
    if (!m_foreground) return DXTERR_UNINITIALIZED;
    *format = formatId(composedFormat(m_foreground.Get()).format);
    if (sampleFormat) *sampleFormat = DXSAMPLE_TRANSLUCENT;
    return S_OK;
}

HRESULT SurfaceModifier::GetBounds(DXBNDS* bounds) {
    if (!bounds) return E_POINTER;
    const CHeld guard(m_lock);
    return boundsNow(*bounds);
}

HRESULT SurfaceModifier::LockSurface(const DXBNDS* bounds, ULONG, DWORD flags, const IID* iid, void** out,
                                     DWORD* generation) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (flags & DXLOCKF_READWRITE) return E_NOTIMPL;
    return guarded([&] {
        const CHeld guard(m_lock);
        if (const HRESULT status = compose(); FAILED(status)) return status;
        if (generation) *generation = m_composedGeneration;
        return m_composed->lockFor(this, bounds, DXLOCKF_READ, iid, out);
    });
}

HRESULT SurfaceModifier::compose() {
    if (!m_foreground) return DXTERR_UNINITIALIZED;
    ULONG generation = 0;
    if (const HRESULT status = generationNow(generation); FAILED(status)) return status;
    if (m_composed && m_composedGeneration == generation) return S_OK;

    DXBNDS bounds{}, source{};
    if (const HRESULT status = boundsNow(bounds); FAILED(status)) return status;
    if (const HRESULT status = m_foreground->GetBounds(&source); FAILED(status)) return status;
    const RECT rect = rectOf(bounds), from = rectOf(source);
    // What is still locked by someone stays as it is.
    CComPtr<SurfaceObject> target;
    if (m_composed && !m_composed->isShared() && m_composed->bounds() == rect && m_composedFrom == from)
        std::swap(target, m_composed);
    m_composed.Reset();
    if (!target) {
        const std::int64_t width = std::int64_t{rect.right} - rect.left, height = std::int64_t{rect.bottom} - rect.top;
        if (width > INT32_MAX || height > INT32_MAX) return E_INVALIDARG;
        target = SurfaceObject::create(composedFormat(m_foreground.Get()).format, static_cast<int>(width),
                                       static_cast<int>(height), rect.left, rect.top);
    }
    if (const HRESULT status = copyForeground(*target.Get(), from); FAILED(status)) return status;
    m_composed = std::move(target);
    m_composedFrom = from;
    m_composedGeneration = generation;
    return S_OK;
}

HRESULT SurfaceModifier::copyForeground(SurfaceObject& target, const RECT& rect) const {
    const DXBNDS bounds = boundsOf(rect);
    const ImageView& view = target.view();
    const Span columns = shown(m_origin.x, std::int64_t{rect.right} - rect.left, view.width);
    const Span rows = shown(m_origin.y, std::int64_t{rect.bottom} - rect.top, view.height);
    if (columns.begin == columns.end || rows.begin == rows.end) return S_OK;

    const bool isFloat = view.format == PixelFormat::Float128;
    CComPtr<IDXARGBReadPtr> source;
    const IID& iid = isFloat ? IID_KwFloatReadPtr : IDXARGBReadPtr::iid;
    const HRESULT status = m_foreground->LockSurface(&bounds, 0, DXLOCKF_READ, &iid, source.ReceiveVoid(), nullptr);
    if (FAILED(status)) {
        source.Detach();
        return status;
    }
    if (!source) return E_FAIL;
    DXNATIVETYPEINFO native{};
    source->GetNativeType(&native);
    if (isFloat && !native.pFirstByte) return E_FAIL;

    const int pixelBytes = bytesPerPixel(view.format);
    const auto targetRow = [&](std::int64_t y) { return view.data + y * view.stride + columns.begin * pixelBytes; };
    const std::int64_t firstColumn = columns.begin - m_origin.x;
    const std::size_t count = static_cast<std::size_t>(columns.end - columns.begin);
    if (native.pFirstByte && composedFormat(m_foreground.Get()).isNative) {
        for (std::int64_t y = rows.begin; y < rows.end; ++y)
            std::memcpy(targetRow(y),
                        static_cast<const std::byte*>(native.pFirstByte) + (y - m_origin.y) * native.lPitch +
                            firstColumn * pixelBytes,
                        count * static_cast<std::size_t>(pixelBytes));
        return S_OK;
    }
    // A surface without memory, such as a generator, is read by whole rows: runs of some are not cut at the count.
    const ULONG width = static_cast<ULONG>(std::int64_t{rect.right} - rect.left);
    std::vector<DWORD> samples(std::size_t{width} + kSpareSamples);
    for (std::int64_t y = rows.begin; y < rows.end; ++y) {
        source->MoveToRow(static_cast<ULONG>(y - m_origin.y));
        if (view.format == PixelFormat::Argb32)
            source->Unpack(samples.data(), width, FALSE);
        else
            source->UnpackPremult(samples.data(), width, FALSE);
        std::memcpy(targetRow(y), samples.data() + firstColumn, count * sizeof(DWORD));
    }
    return S_OK;
}

HRESULT SurfaceModifier::SetAppData(std::uintptr_t data) {
    m_appData = data;
    return S_OK;
}

HRESULT SurfaceModifier::GetSurfaceInfo(void* block, ULONG size) {
    if (!block) return E_POINTER;
    CComPtr<IDXSurface> foreground;
    {
        const CHeld guard(m_lock);
        foreground = m_foreground;
    }
    if (const auto info = KwQuery<IKwSurfaceInfo>(foreground.Get())) return info->GetSurfaceInfo(block, size);
    const tSurfaceInfo unknown{.pixelAspect = 1.0, .frameRate = 0.0, .time100ns = 0};
    std::memcpy(block, &unknown, std::min<std::size_t>(size, sizeof unknown));
    return S_OK;
}

} // namespace larkmoor
