// Light and dark.
#pragma once

#include <QString>

namespace larkmoor {

/// "light", "dark", or as the desktop has it.
void applyTheme(const QString& name);

/// What the user chose last.
QString chosenTheme();
/// Applies and remembers.
void chooseTheme(const QString& name);

} // namespace larkmoor
