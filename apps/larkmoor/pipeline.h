// Frames in order in, several at once through the work, and in order out.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "media/av.h"

namespace larkmoor {

/// One frame on its way.
struct Job {
    std::int64_t index = 0;      ///< in the output, from 0
    FramePtr first, second;      ///< decoded pictures: none to generate, one to filter, two to join or to lay over
    bool plain = false;          ///< the first picture is outside of any transition
    std::size_t clip = 0;        ///< of the film's clips, the one that the first picture is of
    double position = 0;         ///< a transition's progress, 0 to 1
    std::int64_t time100ns = 0;  ///< of the frame in its clip
    std::vector<PacketPtr> side; ///< goes before the frame
    FramePtr output;
};

struct Stages {
    std::function<bool(Job&)> read;  ///< fills the next job; false at the end. One call at a time, in order
    std::function<void(Job&)> work;  ///< called for several jobs at once
    std::function<void(Job&)> write; ///< one call at a time, in order
};

/// Runs until `read` ends. At most `threads` calls run at once, and a few frames more than that are held at any time.
/// The first exception of a stage ends the run and is thrown again.
void runPipeline(int threads, const Stages& stages);

/// Objects that are lent to one user at a time and made when all are out.
template <class T>
class Pool {
  public:
    explicit Pool(std::function<std::unique_ptr<T>()> make) : m_make(std::move(make)) {}

    template <class Use>
    void with(Use use) {
        std::unique_ptr<T> object = take();
        use(*object);
        const std::lock_guard guard(m_lock);
        m_free.push_back(std::move(object));
    }

  private:
    std::unique_ptr<T> take() {
        {
            const std::lock_guard guard(m_lock);
            if (!m_free.empty()) {
                std::unique_ptr<T> object = std::move(m_free.back());
                m_free.pop_back();
                return object;
            }
        }
        return m_make();
    }

    std::function<std::unique_ptr<T>()> m_make;
    std::mutex m_lock;
    std::vector<std::unique_ptr<T>> m_free;
};

} // namespace larkmoor
