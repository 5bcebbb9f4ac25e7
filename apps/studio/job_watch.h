// How far jobs for many machines are.
#pragma once

#include <QObject>
#include <QThreadPool>
#include <QTimer>

#include "farm/status.h"

namespace larkmoor {

struct JobState {
    JobStatus status;
    std::string film; ///< name of a file as the chunks are for
    QString fault;    ///< why the folder cannot be read
};

/// Looks at folders again and again, on a thread of its own, for a shared folder may let wait.
class JobWatch : public QObject {
    Q_OBJECT

  public:
    static constexpr int kPause = 2000; ///< milliseconds between two looks

    explicit JobWatch(Module module, QObject* parent = nullptr);

    /// Those from now on; none ends it.
    void watch(const std::vector<std::string>& folders);

  signals:
    void told(QString folder, larkmoor::JobState state);

  private:
    void look();

    Module m_module;
    std::vector<std::string> m_folders;
    QTimer m_timer{this};
    bool m_looking = false;
    QThreadPool m_threads; ///< the last member: it waits for what it runs
};

} // namespace larkmoor
