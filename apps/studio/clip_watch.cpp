#include "clip_watch.h"

#include <QDateTime>
#include <QFileInfo>

#include "media/sequence.h"
#include "text.h"

namespace larkmoor {

namespace {

constexpr int kQuiet = 300; ///< milliseconds without a change: a file that is being written changes all the time

} // namespace

QStringList clipsOf(const Project& project) {
    QStringList paths;
    const auto add = [&](const std::string& path) {
        if (!isSequence(path)) paths << text(path);
    };
    if (const auto* const clip = std::get_if<ProjectClip>(&project.source)) add(clip->path);
    if (project.second) add(project.second->path);
    return paths;
}

ClipWatch::ClipWatch(QObject* parent) : QObject(parent) {
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(kQuiet);
    connect(&m_quiet, &QTimer::timeout, this, &ClipWatch::look);
    // The folder tells of files that come back, too.
    for (const auto told : {&QFileSystemWatcher::fileChanged, &QFileSystemWatcher::directoryChanged})
        connect(&m_watcher, told, &m_quiet, qOverload<>(&QTimer::start));
}

QString ClipWatch::stateOf(const QString& path) {
    const QFileInfo file(path);
    return file.exists() ? QString::number(file.size()) + ' ' + file.lastModified().toString(Qt::ISODateWithMs)
                         : QString();
}

void ClipWatch::watch(const QStringList& paths) {
    if (paths == m_states.keys()) return;
    m_states.clear();
    if (const QStringList old = m_watcher.files() + m_watcher.directories(); !old.isEmpty()) m_watcher.removePaths(old);
    for (const QString& path : paths) {
        m_states[path] = stateOf(path);
        m_watcher.addPath(QFileInfo(path).path());
        if (QFileInfo::exists(path)) m_watcher.addPath(path);
    }
}

void ClipWatch::look() {
    bool other = false;
    for (auto each = m_states.begin(); each != m_states.end(); ++each) {
        const QString now = stateOf(each.key());
        other |= now != each.value();
        each.value() = now;
        if (!now.isEmpty()) m_watcher.addPath(each.key()); // one that came back is another file
    }
    if (other) emit changed();
}

} // namespace larkmoor
