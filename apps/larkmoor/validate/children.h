// Checks in processes of their own, so that whatever a module does ends one check alone.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace larkmoor::validate {

/// One piece of work for a child.
struct Task {
    std::function<void()> work; ///< what it throws is the fault
    double seconds = 0;         ///< filled in: how long it took
    std::string fault;          ///< filled in: empty where it passed
    bool isFault = false;       ///< filled in
};

/// Runs the tasks, several at a time, and tells of each as it ends, in their order. A child is killed after
/// `mostSeconds`.
void runInChildren(std::vector<Task>& tasks, unsigned atOnce, int mostSeconds,
                   const std::function<void(std::size_t index)>& done);

/// What one child writes, such as a listing. Throws Error with its fault.
std::string fromChild(const std::function<std::string()>& work, int mostSeconds);

} // namespace larkmoor::validate
