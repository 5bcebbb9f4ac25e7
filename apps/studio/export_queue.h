// Exports one after the other, while work goes on.
#pragma once

#include <QElapsedTimer>

#include "exporter.h"

namespace larkmoor {

struct ExportJob {
    enum class State { Waiting, Running, Done, Failed, Cancelled };
    Document::Snapshot project; ///< as it was when the export was asked for
    OutputRequest output;
    State state = State::Waiting;
    qint64 done = 0, total = -1; ///< frames; -1 where nobody knows
    QString sentence;            ///< why it failed, or what of the input is damaged

    bool isOver() const { return state != State::Waiting && state != State::Running; }
};

class ExportQueue : public QObject {
    Q_OBJECT

  public:
    explicit ExportQueue(const Module& module, QObject* parent = nullptr);

    /// Throws UsageError where a job that is not over writes the same file.
    void add(Document::Snapshot project, const OutputRequest& output);
    /// One that waits, or the one in work, of which nothing is left.
    void cancel(std::size_t index);
    void cancelAll();
    /// Those that are over go.
    void clear();

    const std::vector<ExportJob>& jobs() const { return m_jobs; }
    bool isRunning() const { return m_running.has_value(); }
    /// Of all that is to be done; empty where nothing is, or nobody knows.
    std::optional<int> percent() const;
    /// "1:05 left" for the one in work.
    QString timeLeft() const;

  signals:
    /// Jobs came or went, or one of them is further.
    void changed();
    void finished(larkmoor::ExportJob job);

  private:
    void next();
    void take(bool done, const QString& sentence);

    Exporter m_exporter;
    std::vector<ExportJob> m_jobs;
    std::optional<std::size_t> m_running;
    QElapsedTimer m_clock; ///< of the one in work
};

/// "1:05 left" for what remains at the pace so far; empty before there is one.
QString timeLeft(qint64 milliseconds, qint64 done, qint64 total);

} // namespace larkmoor
