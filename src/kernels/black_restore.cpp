#include "kernels/black_restore.h"

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/unaligned.h"

namespace {

KWINLINE inline void BlackRow8(tAnyWord* d, const tAnyWord* s, std::ptrdiff_t count, std::int32_t threshold) {
    KWNODEPENDENCE
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint32_t w = s[i];
        const auto level = [=](int shift) KWINLINE { return static_cast<std::int32_t>(w >> shift & 255); };
        const std::int32_t top = std::max(std::max(level(0), level(8)), level(16)); // of a list no vectors are made
        d[i] = w & (top <= threshold ? 0xFF000000 : ~0u);
    }
}
constexpr CKwBodies kBlackRow8(KwClones<BlackRow8>);

KWINLINE inline void BlackRowFloat(tAnyFloat* d, const tAnyFloat* s, std::ptrdiff_t count, float threshold) {
    for (std::ptrdiff_t i = 0; i < count; ++i, d += 4, s += 4) {
        const float b = s[0], g = s[1], r = s[2], a = s[3];
        const bool black = b <= threshold && g <= threshold && r <= threshold;
        d[0] = black ? 0.0f : b;
        d[1] = black ? 0.0f : g;
        d[2] = black ? 0.0f : r;
        d[3] = a;
    }
}
constexpr CKwBodies kBlackRowFloat(KwClones<BlackRowFloat>);

} // namespace

HRESULT KwDibBlackRestore(const tView& destination, const tView& source, LONG bytesPerPixel, double threshold) {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    for (LONG y = 0; y < d.height; ++y) {
        if (bytesPerPixel == 4)
            kBlackRow8(KwWordRow(d, y), KwWordRow(s, y), d.width, KwTrunc(threshold * 255.0));
        else
            kBlackRowFloat(KwFloatRow(d, y), KwFloatRow(s, y), d.width, static_cast<float>(threshold));
    }
    return S_OK;
}
