// Work that writes files, in the background.
#pragma once

#include <QObject>
#include <atomic>
#include <functional>
#include <thread>

#include "film.h"

namespace larkmoor {

/// One piece of work at a time, by the command's own way.
class Exporter : public QObject {
    Q_OBJECT

  public:
    /// Throws what failed.
    using Work = std::function<Ended(const Watch&)>;

    using QObject::QObject;
    /// Cancels and waits.
    ~Exporter() override;

    void start(Work work);
    void cancel() { m_cancelled = true; }
    bool isRunning() const { return m_running; }

  signals:
    /// `total` is -1 where it is unknown.
    void progress(qint64 done, qint64 total);
    /// The sentence says what failed or, where it was done, what of the input is damaged; it is empty where there is
    /// nothing to say. Nothing is left behind by a failure or when it was cancelled.
    void finished(bool done, QString sentence);

  private:
    std::thread m_thread;
    std::atomic<bool> m_cancelled = false;
    bool m_running = false;
};

} // namespace larkmoor
