// How long a settings page takes to reach the screen: from a key on a trackbar to the painted picture, at 1920x1080.
#include <benchmark/benchmark.h>

#include <QApplication>
#include <QEventLoop>
#include <QKeyEvent>
#include <QStandardPaths>
#include <QTemporaryDir>

#include "main_window.h"
#include "media/av.h"
#include "render_project.h"

using namespace larkmoor;

namespace {

const Module& module() {
    static const Module loaded = Module::load(LARKMOOR_MODULE_FILE);
    return loaded;
}

/// A clip of a few frames.
QString makeClip(const QTemporaryDir& folder) {
    const QString path = folder.filePath("clip.mp4");
    Project project;
    project.source = ProjectGenerator{projectEffect(module().find("Test Pattern")), 1920, 1080, {25, 1}, 0.4};
    OutputRequest out;
    out.path = path.toStdString();
    renderProject(module(), project, out);
    return path;
}

void waitForFrame(MainWindow& window) {
    QEventLoop loop;
    QObject::connect(&window, &MainWindow::frameShown, &loop, &QEventLoop::quit);
    if (!window.isIdle()) loop.exec();
    window.picture().repaint();
}

/// Keys on every field of the selected effect that can move, one a frame from long before the clip on.
void addKeys(MainWindow& window, std::int64_t count) {
    window.pagePanel().keysButton()->click();
    window.document().change("keys", [&](Project& project) {
        ProjectEffect& effect = project.effects.at(0);
        for (const tFieldInfo& field : effect.info->fields)
            for (std::int64_t frame = 0; frame < count && canMove(field); ++frame) {
                const auto& record = effect.info->presets[static_cast<std::size_t>(frame % 2)].record;
                setKey(effect.curves, field, frame - count / 2, fieldBytes(field, record));
                effect.curves.back().keys.back().way = Way::Smooth;
            }
    });
}

/// One key on the trackbar of a page, and the picture that comes of it.
/// @param keys on each field.
void moveTrackbar(benchmark::State& state, const char* effect, LONG trackbar, std::int64_t keys = 0) {
    const QTemporaryDir folder;
    MainWindow window(module(), {folder.filePath("p"), folder.filePath("a"), folder.path()});
    window.resize(1600, 950);
    window.show();
    window.open(makeClip(folder));
    window.addEffect(effect);
    if (keys > 0) addKeys(window, keys);
    waitForFrame(window);
    QWidget* const bar = window.pagePanel().page()->control(trackbar);
    int key = Qt::Key_Left;
    double work = 0;
    QObject::connect(&window, &MainWindow::frameShown, &window, [&](qint64, bool, double took) { work += took; });
    for (auto _ : state) {
        // To and fro, so that each key changes the value.
        key = key == Qt::Key_Left ? Qt::Key_Right : Qt::Key_Left;
        QKeyEvent press(QEvent::KeyPress, key, Qt::NoModifier), release(QEvent::KeyRelease, key, Qt::NoModifier);
        QApplication::sendEvent(bar, &press);
        waitForFrame(window);
        state.PauseTiming();
        QApplication::sendEvent(bar, &release);
        if (!window.isIdle()) waitForFrame(window);
        state.ResumeTiming();
    }
    state.counters["render_ms"] = work / static_cast<double>(std::max<std::int64_t>(state.iterations(), 1));
}

BENCHMARK_CAPTURE(moveTrackbar, Invert, "DXTInvert", 1435)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(60);
BENCHMARK_CAPTURE(moveTrackbar, Levels, "DXTLevels", 1061)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(60);
BENCHMARK_CAPTURE(moveTrackbar, LevelsWith1000Keys, "DXTLevels", 1061, 1000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(60);
BENCHMARK_CAPTURE(moveTrackbar, Sepia, "DXTSepia", 1109)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(60);

} // namespace

int main(int count, char** arguments) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qEnvironmentVariableIsEmpty("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QStandardPaths::setTestModeEnabled(true);
    QApplication application(count, arguments);
    QApplication::setOrganizationName("larkmoor-bench");
    quietLog(false);
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
