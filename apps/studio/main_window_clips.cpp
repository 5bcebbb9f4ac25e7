// Clips that are counted, and those that are not where they were.
#include <atomic>
#include <future>

#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QProgressDialog>
#include <QPushButton>
#include <QScopedValueRollback>

#include "main_window.h"
#include "media/sequence.h"
#include "save_path.h"
#include "text.h"

namespace larkmoor {

namespace {

constexpr int kLook = 50; ///< milliseconds between looks at how far it is

std::vector<std::string*> pathsOf(Project& project) {
    std::vector<std::string*> paths;
    if (auto* const clip = std::get_if<ProjectClip>(&project.source)) paths.push_back(&clip->path);
    if (project.second) paths.push_back(&project.second->path);
    return paths;
}

bool isGone(const std::string& path) {
    return !isSequence(path) && !QFileInfo::exists(text(path));
}

} // namespace

/// What a project's pictures are. Files that do not say how many frames they have are read through, which may take
/// minutes: then it shows how far it is, and the user may give up, which throws Stopped.
PictureFacts MainWindow::factsOf(const Project& project) {
    std::atomic<double> share = 0;
    std::atomic<bool> goesOn = true;
    std::future<PictureFacts> facts = std::async(std::launch::async, [&] {
        return m_feed.facts(project, [&](double read) {
            share = read;
            return goesOn.load();
        });
    });
    if (m_counting) return facts.get();
    if (m_patience.count() > 0 && facts.wait_for(m_patience) == std::future_status::ready) return facts.get();
    const QScopedValueRollback counting(m_counting, true);
    QProgressDialog shown(tr("Counting the frames…"), tr("Cancel"), 0, 1000, this);
    shown.setWindowModality(Qt::ApplicationModal);
    shown.setAutoReset(false);
    shown.show(); // there was patience before
    QEventLoop loop;
    QTimer look;
    connect(&look, &QTimer::timeout, &loop, [&] {
        shown.setValue(static_cast<int>(share * 1000));
        if (shown.wasCanceled()) goesOn = false;
        if (facts.wait_for(std::chrono::seconds(0)) == std::future_status::ready) loop.quit();
    });
    look.start(kLook);
    loop.exec();
    return facts.get();
}

QWidget* MainWindow::makeMissing() {
    m_missing = new QWidget;
    m_missingText = new QLabel;
    m_missingText->setWordWrap(true);
    m_missingText->setTextFormat(Qt::PlainText);
    auto* const find = new QPushButton(tr("Fin&d it…"));
    find->setObjectName("findClip");
    connect(find, &QPushButton::clicked, this, &MainWindow::findMissing);
    auto* const row = new QHBoxLayout(m_missing);
    row->addWidget(m_missingText, 1);
    row->addWidget(find);
    m_missing->hide();
    return m_missing;
}

/// A clip that went away leaves no picture behind, which would be there no more at the next step.
void MainWindow::showMissing() {
    const QStringList clips = clipsOf(*m_document.project());
    const auto gone = std::ranges::find_if(clips, [](const QString& path) { return !QFileInfo::exists(path); });
    m_missing->setVisible(gone != clips.end());
    if (gone == clips.end()) return;
    m_missingText->setText(tr("The clip %1 is not there any more.").arg(*gone));
    play(false);
    m_feed.forget();
    showFailure(m_missingText->text());
}

void MainWindow::findMissing() {
    Project found = *m_document.project();
    bool changed = false;
    for (std::string* path : pathsOf(found))
        if (isGone(*path)) changed |= findClip(*path);
    if (changed) m_document.change(tr("Find the clip"), [&](Project& project) { project = found; });
}

/// False where the user gives up.
bool MainWindow::findClip(std::string& path) {
    const QString found =
        QFileDialog::getOpenFileName(this, QFileInfo(text(path)).fileName(), lastFolder(), clipFilter());
    if (!found.isEmpty()) path = found.toStdString();
    return !found.isEmpty();
}

/// Asks where clips are that are not where the project has them. False when the user gives up.
bool MainWindow::findClips(Project& project, bool& changed) {
    for (std::string* path : pathsOf(project)) {
        while (isGone(*path)) {
            QMessageBox box(QMessageBox::Question, tr("Larkmoor"),
                            tr("The clip %1 is not there any more. Where is it now?").arg(text(*path)),
                            QMessageBox::Cancel, this);
            const QAbstractButton* const find = box.addButton(tr("&Find it…"), QMessageBox::AcceptRole);
            box.exec();
            if (box.clickedButton() != find) return false;
            changed |= findClip(*path);
        }
    }
    return true;
}

} // namespace larkmoor
