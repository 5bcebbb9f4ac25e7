#include "kernels/lut.h"

#include <array>
#include <cstring>

#include "base/arith.h"
#include "kernels/clones.h"
#include "kernels/cpu.h"
#include "kernels/unaligned.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define KW_VBMI __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi")))
#endif

namespace {

/// Tables in the order of the channels in memory; a null one leaves its channel alone.
using tTables = std::array<const std::uint8_t*, 4>;

template <bool kMapAlpha, bool kLimit>
void LutRow8(tPixel8* d, const tPixel8* s, std::ptrdiff_t count, const std::uint8_t* table) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const tPixel8 in = s[i];
        const std::uint8_t a = kMapAlpha ? table[in.a] : in.a;
        const auto map = [table, a](std::uint8_t c) { return kLimit ? std::min(table[c], a) : table[c]; };
        d[i] = {map(in.b), map(in.g), map(in.r), a};
    }
}

/// Any choice of channels.
void LutSomeRow8(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table,
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

void LutsRow8(std::uint8_t* p, std::ptrdiff_t count, const tTables& tables) {
    for (std::size_t c = 0; c < 4; ++c)
        if (const std::uint8_t* const table = tables[c])
            for (std::ptrdiff_t i = 0; i < count; ++i)
                p[i * 4 + std::ptrdiff_t(c)] = table[p[i * 4 + std::ptrdiff_t(c)]];
}

#if defined(__x86_64__)

/// 256 entries in four registers; two permutations look up 128 each, and the top bit of the index chooses.
struct tTable512 {
    __m512i part[4];
};

KW_VBMI [[gnu::always_inline]] inline tTable512 LoadTable(const std::uint8_t* table) {
    return {{_mm512_loadu_si512(table), _mm512_loadu_si512(table + 64), _mm512_loadu_si512(table + 128),
             _mm512_loadu_si512(table + 192)}};
}

KW_VBMI [[gnu::always_inline]] inline __m512i Lookup(const tTable512& table, __m512i index) {
    return _mm512_mask_blend_epi8(_mm512_movepi8_mask(index),
                                  _mm512_permutex2var_epi8(table.part[0], index, table.part[1]),
                                  _mm512_permutex2var_epi8(table.part[2], index, table.part[3]));
}

constexpr __mmask64 kBlueBytes = 0x1111111111111111; // one bit a byte; shift left for the next channels

/// Calls `body(offset, valid)` for blocks of 64 bytes, the bytes to touch in `valid`. All blocks but the first begin
/// where `p` is aligned, if the pixels allow it: a third faster on memory that is not.
template <class Body>
KW_VBMI [[gnu::always_inline]] inline void ForBlocks(const std::uint8_t* p, std::ptrdiff_t bytes, Body body) {
    const std::ptrdiff_t head = static_cast<std::ptrdiff_t>(-reinterpret_cast<std::uintptr_t>(p) % 64);
    std::ptrdiff_t step = head % 4 == 0 && head > 0 ? head : 64;
    for (std::ptrdiff_t at = 0; at < bytes; at += step, step = 64)
        body(at, ~__mmask64{0} >> (64 - std::min(step, bytes - at)));
}

KW_VBMI void LutRowVbmi(std::uint8_t* d, const std::uint8_t* s, std::ptrdiff_t count, const std::uint8_t* table,
                        unsigned channels, bool limit) {
    const tTable512 entries = LoadTable(table);
    __mmask64 keep = 0;
    for (unsigned c = 0; c < 4; ++c)
        if (!(channels >> c & 1)) keep |= kBlueBytes << c;
    const __mmask64 limited = limit ? ~(kBlueBytes << 3) : 0;
    const __m512i alphaOfPixel = _mm512_set4_epi32(0x0F0F0F0F, 0x0B0B0B0B, 0x07070707, 0x03030303);
    ForBlocks(
        d, count * 4, [&](std::ptrdiff_t at, __mmask64 valid) KW_VBMI __attribute__((always_inline)) {
            const __m512i in = _mm512_maskz_loadu_epi8(valid, s + at);
            __m512i out = _mm512_mask_mov_epi8(Lookup(entries, in), keep, in);
            out = _mm512_mask_min_epu8(out, limited, out, _mm512_shuffle_epi8(out, alphaOfPixel));
            _mm512_mask_storeu_epi8(d + at, valid, out);
        });
}

KW_VBMI void LutsRowVbmi(std::uint8_t* p, std::ptrdiff_t count, const tTables& tables) {
    std::array<bool, 4> done{};
    for (std::size_t c = 0; c < 4; ++c) {
        if (!tables[c] || done[c]) continue;
        __mmask64 mapped = 0; // all channels that share this table in one walk
        for (std::size_t other = c; other < 4; ++other)
            if (tables[other] == tables[c]) {
                mapped |= kBlueBytes << other;
                done[other] = true;
            }
        const tTable512 entries = LoadTable(tables[c]);
        ForBlocks(
            p, count * 4, [&](std::ptrdiff_t at, __mmask64 valid) KW_VBMI __attribute__((always_inline)) {
                _mm512_mask_storeu_epi8(p + at, valid & mapped,
                                        Lookup(entries, _mm512_maskz_loadu_epi8(valid, p + at)));
            });
    }
}

#endif

template <class Entry>
[[gnu::always_inline]] inline float LookupFloat(const void* table, float value) {
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

KWCLONES void BrightnessRowFloat(tAnyFloat* p, std::ptrdiff_t count, float amount) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float a = KwClamp(amount + p[i * 4 + 3], 0.0f, 1.0f);
        p[i * 4 + 3] = a;
        for (int c = 0; c < 3; ++c) p[i * 4 + c] = KwClamp(amount + p[i * 4 + c], 0.0f, a);
    }
}

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

void KwLutRow(std::uint8_t* destination, const std::uint8_t* source, std::ptrdiff_t count, const std::uint8_t* table,
              unsigned channels, bool limitToAlpha) {
#if defined(__x86_64__)
    if (KwFastPaths() && KwCpuPermutesBytes())
        return LutRowVbmi(destination, source, count, table, channels, limitToAlpha);
#endif
    auto* const d = reinterpret_cast<tPixel8*>(destination);
    const auto* const s = reinterpret_cast<const tPixel8*>(source);
    if (channels == kMapColors)
        (limitToAlpha ? LutRow8<false, true> : LutRow8<false, false>)(d, s, count, table);
    else if (channels == kMapAll)
        (limitToAlpha ? LutRow8<true, true> : LutRow8<true, false>)(d, s, count, table);
    else
        LutSomeRow8(destination, source, count, table, channels, limitToAlpha);
}

HRESULT KwDibMapLut(const tView& destination, const tView& source, LONG bytesPerPixel, const void* table,
                    bool tableIs8Bit, unsigned channels, bool limitToAlpha) {
    if (!table) return E_POINTER;
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const auto rowFloat = tableIs8Bit ? LutRowFloat<std::uint8_t> : LutRowFloat<std::uint16_t>;
    for (LONG y = 0; y < d.height; ++y) {
        if (bytesPerPixel == 4)
            KwLutRow(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, static_cast<const std::uint8_t*>(table),
                     channels, limitToAlpha);
        else
            rowFloat(KwFloatRow(d, y), KwFloatRow(s, y), d.width, table, channels, limitToAlpha);
    }
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
    auto row = LutsRow8;
#if defined(__x86_64__)
    if (KwFastPaths() && KwCpuPermutesBytes()) row = LutsRowVbmi;
#endif
    for (LONG y = 0; y < rows.height; ++y) row(rows.Row<std::uint8_t>(y), rows.width, tables);
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
    for (LONG y = 0; y < rows.height; ++y) BrightnessRowFloat(KwFloatRow(rows, y), rows.width, amount);
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
