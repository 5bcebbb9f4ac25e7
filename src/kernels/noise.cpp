#include "kernels/noise.h"

#include <bit>
#include <cmath>
#include <functional>
#include <numeric>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/copy.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

void CKwR250::Seed(std::uint32_t seed) {
    // A linear congruence of 31 bits, of which 15 are taken: the same grain for the same seed everywhere.
    std::uint32_t state = seed;
    const auto rand15 = [&state] {
        state = state * 214013u + 2531011u;
        return state >> 16 & 0x7FFF;
    };
    for (std::size_t i = kWords; i-- > 0;) {
        const std::uint32_t high = rand15(), middle = rand15(), low = rand15();
        m_words[i] = low + 4 * ((high << 15) + middle);
    }
    // One word for each bit keeps the columns of the register independent.
    for (std::uint32_t k = 0; k < 32; ++k) {
        std::uint32_t& word = m_words[3 + 7 * k];
        word = (word & (0xFFFFFFFFu >> k)) | (0x80000000u >> k);
    }
    m_at = kWords;
}

void CKwR250::Refill() {
    for (std::size_t i = 0; i < kWords - kTap; ++i) m_words[i] ^= m_words[i + kTap];
    for (std::size_t i = kWords - kTap; i < kWords; ++i) m_words[i] ^= m_words[i + kTap - kWords];
    m_at = 0;
}

void CKwR250::Fill(std::uint32_t* out, std::ptrdiff_t count) {
    while (count > 0) {
        if (m_at == kWords) Refill();
        const auto part = std::min<std::ptrdiff_t>(count, static_cast<std::ptrdiff_t>(kWords - m_at));
        std::copy_n(m_words.data() + m_at, part, out);
        m_at += static_cast<std::size_t>(part);
        out += part;
        count -= part;
    }
}

namespace {

/// A coordinate of the polar method: 16 bits brought to -1 to 1.
double Coordinate(std::uint32_t bits) {
    return bits * 0.000030518043793392844 - 1.0;
}

/// The value of an accepted pair. The C library's logarithm, which is much quicker than KwLog, does: where libraries
/// differ, in its last digit, that is 2^-29 of a float's last digit, which rounding hides but for the rarest value.
double Polar(double u, double v) {
    const double s = u * u + v * v;
    return v * std::sqrt(-2.0 * std::log(s) / s);
}

} // namespace

double CKwR250::NextGaussian() {
    for (;;) {
        const double u = Coordinate(Next() & 0xFFFF), v = Coordinate(Next() & 0xFFFF), s = u * u + v * v;
        if (s < 1.0 && s != 0.0) return Polar(u, v);
    }
}

namespace {

constexpr std::ptrdiff_t kBlock = 512; // pixels a step

// Noise values stand three to a pixel in the order they were drawn: red, green, blue.

KWINLINE inline void UniformNoise8(std::int32_t* noise, const std::uint32_t* random, std::ptrdiff_t count,
                                   std::int32_t level) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        // The product wraps to 32 bits and is divided by 16384 towards zero.
        const std::int32_t product =
            static_cast<std::int32_t>((static_cast<std::uint32_t>(static_cast<std::int32_t>(random[i] & 255) - 127)) *
                                      static_cast<std::uint32_t>(level));
        noise[i] = product / 16384;
    }
}
constexpr CKwBodies kUniformNoise8(KwClones<UniformNoise8>);

// Gaussian noise for bytes. A pair is two numbers of 16 bits, and its coordinates are odd multiples of 1 / 65535:
// whether it lies inside the circle shows exactly in whole numbers, since no such pair comes nearer to the circle than
// 2e-10. The values are then computed in single precision; where that leaves open which whole number they truncate to,
// the definition in double precision decides. That is one value in some hundreds.

constexpr std::uint32_t kCircle = 65535u * 65535u;

/// Pairs as u | v << 16, and whether each lies inside.
KWINLINE inline void PackPairs(std::uint32_t* pairs, std::uint32_t* inside, const std::uint32_t* random,
                               std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t u = random[i * 2] & 0xFFFF, v = random[i * 2 + 1] & 0xFFFF;
        const std::uint32_t x = u * 2 - 65535, y = v * 2 - 65535;
        const std::uint32_t square = x * x, sum = square + y * y;
        pairs[i] = u | v << 16;
        inside[i] = (sum >= square) & (sum < kCircle); // a sum below its part has left 32 bits
    }
}
constexpr CKwBodies kPackPairs(KwClones<PackPairs>);

/// Appends the pairs inside and returns their number; may write 16 words beyond the last.
std::ptrdiff_t Append(std::uint32_t* out, const std::uint32_t* pairs, const std::uint32_t* inside,
                      std::ptrdiff_t count) {
    std::ptrdiff_t done = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        out[done] = pairs[i];
        done += inside[i];
    }
    return done;
}

#if defined(__x86_64__)
[[gnu::target("arch=x86-64-v4")]] std::ptrdiff_t AppendWide(std::uint32_t* out, const std::uint32_t* pairs,
                                                            const std::uint32_t* inside, std::ptrdiff_t count) {
    std::ptrdiff_t done = 0;
    for (std::ptrdiff_t i = 0; i < count; i += 16) {
        const auto valid = static_cast<__mmask16>(0xFFFF >> (16 - std::min<std::ptrdiff_t>(16, count - i)));
        const __mmask16 taken = _mm512_cmpneq_epi32_mask(_mm512_maskz_loadu_epi32(valid, inside + i), __m512i{});
        _mm512_storeu_si512(out + done, _mm512_maskz_compress_epi32(taken, _mm512_maskz_loadu_epi32(valid, pairs + i)));
        done += __builtin_popcount(taken);
    }
    return done;
}
constexpr CKwBodies kAppend(Append, tKwBody{eKwLevel::V4, &AppendWide});
#else
constexpr CKwBodies kAppend(Append);
#endif

/// The next `count` accepted pairs; draws none beyond the last of them. `out` has room for 16 more.
void DrawPairs(CKwR250& generator, std::uint32_t* out, std::ptrdiff_t count) {
    alignas(kBlockBytes) std::uint32_t random[kBlock * 2], pairs[kBlock], inside[kBlock];
    while (count > 0) {
        const std::ptrdiff_t part = std::min(kBlock, count);
        generator.Fill(random, part * 2);
        kPackPairs(pairs, inside, random, part);
        const std::ptrdiff_t done = kAppend(out, pairs, inside, part);
        out += done;
        count -= done;
    }
}

/// Minus the logarithm of s, which lies between 0 and 1, with z = 1 - s: the polynomial of the Cephes library on s
/// brought to sqrt(1/2) to sqrt(2).
KWINLINE inline float MinusLog(float s, float z) {
    const std::int32_t bits = std::bit_cast<std::int32_t>(s);
    const std::int32_t exponent = (bits - 0x3F3504F3) >> 23;
    const float scaled = std::bit_cast<float>(bits - exponent * 0x00800000) - 1.0f;
    const float x = exponent == 0 ? -z : scaled; // near 1 the digits are in z
    float p = 7.0376836292e-2f * x - 1.1514610310e-1f;
    p = p * x + 1.1676998740e-1f;
    p = p * x - 1.2420140846e-1f;
    p = p * x + 1.4249322787e-1f;
    p = p * x - 1.6668057665e-1f;
    p = p * x + 2.0000714765e-1f;
    p = p * x - 2.4999993993e-1f;
    p = p * x + 3.3333331174e-1f;
    return 0.5f * x * x - x * x * x * p - x - static_cast<float>(exponent) * 0.69314718f;
}

/// trunc((g - 0.5) * scale) for the value g of each pair, `doubtful` where that may be off.
KWINLINE inline void PolarNoise8(std::int32_t* noise, std::uint32_t* doubtful, const std::uint32_t* pairs,
                                 std::ptrdiff_t count, float scale) {
    constexpr float kUnit = 1.0f / 65535.0f, kUnitSquare = kUnit * kUnit;
    const float reach = std::abs(scale);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t x = (pairs[i] & 0xFFFF) * 2 - 65535, y = (pairs[i] >> 16) * 2 - 65535;
        // The sum is even. What is left of the circle only counts where it is below 2^31.
        const std::uint32_t sum = x * x + y * y;
        const float s = static_cast<float>(static_cast<std::int32_t>(sum >> 1)) * (2.0f * kUnitSquare);
        const float z = static_cast<float>(static_cast<std::int32_t>(kCircle - sum)) * kUnitSquare;
        const float v = static_cast<float>(static_cast<std::int32_t>(y)) * kUnit;
        const float value = (v * std::sqrt(2.0f * MinusLog(s, z) / s) - 0.5f) * scale;
        const std::int32_t whole = static_cast<std::int32_t>(value);
        const float size = std::abs(value), rest = size - static_cast<float>(std::abs(whole));
        const float margin = (size + reach) * 2e-6f; // the largest error found is 2.2e-7
        noise[i] = whole;
        doubtful[i] = (rest < margin && whole != 0) || rest > 1.0f - margin ? 1 : 0;
    }
}
constexpr CKwBodies kPolarNoise8(KwClones<PolarNoise8>);

/// The scale up to which single precision serves; beyond it the definition alone does.
constexpr double kLargestScale = 10000.0;

void GaussianNoise8(std::int32_t* noise, CKwR250& generator, std::ptrdiff_t count, double level) {
    const auto exact = [level](double g) { return KwTrunc((g - 0.5) * level * 255.0); };
    if (KwLevel() == eKwLevel::Plain || !(std::abs(level * 255.0) < kLargestScale)) {
        for (std::ptrdiff_t i = 0; i < count; ++i) noise[i] = exact(generator.NextGaussian());
        return;
    }
    alignas(kBlockBytes) std::uint32_t pairs[kBlock * 3 + 16];
    alignas(kBlockBytes) std::uint32_t doubtful[kBlock * 3 + 16]{};
    DrawPairs(generator, pairs, count);
    kPolarNoise8(noise, doubtful, pairs, count, static_cast<float>(level * 255.0));
    for (std::ptrdiff_t at = 0; at < count; at += 16) {
        if (std::accumulate(doubtful + at, doubtful + at + 16, 0u, std::bit_or()) == 0) continue;
        for (std::ptrdiff_t i = at; i < std::min(at + 16, count); ++i)
            if (doubtful[i]) noise[i] = exact(Polar(Coordinate(pairs[i] & 0xFFFF), Coordinate(pairs[i] >> 16)));
    }
}

// A value added to a byte and limited is a byte added and a byte taken away, one of them 0, each with a limit of its
// own.

KWINLINE inline std::uint32_t Byte(std::int32_t value) {
    return static_cast<std::uint32_t>(std::min(std::max(value, 0), 255));
}

KWINLINE inline void SpreadGrey(std::uint32_t* plus, std::uint32_t* minus, const std::int32_t* noise,
                                std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        plus[i] = Byte(noise[i]) * 0x00010101;
        minus[i] = Byte(-std::max(noise[i], -255)) * 0x00010101;
    }
}
constexpr CKwBodies kSpreadGrey(KwClones<SpreadGrey>);

// Compilers take values that stand three to a pixel one by one. So they become bytes first, and those are shuffled.

KWINLINE inline void SplitNoise(std::uint8_t* __restrict plus, std::uint8_t* __restrict minus,
                                const std::int32_t* noise, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        plus[i] = static_cast<std::uint8_t>(Byte(noise[i]));
        minus[i] = static_cast<std::uint8_t>(Byte(-std::max(noise[i], -255)));
    }
}
constexpr CKwBodies kSplitNoise(KwClones<SplitNoise>);

KWINLINE inline void TakeLowBytes(std::uint8_t* __restrict bytes, const std::uint32_t* words, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) bytes[i] = static_cast<std::uint8_t>(words[i]);
}
constexpr CKwBodies kTakeLowBytes(KwClones<TakeLowBytes>);

/// Three bytes to a word, whose alpha gets 0. May read 16 bytes and write 3 words beyond the last.
template <class Bytes>
KWINLINE inline void SpreadColor(std::uint32_t* words, const std::uint8_t* bytes, std::ptrdiff_t count) {
    if constexpr (sizeof(Bytes) == sizeof(tNarrow)) { // without a shuffle of bytes
        for (std::ptrdiff_t i = 0; i < count; ++i, bytes += 3) {
            std::uint32_t colors;
            std::memcpy(&colors, bytes, sizeof colors);
            words[i] = __builtin_bswap32(colors) >> 8;
        }
    } else {
        for (std::ptrdiff_t i = 0; i < count; i += 4, bytes += 12) {
            const auto colors = KwLoad<tNarrow>(bytes);
            const tNarrow pixels =
                __builtin_shufflevector(colors, tNarrow{}, 2, 1, 0, 16, 5, 4, 3, 16, 8, 7, 6, 16, 11, 10, 9, 16);
            std::memcpy(words + i, &pixels, sizeof pixels);
        }
    }
}
constexpr CKwBodies kSpreadColor(KwWidths<SpreadColor<tNarrow>, SpreadColor<tMiddle>, SpreadColor<tWide>>);

/// `plus` and `minus` reach 16 pixels beyond the last.
void AddPlain8(std::uint8_t* d, const std::uint8_t* s, const std::uint32_t* plus, const std::uint32_t* minus,
               std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count * 4; ++i) {
        const auto shift = static_cast<std::uint32_t>(i % 4 * 8);
        const std::int32_t up = plus[i / 4] >> shift & 255, down = minus[i / 4] >> shift & 255;
        d[i] = static_cast<std::uint8_t>(KwClamp(s[i] + up - down, 0, s[i | 3]));
    }
}
template <class Bytes>
KWINLINE inline void AddWide8(std::uint8_t* d, const std::uint8_t* s, const std::uint32_t* plus,
                              const std::uint32_t* minus, std::ptrdiff_t count) {
    KwForBlocks<Bytes>(d, count * 4, s, [=](std::ptrdiff_t at, const Bytes& pixels) KWINLINE {
        const Bytes up = KwLoad<Bytes>(reinterpret_cast<const std::uint8_t*>(plus) + at);
        const Bytes down = KwLoad<Bytes>(reinterpret_cast<const std::uint8_t*>(minus) + at);
        return KwSmaller(KwRest(KwSum(pixels, up), down), KwAlphas(pixels));
    });
}
constexpr CKwBodies kAddRow8(AddPlain8, KwWidths<AddWide8<tNarrow>, AddWide8<tMiddle>, AddWide8<tWide>>);

/// The greatest level at which a value moves by no more than its distance from the middle.
constexpr std::int32_t kFullLevel = 16384;

/// Uniform noise at a level from 0 to `kFullLevel`, by the bytes that it is made of, or with `kGrey` by words whose low
/// byte is all that of a pixel; those reach 16 pixels beyond the last.
template <bool kGrey, class Bytes>
KWINLINE inline void AddUniform8(std::uint8_t* d, const std::uint8_t* s, const std::uint32_t* drawn,
                                 std::ptrdiff_t count, std::int32_t level) {
    const tShare<14> share(level);
    const Bytes middle = KwPixels<Bytes>(0x007F7F7F), colors = KwPixels<Bytes>(0x00FFFFFF);
    KwForBlocks<Bytes>(d, count * 4, s, [&](std::ptrdiff_t at, const Bytes& pixels) KWINLINE {
        Bytes values = KwLoad<Bytes>(reinterpret_cast<const std::uint8_t*>(drawn) + at);
        if constexpr (kGrey) values = KwSpread(reinterpret_cast<tWordsOf<Bytes>>(values) & 255) & colors;
        const Bytes up = KwRest(values, middle), down = KwRest(middle, values);
        const Bytes step = KwByHalves(up | down, [&](const tHalvesOf<Bytes>& v) KWINLINE { return share.Of(v); });
        return KwSmaller(KwRest(KwSum(pixels, KwSmaller(step, up)), KwSmaller(step, down)), KwAlphas(pixels));
    });
}
constexpr CKwBodies
    kAddUniform8(KwWidths<AddUniform8<false, tNarrow>, AddUniform8<false, tMiddle>, AddUniform8<false, tWide>>);
constexpr auto AddGrey8 = AddUniform8<true, tNarrow>;

void AddRowFloat(tAnyFloat* d, const tAnyFloat* s, const double* noise, std::ptrdiff_t count, std::ptrdiff_t step) {
    for (std::ptrdiff_t i = 0; i < count; ++i, d += 4, s += 4, noise += step == 0 ? 1 : 3) {
        const float alpha = s[3];
        const auto add = [alpha](float c, double n) { return static_cast<float>(KwClamp(c + n, 0.0, alpha)); };
        d[2] = add(s[2], noise[0]);
        d[1] = add(s[1], noise[step]);
        d[0] = add(s[0], noise[2 * step]);
        d[3] = alpha;
    }
}

/// Calls `body(y, x, count)` for the row pieces of `rows` in the order of the numbers.
template <class Body>
void WalkBlocks(const tRows& rows, Body&& body) {
    for (LONG y = 0; y < rows.height; ++y)
        for (std::ptrdiff_t x = 0; x < rows.width; x += kBlock)
            body(y, x, std::min<std::ptrdiff_t>(kBlock, rows.width - x));
}

} // namespace

HRESULT KwDibNoise(const tView& destination, const tView& source, const tNOISEPROP& record, CKwR250& generator) {
    if (record.gaussian != 0 && record.gaussian != 1) return KwDibCopy(destination, source, 4);
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, 4, d, s); FAILED(status)) return status;
    const bool grey = record.monochromatic == 1;
    const std::int32_t level = KwTrunc(record.level * 16384.0);
    // Grey noise takes AVX2 less time as numbers of 32 bits.
    const bool inBytes =
        KwLevel() != eKwLevel::Plain && !(grey && KwLevel() > eKwLevel::V2) && level >= 0 && level <= kFullLevel;
    alignas(kBlockBytes) std::uint32_t plus[kBlock + 16]{}, minus[kBlock + 16]{}, random[kBlock * 3]{};
    alignas(kBlockBytes) std::uint8_t bytes[2][kBlock * 3 + 16]{};
    alignas(kBlockBytes) std::int32_t noise[kBlock * 3];
    WalkBlocks(d, [&](LONG y, std::ptrdiff_t x, std::ptrdiff_t count) {
        const std::ptrdiff_t values = grey ? count : count * 3;
        auto* const to = d.Row<std::uint8_t>(y) + x * 4;
        const auto* const from = s.Row<std::uint8_t>(y) + x * 4;
        if (record.gaussian == 1) {
            GaussianNoise8(noise, generator, values, record.level);
        } else {
            generator.Fill(random, values);
            if (inBytes && grey) return AddGrey8(to, from, random, count, level);
            if (inBytes) {
                kTakeLowBytes(bytes[0], random, values);
                kSpreadColor(plus, bytes[0], count);
                return kAddUniform8(to, from, plus, count, level);
            }
            kUniformNoise8(noise, random, values, level);
        }
        if (grey) {
            kSpreadGrey(plus, minus, noise, count);
        } else {
            kSplitNoise(bytes[0], bytes[1], noise, values);
            kSpreadColor(plus, bytes[0], count);
            kSpreadColor(minus, bytes[1], count);
        }
        kAddRow8(to, from, plus, minus, count);
    });
    return S_OK;
}

HRESULT KwDibNoiseFloat(const tView& destination, const tView& source, const tNOISEPROP& record, CKwR250& generator) {
    if (record.gaussian != 0 && record.gaussian != 1) return KwDibCopy(destination, source, 16);
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, 16, d, s); FAILED(status)) return status;
    const bool grey = record.monochromatic == 1;
    const float level = static_cast<float>(record.level);
    double noise[kBlock * 3];
    WalkBlocks(d, [&](LONG y, std::ptrdiff_t x, std::ptrdiff_t count) {
        for (std::ptrdiff_t i = 0; i < (grey ? count : count * 3); ++i)
            noise[i] = record.gaussian == 1
                           ? (generator.NextGaussian() - 0.5) * record.level
                           : static_cast<float>(static_cast<std::int32_t>(generator.Next() & 0xFFFF) - 32767) * level *
                                 0.000015259022f;
        AddRowFloat(KwFloatRow(d, y) + x * 4, KwFloatRow(s, y) + x * 4, noise, count, grey ? 0 : 1);
    });
    return S_OK;
}
