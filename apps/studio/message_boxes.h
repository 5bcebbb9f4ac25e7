// The module's messages as message boxes.
#pragma once

#include <QWidget>

#include "host/module.h"

namespace larkmoor {

/// Answers the module's messages over a window from here on; null stops that.
void showModuleMessages(const Module& module, QWidget* window);

} // namespace larkmoor
