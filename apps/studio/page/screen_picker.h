// Picks a colour of the screen.
#pragma once

#include <functional>
#include <optional>

#include <QPixmap>
#include <QWidget>

namespace larkmoor {

/// The average of the 5 by 5 pixels around a place, which is in the image's own pixels. At the edges the block is
/// smaller; empty for a place outside.
std::optional<QRgb> averageColor(const QImage& image, QPoint at);

/// Covers all screens with what they show and waits for a click. Escape, another button and the loss of the window
/// give no colour. Deletes itself.
class ScreenPicker : public QWidget {
  public:
    using Answer = std::function<void(std::optional<QRgb>)>;
    ScreenPicker(Answer answer, QWidget* parent);
    /// Takes the pictures, shows the window and grabs the mouse.
    void start();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    void finish(std::optional<QRgb> color);

    struct Shot {
        QRect place;    ///< on the desktop
        QPixmap pixels; ///< null where the system lets nobody look
    };
    std::vector<Shot> m_shots;
    Answer m_answer;
};

} // namespace larkmoor
