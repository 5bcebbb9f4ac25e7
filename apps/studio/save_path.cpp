#include "save_path.h"

#include <algorithm>

#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

#include "media/sequence.h"
#include "text.h"

namespace larkmoor {

QString askWhereToSave(QWidget* parent, const SaveQuestion& question) {
    QString path = question.suggestion;
    for (;;) {
        // Its own question would be about the name without the ending.
        path = QFileDialog::getSaveFileName(parent, question.title, path, question.filter, nullptr,
                                            QFileDialog::DontConfirmOverwrite);
        if (path.isEmpty()) return {};
        if (!question.endings.contains(QFileInfo(path).suffix().toLower())) path += '.' + question.ending;
        if (!QFileInfo::exists(path)) return path;
        const QString asked =
            QFileDialog::tr("%1 is there already. Replace it?").arg(QFileInfo(path).fileName().toHtmlEscaped());
        if (QMessageBox::question(parent, question.title, asked) == QMessageBox::Yes) return path;
    }
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
