// Every kernel of the table, at every level of instructions, in memory that ends where its rows end.
#include <algorithm>
#include <array>
#include <memory>

#include "base/level.h"
#include "kernels/table.h"
#include "target.h"

using namespace larkmoor::fuzz;

namespace {

/// Rows in memory of their own.
struct Rows {
    RECT frame{}, clip{};
    std::unique_ptr<std::byte[]> memory;
    tView view{};

    Rows(FuzzedDataProvider& in, LONG width, LONG height, LONG clipWidth, LONG clipHeight, LONG pixelBytes,
         CKwDraw& content, bool clipped) {
        frame = {0, 0, width, height};
        const LONG left = in.ConsumeIntegralInRange<LONG>(0, width - clipWidth);
        const LONG top = in.ConsumeIntegralInRange<LONG>(0, height - clipHeight);
        clip = {left, top, left + clipWidth, top + clipHeight};
        const LONG row = width * pixelBytes, stride = row + in.ConsumeIntegralInRange<LONG>(0, 3) * 4;
        const auto size = static_cast<std::size_t>(stride * (height - 1) + row);
        memory = std::make_unique<std::byte[]>(size);
        const bool wild = in.ConsumeBool();
        for (std::size_t at = 0; at + 4 <= size; at += 4) {
            const auto bits = static_cast<std::uint32_t>(content.Bits());
            const float tame = static_cast<float>(bits % 1001) / 1000.0f;
            std::memcpy(memory.get() + at, pixelBytes == 16 && !wild ? static_cast<const void*>(&tame) : &bits, 4);
        }
        const bool upsideDown = in.ConsumeBool();
        view = {upsideDown ? memory.get() + stride * (height - 1) : memory.get(), &frame, upsideDown ? -stride : stride,
                clipped ? &clip : nullptr};
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const auto& kernels = KwKernels();
    const tKernel& kernel = kernels[in.ConsumeIntegralInRange<std::size_t>(0, kernels.size() - 1)];
    const LONG pixelBytes = kernel.takes & kTakes8 && (!(kernel.takes & kTakesFloat) || in.ConsumeBool()) ? 4 : 16;
    const auto levels = KwLevels();
    KwLimitLevel(levels[in.ConsumeIntegralInRange<std::size_t>(0, levels.size() - 1)]);
    CKwDraw content(in.ConsumeIntegral<std::uint8_t>());

    constexpr LONG mostPixels = 4096;
    const LONG width = in.ConsumeIntegralInRange<LONG>(1, 300);
    const LONG height = in.ConsumeIntegralInRange<LONG>(1, std::min<LONG>(200, std::max<LONG>(1, mostPixels / width)));
    const bool clipped = in.ConsumeBool();
    const auto rows = [&] {
        const bool own = kernel.takes & kOwnSizes && in.ConsumeBool();
        const LONG w = own ? in.ConsumeIntegralInRange<LONG>(1, 60) : width;
        const LONG h = own ? in.ConsumeIntegralInRange<LONG>(1, 60) : height;
        const LONG more = clipped ? in.ConsumeIntegralInRange<LONG>(0, 9) : 0;
        return Rows(in, w + more, h + more, w, h, pixelBytes, content, clipped);
    };
    Rows out = rows(), first = rows(), second = rows();
    tKernelCall call{out.view, {first.view, second.view}, pixelBytes, CKwDraw(in.ConsumeIntegral<std::uint64_t>())};
    if (kernel.takes & kInPlace && in.ConsumeBool()) call.in[0] = call.out;
    kernel.run(call);
    return 0;
}
