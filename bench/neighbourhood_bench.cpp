// Blurs, sharpening, pixelation, waves and channel minima at 1920x1080, one thread, beside OpenCV's nearest filters.
#include "kernels/channel_min.h"
#include "kernels/gaussian.h"
#include "kernels/pixelate.h"
#include "kernels/smooth_mix.h"
#include "kernels/wave.h"
#include "row.h"

#ifdef LARKMOOR_BENCH_OPENCV
#include "opencv_row.h"
#endif

namespace {

using V = const tView&;

/// A kernel at several strengths; whole numbers, since a benchmark's argument is one.
struct tRow {
    const char* name;
    std::vector<std::int64_t> arguments;
    void (*run)(V d, V s, LONG size, double argument);
    bool floats = true; ///< whether the 16-byte form does anything
};

const tRow kRows[] = {
    {"KwDibGaussianBlur/radius",
     {0, 1, 5, 52, 360},
     [](V d, V s, LONG n, double r) { KwDibGaussianBlur(d, s, n, r, r); },
     false},
    {"KwDibGaussianBlurChannel/radius",
     {0, 1, 5, 52, 360},
     [](V d, V s, LONG n, double r) { KwDibGaussianBlurChannel(d, s, n, r, r, 3); },
     false},
    {"KwDibSmoothBlend/percent", {0, 40}, [](V d, V s, LONG n, double p) { KwDibSmoothBlend(d, s, n, p / 100.0); }},
    {"KwDibSharpen/percent", {0, 50, 100}, [](V d, V s, LONG n, double p) { KwDibSharpen(d, s, n, p / 100.0); }},
    {"KwDibPixelate/percent",
     {0, 5, 25, 50, 88, 100},
     [](V d, V s, LONG n, double p) { KwDibPixelate(d, s, n, p / 100.0, p / 100.0); }},
    {"KwDibPixelate/across", {50}, [](V d, V s, LONG n, double p) { KwDibPixelate(d, s, n, p / 100.0, 1.0); }},
    {"KwDibPixelate/down", {50}, [](V d, V s, LONG n, double p) { KwDibPixelate(d, s, n, 1.0, p / 100.0); }},
    {"KwDibWave/waves",
     {0, 5, 14, 20, 32},
     [](V d, V s, LONG n, double w) {
         KwDibWave(d, s, n, {w, w, 0.05, 0.05, 0.0, 0.0});
     }},
    {"KwDibChannelMin/radius",
     {2, 24, 200},
     [](V d, V s, LONG n, double r) { KwDibChannelMin(d, 3, s, 3, static_cast<LONG>(r), n); }},
};

/// The Gaussian's cost against the picture's width, at 16 to 9.
void GaussianBySize(benchmark::State& state) {
    const LONG width = static_cast<LONG>(state.range(0)), height = width * 9 / 16;
    const RECT frame{0, 0, width, height};
    std::vector<tPixel8> from(static_cast<std::size_t>(width * height), tPixel8{40, 90, 160, 255}), to = from;
    for (std::size_t i = 0; i < from.size(); i += 7) from[i].g = static_cast<std::uint8_t>(i * 31);
    const double radius = width / 40.0;
    for (auto _ : state)
        KwDibGaussianBlur({to.data(), &frame, width * 4, nullptr}, {from.data(), &frame, width * 4, nullptr}, 4, radius,
                          radius);
    state.SetItemsProcessed(state.iterations() * width * height);
}
BENCHMARK(GaussianBySize)->Arg(480)->Arg(960)->Arg(1920)->Arg(3840)->Unit(benchmark::kMillisecond);

#ifdef LARKMOOR_BENCH_OPENCV
void AddPeers() {
    for (const double radius : {1.0, 5.0, 52.0}) {
        const double sigma = KwGaussianSigma(radius);
        RegisterOpenCvRow("GaussianBlur/radius:" + std::to_string(static_cast<int>(radius)),
                          [=](cv::Mat& d, const cv::Mat& s) { cv::GaussianBlur(s, d, {}, sigma); });
    }
    RegisterOpenCvRow("GaussianBlur3x3/mix", [](cv::Mat& d, const cv::Mat& s) {
        cv::GaussianBlur(s, d, {3, 3}, 0.85);
        cv::addWeighted(d, 0.6, s, 0.4, 0.0, d);
    });
    const cv::Mat sharpen = (cv::Mat_<float>(3, 3) << -1, -2, -1, -2, 21, -2, -1, -2, -1) / 9.0f;
    RegisterOpenCvRow("filter2D3x3", [sharpen](cv::Mat& d, const cv::Mat& s) { cv::filter2D(s, d, -1, sharpen); });
    for (const double kept : {0.5, 0.88})
        RegisterOpenCvRow("resizeTwice/percent:" + std::to_string(static_cast<int>(kept * 100)),
                          [=](cv::Mat& d, const cv::Mat& s) {
                              cv::Mat cells;
                              cv::resize(s, cells, {}, kept * 0.5, kept * 0.5, cv::INTER_AREA);
                              cv::resize(cells, d, s.size(), 0, 0, cv::INTER_NEAREST);
                          });
    RegisterOpenCvRow("remap/waves:5", [](cv::Mat& d, const cv::Mat& s) {
        cv::Mat x(s.size(), CV_32F), y(s.size(), CV_32F);
        std::vector<float> down(static_cast<std::size_t>(s.cols));
        for (int i = 0; i < s.cols; ++i) down[static_cast<std::size_t>(i)] = 54.0f * std::sin(i * 15.7f / s.cols);
        for (int r = 0; r < s.rows; ++r) {
            const float across = 96.0f * std::sin(r * 15.7f / s.rows);
            for (int i = 0; i < s.cols; ++i) {
                x.at<float>(r, i) = across + i;
                y.at<float>(r, i) = down[static_cast<std::size_t>(i)] + r;
            }
        }
        cv::remap(s, d, x, y, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
    });
}
#else
void AddPeers() {}
#endif

const bool kRegistered = [] {
    for (const tRow& row : kRows)
        for (const LONG size : {4, 16})
            for (const std::int64_t argument : row.arguments) {
                if (size == 16 && !row.floats) continue;
                const std::string name =
                    std::string(row.name) + ":" + std::to_string(argument) + (size == 4 ? "" : "/floats");
                benchmark::RegisterBenchmark(name.c_str(),
                                             [&row, size, argument](benchmark::State& state) {
                                                 RunBenchRow(state, size, [&](CBenchPicture& d, CBenchPicture& s) {
                                                     row.run(d.View(), s.View(), size, static_cast<double>(argument));
                                                 });
                                             })
                    ->UseManualTime()
                    ->Unit(benchmark::kMillisecond);
            }
    AddPeers();
    return true;
}();

} // namespace
