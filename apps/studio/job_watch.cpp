#include "job_watch.h"

#include "text.h"

namespace larkmoor {

namespace {

/// As of `larkmoor status`.
constexpr double kStale = 60;

JobState stateOf(const Module& module, const std::string& folder) {
    try {
        const ChunkJob job = loadJob(module, folder);
        return {statusOf(job, kStale), std::filesystem::path(job.request.output.path).filename(), {}};
    } catch (const std::exception& error) {
        return {{}, {}, text(error.what())};
    }
}

} // namespace

JobWatch::JobWatch(Module module, QObject* parent) : QObject(parent), m_module(std::move(module)) {
    m_threads.setMaxThreadCount(1);
    m_timer.setInterval(kPause);
    m_timer.setObjectName("look");
    connect(&m_timer, &QTimer::timeout, this, &JobWatch::look);
}

void JobWatch::watch(const std::vector<std::string>& folders) {
    if (folders == m_folders) return;
    m_folders = folders;
    if (m_folders.empty()) return m_timer.stop();
    m_timer.start();
    look();
}

void JobWatch::look() {
    if (std::exchange(m_looking, true)) return;
    m_threads.start([this, folders = m_folders] {
        for (const std::string& folder : folders)
            QMetaObject::invokeMethod(
                this, [this, folder, state = stateOf(m_module, folder)] { emit told(text(folder), state); });
        QMetaObject::invokeMethod(this, [this] { m_looking = false; });
    });
}

} // namespace larkmoor
