// What a clip is, for people.
#pragma once

#include <QString>

#include "preview.h"

namespace larkmoor {

/// Rows of name and value: size, rate, depth, levels, alpha, length.
QString sourceFacts(const std::string& path, const PictureFacts& facts);

} // namespace larkmoor
