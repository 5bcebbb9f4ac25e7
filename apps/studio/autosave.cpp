#include "autosave.h"

#include <QDateTime>
#include <QDir>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUuid>

namespace larkmoor {

namespace {

const QString kLock = QStringLiteral(".lock"), kOriginal = QStringLiteral(".path");

void write(const QString& path, const QByteArray& bytes) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        throw Error(Autosave::tr("cannot write %1: %2").arg(path, file.errorString()).toStdString());
}

} // namespace

Autosave::Autosave(Document& document, const QString& folder, QObject* parent)
    : QObject(parent), m_document(document),
      m_folder(folder.isEmpty()
                   ? QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QStringLiteral("/autosave")
                   : folder) {
    QDir().mkpath(m_folder);
    m_file = m_folder + '/' + QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral(".larkmoor");
    m_lock = std::make_unique<QLockFile>(m_file + kLock);
    m_lock->setStaleLockTime(0);
    m_lock->tryLock(0);
    m_timer.setSingleShot(true);
    m_timer.setInterval(kDelay);
    connect(&m_timer, &QTimer::timeout, this, &Autosave::flush);
    connect(&m_document, &Document::changed, this, &Autosave::due);
    connect(&m_document, &Document::titleChanged, this, &Autosave::due);
}

Autosave::~Autosave() {
    clear();
}

void Autosave::due() {
    if (!m_document.isChanged()) {
        clear();
    } else if (m_document.history().isClean()) {
        flush(); // recovered work, whose own file is about to go
    } else if (!m_timer.isActive()) {
        m_timer.start(); // not started anew by each change: a long drag is saved, too
    }
}

void Autosave::flush() {
    m_timer.stop();
    if (!m_document.isChanged()) return;
    try {
        // Paths below the autosave folder there are none of, so all are written whole.
        write(m_file, QByteArray::fromStdString(projectText(*m_document.project(), m_folder.toStdString())));
        write(m_file + kOriginal, m_document.path().toUtf8());
    } catch (const std::exception& error) {
        emit failed(QString::fromStdString(error.what())); // the next change tries again
    }
}

void Autosave::clear() {
    m_timer.stop();
    QFile::remove(m_file);
    QFile::remove(m_file + kOriginal);
}

std::vector<LostWork> Autosave::lost() const {
    std::vector<LostWork> found;
    // Studios that were killed with nothing unsaved leave their locks alone.
    for (const QFileInfo& file : QDir(m_folder).entryInfoList({'*' + kLock}, QDir::Files)) {
        QString path = file.filePath();
        path.chop(kLock.size());
        if (path == m_file || QFileInfo::exists(path)) continue;
        QLockFile lock(path + kLock);
        lock.setStaleLockTime(0);
        lock.tryLock(0); // let go of, it takes the file along
    }
    for (const QFileInfo& file :
         QDir(m_folder).entryInfoList({QStringLiteral("*.larkmoor")}, QDir::Files, QDir::Time)) {
        const QString path = file.filePath();
        if (path == m_file) continue;
        QLockFile lock(path + kLock);
        lock.setStaleLockTime(0);
        if (!lock.tryLock(0)) continue; // of a studio that runs
        QFile original(path + kOriginal);
        const bool known = original.open(QIODevice::ReadOnly);
        found.push_back({path, known ? QString::fromUtf8(original.readAll()) : QString()});
    }
    return found;
}

void Autosave::forget(const LostWork& work) {
    for (const QString& path : {work.file, work.file + kOriginal, work.file + kLock}) QFile::remove(path);
}

} // namespace larkmoor
