#include "main_window.h"

#include <QDir>
#include <QDragEnterEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMenu>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QSettings>
#include <QStandardPaths>

#include "demonstration.h"
#include "export_dialog.h"
#include "generator_dialog.h"
#include "levels.h"
#include "media/sequence.h"
#include "project_fit.h"
#include "render_project.h"
#include "save_path.h"
#include "source_facts.h"
#include "text.h"

namespace larkmoor {

namespace {

constexpr int kMostRecent = 10;

const char* const kRecent = "recent";

/// What a file of this project may be called, without an ending: the name of the project, else of its clip.
QString suggestedName(const Document& document) {
    if (!document.path().isEmpty()) return QFileInfo(document.path()).path() + '/' + document.name();
    const auto* const clip = std::get_if<ProjectClip>(&document.project()->source);
    if (!clip) return lastFolder() + '/' + document.name();
    const QFileInfo file(QString::fromStdString(clip->path));
    return file.path() + '/' + file.completeBaseName().remove('%') + "-larkmoor";
}

QString sequencePath(const QString& picture) {
    return QString::fromStdString(sequenceOf(picture.toStdString()));
}

} // namespace

bool MainWindow::open(const QString& path) {
    bool opened = false;
    attempt([&] {
        if (isProject(path.toStdString())) {
            Project project = loadProject(m_module, path.toStdString(), Values::Unchecked);
            bool changed = false;
            if (!findClips(project, changed)) return;
            changed |= mend(project);
            m_document.start(std::move(project), QFileInfo(path).absoluteFilePath(), changed);
        } else {
            Project project;
            project.source = ProjectClip{QFileInfo(path).absoluteFilePath().toStdString(), {}};
            factsOf(project);
            m_document.start(std::move(project), {});
        }
        remember(path);
        opened = true;
    });
    return opened;
}

/// Brings a project that was read into what can be shown. True where it comes out another; throws Error where its clips
/// cannot be read.
bool MainWindow::mend(Project& project) {
    const std::string before = projectText(project, "/");
    settleLevels(project);
    fitToPictures(project, factsOf(project));
    return projectText(project, "/") != before;
}

void MainWindow::startGenerator(const EffectInfo& info, QSize size, AVRational rate, double seconds) {
    attempt([&] {
        Project project;
        project.source = ProjectGenerator{projectEffect(info), size.width(), size.height(), rate, seconds};
        m_document.start(std::move(project), {});
    });
}

void MainWindow::addSecond(const QString& path) {
    attempt([&] {
        if (!m_document.project() || !std::holds_alternative<ProjectClip>(m_document.project()->source))
            throw Error(tr("A second clip comes after a first one; open a clip first.").toStdString());
        Project tried = *m_document.project();
        if (tried.second) {
            tried.second->path = QFileInfo(path).absoluteFilePath().toStdString();
        } else {
            tried.second = ProjectSecond{QFileInfo(path).absoluteFilePath().toStdString(),
                                         projectEffect(m_module.find("Dissolve")), 1};
        }
        factsOf(tried);
        m_document.change(tr("Add a second clip"), [&](Project& project) { project = tried; });
        m_document.select({Slot::Kind::Transition, 0});
        if (m_facts.overlapFrames > 0) setFrame(m_facts.overlapStart + m_facts.overlapFrames / 2);
    });
}

void MainWindow::askOpen() {
    if (!mayLeave()) return;
    const QString path = QFileDialog::getOpenFileName(this, tr("Open"), lastFolder(), clipFilter());
    if (!path.isEmpty()) open(path);
}

void MainWindow::askSequence() {
    if (!mayLeave()) return;
    const QString path =
        QFileDialog::getOpenFileName(this, tr("Open the first picture of a sequence"), lastFolder(),
                                     tr("Pictures (*.png *.jpg *.jpeg *.tif *.tiff *.bmp *.exr *.dpx)"));
    if (path.isEmpty()) return;
    const QString sequence = sequencePath(path);
    if (sequence.isEmpty())
        fail(tr("%1 has no number in its name; the pictures of a sequence are numbered.")
                 .arg(QFileInfo(path).fileName()));
    else
        open(sequence);
}

void MainWindow::askSecond() {
    const QString path = QFileDialog::getOpenFileName(this, tr("Second clip"), lastFolder(), clipFilter());
    if (!path.isEmpty()) addSecond(path);
}

void MainWindow::askReplace() {
    const QString path = QFileDialog::getOpenFileName(this, tr("Replace the clip"), lastFolder(), clipFilter());
    if (path.isEmpty()) return;
    attempt([&] {
        Project next = *m_document.project();
        next.source = ProjectClip{QFileInfo(path).absoluteFilePath().toStdString(), {}};
        next.in = 0;
        next.out.reset();
        factsOf(next);
        m_document.change(tr("Replace the clip"), [&](Project& project) { project = next; });
    });
}

void MainWindow::askGenerator() {
    if (!mayLeave()) return;
    GeneratorDialog dialog(m_module, this);
    if (dialog.exec() != QDialog::Accepted) return;
    attempt([&] { startGenerator(dialog.generator(), dialog.size(), dialog.rate(), dialog.seconds()); });
}

void MainWindow::askSource() {
    const Project& project = *m_document.project();
    if (const auto* const generator = std::get_if<ProjectGenerator>(&project.source)) {
        GeneratorDialog dialog(m_module, this);
        dialog.show(*generator);
        if (dialog.exec() != QDialog::Accepted) return;
        attempt([&] {
            ProjectGenerator source = *generator;
            if (source.generator.info != &dialog.generator()) source.generator = projectEffect(dialog.generator());
            source.width = dialog.size().width();
            source.height = dialog.size().height();
            source.rate = dialog.rate();
            source.duration = dialog.seconds();
            m_document.change(tr("Change the source"), [&](Project& next) { next.source = source; });
        });
        return;
    }
    const auto& clip = std::get<ProjectClip>(project.source);
    if (!isSequence(clip.path)) {
        QMessageBox::information(this, tr("Source"), sourceFacts(clip.path, m_facts));
        return;
    }
    bool ok = false;
    const QString asked = QInputDialog::getText(this, tr("Source"), tr("&Frames a second:"), QLineEdit::Normal,
                                                QLocale().toString(rate(), 'g', 6), &ok);
    if (!ok) return;
    attempt([&] {
        ProjectClip source = clip;
        source.rate = typedRate(asked);
        m_document.change(tr("Change the source"), [&](Project& next) { next.source = source; });
    });
}

void MainWindow::openDemonstration() {
    if (!mayLeave() || m_maker) return;
    const QString folder =
        m_folders.cache.isEmpty() ? QStandardPaths::writableLocation(QStandardPaths::CacheLocation) : m_folders.cache;
    const QString path = folder + QStringLiteral("/demonstration.mp4");
    if (QFileInfo::exists(path)) {
        open(path);
        return;
    }
    QDir().mkpath(folder);
    m_maker = std::make_unique<Exporter>();
    auto* const progress = new QProgressDialog(tr("Making the demonstration clip…"), tr("Cancel"), 0, 100, this);
    progress->setWindowModality(Qt::WindowModal);
    connect(progress, &QProgressDialog::canceled, m_maker.get(), &Exporter::cancel);
    connect(m_maker.get(), &Exporter::progress, progress, [progress](qint64 done, qint64 total) {
        if (total > 0) progress->setValue(static_cast<int>(done * 99 / total));
    });
    connect(m_maker.get(), &Exporter::finished, this, [this, progress, path](bool done, const QString& sentence) {
        progress->deleteLater();
        m_maker.release()->deleteLater();
        if (done)
            open(path);
        else if (!sentence.isEmpty())
            fail(sentence);
    });
    OutputRequest out;
    out.path = path.toStdString();
    out.overwrite = true;
    out.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    m_maker->start([module = m_module, project = demonstrationProject(m_module), out](const Watch& watch) {
        return renderProject(module, project, out, watch);
    });
}

bool MainWindow::mayLeave() {
    if (PageView* const page = m_page->page()) page->commitEdits();
    if (!m_document.isChanged()) return true;
    QMessageBox box(QMessageBox::Question, tr("Larkmoor"), tr("Save the changes to %1?").arg(m_document.name()),
                    QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, this);
    const int answer = box.exec();
    return answer == QMessageBox::Discard || (answer == QMessageBox::Save && save());
}

bool MainWindow::saveTo(const QString& path) {
    if (PageView* const page = m_page->page()) page->commitEdits();
    return attempt([&] {
        m_document.save(path);
        remember(path);
    });
}

bool MainWindow::save() {
    return m_document.path().isEmpty() ? saveAs() : saveTo(m_document.path());
}

bool MainWindow::saveAs() {
    const QString path = askWhereToSave(this, {tr("Save project"),
                                               suggestedName(m_document) + QStringLiteral(".larkmoor"),
                                               tr("Projects (*.larkmoor)"),
                                               QStringLiteral("larkmoor"),
                                               {QStringLiteral("larkmoor")}});
    return !path.isEmpty() && saveTo(path);
}

void MainWindow::exportFilm() {
    if (PageView* const page = m_page->page()) page->commitEdits();
    ExportDialog dialog(m_document, suggestedName(m_document) + QStringLiteral(".mp4"), m_exports, this);
    if (dialog.exec() != QDialog::Accepted) return;
    m_exportsPanel->show();
    m_exportsPanel->raise();
}

bool MainWindow::mayEndExports() {
    if (!m_exports.isRunning()) return true;
    const auto answer = QMessageBox::question(this, tr("Larkmoor"), tr("Exports are not finished. Give them up?"));
    if (answer == QMessageBox::Yes) m_exports.cancelAll();
    return answer == QMessageBox::Yes;
}

void MainWindow::saveFrame() {
    const QString path =
        askWhereToSave(this, {tr("Save this frame"),
                              suggestedName(m_document) + QStringLiteral(".png"),
                              tr("Pictures (*.png *.tif *.jpg)"),
                              QStringLiteral("png"),
                              {"png", "tif", "tiff", "jpg", "jpeg", "bmp", "webp", "exr", "dpx", "jxl"}});
    if (path.isEmpty()) return;
    if (isSource(*m_document.project(), path))
        return fail(tr("The project is made of this file; choose another name."));
    // One frame of the project, by the way of every export; the keys keep their places.
    Project one = *m_document.project();
    const std::int64_t shift = m_frame - one.in;
    const std::int64_t last = one.out.value_or(m_facts.frames) - one.in - 1;
    for (ProjectEffect& effect : one.effects) settle(effect.curves, 0, last, m_facts.rate);
    if (auto* const made = std::get_if<ProjectGenerator>(&one.source))
        settle(made->generator.curves, 0, last, m_facts.rate);
    moveKeys(one, -shift);
    one.in = m_frame;
    one.out = m_frame + 1;
    attempt([&] {
        OutputRequest out;
        out.path = path.toStdString();
        out.overwrite = true; // the dialog asked
        renderProject(m_module, one, out);
        m_status->setText(tr("%1 is written.").arg(path));
    });
}

void MainWindow::offerLostWork() {
    for (const LostWork& work : m_autosave.lost()) {
        const QString name =
            work.original.isEmpty() ? tr("a project without a name") : QFileInfo(work.original).fileName();
        QMessageBox box(QMessageBox::Question, tr("Larkmoor"),
                        tr("Larkmoor did not end well last time. Open the unsaved changes to %1?").arg(name),
                        QMessageBox::Open | QMessageBox::Discard | QMessageBox::Cancel, this);
        const int answer = box.exec();
        if (answer == QMessageBox::Cancel) return; // they are offered again next time
        bool opened = answer != QMessageBox::Open;
        attempt([&] {
            if (opened) return;
            Project project = loadProject(m_module, work.file.toStdString(), Values::Unchecked);
            bool changed = false;
            if (!findClips(project, changed)) return;
            mend(project);
            m_document.start(std::move(project), work.original, true);
            opened = true;
        });
        if (!opened) return;
        Autosave::forget(work);
        if (answer == QMessageBox::Open) return;
    }
}

void MainWindow::remember(const QString& path) {
    QSettings settings;
    QStringList paths = settings.value(kRecent).toStringList();
    const QString whole = QFileInfo(path).absoluteFilePath();
    paths.removeAll(whole);
    paths.prepend(whole);
    settings.setValue(kRecent, paths.mid(0, kMostRecent));
    setLastFolder(QFileInfo(whole).path());
    showRecent();
}

void MainWindow::showRecent() {
    m_recent->clear();
    for (const QString& path : QSettings().value(kRecent).toStringList())
        m_recent->addAction(QDir::toNativeSeparators(path).replace('&', QStringLiteral("&&")), this, [this, path] {
            if (mayLeave()) open(path);
        });
    m_recent->setEnabled(!m_recent->isEmpty());
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls() && event->mimeData()->urls().first().isLocalFile()) event->acceptProposedAction();
}

void MainWindow::dropEvent(QDropEvent* event) {
    QStringList paths;
    for (const QUrl& url : event->mimeData()->urls())
        if (url.isLocalFile()) paths << url.toLocalFile();
    if (paths.isEmpty()) return;
    paths.sort();
    // The numbered pictures of one name are one sequence.
    if (const QString sequence = sequencePath(paths[0]); paths.size() > 1 && !sequence.isEmpty())
        if (std::ranges::all_of(paths, [&](const QString& path) { return sequencePath(path) == sequence; }))
            paths = {sequence};
    const auto* const clip = m_document.project() ? std::get_if<ProjectClip>(&m_document.project()->source) : nullptr;
    if (clip && paths.size() == 1 && !isProject(paths[0].toStdString())) {
        QMenu menu(this);
        QAction* const opens = menu.addAction(tr("&Open"));
        QAction* const joins = menu.addAction(tr("Use as the &second clip"));
        menu.addSeparator();
        menu.addAction(tr("&Cancel"));
        const QAction* const chosen = menu.exec(mapToGlobal(event->position().toPoint()));
        if (chosen == joins) addSecond(paths[0]);
        if (chosen != opens) return;
    }
    if (!mayLeave() || !open(paths[0])) return;
    if (paths.size() > 1) addSecond(paths[1]);
    if (paths.size() > 2) tell(tr("Two of %n file(s) are open.", "", static_cast<int>(paths.size())));
}

} // namespace larkmoor
