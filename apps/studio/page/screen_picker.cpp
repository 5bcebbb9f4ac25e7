#include "screen_picker.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>

namespace larkmoor {

std::optional<QRgb> averageColor(const QImage& image, QPoint at) {
    if (!image.rect().contains(at)) return {};
    const QRect block = QRect(at - QPoint(2, 2), QSize(5, 5)) & image.rect();
    int red = 0, green = 0, blue = 0;
    for (int y = block.top(); y <= block.bottom(); ++y)
        for (int x = block.left(); x <= block.right(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            red += qRed(pixel), green += qGreen(pixel), blue += qBlue(pixel);
        }
    const int count = block.width() * block.height();
    const auto mean = [&](int sum) { return (sum + count / 2) / count; };
    return qRgb(mean(red), mean(green), mean(blue));
}

ScreenPicker::ScreenPicker(Answer answer, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::BypassWindowManagerHint),
      m_answer(std::move(answer)) {
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setCursor(Qt::CrossCursor);
}

void ScreenPicker::start() {
    // The pictures are taken before the window stands over them: a window that is really transparent needs a
    // compositor.
    QRect all;
    for (QScreen* screen : QGuiApplication::screens()) {
        m_shots.push_back({screen->geometry(), screen->grabWindow(0)});
        all |= screen->geometry();
    }
    setGeometry(all);
    show();
    activateWindow();
    setFocus();
    grabMouse();
    grabKeyboard();
}

void ScreenPicker::finish(std::optional<QRgb> color) {
    if (const Answer answer = std::exchange(m_answer, nullptr)) {
        releaseMouse();
        releaseKeyboard();
        close();
        answer(color);
    }
}

void ScreenPicker::closeEvent(QCloseEvent* event) {
    finish({});
    QWidget::closeEvent(event);
}

void ScreenPicker::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) finish({});
}

void ScreenPicker::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return finish({});
    const QPoint at = event->globalPosition().toPoint();
    for (const Shot& shot : m_shots)
        if (shot.place.contains(at)) {
            const QPointF inside = QPointF(at - shot.place.topLeft()) * shot.pixels.devicePixelRatio();
            return finish(averageColor(shot.pixels.toImage(), inside.toPoint()));
        }
    finish({});
}

void ScreenPicker::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), Qt::black);
    for (const Shot& shot : m_shots) painter.drawPixmap(shot.place.topLeft() - pos(), shot.pixels);
}

} // namespace larkmoor
