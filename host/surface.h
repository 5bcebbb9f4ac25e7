// Pictures in plain memory as the module's effects take them.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/com_ptr.h"
#include "platform/effect.h"

#pragma GCC visibility push(default)
namespace larkmoor {

enum class PixelFormat {
    Argb32,              ///< bytes blue, green, red, alpha; colour straight
    PremultipliedArgb32, ///< bytes blue, green, red, alpha; colour premultiplied
    Float128,            ///< floats blue, green, red, alpha, 1.0 full scale; colour premultiplied
};

/// 4 or 16.
int bytesPerPixel(PixelFormat format);

/// Pixel memory that someone owns: `data` is the pixel at the top left.
struct ImageView {
    std::byte* data = nullptr;
    int width = 0, height = 0;
    std::ptrdiff_t stride = 0; ///< bytes to the next row down; may be negative
    PixelFormat format = PixelFormat::PremultipliedArgb32;
};

/// A counted handle to one software surface. Copies share the surface.
///
/// Locks: any number of read locks, and write locks of any rectangles, may be out at once (bands write disjoint
/// rows); the surface does not arbitrate. Memory stays alive until the last handle, lock and effect has let go.
class Surface {
  public:
    Surface() = default;

    /// A surface with zeroed memory of its own, rows aligned to 64 bytes, bounds starting at (left, top).
    /// Throws Error when the sizes are not positive or memory is short.
    static Surface create(PixelFormat format, int width, int height, int left = 0, int top = 0);

    /// A surface on memory of someone else, which has to outlive it (or is kept by `owner`). Nothing is copied.
    /// Rows start at multiples of 4 bytes and do not overlap; throws Error otherwise.
    static Surface wrap(const ImageView& memory, int left = 0, int top = 0, std::shared_ptr<void> owner = {});

    ImageView view() const;
    RECT bounds() const;

    /// What the surface answers through `IKwSurfaceInfo`; by default aspect 1, rate 0, time 0.
    tSurfaceInfo info() const;
    void setInfo(const tSurfaceInfo& info);

    /// Zeroes every pixel.
    void clear();

    /// Says that the pixels were changed from outside, so that effects see a new generation.
    void touch();

    IDXSurface* get() const { return m_surface.Get(); }
    explicit operator bool() const { return static_cast<bool>(m_surface); }

  private:
    explicit Surface(CComPtr<IDXSurface> surface) : m_surface(std::move(surface)) {}
    CComPtr<IDXSurface> m_surface;
};

} // namespace larkmoor
#pragma GCC visibility pop
