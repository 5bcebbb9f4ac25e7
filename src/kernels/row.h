// The vocabulary of row loops over 4-byte pixels: blocks of pixels as bytes, as 16-bit halves for products of bytes,
// and as words 0xAARRGGBB. The plain loop over bytes, which compilers widen to 32 bits, takes three times as long.
// Everything here is inlined into the loop.
//
// A block is best as wide as the registers of the level that a loop is compiled for: see `KwWidths`. GCC 12 carries
// wider ones through memory whenever they change their kind, and takes every comparison and choice but limits apart
// number by number, at ten times the cost and more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/bodies.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// The kinds of a block.
template <std::ptrdiff_t kBytes>
struct tBlock {
    using tBytes [[gnu::vector_size(kBytes)]] = std::uint8_t;
    using tHalves [[gnu::vector_size(kBytes)]] = std::uint16_t;
    using tWords [[gnu::vector_size(kBytes)]] = std::uint32_t;
    using tQuads [[gnu::vector_size(kBytes)]] = std::uint64_t;
    using tShorts [[gnu::vector_size(kBytes)]] = std::int16_t;
    using tWholes [[gnu::vector_size(kBytes)]] = std::int32_t;
    using tFloats [[gnu::vector_size(kBytes)]] = float;
};
/// Blocks for SSE2, AVX2 and AVX-512, which are `KwWidths`' three.
using tNarrow = tBlock<16>::tBytes;
using tMiddle = tBlock<32>::tBytes;
using tWide = tBlock<64>::tBytes;

inline constexpr std::ptrdiff_t kBlockBytes = 32;
using tBytes = tBlock<kBlockBytes>::tBytes;
using tHalves = tBlock<kBlockBytes>::tHalves;
using tWords = tBlock<kBlockBytes>::tWords;

/// The kinds of a block of such bytes.
template <class Bytes>
using tHalvesOf = typename tBlock<sizeof(Bytes)>::tHalves;
template <class Bytes>
using tWordsOf = typename tBlock<sizeof(Bytes)>::tWords;

template <class Bytes>
using tFloatsOf = typename tBlock<sizeof(Bytes)>::tFloats;

/// Whether any bit is set.
template <class Vector>
KWINLINE inline bool KwIsAny(const Vector& tested) {
    tBlock<16>::tQuads any{};
    for (std::size_t i = 0; i < sizeof tested; i += sizeof any) { // halves of a vector cost less than its words
        tBlock<16>::tQuads part;
        std::memcpy(&part, reinterpret_cast<const std::uint8_t*>(&tested) + i, sizeof part);
        any |= part;
    }
    return (any[0] | any[1]) != 0;
}

/// One word in every place.
template <class Bytes = tBytes>
KWINLINE inline tWordsOf<Bytes> KwRepeated(std::uint32_t word) {
    tWordsOf<Bytes> words; // `{} + word` would become one masked broadcast after another with GCC 12
    for (std::size_t i = 0; i < sizeof words / sizeof word; ++i) words[i] = word;
    return words;
}
/// One pixel in every place.
template <class Bytes = tBytes>
KWINLINE inline Bytes KwPixels(std::uint32_t word) {
    return reinterpret_cast<Bytes>(KwRepeated<Bytes>(word));
}

template <class Bytes>
KWINLINE inline Bytes KwSmaller(const Bytes& a, const Bytes& b) {
    return a < b ? a : b;
}

template <class Bytes>
KWINLINE inline Bytes KwGreater(const Bytes& a, const Bytes& b) {
    return a > b ? a : b;
}

template <class Bytes>
KWINLINE inline Bytes KwDistance(const Bytes& a, const Bytes& b) {
    return KwGreater(a, b) - KwSmaller(a, b);
}

// What SSE2 has an instruction for, and compilers find only with later ones or not at all.
#if defined(__SSE2__)
template <class Block>
inline constexpr bool kHasSse2 = sizeof(Block) == sizeof(tNarrow);
template <class Block>
KWINLINE inline __m128i KwSse2(const Block& block) {
    return reinterpret_cast<__m128i>(block);
}
/// The upper halves of products of 16 bits.
template <class Halves>
KWINLINE inline Halves KwUpper(const Halves& a, const Halves& b) {
    return reinterpret_cast<Halves>(_mm_mulhi_epu16(KwSse2(a), KwSse2(b)));
}
/// The sums of each word's two products of halves, which are numbers with a sign.
template <class Halves>
KWINLINE inline auto KwPairSums(const Halves& a, const Halves& b) {
    return reinterpret_cast<typename tBlock<sizeof(Halves)>::tWords>(_mm_madd_epi16(KwSse2(a), KwSse2(b)));
}
/// The halves at `kPlace`, 0 or 1, of words, which are bytes, in all four bytes of their pixels.
template <int kPlace, class Halves>
KWINLINE inline auto KwSpreadHalves(const Halves& halves) {
    constexpr int k = kPlace;
    const Halves twice = reinterpret_cast<Halves>(_mm_mullo_epi16(KwSse2(halves), _mm_set1_epi16(0x0101)));
    return reinterpret_cast<typename tBlock<sizeof(Halves)>::tBytes>(
        __builtin_shufflevector(twice, twice, k, k, k + 2, k + 2, k + 4, k + 4, k + 6, k + 6));
}
#endif

/// The sum, limited to 255.
template <class Bytes>
KWINLINE inline Bytes KwSum(const Bytes& a, const Bytes& b) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>) return reinterpret_cast<Bytes>(_mm_adds_epu8(KwSse2(a), KwSse2(b)));
#endif
    const Bytes room = ~b; // the second often stays from block to block
    return KwSmaller(a, room) + b;
}

/// The difference, limited to 0.
template <class Bytes>
KWINLINE inline Bytes KwRest(const Bytes& a, const Bytes& b) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>) return reinterpret_cast<Bytes>(_mm_subs_epu8(KwSse2(a), KwSse2(b)));
#endif
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
    using tOf = tBlock<sizeof(Words)>;
#if defined(__SSE2__)
    if constexpr (kHasSse2<Words>)
        return KwSpreadHalves<0>(reinterpret_cast<typename tOf::tHalves>(levels));
    else
#endif
    {
        const Words pairs = levels | levels << 8;
        return reinterpret_cast<typename tOf::tBytes>(pairs | pairs << 16);
    }
}

/// Each pixel's alpha in all of its bytes.
template <class Bytes>
KWINLINE inline Bytes KwAlphas(const Bytes& pixels) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>) return KwSpreadHalves<1>(reinterpret_cast<tHalvesOf<Bytes>>(pixels) >> 8);
#endif
    return KwSpread(reinterpret_cast<tWordsOf<Bytes>>(pixels) >> 24);
}

template <class Bytes>
KWINLINE inline Bytes KwLimitedToAlpha(const Bytes& pixels) {
    return KwSmaller(pixels, KwAlphas(pixels));
}

#if defined(__SSE2__)
/// The colours of each pixel together, times a factor, by the bytes at even places and those at odd ones.
template <int kFactor, class Halves>
KWINLINE inline auto KwWeighedSums(const Halves& even, const Halves& odd) {
    using tBytes = typename tBlock<sizeof(Halves)>::tBytes;
    return KwPairSums(even, reinterpret_cast<Halves>(KwRepeated<tBytes>(kFactor * 0x00010001))) +
           KwPairSums(odd, reinterpret_cast<Halves>(KwRepeated<tBytes>(kFactor)));
}
#endif

/// Red, green and blue together, 0 to 765, times 1 or, in SSE2 alone, another factor.
template <int kFactor = 1, class Bytes>
KWINLINE inline tWordsOf<Bytes> KwColorSums(const Bytes& pixels) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>) {
        const auto h = reinterpret_cast<tHalvesOf<Bytes>>(pixels);
        return KwWeighedSums<kFactor, tHalvesOf<Bytes>>(h & 255, h >> 8);
    }
#endif
    const auto w = reinterpret_cast<tWordsOf<Bytes>>(pixels);
    return (w & 255) + (w >> 8 & 255) + (w >> 16 & 255);
}

/// Of a number up to 765 whose product with it has a third, truncated, above 16 bits.
inline constexpr int kThirdOfSum = 21846;

/// A third of each word, truncated; words are 0 to 765. SSE2 has products of 16 bits only.
template <class Words>
KWINLINE inline Words KwThirds(const Words& words) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Words>) return KwUpper(words, Words{} + kThirdOfSum);
#endif
    return words * kThirdOfSum >> 16;
}

/// The mean of the three colours in all bytes of its pixel: `KwMean8`.
template <class Bytes>
KWINLINE inline Bytes KwMeans(const Bytes& pixels) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>)
        return KwSpreadHalves<1>(reinterpret_cast<tHalvesOf<Bytes>>(KwColorSums<kThirdOfSum>(pixels)));
#endif
    return KwSpread(KwThirds(KwColorSums(pixels)));
}

/// The mean of the colours of two pixels in all bytes.
template <class Bytes>
KWINLINE inline Bytes KwMeansOfTwo(const Bytes& x, const Bytes& y) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>) {
        using tHalves = tHalvesOf<Bytes>;
        const auto a = reinterpret_cast<tHalves>(x), b = reinterpret_cast<tHalves>(y);
        return KwSpreadHalves<1>(reinterpret_cast<tHalves>(
            KwWeighedSums<kThirdOfSum / 2, tHalves>((a & 255) + (b & 255), (a >> 8) + (b >> 8))));
    }
#endif
    return KwSpread(KwThirds((KwColorSums(x) + KwColorSums(y)) >> 1));
}

/// The mean, limited to alpha, in all bytes of its pixel.
template <class Bytes>
KWINLINE inline Bytes KwGreys(const Bytes& pixels) {
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>) {
        const auto mean = reinterpret_cast<Bytes>(KwColorSums<kThirdOfSum>(pixels));
        const auto alpha = reinterpret_cast<Bytes>(reinterpret_cast<tHalvesOf<Bytes>>(pixels) >> 8);
        return KwSpreadHalves<1>(reinterpret_cast<tHalvesOf<Bytes>>(KwSmaller(mean, alpha)));
    }
#endif
    const auto alpha = reinterpret_cast<tWordsOf<Bytes>>(pixels) >> 24, mean = KwThirds(KwColorSums(pixels));
    return KwSpread(
        reinterpret_cast<tWordsOf<Bytes>>(KwSmaller(reinterpret_cast<Bytes>(mean), reinterpret_cast<Bytes>(alpha))));
}

/// Whether every pixel's alpha is 255.
template <class Bytes>
KWINLINE inline bool KwAllOpaque(const Bytes& pixels) {
    if constexpr (sizeof(Bytes) > sizeof(tNarrow)) {
        typename tBlock<sizeof(Bytes) / 2>::tBytes halves[2];
        std::memcpy(halves, &pixels, sizeof pixels);
        return KwAllOpaque(halves[0] & halves[1]);
    } else {
        const auto set = reinterpret_cast<typename tBlock<sizeof(Bytes)>::tQuads>(pixels);
        return (set[0] & set[1] & 0xFF000000FF000000u) == 0xFF000000FF000000u;
    }
}

/// `body(half)` of every byte, as a half; results are bytes again.
template <class Bytes, class Body>
KWINLINE inline Bytes KwByHalves(const Bytes& v, Body body) {
    const auto h = reinterpret_cast<tHalvesOf<Bytes>>(v);
    return reinterpret_cast<Bytes>(body(h & 255) | body(h >> 8) << 8);
}

/// An amount, 0 to 255, for every channel of a pixel: of the bytes at even places, and at odd ones.
template <class Bytes>
struct tAmounts {
    tHalvesOf<Bytes> even, odd;
};

/// @param word the amounts as bytes, in the order of a pixel
template <class Bytes>
KWINLINE inline tAmounts<Bytes> KwAmounts(std::uint32_t word) {
    return {reinterpret_cast<tHalvesOf<Bytes>>(KwRepeated<Bytes>(word & 0x00FF00FF)),
            reinterpret_cast<tHalvesOf<Bytes>>(KwRepeated<Bytes>(word >> 8 & 0x00FF00FF))};
}
/// The same amount for all channels.
template <class Bytes>
KWINLINE inline tAmounts<Bytes> KwAmountOfAll(std::uint8_t amount) {
    return KwAmounts<Bytes>(amount * 0x01010101u);
}
/// Each byte as the amount for the byte at its place.
template <class Bytes>
KWINLINE inline tAmounts<Bytes> KwByteAmounts(const Bytes& amounts) {
    const auto h = reinterpret_cast<tHalvesOf<Bytes>>(amounts);
    return {h & 255, h >> 8};
}
/// Each pixel's alpha as the amount for its channels.
template <class Bytes>
KWINLINE inline tAmounts<Bytes> KwAlphaAmounts(const Bytes& pixels) {
    const auto alpha = reinterpret_cast<tWordsOf<Bytes>>(pixels) >> 24;
    const auto both = reinterpret_cast<tHalvesOf<Bytes>>(alpha | alpha << 16);
    return {both, both};
}

/// v * share >> kBits in 16 bits, for shares up to 1 << kBits and v below that, whose product with the share's part
/// above 7 bits has to have no more than 16.
template <int kBits>
struct tShare {
    explicit tShare(std::int32_t share)
        : whole(static_cast<std::uint16_t>(share)), high(static_cast<std::uint16_t>(share >> 7)),
          low(static_cast<std::uint16_t>(share & 127)) {}
    template <class Halves>
    KWINLINE Halves Of(const Halves& v) const {
#if defined(__SSE2__)
        if constexpr (kHasSse2<Halves>) return KwUpper<Halves>(v << (16 - kBits), Halves{} + whole);
#endif
        return (v * high + (v * low >> 7)) >> (kBits - 7);
    }
    std::uint16_t whole, high, low;
};

/// An amount for alpha, and 0 for the colours.
template <class Bytes>
struct tAlphaAmount {
    explicit KWINLINE tAlphaAmount(std::uint32_t amount)
        : odd(reinterpret_cast<tHalvesOf<Bytes>>(KwRepeated<Bytes>(amount << 16))) {}
    tHalvesOf<Bytes> odd;
};

/// value * amount / 256 for each byte.
template <class Bytes>
KWINLINE inline Bytes KwProducts(const Bytes& values, const tAmounts<Bytes>& a) {
    const auto v = reinterpret_cast<tHalvesOf<Bytes>>(values);
#if defined(__SSE2__)
    if constexpr (kHasSse2<Bytes>)
        return reinterpret_cast<Bytes>(KwUpper<tHalvesOf<Bytes>>(v << 8, a.even) | ((v >> 8) * a.odd & 0xFF00));
#endif
    return reinterpret_cast<Bytes>(((v & 255) * a.even >> 8) | ((v >> 8) * a.odd & 0xFF00));
}

template <class Bytes>
KWINLINE inline Bytes KwProducts(const Bytes& values, const tAlphaAmount<Bytes>& a) {
    return reinterpret_cast<Bytes>((reinterpret_cast<tHalvesOf<Bytes>>(values) >> 8) * a.odd & 0xFF00);
}

/// `KwBlend8` for each byte, by the size of the difference. One of both ways is 0, and a step never goes beyond the
/// other.
template <class Bytes, class Amounts>
KWINLINE inline Bytes KwBlended(const Bytes& d, const Bytes& s, const Amounts& a) {
    const Bytes up = KwRest(s, d), down = KwRest(d, s);
    const Bytes step = KwProducts(up | down, a);
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
    const std::ptrdiff_t last = bytes - kBytes;
    while (at <= last) part(kBytes);
    if (at < bytes) part(bytes - at);
}
template <class Bytes = tBytes, class Rule>
KWINLINE inline void KwForBlocks(std::uint8_t* out, std::ptrdiff_t bytes, const std::uint8_t* a, Rule rule) {
    KwForEachBlock<Bytes>(out, bytes, rule, a);
}
template <class Bytes = tBytes, class Rule>
KWINLINE inline void KwForBlocks(std::uint8_t* out, std::ptrdiff_t bytes, const std::uint8_t* a, const std::uint8_t* b,
                                 Rule rule) {
    KwForEachBlock<Bytes>(out, bytes, rule, a, b);
}
