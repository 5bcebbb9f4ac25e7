#include <fmt/format.h>

#include "farm/status.h"
#include "json_node.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* statusExamples =
    R"x(  larkmoor status job/
  larkmoor status job/ --json)x";

class StatusVerb final : public Verb {
  public:
    explicit StatusVerb(CLI::App& command) : Verb(command, "status", "Tell how far a job is", statusExamples) {
        app().add_option("JOB", m_folder, "The folder that split made")->required();
        app().add_flag("--json", m_json, "For programs");
        app()
            .add_option("--stale", m_stale, "Seconds without a sign of life after which a worker counts as ended; 60")
            ->check(CLI::Range(0.0, 1e6))
            ->type_name("SECONDS");
    }

    int run(const Module& module, Report&) override {
        const ChunkJob job = loadJob(module, m_folder);
        const JobStatus status = statusOf(job, m_stale);
        m_json ? showJson(status) : showText(status);
        return 0;
    }

  private:
    static void showJson(const JobStatus& status) {
        Json out{
            {"chunks", status.chunks}, {"done", status.done}, {"running", Json::array()}, {"failed", Json::array()}};
        for (const auto& [chunk, by, stale] : status.running)
            out["running"].push_back({{"chunk", chunk}, {"host", by.host}, {"process", by.process}, {"stale", stale}});
        for (const auto& [chunk, host, sentence] : status.failed)
            out["failed"].push_back({{"chunk", chunk}, {"host", host}, {"sentence", sentence}});
        if (status.secondsLeft) out["seconds left"] = *status.secondsLeft;
        print(out.dump(2, ' ', false, Json::error_handler_t::replace) + "\n");
    }

    static void showText(const JobStatus& status) {
        const auto stale = std::ranges::count_if(status.running, [](const auto& each) { return each.stale; });
        print(fmt::format("{} of {} chunks are done, {} running, {} failed", status.done, status.chunks,
                          std::ssize(status.running) - stale, status.failed.size()));
        if (status.secondsLeft && status.done < status.chunks) {
            const auto left = static_cast<std::int64_t>(*status.secondsLeft + 0.5);
            print(fmt::format(", {}:{:02}:{:02} left", left / 3600, left / 60 % 60, left % 60));
        }
        print("\n");
        for (const auto& [chunk, by, ended] : status.running)
            print(fmt::format("{:6}  {}{}, process {}\n", chunk, ended ? "left by " : "", by.host, by.process));
        for (const auto& [chunk, host, sentence] : status.failed)
            print(fmt::format("{:6}  failed on {}: {}\n", chunk, host, sentence));
    }

    std::string m_folder;
    bool m_json = false;
    double m_stale = 60;
};

} // namespace

std::unique_ptr<Verb> statusVerb(CLI::App& command) {
    return std::make_unique<StatusVerb>(command);
}

} // namespace larkmoor
