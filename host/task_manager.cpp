#include "host/task_manager.h"

#include <algorithm>
#include <system_error>
#include <vector>

#include "platform/threads.h"

namespace larkmoor {
namespace {

void run(const DXTASKINFO& task) {
    BOOL goOn = TRUE;
    task.pfnTaskProc(task.pTaskData, &goOn);
}

} // namespace

TaskManager::TaskManager(unsigned processors)
    : m_processors(processors ? processors : std::max(KwProcessors(), 1u)), m_poolSize(m_processors),
      m_limit(m_processors) {}

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
    return atOnce(count, [tasks](ULONG i) { run(tasks[i]); });
}

HRESULT TaskManager::RunPieces(void (*piece)(void* data, ULONG index), void* data, ULONG count) {
    if (!piece) return E_POINTER;
    return atOnce(count, [=](ULONG i) { piece(data, i); });
}

template <class Work>
HRESULT TaskManager::atOnce(ULONG count, Work work) {
    return guarded([&]() -> HRESULT {
        std::atomic<ULONG> next = 0;
        const auto take = [&] {
            for (ULONG i = next++; i < count; i = next++) work(i);
        };
        std::vector<CThread> helpers;
        try {
            // Not a pool's: a waiting thread would take up a task of some other frame, which could come back to the
            // object whose lock is held here. To start a few costs little beside a frame.
            while (helpers.size() + 1 < std::min<ULONG>({count, m_limit, m_processors})) helpers.emplace_back(take);
        } catch (const std::system_error&) { // no more threads: the others do it
        }
        take();
        return S_OK;
    });
}

} // namespace larkmoor
