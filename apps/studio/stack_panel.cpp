#include "stack_panel.h"

#include <QDropEvent>
#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineF>
#include <QMimeData>
#include <QPainter>
#include <QSignalBlocker>
#include <QTimer>
#include <QVBoxLayout>

#include "widgets/effect_list.h"

namespace larkmoor {

namespace {

enum Role { kKind = Qt::UserRole, kIndex };

Slot slotOf(const QListWidgetItem& item) {
    return {static_cast<Slot::Kind>(item.data(kKind).toInt()), item.data(kIndex).toInt()};
}

/// Strokes on a field of 16 by 16 in the palette's text colour, so that no theme and no font can lack them.
QIcon icon(const std::vector<QLineF>& strokes, const QPalette& palette) {
    QIcon made;
    for (const auto mode : {QIcon::Normal, QIcon::Disabled}) {
        QPixmap pixels(64, 64);
        pixels.fill(Qt::transparent);
        QPainter painter(&pixels);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(4, 4);
        const auto group = mode == QIcon::Normal ? QPalette::Active : QPalette::Disabled;
        painter.setPen(QPen(palette.color(group, QPalette::ButtonText), 1.6, Qt::SolidLine, Qt::RoundCap));
        for (const QLineF& stroke : strokes) painter.drawLine(stroke);
        painter.end();
        made.addPixmap(pixels, mode);
    }
    return made;
}

const std::vector<QLineF> kPlus{{8, 3, 8, 13}, {3, 8, 13, 8}}, kMinus{{3, 8, 13, 8}},
    kUp{{8, 13, 8, 3}, {8, 3, 4, 7}, {8, 3, 12, 7}}, kDown{{8, 3, 8, 13}, {8, 13, 4, 9}, {8, 13, 12, 9}},
    kTwins{{3, 3, 10, 3}, {3, 3, 3, 10}, {6, 6, 13, 6}, {13, 6, 13, 13}, {13, 13, 6, 13}, {6, 13, 6, 6}};

/// Its own rows are moved, and what comes from the list of effects is told of.
class StackList : public QListWidget {
  public:
    StackList(StackPanel& panel) : QListWidget(&panel), m_panel(panel) {}

  protected:
    void dragEnterEvent(QDragEnterEvent* event) override {
        if (!take(*event)) QListWidget::dragEnterEvent(event);
    }
    void dragMoveEvent(QDragMoveEvent* event) override {
        if (!take(*event)) QListWidget::dragMoveEvent(event);
    }
    void dropEvent(QDropEvent* event) override {
        if (!take(*event)) return QListWidget::dropEvent(event);
        emit m_panel.effectDropped(QString::fromUtf8(event->mimeData()->data(EffectList::kMime)),
                                   place(event->position()));
    }

  private:
    static bool take(QDropEvent& event) {
        if (!event.mimeData()->hasFormat(EffectList::kMime)) return false;
        event.setDropAction(Qt::CopyAction);
        event.accept();
        return true;
    }
    /// Among the effects: before the one whose upper half is under the pointer.
    int place(QPointF position) const {
        int at = 0;
        for (int row = 0; row < count(); ++row)
            at +=
                slotOf(*item(row)).kind == Slot::Kind::Effect && visualItemRect(item(row)).center().y() < position.y();
        return at;
    }

    StackPanel& m_panel;
};

QToolButton* button(const QString& tip, QWidget* parent) {
    auto* const made = new QToolButton(parent);
    made->setToolTip(tip);
    made->setAccessibleName(tip);
    made->setAutoRaise(true);
    return made;
}

} // namespace

StackPanel::StackPanel(Document& document, QWidget* parent)
    : QWidget(parent), m_document(document), m_list(new StackList(*this)) {
    m_list->setAccessibleName(tr("Effects in order"));
    m_list->setDragDropMode(QAbstractItemView::InternalMove);
    m_list->setDefaultDropAction(Qt::MoveAction);
    m_list->installEventFilter(this);
    m_add = button(tr("Add an effect"), this);
    m_remove = button(tr("Remove the effect"), this);
    m_duplicate = button(tr("Duplicate the effect"), this);
    m_up = button(tr("Move the effect up"), this);
    m_down = button(tr("Move the effect down"), this);
    showIcons();

    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(2);
    for (QToolButton* each : {m_add, m_remove, m_duplicate, m_up, m_down}) buttons->addWidget(each);
    buttons->addStretch();
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    layout->addWidget(m_list);
    layout->addLayout(buttons);

    connect(m_add, &QToolButton::clicked, this, &StackPanel::addRequested);
    connect(m_remove, &QToolButton::clicked, this, &StackPanel::removeSelected);
    connect(m_duplicate, &QToolButton::clicked, this, &StackPanel::duplicateSelected);
    connect(m_up, &QToolButton::clicked, this, [this] { moveSelected(-1); });
    connect(m_down, &QToolButton::clicked, this, [this] { moveSelected(1); });
    connect(m_list, &QListWidget::itemChanged, this, &StackPanel::rowChanged);
    connect(m_list, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item) {
        if (item && !m_showing) m_document.select(slotOf(*item));
    });
    // The list is still amid its own move when it tells of it.
    connect(m_list->model(), &QAbstractItemModel::rowsMoved, this, [this] {
        if (!m_showing) QTimer::singleShot(0, this, &StackPanel::rowsMoved);
    });
    connect(&m_document, &Document::changed, this, &StackPanel::show);
    connect(&m_document, &Document::selectionChanged, this, &StackPanel::showSelection);
    show();
}

void StackPanel::showIcons() {
    m_add->setIcon(icon(kPlus, palette()));
    m_remove->setIcon(icon(kMinus, palette()));
    m_duplicate->setIcon(icon(kTwins, palette()));
    m_up->setIcon(icon(kUp, palette()));
    m_down->setIcon(icon(kDown, palette()));
}

void StackPanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) showIcons();
}

void StackPanel::addRow(Slot slot, const QString& text, const ProjectEffect* effect) {
    auto* const item = new QListWidgetItem(text, m_list);
    item->setData(kKind, static_cast<int>(slot.kind));
    item->setData(kIndex, slot.index);
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (slot.kind == Slot::Kind::Effect) {
        flags |= Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled;
        item->setCheckState(effect->on ? Qt::Checked : Qt::Unchecked);
    }
    item->setFlags(flags);
}

void StackPanel::show() {
    m_showing = true;
    m_list->clear();
    if (const Document::Snapshot project = m_document.project()) {
        if (const auto* const clip = std::get_if<ProjectClip>(&project->source)) {
            addRow({Slot::Kind::Source}, QFileInfo(QString::fromStdString(clip->path)).fileName(), nullptr);
            m_list->item(0)->setToolTip(QString::fromStdString(clip->path));
        } else {
            const auto& generator = std::get<ProjectGenerator>(project->source).generator;
            addRow({Slot::Kind::Source}, QString::fromStdString(generator.info->name), &generator);
        }
        if (project->second)
            addRow({Slot::Kind::Transition},
                   tr("%1 to %2")
                       .arg(QString::fromStdString(project->second->transition.info->name),
                            QFileInfo(QString::fromStdString(project->second->path)).fileName()),
                   &project->second->transition);
        for (int i = 0; const ProjectEffect& effect : project->effects) {
            const QString name = QString::fromStdString(effect.info->name);
            addRow({Slot::Kind::Effect, i++}, effect.over ? tr("%1 (laid over)").arg(name) : name, &effect);
        }
    }
    m_showing = false;
    showSelection();
}

void StackPanel::showSelection() {
    m_showing = true;
    const Slot selected = m_document.selected();
    for (int row = 0; row < m_list->count(); ++row)
        if (slotOf(*m_list->item(row)) == selected) m_list->setCurrentRow(row);
    m_showing = false;
    const bool effect = selected.kind == Slot::Kind::Effect;
    m_remove->setEnabled(effect || selected.kind == Slot::Kind::Transition);
    m_duplicate->setEnabled(effect);
    m_up->setEnabled(effect && selected.index > 0);
    m_down->setEnabled(effect && m_document.project() &&
                       selected.index + 1 < static_cast<int>(m_document.project()->effects.size()));
}

void StackPanel::rowChanged(QListWidgetItem* item) {
    if (m_showing) return;
    const Slot slot = slotOf(*item);
    const bool on = item->checkState() == Qt::Checked;
    const ProjectEffect* const effect = m_document.project() ? effectIn(*m_document.project(), slot) : nullptr;
    if (!effect || effect->on == on) return;
    m_document.change(on ? tr("Switch on") : tr("Switch off"),
                      [=](Project& project) { effectIn(project, slot)->on = on; });
}

void StackPanel::rowsMoved() {
    const Document::Snapshot project = m_document.project();
    if (!project) return;
    std::vector<int> order;
    int selected = 0;
    for (int row = 0; row < m_list->count(); ++row) {
        const Slot slot = slotOf(*m_list->item(row));
        if (slot.kind != Slot::Kind::Effect) continue;
        if (slot == m_document.selected()) selected = static_cast<int>(order.size());
        order.push_back(slot.index);
    }
    if (order.size() == project->effects.size() && !std::is_sorted(order.begin(), order.end()))
        m_document.change(tr("Move"), [&](Project& next) {
            for (std::size_t i = 0; i < order.size(); ++i)
                next.effects[i] = project->effects[static_cast<std::size_t>(order[i])];
        });
    show();
    m_document.select({Slot::Kind::Effect, selected});
}

void StackPanel::removeSelected() {
    const Slot slot = m_document.selected();
    if (slot.kind == Slot::Kind::Effect)
        m_document.change(tr("Remove"),
                          [&](Project& project) { project.effects.erase(project.effects.begin() + slot.index); });
    else if (slot.kind == Slot::Kind::Transition)
        m_document.change(tr("Remove the second clip"), [&](Project& project) { project.second.reset(); });
}

void StackPanel::duplicateSelected() {
    const Slot slot = m_document.selected();
    if (slot.kind != Slot::Kind::Effect) return;
    m_document.change(tr("Duplicate"), [&](Project& project) {
        const ProjectEffect copy = *effectIn(project, slot);
        project.effects.insert(project.effects.begin() + slot.index + 1, copy);
    });
    m_document.select({Slot::Kind::Effect, slot.index + 1});
}

void StackPanel::moveSelected(int by) {
    const Slot slot = m_document.selected();
    const int to = slot.index + by;
    if (slot.kind != Slot::Kind::Effect || to < 0 || to >= static_cast<int>(m_document.project()->effects.size()))
        return;
    m_document.change(tr("Move"), [&](Project& project) {
        std::swap(project.effects[static_cast<std::size_t>(slot.index)], project.effects[static_cast<std::size_t>(to)]);
    });
    m_document.select({Slot::Kind::Effect, to});
}

bool StackPanel::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<QKeyEvent&>(*event);
        if (key.key() == Qt::Key_Delete) {
            removeSelected();
            return true;
        }
        if (key.modifiers() & Qt::AltModifier && (key.key() == Qt::Key_Up || key.key() == Qt::Key_Down)) {
            moveSelected(key.key() == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace larkmoor
