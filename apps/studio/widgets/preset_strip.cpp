#include "widgets/preset_strip.h"

#include <QKeyEvent>
#include <QScrollBar>
#include <QWheelEvent>

#include "widgets/thumbnail_delegate.h"

namespace larkmoor {

PresetStrip::PresetStrip(QWidget* parent) : QListView(parent), m_model(new QStandardItemModel(this)) {
    auto* delegate = new ThumbnailDelegate({128, 72}, false, this);
    setModel(m_model);
    setItemDelegate(delegate);
    setViewMode(QListView::IconMode);
    setFlow(QListView::LeftToRight);
    setWrapping(false);
    setMovement(QListView::Static);
    setUniformItemSizes(true);
    setGridSize(delegate->cell() + QSize(2, 0));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setMouseTracking(true);
    setAccessibleName(tr("Presets"));
    connect(this, &QListView::clicked, this, [this](const QModelIndex& index) { emit chosen(index.row()); });
}

QSize PresetStrip::sizeHint() const {
    return {400, gridSize().height() + horizontalScrollBar()->sizeHint().height() + 2 * frameWidth() + 2};
}

QSize PresetStrip::minimumSizeHint() const {
    return {gridSize().width(), sizeHint().height()};
}

void PresetStrip::setPresets(const QStringList& names) {
    m_model->clear();
    for (const QString& name : names) {
        auto* item = new QStandardItem(name);
        item->setToolTip(name);
        m_model->appendRow(item);
    }
}

void PresetStrip::setThumbnail(int index, const QImage& image) {
    if (QStandardItem* item = m_model->item(index)) item->setData(image, ThumbnailDelegate::kImage);
}

void PresetStrip::setCurrent(int index) {
    setCurrentIndex(m_model->index(index, 0));
    if (!currentIndex().isValid()) clearSelection();
}

void PresetStrip::keyPressEvent(QKeyEvent* event) {
    const bool choosing =
        event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Space;
    if (!choosing || !currentIndex().isValid()) return QListView::keyPressEvent(event);
    emit chosen(currentIndex().row());
}

void PresetStrip::wheelEvent(QWheelEvent* event) {
    const QPoint delta = event->angleDelta();
    QScrollBar* bar = horizontalScrollBar();
    bar->setValue(bar->value() - (delta.y() ? delta.y() : delta.x()));
    event->accept();
}

} // namespace larkmoor
