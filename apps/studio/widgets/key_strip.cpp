#include "widgets/key_strip.h"

#include <QPainter>
#include <cmath>

namespace larkmoor {

const QColor KeyStrip::kKeyColour(214, 150, 20);

KeyStrip::KeyStrip(KeyEditor& keys, Timeline& timeline, QWidget* parent)
    : SpokenWidget(parent), m_keys(keys), m_timeline(timeline) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(&m_timeline, &Timeline::viewChanged, this, qOverload<>(&QWidget::update));
}

QString KeyStrip::nameOf(const tFieldInfo& field) {
    return QString(field.label).remove('&').remove(':');
}

Spoken KeyStrip::spoken() const {
    const tFieldInfo* const field = selectedField();
    const std::optional<std::int64_t> held = heldFrame();
    return {QAccessible::Chart, !field ? tr("no keys")
                                : held ? tr("%1: key at frame %2").arg(nameOf(*field)).arg(*held)
                                       : nameOf(*field)};
}

void KeyStrip::paintPlayhead(QPainter& painter) const {
    const double x = std::floor(xOf(m_timeline.frame())) + 0.5;
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setPen(QPen(QColor(226, 72, 60), 1));
    painter.drawLine(QPointF(x, 0), QPointF(x, height()));
}

} // namespace larkmoor
