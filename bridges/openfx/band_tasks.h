// Bands of a frame one behind the other, as long as the host wants them: it runs frames side by side by itself.
#pragma once

#include "host/object.h"
#include "suites.h"

namespace larkmoor::openfx {

class BandTasks final : public ObjectOf<IDXTaskManager> {
  public:
    BandTasks(const Suites& suites, EffectHandle handle) : m_suites(suites), m_handle(handle) {}

    /// Whether the host has given up the frame, as of the last time that it was asked.
    bool isStopped() const { return m_stopped; }
    /// Asks it.
    bool stops() {
        m_stopped = m_suites.effect->abort(m_handle) != 0;
        return m_stopped;
    }

    HRESULT QueryNumProcessors(ULONG* count) override { return answer(count, kBands); }
    HRESULT SetThreadPoolSize(ULONG) override { return S_OK; }
    HRESULT GetThreadPoolSize(ULONG* size) override { return answer(size, 1); }
    HRESULT SetConcurrencyLimit(ULONG) override { return S_OK; }
    HRESULT GetConcurrencyLimit(ULONG* limit) override { return answer(limit, 1); }
    HRESULT ScheduleTasks(DXTASKINFO* tasks, HANDLE*, DWORD*, ULONG count, ULONG) override {
        if (count && !tasks) return E_POINTER;
        for (ULONG i = 0; i < count; ++i) {
            if (i && stops()) return E_FAIL;
            BOOL goOn = TRUE;
            tasks[i].pfnTaskProc(tasks[i].pTaskData, &goOn);
        }
        return S_OK;
    }
    HRESULT TerminateTasks(DWORD*, ULONG, ULONG) override { return S_OK; }
    HRESULT TerminateRequest(const IID*, ULONG) override { return S_OK; }

  private:
    static constexpr ULONG kBands = 4;
    const Suites m_suites;
    const EffectHandle m_handle;
    bool m_stopped = false;
};

} // namespace larkmoor::openfx
