#include "host/surface.h"

#include <cstring>

#include "fmt/format.h"
#include "host/surface_object.h"

namespace larkmoor {
namespace {

// A handle holds nothing but surfaces of this library.
SurfaceObject& objectOf(IDXSurface* surface) {
    if (!surface) throw Error("an empty surface handle has no picture");
    return *static_cast<SurfaceObject*>(surface);
}

} // namespace

Surface Surface::create(PixelFormat format, int width, int height, int left, int top) {
    try {
        return Surface(SurfaceObject::create(format, width, height, left, top).Get());
    } catch (const std::bad_alloc&) {
        throw Error(fmt::format("there is not enough memory for a picture of {} by {} pixels", width, height));
    }
}

Surface Surface::wrap(const ImageView& memory, int left, int top, std::shared_ptr<void> owner) {
    return Surface(makeObject<SurfaceObject>(memory, left, top, std::move(owner)).Get());
}

ImageView Surface::view() const {
    return objectOf(get()).view();
}

RECT Surface::bounds() const {
    return objectOf(get()).bounds();
}

tSurfaceInfo Surface::info() const {
    return objectOf(get()).info();
}

void Surface::setInfo(const tSurfaceInfo& info) {
    objectOf(get()).setInfo(info);
}

void Surface::clear() {
    const ImageView picture = view();
    const std::size_t rowBytes =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(bytesPerPixel(picture.format));
    for (int y = 0; y < picture.height; ++y) std::memset(picture.data + y * picture.stride, 0, rowBytes);
    touch();
}

void Surface::touch() {
    objectOf(get()).touch();
}

} // namespace larkmoor
