// Effects to choose from, with a search field.
#pragma once

#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QListView>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QStandardItemModel>
#include <QWidget>
#include <vector>

namespace larkmoor {

/// One entry: what people read and what the program knows it by.
struct EffectEntry {
    QString name, kind, key;
    QString group = {}; ///< among which people look for it
    QString words = {}; ///< what people call it, for the search alone
    QImage thumbnail = {};
};

/// A search keeps the entries that have each of its words anywhere in name, kind or words, in any letter case. A choice
/// above it keeps one group, or the favorites, which are remembered. Entries can be dragged away.
class EffectList : public QWidget {
    Q_OBJECT

  public:
    explicit EffectList(QWidget* parent = nullptr);

    void setEntries(const std::vector<EffectEntry>& entries);
    /// An entry's picture, whenever it is ready; an unknown key does nothing.
    void setThumbnail(const QString& key, const QImage& image);

    static constexpr const char* kMime = "application/x-larkmoor-effect"; ///< a dragged entry: its key

    void setFilter(const QString& words);
    QComboBox* groups() const { return m_groups; }
    void setFavorite(const QString& key, bool favorite);
    bool isFavorite(const QString& key) const { return m_favorites.contains(key); }
    QString currentKey() const;
    QStringList shownKeys() const;

    QLineEdit* filterField() const { return m_filter; }
    QListView* view() const { return m_view; }
    QPushButton* addButton() const { return m_add; }

  signals:
    /// By Enter in the field or the list, a double-click, or the button.
    void chosen(QString key);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    class Filter : public QSortFilterProxyModel {
      public:
        using QSortFilterProxyModel::QSortFilterProxyModel;
        void setWords(const QStringList& words);
        void setGroup(const QString& group, bool favorites);
        QStringList mimeTypes() const override { return {kMime}; }
        QMimeData* mimeData(const QModelIndexList& rows) const override;

      protected:
        bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

      private:
        QStringList m_words;
        QString m_group; ///< empty for all
        bool m_favorites = false;
    };

    void choose();
    void filterChanged();
    void chooseBest(const QString& words);
    void showGroups(const std::vector<EffectEntry>& entries);
    void chooseGroup(int index);
    void menu(const QPoint& position);

    QComboBox* m_groups;
    QStringList m_favorites;
    QLineEdit* m_filter;
    QListView* m_view;
    QPushButton* m_add;
    QStandardItemModel* m_model;
    Filter* m_proxy;
};

} // namespace larkmoor
