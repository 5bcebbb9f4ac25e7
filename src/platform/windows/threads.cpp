#include "platform/threads.h"

// The system's header has other types by the names of the contract.
extern "C" {
__declspec(dllimport) void __stdcall AcquireSRWLockExclusive(void** lock);
__declspec(dllimport) void __stdcall ReleaseSRWLockExclusive(void** lock);
}

void CMutex::lock() {
    AcquireSRWLockExclusive(&m_state);
}

void CMutex::unlock() {
    ReleaseSRWLockExclusive(&m_state);
}
