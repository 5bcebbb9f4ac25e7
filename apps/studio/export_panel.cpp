#include "export_panel.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QVBoxLayout>
#include <algorithm>

#include "text.h"

namespace larkmoor {

namespace {

QString stateOf(const ExportJob& job, const QString& left) {
    switch (job.state) {
    case ExportJob::State::Waiting:
        return ExportPanel::tr("waits");
    case ExportJob::State::Running:
        return job.total > 0 ? ExportPanel::tr("%1 %, %2 of %3 frames  %4")
                                   .arg(job.done * 100 / job.total)
                                   .arg(job.done)
                                   .arg(job.total)
                                   .arg(left)
                             : ExportPanel::tr("%1 frames").arg(job.done);
    case ExportJob::State::Done:
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
      m_clear(new QPushButton(tr("Clear those that are over"))) {
    m_list->setRootIsDecorated(false);
    m_list->setHeaderLabels({tr("File"), tr("State")});
    m_list->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    m_list->setAccessibleName(tr("Exports"));
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch();
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
    connect(&m_queue, &ExportQueue::changed, this, &ExportPanel::show);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &ExportPanel::show);
    show();
}

void ExportPanel::show() {
    const std::vector<ExportJob>& jobs = m_queue.jobs();
    const int count = static_cast<int>(jobs.size());
    while (m_list->topLevelItemCount() > count) delete m_list->topLevelItem(m_list->topLevelItemCount() - 1);
    while (m_list->topLevelItemCount() < count) new QTreeWidgetItem(m_list);
    for (int i = 0; i < count; ++i) {
        const ExportJob& job = jobs[static_cast<std::size_t>(i)];
        QTreeWidgetItem& item = *m_list->topLevelItem(i);
        const QString path = text(job.output.path), state = stateOf(job, m_queue.timeLeft());
        item.setText(0, QFileInfo(path).fileName());
        item.setText(1, state);
        item.setToolTip(0, path);
        item.setToolTip(1, state);
    }
    if (count > 0 && !m_list->currentItem()) m_list->setCurrentItem(m_list->topLevelItem(count - 1));
    const QTreeWidgetItem* const item = m_list->currentItem();
    const int row = item ? m_list->indexOfTopLevelItem(const_cast<QTreeWidgetItem*>(item)) : -1;
    m_cancel->setEnabled(row >= 0 && !jobs[static_cast<std::size_t>(row)].isOver());
    m_clear->setEnabled(std::ranges::any_of(jobs, &ExportJob::isOver));
}

} // namespace larkmoor
