// The language of the studio's texts.
#pragma once

#include <array>

#include <QLocale>
#include <QTranslator>

namespace larkmoor {

/// While it lives, the studio's and Qt's own texts are in the locale's language where there is a translation, else in
/// English. The settings pages are the module's, and what clips and files are refused for is the command's to say: both
/// stay as they are.
class Language {
  public:
    explicit Language(const QLocale& locale = QLocale::system());
    ~Language();
    Language(const Language&) = delete;
    Language& operator=(const Language&) = delete;

  private:
    std::array<QTranslator, 3> m_texts; ///< English plurals, Qt's own, the studio's
};

} // namespace larkmoor
