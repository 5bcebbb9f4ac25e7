// The widgets of a page's controls: what they are, what they are called and how the keys go through them.
#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <algorithm>
#include <utility>

#include "color_widget.h"
#include "logo_widget.h"
#include "page_names.h"
#include "page_view.h"
#include "placement_widget.h"
#include "spinner_widget.h"
#include "trackbar_widget.h"

namespace larkmoor {

namespace {

constexpr LONG kMostControls = 1000; // more than a page could show
constexpr LONG kTwoLines = 16;       // dialog units

QString tipOf(const char* help) {
    return help && *help ? Qt::convertFromPlainText(QString::fromUtf8(help)) : QString();
}

} // namespace

void PageView::makeControls() {
    std::vector<bool> groupStarts;
    for (LONG index = 0; index < kMostControls; ++index) {
        tPageControl facts{};
        if (FAILED(m_page->GetControl(index, &facts, sizeof facts))) break;
        Control control{
            .id = facts.id, .kind = facts.kind, .place = facts.place, .buddy = facts.buddy, .widget = nullptr};
        control.help = QString::fromUtf8(facts.help);
        const QString tip = tipOf(facts.help);
        control.widget = makeWidget(facts, control);
        control.widget->setObjectName(QString::number(facts.id));
        control.widget->setToolTip(tip);
        m_controls.push_back(std::move(control));
        groupStarts.push_back(facts.groupStart);
    }
    groupRadioButtons(groupStarts);
    joinBuddies();
    nameControls();
    setTabOrders();
}

void PageView::nameControls() {
    std::vector<NamedControl> named;
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        tPageControl facts{};
        m_page->GetControl(static_cast<LONG>(i), &facts, sizeof facts);
        named.push_back({facts.id, facts.kind, facts.buddy, QString::fromUtf8(facts.text), m_controls[i].help});
    }
    const std::vector<QString> names = controlNames(named, m_title);
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        m_controls[i].widget->setAccessibleName(names[i]);
        m_controls[i].widget->setAccessibleDescription(m_controls[i].help);
    }
}

int PageView::fieldOf(const QWidget* widget, std::span<const QString> helpOfFields) const {
    std::vector<NamedControl> named;
    for (const Control& control : m_controls)
        named.push_back({control.id, control.kind, control.buddy, {}, control.help});
    const std::vector<int> fields = controlFields(named, helpOfFields);
    for (std::size_t i = 0; i < m_controls.size(); ++i)
        if (m_controls[i].widget == widget || m_controls[i].widget->isAncestorOf(widget)) return fields[i];
    return -1;
}

QWidget* PageView::makeWidget(const tPageControl& facts, Control& control) {
    const LONG id = facts.id;
    const auto click = [this, id] { choose(id, {.kind = KWEVENT_CLICK}); };
    switch (facts.kind) {
    case KWCONTROL_GROUP: {
        auto* const group = new QGroupBox(this);
        group->lower();
        return group;
    }
    case KWCONTROL_EDIT: {
        auto* const edit = new QLineEdit(this);
        control.edit = new EditLink(*this, id, 0, *edit);
        return edit;
    }
    case KWCONTROL_TEXT: {
        auto* const edit = new QPlainTextEdit(this);
        edit->setTabChangesFocus(true);
        control.edit = new EditLink(*this, id, *edit);
        return edit;
    }
    case KWCONTROL_CHECK: {
        auto* const box = new QCheckBox(this);
        connect(box, &QCheckBox::clicked, this, click);
        return box;
    }
    case KWCONTROL_RADIO: {
        auto* const radio = new QRadioButton(this);
        connect(radio, &QRadioButton::clicked, this, click);
        return radio;
    }
    case KWCONTROL_LIST: {
        auto* const list = new QComboBox(this);
        list->setFocusPolicy(Qt::StrongFocus);
        list->installEventFilter(this);
        connect(list, &QComboBox::activated, this,
                [this, id](int item) { choose(id, {.kind = KWEVENT_SELECT, .value = item}); });
        return list;
    }
    case KWCONTROL_TRACKBAR:
        return new TrackbarWidget(*this, id, this);
    case KWCONTROL_SPINNER:
        return new SpinnerWidget(*this, id, this);
    case KWCONTROL_COLOR:
        return new ColorWidget(*this, id, this);
    case KWCONTROL_PLACEMENT:
        return new PlacementWidget(*this, id, this);
    case KWCONTROL_LOGO:
        return new LogoWidget(*this, id, this);
    case KWCONTROL_LABEL:
        break;
    }
    auto* const label = new QLabel(this);
    label->setTextFormat(Qt::PlainText);
    const bool tall = facts.place.bottom - facts.place.top >= kTwoLines;
    label->setWordWrap(tall);
    label->setAlignment(Qt::AlignLeft | (tall ? Qt::AlignTop : Qt::AlignVCenter));
    return label;
}

// Arrow keys go round within a group.
void PageView::groupRadioButtons(const std::vector<bool>& groupStarts) {
    QButtonGroup* group = nullptr;
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        if (m_controls[i].kind != KWCONTROL_RADIO) continue;
        if (!group || groupStarts[i]) group = new QButtonGroup(this);
        group->addButton(static_cast<QRadioButton*>(m_controls[i].widget));
    }
}

void PageView::joinBuddies() {
    for (Control& control : m_controls) {
        Control* const buddy = control.buddy ? find(control.buddy) : nullptr;
        if (!buddy) continue;
        if (control.kind == KWCONTROL_LABEL) {
            QWidget* reached = buddy->widget;
            if (buddy->kind == KWCONTROL_COLOR)
                if (const auto edits = static_cast<ColorWidget*>(reached)->edits(); !edits.empty()) reached = edits[0];
            static_cast<QLabel*>(control.widget)->setBuddy(reached);
        } else if (control.kind == KWCONTROL_SPINNER && buddy->edit) {
            static_cast<SpinnerWidget*>(control.widget)->setBuddy(buddy->widget, buddy->edit);
            buddy->edit->setSpinner(control.id);
        }
    }
}

void PageView::setTabOrders() {
    QWidget* last = nullptr;
    const auto append = [&](QWidget* next) {
        if (last) setTabOrder(last, next);
        last = next;
    };
    for (const Control& control : m_controls) {
        if (control.kind == KWCONTROL_COLOR)
            for (QLineEdit* edit : static_cast<ColorWidget*>(control.widget)->edits()) append(edit);
        else if (control.widget->focusPolicy() & Qt::TabFocus || control.kind == KWCONTROL_RADIO)
            append(control.widget);
    }
}

} // namespace larkmoor
