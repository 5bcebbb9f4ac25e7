#include "verbs/jobs.h"

#include <algorithm>
#include <filesystem>
#include <map>

#include <fmt/format.h>

#include "folder.h"
#include "project.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

/// Whether FFmpeg writes pictures to files that are named so.
bool isMaterial(const fs::path& path) {
    const std::string name = path.filename();
    if (name.starts_with('.')) return false;
    const AVOutputFormat* const container = av_guess_format(nullptr, name.c_str(), nullptr);
    const std::string_view type = container && container->mime_type ? container->mime_type : "";
    return container && container->video_codec != AV_CODEC_ID_NONE && !type.starts_with("audio/");
}

std::vector<std::string> materialIn(const std::string& folder) {
    std::vector<std::string> files;
    std::error_code error, ignored;
    for (const fs::path& path : entriesOf(folder, error))
        if (fs::is_regular_file(path, ignored) && isMaterial(path)) files.push_back(path);
    if (error) throw Error(fmt::format("cannot read the folder {}: {}", folder, error.message()));
    if (files.empty()) throw Error(fmt::format("the folder {} holds no clips or pictures", folder));
    std::ranges::sort(files);
    return files;
}

} // namespace

std::vector<RenderJob> jobsFor(const std::vector<std::string>& inputs, const std::string& output) {
    std::error_code ignored;
    const bool folders =
        std::ranges::any_of(inputs, [&](const std::string& i) { return fs::is_directory(i, ignored); });
    const bool into = output.ends_with('/') || fs::is_directory(output, ignored) || folders || inputs.size() > 1;
    if (!into) return {{inputs.front(), output}};
    const bool isFolder = fs::is_directory(output, ignored);
    if (output == "-" || (fs::exists(output, ignored) && !isFolder))
        throw UsageError(fmt::format("several inputs and folders go into a folder, and {} is none", output));
    if (!isFolder && !output.ends_with('/') && isMaterial(output))
        throw UsageError(fmt::format(
            "several inputs and folders go into a folder, and {} looks like a file; {}/ is one", output, output));

    std::vector<RenderJob> jobs;
    const auto add = [&](const std::string& input) {
        jobs.push_back({input, fs::path(output) / fs::path(input).filename()});
    };
    for (const std::string& input : inputs) {
        if (input == "-" || isProject(input))
            throw UsageError(
                fmt::format("{} has no name for a file in the folder {}; render it by itself, with -o FILE",
                            input == "-" ? "standard input" : input, output));
        if (fs::is_directory(input, ignored))
            std::ranges::for_each(materialIn(input), add);
        else
            add(input);
    }
    std::map<std::string, std::string> taken;
    for (const RenderJob& job : jobs)
        if (const auto [other, fresh] = taken.emplace(job.output, job.input); !fresh)
            throw UsageError(fmt::format("{} and {} would both become {}", other->second, job.input, job.output));
    return jobs;
}

int runJobs(const std::vector<RenderJob>& jobs, const std::string& folder, const Report& report,
            const std::function<int(const RenderJob&)>& run) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error) throw Error(fmt::format("cannot make the folder {}: {}", folder, error.message()));
    std::size_t failed = 0;
    int status = 0;
    for (const RenderJob& job : jobs) {
        try {
            status = std::max(status, run(job));
        } catch (const std::exception& failure) {
            const std::string_view sentence = failure.what();
            const bool named = sentence.find(job.input) != sentence.npos || sentence.find(job.output) != sentence.npos;
            report.error(named ? std::string(sentence) : fmt::format("{}: {}", job.input, sentence));
            ++failed;
        }
    }
    if (failed == 0)
        warn(fmt::format("{} of {} are done", jobs.size(), jobs.size()));
    else
        warn(fmt::format("{} of {} are done, {} failed", jobs.size() - failed, jobs.size(), failed));
    return failed > 0 ? 1 : status;
}

} // namespace larkmoor
