// The vocabulary of row loops over 4-byte pixels: blocks of 8 pixels as bytes, as 16-bit halves for products of bytes,
// and as words 0xAARRGGBB. The plain loop over bytes, which compilers widen to 32 bits, takes three times as long.
// Everything here is inlined into the loop, so that its clones use the widest registers they know.
//
// A block is as wide as the registers that most processors have. GCC 12 carries wider ones through memory whenever they
// change their kind. In narrower registers it cuts sums, products, bits, shifts and limits of a block to their size,
// but takes every other comparison and choice apart number by number, at ten times the cost and more: so there is none
// here.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/bodies.h"

/// The kinds of a block.
template <std::ptrdiff_t kBytes>
struct tBlock {
    using tBytes [[gnu::vector_size(kBytes)]] = std::uint8_t;
    using tHalves [[gnu::vector_size(kBytes)]] = std::uint16_t;
    using tWords [[gnu::vector_size(kBytes)]] = std::uint32_t;
};
inline constexpr std::ptrdiff_t kBlockBytes = 32;
using tBytes = tBlock<kBlockBytes>::tBytes;
using tHalves = tBlock<kBlockBytes>::tHalves;
using tWords = tBlock<kBlockBytes>::tWords;

/// The words of a block of such bytes. What is a template here serves blocks of other sizes too.
template <class Bytes>
using tWordsOf = typename tBlock<sizeof(Bytes)>::tWords;

/// One word in every place.
template <class Bytes = tBytes>
KWINLINE inline tWordsOf<Bytes> KwRepeated(std::uint32_t word) {
    return tWordsOf<Bytes>{} + word;
}
/// One pixel in every place.
KWINLINE inline tBytes KwPixels(std::uint32_t word) {
    return reinterpret_cast<tBytes>(KwRepeated(word));
}

template <class Bytes>
KWINLINE inline Bytes KwSmaller(const Bytes& a, const Bytes& b) {
    return a < b ? a : b;
}

template <class Bytes>
KWINLINE inline Bytes KwGreater(const Bytes& a, const Bytes& b) {
    return a > b ? a : b;
}

KWINLINE inline tBytes KwDistance(const tBytes& a, const tBytes& b) {
    return KwGreater(a, b) - KwSmaller(a, b);
}

/// The sum, limited to 255.
template <class Bytes>
KWINLINE inline Bytes KwSum(const Bytes& a, const Bytes& b) {
    const Bytes room = ~a;
    return a + KwSmaller(b, room);
}

/// The difference, limited to 0.
KWINLINE inline tBytes KwRest(const tBytes& a, const tBytes& b) {
    return a - KwSmaller(b, a);
}

/// `mask`'s bits from `a`, the others from `b`.
template <class Bytes>
KWINLINE inline Bytes KwPick(const tWordsOf<Bytes>& mask, const Bytes& a, const Bytes& b) {
    using tWords = tWordsOf<Bytes>;
    return reinterpret_cast<Bytes>((reinterpret_cast<tWords>(a) & mask) | (reinterpret_cast<tWords>(b) & ~mask));
}

/// The colours of one and the alpha of another.
template <class Bytes>
KWINLINE inline Bytes KwWithAlpha(const Bytes& colors, const Bytes& alpha) {
    return KwPick(KwRepeated<Bytes>(0x00FFFFFF), colors, alpha);
}

/// The low byte of each word in all four bytes of its pixel; the other bytes have to be 0.
template <class Words>
KWINLINE inline auto KwSpread(const Words& levels) {
    const Words pairs = levels | levels << 8;
    return reinterpret_cast<typename tBlock<sizeof(Words)>::tBytes>(pairs | pairs << 16);
}

/// Each pixel's alpha in all of its bytes.
template <class Bytes>
KWINLINE inline Bytes KwAlphas(const Bytes& pixels) {
    return KwSpread(reinterpret_cast<tWordsOf<Bytes>>(pixels) >> 24);
}

KWINLINE inline tBytes KwLimitedToAlpha(const tBytes& pixels) {
    return KwSmaller(pixels, KwAlphas(pixels));
}

/// Red, green and blue together, 0 to 765.
KWINLINE inline tWords KwColorSums(const tBytes& pixels) {
    const tWords w = reinterpret_cast<tWords>(pixels);
    return (w & 255) + (w >> 8 & 255) + (w >> 16 & 255);
}

/// The mean of the three colours in all bytes of its pixel: `KwMean8`.
KWINLINE inline tBytes KwMeans(const tBytes& pixels) {
    return KwSpread(KwColorSums(pixels) * 0xAAABu >> 17);
}

/// Whether every pixel's alpha is 255.
KWINLINE inline bool KwAllOpaque(const tBytes& pixels) {
    using tQuads [[gnu::vector_size(kBlockBytes)]] = std::uint64_t;
    const tQuads set = reinterpret_cast<tQuads>(pixels);
    std::uint64_t common = ~std::uint64_t{0};
    KWUNROLL
    for (int i = 0; i < kBlockBytes / 8; ++i) common &= set[i];
    return (common & 0xFF000000FF000000u) == 0xFF000000FF000000u;
}

/// `body(half)` of every byte, as a half; results are bytes again.
template <class Body>
KWINLINE inline tBytes KwByHalves(const tBytes& v, Body body) {
    const tHalves h = reinterpret_cast<tHalves>(v);
    return reinterpret_cast<tBytes>(body(h & 255) | body(h >> 8) << 8);
}

/// An amount, 0 to 255, for every channel of a pixel: of the bytes at even places, and at odd ones.
struct tAmounts {
    tHalves even, odd;
};

/// @param word the amounts as bytes, in the order of a pixel
KWINLINE inline tAmounts KwAmounts(std::uint32_t word) {
    return {reinterpret_cast<tHalves>(KwRepeated(word & 0x00FF00FF)),
            reinterpret_cast<tHalves>(KwRepeated(word >> 8 & 0x00FF00FF))};
}
/// The same amount for all channels.
KWINLINE inline tAmounts KwAmountOfAll(std::uint8_t amount) {
    return KwAmounts(amount * 0x01010101u);
}
/// Each byte as the amount for the byte at its place.
KWINLINE inline tAmounts KwAmounts(const tBytes& amounts) {
    const tHalves h = reinterpret_cast<tHalves>(amounts);
    return {h & 255, h >> 8};
}
/// Each pixel's alpha as the amount for its channels.
KWINLINE inline tAmounts KwAlphaAmounts(const tBytes& pixels) {
    const tWords alpha = reinterpret_cast<tWords>(pixels) >> 24;
    const tHalves both = reinterpret_cast<tHalves>(alpha | alpha << 16);
    return {both, both};
}

/// `KwBlend8` for each byte, by the size of the difference. One of both ways is 0, and a step never goes beyond the
/// other.
KWINLINE inline tBytes KwBlended(const tBytes& d, const tBytes& s, const tAmounts& a) {
    const tBytes up = KwRest(s, d), down = KwRest(d, s);
    const tHalves size = reinterpret_cast<tHalves>(up | down);
    const tBytes step = reinterpret_cast<tBytes>(((size & 255) * a.even >> 8) | ((size >> 8) * a.odd & 0xFF00));
    return d + KwSmaller(step, up) - KwSmaller(step, down);
}

/// Loads a block, or the bytes of it that there are, with zeros behind them.
template <class Bytes = tBytes>
KWINLINE inline Bytes KwLoad(const std::uint8_t* from, std::ptrdiff_t bytes = sizeof(Bytes)) {
    Bytes block{};
    std::memcpy(&block, from, static_cast<std::size_t>(bytes));
    return block;
}

/// Sets `out` to `rule(blocks of the inputs...)`, whole pixels at a time; `bytes` is a multiple of 4. A rule may take
/// the offset of its block in bytes first. `out` may be one of the inputs, but must not overlap them otherwise. Blocks
/// begin where the target is aligned, which saves a third of the time; what is left at both ends goes through copies.
template <class Bytes = tBytes, class Rule, class... Inputs>
KWINLINE inline void KwForEachBlock(std::uint8_t* out, std::ptrdiff_t bytes, Rule rule, const Inputs*... inputs) {
    constexpr std::ptrdiff_t kBytes = sizeof(Bytes);
    std::ptrdiff_t at = 0;
    const auto part = [&](std::ptrdiff_t size) KWINLINE {
        Bytes result;
        if constexpr (requires { rule(at, KwLoad<Bytes>(inputs)...); })
            result = rule(at, KwLoad<Bytes>(inputs + at, size)...);
        else
            result = rule(KwLoad<Bytes>(inputs + at, size)...);
        std::memcpy(out + at, &result, static_cast<std::size_t>(size));
        at += size;
    };
    const auto head = static_cast<std::ptrdiff_t>(-reinterpret_cast<std::uintptr_t>(out) % kBytes);
    if (head > 0 && head % 4 == 0 && head < bytes) part(head);
    while (bytes - at >= kBytes) part(kBytes);
    if (at < bytes) part(bytes - at);
}
template <class Bytes = tBytes, class Rule>
KWINLINE inline void KwForBlocks(std::uint8_t* out, std::ptrdiff_t bytes, const std::uint8_t* a, Rule rule) {
    KwForEachBlock<Bytes>(out, bytes, rule, a);
}
template <class Rule>
KWINLINE inline void KwForBlocks(std::uint8_t* out, std::ptrdiff_t bytes, const std::uint8_t* a, const std::uint8_t* b,
                                 Rule rule) {
    KwForEachBlock(out, bytes, rule, a, b);
}
