// Bands in parallel.
#pragma once

#include "host/object.h"

namespace larkmoor {

/// Runs the tasks of a call at once, on as many threads as it reports processors and the concurrency limit allows, and
/// returns when all are done. The pool's size is kept and told. Nothing can be terminated, since nothing is left to run
/// when a call has returned.
class TaskManager final : public ObjectOf<IDXTaskManager, IKwWorkers> {
  public:
    /// @param processors what it reports; 0 for the machine's number.
    explicit TaskManager(unsigned processors);

    HRESULT QueryNumProcessors(ULONG* count) override { return answer(count, m_processors); }
    HRESULT SetThreadPoolSize(ULONG size) override;
    HRESULT GetThreadPoolSize(ULONG* size) override { return answer(size, m_poolSize); }
    HRESULT SetConcurrencyLimit(ULONG limit) override;
    HRESULT GetConcurrencyLimit(ULONG* limit) override { return answer(limit, m_limit); }
    HRESULT ScheduleTasks(DXTASKINFO* tasks, HANDLE* events, DWORD* ids, ULONG count, ULONG wait) override;
    HRESULT TerminateTasks(DWORD*, ULONG, ULONG) override { return S_OK; }
    HRESULT TerminateRequest(const IID*, ULONG) override { return S_OK; }
    HRESULT RunPieces(void (*piece)(void* data, ULONG index), void* data, ULONG count) override;

  private:
    /// Calls `work(i)` for each i below `count` on this thread and as many helpers as are allowed.
    template <class Work>
    HRESULT atOnce(ULONG count, Work work);

    const ULONG m_processors;
    std::atomic<ULONG> m_poolSize, m_limit;
    std::atomic<DWORD> m_nextId{1};
};

} // namespace larkmoor
