#include "frame/surface.h"

#include <cstdlib>

#include "base/fits.h"

namespace {

constexpr DWORD kCompressionFloat = 0x4244574B; // "KWDB"

/// Row bytes of a bitmap, rounded up to whole words.
std::int64_t RowBytes(int bitCount, std::int64_t width) {
    return ((bitCount * width + 31) >> 3) & 0x1FFFFFFC;
}

template <class T>
void ReleaseAndClear(T*& object) {
    if (object) object->Release();
    object = nullptr;
}

} // namespace

RECT KwRectOf(const DXBNDS& bounds) {
    if (bounds.eType != 0) return {};
    return {bounds.Axis[0].Min, bounds.Axis[1].Min, bounds.Axis[0].Max, bounds.Axis[1].Max};
}

HRESULT ChooseWorkFormat(IDXSurface* surface, GUID* formatOut) {
    GUID format{};
    DWORD sampleFormat = 0;
    const HRESULT status = surface->GetPixelFormat(&format, &sampleFormat);
    if (FAILED(status)) return status;
    *formatOut = format == KWPF_FLOAT128 ? KWPF_FLOAT128 : DDPF_PMARGB32;
    return status;
}

CKwSurface::~CKwSurface() {
    if (!m_Unlocked && m_AutoUnlock == TRUE) Unlock();
}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a move of bytes onto themselves is none
CKwSurface& CKwSurface::operator=(const CKwSurface& other) {
    // NOLINTNEXTLINE(bugprone-undefined-memory-manipulation): hosts assign views as blocks
    std::memmove(static_cast<void*>(this), &other, sizeof *this);
    return *this;
}

double CKwSurface::GetPixelAspect() const {
    return m_Info.pixelAspect;
}

BOOL CKwSurface::Lock(IDXSurface* surface, const GUID* formatId, BOOL forWrite, const DXBNDS* bounds) {
    m_ClipBounds = *bounds;
    m_ClipRect = KwRectOf(*bounds);
    m_HasClip = TRUE;
    return Lock(surface, formatId, forWrite);
}

BOOL CKwSurface::Lock(IDXSurface* surface, const GUID* formatId, BOOL forWrite) {
    m_pRead = m_pFloatRead = nullptr;
    m_pReadWrite = m_pFloatReadWrite = nullptr;
    m_Unlocked = FALSE;
    m_OwnFlags = 0;
    m_pHeaderCopy = nullptr;
    m_pSurface = surface;
    if (!surface) return FALSE;

    m_SurfaceBounds = {};
    surface->GetBounds(&m_SurfaceBounds);
    m_Frame = KwRectOf(m_SurfaceBounds);
    const std::int64_t width = KwWidth(m_Frame), height = KwHeight(m_Frame);
    if (width < 0 || height < 0 || width > INT32_MAX / 16 || height > INT32_MAX) return FALSE;
    m_Width = static_cast<LONG>(width);
    m_Height = static_cast<LONG>(height);

    m_SurfaceInfo = {.pixelAspect = 1.0, .frameRate = 0.0, .time100ns = 0};
    if (const auto info = KwQuery<IKwSurfaceInfo>(surface)) {
        tSurfaceInfo told = m_SurfaceInfo;
        if (SUCCEEDED(info->GetSurfaceInfo(&told, sizeof told))) m_SurfaceInfo = told;
    }

    GUID own{};
    DWORD sampleFormat = 0;
    if (FAILED(surface->GetPixelFormat(&own, &sampleFormat))) return FALSE;
    const auto pixelBytes = [](const GUID& format) {
        return format == DDPF_ARGB32 || format == DDPF_PMARGB32 ? 4 : format == KWPF_FLOAT128 ? 16 : 0;
    };
    m_BytesPerPixel = pixelBytes(*formatId);
    if (m_BytesPerPixel == 0) return FALSE;
    return m_BytesPerPixel == pixelBytes(own) ? LockDirect(forWrite == TRUE) : LockCopy();
}

bool CKwSurface::LockDirect(bool forWrite) {
    const bool isFloat = m_BytesPerPixel == 16;
    const bool partial = m_HasClip && forWrite;
    const IID& iid = isFloat ? (forWrite ? IID_KwFloatReadWritePtr : IID_KwFloatReadPtr)
                             : (forWrite ? IDXARGBReadWritePtr::iid : IDXARGBReadPtr::iid);
    void* pointer = nullptr;
    const HRESULT status =
        m_pSurface->LockSurface(partial ? &m_ClipBounds : &m_SurfaceBounds, 0,
                                forWrite ? DXLOCKF_READWRITE : DXLOCKF_READ, &iid, &pointer, nullptr);
    if (FAILED(status) || !pointer) return false;

    IDXARGBReadPtr* read = static_cast<IDXARGBReadPtr*>(pointer);
    if (forWrite) {
        auto* const readWrite = static_cast<IDXARGBReadWritePtr*>(pointer);
        (isFloat ? m_pFloatReadWrite : m_pReadWrite) = readWrite;
        read = readWrite;
    } else {
        (isFloat ? m_pFloatRead : m_pRead) = read;
    }

    BuildHeader(m_Header);
    DXNATIVETYPEINFO native{};
    read->GetNativeType(&native);
    if (!native.pFirstByte && !KwIsEmpty(m_Frame)) return false;
    m_Stride = native.lPitch;
    const RECT mapped = partial ? m_ClipRect : m_Frame;
    m_pBits = static_cast<std::byte*>(native.pFirstByte) - std::ptrdiff_t{mapped.left} * m_BytesPerPixel -
              std::ptrdiff_t{mapped.top} * m_Stride;
    BuildInfo();
    m_pHeaderCopy = &m_Header;
    return true;
}

bool CKwSurface::LockCopy() {
    const std::int64_t rowBytes = RowBytes(m_BytesPerPixel * 8, m_Width);
    if (rowBytes < std::int64_t{m_Width} * m_BytesPerPixel ||
        !KwFits(static_cast<std::uint64_t>(rowBytes), static_cast<std::uint64_t>(m_Height)))
        return false;
    const auto size = static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(m_Height);
    auto* const bitmap = static_cast<tBitmapHeader*>(std::calloc(1, sizeof(tBitmapHeader) + size));
    if (!bitmap) return false;
    m_OwnFlags |= 1;
    m_pHeaderCopy = bitmap;
    BuildHeader(*bitmap);
    auto* const pixels = reinterpret_cast<std::byte*>(bitmap + 1);
    m_Stride = -static_cast<LONG>(rowBytes);
    m_pBits = pixels + rowBytes * (std::ptrdiff_t{m_Height} - 1) - std::ptrdiff_t{m_Frame.left} * m_BytesPerPixel -
              std::ptrdiff_t{m_Frame.top} * m_Stride;
    BuildInfo();
    if (m_BytesPerPixel != 4) return false; // nothing converts into floats

    void* pointer = nullptr;
    if (FAILED(m_pSurface->LockSurface(&m_SurfaceBounds, 0, DXLOCKF_READ, &IDXARGBReadPtr::iid, &pointer, nullptr)) ||
        !pointer)
        return false;
    m_pRead = static_cast<IDXARGBReadPtr*>(pointer);
    for (LONG y = m_Frame.top; y < m_Frame.bottom; ++y) {
        m_pRead->MoveToXY(0, static_cast<ULONG>(y - m_Frame.top));
        m_pRead->UnpackPremult(reinterpret_cast<DWORD*>(KwPixelAddress(View(), m_Frame.left, y, 4)),
                               static_cast<ULONG>(m_Width), FALSE);
    }
    return true;
}

void CKwSurface::BuildInfo() {
    m_Info = {};
    m_Info.size = sizeof(tViewInfo);
    m_Info.minusOne = -1;
    m_Info.afterAspect = m_SurfaceInfo.frameRate;
    m_Info.pixelAspect = m_SurfaceInfo.pixelAspect > 0.0 ? m_SurfaceInfo.pixelAspect : 1.0;
}

void CKwSurface::BuildHeader(tBitmapHeader& header) const {
    header = {};
    header.size = 40;
    header.width = m_Width;
    header.height = m_Height;
    header.planes = 1;
    header.bitCount = static_cast<WORD>(m_BytesPerPixel * 8);
    header.compression = m_BytesPerPixel == 16 ? kCompressionFloat : 0;
    header.imageSize = static_cast<DWORD>(RowBytes(header.bitCount, m_Width) * m_Height);
}

void CKwSurface::Unlock() {
    if (m_OwnFlags & 1) {
        std::free(m_pHeaderCopy);
        m_pHeaderCopy = nullptr;
        m_OwnFlags &= ~1u;
    }
    ReleaseAndClear(m_pRead);
    ReleaseAndClear(m_pReadWrite);
    ReleaseAndClear(m_pFloatRead);
    ReleaseAndClear(m_pFloatReadWrite);
    m_Unlocked = TRUE;
}
