// Rendering into a file in the background.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <atomic>
#include <thread>

#include "document.h"
#include "render_project.h"
#include "requests.h"

namespace larkmoor {

/// One export at a time: the command's own way of rendering a project.
class Exporter : public QObject {
    Q_OBJECT

  public:
    explicit Exporter(Module module, QObject* parent = nullptr);
    /// Cancels and waits.
    ~Exporter() override;

    void start(Document::Snapshot project, const OutputRequest& output);
    void cancel() { m_cancelled = true; }
    bool isRunning() const { return m_running; }

  signals:
    /// `total` is -1 where it is unknown.
    void progress(qint64 done, qint64 total);
    /// The sentence says what failed or, where it was done, what of the input is damaged; it is empty where there is
    /// nothing to say. Nothing is left behind by a failure or when it was cancelled.
    void finished(bool done, QString sentence);

  private:
    Module m_module;
    std::thread m_thread;
    std::atomic<bool> m_cancelled = false;
    bool m_running = false;
};

} // namespace larkmoor
