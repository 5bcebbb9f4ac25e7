// Texts of the host library for Qt.
#pragma once

#include <QString>
#include <string>

namespace larkmoor {

inline QString text(const std::string& utf8) {
    return QString::fromStdString(utf8);
}

} // namespace larkmoor
