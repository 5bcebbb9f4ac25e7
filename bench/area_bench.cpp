// Median, and min and max, by radius and by picture size, beside a plain copy and OpenCV's nearest filters.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "kernels/median.h"
#include "kernels/min_max.h"

#ifdef LARKMOOR_BENCH_OPENCV
#include <opencv2/imgproc.hpp>
#endif

namespace {

/// A premultiplied picture of slow gradients, hard edges, texture and grain, opaque but for one soft disc.
class CContent {
  public:
    CContent(LONG width, LONG height)
        : m_frame{0, 0, width, height}, m_pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
        std::minstd_rand random(7);
        for (LONG y = 0; y < height; ++y)
            for (LONG x = 0; x < width; ++x) {
                const double u = static_cast<double>(x) / width, v = static_cast<double>(y) / height;
                const double block = ((x / 160 + y / 120) % 3 - 1) * 35.0;
                const double texture = u > 0.5 ? 12.0 * std::sin(x * 0.21) * std::cos(y * 0.17) : 0.0;
                const double grain = v > 0.4 ? static_cast<double>(random() % 13) - 6.0 : 0.0;
                const double alpha = std::clamp((std::hypot(u - 0.5, (v - 0.5) * 0.6) - 0.05) * 12.0, 0.0, 1.0);
                const auto channel = [&](double base) {
                    return static_cast<std::uint8_t>(std::clamp(base + block + texture + grain, 0.0, 255.0) * alpha);
                };
                m_pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)] =
                    {channel(60 + 120 * u), channel(200 - 120 * v), channel(90 + 60 * (u + v)),
                     static_cast<std::uint8_t>(alpha * 255.0)};
            }
    }
    tView View() { return {m_pixels.data(), &m_frame, m_frame.right * 4, nullptr}; }
    std::vector<tPixel8>& Pixels() { return m_pixels; }

  private:
    RECT m_frame;
    std::vector<tPixel8> m_pixels;
};

struct tPictures {
    CContent from, to;
    tPictures(LONG width, LONG height) : from(width, height), to(width, height) {}
};

tPictures& FullHd() {
    static tPictures pictures(1920, 1080);
    return pictures;
}

float RadiusOf(const benchmark::State& state) {
    return static_cast<float>(state.range(0)) / 10.0f;
}

void Copy(benchmark::State& state) {
    tPictures& p = FullHd();
    for (auto _ : state) {
        std::memcpy(p.to.Pixels().data(), p.from.Pixels().data(), p.from.Pixels().size() * 4);
        benchmark::ClobberMemory();
    }
}

template <bool Circular>
void Median(benchmark::State& state) {
    tPictures& p = FullHd();
    const float r = RadiusOf(state);
    for (auto _ : state) KwDibPercentileFilter(p.to.View(), p.from.View(), 4, r, r, 1.0, Circular, 0.5f);
}

template <bool Circular>
void Max(benchmark::State& state) {
    tPictures& p = FullHd();
    const float r = RadiusOf(state);
    for (auto _ : state) KwDibMaxFilter(p.to.View(), p.from.View(), 4, r, r, 1.0, Circular);
}

template <bool Circular>
void Min(benchmark::State& state) {
    tPictures& p = FullHd();
    const float r = RadiusOf(state);
    for (auto _ : state) KwDibMinFilter(p.to.View(), p.from.View(), 4, r, r, 1.0, Circular);
}

/// Cost against picture size: the radius grows with the picture, as in the effects.
void MedianBySize(benchmark::State& state) {
    const LONG width = static_cast<LONG>(state.range(0)), height = width * 9 / 16;
    tPictures p(width, height);
    const float r = static_cast<float>(width) * 0.0127f;
    for (auto _ : state) KwDibPercentileFilter(p.to.View(), p.from.View(), 4, r, r, 1.0, false, 0.5f);
    state.SetItemsProcessed(state.iterations() * width * height);
}
void MaxBySize(benchmark::State& state) {
    const LONG width = static_cast<LONG>(state.range(0)), height = width * 9 / 16;
    tPictures p(width, height);
    const float r = static_cast<float>(width) * 0.0127f;
    for (auto _ : state) KwDibMaxFilter(p.to.View(), p.from.View(), 4, r, r, 1.0, false);
    state.SetItemsProcessed(state.iterations() * width * height);
}

#ifdef LARKMOOR_BENCH_OPENCV
cv::Mat MatOf(CContent& content) {
    return cv::Mat(1080, 1920, CV_8UC4, content.Pixels().data());
}

void OpenCvMedian(benchmark::State& state) {
    cv::setNumThreads(1);
    tPictures& p = FullHd();
    cv::Mat from = MatOf(p.from), to = MatOf(p.to);
    for (auto _ : state) cv::medianBlur(from, to, 2 * (static_cast<int>(state.range(0)) / 10) + 1);
}

template <int Shape>
void OpenCvDilate(benchmark::State& state) {
    cv::setNumThreads(1);
    tPictures& p = FullHd();
    cv::Mat from = MatOf(p.from), to = MatOf(p.to);
    const int side = 2 * (static_cast<int>(state.range(0)) / 10 + 1) + 1;
    const cv::Mat element = cv::getStructuringElement(Shape, {side, side});
    for (auto _ : state) cv::dilate(from, to, element);
}
#endif

/// Radii in tenths of a pixel: small, middle and large, whole and broken.
void Radii(benchmark::internal::Benchmark* bench) {
    for (const int tenths : {20, 23, 77, 240, 244, 480, 957, 960}) bench->Arg(tenths);
    bench->Unit(benchmark::kMillisecond);
}

void Widths(benchmark::internal::Benchmark* bench) {
    for (const int width : {480, 960, 1920, 3840}) bench->Arg(width);
    bench->Unit(benchmark::kMillisecond);
}

BENCHMARK(Copy)->Name("area/copy")->Unit(benchmark::kMillisecond);
BENCHMARK(Median<false>)->Name("median/rectangle")->Apply(Radii);
BENCHMARK(Median<true>)->Name("median/ellipse")->Apply(Radii);
BENCHMARK(Max<false>)->Name("max/rectangle")->Apply(Radii);
BENCHMARK(Min<false>)->Name("min/rectangle")->Apply(Radii);
BENCHMARK(Max<true>)->Name("max/ellipse")->Apply(Radii);
BENCHMARK(Min<true>)->Name("min/ellipse")->Apply(Radii);
BENCHMARK(MedianBySize)->Name("median/size")->Apply(Widths);
BENCHMARK(MaxBySize)->Name("max/size")->Apply(Widths);
#ifdef LARKMOOR_BENCH_OPENCV
BENCHMARK(OpenCvMedian)->Name("median/opencv")->Apply(Radii);
BENCHMARK(OpenCvDilate<cv::MORPH_RECT>)->Name("max/opencv rectangle")->Apply(Radii);
BENCHMARK(OpenCvDilate<cv::MORPH_ELLIPSE>)->Name("max/opencv ellipse")->Apply(Radii);
#endif

} // namespace
