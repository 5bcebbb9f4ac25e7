// Blocks of 16 pixels for the row loops of the 4-byte form: as bytes, as 16-bit halves for products, as 32-bit words.
// The plain loop over bytes, which the compiler widens to 32 bits, takes three times as long. A source file that uses
// them ignores -Wpsabi: blocks are passed between inlined functions alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpsabi"

inline constexpr std::ptrdiff_t kBlockBytes = 64;
using tBytes [[gnu::vector_size(kBlockBytes)]] = std::uint8_t;
using tHalves [[gnu::vector_size(kBlockBytes)]] = std::uint16_t;
using tWords [[gnu::vector_size(kBlockBytes)]] = std::uint32_t;

/// One word in every place.
[[gnu::always_inline]] inline tWords KwRepeated(std::uint32_t word) {
    std::uint32_t words[kBlockBytes / 4];
    for (std::uint32_t& w : words) w = word;
    tWords result;
    std::memcpy(&result, words, sizeof result);
    return result;
}

[[gnu::always_inline]] inline tBytes KwSmaller(const tBytes& a, const tBytes& b) {
    return a < b ? a : b;
}

[[gnu::always_inline]] inline tBytes KwDistance(const tBytes& a, const tBytes& b) {
    return a < b ? b - a : a - b;
}

/// The sum, limited to 255.
[[gnu::always_inline]] inline tBytes KwSum(const tBytes& a, const tBytes& b) {
    const tBytes sum = a + b;
    return sum < a ? tBytes{} - 1 : sum;
}

/// The difference, limited to 0.
[[gnu::always_inline]] inline tBytes KwRest(const tBytes& a, const tBytes& b) {
    return a - KwSmaller(b, a);
}

/// `mask`'s bits from `a`, the others from `b`.
[[gnu::always_inline]] inline tBytes KwPick(const tWords& mask, const tBytes& a, const tBytes& b) {
    return reinterpret_cast<tBytes>((reinterpret_cast<tWords>(a) & mask) | (reinterpret_cast<tWords>(b) & ~mask));
}

/// Each pixel's alpha in all four of its bytes.
[[gnu::always_inline]] inline tBytes KwAlphas(const tBytes& pixels) {
    tWords a = reinterpret_cast<tWords>(pixels) >> 24;
    a |= a << 8;
    return reinterpret_cast<tBytes>(a | a << 16);
}

/// `body(half)` of every byte, as a half; results are bytes again.
template <class Body>
[[gnu::always_inline]] inline tBytes KwByHalves(const tBytes& v, Body body) {
    const tHalves h = reinterpret_cast<tHalves>(v);
    return reinterpret_cast<tBytes>(body(h & 255) | body(h >> 8) << 8);
}

/// An amount for every channel of a pixel.
struct tAmounts {
    tHalves even, odd;
};

/// @param word the amounts as bytes, in the order of a pixel
[[gnu::always_inline]] inline tAmounts KwAmounts(std::uint32_t word) {
    return {reinterpret_cast<tHalves>(KwRepeated(word & 0x00FF00FF)),
            reinterpret_cast<tHalves>(KwRepeated(word >> 8 & 0x00FF00FF))};
}

/// `KwBlend8` for each byte, by the size of the difference.
[[gnu::always_inline]] inline tBytes KwBlended(const tBytes& d, const tBytes& s, const tAmounts& a) {
    const tHalves size = reinterpret_cast<tHalves>(KwDistance(d, s));
    const tBytes step = reinterpret_cast<tBytes>(((size & 255) * a.even >> 8) | ((size >> 8) * a.odd & 0xFF00));
    return d < s ? d + step : d - step;
}

/// Sets `out` to `rule(a, b)`, whole pixels at a time; `bytes` is a multiple of 4, and `out` may be `a` or `b`. Blocks
/// begin where the target is aligned, which saves a third of the time; what is left at both ends goes through copies.
template <class Rule>
[[gnu::always_inline]] inline void KwForBlocks(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b,
                                               std::ptrdiff_t bytes, Rule rule) {
    const auto part = [&](std::ptrdiff_t size) __attribute__((always_inline)) {
        tBytes x{}, y{};
        std::memcpy(&x, a, static_cast<std::size_t>(size));
        std::memcpy(&y, b, static_cast<std::size_t>(size));
        const tBytes result = rule(x, y);
        std::memcpy(out, &result, static_cast<std::size_t>(size));
        out += size;
        a += size;
        b += size;
        bytes -= size;
    };
    const auto head = static_cast<std::ptrdiff_t>(-reinterpret_cast<std::uintptr_t>(out) % kBlockBytes);
    if (head > 0 && head % 4 == 0 && head < bytes) part(head);
    while (bytes >= kBlockBytes) part(kBlockBytes);
    if (bytes > 0) part(bytes);
}

#pragma GCC diagnostic pop
