#include "save_path.h"

#include <algorithm>

#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QSettings>

#include "media/sequence.h"
#include "text.h"

namespace larkmoor {

namespace {

const char* const kFolder = "folder";

} // namespace

QString askWhereToSave(QWidget* parent, const SaveQuestion& question) {
    QString path = question.suggestion;
    for (;;) {
        // Its own question would be about the name without the ending.
        path = QFileDialog::getSaveFileName(parent, question.title, path, question.filter, nullptr,
                                            QFileDialog::DontConfirmOverwrite);
        if (path.isEmpty()) return {};
        if (!question.endings.contains(QFileInfo(path).suffix().toLower())) path += '.' + question.ending;
        if (!QFileInfo::exists(path)) return path;
        const QString asked = QCoreApplication::translate("larkmoor::MainWindow", "%1 is there already. Replace it?")
                                  .arg(QFileInfo(path).fileName().toHtmlEscaped());
        if (QMessageBox::question(parent, question.title, asked) == QMessageBox::Yes) return path;
    }
}

QString clipFilter() {
    return QCoreApplication::translate(
        "larkmoor::MainWindow", "Clips, pictures and projects (*.larkmoor *.mp4 *.mov *.mkv *.webm *.avi *.mxf *.mpg "
                                "*.m2ts *.ts *.png *.jpg *.jpeg *.tif *.tiff *.bmp *.webp *.exr *.dpx);;All files (*)");
}

QString lastFolder() {
    return QSettings().value(kFolder, QDir::homePath()).toString();
}

void setLastFolder(const QString& path) {
    QSettings().setValue(kFolder, path);
}

bool isSource(const Project& project, const QString& path) {
    const QFileInfo file(path);
    const auto is = [&](const std::string& clip) {
        if (!isSequence(clip))
            return QFileInfo(text(clip)) == file ||
                   QFileInfo(text(clip)).canonicalFilePath() == file.canonicalFilePath();
        const std::vector<int> numbers = sequenceNumbers(clip);
        return std::ranges::any_of(numbers,
                                   [&](int number) { return QFileInfo(text(sequenceName(clip, number))) == file; });
    };
    const auto* const clip = std::get_if<ProjectClip>(&project.source);
    return file.exists() && ((clip && is(clip->path)) || (project.second && is(project.second->path)));
}

} // namespace larkmoor
