#include "kernels/lut.h"

#include <array>
#include <cstring>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace {

/// Tables in the order of the channels in memory; a null one leaves its channel alone.
using tTables = std::array<const std::uint8_t*, 4>;

/// A byte for each channel of `channels`, 255 or 0, as one pixel.
constexpr std::uint32_t Mask(unsigned channels) {
    std::uint32_t mask = 0;
    for (unsigned c = 0; c < 4; ++c) mask |= channels >> c & 1 ? 0xFFu << c * 8 : 0;
    return mask;
}

/// The definition, for any choice of channels.
void LutPlain8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table,
               unsigned channels, bool limit) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4) {
        const auto map = [&](unsigned c) { return channels >> c & 1 ? table[s[i + c]] : s[i + c]; };
        const std::uint8_t a = map(3), top = limit ? a : 255;
        d[i] = std::min(map(0), top);
        d[i + 1] = std::min(map(1), top);
        d[i + 2] = std::min(map(2), top);
        d[i + 3] = a;
    }
}

/// A pixel is read and written at once: the tables take the loads that there are.
template <bool kMapAlpha>
void LutColors8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table) {
    const tAnyWord* const from = reinterpret_cast<const tAnyWord*>(s);
    tAnyWord* const to = reinterpret_cast<tAnyWord*>(d);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t word = from[i], alpha = kMapAlpha ? table[word >> 24] : word >> 24;
        const auto map = [=](int shift) { return std::uint32_t{table[word >> shift & 255]} << shift; };
        to[i] = map(0) | map(8) | map(16) | alpha << 24;
    }
}

/// The usual choices without a question for each pixel; the limit is that of a block at once.
void LutLoop8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table,
              unsigned channels, bool limit) {
    if (channels != kMapColors && channels != kMapAll) return LutPlain8(d, s, count, table, channels, limit);
    constexpr std::ptrdiff_t kPart = 512; // pixels
    for (std::ptrdiff_t x = 0; x < count; x += kPart) {
        const std::ptrdiff_t at = x * 4, part = std::min(kPart, count - x);
        (channels == kMapColors ? LutColors8<false> : LutColors8<true>)(d + at, s + at, part, table);
        if (limit)
            KwForBlocks<tNarrow>(d + at, part * 4, d + at,
                                 [](const tNarrow& pixels) KWINLINE { return KwLimitedToAlpha(pixels); });
    }
}

/// All channels of pixels whose four bytes are one: the first stands for them.
void LutSpread8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table, unsigned,
                bool) {
    tAnyWord* const to = reinterpret_cast<tAnyWord*>(d);
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = table[s[i * 4]] * 0x01010101u;
}

#if defined(__x86_64__)

#define KW_V3 [[gnu::target("arch=x86-64-v3")]]

/// 16 shuffles look up 16 entries each. A shuffle gives 0 where the top bit of an index is set, so of indices that fall
/// by 16 a step all steps up to the entry's own give something: each table holds its difference to the one before it,
/// and the sum of differences is the entry. Indices from 128 on go through a second chain.
class CShuffles {
  public:
    KW_V3 explicit CShuffles(const std::uint8_t* table) {
        for (int k = 0; k < 16; ++k) {
            const auto* const at = reinterpret_cast<const __m128i*>(table) + k;
            const __m128i own = _mm_loadu_si128(at);
            m_parts[k] = _mm256_broadcastsi128_si256(k % 8 ? _mm_xor_si128(own, _mm_loadu_si128(at - 1)) : own);
        }
    }
    KW_V3 __m256i operator()(__m256i levels) const {
        const __m256i step = _mm256_set1_epi8(16);
        __m256i low = levels, high = _mm256_xor_si256(levels, _mm256_set1_epi8(-128)), out = _mm256_setzero_si256();
        for (int k = 0; k < 8; ++k) {
            out = _mm256_xor_si256(
                out, _mm256_xor_si256(_mm256_shuffle_epi8(m_parts[k], low), _mm256_shuffle_epi8(m_parts[k + 8], high)));
            low = _mm256_subs_epi8(low, step);
            high = _mm256_subs_epi8(high, step);
        }
        return out;
    }

  private:
    __m256i m_parts[16];
};

KW_V3 void LutShuffle8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table,
                       unsigned channels, bool limit) {
    const CShuffles shuffles(table);
    const __m256i mapped = _mm256_set1_epi32(Mask(channels)), limited = _mm256_set1_epi32(limit ? Mask(kMapColors) : 0);
    const __m256i alphas = _mm256_broadcastsi128_si256(_mm_set_epi32(0x0F0F0F0F, 0x0B0B0B0B, 0x07070707, 0x03030303));
    for (std::ptrdiff_t at = 0; at < count * 4; at += 32) {
        const auto bytes = static_cast<std::size_t>(std::min<std::ptrdiff_t>(32, count * 4 - at));
        __m256i in{};
        if (bytes == 32)
            in = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + at));
        else
            std::memcpy(&in, s + at, bytes);
        __m256i out = _mm256_blendv_epi8(in, shuffles(in), mapped);
        out = _mm256_blendv_epi8(out, _mm256_min_epu8(out, _mm256_shuffle_epi8(out, alphas)), limited);
        if (bytes == 32)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(d + at), out);
        else
            std::memcpy(d + at, &out, bytes);
    }
}

/// The levels of 8 pixels whose four bytes are one.
KW_V3 inline __m256i FirstBytes(const std::uint8_t* pixels) {
    return _mm256_and_si256(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels)), _mm256_set1_epi32(255));
}

/// The levels of 32 pixels are looked up at once. Packing mixes the halves of registers, and unpacking undoes that.
KW_V3 void LutShuffleSpread8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table,
                             unsigned channels, bool limit) {
    const CShuffles shuffles(table);
    std::ptrdiff_t x = 0;
    for (; x + 32 <= count; x += 32) {
        const std::uint8_t* const from = s + x * 4;
        auto* const to = reinterpret_cast<__m256i*>(d + x * 4);
        const __m256i out =
            shuffles(_mm256_packus_epi16(_mm256_packus_epi32(FirstBytes(from), FirstBytes(from + 32)),
                                         _mm256_packus_epi32(FirstBytes(from + 64), FirstBytes(from + 96))));
        const __m256i low = _mm256_unpacklo_epi8(out, out), high = _mm256_unpackhi_epi8(out, out);
        _mm256_storeu_si256(to, _mm256_unpacklo_epi16(low, low));
        _mm256_storeu_si256(to + 1, _mm256_unpackhi_epi16(low, low));
        _mm256_storeu_si256(to + 2, _mm256_unpacklo_epi16(high, high));
        _mm256_storeu_si256(to + 3, _mm256_unpackhi_epi16(high, high));
    }
    LutSpread8(d + x * 4, s + x * 4, count - x, table, channels, limit);
}

#define KW_VBMI [[gnu::target("arch=x86-64-v4,avx512vbmi")]]

/// Two permutations look up 128 entries each, and the top bit of the index chooses. Blocks begin where the target is
/// aligned, if the pixels allow it: a third faster on memory that is not.
KW_VBMI void LutPermute8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table,
                         unsigned channels, bool limit) {
    const __m512i parts[] = {_mm512_loadu_si512(table), _mm512_loadu_si512(table + 64), _mm512_loadu_si512(table + 128),
                             _mm512_loadu_si512(table + 192)};
    const auto bits = [](unsigned which) { return std::uint64_t{0x1111111111111111} * (which & 15); };
    const __mmask64 keep = bits(~channels), limited = limit ? bits(kMapColors) : 0;
    const __m512i alphas = _mm512_set4_epi32(0x0F0F0F0F, 0x0B0B0B0B, 0x07070707, 0x03030303);
    const std::ptrdiff_t bytes = count * 4,
                         head = static_cast<std::ptrdiff_t>(-reinterpret_cast<std::uintptr_t>(d) % 64);
    std::ptrdiff_t step = head % 4 == 0 && head > 0 ? head : 64;
    for (std::ptrdiff_t at = 0; at < bytes; at += step, step = 64) {
        const std::ptrdiff_t now = std::min(step, bytes - at);
        const __mmask64 valid = ~__mmask64{0} >> (64 - now);
        const __m512i in = now == 64 ? _mm512_loadu_si512(s + at) : _mm512_maskz_loadu_epi8(valid, s + at);
        __m512i out = _mm512_mask_blend_epi8(_mm512_movepi8_mask(in), _mm512_permutex2var_epi8(parts[0], in, parts[1]),
                                             _mm512_permutex2var_epi8(parts[2], in, parts[3]));
        out = _mm512_mask_mov_epi8(out, keep, in);
        out = _mm512_mask_min_epu8(out, limited, out, _mm512_shuffle_epi8(out, alphas));
        if (now == 64) // on some processors a store by mask costs more than all the rest
            _mm512_storeu_si512(d + at, out);
        else
            _mm512_mask_storeu_epi8(d + at, valid, out);
    }
}

constexpr CKwBodies kLutRow8(LutPlain8, tKwBody{eKwLevel::Base, &LutLoop8}, tKwBody{eKwLevel::V3, &LutShuffle8},
                             tKwBody{eKwLevel::Vbmi, &LutPermute8});
constexpr CKwBodies kLutSpreadRow8(LutPlain8, tKwBody{eKwLevel::Base, &LutSpread8},
                                   tKwBody{eKwLevel::V3, &LutShuffleSpread8}, tKwBody{eKwLevel::Vbmi, &LutPermute8});

#else
constexpr CKwBodies kLutRow8(LutPlain8, tKwBody{eKwLevel::Base, &LutLoop8});
constexpr CKwBodies kLutSpreadRow8(LutPlain8, tKwBody{eKwLevel::Base, &LutSpread8});
#endif

/// A ramp for pixels, in which channels that are not mapped stay, and what a limit to alpha leaves alone.
struct tRampPixel {
    tRampPixel(const tKwRamp& ramp, unsigned channels, bool limit)
        : up(ramp.up * kEach & Mask(channels)), down(ramp.down * kEach & Mask(channels)),
          split(ramp.split * kEach & Mask(channels)), least(ramp.least * kEach & Mask(channels)),
          most(ramp.most * kEach | ~Mask(channels)), top(limit ? 0 : Mask(kMapColors)) {}

    static constexpr std::uint32_t kEach = 0x01010101;
    std::uint32_t up, down, split, least, most, top;
};

template <class Bytes>
KWINLINE inline void RampRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const tRampPixel& ramp) {
    const auto each = [](std::uint32_t pixel) KWINLINE { return KwPixels<Bytes>(pixel); };
    const Bytes up = each(ramp.up), down = each(ramp.down), split = each(ramp.split), least = each(ramp.least),
                most = each(ramp.most), top = each(ramp.top);
    KwForBlocks<Bytes>(d, count * 4, s, [&](const Bytes& pixels) KWINLINE {
        const Bytes moved = KwRest(KwSum(pixels, up), down), whole = (Bytes{} - KwSmaller(moved, Bytes{} + 1)) & split;
        const Bytes out = KwSmaller(KwGreater(moved | whole, least), most);
        return KwSmaller(out, KwAlphas(out) | top);
    });
}
constexpr CKwBodies kRampRow8(KwWidths<RampRow8<tNarrow>, RampRow8<tMiddle>, RampRow8<tWide>>);

/// Channels that share a table are mapped in one walk.
void LutsRow8(std::uint8_t* p, std::ptrdiff_t count, const tTables& tables) {
    unsigned done = 0;
    for (unsigned c = 0; c < 4; ++c) {
        if (!tables[c] || done >> c & 1) continue;
        unsigned channels = 0;
        for (unsigned other = c; other < 4; ++other) channels |= (tables[other] == tables[c]) << other;
        kLutRow8(p, p, count, tables[c], channels, false);
        done |= channels;
    }
}

template <class Entry>
KWINLINE inline float LookupFloat(const void* table, float value) {
    constexpr double kTop = sizeof(Entry) == 1 ? 255.0 : 65535.0;
    constexpr float kUnit = sizeof(Entry) == 1 ? 0.003921569f : 1.5259022e-5f;
    const double at = value * kTop;
    const std::int32_t index = static_cast<std::int32_t>(at > 0.0 ? std::min(at, kTop) : 0.0);
    Entry entry;
    std::memcpy(&entry, static_cast<const std::byte*>(table) + index * std::ptrdiff_t{sizeof(Entry)}, sizeof entry);
    return static_cast<float>(entry) * kUnit;
}

template <class Entry>
void LutRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, const void* table, unsigned channels,
                 bool limit) {
    for (std::ptrdiff_t i = 0; i < count * 4; i += 4) {
        const auto map = [&](unsigned c) {
            return channels >> c & 1 ? LookupFloat<Entry>(table, s[i + c]) : float{s[i + c]};
        };
        const float a = map(3);
        d[i + 3] = a;
        for (unsigned c = 0; c < 3; ++c) {
            const float value = map(c);
            d[i + c] = limit && value > a ? a : value;
        }
    }
}

template <class Entry>
void LutsRowFloat(tAnyFloat* p, std::ptrdiff_t count, const tTables& tables) {
    for (std::size_t c = 0; c < 4; ++c)
        if (tables[c])
            for (std::ptrdiff_t i = 0; i < count; ++i)
                p[i * 4 + std::ptrdiff_t(c)] = LookupFloat<Entry>(tables[c], p[i * 4 + std::ptrdiff_t(c)]);
}

KWINLINE inline void BrightnessRowFloat(tAnyFloat* p, std::ptrdiff_t count, float amount) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float a = KwClamp(amount + p[i * 4 + 3], 0.0f, 1.0f);
        p[i * 4 + 3] = a;
        for (int c = 0; c < 3; ++c) p[i * 4 + c] = KwClamp(amount + p[i * 4 + c], 0.0f, a);
    }
}
constexpr CKwBodies kBrightnessRowFloat(KwClones<BrightnessRowFloat>);

/// Sets each of `count` entries to `value(index)`, cut to the entry's type.
template <class Entry, class Value>
void FillTable(void* table, std::int32_t count, Value&& value) {
    for (std::int32_t i = 0; i < count; ++i) {
        const Entry entry = static_cast<Entry>(value(i));
        std::memcpy(static_cast<std::byte*>(table) + i * std::ptrdiff_t{sizeof(Entry)}, &entry, sizeof entry);
    }
}

bool Refused(void* table, LONG low, LONG high, LONG bytesPerPixel) {
    const LONG entries = bytesPerPixel == 4 ? 256 : 65536;
    if (table && low <= entries && high <= entries) return false;
    if (table) std::memset(table, 0, bytesPerPixel == 4 ? 256 : 65536 * 2);
    return true;
}

} // namespace

void KwLutRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count, const CKwLut& lut,
              unsigned channels, bool limitToAlpha) {
    if (lut.Ramp() && KwLevel() != eKwLevel::Plain)
        kRampRow8(destination, source, count, tRampPixel(*lut.Ramp(), channels, limitToAlpha));
    else
        kLutRow8(destination, source, count, lut.Table(), channels, limitToAlpha);
}

void KwLutSpreadRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count, const CKwLut& lut) {
    if (lut.Ramp())
        KwLutRow(destination, source, count, lut, kMapAll, false);
    else
        kLutSpreadRow8(destination, source, count, lut.Table(), kMapAll, false);
}

HRESULT KwDibMapLut(const tView& destination, const tView& source, LONG bytesPerPixel, const void* table,
                    bool tableIs8Bit, unsigned channels, bool limitToAlpha) {
    if (!table) return E_POINTER;
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    if (bytesPerPixel != 4) {
        const auto row = tableIs8Bit ? LutRowFloat<std::uint8_t> : LutRowFloat<std::uint16_t>;
        for (LONG y = 0; y < d.height; ++y)
            row(KwFloatRow(d, y), KwFloatRow(s, y), d.width, table, channels, limitToAlpha);
        return S_OK;
    }
    const CKwLut lut(static_cast<const std::uint8_t*>(table));
    for (LONG y = 0; y < d.height; ++y)
        KwLutRow(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, lut, channels, limitToAlpha);
    return S_OK;
}

HRESULT KwDibApplyLut(const tView& view, LONG bytesPerPixel, const void* table, bool tableIs8Bit, bool mapAlpha,
                      bool limitToAlpha) {
    return KwDibMapLut(view, view, bytesPerPixel, table, tableIs8Bit, mapAlpha ? kMapAll : kMapColors, limitToAlpha);
}

HRESULT KwDibApplyLuts(const tView& view, LONG bytesPerPixel, const void* red, const void* green, const void* blue,
                       const void* alpha, bool tableIs8Bit) {
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    const auto bytes = [](const void* table) { return static_cast<const std::uint8_t*>(table); };
    const tTables tables{bytes(blue), bytes(green), bytes(red), bytes(alpha)};
    if (bytesPerPixel != 4) {
        const auto row = tableIs8Bit ? LutsRowFloat<std::uint8_t> : LutsRowFloat<std::uint16_t>;
        for (LONG y = 0; y < rows.height; ++y) row(KwFloatRow(rows, y), rows.width, tables);
        return S_OK;
    }
    for (LONG y = 0; y < rows.height; ++y) LutsRow8(rows.Row<std::uint8_t>(y), rows.width, tables);
    return S_OK;
}

void KwBuildBrightnessTable(std::uint8_t* table, float amount) {
    const std::int64_t offset = KwTrunc(amount * 255.0);
    for (std::int32_t i = 0; i < 256; ++i) table[i] = static_cast<std::uint8_t>(KwClamp(i + offset, 0, 255));
}

HRESULT KwDibBrightness(const tView& view, LONG bytesPerPixel, float amount) {
    if (bytesPerPixel == 4) {
        std::uint8_t table[256];
        KwBuildBrightnessTable(table, amount);
        return KwDibApplyLut(view, 4, table, true, false, true);
    }
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    for (LONG y = 0; y < rows.height; ++y) kBrightnessRowFloat(KwFloatRow(rows, y), rows.width, amount);
    return S_OK;
}

bool KwBuildStretchTable(void* table, LONG low, LONG high, LONG bytesPerPixel) {
    if (Refused(table, low, high, bytesPerPixel)) return false;
    high = std::max(low, high);
    const std::int64_t full = bytesPerPixel == 4 ? 255 : 65535, span = std::int64_t{high} - low;
    const auto value = [=](std::int32_t i) {
        return i < low ? 0 : i >= high ? full : (std::int64_t{i} - low) * full / span;
    };
    if (bytesPerPixel == 4)
        FillTable<std::uint8_t>(table, 256, value);
    else
        FillTable<std::uint16_t>(table, 65536, value);
    return true;
}

bool KwBuildCompressTable(void* table, LONG low, LONG high, LONG bytesPerPixel) {
    if (Refused(table, low, high, bytesPerPixel)) return false;
    const double range = static_cast<double>(std::int64_t{high} - low);
    const std::int32_t step = KwTrunc(range * (bytesPerPixel == 4 ? 64.0 : 0.25));
    std::int32_t sum = KwWrap32(std::int64_t{low} * 16384);
    const auto next = [&](std::int32_t) {
        const std::int32_t value = sum / 16384;
        sum = KwWrap32(std::int64_t{sum} + step);
        return value;
    };
    if (bytesPerPixel == 4)
        FillTable<std::uint8_t>(table, 256, next);
    else
        FillTable<std::uint16_t>(table, 65536, next);
    return true;
}
