#include "kernels/glyph_blend.h"

#include <cmath>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/unaligned.h"

namespace {

constexpr LONG kChunk = 256; ///< pixels that are worked on at a time, on the stack

/// Shares of the source pixel at the same place, its left, upper and upper left neighbours.
struct tWeights {
    std::uint32_t same, left, upper, upperLeft;
};

constexpr std::uint32_t Weight(LONG x, LONG y) {
    return static_cast<std::uint32_t>(std::min<LONG>(x * y / 255, 255));
}

/// weight * coverage * 4 / 255 without its fraction, exact for products below 65535.
inline std::uint32_t Share(std::uint32_t weight, std::uint32_t coverage) {
    const std::uint32_t product = weight * (coverage < 64 ? coverage : 64) * 4;
    return (product + 1 + (product >> 8)) >> 8;
}

KWINLINE inline void Cover(std::uint8_t* out, const std::uint8_t* row, const std::uint8_t* above, LONG count,
                           tWeights weights) {
    for (LONG i = 0; i < count; ++i) {
        const std::uint32_t sum = Share(weights.same, row[i]) + Share(weights.left, row[i - 1]) +
                                  Share(weights.upper, above[i]) + Share(weights.upperLeft, above[i - 1]);
        out[i] = static_cast<std::uint8_t>(sum < 255 ? sum : 255);
    }
}
constexpr CKwBodies kCover(KwClones<Cover>);

KWINLINE inline void Strengthen(tAnyWord* pixels, std::uint8_t* levels, LONG count, DWORD flip) {
    std::uint8_t present[kChunk * 4];
    tAnyWord* const words = reinterpret_cast<tAnyWord*>(present);
    for (LONG i = 0; i < count; ++i) words[i] = pixels[i] ^ flip;
    for (LONG i = 0; i < count * 4; ++i) present[i] = present[i] > levels[i] ? present[i] : levels[i];
    for (LONG i = 0; i < count; ++i) pixels[i] = words[i] ^ flip;
}
constexpr CKwBodies kStrengthen(KwClones<Strengthen>);

} // namespace

tGlyphColors::tGlyphColors(const tPixel8& ground, const tPixel8& glyph) : flip(0) {
    const std::uint8_t from[] = {ground.b, ground.g, ground.r, ground.a}, to[] = {glyph.b, glyph.g, glyph.r, glyph.a};
    for (int c = 0; c < 4; ++c)
        if (!(from[c] < to[c])) flip |= 0xFFu << (8 * c);
    for (int a = 0; a < 256; ++a) {
        levels[a] = flip;
        for (int c = 0; c < 4; ++c) levels[a] ^= static_cast<DWORD>(from[c] + (to[c] - from[c]) * a / 255) << (8 * c);
    }
}

void KwDrawGlyph(const tRows& picture, const tGlyphBox& glyph, float x, float y, const tGlyphColors& colors) {
    const float wholeX = std::floor(x), wholeY = std::floor(y);
    const LONG fx = KwTrunc((x - wholeX) * 257), fy = KwTrunc((y - wholeY) * 257);
    const std::int64_t left = KwTrunc(wholeX), top = KwTrunc(wholeY);
    const tWeights weights{Weight(257 - fx, 257 - fy), Weight(fx, 257 - fy), Weight(257 - fx, fy), Weight(fx, fy)};

    // A glyph between pixels reaches one pixel further.
    const std::int64_t firstX = std::max<std::int64_t>(0, -left), firstY = std::max<std::int64_t>(0, -top);
    const std::int64_t endX = std::min<std::int64_t>(glyph.width + (fx != 0), picture.width - left);
    const std::int64_t endY = std::min<std::int64_t>(glyph.height + (fy != 0), picture.height - top);
    for (std::int64_t j = firstY; j < endY; ++j) {
        const std::uint8_t* const row = glyph.coverage + glyph.stride * static_cast<std::ptrdiff_t>(j);
        for (std::int64_t i = firstX; i < endX; i += kChunk) {
            const LONG count = static_cast<LONG>(std::min<std::int64_t>(kChunk, endX - i));
            std::uint8_t covers[kChunk];
            DWORD levels[kChunk];
            kCover(covers, row + i, row + i - glyph.stride, count, weights);
            for (LONG k = 0; k < count; ++k) levels[k] = colors.levels[covers[k]];
            kStrengthen(KwWordRow(picture, static_cast<LONG>(top + j)) + (left + i),
                        reinterpret_cast<std::uint8_t*>(levels), count, colors.flip);
        }
    }
}
