#include <chrono>
#include <thread>
#include <utility>

#include <fmt/format.h>

#include "farm/chunk_run.h"
#include "farm/status.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr std::chrono::seconds pause{2};
/// Failures in a row after which a machine is taken to be at fault, and not the work.
constexpr int mostFailures = 3;

constexpr const char* workExamples =
    R"x(  larkmoor work job/
  larkmoor work job/ --threads 8 --wait)x";

class WorkVerb final : public Verb {
  public:
    explicit WorkVerb(CLI::App& command)
        : Verb(command, "work", "Render chunks of a job until none is left", workExamples) {
        app().add_option("JOB", m_folder, "The folder that split made")->required();
        app()
            .add_option("--threads", m_threads, "Frames at once; the machine's processors by default")
            ->check(CLI::Range(1, 256))
            ->type_name("N");
        app().add_flag("--wait", m_wait, "Stay until the chunks of others are done, too, and take over what is left");
        app()
            .add_option("--stale", m_stale, "Seconds without a sign of life after which a chunk is taken over; 60")
            ->check(CLI::Range(0.0, 1e6))
            ->type_name("SECONDS");
    }

    int run(const Module& module, Report& report) override {
        const ChunkJob job = loadJob(module, m_folder);
        checkJob(job, module);
        const int threads =
            m_threads > 0 ? m_threads : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
        ChunkQueue queue(job, m_stale);
        bool failed = false, alone = false;
        for (int inARow = 0;;) {
            auto claim = queue.take();
            if (!claim) {
                if (!m_wait || !queue.othersWork()) break;
                std::this_thread::sleep_for(pause);
                continue;
            }
            ChunkRun chunks(job, queue, std::move(claim), std::exchange(alone, false));
            try {
                chunks.render(module, threads, report.watch(job.folder));
                inARow = 0;
            } catch (const std::exception& error) {
                if (chunks.done() > 0) inARow = 0;
                const std::optional<std::int64_t> culprit = chunks.culprit();
                // Which of several it was shows when they come one by one.
                alone = !culprit;
                if (alone) continue;
                report.error(fmt::format("chunk {}: {}", *culprit, error.what()));
                noteFailure(job, *culprit, error.what());
                queue.failed(*culprit);
                failed = true;
                if (++inARow == mostFailures)
                    throw Error(fmt::format("{} chunks failed one after the other; this machine gives up", inARow));
            }
        }
        return failed ? 1 : 0;
    }

  private:
    std::string m_folder;
    int m_threads = 0;
    bool m_wait = false;
    double m_stale = 60;
};

} // namespace

std::unique_ptr<Verb> workVerb(CLI::App& command) {
    return std::make_unique<WorkVerb>(command);
}

} // namespace larkmoor
