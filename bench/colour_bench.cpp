// OpenCV's nearest operations to the filters of colour and level, where OpenCV was found.
#if LARKMOOR_BENCH_OPENCV
#include "opencv_row.h"

namespace {

[[maybe_unused]] const bool s_registered = [] {
    using M = cv::Mat;
    RegisterOpenCvRow("Invert", [](M& d, const M& s) { cv::bitwise_xor(s, cv::Scalar(255, 255, 255, 0), d); });
    RegisterOpenCvRow("Table", [table = M(1, 256, CV_8U, cv::Scalar(7))](M& d, const M& s) { cv::LUT(s, table, d); });
    RegisterOpenCvRow("Threshold", [](M& d, const M& s) { cv::threshold(s, d, 127, 255, cv::THRESH_BINARY); });
    RegisterOpenCvRow("Black and White", [](M& d, const M& s) {
        static M grey;
        cv::cvtColor(s, grey, cv::COLOR_BGRA2GRAY);
        cv::cvtColor(grey, d, cv::COLOR_GRAY2BGRA);
    });
    RegisterOpenCvRow("Sepia", [](M& d, const M& s) {
        const cv::Matx44f tone(.131f, .534f, .272f, 0, .168f, .686f, .349f, 0, .189f, .769f, .393f, 0, 0, 0, 0, 1);
        cv::transform(s, d, tone);
    });
    RegisterOpenCvRow("HSL Adjust", [](M& d, const M& s) {
        static M colors, hls, back;
        cv::cvtColor(s, colors, cv::COLOR_BGRA2BGR);
        cv::cvtColor(colors, hls, cv::COLOR_BGR2HLS);
        cv::multiply(hls, cv::Scalar(1, 1, 2), hls);
        cv::cvtColor(hls, back, cv::COLOR_HLS2BGR);
        cv::cvtColor(back, d, cv::COLOR_BGR2BGRA);
    });
    for (const bool gaussian : {false, true})
        RegisterOpenCvRow(gaussian ? "Add Noise/Gaussian" : "Add Noise/uniform", [gaussian](M& d, const M& s) {
            static M noise(kBenchHeight, kBenchWidth, CV_16SC4);
            if (gaussian)
                cv::randn(noise, 0, 40);
            else
                cv::randu(noise, -64, 64);
            cv::add(s, noise, d, cv::noArray(), CV_8U);
        });
    RegisterOpenCvRow("Mask Generator", [table = M(1, 256, CV_8U, cv::Scalar(7))](M& d, const M& s) {
        static M grey;
        cv::cvtColor(s, grey, cv::COLOR_BGRA2GRAY);
        cv::LUT(grey, table, grey);
        cv::merge(std::vector<M>(4, grey), d);
    });
    RegisterOpenCvRow("Black Restore", [](M& d, const M& s) {
        static M mask;
        s.copyTo(d);
        cv::inRange(s, cv::Scalar(0, 0, 0, 0), cv::Scalar(5, 5, 5, 255), mask);
        d.setTo(cv::Scalar(0, 0, 0, 255), mask);
    });
    return true;
}();

} // namespace
#endif
