#include "typed_number.h"

namespace larkmoor {

QString inOwnStyle(const QString& typed, QChar decimalMark) {
    if (decimalMark != '.' && decimalMark != ',') return typed;
    const QChar other = decimalMark == '.' ? ',' : '.';
    const auto at = typed.indexOf(other);
    if (at < 0 || typed.count(other) > 1) return typed;
    if (const auto mark = typed.lastIndexOf(decimalMark); mark >= 0) {
        if (mark > at) return typed; // both are where they should be
        QString own = typed;
        return own.remove(decimalMark).replace(other, decimalMark);
    }
    const auto digits = [&](qsizetype from, int step) {
        int count = 0;
        for (; from >= 0 && from < typed.size() && typed[from].isDigit(); from += step) ++count;
        return count;
    };
    const int before = digits(at - 1, -1), behind = digits(at + 1, 1);
    const bool thousands = behind == 3 && before >= 1 && before <= 3 && typed[at - before] != '0';
    QString own = typed;
    return thousands ? own : own.replace(at, 1, decimalMark);
}

} // namespace larkmoor
