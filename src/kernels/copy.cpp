#include "kernels/copy.h"

#include <bit>
#include <cstring>
#include <functional>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/unaligned.h"

namespace {

static_assert(std::endian::native == std::endian::little, "pixels are handled as words 0xAARRGGBB");

KWINLINE inline void FillWords(tAnyWord* target, std::uint32_t value, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) target[i] = value;
}
constexpr CKwBodies kFillWords(KwClones<FillWords>);

/// Moves a byte inside each word: `keep` masks the destination, the shifts are in bits.
KWINLINE inline void CopyByteRow(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count, std::uint32_t keep,
                                 std::uint32_t shiftDown, std::uint32_t shiftUp) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i] = (d[i] & keep) | (s[i] >> shiftDown & 255) << shiftUp;
}
constexpr CKwBodies kCopyByteRow(KwClones<CopyByteRow>);

KWINLINE inline void CopyFloatRow(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) d[i * 4] = s[i * 4];
}
constexpr CKwBodies kCopyFloatRow(KwClones<CopyFloatRow>);

/// Fills a row by copying its first `unit` bytes on, twice as many each time.
void Repeat(std::byte* row, std::size_t unit, std::size_t bytes) {
    constexpr std::size_t kBlock = 4096; // stays in the first cache
    for (std::size_t done = unit; done < bytes;) {
        const std::size_t part = std::min({done, kBlock, bytes - done});
        std::memcpy(row + done, row, part);
        done += part;
    }
}

} // namespace

HRESULT KwDibCopy(const tView& destination, const tView& source, LONG bytesPerPixel) {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const std::ptrdiff_t bytes = std::ptrdiff_t{d.width} * KwPixelSize(bytesPerPixel);
    if (d.first == s.first && d.stride == s.stride) return S_OK;
    if (d.stride == bytes && s.stride == bytes) {
        std::memmove(d.first, s.first, static_cast<std::size_t>(bytes) * static_cast<std::size_t>(d.height));
        return S_OK;
    }
    // Rows in the order that reads shared memory before it is overwritten.
    const bool upwards = std::less<>{}(s.first, d.first) == (d.stride > 0);
    for (LONG i = 0; i < d.height; ++i) {
        const LONG y = upwards ? d.height - 1 - i : i;
        std::memmove(d.Row<std::byte>(y), s.Row<std::byte>(y), static_cast<std::size_t>(bytes));
    }
    return S_OK;
}

HRESULT KwDibFill(const tView& view, LONG bytesPerPixel, double red, double green, double blue, double alpha) {
    tRows rows;
    if (const HRESULT status = KwDibResolveClip(view, bytesPerPixel, rows); FAILED(status)) return status;
    if (rows.width == 0) return S_OK;
    if (bytesPerPixel == 4) {
        const auto level = [](double v) { return KwByte(KwTrunc(KwClamp(v * 255.0, 0.0, 255.0))); };
        const std::uint32_t word =
            std::bit_cast<std::uint32_t>(tPixel8{level(blue), level(green), level(red), level(alpha)});
        for (LONG y = 0; y < rows.height; ++y) kFillWords(KwWordRow(rows, y), word, rows.width);
    } else {
        const tPixelF pixel{static_cast<float>(blue), static_cast<float>(green), static_cast<float>(red),
                            static_cast<float>(alpha)};
        for (LONG y = 0; y < rows.height; ++y) {
            std::memcpy(rows.Row<std::byte>(y), &pixel, sizeof pixel);
            Repeat(rows.Row<std::byte>(y), sizeof pixel, sizeof pixel * static_cast<std::size_t>(rows.width));
        }
    }
    return S_OK;
}

HRESULT KwDibCopyChannel(const tView& destination, const tView& source, LONG bytesPerPixel, LONG destinationChannel,
                         LONG sourceChannel) {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const LONG to = KwDibChannelOffset(destinationChannel, 4);
    const LONG from = KwDibChannelOffset(sourceChannel, 4);
    for (LONG y = 0; y < d.height; ++y) {
        if (bytesPerPixel == 4)
            kCopyByteRow(KwWordRow(d, y), KwWordRow(s, y), d.width, ~(0xFFu << to * 8),
                         static_cast<std::uint32_t>(from) * 8, static_cast<std::uint32_t>(to) * 8);
        else
            kCopyFloatRow(KwFloatRow(d, y) + to, KwFloatRow(s, y) + from, d.width);
    }
    return S_OK;
}

void KwSetMemoryDWords(void* target, ULONG value, ULONG count) {
    if (target) kFillWords(static_cast<tAnyWord*>(target), value, count);
}
