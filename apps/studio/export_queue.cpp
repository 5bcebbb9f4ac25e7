#include "export_queue.h"

#include <algorithm>

#include <QFileInfo>

#include "render_project.h"
#include "text.h"

namespace larkmoor {

using State = ExportJob::State;
using Work = ExportJob::Work;

QString timeText(qint64 seconds) {
    return ExportQueue::tr("%1:%2 left").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar('0'));
}

QString timeLeft(qint64 milliseconds, qint64 done, qint64 total) {
    if (done <= 0 || total <= 0 || milliseconds <= 0) return {};
    return timeText((milliseconds * (total - done) / done + 999) / 1000);
}

ExportQueue::ExportQueue(const Module& module, QObject* parent)
    : QObject(parent), m_module(module), m_folders(module, this) {
    connect(
        &m_exporter, &Exporter::progress, this,
        [this](qint64 done, qint64 total) {
            if (!m_running || !m_exporter.isRunning()) return;
            m_jobs[*m_running].done = done;
            m_jobs[*m_running].total = total;
            emit changed();
        },
        Qt::QueuedConnection);
    connect(&m_exporter, &Exporter::finished, this, &ExportQueue::take);
    connect(&m_folders, &JobWatch::told, this, [this](const QString& folder, const JobState& state) {
        for (ExportJob& job : m_jobs)
            if (job.work == Work::Folder && text(job.folder) == folder) job.farm = state;
        emit changed();
    });
}

void ExportQueue::add(ExportJob job) {
    const QFileInfo file(text(job.target()));
    for (const ExportJob& other : m_jobs)
        if (!other.isOver() && QFileInfo(text(other.target())).absoluteFilePath() == file.absoluteFilePath())
            throw UsageError(
                tr("%1 is being exported already; choose another name.").arg(file.fileName()).toStdString());
    m_jobs.push_back(std::move(job));
    emit changed();
    next();
}

void ExportQueue::showFolder(const std::string& folder) {
    m_jobs.push_back({.work = Work::Folder, .folder = folder, .state = State::Done});
    watchFolders();
    emit changed();
}

Exporter::Work ExportQueue::workOf(const ExportJob& job) const {
    return [module = m_module, project = job.project, output = job.output, work = job.work,
            folder = job.folder](const Watch& watch) {
        if (work == Work::Film) return renderProject(module, *project, output, watch);
        if (work == Work::Folder) {
            createJob(module, {.project = *project, .clip = {}, .output = output}, folder);
            return Ended::Whole;
        }
        const ChunkJob chunks = loadJob(module, folder);
        checkJob(chunks, module);
        return mergeJob(module, chunks, output, watch);
    };
}

void ExportQueue::watchFolders() {
    std::vector<std::string> folders;
    for (const ExportJob& job : m_jobs)
        if (job.work == Work::Folder && job.state == State::Done) folders.push_back(job.folder);
    m_folders.watch(folders);
}

void ExportQueue::next() {
    if (m_running) return;
    const auto waiting = std::ranges::find(m_jobs, State::Waiting, &ExportJob::state);
    if (waiting == m_jobs.end()) return;
    m_running = static_cast<std::size_t>(waiting - m_jobs.begin());
    waiting->state = State::Running;
    m_clock.start();
    m_exporter.start(workOf(*waiting));
    emit changed();
}

void ExportQueue::take(bool done, const QString& sentence) {
    ExportJob& job = m_jobs[*std::exchange(m_running, std::nullopt)];
    job.state = done ? State::Done : sentence.isEmpty() ? State::Cancelled : State::Failed;
    job.sentence = sentence;
    job.project.reset(); // nobody needs it any more
    const ExportJob told = job;
    watchFolders();
    next();
    emit changed();
    emit finished(told);
}

void ExportQueue::cancel(std::size_t index) {
    if (index >= m_jobs.size()) return;
    if (m_running == index) return m_exporter.cancel(); // it says when it is over
    if (m_jobs[index].state != State::Waiting) return;
    m_jobs[index].state = State::Cancelled;
    emit changed();
}

void ExportQueue::cancelAll() {
    for (std::size_t i = m_jobs.size(); i-- > 0;) cancel(i);
}

void ExportQueue::clear() {
    const auto over = [](const ExportJob& job) { return job.isOver(); };
    if (m_running)
        *m_running -= static_cast<std::size_t>(
            std::count_if(m_jobs.begin(), m_jobs.begin() + static_cast<std::ptrdiff_t>(*m_running), over));
    std::erase_if(m_jobs, over);
    watchFolders();
    emit changed();
}

std::optional<int> ExportQueue::percent() const {
    if (!m_running || m_jobs[*m_running].total <= 0) return {};
    const ExportJob& job = m_jobs[*m_running];
    const auto open = std::ranges::count(m_jobs, State::Waiting, &ExportJob::state) + 1;
    return static_cast<int>(job.done * 100 / job.total / open);
}

QString ExportQueue::timeLeft() const {
    return m_running ? larkmoor::timeLeft(m_clock.elapsed(), m_jobs[*m_running].done, m_jobs[*m_running].total)
                     : QString();
}

} // namespace larkmoor
