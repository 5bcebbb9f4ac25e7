#include "kernels/shape_mix.h"

#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "base/arith.h"
#include "base/bodies.h"
#include "base/fits.h"
#include "kernels/fetch.h"
#include "kernels/mix_row.h"

namespace {

constexpr std::ptrdiff_t kBlock = 128;             // pixels mixed at a time
constexpr std::ptrdiff_t kStripBytes = 128 * 1024; // of a hard mask, so that it stays in the cache

/// What becomes of a pixel by its mask value.
enum class tRule { iris, keepShape, cutShape };

/// Weights of one block.
template <class Form>
struct tWeights {
    typename Form::tWeight mix[kBlock];    ///< from the first picture to the second, as `KwMixRow` takes it
    typename Form::tWeight border[kBlock]; ///< from that to the border colour; 0 for none
    typename Form::tWeight shown[kBlock];  ///< 0 where a cutter leaves the output alone
};

/// A border pixel of full alpha never lets the two pictures mix under it: the second shows whole.
template <tRule Rule>
KWINLINE inline void FindWeights8(tWeights<tForm8>& w, const tAnyWord* mask, const tAnyWord* border,
                                  std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t m = mask[i] >> 24, b = border ? border[i] >> 24 : 0;
        const std::uint32_t rim = (255 - m) * b / 255;
        const std::uint32_t k = Rule == tRule::cutShape ? 255 - m : m;
        const std::uint32_t under = rim == 0 || b < 255 ? k : Rule == tRule::cutShape ? 0u : 256u;
        w.mix[i] = static_cast<std::uint16_t>(k == 0 ? 0u : k == 255 ? 256u : under);
        w.border[i] = static_cast<std::uint16_t>(rim);
        w.shown[i] = static_cast<std::uint16_t>(k);
    }
}

/// `least`: the smallest weight of a border that shows.
template <tRule Rule>
KWINLINE inline void FindWeightsF(tWeights<tFormF>& w, const tAnyFloat* mask, const tAnyFloat* border,
                                  std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float m = mask[i * 4 + 3], b = border ? border[i * 4 + 3] : 0.0f;
        const float rim = border ? (1.0f - m) * b : 0.0f;
        const bool hasRim = Rule == tRule::iris ? rim > 0.0f : rim >= 0.001f;
        const bool noRim = Rule == tRule::iris ? rim == 0.0f : !hasRim;
        const float k = Rule == tRule::cutShape ? 1.0f - m : m;
        const float under = noRim || b < 1.0f ? k : Rule == tRule::cutShape ? tFormF::kKeep : tFormF::kWhole;
        w.mix[i] = k == 0.0f ? tFormF::kKeep : k >= 1.0f ? tFormF::kWhole : under;
        w.border[i] = hasRim ? rim : 0.0f;
        w.shown[i] = k;
    }
}

KWINLINE inline void IrisWeights8(tWeights<tForm8>& w, const tAnyWord* mask, const tAnyWord* border,
                                  std::ptrdiff_t count) {
    FindWeights8<tRule::iris>(w, mask, border, count);
}
constexpr CKwBodies kIrisWeights8(KwClones<IrisWeights8>);
KWINLINE inline void KeepWeights8(tWeights<tForm8>& w, const tAnyWord* mask, const tAnyWord* border,
                                  std::ptrdiff_t count) {
    FindWeights8<tRule::keepShape>(w, mask, border, count);
}
constexpr CKwBodies kKeepWeights8(KwClones<KeepWeights8>);
KWINLINE inline void CutWeights8(tWeights<tForm8>& w, const tAnyWord* mask, const tAnyWord* border,
                                 std::ptrdiff_t count) {
    FindWeights8<tRule::cutShape>(w, mask, border, count);
}
constexpr CKwBodies kCutWeights8(KwClones<CutWeights8>);

void WeightsOf(tRule rule, tWeights<tForm8>& w, const std::byte* mask, const std::byte* border, std::ptrdiff_t count) {
    const auto& find = rule == tRule::iris ? kIrisWeights8 : rule == tRule::keepShape ? kKeepWeights8 : kCutWeights8;
    find(w, reinterpret_cast<const tAnyWord*>(mask), reinterpret_cast<const tAnyWord*>(border), count);
}
void WeightsOf(tRule rule, tWeights<tFormF>& w, const std::byte* mask, const std::byte* border, std::ptrdiff_t count) {
    const tAnyFloat* m = reinterpret_cast<const tAnyFloat*>(mask);
    const tAnyFloat* b = reinterpret_cast<const tAnyFloat*>(border);
    if (rule == tRule::iris)
        FindWeightsF<tRule::iris>(w, m, b, count);
    else if (rule == tRule::keepShape)
        FindWeightsF<tRule::keepShape>(w, m, b, count);
    else
        FindWeightsF<tRule::cutShape>(w, m, b, count);
}

/// Whether no pixel of a block is at an edge: masks of 4 bytes that are everywhere 0 or everywhere full, and no border
/// that would show on them. Most blocks are such.
KWINLINE inline bool IsPlain8(const tAnyWord* mask, const tAnyWord* border, std::ptrdiff_t count) {
    std::uint32_t all = ~0u, any = 0, rim = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t m = mask[i];
        all &= m;
        any |= m;
    }
    if (all >> 24 == 255) return true;
    if (any >> 24) return false;
    if (border)
        for (std::ptrdiff_t i = 0; i < count; ++i) rim |= border[i];
    return rim >> 24 == 0;
}
constexpr CKwBodies kIsPlain8(KwClones<IsPlain8>);

/// All weights of a block are `value`.
template <class Weight>
bool AllAre(const Weight* weights, std::ptrdiff_t count, Weight value) {
    bool other = false;
    for (std::ptrdiff_t i = 0; i < count; ++i) other |= weights[i] != value;
    return !other;
}
KWINLINE inline bool AllAre8(const std::uint16_t* weights, std::ptrdiff_t count, std::uint16_t value) {
    std::uint16_t other = 0;
    for (std::ptrdiff_t i = 0; i < count; ++i) other = static_cast<std::uint16_t>(other | (weights[i] ^ value));
    return other == 0;
}
constexpr CKwBodies kAllAre8(KwClones<AllAre8>);
bool AllAre(const std::uint16_t* weights, std::ptrdiff_t count, std::uint16_t value) {
    return kAllAre8(weights, count, value);
}

/// Premultiplied over; `shown` 0 leaves the output. There `r` is 0, and 256 parts of the output are all of it.
KWINLINE inline void OverRow8(std::uint8_t* out, const std::uint8_t* r, const std::uint16_t* shown,
                              std::ptrdiff_t count) {
    std::uint16_t under[kBlock * 4];
    for (std::ptrdiff_t i = 0; i < count; ++i)
        for (int c = 0; c < 4; ++c) under[i * 4 + c] = static_cast<std::uint16_t>(shown[i] ? 255 - r[i * 4 + 3] : 256);
    for (std::ptrdiff_t i = 0; i < count * 4; ++i) {
        const auto seen = static_cast<std::uint16_t>(static_cast<std::uint16_t>(under[i] * out[i] + 127) >> 8);
        out[i] = static_cast<std::uint8_t>(r[i] + seen);
    }
}
constexpr CKwBodies kOverRow8(KwClones<OverRow8>);
KWINLINE inline void OverRowF(tAnyFloat* out, const tAnyFloat* r, const float* shown, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        for (int c = 0; c < 4; ++c)
            if (shown[i] != 0.0f) out[i * 4 + c] = (1.0f - r[i * 4 + 3]) * out[i * 4 + c] + r[i * 4 + c];
}
constexpr CKwBodies kOverRowF(KwClones<OverRowF>);

void BorderRow(std::uint8_t* out, const std::uint8_t* color, const std::uint16_t* weights, std::ptrdiff_t count) {
    KwMixRow(out, out, color, weights, count);
}
void BorderRow(tAnyFloat* out, const tAnyFloat* color, const float* weights, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        if (weights[i] != 0.0f)
            for (int c = 0; c < 4; ++c) out[i * 4 + c] = KwBlendFloat(out[i * 4 + c], color[i * 4 + c], weights[i]);
}

/// What a mix takes beside its rows. A null first picture is transparent black.
struct tMix {
    tRows out, first, second;
    tRule rule;
    bool blendWithOutput;
    const tIRISINFO* info;
};

template <class Form>
class CMixer {
    using tChannel = typename Form::tChannel;

  public:
    explicit CMixer(const tMix& mix) : m_mix(mix) {
        tChannel color[4];
        if constexpr (Form::kPixelSize == 4) {
            const tPixel8 c = KwBorderColor8(*mix.info);
            std::memcpy(color, &c, sizeof c);
        } else {
            const float c[4] = {mix.info->blue, mix.info->green, mix.info->red, mix.info->alpha};
            std::memcpy(color, c, sizeof c);
        }
        for (std::ptrdiff_t i = 0; i < kBlock * 4; ++i) m_color[i] = color[i % 4];
    }

    /// Mixes a row of the picture by a row of the masks; `border` may be null.
    void Row(LONG y, const std::byte* mask, const std::byte* border) {
        for (std::ptrdiff_t x = 0; x < m_mix.out.width; x += kBlock) {
            const std::ptrdiff_t at = x * Form::kPixelSize;
            Block(m_mix.out.Row<tChannel>(y) + x * 4,
                  m_mix.first.first ? m_mix.first.Row<const tChannel>(y) + x * 4 : m_nothing,
                  m_mix.second.Row<const tChannel>(y) + x * 4, mask + at, border ? border + at : nullptr,
                  std::min<std::ptrdiff_t>(kBlock, m_mix.out.width - x));
        }
    }

  private:
    void Block(tChannel* out, const tChannel* first, const tChannel* second, const std::byte* mask,
               const std::byte* border, std::ptrdiff_t count) {
        if constexpr (Form::kPixelSize == 4) {
            const tAnyWord* m = reinterpret_cast<const tAnyWord*>(mask);
            if (kIsPlain8(m, reinterpret_cast<const tAnyWord*>(border), count)) {
                const bool inside = (*m >> 24 == 255) != (m_mix.rule == tRule::cutShape);
                const tChannel* picture = inside ? second : first;
                if (!m_mix.blendWithOutput)
                    Put(out, picture, count);
                else if (inside || m_mix.rule == tRule::iris)
                    KwOverRow(out, picture, count);
                return;
            }
        }
        WeightsOf(m_mix.rule, m_weights, mask, border, count);
        if (m_mix.rule == tRule::iris) std::fill_n(m_weights.shown, count, typename Form::tWeight{1});
        if (!m_mix.blendWithOutput)
            Put(out, Mixed(out, first, second, count), count);
        else if (!AllAre(m_weights.shown, count, typename Form::tWeight{0}))
            Over(out, Mixed(m_mixed, first, second, count), count);
        if (border && !AllAre(m_weights.border, count, typename Form::tWeight{0}))
            BorderRow(out, m_color, m_weights.border, count);
    }
    /// The mixed pixels: one of the pictures where it is whole, else `memory`.
    const tChannel* Mixed(tChannel* memory, const tChannel* first, const tChannel* second, std::ptrdiff_t count) {
        if (AllAre(m_weights.mix, count, Form::kKeep)) return first;
        if (AllAre(m_weights.mix, count, Form::kWhole)) return second;
        // The next row is most often at an edge in the same places, to which no prefetcher jumps.
        for (std::ptrdiff_t i = 0; i < count * Form::kPixelSize; i += kCacheLine) {
            KwFetch(first, m_mix.first.stride + i);
            KwFetch(second, m_mix.second.stride + i);
        }
        KwMixRow(memory, first, second, m_weights.mix, count);
        return memory;
    }
    static void Put(tChannel* out, const tChannel* mixed, std::ptrdiff_t count) {
        if (out != mixed) std::memmove(out, mixed, static_cast<std::size_t>(count * Form::kPixelSize));
    }
    /// An iris shows everywhere.
    void Over(tChannel* out, const tChannel* mixed, std::ptrdiff_t count) {
        if constexpr (Form::kPixelSize == 16)
            kOverRowF(out, mixed, m_weights.shown, count);
        else if (m_mix.rule == tRule::iris)
            KwOverRow(out, mixed, count);
        else
            kOverRow8(out, mixed, m_weights.shown, count);
    }

    const tMix& m_mix;
    tWeights<Form> m_weights;
    tChannel m_color[kBlock * 4], m_mixed[kBlock * 4], m_nothing[kBlock * 4] = {};
};

/// Draws the masks and mixes through them, in strips where that gives the same masks.
template <class Form>
HRESULT MixThroughMasks(const tMix& mix, const RECT& shapeFrame, const RECT& part, double aspect, double progress,
                        bool fixedSize, tIRISINFO& info) {
    const LONG width = mix.out.width, height = mix.out.height;
    if (width > std::numeric_limits<LONG>::max() / Form::kPixelSize) return E_OUTOFMEMORY;
    const LONG stride = width * Form::kPixelSize;
    const bool soft = Form::kPixelSize == 4 && info.feather > 0.0f;
    const LONG strip = soft ? height : std::min(height, std::max<LONG>(1, static_cast<LONG>(kStripBytes / stride)));
    const auto size = static_cast<std::size_t>(stride) * static_cast<std::size_t>(strip);
    if (!KwFits(static_cast<std::uint64_t>(stride), static_cast<std::uint64_t>(strip))) return E_OUTOFMEMORY;
    const bool hasBorder = info.border > 0.0f;
    const std::unique_ptr<std::byte[]> mask(new (std::nothrow) std::byte[size]);
    const std::unique_ptr<std::byte[]> border(hasBorder ? new (std::nothrow) std::byte[size] : nullptr);
    if (!mask || (hasBorder && !border)) return E_OUTOFMEMORY;

    CMixer<Form> mixer(mix);
    for (LONG y = 0; y < height;) {
        const LONG rows = std::min(strip, height - y);
        const RECT maskFrame{part.left, part.top + y, part.right, part.top + y + rows};
        const RECT maskRect{0, 0, width, rows};
        if (const HRESULT status = KwCreateMaskBorder(&shapeFrame, &maskFrame, {mask.get(), &maskRect, stride, nullptr},
                                                      {border.get(), &maskRect, stride, nullptr}, Form::kPixelSize,
                                                      aspect, progress, fixedSize, &info);
            FAILED(status))
            return status;
        for (LONG row = 0; row < rows; ++row, ++y) {
            const std::ptrdiff_t at = std::ptrdiff_t{row} * stride;
            mixer.Row(y, mask.get() + at, hasBorder ? border.get() + at : nullptr);
        }
    }
    return S_OK;
}

HRESULT Run(const tMix& mix, LONG bytesPerPixel, const RECT& shapeFrame, const RECT& part, double aspect,
            double progress, bool fixedSize, tIRISINFO& info) {
    return KwWithForm(bytesPerPixel, [&](auto form) {
        return MixThroughMasks<decltype(form)>(mix, shapeFrame, part, aspect, progress, fixedSize, info);
    });
}

} // namespace

HRESULT KwDibIris(const tView& output, const tView& outside, const tView& inside, LONG bytesPerPixel, tIRISINFO* info,
                  double progress, bool blendWithOutput, double aspect) {
    if (!info) return E_POINTER;
    tRowPair first, second;
    if (const HRESULT status = KwDibResolveClipTwo(output, outside, bytesPerPixel, first); FAILED(status))
        return status;
    if (const HRESULT status = KwDibResolveClipTwo(output, inside, bytesPerPixel, second); FAILED(status))
        return status;
    tMix mix{first.destination, first.source, second.source, tRule::iris, blendWithOutput, info};
    mix.out.width = std::min(first.destination.width, second.destination.width);
    mix.out.height = std::min(first.destination.height, second.destination.height);
    if (mix.out.width <= 0 || mix.out.height <= 0) return S_OK;
    return Run(mix, bytesPerPixel, *outside.frame, first.sourceRect, aspect, progress, false, *info);
}

HRESULT KwDibCutter(const tView& output, const tView& input, LONG bytesPerPixel, tCUTTERINFO* info,
                    bool blendWithOutput, double aspect) {
    if (!info) return E_POINTER;
    tRowPair pair;
    if (const HRESULT status = KwDibResolveClipTwo(output, input, bytesPerPixel, pair); FAILED(status)) return status;
    if (pair.destination.width <= 0 || pair.destination.height <= 0) return S_OK;
    const tMix mix{pair.destination, {},
                   pair.source,      info->shape.direction ? tRule::keepShape : tRule::cutShape,
                   blendWithOutput,  &info->shape};
    const double size = KwClamp(static_cast<double>(info->size), 0.0, 1.0);
    return Run(mix, bytesPerPixel, *input.frame, pair.sourceRect, aspect, size, true, info->shape);
}
