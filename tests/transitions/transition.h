// One frame of a transition, for tests.
#pragma once

#include "effects/pictures.h"

namespace effect_test {

/// Opaque random content without pure black.
inline Surface Opaque(PixelFormat format, int width, int height, unsigned seed) {
    Surface surface = Random(format, width, height, seed);
    const larkmoor::ImageView view = surface.view();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            std::byte* const row = view.data + y * view.stride;
            if (format == kFloats) {
                float* const pixel = reinterpret_cast<float*>(row) + x * 4;
                pixel[0] = std::max(pixel[0], 1.0f / 255.0f);
                pixel[3] = 1.0f;
            } else {
                row[x * 4] |= std::byte{1};
                row[x * 4 + 3] = std::byte{255};
            }
        }
    return surface;
}

struct tFrameOptions {
    unsigned processors = 1;
    bool blend = false;             ///< over what the output holds
    const RECT* clip = nullptr;     ///< done and placed where it is
    const Surface* under = nullptr; ///< what the output holds; zeros without one
};

inline Surface Transit(const EffectInfo& info, std::span<const std::byte> record, float progress, const Surface& first,
                       const Surface& second, const tFrameOptions& options = {}) {
    Effect effect = module().create(info, options.processors);
    effect.setRecord(record);
    effect.setProgress(progress);
    BlendWithOutput(effect, options.blend);
    const larkmoor::ImageView view = first.view();
    Surface output = options.under ? CopyOf(*options.under) : Surface::create(view.format, view.width, view.height);
    const Surface inputs[] = {first, second};
    const POINT place = options.clip ? POINT{options.clip->left, options.clip->top} : POINT{};
    EXPECT_TRUE(effect.render(inputs, output, options.clip, options.clip ? &place : nullptr));
    return output;
}

template <class Record>
std::span<const std::byte> BytesOf(const Record& record) {
    return std::as_bytes(std::span(&record, 1));
}

/// The pixels of `clip`, zeros elsewhere.
inline Surface Cut(const Surface& surface, const RECT& clip) {
    const larkmoor::ImageView from = surface.view();
    Surface part = Surface::create(from.format, from.width, from.height);
    const int size = larkmoor::bytesPerPixel(from.format);
    for (LONG y = clip.top; y < clip.bottom; ++y)
        std::memcpy(part.view().data + y * part.view().stride + clip.left * size,
                    from.data + y * from.stride + clip.left * size,
                    static_cast<std::size_t>((clip.right - clip.left) * size));
    return part;
}

} // namespace effect_test
