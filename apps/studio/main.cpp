#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <QApplication>
#include <QCommandLineParser>

#include "main_window.h"
#include "media/av.h"
#include "message_boxes.h"
#include "output_file.h"

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

} // namespace

int main(int count, char** arguments) {
    if (!hasDisplay()) {
        std::fputs(
            "larkmoor-studio: there is no display to open a window on: neither DISPLAY nor WAYLAND_DISPLAY is set. "
            "The command `larkmoor` renders without one.\n",
            stderr);
        return 1;
    }
    removeOutputsOnSignals(); // before any thread
    QApplication application(count, arguments);
    QApplication::setApplicationName("larkmoor-studio");
    QApplication::setOrganizationName("larkmoor");
    QApplication::setApplicationDisplayName("Larkmoor");
    QApplication::setApplicationVersion(LARKMOOR_VERSION);
    QCommandLineParser parser;
    parser.setApplicationDescription("A window around Larkmoor's video effects.");
    parser.addHelpOption();
    parser.addVersionOption();
    parser.addPositionalArgument("FILE", "A project, a clip, a picture or a numbered sequence; a second clip after it",
                                 "[FILE [SECOND]]");
    const QCommandLineOption module("module", "The module's file, where it is not the installed one.", "FILE");
    parser.addOption(module);
    parser.process(application);
    try {
        quietLog(false);
        const Module loaded = Module::load(parser.value(module).toStdString());
        MainWindow window(loaded);
        showModuleMessages(loaded, &window);
        window.show();
        window.offerLostWork();
        const QStringList files = parser.positionalArguments();
        if (!files.isEmpty() && !window.document().project() && window.open(files[0]) && files.size() > 1)
            window.addSecond(files[1]);
        const int status = QApplication::exec();
        showModuleMessages(loaded, nullptr);
        return status;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor-studio: %s\n", error.what());
        return 1;
    }
}
