// Several inputs, one after the other, into a folder.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "report.h"

namespace larkmoor {

struct RenderJob {
    std::string input, output;
};

/// What is to be rendered into what: each input under its own name where the output is a folder, which several inputs
/// and folders need. Of a folder, clips and pictures are taken, in order of their names. Throws UsageError.
std::vector<RenderJob> jobsFor(const std::vector<std::string>& inputs, const std::string& output);

/// Makes the folder and runs all jobs, also after one that failed, and tells how many did.
/// @return the exit code: that of a failure, else the greatest one of a job.
int runJobs(const std::vector<RenderJob>& jobs, const std::string& folder, const Report& report,
            const std::function<int(const RenderJob&)>& run);

} // namespace larkmoor
