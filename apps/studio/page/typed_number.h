// Numbers with the decimal mark of another country.
#pragma once

#include <QString>

namespace larkmoor {

/// "1,5" as "1.5" where the mark is a point, and the other way round. What reads as a number of one's own, such as
/// "1,500" for one and a half thousand, stays; so does what is no number.
QString inOwnStyle(const QString& typed, QChar decimalMark);

} // namespace larkmoor
