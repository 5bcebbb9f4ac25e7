// Where to save to, without loss of what is there.
#pragma once

#include <QStringList>

#include "project.h"

class QWidget;

namespace larkmoor {

struct SaveQuestion {
    QString title, suggestion, filter;
    QString ending; ///< added to a name that has none of `endings`
    QStringList endings;
};

/// Asks for a file to write, and whether it may be replaced where it is there already under the name that it gets in
/// the end. Empty when the user gives up.
QString askWhereToSave(QWidget* parent, const SaveQuestion& question);

/// The kinds of files that can be opened, for a file dialog.
QString clipFilter();
/// The folder that the user was in last.
QString lastFolder();
void setLastFolder(const QString& path);

/// Whether a project is made of this file, by whatever name.
bool isSource(const Project& project, const QString& path);

} // namespace larkmoor
