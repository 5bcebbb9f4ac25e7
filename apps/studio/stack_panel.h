// The source and the effects on it, in the order in which they work.
#pragma once

#include <QListWidget>
#include <QToolButton>

#include "document.h"

namespace larkmoor {

/// The rows are the source, the transition where there is one, then the effects. A check mark switches an effect on,
/// a drag or Alt and the arrows move it.
class StackPanel : public QWidget {
    Q_OBJECT

  public:
    explicit StackPanel(Document& document, QWidget* parent = nullptr);

    QListWidget* list() const { return m_list; }

  public slots:
    void removeSelected();
    void duplicateSelected();
    void moveSelected(int by);

  signals:
    void addRequested();
    /// From the list of effects, to stand at a place among the effects.
    void effectDropped(QString className, int at);

  protected:
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void show();
    void showIcons();
    void showSelection();
    void rowsMoved();
    void rowChanged(QListWidgetItem* item);
    void addRow(Slot slot, const QString& text, const ProjectEffect* effect);

    Document& m_document;
    QListWidget* m_list;
    QToolButton *m_add, *m_remove, *m_duplicate, *m_up, *m_down;
    bool m_showing = false;
};

} // namespace larkmoor
