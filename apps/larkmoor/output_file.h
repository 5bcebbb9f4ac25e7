// What is written appears under its final name whole or not at all.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "part_file.h"

namespace larkmoor {

/// A file, or a numbered sequence of files, that is written under a temporary name in the same folder. Unless
/// `commit` is reached, nothing is left of it: not on errors, and not on SIGINT, SIGTERM or SIGHUP; what SIGKILL leaves
/// goes with the next output in the folder.
/// Devices and pipes are written directly. Where the name is a symbolic link, what it leads to is written.
class OutputFile {
  public:
    /// Those that are written of a numbered sequence; others may be there.
    struct Numbers {
        std::int64_t first = 0;
        std::optional<std::int64_t> end = {}; ///< the number after the last
    };

    /// Throws Error when the file is there and `overwrite` is not set, or when its folder cannot be written.
    OutputFile(const std::string& path, bool overwrite) : OutputFile(path, overwrite, Numbers()) {}
    OutputFile(const std::string& path, bool overwrite, const Numbers& numbers);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// The name to write to until `commit`.
    const std::string& workPath() const { return m_workPath; }
    bool isSequence() const { return m_sequence; }

    /// Makes what was written last, and gives it its final name.
    void commit();

  private:
    void discard();

    std::string m_path, m_workPath;
    PartFile m_part;
    bool m_direct = false, m_sequence = false, m_overwrite = false, m_open = false;
};

/// The content of a file. Throws Error.
std::string readText(const std::string& path);
/// Writes a file that appears whole or not at all. Throws Error.
void writeWhole(const std::string& path, std::string_view content, bool overwrite);

/// Throws Error when writing `output`, which may be a numbered sequence, would overwrite one of the inputs, by whatever
/// name.
void refuseInputs(const std::string& output, std::span<const std::string> inputs);

/// From here on SIGINT, SIGTERM and SIGHUP remove unfinished outputs before they end the process. Call before any
/// thread is started.
void removeOutputsOnSignals();

} // namespace larkmoor
