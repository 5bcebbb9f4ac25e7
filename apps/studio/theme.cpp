#include "theme.h"

#include <QApplication>
#include <QIcon>
#include <QPalette>
#include <QSettings>
#include <QStyle>
#include <QStyleFactory>

namespace larkmoor {

namespace {

const char* const kTheme = "theme";

QPalette darkPalette() {
    QPalette palette;
    const QColor window(45, 45, 48), base(30, 30, 32), text(222, 222, 222), dim(128, 128, 128), accent(64, 128, 204);
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::PlaceholderText, dim);
    palette.setColor(QPalette::Button, window);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::Link, accent.lighter());
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, dim);
    return palette;
}

} // namespace

void applyTheme(const QString& name) {
    static const QString desktop = QApplication::style()->objectName();
    const bool own = name == "light" || name == "dark";
    QApplication::setStyle(QStyleFactory::create(own ? QStringLiteral("Fusion") : desktop));
    QApplication::setPalette(name == "dark"    ? darkPalette()
                             : name == "light" ? QStyleFactory::create(QStringLiteral("Fusion"))->standardPalette()
                                               : QPalette());
}

QIcon programIcon() {
    QIcon icon;
    for (const int size : {48, 128, 256}) icon.addFile(QStringLiteral(":/larkmoor-%1.png").arg(size));
    return QIcon::fromTheme(QStringLiteral("larkmoor"), icon);
}

QString chosenTheme() {
    return QSettings().value(kTheme, "system").toString();
}

void chooseTheme(const QString& name) {
    applyTheme(name);
    QSettings().setValue(kTheme, name);
}

} // namespace larkmoor
