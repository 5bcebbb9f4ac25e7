// A host surface as plain memory.
#pragma once

#include "kernels/view.h"
#include "platform/com_ptr.h"
#include "platform/effect.h"

/// A bitmap header with the room for colours that its users expect behind it.
struct tBitmapHeader {
    DWORD size;
    LONG width, height;
    WORD planes, bitCount;
    DWORD compression, imageSize;
    LONG xPelsPerMeter, yPelsPerMeter;
    DWORD colorsUsed, colorsImportant;
    DWORD colors[256];
};
static_assert(sizeof(tBitmapHeader) == 40 + 256 * 4);

/// Facts about a view, for routines that take one block: size 64, -1, 0, 0, frame rate, pixel aspect, then zeros.
struct tViewInfo {
    LONG size;
    LONG minusOne;
    LONG zero[2];
    double afterAspect; ///< the first 8 bytes behind the aspect in the surface's information
    double pixelAspect;
    LONG rest[8];
};
static_assert(sizeof(tViewInfo) == 64);

/// A view of one surface: lives on the stack of a work routine, is locked at its top and unlocked by its destructor.
///
/// After a lock, pixel (x, y) in surface coordinates stands at `m_pBits` + y * `m_Stride` + x * `m_BytesPerPixel`,
/// wherever the surface's bounds begin and whatever part of it was mapped. A read lock maps the whole surface; a write
/// lock with bounds only those bounds. Assignment copies the bytes: the copy shares the locks and must not be unlocked
/// (call `SetAutoUnlock(FALSE)` on it).
class CKwSurface {
  public:
    CKwSurface() = default;
    CKwSurface(const CKwSurface&) = delete;
    KWEXPORT ~CKwSurface();
    KWEXPORT CKwSurface& operator=(const CKwSurface& other);

    /// Locks for reading, or for writing where `forWrite` is 1, as pixels of the class of `formatId`: both 32-bit ARGB
    /// formats are one class of 4-byte pixels with no conversion between them, the float format is the 16-byte class.
    /// A surface of any other format can be viewed as 4-byte pixels through a premultiplied private copy, which is not
    /// carried back. Returns nonzero on success.
    KWEXPORT BOOL Lock(IDXSurface* surface, const GUID* formatId, BOOL forWrite);
    /// As above, with the bounds that clip the view.
    KWEXPORT BOOL Lock(IDXSurface* surface, const GUID* formatId, BOOL forWrite, const DXBNDS* bounds);
    KWEXPORT void Unlock();
    void SetAutoUnlock(BOOL on) { m_AutoUnlock = on; }

    /// Width over height of a pixel; 1.0 where the surface says nothing sensible.
    KWEXPORT double GetPixelAspect() const;

    /// The view for kernels, clipped to the bounds given to `Lock`.
    tView View() const { return {m_pBits, &m_Frame, m_Stride, &m_ClipRect}; }
    /// The view of the whole frame.
    tView WholeView() const { return {m_pBits, &m_Frame, m_Stride, nullptr}; }

    tBitmapHeader m_Header{};
    tViewInfo m_Info{};
    IDXSurface* m_pSurface = nullptr; ///< not owned
    IDXARGBReadPtr* m_pRead = nullptr;
    IDXARGBReadWritePtr* m_pReadWrite = nullptr;
    IDXARGBReadPtr* m_pFloatRead = nullptr;
    IDXARGBReadWritePtr* m_pFloatReadWrite = nullptr;
    BOOL m_Unlocked = TRUE;
    BOOL m_AutoUnlock = TRUE;
    BOOL m_HasClip = FALSE;
    std::byte* m_pBits = nullptr;
    RECT m_Frame{};
    DXBNDS m_SurfaceBounds{};
    LONG m_Width = 0, m_Height = 0;
    RECT m_ClipRect{};
    DXBNDS m_ClipBounds{};
    DWORD m_OwnFlags = 0; ///< bit 0: `m_pHeaderCopy` is a private bitmap
    LONG m_BytesPerPixel = 0;
    tSurfaceInfo m_SurfaceInfo{};
    tBitmapHeader* m_pHeaderCopy = nullptr;
    LONG m_Stride = 0;

  private:
    bool LockDirect(bool forWrite);
    bool LockCopy();
    void BuildInfo();
    void BuildHeader(tBitmapHeader& header) const;
};

/// The format that a work routine can rely on: float for a float surface, premultiplied ARGB for everything else.
/// Returns the status of `GetPixelFormat`.
HRESULT ChooseWorkFormat(IDXSurface* surface, GUID* formatOut);

/// The X and Y of discrete bounds; all zero for other types.
RECT KwRectOf(const DXBNDS& bounds);
