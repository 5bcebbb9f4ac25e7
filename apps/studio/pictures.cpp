// Takes the pictures of docs/studio.md: each settings page, and the studio at work.
#include <cstdio>

#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include "demonstration.h"
#include "language.h"
#include "main_window.h"
#include "media/av.h"
#include "render_project.h"
#include "theme.h"

using namespace larkmoor;

namespace {

void write(const QPixmap& picture, const QString& path) {
    if (!picture.save(path, "PNG")) throw Error("cannot write " + path.toStdString());
}

void settle(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

void takePages(const Module& module, const QString& folder) {
    for (const EffectInfo& info : module.effects()) {
        std::vector<std::byte> record = info.defaults;
        if (info.className == "Dissolve") setFieldText(info.field("mode"), record, "Color Bleed");
        LiveEffect effect(module, info, record);
        CComPtr<IPropertyPage> page = effect.page();
        if (!page) continue;
        PageView view(std::move(page));
        view.resize(view.sizeHint());
        view.show();
        settle(50);
        write(view.grab(), folder + '/' + QString::fromStdString(info.className) + ".png");
    }
}

void waitForPicture(MainWindow& window) {
    QEventLoop loop;
    QObject::connect(&window, &MainWindow::frameShown, &loop, &QEventLoop::quit);
    QTimer::singleShot(20000, &loop, &QEventLoop::quit);
    if (!window.isIdle()) loop.exec();
    settle(2500); // thumbnails and the smooth picture come a moment later
}

void takeStudio(const Module& module, const QString& folder) {
    const QTemporaryDir own;
    const QString clip = own.filePath("demonstration.mp4");
    OutputRequest out;
    out.path = clip.toStdString();
    renderProject(module, demonstrationProject(module), out);
    for (const char* theme : {"light", "dark"}) {
        const StudioFolders folders{own.filePath("presets"), own.filePath("autosave"), own.path()};
        MainWindow window(module, folders);
        applyTheme(theme);
        window.resize(1360, 840);
        window.show();
        if (QString(theme) == "light") {
            settle(200);
            write(window.grab(), folder + "/studio-start.png");
        }
        window.open(clip);
        const bool light = QString(theme) == "light";
        window.addEffect(light ? "DXTKwCCutter" : "DXTLevels");
        window.addEffect(light ? "DXTWave" : "DXTBroadcastColors");
        if (window.pagePanel().keysButton()->isChecked() != light)
            window.pagePanel().keysButton()->click(); // it is kept
        if (light) {
            KeyEditor& keys = window.pagePanel().keys();
            const tFieldInfo& field = keys.info()->field("verticalAmplitude");
            for (const auto& [frame, number] : {std::pair(20, 0.0), {60, 0.2}, {100, 0.05}}) {
                keys.setFrame(frame);
                if (frame == 20) keys.toggle(field);
                keys.setNumber(field, frame, number);
                keys.setWay(field, frame, Way::Smooth);
            }
            window.picture().setMode(PictureView::Mode::Split);
        }
        window.setFrame(60);
        waitForPicture(window);
        write(window.grab(), folder + (light ? "/studio.png" : "/studio-dark.png"));
        window.document().close();
    }
    applyTheme("light");
}

/// The studio on small and on fine screens: its usual arrangement, with a page that needs much room.
void takeScreen(const Module& module, const QString& folder, const QString& name, QSize size) {
    const QTemporaryDir own;
    QSettings().remove("panels");
    MainWindow window(module, {own.filePath("presets"), own.filePath("autosave"), own.path()});
    applyTheme("light");
    window.resize(size);
    window.show();
    window.startGenerator(module.find("Test Pattern"), {1920, 1080}, {25, 1}, 4);
    window.addEffect("DXTKwCCutter");
    waitForPicture(window);
    write(window.grab(), folder + '/' + name);
    window.document().close();
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: larkmoor-studio-pictures FOLDER\n", stderr);
        return 2;
    }
    QApplication application(count, arguments);
    const Language language(QLocale::c());
    QApplication::setApplicationName("larkmoor-studio-pictures");
    QApplication::setOrganizationName("larkmoor");
    try {
        quietLog(false);
        applyTheme("light");
        const QString folder = arguments[1];
        QDir().mkpath(folder);
        const Module module = Module::load();
        if (qgetenv("QT_SCALE_FACTOR") == "2") { // on a screen of 1600 by 1000
            takeScreen(module, folder, "studio-scale-2.png", {800, 500});
            return 0;
        }
        takePages(module, folder);
        takeStudio(module, folder);
        takeScreen(module, folder, "studio-1280x720.png", {1280, 720});
        takeScreen(module, folder, "studio-1600x1000.png", {1600, 1000});
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor-studio-pictures: %s\n", error.what());
        return 1;
    }
}
