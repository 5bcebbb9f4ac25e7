#include "kernels/channel_min.h"

#include <cstring>
#include <exception>
#include <vector>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/copy.h"

namespace {

/// Columns handled at a time in the second pass.
constexpr std::ptrdiff_t kStrip = 64;

template <class Value>
KWINLINE inline void Lower(Value* a, const Value* b, std::ptrdiff_t count) {
    // Reads run ahead of the writes, never behind them.
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) a[i] = b[i] < a[i] ? b[i] : a[i];
}
KWINLINE inline void LowerLevels(std::uint8_t* a, const std::uint8_t* b, std::ptrdiff_t count) {
    Lower(a, b, count);
}
constexpr CKwBodies kLowerLevels(KwClones<LowerLevels>);
KWINLINE inline void LowerFloats(float* a, const float* b, std::ptrdiff_t count) {
    Lower(a, b, count);
}
constexpr CKwBodies kLowerFloats(KwClones<LowerFloats>);
void LowerAll(std::uint8_t* a, const std::uint8_t* b, std::ptrdiff_t count) {
    kLowerLevels(a, b, count);
}
void LowerAll(float* a, const float* b, std::ptrdiff_t count) {
    kLowerFloats(a, b, count);
}

/// Element i becomes the least of the elements from i up to but not including i + `window`, of `length` in all with
/// `lanes` values each, where that many follow: minima over windows of 1, 2, 4 and so on, of which two make any other.
template <class Value>
void RunningMin(Value* line, std::ptrdiff_t length, std::ptrdiff_t window, std::ptrdiff_t lanes) {
    std::ptrdiff_t done = 1;
    for (; done * 2 <= window; done *= 2) LowerAll(line, line + done * lanes, (length - done * 2 + 1) * lanes);
    if (done < window) LowerAll(line, line + (window - done) * lanes, (length - window + 1) * lanes);
}

/// `offset`s: of the channels, in bytes; `none`: the value where nothing is.
template <class Value>
void ChannelMin(const tRows& d, LONG destinationOffset, const tRows& s, LONG sourceOffset, LONG radius, Value none) {
    constexpr std::ptrdiff_t kPixel = 4 * sizeof(Value);
    const auto put = [&](LONG y, std::ptrdiff_t x, Value value) {
        std::memcpy(d.Row<std::byte>(y) + x * kPixel + destinationOffset, &value, sizeof value);
    };
    const std::ptrdiff_t width = s.width, height = s.height;
    if (radius <= 0) {
        for (LONG y = 0; y < d.height; ++y)
            for (std::ptrdiff_t x = 0; x < width; ++x) put(y, x, none);
        return;
    }
    const std::ptrdiff_t across = std::min<std::ptrdiff_t>(radius, width);
    const std::ptrdiff_t down = std::min<std::ptrdiff_t>(radius, height);
    std::vector<Value> line(static_cast<std::size_t>(width + 2 * across));
    std::vector<Value> plane(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::vector<Value> strip(static_cast<std::size_t>((height + 2 * down) * kStrip));
    for (LONG y = 0; y < s.height; ++y) {
        std::fill(line.begin(), line.end(), none);
        const std::byte* from = s.Row<std::byte>(y) + sourceOffset;
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            Value value;
            std::memcpy(&value, from + x * kPixel, sizeof value);
            line[across + x] = value < none ? value : none;
        }
        RunningMin(line.data(), width + 2 * across, 2 * across, 1);
        std::copy_n(line.begin(), width, plane.begin() + y * width);
    }
    for (std::ptrdiff_t begin = 0; begin < width; begin += kStrip) {
        const std::ptrdiff_t count = std::min(kStrip, width - begin);
        std::fill(strip.begin(), strip.end(), none);
        for (std::ptrdiff_t y = 0; y < height; ++y)
            std::copy_n(plane.begin() + y * width + begin, count, strip.begin() + (down + y) * kStrip);
        RunningMin(strip.data(), height + 2 * down, 2 * down, kStrip);
        for (LONG y = 0; y < d.height; ++y)
            for (std::ptrdiff_t x = 0; x < count; ++x) put(y, begin + x, strip[y * kStrip + x]);
    }
}

} // namespace

HRESULT KwDibChannelMin(const tView& destination, LONG destinationChannel, const tView& source, LONG sourceChannel,
                        LONG radius, LONG bytesPerPixel) try {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    const LONG to = KwDibChannelOffset(destinationChannel, KwPixelSize(bytesPerPixel));
    const LONG from = KwDibChannelOffset(sourceChannel, KwPixelSize(bytesPerPixel));
    if (bytesPerPixel == 4)
        ChannelMin<std::uint8_t>(d, to, s, from, radius, 255);
    else
        ChannelMin(d, to, s, from, radius, 10.0f);
    return S_OK;
} catch (const std::exception&) {
    return E_OUTOFMEMORY;
}
