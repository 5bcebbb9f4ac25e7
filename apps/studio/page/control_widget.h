// What the widgets of a page's own controls have in common: they carry mouse, wheel, keys and focus to the model.
#pragma once

#include <optional>

#include "platform/page.h"
#include "widgets/spoken.h"

class QKeyEvent;
class QPainter;

namespace larkmoor {

/// The way from a widget to the model of its page.
class PageLink {
  public:
    /// What the user did. Whatever the model says in return has been shown when this returns.
    virtual HRESULT sendEvent(LONG control, const tPageEvent& event) = 0;
    virtual IKwPage& model() = 0;

  protected:
    ~PageLink() = default;
};

/// The model's number of a key, or empty for one that no control knows.
std::optional<LONG> pageKeyOf(const QKeyEvent& event);
ULONG pageModifiersOf(Qt::KeyboardModifiers modifiers);

inline QRect rectOf(const RECT& rect) {
    return {QPoint(rect.left, rect.top), QPoint(rect.right - 1, rect.bottom - 1)};
}

/// @param colorRef 0x00BBGGRR
inline QColor colourOf(ULONG colorRef) {
    return QColor(static_cast<int>(colorRef & 255), static_cast<int>(colorRef >> 8 & 255),
                  static_cast<int>(colorRef >> 16 & 255));
}

/// Base of the five. Places are device-independent pixels on both sides.
class ControlWidget : public SpokenWidget {
  public:
    ControlWidget(PageLink& page, LONG id, QWidget* parent);

    LONG id() const { return m_id; }
    /// Shows the model's state.
    virtual void refresh();
    Spoken spoken() const override;
    void moveTo(int position) override;
    using SpokenWidget::tellValue;
    /// The model holds the mouse, or has let go of it.
    void setTracking(bool on) { m_tracking = on; }

  protected:
    PageLink& page() const { return m_page; }
    HRESULT send(const tPageEvent& event) { return m_page.sendEvent(m_id, event); }
    /// The model's block of details; zeros where it has none.
    template <class T>
    T detail() const {
        T block{};
        if (FAILED(m_page.model().GetDetail(m_id, &block, sizeof block))) return {};
        return block;
    }
    /// A part of the control as the model paints it, sharp on the screen that the widget is on; null where the model
    /// paints none.
    QImage paintedPart(LONG part, QSize size) const;
    void drawFocusRing(QPainter& painter) const;
    /// Whether the wheel is meant for the control, not for the page that scrolls.
    virtual bool wantsWheel() const { return hasFocus(); }
    /// True where the Tab key is the control's rather than the way to the next one.
    virtual bool wantsTab() const { return false; }

    bool event(QEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

  private:
    HRESULT sendMouse(LONG kind, const QMouseEvent& event, LONG value = 0);
    bool sendKey(LONG kind, const QKeyEvent& event);
    void cancel();

    PageLink& m_page;
    const LONG m_id;
    bool m_tracking = false;
    bool m_rightPressTaken = false;
};

} // namespace larkmoor
