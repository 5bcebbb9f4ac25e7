#include "widgets/effect_list.h"

#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QSettings>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "widgets/thumbnail_delegate.h"

namespace larkmoor {
namespace {

constexpr int kWords = Qt::UserRole + 40; ///< what people call it, too
constexpr int kGroup = kWords + 1;
constexpr int kFavorites = 1; ///< the choice between that of all and the groups
const char* const kSetting = "favorites";

/// Says so when a search has left nothing.
class EntryView : public QListView {
  protected:
    void paintEvent(QPaintEvent* event) override {
        QListView::paintEvent(event);
        if (!model() || model()->rowCount() > 0) return;
        QPainter painter(viewport());
        painter.setPen(palette().color(QPalette::Disabled, QPalette::Text));
        painter.drawText(viewport()->rect().adjusted(12, 12, -12, -12), Qt::AlignCenter | Qt::TextWordWrap,
                         EffectList::tr("No effect has these words in its name or kind."));
    }
};

} // namespace

void EffectList::Filter::setWords(const QStringList& words) {
    m_words = words;
    invalidateFilter();
}

void EffectList::Filter::setGroup(const QString& group, bool favorites) {
    m_group = group;
    m_favorites = favorites;
    invalidateFilter();
}

QMimeData* EffectList::Filter::mimeData(const QModelIndexList& rows) const {
    auto* const data = new QMimeData;
    if (!rows.isEmpty()) data->setData(kMime, rows[0].data(ThumbnailDelegate::kKey).toString().toUtf8());
    return data;
}

bool EffectList::Filter::filterAcceptsRow(int row, const QModelIndex& parent) const {
    const QModelIndex index = sourceModel()->index(row, 0, parent);
    if (m_favorites && !index.data(ThumbnailDelegate::kMarked).toBool()) return false;
    if (!m_group.isEmpty() && index.data(kGroup).toString() != m_group) return false;
    // A line break keeps a word from matching across both texts.
    const QString text = index.data(Qt::DisplayRole).toString() + QLatin1Char('\n') +
                         index.data(ThumbnailDelegate::kKind).toString() + QLatin1Char('\n') +
                         index.data(kWords).toString();
    return std::all_of(m_words.begin(), m_words.end(),
                       [&](const QString& word) { return text.contains(word, Qt::CaseInsensitive); });
}

EffectList::EffectList(QWidget* parent)
    : QWidget(parent), m_groups(new QComboBox), m_favorites(QSettings().value(kSetting).toStringList()),
      m_filter(new QLineEdit), m_view(new EntryView), m_add(new QPushButton(tr("&Add"))),
      m_model(new QStandardItemModel(this)), m_proxy(new Filter(this)) {
    m_filter->setPlaceholderText(tr("Search effects"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setAccessibleName(tr("Search effects"));
    m_filter->installEventFilter(this);

    auto* delegate = new ThumbnailDelegate({128, 72}, true, this);
    m_proxy->setSourceModel(m_model);
    m_view->setModel(m_proxy);
    m_view->setItemDelegate(delegate);
    m_view->setViewMode(QListView::IconMode);
    m_view->setMovement(QListView::Static);
    m_view->setResizeMode(QListView::Adjust);
    m_view->setUniformItemSizes(true);
    m_view->setGridSize(delegate->cell() + QSize(2, 2));
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_view->setMouseTracking(true);
    m_view->setDragEnabled(true);
    m_view->setDragDropMode(QAbstractItemView::DragOnly);
    m_view->setContextMenuPolicy(Qt::CustomContextMenu);
    m_groups->setAccessibleName(tr("Group of effects"));
    m_view->setAccessibleName(tr("Effects"));
    m_view->installEventFilter(this);
    m_add->setToolTip(tr("Adds the effect to the stack (Enter)"));
    m_add->setAutoDefault(false);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addWidget(m_groups);
    column->addWidget(m_filter);
    column->addWidget(m_view, 1);
    column->addWidget(m_add);
    setFocusProxy(m_filter);

    connect(m_filter, &QLineEdit::textChanged, this, &EffectList::setFilter);
    connect(m_groups, &QComboBox::currentIndexChanged, this, &EffectList::chooseGroup);
    connect(m_view, &QWidget::customContextMenuRequested, this, &EffectList::menu);
    connect(m_view, &QListView::doubleClicked, this, &EffectList::choose);
    connect(m_add, &QPushButton::clicked, this, &EffectList::choose);
    connect(m_view->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { m_add->setEnabled(m_view->currentIndex().isValid()); });
    filterChanged();
}

void EffectList::setEntries(const std::vector<EffectEntry>& entries) {
    const QString current = currentKey();
    m_model->clear();
    showGroups(entries);
    for (const EffectEntry& entry : entries) {
        auto* item = new QStandardItem(entry.name);
        item->setData(entry.kind, ThumbnailDelegate::kKind);
        item->setData(entry.key, ThumbnailDelegate::kKey);
        item->setData(entry.words, kWords);
        item->setData(entry.group, kGroup);
        item->setData(isFavorite(entry.key), ThumbnailDelegate::kMarked);
        item->setData(entry.thumbnail, ThumbnailDelegate::kImage);
        item->setToolTip(entry.kind.isEmpty() ? entry.name : tr("%1 (%2)").arg(entry.name, entry.kind));
        item->setData(item->toolTip(), Qt::AccessibleTextRole);
        m_model->appendRow(item);
        if (entry.key == current) m_view->setCurrentIndex(m_proxy->mapFromSource(item->index()));
    }
    filterChanged();
}

void EffectList::showGroups(const std::vector<EffectEntry>& entries) {
    const QSignalBlocker quiet(m_groups);
    m_groups->clear();
    m_groups->addItems({tr("All effects"), tr("Favorites")});
    QStringList groups;
    for (const EffectEntry& entry : entries)
        if (!entry.group.isEmpty() && !groups.contains(entry.group)) groups << entry.group;
    groups.sort(Qt::CaseInsensitive);
    m_groups->addItems(groups);
    m_proxy->setGroup({}, false);
}

void EffectList::chooseGroup(int index) {
    m_proxy->setGroup(index > kFavorites ? m_groups->itemText(index) : QString(), index == kFavorites);
    filterChanged();
}

void EffectList::setFavorite(const QString& key, bool favorite) {
    m_favorites.removeAll(key);
    if (favorite) m_favorites << key;
    QSettings().setValue(kSetting, m_favorites);
    for (int row = 0; row < m_model->rowCount(); ++row)
        if (QStandardItem* item = m_model->item(row); item->data(ThumbnailDelegate::kKey).toString() == key)
            item->setData(favorite, ThumbnailDelegate::kMarked);
    filterChanged();
}

void EffectList::menu(const QPoint& position) {
    // By the keyboard it comes from no item's place.
    const QModelIndex under = m_view->indexAt(position), entry = under.isValid() ? under : m_view->currentIndex();
    if (!entry.isValid()) return;
    const QString key = entry.data(ThumbnailDelegate::kKey).toString();
    const bool favorite = isFavorite(key);
    QMenu menu(this);
    menu.addAction(tr("&Add"), this, [&] { emit chosen(key); });
    menu.addAction(favorite ? tr("Remove from the &favorites") : tr("Add to the &favorites"), this,
                   [&] { setFavorite(key, !favorite); });
    menu.exec(m_view->viewport()->mapToGlobal(position));
}

void EffectList::setThumbnail(const QString& key, const QImage& image) {
    for (int row = 0; row < m_model->rowCount(); ++row)
        if (QStandardItem* item = m_model->item(row); item->data(ThumbnailDelegate::kKey).toString() == key)
            item->setData(image, ThumbnailDelegate::kImage);
}

void EffectList::setFilter(const QString& words) {
    if (m_filter->text() != words) {
        m_filter->setText(words); // comes back here
        return;
    }
    m_proxy->setWords(words.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts));
    m_view->setCurrentIndex({}); // a choice among what other words left is none among these
    chooseBest(words.simplified());
    filterChanged();
}

/// What is called just so comes before what has the words somewhere, then what begins with them.
void EffectList::chooseBest(const QString& words) {
    const auto rank = [&](int row) {
        const QString name = m_proxy->index(row, 0).data().toString();
        return name.compare(words, Qt::CaseInsensitive) == 0 ? 0 : name.startsWith(words, Qt::CaseInsensitive) ? 1 : 2;
    };
    int best = 0;
    for (int row = 1; row < m_proxy->rowCount(); ++row)
        if (rank(row) < rank(best)) best = row;
    if (m_proxy->rowCount() > 0) m_view->setCurrentIndex(m_proxy->index(best, 0));
}

// Enter in the field adds the first match unless another is chosen.
void EffectList::filterChanged() {
    if (!m_view->currentIndex().isValid() && m_proxy->rowCount() > 0) m_view->setCurrentIndex(m_proxy->index(0, 0));
    m_add->setEnabled(m_view->currentIndex().isValid());
    m_view->viewport()->update();
}

QString EffectList::currentKey() const {
    return m_view->currentIndex().data(ThumbnailDelegate::kKey).toString();
}

QStringList EffectList::shownKeys() const {
    QStringList keys;
    for (int row = 0; row < m_proxy->rowCount(); ++row)
        keys << m_proxy->index(row, 0).data(ThumbnailDelegate::kKey).toString();
    return keys;
}

void EffectList::choose() {
    if (m_view->currentIndex().isValid()) emit chosen(currentKey());
}

bool EffectList::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return QWidget::eventFilter(watched, event);
    const auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
        choose();
        return true;
    }
    if (watched == m_filter) {
        if (key->key() == Qt::Key_Down && m_proxy->rowCount() > 0) {
            m_view->setFocus(Qt::TabFocusReason);
            return true;
        }
        if (key->key() == Qt::Key_Escape && !m_filter->text().isEmpty()) {
            m_filter->clear();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace larkmoor
