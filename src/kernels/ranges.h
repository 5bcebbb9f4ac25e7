// Heavy work on one picture, shared among the processors that a host lends.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include "kernels/view.h"

/// Helpers that run `piece(data, i)` for each i below `count` and return when all are done.
struct tKwWorkers {
    std::uint32_t processors;
    void* host;
    bool (*run)(void* host, void (*piece)(void* data, std::uint32_t index), void* data, std::uint32_t count);
};

/// Lends helpers to the kernels that this thread calls while it lives.
class CKwLent {
  public:
    explicit CKwLent(const tKwWorkers* workers) : m_before(s_workers) { s_workers = workers; }
    CKwLent(const CKwLent&) = delete;
    CKwLent& operator=(const CKwLent&) = delete;
    ~CKwLent() { s_workers = m_before; }

    static const tKwWorkers* Workers() { return s_workers; }

  private:
    static constinit thread_local const tKwWorkers* s_workers;
    const tKwWorkers* const m_before;
};

inline constexpr std::uint32_t kKwMostRanges = 16;

/// How many ranges there may be at once.
inline std::uint32_t KwRanges() {
    return CKwLent::Workers() ? std::clamp(CKwLent::Workers()->processors, 1u, kKwMostRanges) : 1;
}

/// Calls `body(from, to, range)` for ranges that cover 0 to `count` - 1, at once where helpers are lent. A body writes
/// nothing that another one reads or writes, and has its loops compiled for the processor elsewhere (see `CKwBodies`).
/// Throws what a lack of memory is when a body has thrown.
template <class Body>
void KwForRanges(LONG count, Body&& body) {
    struct tShared {
        Body& body;
        LONG count;
        std::uint32_t ranges;
        std::atomic<bool> failed = false;

        void Run(std::uint32_t i) noexcept try {
            const auto edge = [&](std::uint32_t k) { return static_cast<LONG>(std::int64_t{count} * k / ranges); };
            body(edge(i), edge(i + 1), std::size_t{i});
        } catch (...) {
            failed = true;
        }
    } shared{body, count, std::max(std::min(KwRanges(), static_cast<std::uint32_t>(count)), 1u)};
    const tKwWorkers* const workers = CKwLent::Workers();
    const CKwLent alone(nullptr);
    const auto run = [](void* data, std::uint32_t i) { static_cast<tShared*>(data)->Run(i); };
    if (shared.ranges == 1 || !workers->run(workers->host, run, &shared, shared.ranges))
        for (std::uint32_t i = 0; i < shared.ranges; ++i) shared.Run(i);
    if (shared.failed) throw std::bad_alloc();
}
