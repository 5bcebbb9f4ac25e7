#include "help_box.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QScreen>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace larkmoor {

void showHelpBox(QWidget* parent, const QString& title, const QString& html) {
    QDialog box(parent);
    box.setWindowTitle(title);
    auto* const words = new QTextBrowser;
    words->setHtml(html);
    words->setAccessibleName(title);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &box, &QDialog::reject);
    auto* const layout = new QVBoxLayout(&box);
    layout->addWidget(words);
    layout->addWidget(buttons);
    box.resize(QSize(560, 600).boundedTo(box.screen()->availableSize() - QSize(40, 60)));
    box.exec();
}

} // namespace larkmoor
