// One view for every settings page: it asks the page's model for its controls, draws them and sends back what the user
// does.
#pragma once

#include <map>
#include <span>
#include <vector>

#include <QTimer>

#include "control_widget.h"
#include "edit_link.h"
#include "page_layout.h"
#include "platform/com_ptr.h"

class QMenu;

namespace larkmoor {

/// Opens the page while it lives. All on the GUI thread; the effect may tell of a change from any thread.
class PageView : public QWidget, private PageLink {
    Q_OBJECT
  public:
    /// `page` has been given its effect, and is let go of with its objects at the end. Throws StatusError where the
    /// page is none of ours or does not open.
    explicit PageView(CComPtr<IPropertyPage> page, QWidget* parent = nullptr);
    ~PageView() override;

    QSize sizeHint() const override { return m_size; }
    QString title() const { return m_title; }
    /// Lets the page read the edit that is being typed into, as before saving.
    void commitEdits();
    /// Whether an edit holds what the page has not read yet.
    bool isTyping() const;
    /// The widget of a control; null for an unknown id.
    QWidget* control(LONG id) const;
    /// The field that a widget or one inside it sets, as an index into the sentences of help of the effect's fields; -1
    /// for none.
    int fieldOf(const QWidget* widget, std::span<const QString> helpOfFields) const;

  signals:
    /// The page's record went to the effect.
    void applied();
    /// What the user did is at its end.
    void settled();
    /// A menu of the page's is about to come up, of what stands under the pointer or has the focus.
    void menuAsked(QMenu* menu, QWidget* under);
    /// Connect to provide help.
    void helpWanted(int topic);

  protected:
    void changeEvent(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    class Sink;
    struct Target : tMessageTarget {
        PageView* view;
    };
    struct Control {
        LONG id;
        tPageControlKind kind;
        RECT place;
        LONG buddy;
        QWidget* widget;
        EditLink* edit = nullptr;
        QString help = {};
        std::vector<QString> items = {}; ///< of a list
    };
    /// What the page says while it is being called is dealt with when the outermost call is over.
    class Call;

    HRESULT sendEvent(LONG control, const tPageEvent& event) override;
    IKwPage& model() override { return *m_page.Get(); }
    void choose(LONG control, const tPageEvent& event);
    void sendMessage(UINT message, std::uintptr_t wParam, std::intptr_t lParam);

    void makeControls();
    QWidget* makeWidget(const tPageControl& facts, Control& control);
    void groupRadioButtons(const std::vector<bool>& groupStarts);
    void joinBuddies();
    void nameControls();
    void setTabOrders();
    void refresh(std::size_t index);
    void refreshList(Control& control, const tPageControl& facts);
    void refreshAll(LONG id);
    void layOut();
    void tellSize();

    HRESULT notice(const tPageNotice& notice);
    void flush();
    void handle(const tPageNotice& notice);
    void tellValues();
    void setTimer(LONG control, LONG timer, int period);
    void popUpMenu(LONG control, QPoint at);
    Control* find(LONG id);

    CComPtr<IPropertyPage> m_frame;
    CComPtr<IKwPage> m_page;
    CComPtr<Sink> m_sink;
    Target m_target;
    QString m_title;
    QSize m_size;
    SIZE m_dialog{};
    std::vector<Control> m_controls;
    std::map<std::pair<LONG, LONG>, QTimer*> m_timers;
    std::vector<tPageNotice> m_notices;
    int m_calls = 0;
    bool m_layoutStale = false;
};

} // namespace larkmoor
