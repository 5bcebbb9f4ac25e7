// Effects to choose from, with a search field.
#pragma once

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
    QString words = {}; ///< what people call it, for the search alone
    QImage thumbnail = {};
};

/// A search keeps the entries that have each of its words anywhere in name, kind or words, in any letter case.
class EffectList : public QWidget {
    Q_OBJECT

  public:
    explicit EffectList(QWidget* parent = nullptr);

    void setEntries(const std::vector<EffectEntry>& entries);
    /// An entry's picture, whenever it is ready; an unknown key does nothing.
    void setThumbnail(const QString& key, const QImage& image);

    void setFilter(const QString& words);
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

      protected:
        bool filterAcceptsRow(int row, const QModelIndex& parent) const override;

      private:
        QStringList m_words;
    };

    void choose();
    void filterChanged();
    void chooseBest(const QString& words);

    QLineEdit* m_filter;
    QListView* m_view;
    QPushButton* m_add;
    QStandardItemModel* m_model;
    Filter* m_proxy;
};

} // namespace larkmoor
