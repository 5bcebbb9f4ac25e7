// The pixel primitives at 1920x1080 in both pixel forms, one thread.
#include "kernels/alpha.h"
#include "kernels/blend.h"
#include "kernels/convolve.h"
#include "kernels/copy.h"
#include "kernels/cpu.h"
#include "kernels/desaturate.h"
#include "kernels/lut.h"
#include "row.h"

namespace {

constexpr double kMatte[3] = {0.2, 0.5, 0.7};
constexpr LONG kSharpen[9] = {-1, -2, -1, -2, 29, -2, -1, -2, -1};
constexpr LONG kLarge[9] = {1, 2, 1, 2, 500, 2, 1, 2, 1};

/// A gamma curve: 256 bytes, or 65,536 words for floats.
const void* Table(bool is8Bit) {
    static std::vector<std::uint8_t> bytes;
    static std::vector<std::uint16_t> words;
    if (bytes.empty()) {
        for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<std::uint8_t>(std::pow(i / 255.0, 0.6) * 255.0));
        for (int i = 0; i < 65536; ++i)
            words.push_back(static_cast<std::uint16_t>(std::pow(i / 65535.0, 0.6) * 65535.0));
    }
    return is8Bit ? static_cast<const void*>(bytes.data()) : words.data();
}

using V = const tView&;
struct tRow {
    const char* name;
    void (*run)(V d, V s, LONG size);
};

const tRow kRows[] = {
    {"KwDibCopy", [](V d, V s, LONG n) { KwDibCopy(d, s, n); }},
    {"KwDibFill", [](V d, V, LONG n) { KwDibFill(d, n, 0.1, 0.2, 0.3, 0.9); }},
    {"KwDibBlend", [](V d, V s, LONG n) { KwDibBlend(d, s, n, 0.3); }},
    {"KwDibBlendSrcAlpha", [](V d, V s, LONG n) { KwDibBlendSrcAlpha(d, s, n); }},
    {"KwDibBlendSrcAlpha/matte", [](V d, V s, LONG n) { KwDibBlendSrcAlpha(d, s, n, kMatte); }},
    {"KwDibCopyChannel", [](V d, V s, LONG n) { KwDibCopyChannel(d, s, n, 0, 3); }},
    {"KwDibCopyChannel/same", [](V d, V, LONG n) { KwDibCopyChannel(d, d, n, 0, 3); }},
    {"KwDibClampToAlpha", [](V d, V, LONG n) { KwDibClampToAlpha(d, n); }},
    {"KwDibPremultiply", [](V d, V, LONG n) { KwDibPremultiply(d, n); }},
    {"KwDibDesaturate", [](V d, V, LONG n) { KwDibDesaturate(d, n, false); }},
    {"KwDibDesaturate/luminance", [](V d, V, LONG n) { KwDibDesaturate(d, n, true); }},
    {"KwDibApplyLut", [](V d, V, LONG n) { KwDibApplyLut(d, n, Table(n == 4), n == 4, false, true); }},
    {"KwDibApplyLut/loop",
     [](V d, V, LONG n) {
         const bool before = KwSetFastPaths(false);
         KwDibApplyLut(d, n, Table(n == 4), n == 4, false, true);
         KwSetFastPaths(before);
     }},
    {"KwDibApplyLuts",
     [](V d, V, LONG n) { KwDibApplyLuts(d, n, Table(n == 4), Table(n == 4), Table(n == 4), nullptr, n == 4); }},
    {"KwDibBrightness", [](V d, V, LONG n) { KwDibBrightness(d, n, 0.2f); }},
    {"KwDibSmooth3x3", [](V d, V s, LONG n) { KwDibSmooth3x3(d, s, n); }},
    {"KwDibConvolve3x3", [](V d, V s, LONG n) { KwDibConvolve3x3(d, s, n, kSharpen, 17); }},
    {"KwDibConvolve3x3/large", [](V d, V s, LONG n) { KwDibConvolve3x3(d, s, n, kLarge, 512); }},
    {"KwDibAddScaled", [](V d, V s, LONG n) { KwDibAddScaled(d, s, n, 0.7, 3, 0.0, 0.0); }},
    {"KwDibAddScaled/offset", [](V d, V s, LONG n) { KwDibAddScaled(d, s, n, 0.7, 3, 0.3, 0.6); }},
};

[[maybe_unused]] const bool s_registered = [] {
    for (const LONG size : {4, 16}) {
        const auto add = [size](std::string name, auto run) {
            benchmark::RegisterBenchmark((name + (size == 4 ? "8" : "F")).c_str(),
                                         [size, run](benchmark::State& state) {
                                             RunBenchRow(state, size,
                                                         [&](CBenchPicture& d, CBenchPicture& s) { run(d, s, size); });
                                         })
                ->UseManualTime()
                ->Unit(benchmark::kMillisecond);
        };
        add("Copy/plain", [](CBenchPicture& d, CBenchPicture& s, LONG) { std::memcpy(d.Data(), s.Data(), s.Bytes()); });
        for (const tRow& row : kRows)
            add(std::string(row.name) + "/",
                [&row](CBenchPicture& d, CBenchPicture& s, LONG n) { row.run(d.View(), s.View(), n); });
    }
    return true;
}();

} // namespace
