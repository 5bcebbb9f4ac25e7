// Texts in other languages: none is missing, none is spoilt, and the window has them.
#include <gmock/gmock.h>

#include <QDoubleSpinBox>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QProcess>
#include <QRegularExpression>
#include <QTreeWidget>
#include <QXmlStreamReader>
#include <fstream>

#include "effect_words.h"
#include "generator_dialog.h"
#include "language.h"
#include "studio_window.h"

namespace larkmoor {

namespace {

struct Entry {
    QString source;
    QStringList translations; ///< one for each plural form
    bool finished = true;
};

std::vector<Entry> entriesOf(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    QXmlStreamReader xml(&file);
    std::vector<Entry> entries;
    bool plural = false;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement) continue;
        if (xml.name() == u"message") {
            entries.emplace_back();
            plural = xml.attributes().hasAttribute("numerus");
        }
        if (xml.name() == u"source") entries.back().source = xml.readElementText();
        if (xml.name() == u"numerusform") entries.back().translations << xml.readElementText();
        if (xml.name() != u"translation") continue;
        entries.back().finished = !xml.attributes().hasAttribute("type");
        if (!plural) entries.back().translations << xml.readElementText();
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return entries;
}

/// What a translation has to keep: arguments, tags, name filters and the mark at the end, whatever their order.
QStringList keptOf(const QString& text) {
    static const QRegularExpression kept(QStringLiteral("%L?\\d|%n|</?\\w+[^>]*>|\\*\\.\\w+|(?:…|:|\\?)$|\n"));
    QStringList found;
    for (auto all = kept.globalMatch(text); all.hasNext();) found << all.next().captured();
    found.sort();
    return found;
}

class TextsTest : public StudioTest, public testing::WithParamInterface<const char*> {};

TEST_P(TextsTest, AreAllThereAndKeepWhatTheyMust) {
    const QString name = QStringLiteral("studio_%1.ts").arg(GetParam());
    const QString kept = QStringLiteral(LARKMOOR_SOURCE_FOLDER "/apps/studio/") + name;
    for (const char* each : {"studio_de.ts", "studio_en.ts"})
        ASSERT_TRUE(QFile::copy(QStringLiteral(LARKMOOR_SOURCE_FOLDER "/apps/studio/") + each, file(each)));
    qputenv("LUPDATE", LARKMOOR_LUPDATE);
    QProcess update;
    update.start(QStringLiteral(LARKMOOR_SOURCE_FOLDER "/scripts/texts.sh"), {file("")});
    ASSERT_TRUE(update.waitForFinished(kPatience));
    EXPECT_EQ(update.exitCode(), 0) << update.readAllStandardError().toStdString();
    QFile before(kept), after(file(name.toStdString()));
    ASSERT_TRUE(before.open(QIODevice::ReadOnly) && after.open(QIODevice::ReadOnly));
    EXPECT_TRUE(before.readAll() == after.readAll()) << "scripts/texts.sh takes in what the sources have";

    for (const Entry& entry : entriesOf(kept)) {
        SCOPED_TRACE(entry.source.toStdString());
        EXPECT_TRUE(entry.finished);
        EXPECT_FALSE(entry.source.contains("olour") && !entry.source.contains("color"))
            << "as effects and pages spell it";
        for (const QString& text : entry.translations) {
            EXPECT_FALSE(text.isEmpty());
            EXPECT_EQ(keptOf(text), keptOf(entry.source)) << text.toStdString();
            const QChar mnemonic = mnemonicOf(text);
            EXPECT_EQ(mnemonic.isNull(), mnemonicOf(entry.source).isNull()) << text.toStdString();
            EXPECT_TRUE(mnemonic.isNull() || (mnemonic >= 'A' && mnemonic <= 'Z'))
                << "Alt and such a letter reach nothing";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Languages, TextsTest, testing::Values("de", "en"),
                         [](const auto& each) { return std::string(each.param); });

/// A window in a language, numbers in its style.
class LanguageTest : public StudioWindowTest, public testing::WithParamInterface<const char*> {
  protected:
    LanguageTest() : m_language(useLocale()) { renew(); }
    ~LanguageTest() override {
        window.reset();
        QLocale::setDefault(QLocale::c());
    }

    /// All that the widgets inside show and tell, the settings page's own texts left out.
    static QStringList textsOf(QWidget& top, const QWidget* page) {
        QStringList texts{top.windowTitle()};
        for (const QAction* action : top.findChildren<QAction*>()) texts << action->text() << action->toolTip();
        for (QWidget* each : top.findChildren<QWidget*>()) {
            if (page && (each == page || page->isAncestorOf(each))) continue;
            texts << each->toolTip() << each->accessibleName() << each->windowTitle();
            if (const auto* button = qobject_cast<QAbstractButton*>(each)) texts << button->text();
            if (const auto* label = qobject_cast<QLabel*>(each)) texts << label->text();
            if (const auto* line = qobject_cast<QLineEdit*>(each)) texts << line->placeholderText();
            if (const auto* menu = qobject_cast<QMenu*>(each)) texts << menu->title();
            if (const auto* tree = qobject_cast<QTreeWidget*>(each))
                for (int i = 0; i < tree->columnCount(); ++i) texts << tree->headerItem()->text(i);
            if (const auto* list = qobject_cast<QComboBox*>(each))
                for (int i = 0; i < list->count(); ++i) texts << list->itemText(i);
        }
        return texts;
    }

  private:
    static QLocale useLocale() {
        const QLocale locale{QString::fromLatin1(GetParam())};
        QLocale::setDefault(locale);
        return locale;
    }

    Language m_language;
};

TEST_P(LanguageTest, IsThatOfAllTextsAndNumbers) {
    openGenerator(64, 64, 2);
    window->addEffect("DXTWave");
    idle();
    panel().keysButton()->setChecked(true);
    ExportDialog exports(document(), file("out.mp4"), window->exports());
    GeneratorDialog generators(studioModule());
    const QStringList texts =
        textsOf(*window, panel().page()) + textsOf(exports, nullptr) + textsOf(generators, nullptr);
    const bool german = QLocale().language() == QLocale::German;
    EXPECT_EQ(window->menuBar()->actions()[0]->text(), german ? "&Datei" : "&File");
    EXPECT_TRUE(texts.contains(german ? "Effekt nach &oben" : "Move the effect u&p"));
    // A text of another class's context, or one that was read before there was a language, would still be in English.
    QStringList left;
    for (const Entry& entry : entriesOf(QStringLiteral(LARKMOOR_SOURCE_FOLDER "/apps/studio/studio_de.ts")))
        if (german && entry.translations[0] != entry.source && texts.contains(entry.source)) left << entry.source;
    // Words that are the same thing in German somewhere else.
    EXPECT_EQ(left, QStringList());
    EXPECT_FALSE(texts.filter("(s)").size()) << texts.filter("(s)").join('\n').toStdString();

    // The words that people look for are those of their language, too.
    addByName(german ? "entrauschen" : "denoise");
    EXPECT_EQ(document().selectedEffect()->info->className, "DXTFloatMedian");

    document().select({Slot::Kind::Source, 0});
    QDoubleSpinBox& duration = *panel().durationField();
    for (const char* typed : {"1,5", "1.5"}) {
        duration.setFocus();
        duration.selectAll();
        QTest::keyClicks(&duration, typed);
        QTest::keyClick(&duration, Qt::Key_Return);
        EXPECT_EQ(duration.value(), 1.5) << typed;
        EXPECT_EQ(duration.text(), german ? "1,50 s" : "1.50 s");
        duration.setValue(2);
    }
    for (const char* typed : {"29,97", "29.97"}) EXPECT_NEAR(av_q2d(typedRate(typed)), 29.97, 1e-3) << typed;
}

TEST_P(LanguageTest, SaysOneAndMany) {
    EXPECT_EQ(ExportPanel::tr("%n frame(s)", "", 1), QLocale().language() == QLocale::German ? "1 Bild" : "1 frame");
    EXPECT_EQ(ExportPanel::tr("%n frame(s)", "", 2), QLocale().language() == QLocale::German ? "2 Bilder" : "2 frames");
    // Qt's own texts go along, where its translations are.
    const QString path = QLibraryInfo::path(QLibraryInfo::TranslationsPath) + "/qtbase_de.qm";
    if (QLocale().language() != QLocale::German || !QFile::exists(path)) return;
    EXPECT_EQ(QMessageBox(QMessageBox::Question, "", "", QMessageBox::Cancel).button(QMessageBox::Cancel)->text(),
              "Abbrechen");
}

TEST_P(LanguageTest, NoTwoMenusOrButtonsShareALetter) {
    const auto expectOwn = [](const std::map<QChar, QStringList>& taken) {
        for (const auto& [letter, names] : taken)
            EXPECT_TRUE(letter.isNull() || names.size() == 1) << names.join(", ").toStdString();
    };
    const auto ofWidgets = [&](const QWidget& top) {
        const QWidget* const page = panel().page(); // whose letters are its own
        std::map<QChar, QStringList> taken;
        for (const QWidget* each : reachable<QWidget>(top)) {
            if (page && page->isAncestorOf(each)) continue;
            const auto* const button = qobject_cast<const QAbstractButton*>(each);
            const auto* const label = qobject_cast<const QLabel*>(each);
            const QString text = button ? button->text() : label && label->buddy() ? label->text() : QString();
            taken[mnemonicOf(text)] << text;
        }
        return taken;
    };
    for (const bool open : {false, true}) {
        if (open) openGenerator(64, 64, 1);
        auto taken = ofWidgets(*window);
        for (const QAction* menu : window->menuBar()->actions()) taken[mnemonicOf(menu->text())] << menu->text();
        expectOwn(taken);
    }
    for (const QMenu* menu : window->menuBar()->findChildren<QMenu*>()) {
        std::map<QChar, QStringList> taken;
        for (const QAction* action : menu->actions()) taken[mnemonicOf(action->text())] << action->text();
        expectOwn(taken);
    }
    ExportDialog exports(document(), file("out.mp4"), window->exports());
    GeneratorDialog generators(studioModule());
    for (QDialog* dialog : std::initializer_list<QDialog*>{&exports, &generators}) {
        dialog->show();
        expectOwn(ofWidgets(*dialog));
    }
}

/// Alt and a letter is the page's where the focus is in it, and the window's elsewhere. Which letters that concerns
/// stands in a table, so that another clash is seen.
TEST_P(LanguageTest, AltKeysArePagesWithinItAndTheWindowsOutside) {
    constexpr const char* kTable = LARKMOOR_TEST_FOLDER "/data/letters.txt";
    openClip();
    addSecond();
    std::map<QChar, QString> windows;
    for (const QAction* menu : window->menuBar()->actions()) windows[mnemonicOf(menu->text())] = menu->text();
    const std::map<QChar, QString> menus = windows;
    std::string clashes;
    for (const EffectInfo& info : studioModule().effects()) {
        SCOPED_TRACE(info.name);
        window->addEffect(QString::fromStdString(info.className));
        QWidget* const page = panel().page();
        if (!page) continue;
        const auto inPage = [&](const QWidget* each) { return each == page || page->isAncestorOf(each); };
        for (const QWidget* each : reachable<QWidget>(*window)) {
            const auto* const button = qobject_cast<const QAbstractButton*>(each);
            if (button && !inPage(button)) windows.try_emplace(mnemonicOf(button->text()), button->text());
        }
        std::map<QChar, std::vector<std::pair<QWidget*, QString>>> pages; // what a letter reaches
        for (QWidget* each : reachable<QWidget>(*page)) {
            const auto* const label = qobject_cast<QLabel*>(each);
            const auto* const button = qobject_cast<QAbstractButton*>(each);
            QWidget* const goal = label ? label->buddy() : each;
            const QString text = label ? label->text() : button ? button->text() : QString();
            if (goal && goal->isVisible() && goal->isEnabled()) pages[mnemonicOf(text)].emplace_back(goal, text);
        }
        for (const auto& shared : pages) {
            const QChar letter = shared.first;
            const auto& goals = shared.second;
            if (letter.isNull()) continue;
            const auto row = [&](const QString& other) {
                clashes += std::string(GetParam()) + '\t' + info.name + '\t' + letter.toLatin1() + '\t' +
                           goals[0].second.toStdString() + '\t' + other.toStdString() + '\n';
            };
            for (std::size_t i = 1; i < goals.size(); ++i) row(goals[i].second);
            if (windows.contains(letter)) row(windows[letter]);
            const auto press = [&](QWidget* focus) {
                focus->setFocus();
                QTest::keyClick(focus, static_cast<Qt::Key>(letter.unicode()), Qt::AltModifier);
            };
            // From one to the next where the page has several of a letter, and round to the first.
            const auto all = reachable<QWidget>(*page);
            const auto start = std::ranges::find_if(all, [&](QWidget* each) {
                return each->focusPolicy() & Qt::TabFocus && std::ranges::none_of(goals, [&](const auto& goal) {
                           return goal.first == each || goal.first->isAncestorOf(each);
                       });
            });
            if (start == all.end()) continue;
            press(*start);
            EXPECT_EQ(QApplication::focusWidget(), goals[0].first) << letter.toLatin1();
            for (std::size_t i = 1; i <= goals.size(); ++i) {
                press(QApplication::focusWidget());
                EXPECT_EQ(QApplication::focusWidget(), goals[i % goals.size()].first) << letter.toLatin1();
            }
            if (!menus.contains(letter)) continue; // a button would do what it is for
            press(&window->picture());
            EXPECT_FALSE(inPage(QApplication::focusWidget())) << letter.toLatin1();
            if (QWidget* const popup = QApplication::activePopupWidget()) popup->close();
        }
        if (info.kind != EffectKind::Transition) window->stack().removeSelected();
    }
    idle();
    std::ifstream table(kTable);
    std::string known;
    for (std::string line; std::getline(table, line);)
        if (line.starts_with(GetParam())) known += line + '\n';
    EXPECT_EQ(clashes, known) << kTable << " holds the letters that a page and the window, or two of a page, share";
}

INSTANTIATE_TEST_SUITE_P(Languages, LanguageTest, testing::Values("de_DE", "en_US"),
                         [](const auto& each) { return std::string(each.param).substr(0, 2); });

} // namespace

} // namespace larkmoor
