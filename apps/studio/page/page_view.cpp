#include "page_view.h"

#include <algorithm>
#include <utility>

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QGroupBox>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMetaMethod>
#include <QRadioButton>
#include <QSignalBlocker>

#include "color_widget.h"
#include "host/object.h"
#include "page_names.h"

namespace larkmoor {

namespace {

constexpr LONG kMostMenuRows = 1000;

// A text with `&` before the mnemonic, as a label without anything to reach shows it.
QString withoutMnemonic(const QString& text) {
    QString plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'&' && ++i == text.size()) break;
        plain += text[i];
    }
    return plain;
}

} // namespace

class PageView::Sink : public ObjectOf<IKwPageSink> {
  public:
    explicit Sink(PageView& view) : m_view(&view) {}
    void close() { m_view = nullptr; }
    HRESULT OnPageNotice(const tPageNotice* notice) override {
        if (!notice) return E_POINTER;
        if (!m_view) return S_FALSE;
        return guarded([&] { return m_view->notice(*notice); });
    }

  private:
    PageView* m_view;
};

class PageView::Call {
  public:
    explicit Call(PageView& view) : m_view(view) { ++m_view.m_calls; }
    ~Call() {
        if (--m_view.m_calls > 0) return;
        m_view.flush();
        m_view.tellValues();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

  private:
    PageView& m_view;
};

PageView::PageView(CComPtr<IPropertyPage> page, QWidget* parent)
    : QWidget(parent), m_frame(std::move(page)), m_page(KwQuery<IKwPage>(m_frame.Get())) {
    if (!m_page)
        throw StatusError(tr("This effect has no settings page that can be shown here.").toStdString(), E_NOINTERFACE);
    m_target.post = [](void* self, UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
        PageView* const view = static_cast<Target*>(static_cast<tMessageTarget*>(self))->view;
        try {
            QMetaObject::invokeMethod(
                view, [=] { view->sendMessage(message, wParam, lParam); }, Qt::QueuedConnection);
        } catch (const std::bad_alloc&) {
            // Posting has no answer: the message is lost, as on any full queue.
        }
    };
    m_target.view = this;
    m_sink = makeObject<Sink>(*this);

    const char* title = nullptr;
    m_page->GetDialog(&m_dialog, &title);
    m_title = QString::fromUtf8(title);
    const DialogUnit unit = DialogUnit::of(fontMetrics());
    const QPoint size = unit.pixels(m_dialog.cx, m_dialog.cy);
    const RECT place{0, 0, size.x(), size.y()};

    ++m_calls; // nothing is shown before all of it is there
    m_page->SetPageSink(m_sink.Get());
    if (const HRESULT opened = m_frame->Activate(&m_target, &place, FALSE); FAILED(opened)) {
        m_page->SetPageSink(nullptr);
        throw StatusError(tr("The settings page does not open.").toStdString(), opened);
    }
    makeControls();
    --m_calls;
    m_layoutStale = true;
    refreshAll(0);
    flush();
}

PageView::~PageView() {
    ++m_calls; // widgets that lose the focus now show nothing more
    m_sink->close();
    m_page->SetPageSink(nullptr);
    m_frame->Deactivate();
    m_frame->SetObjects(0, nullptr);
    // Here, for they call the page. An edit must not tell any more that it loses the focus on its way out.
    for (Control& control : m_controls) {
        delete std::exchange(control.edit, nullptr);
        delete std::exchange(control.widget, nullptr);
    }
}

// Calls.

HRESULT PageView::sendEvent(LONG control, const tPageEvent& event) {
    const Call call(*this);
    return m_page->SendEvent(control, &event);
}

// The widget shows a choice before the model has agreed to it.
void PageView::choose(LONG control, const tPageEvent& event) {
    sendEvent(control, event);
    refreshAll(control);
}

void PageView::sendMessage(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
    const Call call(*this);
    m_page->SendPage(message, wParam, lParam, nullptr);
}

void PageView::commitEdits() {
    for (const Control& control : m_controls) {
        if (control.edit) control.edit->commit();
        if (control.kind == KWCONTROL_COLOR) static_cast<ColorWidget*>(control.widget)->commitEdits();
    }
}

bool PageView::isTyping() const {
    return std::ranges::any_of(m_controls, [](const Control& control) {
        return (control.edit && control.edit->isModified()) ||
               (control.kind == KWCONTROL_COLOR && static_cast<const ColorWidget*>(control.widget)->isTyping());
    });
}

QWidget* PageView::control(LONG id) const {
    for (const Control& control : m_controls)
        if (control.id == id) return control.widget;
    return nullptr;
}

PageView::Control* PageView::find(LONG id) {
    for (Control& control : m_controls)
        if (control.id == id) return &control;
    return nullptr;
}

// Showing.

void PageView::refresh(std::size_t index) {
    Control& control = m_controls[index];
    tPageControl facts{};
    if (FAILED(m_page->GetControl(static_cast<LONG>(index), &facts, sizeof facts))) return;
    const QString text = QString::fromUtf8(facts.text);
    QWidget* const widget = control.widget;
    const QSignalBlocker quiet(widget);
    const bool shown = !widget->isHidden();
    if (shown != (facts.visible != FALSE)) m_layoutStale = true;

    switch (control.kind) {
    case KWCONTROL_LABEL: {
        auto* const label = static_cast<QLabel*>(widget);
        const QString wanted = label->buddy() ? text : withoutMnemonic(text);
        if (label->text() != wanted) m_layoutStale = true;
        label->setText(wanted);
        break;
    }
    case KWCONTROL_GROUP:
        static_cast<QGroupBox*>(widget)->setTitle(text);
        break;
    case KWCONTROL_EDIT:
    case KWCONTROL_TEXT:
        control.edit->show(text);
        break;
    case KWCONTROL_CHECK: {
        auto* const box = static_cast<QCheckBox*>(widget);
        box->setText(text);
        box->setChecked(facts.value != 0);
        break;
    }
    case KWCONTROL_RADIO: {
        auto* const radio = static_cast<QRadioButton*>(widget);
        radio->setText(text);
        QButtonGroup* const group = radio->group(); // which would not let the last one go
        group->setExclusive(false);
        radio->setChecked(facts.value != 0);
        group->setExclusive(true);
        break;
    }
    case KWCONTROL_LIST:
        refreshList(control, facts);
        break;
    case KWCONTROL_TRACKBAR:
    case KWCONTROL_SPINNER:
    case KWCONTROL_COLOR:
    case KWCONTROL_PLACEMENT:
    case KWCONTROL_LOGO:
        static_cast<ControlWidget*>(widget)->refresh();
        break;
    }
    widget->setEnabled(facts.enabled);
    widget->setVisible(facts.visible);
}

void PageView::refreshList(Control& control, const tPageControl& facts) {
    auto* const list = static_cast<QComboBox*>(control.widget);
    std::vector<QString> items;
    for (LONG item = 0; item < facts.itemCount; ++item) {
        const char* text = nullptr;
        if (FAILED(m_page->GetItem(control.id, item, &text))) break;
        items.push_back(QString::fromUtf8(text));
    }
    if (items != control.items) {
        control.items = items;
        list->clear();
        for (const QString& item : items) list->addItem(item);
        if (auto* const rows = qobject_cast<QListView*>(list->view())) {
            rows->setTextElideMode(Qt::ElideNone);
            rows->setMinimumWidth(rows->sizeHintForColumn(0) + 24); // room for a scroll bar
        }
        m_layoutStale = true;
    }
    list->setCurrentIndex(facts.value);
}

void PageView::refreshAll(LONG id) {
    for (std::size_t i = 0; i < m_controls.size(); ++i)
        if (id == 0 || m_controls[i].id == id) refresh(i);
    if (std::exchange(m_layoutStale, false)) layOut();
}

void PageView::layOut() {
    std::vector<LayoutItem> items;
    for (const Control& control : m_controls) {
        LayoutItem item{
            .kind = control.kind, .place = control.place, .visible = !control.widget->isHidden(), .wish = {}};
        switch (control.kind) {
        case KWCONTROL_LABEL:
            if (static_cast<QLabel*>(control.widget)->wordWrap()) break;
            [[fallthrough]];
        case KWCONTROL_CHECK:
        case KWCONTROL_RADIO:
        case KWCONTROL_LIST:
            item.wish = control.widget->sizeHint();
            break;
        case KWCONTROL_EDIT:
            item.wish = {0, control.widget->sizeHint().height()};
            break;
        case KWCONTROL_LOGO:
            item.wish = control.widget->minimumSizeHint();
            break;
        default:
            break;
        }
        if (control.kind == KWCONTROL_SPINNER)
            for (std::size_t i = 0; i < m_controls.size(); ++i)
                if (m_controls[i].edit && m_controls[i].id == control.buddy) item.partner = static_cast<int>(i);
        items.push_back(item);
    }
    const PageLayout layout = layOutPage(items, m_dialog, DialogUnit::of(fontMetrics()));
    m_size = layout.size;
    setMinimumSize(m_size);
    updateGeometry();
    for (std::size_t i = 0; i < m_controls.size(); ++i) {
        QRect place = layout.places[i];
        if (m_controls[i].kind == KWCONTROL_LOGO) place.setWidth(std::max(place.width(), width() - place.left()));
        m_controls[i].widget->setGeometry(place);
    }
}

void PageView::tellSize() {
    const RECT place{0, 0, width(), height()};
    const Call call(*this);
    m_frame->Move(&place);
}

// What the page says.

HRESULT PageView::notice(const tPageNotice& notice) {
    switch (notice.code) {
    case KWNOTICE_TIMER:
        setTimer(notice.control, notice.x, notice.y);
        return S_OK;
    case KWNOTICE_CAPTURE:
        if (const Control* control = find(notice.control))
            if (auto* const widget = dynamic_cast<ControlWidget*>(control->widget)) widget->setTracking(notice.x != 0);
        return S_OK;
    case KWNOTICE_HELP:
        if (!isSignalConnected(QMetaMethod::fromSignal(&PageView::helpWanted))) return E_NOTIMPL;
        break;
    default:
        break;
    }
    if (m_calls == 0 && m_notices.empty())
        QMetaObject::invokeMethod(
            this, [this] { flush(); }, Qt::QueuedConnection);
    m_notices.push_back(notice);
    return S_OK;
}

void PageView::flush() {
    while (m_calls == 0 && !m_notices.empty()) {
        const auto notices = std::exchange(m_notices, {});
        std::vector<LONG> changed;
        for (const tPageNotice& notice : notices)
            if (notice.code == KWNOTICE_CHANGED && std::ranges::find(changed, notice.control) == changed.end())
                changed.push_back(notice.control);
        if (std::ranges::find(changed, 0) != changed.end()) changed = {0};
        for (const LONG control : changed) refreshAll(control);
        for (const tPageNotice& notice : notices) handle(notice);
    }
}

/// A value may be another where nothing is drawn otherwise: a step of a slider that is less than a pixel.
void PageView::tellValues() {
    for (const Control& control : m_controls)
        if (auto* const widget = dynamic_cast<ControlWidget*>(control.widget)) widget->tellValue();
}

void PageView::handle(const tPageNotice& notice) {
    const Control* const control = find(notice.control);
    switch (notice.code) {
    case KWNOTICE_APPLIED:
        emit applied();
        break;
    case KWNOTICE_SETTLED:
        emit settled();
        break;
    case KWNOTICE_HELP:
        emit helpWanted(notice.x);
        break;
    case KWNOTICE_MENU:
        popUpMenu(notice.control, {notice.x, notice.y});
        break;
    case KWNOTICE_FOCUS:
        if (control) control->widget->setFocus(Qt::OtherFocusReason);
        break;
    case KWNOTICE_PICK:
        if (control && control->kind == KWCONTROL_COLOR) static_cast<ColorWidget*>(control->widget)->pickFromScreen();
        break;
    default:
        break;
    }
}

void PageView::setTimer(LONG control, LONG id, int period) {
    QTimer*& timer = m_timers[{control, id}];
    if (period <= 0) {
        if (timer) timer->stop();
        return;
    }
    if (!timer) {
        timer = new QTimer(this);
        connect(timer, &QTimer::timeout, this,
                [this, control, id] { sendEvent(control, {.kind = KWEVENT_TIMER, .value = id}); });
    }
    timer->start(period);
}

void PageView::popUpMenu(LONG control, QPoint at) {
    auto* const menu = new QMenu(this);
    std::vector<QMenu*> submenus; // by row; null for a row that is none
    for (LONG index = 0; index < kMostMenuRows; ++index) {
        tPageMenuItem item{};
        if (FAILED(m_page->GetMenuItem(control, index, &item, sizeof item))) break;
        const bool nested = item.parent >= 0 && item.parent < index && submenus[static_cast<std::size_t>(item.parent)];
        QMenu* const into = nested ? submenus[static_cast<std::size_t>(item.parent)] : menu;
        submenus.push_back(nullptr);
        if (item.separator)
            into->addSeparator();
        else if (item.id == 0)
            submenus.back() = into->addMenu(QString::fromUtf8(item.text));
        else
            into->addAction(QString::fromUtf8(item.text))->setData(item.id);
    }
    for (QMenu* submenu : submenus)
        if (submenu && submenu->isEmpty()) submenu->setEnabled(false);
    connect(menu, &QMenu::triggered, this, [this, control](const QAction* action) {
        if (!action->data().isValid()) return; // not the page's own
        const auto id = static_cast<std::uintptr_t>(action->data().toInt());
        if (control == 0) return sendMessage(WM_COMMAND, id, 0);
        const Call call(*this);
        m_page->SendControl(control, WM_COMMAND, id, 0, nullptr);
    });
    connect(menu, &QMenu::aboutToHide, menu, &QObject::deleteLater);
    if (control == 0) emit menuAsked(menu, at.x() < 0 ? focusWidget() : childAt(at));
    if (menu->isEmpty()) return menu->deleteLater();
    const Control* const owner = control ? find(control) : nullptr;
    menu->popup((owner ? owner->widget : this)->mapToGlobal(at));
}

// What the toolkit says.

void PageView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) layOut();
}

void PageView::contextMenuEvent(QContextMenuEvent* event) {
    const bool keyboard = event->reason() == QContextMenuEvent::Keyboard;
    const auto word = [&](int place) { return static_cast<std::uint32_t>(keyboard ? -1 : place) & 0xFFFF; };
    const std::uint32_t at = word(event->x()) | word(event->y()) << 16;
    sendMessage(WM_CONTEXTMENU, 0, static_cast<LONG>(at));
    event->accept();
}

void PageView::resizeEvent(QResizeEvent*) {
    for (const Control& control : m_controls)
        if (control.kind == KWCONTROL_LOGO)
            control.widget->resize(std::max(m_size.width(), width()) - control.widget->x(), control.widget->height());
    tellSize();
}

// A list under the pointer is not to change while the user scrolls past it.
bool PageView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Wheel && !static_cast<QWidget*>(watched)->hasFocus()) {
        event->ignore();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace larkmoor
