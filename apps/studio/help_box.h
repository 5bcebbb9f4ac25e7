// A text to read, however long.
#pragma once

class QString;
class QWidget;

namespace larkmoor {

/// Scrolls what does not fit the screen.
void showHelpBox(QWidget* parent, const QString& title, const QString& html);

} // namespace larkmoor
