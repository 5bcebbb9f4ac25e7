// The exports that run, wait and are over.
#pragma once

#include <QPushButton>
#include <QTreeWidget>

#include "export_queue.h"

namespace larkmoor {

class ExportPanel : public QWidget {
    Q_OBJECT

  public:
    explicit ExportPanel(ExportQueue& queue, QWidget* parent = nullptr);

    QTreeWidget* list() const { return m_list; }
    QPushButton* cancelButton() const { return m_cancel; }
    QPushButton* clearButton() const { return m_clear; }
    QPushButton* joinButton() const { return m_join; }

  private:
    void show();
    void join();

    ExportQueue& m_queue;
    QTreeWidget* m_list;
    QPushButton *m_cancel, *m_clear, *m_join;
};

} // namespace larkmoor
