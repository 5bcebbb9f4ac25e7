#include "message_boxes.h"

#include <QCheckBox>
#include <QMessageBox>
#include <QPushButton>

#include "platform/exports.h"

namespace larkmoor {

namespace {

QMessageBox::Icon iconOf(LONG icon) {
    switch (icon) {
    case KWICON_HAND:
        return QMessageBox::Critical;
    case KWICON_QUESTION:
        return QMessageBox::Question;
    case KWICON_EXCLAMATION:
        return QMessageBox::Warning;
    case KWICON_ASTERISK:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

UINT show(void* context, const tMESSAGE& message, bool* silenced) {
    QMessageBox box(iconOf(message.icon), QString::fromUtf8(message.title), QString::fromUtf8(message.text),
                    QMessageBox::NoButton, static_cast<QWidget*>(context));
    std::vector<std::pair<QAbstractButton*, LONG>> buttons;
    for (const tMESSAGEBUTTON& each : message.buttons) {
        QPushButton* const made = box.addButton(QString::fromUtf8(each.label), QMessageBox::ActionRole);
        buttons.emplace_back(made, each.id);
        if (each.id == message.defaultButton) box.setDefaultButton(made);
    }
    if (message.details) box.setDetailedText(QString::fromUtf8(message.details));
    if (message.silenceLabel) box.setCheckBox(new QCheckBox(QString::fromUtf8(message.silenceLabel)));
    // Escape and the frame's button stand for Cancel, or for the only button there is.
    for (const auto& [made, id] : buttons)
        if (id == IDCANCEL || buttons.size() == 1) box.setEscapeButton(made);
    box.exec();
    if (silenced && box.checkBox()) *silenced = box.checkBox()->isChecked();
    for (const auto& [made, id] : buttons)
        if (made == box.clickedButton()) return static_cast<UINT>(id);
    return static_cast<UINT>(message.defaultButton);
}

} // namespace

void showModuleMessages(const Module& module, QWidget* window) {
    if (const auto set = reinterpret_cast<decltype(&KwSetMessageCallback)>(module.symbol("KwSetMessageCallback")))
        set(window ? &show : nullptr, window);
}

} // namespace larkmoor
