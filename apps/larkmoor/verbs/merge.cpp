#include <algorithm>
#include <thread>

#include "farm/job.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace {

constexpr const char* mergeExamples =
    R"x(  larkmoor merge job/ -o film.mp4
  larkmoor merge job/ -o frames/frame%05d.png -y)x";

class MergeVerb final : public Verb {
  public:
    explicit MergeVerb(CLI::App& command)
        : Verb(command, "merge", "Join the chunks of a job with sound and all else", mergeExamples) {
        app().add_option("JOB", m_folder, "The folder that split made")->required();
        app().add_option("-o,--output", m_output.path, "The file to write")->required()->type_name("OUT");
        app().add_flag("-y", m_output.overwrite, "Overwrite an existing file");
        app()
            .add_option("--threads", m_output.threads, "For decoding; the machine's processors by default")
            ->check(CLI::Range(1, 256))
            ->type_name("N");
        m_output.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    }

    int run(const Module& module, Report& report) override {
        const ChunkJob job = loadJob(module, m_folder);
        checkJob(job, module);
        return exitCode(mergeJob(module, job, m_output, report.watch(m_output.path)));
    }

  private:
    std::string m_folder;
    OutputRequest m_output;
};

} // namespace

std::unique_ptr<Verb> mergeVerb(CLI::App& command) {
    return std::make_unique<MergeVerb>(command);
}

} // namespace larkmoor
