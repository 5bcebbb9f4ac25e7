#include "picture_handle.h"

#include <QPainter>
#include <QStringList>
#include <algorithm>
#include <cmath>
#include <numbers>

namespace larkmoor {

namespace {

constexpr double kArm = 0.3;  ///< of the shorter side: from the middle to a direction's handle
constexpr double kRadius = 7; ///< logical pixels
constexpr double kDegree = std::numbers::pi / 180;

const tFieldInfo* find(const EffectInfo& info, std::string_view name) {
    const auto found = std::ranges::find_if(info.fields, [&](const tFieldInfo& field) { return field.name == name; });
    return found == info.fields.end() ? nullptr : &*found;
}

double number(const EffectInfo& info, std::span<const std::byte> record, const char* name) {
    return QString::fromStdString(fieldText(*find(info, name), record)).toDouble();
}

/// How an effect tells a place.
enum class Form { None, Centre, Anchor, Angle, Thirds };

Form formOf(const EffectInfo& info) {
    if (find(info, "centerX") && find(info, "repeatX")) return Form::Centre;
    if (const tFieldInfo* const anchor = find(info, "anchor"); anchor && anchor->kind == KWFIELD_POINT)
        return Form::Anchor;
    if (find(info, "angle") && info.kind == EffectKind::Transition) return Form::Angle;
    const tFieldInfo *const across = find(info, "horizontal"), *const down = find(info, "vertical");
    const auto three = [](const tFieldInfo* field) { return field && field->choiceCount == 3; };
    return three(across) && three(down) ? Form::Thirds : Form::None;
}

/// Of three choices, which tell left, middle and right, or top, middle and bottom, in order.
int thirdOf(const tFieldInfo& field, std::span<const std::byte> record) {
    const std::string name = fieldText(field, record);
    for (int i = 0; i < 3; ++i)
        if (name == field.choices[i].text) return i;
    return 1;
}

} // namespace

std::optional<PictureHandle> handleOf(const EffectInfo& info, std::span<const std::byte> record, QSizeF size) {
    using Kind = PictureHandle::Kind;
    switch (formOf(info)) {
    case Form::Centre: // in the first of the cells
        return PictureHandle{Kind::Point,
                             {number(info, record, "centerX") / number(info, record, "repeatX"),
                              number(info, record, "centerY") / number(info, record, "repeatY")}};
    case Form::Anchor: {
        const QStringList anchor = QString::fromStdString(fieldText(*find(info, "anchor"), record)).split(',');
        return PictureHandle{Kind::Point, {anchor.first().toDouble(), anchor.last().toDouble()}};
    }
    case Form::Angle: {
        if (size.isEmpty()) return {};
        const double angle = number(info, record, "angle") * kDegree;
        const double arm = kArm * std::min(size.width(), size.height());
        return PictureHandle{Kind::Direction,
                             {0.5 + arm * std::cos(angle) / size.width(), 0.5 + arm * std::sin(angle) / size.height()}};
    }
    case Form::Thirds: {
        constexpr double places[]{0.1, 0.5, 0.9};
        return PictureHandle{
            Kind::Place,
            {places[thirdOf(*find(info, "horizontal"), record)], places[thirdOf(*find(info, "vertical"), record)]}};
    }
    case Form::None:
        break;
    }
    return {};
}

std::vector<std::byte> recordWithHandle(const EffectInfo& info, std::span<const std::byte> record, QPointF at,
                                        QSizeF size) {
    std::vector<std::byte> moved(record.begin(), record.end());
    const auto set = [&](const char* name, const std::string& text) { setFieldText(*find(info, name), moved, text); };
    // As fine as a page tells it, so that the page shows what is there.
    const auto part = [](double value) { return QString::number(std::clamp(value, 0.0, 1.0), 'f', 3).toStdString(); };
    switch (formOf(info)) {
    case Form::Centre:
        set("centerX", part(at.x() * number(info, record, "repeatX")));
        set("centerY", part(at.y() * number(info, record, "repeatY")));
        break;
    case Form::Anchor:
        set("anchor", part(at.x()) + "," + part(at.y()));
        break;
    case Form::Angle: {
        const double degrees = std::atan2((at.y() - 0.5) * size.height(), (at.x() - 0.5) * size.width()) / kDegree;
        const double tenths = std::round((degrees < 0 ? degrees + 360 : degrees) * 10) / 10;
        set("angle", QString::number(tenths >= 360 ? 0 : tenths, 'f', 1).toStdString());
        break;
    }
    case Form::Thirds:
        for (const auto& [name, place] : {std::pair("horizontal", at.x()), {"vertical", at.y()}})
            set(name, find(info, name)->choices[std::clamp(static_cast<int>(place * 3), 0, 2)].text);
        break;
    case Form::None:
        break;
    }
    return moved;
}

QPointF handlePoint(const PictureHandle& handle, const QRectF& target) {
    return {target.left() + handle.at.x() * target.width(), target.top() + handle.at.y() * target.height()};
}

void paintHandle(QPainter& painter, const PictureHandle& handle, const QRectF& target) {
    const QPointF at = handlePoint(handle, target);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    // Dark below light is seen on any picture.
    for (const QPen& pen : {QPen(QColor(0, 0, 0, 170), 3.5), QPen(QColor(255, 255, 255), 1.5)}) {
        painter.setPen(pen);
        if (handle.kind == PictureHandle::Kind::Direction) painter.drawLine(target.center(), at);
        if (handle.kind == PictureHandle::Kind::Place)
            painter.drawRect(QRectF(at - QPointF(kRadius, kRadius), QSizeF(2 * kRadius, 2 * kRadius)));
        else
            painter.drawEllipse(at, kRadius, kRadius);
        if (handle.kind == PictureHandle::Kind::Point)
            for (const QPointF arm : {QPointF(kRadius, 0), QPointF(0, kRadius)}) {
                painter.drawLine(at - 2 * arm, at - arm);
                painter.drawLine(at + arm, at + 2 * arm);
            }
    }
    painter.restore();
}

} // namespace larkmoor
