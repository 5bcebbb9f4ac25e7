// Scripts that hand a job over to the engine of a farm.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace larkmoor {

struct Submission {
    std::filesystem::path folder; ///< of the job, whole
    std::string film;             ///< what the merge writes, whole
    std::string command;          ///< how machines call this program
    std::int64_t workers = 1;
    std::string image; ///< of containers, where the engine has those
};

struct Engine {
    std::string name;
    std::string file; ///< name of the script in the job's folder
    std::string (*script)(const Submission&);
};

/// Those that are known, Slurm first.
const std::vector<Engine>& engines();

/// As one word of a shell.
std::string shellWord(const std::string& text);

} // namespace larkmoor
