#include "host/surface_object.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "base/fits.h"
#include "fmt/format.h"
#include "host/samples.h"

namespace larkmoor {
namespace {

constexpr std::size_t kRowAlignment = 64;
/// Above this the memory counts as short without asking for it: a tebibyte.
constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 40;

bool isInside(const RECT& inner, const RECT& outer) {
    return inner.left < inner.right && inner.top < inner.bottom && inner.left >= outer.left && inner.top >= outer.top &&
           inner.right <= outer.right && inner.bottom <= outer.bottom;
}

/// Both pointer interfaces of a locked area; a read lock does not answer the write interface. Places outside the area
/// read as 0 and take nothing.
class PixelPointer final : public ObjectOf<IDXARGBReadWritePtr> {
  public:
    PixelPointer(IDXSurface* face, SurfaceObject* memory, const RECT& area, bool isFloat, bool writable)
        : m_face(face), m_memory(memory), m_isFloat(isFloat), m_writable(writable), m_format(memory->view().format),
          m_stride(memory->view().stride), m_width(area.right - area.left), m_height(area.bottom - area.top),
          m_first(memory->view().data + (area.top - memory->bounds().top) * m_stride +
                  std::ptrdiff_t{area.left - memory->bounds().left} * bytesPerPixel(m_format)) {
        if (m_writable) m_memory->touch();
    }

    HRESULT GetSurface(const IID* iid, void** out) override { return m_face->QueryInterface(iid, out); }
    DWORD GetNativeType(DXNATIVETYPEINFO* info) override {
        if (info) {
            DWORD key = 0;
            m_memory->GetColorKey(&key);
            const bool inside = m_x >= 0 && m_x < m_width && m_y >= 0 && m_y < m_height;
            *info = {inside ? at(m_x, m_y) : m_first, m_first, static_cast<LONG>(m_stride), key};
        }
        return DXSAMPLE_TRANSLUCENT;
    }
    void Move(LONG count) override { m_x += count; }
    void MoveToRow(ULONG y) override { MoveToXY(0, y); }
    void MoveToXY(ULONG x, ULONG y) override {
        m_x = x;
        m_y = y;
    }
    ULONG MoveAndGetRunInfo(ULONG row, const void** runs) override {
        MoveToRow(row);
        if (runs) *runs = nullptr;
        return 0;
    }
    DWORD* Unpack(DWORD* samples, ULONG count, BOOL move) override {
        return unpack(SampleKind::Straight, samples, count, move);
    }
    DWORD* UnpackPremult(DWORD* samples, ULONG count, BOOL move) override {
        return unpack(SampleKind::Premultiplied, samples, count, move);
    }
    void UnpackRect(const void*) override {}

    void PackAndMove(const DWORD* samples, ULONG count) override { pack(SampleKind::Straight, samples, count); }
    void PackPremultAndMove(const DWORD* samples, ULONG count) override {
        pack(SampleKind::Premultiplied, samples, count);
    }
    void PackRect(const void*) override {}
    void CopyAndMoveBoth(void*, IDXARGBReadPtr*, ULONG, BOOL) override {}
    void CopyRect(void*, const RECT*, IDXARGBReadPtr*, const POINT*, BOOL) override {}
    void FillAndMove(DWORD*, DWORD, ULONG, BOOL) override {}
    void FillRect(const RECT*, DWORD, BOOL) override {}
    void OverSample(const void*) override {}
    void OverArrayAndMove(DWORD*, const DWORD*, ULONG) override {}

  protected:
    void* findInterface(const IID& iid) override {
        const bool known = iid == IUnknown::iid || iid == (m_isFloat ? IID_KwFloatReadPtr : IDXARGBReadPtr::iid) ||
                           (m_writable && iid == (m_isFloat ? IID_KwFloatReadWritePtr : IDXARGBReadWritePtr::iid));
        return known ? static_cast<IDXARGBReadWritePtr*>(this) : nullptr;
    }

  private:
    /// The pixels were written between birth and end, so both step the generation.
    ~PixelPointer() override {
        if (m_writable) m_memory->touch();
    }

    std::byte* at(std::int64_t x, std::int64_t y) const { return m_first + y * m_stride + x * bytesPerPixel(m_format); }

    /// The part of `count` pixels from the current place on that lies inside the area.
    struct Run {
        std::size_t skip, length;
    };
    Run runOf(ULONG count) const {
        if (m_y < 0 || m_y >= m_height) return {count, 0};
        const auto begin = std::clamp<std::int64_t>(m_x, 0, m_width);
        const auto end = std::clamp<std::int64_t>(m_x + count, begin, m_width);
        if (begin == end) return {count, 0};
        return {static_cast<std::size_t>(begin - m_x), static_cast<std::size_t>(end - begin)};
    }

    DWORD* unpack(SampleKind kind, DWORD* samples, ULONG count, BOOL move) {
        if (samples) {
            const Run run = runOf(count);
            std::fill_n(samples, run.skip, 0);
            if (run.length)
                unpackRow(m_format, at(m_x + std::int64_t(run.skip), m_y), kind, samples + run.skip, run.length);
            std::fill(samples + run.skip + run.length, samples + count, 0);
        }
        if (move) m_x += count;
        return samples;
    }

    void pack(SampleKind kind, const DWORD* samples, ULONG count) {
        if (samples && m_writable)
            if (const Run run = runOf(count); run.length)
                packRow(m_format, at(m_x + std::int64_t(run.skip), m_y), kind, samples + run.skip, run.length);
        m_x += count;
    }

    const CComPtr<IDXSurface> m_face;
    const CComPtr<SurfaceObject> m_memory;
    const bool m_isFloat, m_writable;
    const PixelFormat m_format;
    const std::ptrdiff_t m_stride;
    const LONG m_width, m_height;
    std::byte* const m_first;
    std::int64_t m_x = 0, m_y = 0;
};

RECT checkedBounds(const ImageView& view, int left, int top) {
    const std::int64_t right = std::int64_t{left} + view.width, bottom = std::int64_t{top} + view.height;
    const std::int64_t rowBytes = std::int64_t{view.width} * bytesPerPixel(view.format);
    if (view.width < 1 || view.height < 1)
        throw Error(fmt::format("a picture of {} by {} pixels cannot be: both sizes have to be 1 or more", view.width,
                                view.height));
    if (right > INT32_MAX || bottom > INT32_MAX || rowBytes > INT32_MAX - std::int64_t{kRowAlignment})
        throw Error(fmt::format("a picture of {} by {} pixels at ({}, {}) is too large to be addressed", view.width,
                                view.height, left, top));
    return {left, top, static_cast<LONG>(right), static_cast<LONG>(bottom)};
}

} // namespace

int bytesPerPixel(PixelFormat format) {
    return format == PixelFormat::Float128 ? 16 : 4;
}

const GUID& formatId(PixelFormat format) {
    switch (format) {
    case PixelFormat::Argb32:
        return DDPF_ARGB32;
    case PixelFormat::Float128:
        return KWPF_FLOAT128;
    default:
        return DDPF_PMARGB32;
    }
}

bool formatOfId(const GUID& id, PixelFormat& format) {
    for (const PixelFormat known : {PixelFormat::Argb32, PixelFormat::PremultipliedArgb32, PixelFormat::Float128}) {
        if (id != formatId(known)) continue;
        format = known;
        return true;
    }
    return false;
}

CComPtr<SurfaceObject> SurfaceObject::create(PixelFormat format, int width, int height, int left, int top) {
    ImageView view{nullptr, width, height, 0, format};
    checkedBounds(view, left, top);
    const std::size_t rowBytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(bytesPerPixel(format));
    const std::size_t stride = (rowBytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
    const std::uint64_t size = std::uint64_t{stride} * static_cast<unsigned>(height);
    if (size > kMostBytes || !KwFits(size, 1)) throw std::bad_alloc();
    // calloc leaves the zeroing of large blocks to the system, which hands out zero pages when they are touched.
    std::size_t room = size + kRowAlignment;
    const std::shared_ptr<void> memory(std::calloc(1, room), std::free);
    void* first = memory.get();
    if (!first || !std::align(kRowAlignment, size, first, room)) throw std::bad_alloc();
    view.data = static_cast<std::byte*>(first);
    view.stride = static_cast<std::ptrdiff_t>(stride);
    return makeObject<SurfaceObject>(view, left, top, memory);
}

SurfaceObject::SurfaceObject(const ImageView& view, int left, int top, std::shared_ptr<void> owner)
    : m_view(view), m_bounds(checkedBounds(view, left, top)), m_owner(std::move(owner)) {
    const std::ptrdiff_t rowBytes = std::ptrdiff_t{view.width} * bytesPerPixel(view.format);
    if (!view.data) throw Error("a picture without memory cannot be wrapped");
    if (view.stride < -INT32_MAX || view.stride > INT32_MAX ||
        (view.height > 1 && view.stride > -rowBytes && view.stride < rowBytes))
        throw Error(fmt::format("rows of {} bytes cannot stand {} bytes apart", rowBytes, view.stride));
    if (reinterpret_cast<std::uintptr_t>(view.data) % 4 != 0 || view.stride % 4 != 0)
        throw Error("the rows of a picture have to start at multiples of 4 bytes");
}

tSurfaceInfo SurfaceObject::info() const {
    const CHeld guard(m_infoLock);
    return m_info;
}

void SurfaceObject::setInfo(const tSurfaceInfo& info) {
    const CHeld guard(m_infoLock);
    m_info = info;
}

HRESULT SurfaceObject::lockFor(IDXSurface* face, const DXBNDS* bounds, DWORD flags, const IID* iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (!iid) return E_POINTER;
    if (bounds && (bounds->eType != 0 || !isInside(rectOf(*bounds), m_bounds))) return E_INVALIDARG;
    const bool isFloat = *iid == IID_KwFloatReadPtr || *iid == IID_KwFloatReadWritePtr;
    if (isFloat && m_view.format != PixelFormat::Float128) return E_NOINTERFACE;
    return guarded([&] {
        const auto pointer = makeObject<PixelPointer>(face, this, bounds ? rectOf(*bounds) : m_bounds, isFloat,
                                                      (flags & DXLOCKF_READWRITE) != 0);
        return pointer->QueryInterface(iid, out);
    });
}

HRESULT SurfaceObject::LockSurface(const DXBNDS* bounds, ULONG, DWORD flags, const IID* iid, void** out,
                                   DWORD* generation) {
    const HRESULT status = lockFor(this, bounds, flags, iid, out);
    if (SUCCEEDED(status) && generation) *generation = m_generation;
    return status;
}

HRESULT SurfaceObject::IncrementGenerationId(BOOL) {
    touch();
    return S_OK;
}

HRESULT SurfaceObject::GetObjectSize(ULONG* bytes) {
    const std::int64_t stride = m_view.stride < 0 ? -m_view.stride : m_view.stride;
    const std::int64_t size = static_cast<std::int64_t>(sizeof *this) + stride * m_view.height;
    return answer(bytes, static_cast<ULONG>(std::min<std::int64_t>(size, UINT32_MAX)));
}

HRESULT SurfaceObject::GetPixelFormat(GUID* format, DWORD* sampleFormat) {
    if (sampleFormat) *sampleFormat = DXSAMPLE_TRANSLUCENT;
    return answer(format, formatId(m_view.format));
}

HRESULT SurfaceObject::SetStatusFlags(DWORD flags) {
    m_statusFlags = flags;
    return S_OK;
}

HRESULT SurfaceObject::SetColorKey(DWORD key) {
    m_colorKey = key;
    return S_OK;
}

HRESULT SurfaceObject::SetAppData(std::uintptr_t data) {
    m_appData = data;
    return S_OK;
}

HRESULT SurfaceObject::GetDirectDrawSurface(const IID*, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOTIMPL;
}

HRESULT SurfaceObject::LockSurfaceDC(const DXBNDS*, ULONG, DWORD, IUnknown** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    return E_NOTIMPL;
}

HRESULT SurfaceObject::GetSurfaceInfo(void* block, ULONG size) {
    if (!block) return E_POINTER;
    const tSurfaceInfo told = info();
    std::memcpy(block, &told, std::min<std::size_t>(size, sizeof told));
    return S_OK;
}

} // namespace larkmoor
