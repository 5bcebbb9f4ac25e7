// Transitions on 1920 by 1080 pixels, one thread, beside a plain copy of one picture.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>

#include "kernels/barn.h"
#include "kernels/clock.h"
#include "kernels/copy.h"
#include "kernels/dissolve.h"
#include "kernels/push.h"
#include "kernels/squeeze.h"
#include "kernels/wipe.h"
#include "kernels/zoom.h"

namespace {

constexpr LONG kWidth = 1920, kHeight = 1080;
constexpr RECT kFrame{0, 0, kWidth, kHeight};

class CPicture {
  public:
    explicit CPicture(LONG bytesPerPixel, unsigned seed)
        : m_size(std::size_t{kWidth} * kHeight * static_cast<std::size_t>(bytesPerPixel)),
          m_bits(new std::byte[m_size]), m_stride(kWidth * bytesPerPixel) {
        std::memset(m_bits.get(), 0, m_size);
        if (bytesPerPixel != 4) return;
        for (std::size_t i = 0; i < m_size; ++i) m_bits[i] = static_cast<std::byte>((seed = seed * 69069 + 1) >> 24);
    }
    tView View() const { return {m_bits.get(), &kFrame, m_stride, nullptr}; }
    std::byte* Bits() const { return m_bits.get(); }
    std::size_t Size() const { return m_size; }

  private:
    std::size_t m_size;
    std::unique_ptr<std::byte[]> m_bits;
    LONG m_stride;
};

template <class Kernel>
void Run(benchmark::State& state, Kernel kernel) {
    const CPicture out(4, 1), a(4, 2), b(4, 3);
    for (auto _ : state) {
        kernel(out.View(), a.View(), b.View());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(out.Size()));
}

void Copy(benchmark::State& state) {
    const CPicture out(4, 1), a(4, 2);
    for (auto _ : state) {
        std::memcpy(out.Bits(), a.Bits(), a.Size());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(out.Size()));
}
BENCHMARK(Copy)->Unit(benchmark::kMicrosecond);

void Dissolve(benchmark::State& state, LONG mode, float progress) {
    const tDISSOLVEPROP record{0.5, 0.25, 1.0, 0.75, mode, 0};
    Run(state, [&](const tView& out, const tView& a, const tView& b) { KwDibDissolve(out, a, b, record, progress); });
}
BENCHMARK_CAPTURE(Dissolve, additive, 0, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, subtractive, 1, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, subtractiveLate, 1, 0.7f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, subtractiveCross, 2, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, bleed, 3, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, morph, 4, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, thresholdDissolve, 5, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, thresholdAppear, 6, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, toGrey, 7, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, fromGrey, 7, 0.7f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, toColor, 8, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, fromColor, 8, 0.7f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, red, 9, 0.2f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, green, 9, 0.5f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Dissolve, blue, 9, 0.8f)->Unit(benchmark::kMicrosecond);

void Wipe(benchmark::State& state, double angle, double feather) {
    Run(state, [&](const tView& out, const tView& a, const tView& b) {
        KwDibWipe(out, a, b, 4, kWidth * feather * 0.5, angle, 0.5, false);
    });
}
BENCHMARK_CAPTURE(Wipe, soft, 0.0, 0.5)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Wipe, diagonal, 45.0, 0.1)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Wipe, blendIn, 45.0, 1.0)->Unit(benchmark::kMicrosecond);

void Clock(benchmark::State& state, double feather) {
    const tCLOCKPROP prop{0, 0, feather};
    Run(state, [&](const tView& out, const tView& a, const tView& b) {
        KwDibCopy(out, a, 4);
        KwDibClock(out, b, 4, &prop, 0.6);
    });
}
BENCHMARK_CAPTURE(Clock, hard, 0.0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Clock, soft, 30.0)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Clock, blendIn, 220.0)->Unit(benchmark::kMicrosecond);

/// A progress of 0.25 is whole pixels, 0.3001 is not.
void Push(benchmark::State& state, LONG direction, LONG pushOff, double progress, float border, float feather) {
    const tPUSHPROP prop{direction, pushOff, border, feather, 1, 1, 1, 1};
    Run(state, [&](const tView& out, const tView& a, const tView& b) { KwDibPush(out, a, b, 4, prop, progress); });
}
BENCHMARK_CAPTURE(Push, leftWhole, 3, 1, 0.25, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Push, leftFraction, 3, 1, 0.3001, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Push, upFraction, 0, 1, 0.3001, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Push, inFraction, 3, 0, 0.3001, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Push, inBorder, 1, 0, 0.5, 0.08f, 0.08f)->Unit(benchmark::kMicrosecond);

void Squeeze(benchmark::State& state, LONG type, double progress) {
    const tSQUEEZEPROP prop{type, 1, 0, 0, 0, 0, 0, 1};
    Run(state, [&](const tView& out, const tView& a, const tView& b) { KwDibSqueeze(out, a, b, 4, prop, progress); });
}
BENCHMARK_CAPTURE(Squeeze, down, 0, 0.5)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Squeeze, downThird, 0, 0.3337)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Squeeze, right, 3, 0.5)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Squeeze, rightThird, 3, 0.3337)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Squeeze, lateral, 4, 0.5)->Unit(benchmark::kMicrosecond);

void Barn(benchmark::State& state, LONG orientation, double progress, float border, float feather) {
    const tBARNPROP prop{orientation, border, feather, 1, 1, 1, 1, 0};
    Run(state, [&](const tView& out, const tView& a, const tView& b) { KwDibBarn(out, a, b, 4, prop, progress); });
}
BENCHMARK_CAPTURE(Barn, plain, 0, 0.5, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Barn, fraction, 0, 0.3001, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Barn, border, 0, 0.5, 0.1f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Barn, softBorder, 0, 0.5, 0.0f, 0.3f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Barn, horizontal, 1, 0.5, 0.1f, 0.0f)->Unit(benchmark::kMicrosecond);

void Zoom(benchmark::State& state, double progress, float border, float feather) {
    const tZOOMPROP prop{0.5f, 0.5f, border, feather, 1, 1, 1, 1, 0};
    Run(state, [&](const tView& out, const tView& a, const tView& b) { KwDibZoom(out, a, b, 4, prop, progress); });
}
BENCHMARK_CAPTURE(Zoom, half, 0.5, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Zoom, small, 0.1, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Zoom, large, 0.9, 0.0f, 0.0f)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(Zoom, border, 0.7, 0.15f, 0.05f)->Unit(benchmark::kMicrosecond);

} // namespace
