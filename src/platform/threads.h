// Locks and threads, where the platform has them.
#pragma once

#include "platform/types.h"

#if defined(__wasm__)

// One thread alone: nobody waits for a lock, and what is started ends at once.
struct CMutex {
    void lock() {}
    void unlock() {}
};
using CRecursiveMutex = CMutex;

class CThread {
  public:
    template <class Work>
    explicit CThread(Work&& work) {
        work();
    }
};

inline unsigned KwProcessors() {
    return 1;
}

#else

#include <mutex>
#include <thread>

using CRecursiveMutex = std::recursive_mutex;
using CThread = std::jthread; ///< joined at its end; throws std::system_error where no thread can be had

/// 0 where the system does not tell.
inline unsigned KwProcessors() {
    return std::thread::hardware_concurrency();
}

#if defined(_WIN32)

/// The C++ library's own cannot stand in a constant there.
class CMutex {
  public:
    constexpr CMutex() = default;
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;
    void lock();
    void unlock();

  private:
    void* m_state = nullptr; ///< a slim lock of the system
};

#else

using CMutex = std::mutex;

#endif
#endif

/// Holds a lock until the end of its scope.
template <class Mutex>
class CHeld {
  public:
    explicit CHeld(Mutex& mutex) : m_mutex(mutex) { m_mutex.lock(); }
    ~CHeld() { m_mutex.unlock(); }
    CHeld(const CHeld&) = delete;
    CHeld& operator=(const CHeld&) = delete;

  private:
    Mutex& m_mutex;
};
