#include "language.h"

#include <QCoreApplication>
#include <QLibraryInfo>

namespace larkmoor {

Language::Language(const QLocale& locale) {
    const QString folder = QStringLiteral(":/i18n"), name = QStringLiteral("studio"), mark = QStringLiteral("_");
    auto& [plurals, qt, own] = m_texts;
    if (plurals.load(QStringLiteral("studio_en"), folder)) QCoreApplication::installTranslator(&plurals);
    if (!own.load(locale, name, mark, folder)) return;
    // The same for Qt's boxes, or none: two languages in one window are worse than English.
    if (qt.load(QLocale(own.language()), QStringLiteral("qtbase"), mark,
                QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qt);
    QCoreApplication::installTranslator(&own);
}

Language::~Language() {
    for (QTranslator& texts : m_texts) QCoreApplication::removeTranslator(&texts);
}

} // namespace larkmoor
