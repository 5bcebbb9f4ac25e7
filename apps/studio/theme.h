// Light and dark.
#pragma once

#include <QIcon>
#include <QString>

namespace larkmoor {

/// "light", "dark", or as the desktop has it.
void applyTheme(const QString& name);

/// Of the desktop's icons, else the program's own.
QIcon programIcon();

/// What the user chose last.
QString chosenTheme();
/// Applies and remembers.
void chooseTheme(const QString& name);

} // namespace larkmoor
