// Numbers and times as text, one at a time.
#include <benchmark/benchmark.h>

#include "support/time_format.h"
#include "support/value_format.h"
#include "support/value_read.h"

namespace {

template <class A>
void Number(benchmark::State& state, const char* pattern, A value) {
    char text[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(FormatValue(text, pattern, value));
        benchmark::ClobberMemory();
        value = value + 1;
    }
}
BENCHMARK_CAPTURE(Number, real, "$.3f", 1234567.25);
BENCHMARK_CAPTURE(Number, whole, "$d", 1234567);
BENCHMARK_CAPTURE(Number, thousandths, "$.3z", 1234567);
BENCHMARK_CAPTURE(Number, plain, "%d", 1234567);

void Time(benchmark::State& state) {
    const tTIMEFORMAT format{static_cast<LONG>(state.range(0)), 48000, 30.0, 120.0, 0, 4, 4, 960};
    char text[64];
    std::int64_t time = 36000000000;
    for (auto _ : state) {
        benchmark::DoNotOptimize(FormatTime(text, format, time, false));
        benchmark::ClobberMemory();
        time += 333667;
    }
}
BENCHMARK(Time)->DenseRange(0, kTimeFormats - 1);

void Read(benchmark::State& state) {
    char text[64];
    FormatValue(text, "$.3f", 1234567.25);
    for (auto _ : state) benchmark::DoNotOptimize(ReadDouble(text, nullptr));
}
BENCHMARK(Read);

void LocaleFacts(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(KwReadLocale("de_CH"));
}
BENCHMARK(LocaleFacts);

} // namespace
