#include "kernels/row_convert.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "base/arith.h"
#include "base/bodies.h"

namespace {

constexpr LONG kFirstFormat = kRowBgra32, kFirstHigh = kRowBgra64;
constexpr LONG kChunk = 256; ///< pixels on the stack at a time

// Groups that the low four bits of the flags stand for.
constexpr ULONG kGroups[] = {0, 0x180, 0x1C0, 0x1C0 | 32, 0x1C0 | 48};

template <class T>
T Load(const void* from, LONG index) {
    T value;
    std::memcpy(&value, static_cast<const std::byte*>(from) + static_cast<std::ptrdiff_t>(index) * sizeof value,
                sizeof value);
    return value;
}
template <class T>
void Store(void* to, LONG index, const T& value) {
    std::memcpy(static_cast<std::byte*>(to) + static_cast<std::ptrdiff_t>(index) * sizeof value, &value, sizeof value);
}

/// The top bits repeat below, so that full scale becomes full scale.
constexpr std::uint16_t Widen(ULONG value, int bits) {
    ULONG wide = value << (16 - bits);
    for (int have = bits; have < 16; have *= 2) wide |= wide >> have;
    return static_cast<std::uint16_t>(wide);
}

std::uint16_t FromReal(float value) {
    return value > 0.0f ? static_cast<std::uint16_t>(std::min(value, 1.0f) * 65535.0f + 0.5f) : std::uint16_t{0};
}

constexpr std::uint8_t Top8(std::uint16_t value) {
    return static_cast<std::uint8_t>(value >> 8);
}

// Each format: a pixel in memory, and the way to and from it.

template <int B, int G, int R, int A>
struct tBytes4 {
    std::uint8_t c[4];
    tRowPixel Wide() const { return {Widen(c[B], 8), Widen(c[G], 8), Widen(c[R], 8), Widen(c[A], 8)}; }
    void Take(const tRowPixel& p) {
        c[B] = Top8(p.b);
        c[G] = Top8(p.g);
        c[R] = Top8(p.r);
        c[A] = Top8(p.a);
    }
};
using tBgra32 = tBytes4<0, 1, 2, 3>;
using tRgba32 = tBytes4<2, 1, 0, 3>;

struct tBgr24 {
    std::uint8_t c[3];
    tRowPixel Wide() const { return {Widen(c[0], 8), Widen(c[1], 8), Widen(c[2], 8), 0xFFFF}; }
    void Take(const tRowPixel& p) {
        c[0] = Top8(p.b);
        c[1] = Top8(p.g);
        c[2] = Top8(p.r);
    }
};

struct tBgrx32 {
    tBgr24 color;
    std::uint8_t rest;
    tRowPixel Wide() const { return color.Wide(); }
    void Take(const tRowPixel& p) {
        color.Take(p);
        rest = 255;
    }
};

template <int GreenBits>
struct tWord16 {
    std::uint16_t word;
    static constexpr int kRedAt = 5 + GreenBits;
    tRowPixel Wide() const {
        return {Widen(word & 31u, 5), Widen(word >> 5 & ((1u << GreenBits) - 1), GreenBits),
                Widen(word >> kRedAt & 31u, 5), 0xFFFF};
    }
    void Take(const tRowPixel& p) {
        word = static_cast<std::uint16_t>((p.r >> 11) << kRedAt | (p.g >> (16 - GreenBits)) << 5 | p.b >> 11);
    }
};

struct tGrey8 {
    std::uint8_t grey;
    tRowPixel Wide() const {
        const std::uint16_t wide = Widen(grey, 8);
        return {wide, wide, wide, 0xFFFF};
    }
    void Take(const tRowPixel& p) {
        grey = static_cast<std::uint8_t>((Top8(p.r) * 77 + Top8(p.g) * 150 + Top8(p.b) * 29) >> 8);
    }
};

struct tBgra64 {
    tRowPixel pixel;
    tRowPixel Wide() const { return pixel; }
    void Take(const tRowPixel& p) { pixel = p; }
};

template <class Real>
struct tReals {
    Real c[4];
    tRowPixel Wide() const {
        return {FromReal(static_cast<float>(c[0])), FromReal(static_cast<float>(c[1])),
                FromReal(static_cast<float>(c[2])), FromReal(static_cast<float>(c[3]))};
    }
    void Take(const tRowPixel& p) {
        const auto real = [](std::uint16_t value) { return static_cast<Real>(static_cast<float>(value) / 65535.0f); };
        c[0] = real(p.b);
        c[1] = real(p.g);
        c[2] = real(p.r);
        c[3] = real(p.a);
    }
};

template <class Format>
void Read(const void* from, tRowPixel* to, LONG count) {
    for (LONG i = 0; i < count; ++i) to[i] = Load<Format>(from, i).Wide();
}
template <class Format>
void Write(void* to, const tRowPixel* from, LONG count) {
    for (LONG i = 0; i < count; ++i) {
        Format pixel;
        pixel.Take(from[i]);
        Store(to, i, pixel);
    }
}

/// IEEE 754 binary16, to and from binary32 by whole numbers, as not every compiler has the type. Rounds to nearest,
/// ties to even; not-a-number stays quiet.
struct tHalf {
    std::uint16_t bits;

    tHalf() = default;
    explicit tHalf(float value) {
        const auto word = std::bit_cast<std::uint32_t>(value);
        const std::uint32_t sign = word >> 16 & 0x8000, size = word & 0x7FFFFFFF;
        std::uint32_t half;
        if (size >= 0x47800000) { // 65536 and above
            half = size > 0x7F800000 ? 0x7E00 | (size >> 13 & 0x1FF) : 0x7C00;
        } else if (size >= 0x38800000) { // 2^-14 and above: a mantissa of 10 bits
            half = (size + 0xFFF + (size >> 13 & 1) - 0x38000000) >> 13;
        } else { // the sum with 0.5 leaves steps of 2^-24 in the lowest bits, rounded by the addition itself
            half = std::bit_cast<std::uint32_t>(std::bit_cast<float>(size) + 0.5f) - 0x3F000000;
        }
        bits = static_cast<std::uint16_t>(sign | half);
    }
    explicit operator float() const {
        const std::uint32_t sign = static_cast<std::uint32_t>(bits & 0x8000) << 16, size = bits & 0x7FFF;
        const std::uint32_t normal = (size << 13) + 0x38000000;
        const std::uint32_t word = size >= 0x7C00   ? (size << 13) + 0x70000000 // the highest exponent of either
                                   : size >= 0x0400 ? normal
                                                    : std::bit_cast<std::uint32_t>(static_cast<float>(size) * 0x1p-24f);
        return std::bit_cast<float>(sign | word);
    }
};

struct tFormatRow {
    void (*read)(const void*, tRowPixel*, LONG) = nullptr;
    void (*write)(void*, const tRowPixel*, LONG) = nullptr;
    LONG bytes = 0;
    bool hasDirectWay = false;
};
template <class Format>
constexpr tFormatRow RowOf(bool hasDirectWay = false) {
    return {&Read<Format>, &Write<Format>, sizeof(Format), hasDirectWay};
}

// Seven low formats and ten high ones. Of the variants only the first has routines.
constexpr std::array<tFormatRow, kRowLastFormat - kFirstFormat + 1> kFormats{
    RowOf<tBgra32>(true), RowOf<tBgrx32>(), RowOf<tBgr24>(),  RowOf<tWord16<6>>(),        RowOf<tWord16<5>>(),
    RowOf<tGrey8>(),      RowOf<tRgba32>(), RowOf<tBgra64>(), RowOf<tReals<float>>(true), RowOf<tReals<tHalf>>(),
};
static_assert(kFirstHigh - kFirstFormat == 7 && kRowLastFormat - kFirstHigh + 1 == 10);

// Operators on 16-bit channels.

constexpr std::uint16_t Mix(LONG d, LONG s, std::int64_t weight) {
    return static_cast<std::uint16_t>(d + ((s - d) * weight >> 16));
}

template <class Weight>
void MixAll(tRowPixel* d, const tRowPixel* s, LONG count, Weight weightOf) {
    for (LONG i = 0; i < count; ++i) {
        const std::int64_t w = weightOf(s[i]);
        d[i] = {Mix(d[i].b, s[i].b, w), Mix(d[i].g, s[i].g, w), Mix(d[i].r, s[i].r, w), Mix(d[i].a, s[i].a, w)};
    }
}

LONG WeightOf(const tRowPlan& plan) {
    return plan.extra[1] & 0xFFFF;
}

void SourceAlpha(tRowPixel* d, const tRowPixel* s, LONG count, const tRowPlan&) {
    MixAll(d, s, count, [](const tRowPixel& p) { return p.a; });
}
void Blend(tRowPixel* d, const tRowPixel* s, LONG count, const tRowPlan& plan) {
    const LONG weight = WeightOf(plan);
    MixAll(d, s, count, [weight](const tRowPixel&) { return weight; });
}
void BlendByAlpha(tRowPixel* d, const tRowPixel* s, LONG count, const tRowPlan& plan) {
    const std::int64_t weight = WeightOf(plan);
    MixAll(d, s, count, [weight](const tRowPixel& p) { return weight * p.a >> 16; });
}
void Add(tRowPixel* d, const tRowPixel* s, LONG count, const tRowPlan&) {
    const auto sum = [](int a, int b) { return static_cast<std::uint16_t>(std::min(a + b, 0xFFFF)); };
    for (LONG i = 0; i < count; ++i)
        d[i] = {sum(d[i].b, s[i].b), sum(d[i].g, s[i].g), sum(d[i].r, s[i].r), sum(d[i].a, s[i].a)};
}

struct tOperatorRow {
    bool exists = false;
    void (*operate)(tRowPixel*, const tRowPixel*, LONG, const tRowPlan&) = nullptr;
};
constexpr std::array<tOperatorRow, kRowOperators> kOperators{{
    {true, nullptr},
    {true, &SourceAlpha},
    {true, &Blend},
    {true, &BlendByAlpha},
    {true, &Add},
}};

// Direct ways between two rows of one form.

template <class Pixel>
void CopyPixels(void* to, const void* from, LONG count, const tRowPlan&) {
    std::memmove(to, from, static_cast<std::size_t>(count) * sizeof(Pixel));
}

KWINLINE inline void SourceAlphaBytes(void* to, const void* from, LONG count, const tRowPlan&) {
    auto* const d = static_cast<std::uint8_t*>(to);
    const auto* const s = static_cast<const std::uint8_t*>(from);
    for (LONG i = 0; i < count; ++i)
        for (int c = 0; c < 4; ++c) d[i * 4 + c] = KwBlend8(d[i * 4 + c], s[i * 4 + c], s[i * 4 + 3]);
}
constexpr CKwBodies kSourceAlphaBytes(KwClones<SourceAlphaBytes>);

KWINLINE inline void BlendBytes(void* to, const void* from, LONG count, const tRowPlan& plan) {
    auto* const d = static_cast<std::uint8_t*>(to);
    const auto* const s = static_cast<const std::uint8_t*>(from);
    const LONG weight = (plan.extra[1] & 0xFFFF) >> 8;
    const std::ptrdiff_t bytes = std::ptrdiff_t{count} * 4;
    for (std::ptrdiff_t i = 0; i < bytes; ++i) d[i] = KwBlend8(d[i], s[i], weight);
}
constexpr CKwBodies kBlendBytes(KwClones<BlendBytes>);

template <class WeightOfPixel>
void MixFloats(void* to, const void* from, LONG count, WeightOfPixel weightOf) {
    for (LONG i = 0; i < count; ++i) {
        auto d = Load<std::array<float, 4>>(to, i);
        const auto s = Load<std::array<float, 4>>(from, i);
        const float weight = weightOf(s);
        for (int c = 0; c < 4; ++c) d[c] = KwBlendFloat(d[c], s[c], weight);
        Store(to, i, d);
    }
}
void SourceAlphaFloats(void* to, const void* from, LONG count, const tRowPlan&) {
    MixFloats(to, from, count, [](const std::array<float, 4>& s) { return s[3]; });
}
void BlendFloats(void* to, const void* from, LONG count, const tRowPlan& plan) {
    const float weight = static_cast<float>(WeightOf(plan)) / 65536.0f;
    MixFloats(to, from, count, [weight](const std::array<float, 4>&) { return weight; });
}

using tDirect = void (*)(void*, const void*, LONG, const tRowPlan&);
/// A choice as a plain function.
template <const auto& kBodies>
void Run(void* to, const void* from, LONG count, const tRowPlan& plan) {
    kBodies(to, from, count, plan);
}
constexpr tDirect kDirectBytes[] = {&CopyPixels<tBgra32>, &Run<kSourceAlphaBytes>, &Run<kBlendBytes>};
constexpr tDirect kDirectFloats[] = {&CopyPixels<tReals<float>>, &SourceAlphaFloats, &BlendFloats};

} // namespace

HRESULT KwMakeRowPlan(ULONG flags, LONG destinationFormat, LONG sourceFormat, std::span<const LONG> extra,
                      tRowPlan& plan) {
    plan = {};
    const auto isFormat = [](LONG code) { return code >= kFirstFormat && code <= kRowLastFormat; };
    if (!isFormat(destinationFormat) || !isFormat(sourceFormat) || extra.empty() ||
        extra.size() > std::size(plan.extra))
        return E_INVALIDARG;
    const LONG number = extra[0];
    if (number < 0 || number >= kRowOperators) return E_INVALIDARG;

    const tFormatRow& to = kFormats[destinationFormat - kFirstFormat];
    const tFormatRow& from = kFormats[sourceFormat - kFirstFormat];
    if ((flags & 15) < std::size(kGroups)) flags |= kGroups[flags & 15];
    if (!to.hasDirectWay || !from.hasDirectWay) flags |= kRowPlain;
    if (flags & (kRowFormatVariant | kRowOperatorVariant | kRowSecondSet)) return E_NOTIMPL;
    const tOperatorRow& operation = kOperators[number];
    if (!to.write || !from.read || !operation.exists) return E_NOTIMPL;

    plan.flags = flags;
    plan.destinationFormat = destinationFormat;
    plan.sourceFormat = sourceFormat;
    plan.channelShift = flags >> 16 & 0xFF;
    plan.read = from.read;
    plan.write = to.write;
    plan.operate = operation.operate;
    if (plan.operate) plan.readDestination = to.read;
    std::copy(extra.begin(), extra.end(), plan.extra);
    if (!(flags & kRowPlain) && destinationFormat == sourceFormat && number < LONG{std::size(kDirectBytes)})
        plan.direct = (sourceFormat == kRowBgra32 ? kDirectBytes : kDirectFloats)[number];
    return S_OK;
}

void KwConvertRow(const tRowPlan& plan, void* destination, const void* source, LONG count) {
    if (count <= 0 || !plan.write) return;
    if (plan.direct) return plan.direct(destination, source, count, plan);
    const LONG sourceBytes = kFormats[plan.sourceFormat - kFirstFormat].bytes,
               destinationBytes = kFormats[plan.destinationFormat - kFirstFormat].bytes;
    for (LONG at = 0; at < count; at += kChunk) {
        const LONG part = std::min(kChunk, count - at);
        auto* const to = static_cast<std::byte*>(destination) + std::ptrdiff_t{at} * destinationBytes;
        tRowPixel s[kChunk], d[kChunk];
        plan.read(static_cast<const std::byte*>(source) + std::ptrdiff_t{at} * sourceBytes, s, part);
        if (plan.operate) {
            plan.readDestination(to, d, part);
            plan.operate(d, s, part, plan);
        }
        plan.write(to, plan.operate ? d : s, part);
    }
}
