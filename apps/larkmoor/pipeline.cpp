#include "pipeline.h"

#include <oneapi/tbb/global_control.h>
#include <oneapi/tbb/parallel_pipeline.h>

#include <atomic>

namespace larkmoor {

namespace {

/// What follows whatever went before under the same mark. oneTBB sees to that; a ThreadSanitizer that oneTBB was built
/// without takes it from here.
class Turn {
  public:
    using Mark = std::atomic<bool>;
    explicit Turn(Mark& mark) : m_mark(mark) { m_mark.load(std::memory_order_acquire); }
    ~Turn() { m_mark.store(true, std::memory_order_release); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

  private:
    Mark& m_mark;
};

/// The marks of a run. Whoever holds it goes before all turns and after them.
struct Order {
    explicit Order(std::size_t held) : jobs(held) {
        for (Turn::Mark& mark : jobs) const Turn before(mark);
        const Turn first(reading), last(writing);
    }
    ~Order() {
        for (Turn::Mark& mark : jobs) const Turn after(mark);
        const Turn first(reading), last(writing);
    }
    Order(const Order&) = delete;
    Order& operator=(const Order&) = delete;

    std::vector<Turn::Mark> jobs;
    Turn::Mark reading = false, writing = false;
};

} // namespace

void runPipeline(int threads, const Stages& stages) {
    const std::size_t held = static_cast<std::size_t>(threads) + 2;
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, static_cast<std::size_t>(threads));
    // Jobs are kept here, not in the pipeline, which forgets what it holds when a stage throws. At most `held` are out,
    // and they are written in order, so that the one taken next is free again.
    std::vector<Job> jobs(held);
    std::int64_t index = 0;
    Order order(held);
    const auto turnOf = [&](const Job& job) { return Turn(order.jobs[static_cast<std::size_t>(&job - jobs.data())]); };
    const auto read = [&](tbb::flow_control& control) -> Job* {
        const Turn turn(order.reading);
        Job& job = jobs[static_cast<std::size_t>(index) % held];
        const Turn own = turnOf(job);
        job = Job{};
        job.index = index++;
        if (!stages.read(job)) control.stop();
        return &job;
    };
    const auto work = [&](Job* job) {
        const Turn own = turnOf(*job);
        stages.work(*job);
        return job;
    };
    const auto write = [&](Job* job) {
        const Turn turn(order.writing), own = turnOf(*job);
        stages.write(*job);
        *job = Job{};
    };
    tbb::parallel_pipeline(held, tbb::make_filter<void, Job*>(tbb::filter_mode::serial_in_order, read) &
                                     tbb::make_filter<Job*, Job*>(tbb::filter_mode::parallel, work) &
                                     tbb::make_filter<Job*, void>(tbb::filter_mode::serial_in_order, write));
}

} // namespace larkmoor
