#include "widgets/transport.h"

#include <QFontDatabase>
#include <QHBoxLayout>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPointer>
#include <algorithm>

#include "platform/time_format.h"

namespace larkmoor {
namespace {

using Shape = QPainterPath (*)();

QPainterPath triangle(double tail, double tip) {
    QPainterPath path;
    path.addPolygon(QPolygonF{{tail, 4}, {tip, 10}, {tail, 16}});
    path.closeSubpath();
    return path;
}

QPainterPath bar(double left, double width = 2) {
    QPainterPath path;
    path.addRect(left, 4, width, 12);
    return path;
}

// All on a field of 20 by 20.
QPainterPath firstShape() {
    return bar(4) + triangle(16, 7);
}
QPainterPath backShape() {
    return triangle(11, 4) + bar(13);
}
QPainterPath playShape() {
    return triangle(5, 16);
}
QPainterPath pauseShape() {
    return bar(5, 3.5) + bar(11.5, 3.5);
}
QPainterPath forwardShape() {
    return bar(5) + triangle(9, 16);
}
QPainterPath lastShape() {
    return triangle(4, 13) + bar(14);
}
QPainterPath inShape() {
    QPainterPath path;
    path.addPolygon(QPolygonF{{7, 3}, {13, 3}, {13, 5}, {9, 5}, {9, 15}, {13, 15}, {13, 17}, {7, 17}});
    path.closeSubpath();
    return path;
}
QPainterPath outShape() {
    return QTransform(-1, 0, 0, 1, 20, 0).map(inShape());
}
QPainterPath loopShape() {
    QPainterPath line;
    line.moveTo(14, 6);
    line.lineTo(7, 6);
    line.arcTo(3, 6, 8, 8, 90, 180);
    line.lineTo(13, 14);
    line.arcTo(9, 6, 8, 8, -90, 130);
    QPainterPathStroker stroker;
    stroker.setWidth(1.8);
    QPainterPath head;
    head.addPolygon(QPolygonF{{12, 2.4}, {16.6, 6}, {12, 9.6}});
    head.closeSubpath();
    return stroker.createStroke(line) + head;
}

/// A shape in its widget's text colour, so that it follows the palette, at any size.
class ShapeIcon : public QIconEngine {
  public:
    ShapeIcon(Shape shape, const QWidget* owner) : m_shape(shape), m_owner(owner) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override {
        const QPalette palette = m_owner ? m_owner->palette() : QPalette();
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        const auto role = state == QIcon::On ? QPalette::Highlight : QPalette::ButtonText;
        const double scale = std::min(rect.width(), rect.height()) / 20.0;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(QRectF(rect).center());
        painter->scale(scale, scale);
        painter->translate(-10, -10);
        QPainterPath path = m_shape();
        path.setFillRule(Qt::WindingFill);
        painter->fillPath(path, palette.color(group, role));
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap made(size);
        made.fill(Qt::transparent);
        QPainter painter(&made);
        paint(&painter, QRect({0, 0}, size), mode, state);
        return made;
    }

    QIconEngine* clone() const override { return new ShapeIcon(*this); }

  private:
    Shape m_shape;
    QPointer<const QWidget> m_owner;
};

struct Look {
    const char* name;
    const char* keys; ///< as people see them; the window has the shortcuts
    Shape shape;
};

constexpr Look kLooks[]{
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "First frame"), "Alt+Home", firstShape},
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "Back one frame"), ",", backShape},
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "Play"), "L", playShape},
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "Forward one frame"), ".", forwardShape},
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "Last frame"), "Alt+End", lastShape},
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "Loop"), "", loopShape},
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "Set the in point here"), "I", inShape},
    {QT_TRANSLATE_NOOP("larkmoor::Transport", "Set the out point here"), "O", outShape},
};

} // namespace

std::vector<TimeFormatChoice> clipTimeFormats() {
    return {{kTimeFrames, Transport::tr("Frames")},
            {kTimeClock, Transport::tr("Time")},
            {kTimeClockFrames, Transport::tr("Time and frames")},
            {kTimeSeconds, Transport::tr("Seconds")},
            {kTimeSmpteNonDrop, Transport::tr("SMPTE non-drop (29.97)")},
            {kTimeSmpteDrop, Transport::tr("SMPTE drop (29.97)")},
            {kTimeSmpte30, Transport::tr("SMPTE (30)")},
            {kTimeSmpteEbu, Transport::tr("SMPTE EBU (25)")},
            {kTimeSmpteFilm, Transport::tr("SMPTE film (24)")},
            {kTimeFeet16, Transport::tr("Feet and frames, 16 mm")},
            {kTimeFeet35, Transport::tr("Feet and frames, 35 mm")},
            {kTimeMusic, Transport::tr("Measures and beats")},
            {kTimeBeats, Transport::tr("Beats")},
            {kTimeCd, Transport::tr("CD time")},
            {kTimeSamples, Transport::tr("Samples")},
            {kTimeMicroseconds, Transport::tr("Microseconds")}};
}

Transport::Transport(QWidget* parent) : QWidget(parent), m_time(new QLabel), m_formats(new QComboBox) {
    setAccessibleName(tr("Transport"));
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(4, 2, 4, 2);
    row->setSpacing(2);
    for (const Look& look : kLooks) {
        auto* button = new QToolButton;
        button->setAutoRaise(true);
        button->setIconSize({20, 20});
        button->setFocusPolicy(Qt::TabFocus);
        button->setIcon(QIcon(new ShapeIcon(look.shape, button)));
        const QString name = tr(look.name);
        button->setAccessibleName(name);
        button->setToolTip(*look.keys ? tr("%1 (%2)").arg(name, QString::fromLatin1(look.keys)) : name);
        if (&look - kLooks == static_cast<int>(Button::Loop)) row->addSpacing(10);
        row->addWidget(button);
        m_buttons.push_back(button);
    }
    for (const Button stepping : {Button::Back, Button::Forward}) button(stepping)->setAutoRepeat(true);
    button(Button::Loop)->setCheckable(true);

    QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSizeF(font().pointSizeF() * 1.15);
    m_time->setFont(fixed);
    m_time->setAlignment(Qt::AlignVCenter | Qt::AlignRight);
    m_time->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_time->setAccessibleName(tr("Time"));
    m_formats->setAccessibleName(tr("Time format"));
    m_formats->setToolTip(tr("Time format"));
    m_formats->setMinimumWidth(10 * fontMetrics().averageCharWidth()); // a narrow window cuts the names short
    row->addStretch();
    row->addWidget(m_time);
    row->addSpacing(8);
    row->addWidget(m_formats);

    const auto on = [this](Button which, auto signal) { connect(button(which), &QToolButton::clicked, this, signal); };
    on(Button::First, &Transport::firstRequested);
    on(Button::Back, &Transport::backRequested);
    on(Button::Play, [this] { emit playRequested(!m_playing); });
    on(Button::Forward, &Transport::forwardRequested);
    on(Button::Last, &Transport::lastRequested);
    on(Button::Loop, &Transport::loopChanged);
    on(Button::In, &Transport::inRequested);
    on(Button::Out, &Transport::outRequested);
    connect(m_formats, &QComboBox::currentIndexChanged, this, [this] {
        showTime();
        emit timeFormatChanged(timeFormat());
    });
    setTimeFormats(clipTimeFormats(), kTimeFrames);
    setFrameCount(0);
}

void Transport::setFrame(qint64 frame) {
    m_frame = frame;
    showTime();
}

void Transport::setFrameCount(qint64 count) {
    m_count = count;
    for (QToolButton* each : m_buttons) each->setEnabled(count > 0);
    showTime();
}

void Transport::setPlaying(bool playing) {
    if (playing == m_playing) return;
    m_playing = playing;
    showPlay();
}

void Transport::showPlay() {
    QToolButton* play = button(Button::Play);
    const QString name = m_playing ? tr("Pause") : tr("Play");
    play->setIcon(QIcon(new ShapeIcon(m_playing ? pauseShape : playShape, play)));
    play->setAccessibleName(name);
    play->setToolTip(tr("%1 (%2)").arg(name, m_playing ? QStringLiteral("K") : QStringLiteral("L")));
}

void Transport::setLoop(bool loop) {
    button(Button::Loop)->setChecked(loop);
}

void Transport::setFormatter(Formatter formatter) {
    m_formatter = std::move(formatter);
    showTime();
}

void Transport::setTimeFormats(const std::vector<TimeFormatChoice>& formats, int current) {
    const QSignalBlocker quiet(m_formats);
    m_formats->clear();
    for (const TimeFormatChoice& format : formats) m_formats->addItem(format.name, format.id);
    setTimeFormat(current);
}

void Transport::setTimeFormat(int id) {
    const QSignalBlocker quiet(m_formats);
    m_formats->setCurrentIndex(std::max(0, m_formats->findData(id)));
    showTime();
}

void Transport::showTime() {
    const auto textOf = [this](qint64 frame) {
        return m_formatter ? m_formatter(frame, timeFormat()) : QString::number(frame);
    };
    if (m_count <= 0) {
        m_time->clear();
        return;
    }
    m_time->setText(tr("%1 / %2").arg(textOf(m_frame), textOf(m_count)));
    // Digits come and go while playing; the label shall not move for them.
    m_time->setMinimumWidth(std::max(m_time->minimumWidth(), m_time->sizeHint().width()));
}

} // namespace larkmoor
