// A row of the benchmark for an operation of OpenCV's, where OpenCV was found.
#pragma once

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <string>

#include "row.h"

inline cv::Mat MatOf(CBenchPicture& picture) {
    return {kBenchHeight, kBenchWidth, CV_8UC4, picture.Data()};
}

/// Times `work(destination, source)` in one thread as the row "OpenCV/`name`".
template <class Work>
void RegisterOpenCvRow(const std::string& name, Work work) {
    benchmark::RegisterBenchmark(("OpenCV/" + name).c_str(),
                                 [work](benchmark::State& state) {
                                     cv::setNumThreads(1);
                                     RunBenchRow(state, 4, [&](CBenchPicture& d, CBenchPicture& s) {
                                         cv::Mat output = MatOf(d);
                                         work(output, MatOf(s));
                                     });
                                 })
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}
