#include "export_panel.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <algorithm>
#include <thread>

#include "save_path.h"
#include "text.h"

namespace larkmoor {

namespace {

QString stateOf(const std::optional<JobState>& farm) {
    if (!farm) return ExportPanel::tr("is written.");
    if (!farm->fault.isEmpty()) return farm->fault;
    const JobStatus& status = farm->status;
    if (status.done == status.chunks) return ExportPanel::tr("All chunks are done and can be joined.");
    const auto stale = std::ranges::count_if(status.running, [](const auto& each) { return each.stale; });
    QString told =
        ExportPanel::tr("%1 of %n chunk(s) are done, %2 running, %3 failed", "", static_cast<int>(status.chunks))
            .arg(status.done)
            .arg(static_cast<qint64>(status.running.size()) - stale)
            .arg(status.failed.size());
    if (status.secondsLeft) told += QStringLiteral("  ") + timeText(static_cast<qint64>(*status.secondsLeft + 0.5));
    return told;
}

/// What failed where; else the state.
QString detailsOf(const ExportJob& job, const QString& state) {
    QStringList lines{state};
    if (job.farm)
        for (const JobStatus::Failure& failure : job.farm->status.failed)
            lines << ExportPanel::tr("Chunk %1 failed on %2: %3")
                         .arg(failure.chunk)
                         .arg(text(failure.host), text(failure.sentence));
    return lines.join('\n');
}

QString stateOf(const ExportJob& job, const QString& left) {
    switch (job.state) {
    case ExportJob::State::Waiting:
        return ExportPanel::tr("waits");
    case ExportJob::State::Running:
        return job.total > 0 ? ExportPanel::tr("%1 %, %2 of %n frame(s)  %3", "", static_cast<int>(job.total))
                                   .arg(job.done * 100 / job.total)
                                   .arg(job.done)
                                   .arg(left)
                             : ExportPanel::tr("%n frame(s)", "", static_cast<int>(job.done));
    case ExportJob::State::Done:
        if (job.work == ExportJob::Work::Folder) return stateOf(job.farm);
        return (ExportPanel::tr("is written.") + ' ' + job.sentence).trimmed();
    case ExportJob::State::Failed:
        return job.sentence;
    case ExportJob::State::Cancelled:
        return ExportPanel::tr("Cancelled; nothing was written.");
    }
    return {};
}

} // namespace

ExportPanel::ExportPanel(ExportQueue& queue, QWidget* parent)
    : QWidget(parent), m_queue(queue), m_list(new QTreeWidget), m_cancel(new QPushButton(tr("Cancel this export"))),
      m_clear(new QPushButton(tr("Clear those that are over"))), m_join(new QPushButton(tr("Join the chunks…"))) {
    m_list->setRootIsDecorated(false);
    m_list->setHeaderLabels({tr("File"), tr("State")});
    m_list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_list->setAccessibleName(tr("Exports"));
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch();
    auto* const watch = new QPushButton(tr("Show a job…"));
    buttons->addWidget(watch);
    buttons->addWidget(m_join);
    buttons->addWidget(m_cancel);
    buttons->addWidget(m_clear);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_list);
    layout->addLayout(buttons);
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        if (QTreeWidgetItem* const item = m_list->currentItem())
            m_queue.cancel(static_cast<std::size_t>(m_list->indexOfTopLevelItem(item)));
    });
    connect(m_clear, &QPushButton::clicked, &m_queue, &ExportQueue::clear);
    connect(m_join, &QPushButton::clicked, this, &ExportPanel::join);
    connect(watch, &QPushButton::clicked, this, [this] {
        const QString folder = QFileDialog::getExistingDirectory(this, tr("Folder of a job"), lastFolder());
        if (!folder.isEmpty()) m_queue.showFolder(folder.toStdString());
    });
    connect(&m_queue, &ExportQueue::changed, this, &ExportPanel::show);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &ExportPanel::show);
    show();
}

void ExportPanel::join() {
    QTreeWidgetItem* const item = m_list->currentItem();
    if (!item) return;
    const ExportJob job = m_queue.jobs()[static_cast<std::size_t>(m_list->indexOfTopLevelItem(item))];
    if (!job.canJoin()) return;
    const QFileInfo film(text(job.farm->film));
    const QString ending = film.suffix();
    const QString path = askWhereToSave(this, {tr("Join the chunks"),
                                               QFileInfo(text(job.folder)).absolutePath() + '/' + film.fileName(),
                                               QStringLiteral("*.") + ending,
                                               ending,
                                               {ending}});
    if (path.isEmpty()) return;
    try {
        OutputRequest out;
        out.path = path.toStdString();
        out.overwrite = true; // the dialog asked
        out.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
        m_queue.add({.output = out, .work = ExportJob::Work::Join, .folder = job.folder});
    } catch (const Error& error) {
        QMessageBox::warning(this, tr("Join the chunks"), text(error.what()));
    }
}

void ExportPanel::show() {
    const QSignalBlocker quiet(m_list); // a row that goes makes another the current one
    const std::vector<ExportJob>& jobs = m_queue.jobs();
    const int count = static_cast<int>(jobs.size());
    while (m_list->topLevelItemCount() > count) delete m_list->topLevelItem(m_list->topLevelItemCount() - 1);
    while (m_list->topLevelItemCount() < count) new QTreeWidgetItem(m_list);
    for (int i = 0; i < count; ++i) {
        const ExportJob& job = jobs[static_cast<std::size_t>(i)];
        QTreeWidgetItem& item = *m_list->topLevelItem(i);
        const QString path = text(job.target()), state = stateOf(job, m_queue.timeLeft());
        item.setText(0, QFileInfo(path).fileName());
        item.setText(1, state);
        item.setToolTip(0, path);
        item.setToolTip(1, detailsOf(job, state));
    }
    if (count > 0 && !m_list->currentItem()) m_list->setCurrentItem(m_list->topLevelItem(count - 1));
    const QTreeWidgetItem* const item = m_list->currentItem();
    const int row = item ? m_list->indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(item)) : -1;
    m_cancel->setEnabled(row >= 0 && !jobs[static_cast<std::size_t>(row)].isOver());
    m_join->setEnabled(row >= 0 && jobs[static_cast<std::size_t>(row)].canJoin());
    m_clear->setEnabled(std::ranges::any_of(jobs, &ExportJob::isOver));
}

} // namespace larkmoor
