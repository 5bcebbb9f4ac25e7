#include <algorithm>
#include <cstdlib>

#include <fmt/format.h>

#include "farm/job.h"
#include "farm/submit.h"
#include "output_file.h"
#include "verbs/verb.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

constexpr std::int64_t usualWorkers = 10;

constexpr const char* submitExamples =
    R"x(  larkmoor submit job/ --to slurm --film film.mp4 --workers 20 --now
  larkmoor submit job/ --to parallel --film film.mp4)x";

class SubmitVerb final : public Verb {
  public:
    explicit SubmitVerb(CLI::App& command)
        : Verb(command, "submit", "Write the script that hands a job over to a farm's engine", submitExamples) {
        std::vector<std::string> names;
        for (const Engine& engine : engines()) names.push_back(engine.name);
        app().add_option("JOB", m_folder, "The folder that split made")->required();
        app().add_option("--to", m_engine, "The engine")->required()->check(CLI::IsMember(names))->type_name("ENGINE");
        app().add_option("--film", m_film, "The file that the merge writes")->required()->type_name("OUT");
        app()
            .add_option("--workers", m_workers, "How many work at a time; ten by default, and no more than chunks")
            ->check(CLI::Range(std::int64_t{1}, std::int64_t{100'000}))
            ->type_name("N");
        app()
            .add_option("--command", m_command, "How machines call larkmoor; by this program's own path by default")
            ->type_name("FILE");
        app().add_option("--image", m_image, "Of containers; larkmoor by default")->type_name("IMAGE");
        app().add_flag("--now", m_now, "Run the script for Slurm at once");
    }

    void settle() override {
        if (m_now && m_engine != engines().front().name)
            throw UsageError(fmt::format("--now goes with {} only; run the script yourself", engines().front().name));
    }

    int run(const Module& module, Report&) override {
        const ChunkJob job = loadJob(module, m_folder);
        const Engine& engine = *std::ranges::find(engines(), m_engine, &Engine::name);
        if (m_command.empty()) m_command = fs::read_symlink("/proc/self/exe");
        const std::string script = engine.script({.folder = job.folder,
                                                  .film = fs::absolute(m_film).lexically_normal(),
                                                  .command = m_command,
                                                  .workers = std::min(m_workers, job.count()),
                                                  .image = m_image});
        std::error_code error;
        fs::create_directories(job.folder / "log", error);
        if (error)
            throw Error(fmt::format("cannot make the folder {}: {}", (job.folder / "log").string(), error.message()));
        const fs::path file = job.folder / engine.file;
        writeWhole(file, script, true);
        if (!m_now) {
            print(file.string() + "\n");
            return 0;
        }
        if (std::system(("sh " + shellWord(file)).c_str()) != 0)
            throw Error(fmt::format("{} did not take the job; {} is the script", m_engine, file.string()));
        return 0;
    }

  private:
    std::string m_folder, m_engine, m_film, m_command, m_image = "larkmoor";
    std::int64_t m_workers = usualWorkers;
    bool m_now = false;
};

} // namespace

std::unique_ptr<Verb> submitVerb(CLI::App& command) {
    return std::make_unique<SubmitVerb>(command);
}

} // namespace larkmoor
