#include "pipeline.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>

namespace larkmoor {

void runPipeline(int threads, const Stages& stages) {
    const std::size_t held = static_cast<std::size_t>(threads) + 2;
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads));
    // Jobs are kept here, not in the pipeline, which forgets what it holds when a stage throws. At most `held` are out,
    // and they are written in order, so that the one taken next is free again.
    std::vector<Job> jobs(held);
    std::int64_t index = 0;
    const auto read = [&](tbb::flow_control& control) -> Job* {
        Job& job = jobs[static_cast<std::size_t>(index) % held];
        job = Job{};
        job.index = index++;
        if (!stages.read(job)) control.stop();
        return &job;
    };
    const auto work = [&](Job* job) {
        stages.work(*job);
        return job;
    };
    const auto write = [&](Job* job) {
        stages.write(*job);
        *job = Job{};
    };
    tbb::parallel_pipeline(held, tbb::make_filter<void, Job*>(tbb::filter_mode::serial_in_order, read) &
                                     tbb::make_filter<Job*, Job*>(tbb::filter_mode::parallel, work) &
                                     tbb::make_filter<Job*, void>(tbb::filter_mode::serial_in_order, write));
}

} // namespace larkmoor
