#include "export_queue.h"

#include <algorithm>

#include <QFileInfo>

#include "text.h"

namespace larkmoor {

using State = ExportJob::State;

QString timeLeft(qint64 milliseconds, qint64 done, qint64 total) {
    if (done <= 0 || total <= 0 || milliseconds <= 0) return {};
    const qint64 seconds = (milliseconds * (total - done) / done + 999) / 1000;
    return ExportQueue::tr("%1:%2 left").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar('0'));
}

ExportQueue::ExportQueue(const Module& module, QObject* parent) : QObject(parent), m_exporter(module) {
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
}

void ExportQueue::add(Document::Snapshot project, const OutputRequest& output) {
    const QFileInfo file(text(output.path));
    for (const ExportJob& job : m_jobs)
        if (!job.isOver() && QFileInfo(text(job.output.path)).absoluteFilePath() == file.absoluteFilePath())
            throw UsageError(file.fileName().toStdString() + " is being exported already; choose another name.");
    m_jobs.push_back({.project = std::move(project), .output = output});
    emit changed();
    next();
}

void ExportQueue::next() {
    if (m_running) return;
    const auto waiting = std::ranges::find(m_jobs, State::Waiting, &ExportJob::state);
    if (waiting == m_jobs.end()) return;
    m_running = static_cast<std::size_t>(waiting - m_jobs.begin());
    waiting->state = State::Running;
    m_clock.start();
    m_exporter.start(waiting->project, waiting->output);
    emit changed();
}

void ExportQueue::take(bool done, const QString& sentence) {
    ExportJob& job = m_jobs[*std::exchange(m_running, std::nullopt)];
    job.state = done ? State::Done : sentence.isEmpty() ? State::Cancelled : State::Failed;
    job.sentence = sentence;
    job.project.reset(); // nobody needs it any more
    const ExportJob told = job;
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
