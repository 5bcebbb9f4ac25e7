#include <cstdio>
#include <cstdlib>

#include <QApplication>
#include <QCommandLineParser>

#include "language.h"
#include "main_window.h"
#include "media/av.h"
#include "message_boxes.h"
#include "output_file.h"
#include "standard_files.h"

using namespace larkmoor;

namespace {

/// Qt itself only aborts where there is no display.
bool hasDisplay() {
    const char* const platform = std::getenv("QT_QPA_PLATFORM");
    if (platform && *platform) return true;
    const auto set = [](const char* name) {
        const char* const value = std::getenv(name);
        return value && *value;
    };
    return set("DISPLAY") || set("WAYLAND_DISPLAY");
}

/// What Qt says while it opens the display. It has no failure but ending the process.
void tellDisplay(QtMsgType type, const QMessageLogContext&, const QString& text) {
    if (type == QtFatalMsg) {
        const char* const display = std::getenv("DISPLAY");
        std::fprintf(stderr,
                     "larkmoor-studio: the display %s cannot be opened. The command `larkmoor` renders without one.\n",
                     display ? display : "");
        std::_Exit(1);
    }
    if (type == QtCriticalMsg) std::fprintf(stderr, "larkmoor-studio: %s\n", qPrintable(text));
}

int print(std::FILE* stream, const QString& text, int status) {
    std::fputs(qPrintable(text), stream);
    return status;
}

} // namespace

int main(int count, char** arguments) {
    settleStandardFiles();
    QCoreApplication::setApplicationName("larkmoor-studio");
    QCoreApplication::setOrganizationName("larkmoor");
    QCoreApplication::setApplicationVersion(LARKMOOR_VERSION);
    QCommandLineParser parser;
    parser.setApplicationDescription("A window around Larkmoor's video effects.");
    const QCommandLineOption help = parser.addHelpOption(), version = parser.addVersionOption();
    parser.addPositionalArgument("FILE", "A project, a clip, a picture or a numbered sequence; a second clip after it",
                                 "[FILE [SECOND]]");
    const QCommandLineOption moduleFile("module", "The module's file, where it is not the installed one.", "FILE");
    parser.addOption(moduleFile);
    // Before anything that needs a display.
    QStringList given;
    for (int i = 0; i < count; ++i) given << QString::fromLocal8Bit(arguments[i]);
    if (!parser.parse(given))
        return print(stderr, "larkmoor-studio: " + parser.errorText() + " --help tells more.\n", 2);
    // Without an application Qt knows no program name.
    if (parser.isSet(help)) return print(stdout, parser.helpText().replace("<executable_name>", "larkmoor-studio"), 0);
    if (parser.isSet(version)) return print(stdout, "larkmoor-studio " LARKMOOR_VERSION "\n", 0);
    if (!hasDisplay())
        return print(stderr,
                     "larkmoor-studio: there is no display to open a window on: neither DISPLAY nor WAYLAND_DISPLAY is "
                     "set. The command `larkmoor` renders without one.\n",
                     1);

    removeOutputsOnSignals(); // before any thread
    const QtMessageHandler usual = qInstallMessageHandler(&tellDisplay);
    QApplication application(count, arguments);
    qInstallMessageHandler(usual);
    QApplication::setApplicationDisplayName("Larkmoor");
    const Language language;
    try {
        quietLog(false);
        const Module loaded = Module::load(parser.value(moduleFile).toStdString());
        MainWindow window(loaded);
        showModuleMessages(loaded, &window);
        window.show();
        window.offerLostWork();
        const QStringList files = parser.positionalArguments();
        if (!files.isEmpty() && window.document().project())
            window.tell(QCoreApplication::translate("main", "%1 is not open: the work of last time is.").arg(files[0]));
        else if (!files.isEmpty() && window.open(files[0]) && files.size() > 1)
            window.addSecond(files[1]);
        const int status = QApplication::exec();
        showModuleMessages(loaded, nullptr);
        return status;
    } catch (const std::exception& error) {
        return print(stderr, "larkmoor-studio: " + QString::fromStdString(error.what()) + "\n", 1);
    }
}
