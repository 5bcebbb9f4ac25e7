// Pixels between pixels: bilinear samples in 14-bit fixed point, 16384 being one pixel.
#pragma once

#include "kernels/view.h"

/// Weights of the neighbours at column and row offset 0 or 1 (first digit the column), for fractions 0 to 16383. Each
/// is truncated, so their sum may fall short of 16384 by up to 3, and a sample by as much as a level.
struct tBilinear8 {
    std::int32_t w00, w10, w01, w11;

    constexpr tBilinear8(std::int32_t fx, std::int32_t fy)
        : w00((16384 - fy) * (16384 - fx) / 16384), w10((16384 - fy) * fx / 16384), w01((16384 - fx) * fy / 16384),
          w11(fx * fy / 16384) {}
    constexpr std::int32_t operator()(std::int32_t p00, std::int32_t p10, std::int32_t p01, std::int32_t p11) const {
        return (w11 * p11 + w01 * p01 + w10 * p10 + w00 * p00) >> 14;
    }
};

/// The same for floats: the weight of the far corner stays a double, the others are floats.
struct tBilinearF {
    float w00, w10, w01;
    double w11;

    constexpr tBilinearF(std::int32_t fx, std::int32_t fy) {
        const double a = fx * 0.00006103515625, b = fy * 0.00006103515625;
        w11 = a * b;
        w01 = static_cast<float>((1.0 - a) * b);
        w10 = static_cast<float>((1.0 - b) * a);
        w00 = static_cast<float>((1.0 - a) * (1.0 - b));
    }
    constexpr float operator()(float p00, float p10, float p01, float p11) const {
        return static_cast<float>(w11 * p11 + w01 * p01 + w10 * p10 + w00 * p00);
    }
};
