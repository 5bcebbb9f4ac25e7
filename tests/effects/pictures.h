// Pictures for tests of single effects, rendered through the module as any host does.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "kernels/view.h"
#include "module.h"

namespace effect_test {

using larkmoor::Effect;
using larkmoor::EffectInfo;
using larkmoor::Module;
using larkmoor::module;
using larkmoor::PixelFormat;
using larkmoor::Surface;

constexpr PixelFormat kBytes = PixelFormat::PremultipliedArgb32, kFloats = PixelFormat::Float128;

/// Random premultiplied content; most pixels are opaque.
inline Surface Random(PixelFormat format, int width, int height, unsigned seed) {
    Surface surface = Surface::create(format, width, height);
    const larkmoor::ImageView view = surface.view();
    std::minstd_rand random(seed + 1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const auto a = random() % 3 ? 255 : random() % 256;
            const decltype(a) bgra[4] = {random() % (a + 1), random() % (a + 1), random() % (a + 1), a};
            std::byte* const row = view.data + y * view.stride;
            for (int c = 0; c < 4; ++c)
                if (format == kFloats)
                    reinterpret_cast<float*>(row)[x * 4 + c] = static_cast<float>(bgra[c]) / 255.0f;
                else
                    row[x * 4 + c] = static_cast<std::byte>(bgra[c]);
        }
    return surface;
}

/// The surface's memory as kernels take it; `frame` has to outlive the view.
inline tView ViewOf(const Surface& surface, const RECT& frame, const RECT* clip = nullptr) {
    const larkmoor::ImageView view = surface.view();
    return {view.data, &frame, static_cast<LONG>(view.stride), clip};
}

inline tPixel8 PixelAt(const Surface& surface, int x, int y) {
    tPixel8 pixel;
    std::memcpy(&pixel, surface.view().data + y * surface.view().stride + x * 4, 4);
    return pixel;
}

inline std::vector<std::byte> PixelsOf(const Surface& surface) {
    const larkmoor::ImageView view = surface.view();
    const int row = view.width * larkmoor::bytesPerPixel(view.format);
    std::vector<std::byte> pixels;
    for (int y = 0; y < view.height; ++y)
        pixels.insert(pixels.end(), view.data + y * view.stride, view.data + y * view.stride + row);
    return pixels;
}

inline Surface CopyOf(const Surface& surface) {
    const larkmoor::ImageView from = surface.view();
    Surface copy = Surface::create(from.format, from.width, from.height);
    const larkmoor::ImageView to = copy.view();
    for (int y = 0; y < from.height; ++y)
        std::memcpy(to.data + y * to.stride, from.data + y * from.stride,
                    static_cast<std::size_t>(from.width * larkmoor::bytesPerPixel(from.format)));
    return copy;
}

template <class Record>
void SetRecord(Effect& effect, const Record& record) {
    effect.setRecord(std::as_bytes(std::span(&record, 1)));
}

template <class Record>
Record RecordOf(std::span<const std::byte> bytes) {
    Record record;
    EXPECT_EQ(sizeof record, bytes.size());
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

} // namespace effect_test
