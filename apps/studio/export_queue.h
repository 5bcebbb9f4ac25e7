// Exports one after the other, while work goes on.
#pragma once

#include <QElapsedTimer>

#include "document.h"
#include "exporter.h"
#include "job_watch.h"
#include "requests.h"

namespace larkmoor {

struct ExportJob {
    enum class Work {
        Film,
        Folder, ///< of chunks for many machines, which is watched when it is there
        Join    ///< of such a folder's chunks to a film
    };
    enum class State { Waiting, Running, Done, Failed, Cancelled };
    Document::Snapshot project; ///< as it was when the export was asked for
    OutputRequest output;
    Work work = Work::Film;
    std::string folder = {};
    State state = State::Waiting;
    qint64 done = 0, total = -1; ///< frames; -1 where nobody knows
    QString sentence;            ///< why it failed, or what of the input is damaged
    std::optional<JobState> farm = {};

    bool isOver() const { return state != State::Waiting && state != State::Running; }
    bool canJoin() const {
        return work == Work::Folder && farm && farm->fault.isEmpty() && farm->status.done == farm->status.chunks;
    }
    /// What it writes.
    const std::string& target() const { return work == Work::Folder ? folder : output.path; }
};

class ExportQueue : public QObject {
    Q_OBJECT

  public:
    explicit ExportQueue(const Module& module, QObject* parent = nullptr);

    /// Throws UsageError where a job that is not over writes the same file.
    void add(ExportJob job);
    void add(Document::Snapshot project, const OutputRequest& output) { add({std::move(project), output}); }
    /// Tells of a folder of chunks, whoever made it.
    void showFolder(const std::string& folder);
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
    Exporter::Work workOf(const ExportJob& job) const;
    void watchFolders();
    void take(bool done, const QString& sentence);

    Module m_module;
    Exporter m_exporter;
    JobWatch m_folders;
    std::vector<ExportJob> m_jobs;
    std::optional<std::size_t> m_running;
    QElapsedTimer m_clock; ///< of the one in work
};

/// "1:05 left".
QString timeText(qint64 seconds);
/// The same for what remains at the pace so far; empty before there is one.
QString timeLeft(qint64 milliseconds, qint64 done, qint64 total);

} // namespace larkmoor
