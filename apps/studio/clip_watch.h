// The files that a project is made of, as others change them.
#pragma once

#include <QFileSystemWatcher>
#include <QMap>
#include <QObject>
#include <QTimer>

#include "project.h"

namespace larkmoor {

/// The clips' files, but no numbered sequences.
QStringList clipsOf(const Project& project);

/// Tells when a clip is no longer the file that it was, a moment after the last of many changes.
class ClipWatch : public QObject {
    Q_OBJECT

  public:
    explicit ClipWatch(QObject* parent = nullptr);

    void watch(const QStringList& paths);

  signals:
    void changed();

  private:
    /// What tells one state of a file from another: nothing of one that is not there.
    static QString stateOf(const QString& path);
    void look();

    QFileSystemWatcher m_watcher;
    QTimer m_quiet;
    QMap<QString, QString> m_states;
};

} // namespace larkmoor
