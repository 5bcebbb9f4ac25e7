#include "color_widget.h"

#include <algorithm>

#include <QAbstractButton>
#include <QApplication>
#include <QHelpEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>
#include <QStyle>
#include <QStyleOptionButton>
#include <QToolTip>

#include "screen_picker.h"

namespace larkmoor {

namespace {

void paintChecks(QPainter& painter, const QRect& place) {
    constexpr int size = 5;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setClipRect(place);
    painter.fillRect(place, QColor(255, 255, 255));
    for (int y = 0; y < place.height(); y += size)
        for (int x = (y / size % 2) * size; x < place.width(); x += 2 * size)
            painter.fillRect(place.left() + x, place.top() + y, size, size, QColor(200, 200, 200));
    painter.restore();
}

// Seen on every colour: black within white.
void paintTwice(QPainter& painter, auto&& shape) {
    painter.setPen(QPen(Qt::white, 3));
    shape();
    painter.setPen(QPen(Qt::black, 1));
    shape();
}

void paintDropper(QPainter& painter, const QRectF& place, const QColor& colour) {
    const qreal side = std::min(place.width(), place.height()) * 0.6;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(place.center());
    painter.rotate(45);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colour);
    painter.drawRoundedRect(QRectF(-side * 0.16, -side * 0.62, side * 0.32, side * 0.5), side * 0.14, side * 0.14);
    painter.drawRect(QRectF(-side * 0.3, -side * 0.2, side * 0.6, side * 0.14));
    painter.setPen(QPen(colour, 1.1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPolygon(
        QPolygonF{{QPointF(-side * 0.14, -side * 0.06), QPointF(side * 0.14, -side * 0.06),
                   QPointF(side * 0.14, side * 0.42), QPointF(0, side * 0.66), QPointF(-side * 0.14, side * 0.42)}});
    painter.restore();
}

/// The keyboard's way to a part that the mouse reaches through the model. It draws nothing but its focus.
class PartKey : public QAbstractButton {
  public:
    PartKey(const QString& name, QWidget* parent) : QAbstractButton(parent) {
        setAccessibleName(name);
        setFocusPolicy(Qt::TabFocus);
        setAttribute(Qt::WA_TransparentForMouseEvents);
    }

  protected:
    void paintEvent(QPaintEvent*) override {
        if (!hasFocus()) return;
        QPainter painter(this);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRect(rect().adjusted(1, 1, -1, -1));
    }
};

} // namespace

ColorWidget::ColorWidget(PageLink& page, LONG id, QWidget* parent) : ControlWidget(page, id, parent) {
    setFocusPolicy(Qt::ClickFocus); // Tab goes to the edits
    const auto detail = this->detail<tColorPickDetail>();
    for (LONG part = KWPART_EDIT1; part <= KWPART_ALPHA_EDIT; ++part) {
        if (!detail.edits[part]) continue;
        auto* const edit = new QLineEdit(this);
        edit->setAlignment(Qt::AlignRight);
        m_edits[part] = {edit, new EditLink(page, id, part, *edit)};
    }
    const auto addKey = [this](LONG part, const QString& name) {
        auto* const key = new PartKey(name, this);
        connect(key, &QAbstractButton::clicked, this, [this, part] { press(part); });
        m_keys.emplace_back(part, key);
    };
    addKey(KWPART_SPACE, tr("Change the color space"));
    addKey(KWPART_PICKER, tr("Pick a color from the screen"));
    addKey(KWPART_GAMUT, tr("Correct the color"));
}

void ColorWidget::press(LONG part) {
    const QPoint at = rectOf(detail<tColorPickDetail>().parts[part]).center();
    send({.kind = KWEVENT_PRESS, .x = at.x(), .y = at.y()});
    send({.kind = KWEVENT_RELEASE, .x = at.x(), .y = at.y()});
}

ColorWidget::~ColorWidget() {
    for (const Edit& edit : m_edits) delete edit.link; // before its edit loses the focus
}

std::vector<QLineEdit*> ColorWidget::edits() const {
    std::vector<QLineEdit*> there;
    for (const Edit& edit : m_edits)
        if (edit.widget) there.push_back(edit.widget);
    return there;
}

Spoken ColorWidget::spoken() const {
    QStringList values;
    for (const QLineEdit* edit : edits()) values << edit->text();
    return {QAccessible::ColorChooser, values.join(QStringLiteral(", "))};
}

bool ColorWidget::wantsWheel() const {
    return hasFocus() || isAncestorOf(QApplication::focusWidget());
}

void ColorWidget::nameParts(const QString& name) {
    const bool hsl = detail<tColorPickDetail>().colorSpace != 0;
    const QStringList parts = hsl ? QStringList{tr("hue"), tr("saturation"), tr("lightness"), tr("alpha")}
                                  : QStringList{tr("red"), tr("green"), tr("blue"), tr("alpha")};
    for (LONG part = KWPART_EDIT1; part <= KWPART_ALPHA_EDIT; ++part)
        if (m_edits[part].widget)
            m_edits[part].widget->setAccessibleName(name + ", " + parts[static_cast<qsizetype>(part - KWPART_EDIT1)]);
}

void ColorWidget::commitEdits() {
    for (const Edit& edit : m_edits)
        if (edit.link) edit.link->commit();
}

bool ColorWidget::isTyping() const {
    return std::ranges::any_of(m_edits, [](const Edit& edit) { return edit.link && edit.link->isModified(); });
}

void ColorWidget::refresh() {
    const auto detail = this->detail<tColorPickDetail>();
    std::array<QString, KWPART_ALPHA_EDIT + 1> texts;
    for (LONG part = KWPART_EDIT1; part <= KWPART_ALPHA_EDIT; ++part)
        texts[part] = QString::fromUtf8(detail.edits[part]);
    for (LONG part = KWPART_EDIT1; part <= KWPART_ALPHA_EDIT; ++part) {
        const Edit& edit = m_edits[part];
        if (!edit.widget) continue;
        edit.widget->setGeometry(rectOf(detail.parts[part]));
        edit.widget->setVisible(detail.edits[part] && !rectOf(detail.parts[part]).isEmpty());
        edit.link->show(texts[part]);
    }
    nameParts(accessibleName());
    for (const auto& [part, key] : m_keys) {
        key->setGeometry(rectOf(detail.parts[part]));
        key->setVisible(!rectOf(detail.parts[part]).isEmpty());
    }
    ControlWidget::refresh();
}

void ColorWidget::pickFromScreen() {
    const auto answer = [self = QPointer(this)](std::optional<QRgb> color) {
        const LONG value = color ? static_cast<LONG>(*color & 0xFFFFFF) : -1;
        if (self) self->send({.kind = KWEVENT_PICKED, .value = value});
    };
    (new ScreenPicker(answer, this))->start();
}

bool ColorWidget::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return ControlWidget::event(event);
    const auto& help = static_cast<QHelpEvent&>(*event);
    send({.kind = KWEVENT_MOVE, .x = help.x(), .y = help.y()}); // the edits keep the pointer's moves to themselves
    const auto detail = this->detail<tColorPickDetail>();
    const QString tip = QString::fromUtf8(detail.tip);
    if (tip.isEmpty())
        QToolTip::hideText();
    else
        QToolTip::showText(help.globalPos(), tip, this);
    return true;
}

void ColorWidget::paintButton(QPainter& painter, const tColorPickDetail& detail, LONG part) {
    QStyleOptionButton option;
    option.initFrom(this);
    option.rect = rectOf(detail.parts[part]);
    if (option.rect.isEmpty()) return;
    option.state &= ~(QStyle::State_HasFocus | QStyle::State_MouseOver);
    option.state |= QStyle::State_Raised;
    if (detail.hoverPart == part) option.state |= QStyle::State_MouseOver;
    style()->drawPrimitive(QStyle::PE_PanelButtonCommand, &option, &painter, this);
    const QColor colour = palette().color(QPalette::ButtonText);
    if (part == KWPART_PICKER) return paintDropper(painter, option.rect, colour);

    const QString text = detail.colorSpace ? QStringLiteral("HSL") : QStringLiteral("RGB");
    QFont small = font();
    while (small.pointSize() > 5 && QFontMetrics(small).horizontalAdvance(text) > option.rect.width() - 6)
        small.setPointSize(small.pointSize() - 1);
    painter.setFont(small);
    painter.setPen(colour);
    painter.drawText(option.rect, Qt::AlignCenter | Qt::TextDontClip, text);
}

void ColorWidget::paintParts(QPainter& painter, const tColorPickDetail& detail) {
    painter.setRenderHint(QPainter::Antialiasing); // frames lie on the grid at any pixel ratio
    for (const LONG part : {LONG{KWPART_BAR1}, LONG{KWPART_BAR1 + 1}, LONG{KWPART_BAR1 + 2}, LONG{KWPART_ALPHA_BAR},
                            LONG{KWPART_FIELD}, LONG{KWPART_SWATCH}, LONG{KWPART_GAMUT}}) {
        const QRect place = rectOf(detail.parts[part]);
        if (place.isEmpty()) continue;
        if (part == KWPART_ALPHA_BAR || part == KWPART_SWATCH || part == KWPART_GAMUT) paintChecks(painter, place);
        const QImage image = paintedPart(part, place.size());
        if (!image.isNull()) painter.drawImage(place.topLeft(), image);
        painter.setPen(palette().color(QPalette::Mid));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(QRectF(place).adjusted(0.5, 0.5, -0.5, -0.5));
    }
}

void ColorWidget::paintEvent(QPaintEvent*) {
    const auto detail = this->detail<tColorPickDetail>();
    QPainter painter(this);
    if (!isEnabled()) painter.setOpacity(0.4);
    paintParts(painter, detail);

    for (LONG bar = KWPART_BAR1; bar <= KWPART_ALPHA_BAR; ++bar) {
        const QRect place = rectOf(detail.parts[bar]);
        if (place.isEmpty()) continue;
        const qreal x = detail.marks[bar] + 0.5;
        paintTwice(painter, [&] { painter.drawRect(QRectF(x - 2, place.top() + 1.5, 4, place.height() - 3)); });
    }
    if (const QRect field = rectOf(detail.parts[KWPART_FIELD]); !field.isEmpty()) {
        const QPointF at(detail.fieldMark.x + 0.5, detail.fieldMark.y + 0.5);
        painter.setClipRect(field);
        paintTwice(painter, [&] {
            if (detail.hue < 0) // a grey stands at every hue
                painter.drawLine(QPointF(field.left() + 2, at.y()), QPointF(field.right() - 1, at.y()));
            else
                painter.drawEllipse(at, 4, 4);
        });
        painter.setClipping(false);
    }
    paintButton(painter, detail, KWPART_SPACE);
    paintButton(painter, detail, KWPART_PICKER);
    drawFocusRing(painter);
}

} // namespace larkmoor
