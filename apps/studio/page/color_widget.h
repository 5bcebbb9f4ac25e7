// A colour picker of a page.
#pragma once

#include <array>
#include <utility>
#include <vector>

#include "control_widget.h"
#include "edit_link.h"

namespace larkmoor {

class ColorWidget : public ControlWidget {
    Q_OBJECT

  public:
    ColorWidget(PageLink& page, LONG id, QWidget* parent);
    ~ColorWidget() override;

    void refresh() override;
    /// The edits that are there, in the order of tabs.
    std::vector<QLineEdit*> edits() const;
    void commitEdits();
    bool isTyping() const;
    Spoken spoken() const override;
    /// Lets the user pick a colour of the screen and tells it to the model.
    void pickFromScreen();

  protected:
    bool wantsWheel() const override;
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void nameParts(const QString& name);
    struct Edit {
        QLineEdit* widget = nullptr;
        EditLink* link = nullptr;
    };
    /// As by the mouse.
    void press(LONG part);
    void paintParts(QPainter& painter, const tColorPickDetail& detail);
    void paintButton(QPainter& painter, const tColorPickDetail& detail, LONG part);

    std::array<Edit, KWPART_ALPHA_EDIT + 1> m_edits;
    std::vector<std::pair<LONG, QWidget*>> m_keys; ///< of the buttons, by their parts
};

} // namespace larkmoor
