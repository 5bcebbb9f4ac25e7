// How entries with thumbnails are drawn.
#pragma once

#include <QStyledItemDelegate>

namespace larkmoor {

/// A thumbnail and below it two lines: the name and, smaller, the kind; or the name alone, smaller and wrapped. An
/// entry without a picture shows an empty frame, so that nothing moves when it comes. One that is marked has a star.
class ThumbnailDelegate : public QStyledItemDelegate {
  public:
    /// Roles of an item beside its display text.
    enum Role { kKind = Qt::UserRole + 1, kKey, kImage, kMarked };

    ThumbnailDelegate(QSize thumbnail, bool kinds, QObject* parent);

    QSize cell() const;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override { return cell(); }

  private:
    QFont smallFont() const;

    QSize m_thumbnail;
    bool m_kinds;
};

} // namespace larkmoor
