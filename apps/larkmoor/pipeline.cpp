#include "pipeline.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>

namespace larkmoor {

void runPipeline(int threads, const Stages& stages) {
    using JobPtr = std::shared_ptr<Job>;
    const auto count = static_cast<std::size_t>(threads);
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, count);
    std::int64_t index = 0;
    tbb::parallel_pipeline(
        count + 2,
        tbb::make_filter<void, JobPtr>(tbb::filter_mode::serial_in_order, [&](tbb::flow_control& control) -> JobPtr {
            auto job = std::make_shared<Job>();
            job->index = index++;
            if (!stages.read(*job)) {
                control.stop();
                return {};
            }
            return job;
        }) & tbb::make_filter<JobPtr, JobPtr>(tbb::filter_mode::parallel, [&](const JobPtr& job) {
            stages.work(*job);
            return job;
        }) & tbb::make_filter<JobPtr, void>(tbb::filter_mode::serial_in_order, [&](const JobPtr& job) {
            stages.write(*job);
        }));
}

} // namespace larkmoor
