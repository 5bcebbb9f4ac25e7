#include "widgets/key_list.h"

#include <QAction>
#include <QActionGroup>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QMenu>
#include <QVBoxLayout>
#include <algorithm>

#include "text.h"

namespace larkmoor {

namespace {

QToolButton* button(const QString& text, const QString& tip, QWidget* parent) {
    auto* const made = new QToolButton(parent);
    made->setText(text);
    made->setToolTip(tip);
    made->setAccessibleName(tip);
    made->setAutoRaise(true);
    return made;
}

} // namespace

KeyList::KeyList(KeyEditor& keys, QWidget* parent) : QWidget(parent), m_keys(keys) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* const range = new QHBoxLayout;
    m_from = button(tr("From here"), tr("The effect works from this frame on"), this);
    m_to = button(tr("Up to here"), tr("The effect works up to this frame"), this);
    m_all = button(tr("All along"), tr("The effect works at all frames"), this);
    for (QToolButton* each : {m_from, m_to, m_all}) range->addWidget(each);
    range->addStretch();
    layout->addLayout(range);
    connect(m_from, &QToolButton::clicked, this, [this] { m_keys.setSpan(m_keys.frame(), m_keys.span().to); });
    connect(m_to, &QToolButton::clicked, this, [this] { m_keys.setSpan(m_keys.span().from, m_keys.frame()); });
    connect(m_all, &QToolButton::clicked, this, [this] { m_keys.setSpan({}, {}); });
    connect(&m_keys, &KeyEditor::changed, this, &KeyList::show);
    show();
}

QToolButton* KeyList::diamond(const char* field) const {
    const auto row = std::ranges::find(m_list, std::string_view(field), [](const Row& r) { return r.field->name; });
    return row == m_list.end() ? nullptr : row->diamond;
}

QToolButton* KeyList::arrow(const char* field, int direction) const {
    const auto row = std::ranges::find(m_list, std::string_view(field), [](const Row& r) { return r.field->name; });
    return row == m_list.end() ? nullptr : direction < 0 ? row->before : row->behind;
}

void KeyList::makeRows() {
    delete m_rows;
    m_rows = new QWidget(this);
    m_list.clear();
    auto* const grid = new QGridLayout(m_rows);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(2);
    grid->setVerticalSpacing(0);
    grid->setColumnStretch(4, 1);
    int line = 0;
    for (const tFieldInfo& field : m_info ? std::span(m_info->fields) : std::span<const tFieldInfo>()) {
        const QString name = QString(field.label).remove('&').remove(':');
        Row row{&field, button(QStringLiteral("◀"), tr("%1: the key before").arg(name), m_rows),
                button(QStringLiteral("◇"), tr("%1: a key here").arg(name), m_rows),
                button(QStringLiteral("▶"), tr("%1: the next key").arg(name), m_rows), new QLabel(m_rows)};
        row.diamond->setContextMenuPolicy(Qt::CustomContextMenu);
        row.value->setTextFormat(Qt::PlainText);
        row.value->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        connect(row.before, &QToolButton::clicked, this, [this, &field] { m_keys.go(field, -1); });
        connect(row.behind, &QToolButton::clicked, this, [this, &field] { m_keys.go(field, 1); });
        connect(row.diamond, &QToolButton::clicked, this, [this, &field] { m_keys.toggle(field); });
        connect(row.diamond, &QWidget::customContextMenuRequested, this,
                [this, &field, at = row.diamond](QPoint point) { askWay(field, at->mapToGlobal(point)); });
        int column = 0;
        for (QWidget* each :
             std::initializer_list<QWidget*>{row.before, row.diamond, row.behind, new QLabel(name, m_rows), row.value})
            grid->addWidget(each, line, column++);
        ++line;
        m_list.push_back(row);
    }
    static_cast<QVBoxLayout*>(layout())->addWidget(m_rows);
}

void KeyList::show() {
    if (m_keys.info() != m_info || !m_rows) {
        m_info = m_keys.info();
        makeRows();
    }
    if (!m_info) return;
    const Curves& curves = m_keys.curves();
    const std::vector<std::byte> record = m_keys.record();
    const auto dress = [](QToolButton* each, const QString& text, bool lit) {
        each->setText(text);
        QPalette colours;
        if (lit) colours.setColor(QPalette::ButtonText, QColor(214, 150, 20));
        each->setPalette(colours);
    };
    for (const Row& row : m_list) {
        const bool any = findCurve(curves, *row.field), here = any && m_keys.hasKey(*row.field);
        dress(row.diamond, here ? QStringLiteral("◆") : QStringLiteral("◇"), any);
        row.before->setEnabled(any && m_keys.neighbour(*row.field, -1));
        row.behind->setEnabled(any && m_keys.neighbour(*row.field, 1));
        const QString value = text(fieldText(*row.field, record));
        row.value->setText(value);
        row.value->setToolTip(value);
    }
    const Span span = m_keys.span();
    for (QToolButton* each : {m_from, m_to, m_all}) each->setVisible(m_keys.canHaveSpan());
    dress(m_from, m_from->text(), span.from.has_value());
    dress(m_to, m_to->text(), span.to.has_value());
    m_all->setEnabled(span.from || span.to);
}

void KeyList::askWay(const tFieldInfo& field, QPoint position) {
    const Curves& curves = m_keys.curves();
    const Curve* const curve = findCurve(curves, field);
    if (!curve || !canMove(field)) return;
    // The way that leads over the playhead.
    auto at = std::ranges::upper_bound(curve->keys, m_keys.frame(), {}, &Key::frame);
    if (at != curve->keys.begin()) --at;
    QMenu menu(this);
    auto* const group = new QActionGroup(&menu);
    for (const auto& [way, name] : {std::pair(Way::Hold, tr("&Hold up to the next key")),
                                    {Way::Linear, tr("&Linear to the next key")},
                                    {Way::Smooth, tr("&Smooth to the next key")}}) {
        QAction* const action = menu.addAction(name);
        action->setCheckable(true);
        action->setActionGroup(group);
        action->setChecked(at->way == way);
        connect(action, &QAction::triggered, this,
                [this, &field, frame = at->frame, way = way] { m_keys.setWay(field, frame, way); });
    }
    menu.exec(position);
}

} // namespace larkmoor
