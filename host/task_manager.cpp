#include "host/task_manager.h"

#include <algorithm>

#include "tbb/info.h"
#include "tbb/parallel_for.h"
#include "tbb/task_arena.h"

namespace larkmoor {
namespace {

void run(const DXTASKINFO& task) {
    BOOL goOn = TRUE;
    task.pfnTaskProc(task.pTaskData, &goOn);
}

} // namespace

TaskManager::TaskManager(unsigned processors)
    : m_processors(processors ? processors : static_cast<ULONG>(std::max(tbb::info::default_concurrency(), 1))),
      m_poolSize(m_processors), m_limit(m_processors) {}

HRESULT TaskManager::SetThreadPoolSize(ULONG size) {
    if (size == 0) return E_INVALIDARG;
    m_poolSize = size;
    return S_OK;
}

HRESULT TaskManager::SetConcurrencyLimit(ULONG limit) {
    if (limit == 0) return E_INVALIDARG;
    m_limit = limit;
    return S_OK;
}

HRESULT TaskManager::ScheduleTasks(DXTASKINFO* tasks, HANDLE*, DWORD* ids, ULONG count, ULONG) {
    if (count == 0) return S_OK;
    if (!tasks) return E_POINTER;
    if (std::any_of(tasks, tasks + count, [](const DXTASKINFO& task) { return !task.pfnTaskProc; }))
        return E_INVALIDARG;
    if (ids) std::generate_n(ids, count, [this] { return m_nextId++; });
    return guarded([&]() -> HRESULT {
        if (count == 1 || m_limit == 1) {
            std::for_each(tasks, tasks + count, run);
        } else {
            // Isolated: while it waits, the calling thread must not pick up a task of some other frame, which could
            // come back to the object whose lock is held here.
            tbb::this_task_arena::isolate([&] { tbb::parallel_for(ULONG{0}, count, [&](ULONG i) { run(tasks[i]); }); });
        }
        return S_OK;
    });
}

} // namespace larkmoor
