// Several per-pixel steps over one picture, a few rows at a time, so that each step finds the rows of the step before
// in the processor's cache: one walk through memory in place of several.
#pragma once

#include <algorithm>
#include <array>

#include "kernels/ranges.h"

/// Calls `body(output, input)` with views clipped to strips of rows, from the top, until a call fails; several at once
/// where helpers are lent (see `KwForRanges`), so that `body` changes nothing but pixels, and throws nothing.
/// The result is that of one call with the whole views as long as every step in `body` looks at each pixel alone.
/// Clips of different sizes, and clips that leave their frames, get that one call.
template <class Body>
HRESULT KwForStrips(const tView& output, const tView& input, LONG bytesPerPixel, Body&& body) {
    constexpr std::int64_t kStripBytes = std::int64_t{64} * 1024;
    constexpr LONG kFewStrips = 2; // are not worth a helper's start
    if (!output.frame || !input.frame) return body(output, input);
    const RECT outRect = output.clip ? *output.clip : *output.frame;
    const RECT inRect = input.clip ? *input.clip : *input.frame;
    const std::int64_t width = KwWidth(outRect), height = KwHeight(outRect);
    if (KwIsEmpty(outRect) || width != KwWidth(inRect) || height != KwHeight(inRect) ||
        KwIntersect(outRect, *output.frame) != outRect || KwIntersect(inRect, *input.frame) != inRect)
        return body(output, input);

    const std::int64_t rows = std::max<std::int64_t>(1, kStripBytes / (width * KwPixelSize(bytesPerPixel)));
    const LONG strips = static_cast<LONG>((height + rows - 1) / rows);
    std::array<HRESULT, kKwMostRanges> failures{};
    const auto run = [&](LONG first, LONG last, std::size_t range) {
        for (LONG i = first; i < last && SUCCEEDED(failures[range]); ++i) {
            const LONG from = static_cast<LONG>(i * rows), to = static_cast<LONG>(std::min((i + 1) * rows, height));
            const RECT outStrip{outRect.left, outRect.top + from, outRect.right, outRect.top + to};
            const RECT inStrip{inRect.left, inRect.top + from, inRect.right, inRect.top + to};
            failures[range] = body(tView{output.bits, output.frame, output.stride, &outStrip},
                                   tView{input.bits, input.frame, input.stride, &inStrip});
        }
    };
    if (strips < kFewStrips)
        run(0, strips, 0);
    else
        KwForRanges(strips, run);
    const auto failed = std::ranges::find_if(failures, [](HRESULT status) { return FAILED(status); });
    return failed == failures.end() ? S_OK : *failed;
}
