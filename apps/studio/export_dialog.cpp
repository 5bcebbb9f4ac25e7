#include "export_dialog.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QToolButton>
#include <QVBoxLayout>

#include "media/av.h"
#include "save_path.h"

namespace larkmoor {

QString timeLeft(qint64 milliseconds, qint64 done, qint64 total) {
    if (done <= 0 || total <= 0 || milliseconds <= 0) return {};
    const qint64 seconds = (milliseconds * (total - done) / done + 999) / 1000;
    return ExportDialog::tr("%1:%2 left").arg(seconds / 60).arg(seconds % 60, 2, 10, QChar('0'));
}

ExportDialog::ExportDialog(const Document& document, const QString& path, QWidget* parent)
    : QDialog(parent), m_document(document), m_exporter(document.module()), m_path(new QLineEdit(path)),
      m_codec(new QLineEdit), m_pixelFormat(new QComboBox), m_ownQuality(new QCheckBox(tr("&Quality:"))),
      m_quality(new QSpinBox), m_bar(new QProgressBar), m_status(new QLabel), m_export(new QPushButton(tr("&Export"))),
      m_close(new QPushButton(tr("&Close"))), m_fields(new QWidget) {
    setWindowTitle(tr("Export"));
    auto* const browse = new QToolButton;
    browse->setText(tr("&Browse…"));
    m_codec->setPlaceholderText(tr("the file's usual one"));
    m_codec->setToolTip(tr("An encoder, by FFmpeg's name"));
    m_pixelFormat->setEditable(true);
    m_pixelFormat->addItems({QString(), "yuv420p", "yuv422p", "yuv444p", "yuva444p10le", "rgba", "bgra", "rgb24"});
    m_pixelFormat->lineEdit()->setPlaceholderText(tr("the source's, or the nearest"));
    m_pixelFormat->setToolTip(tr("By FFmpeg's name; transparency needs one with an \"a\", such as rgba"));
    m_quality->setRange(0, 100);
    m_quality->setValue(75);
    m_quality->setEnabled(false);
    m_quality->setToolTip(tr("0 gives the smallest files, 100 the best pictures"));
    m_bar->setVisible(false);
    m_status->setWordWrap(true);
    m_export->setDefault(true);

    auto* const file = new QHBoxLayout;
    file->addWidget(m_path);
    file->addWidget(browse);
    auto* const form = new QFormLayout(m_fields);
    form->setContentsMargins(0, 0, 0, 0);
    auto* const fileLabel = new QLabel(tr("&File:")); // a row of several has no buddy of its own
    fileLabel->setBuddy(m_path);
    form->addRow(fileLabel, file);
    form->addRow(tr("En&coder:"), m_codec);
    form->addRow(tr("&Pixel format:"), m_pixelFormat);
    form->addRow(m_ownQuality, m_quality);
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_export);
    buttons->addWidget(m_close);
    auto* const layout = new QVBoxLayout(this);
    layout->addWidget(m_fields);
    layout->addWidget(m_bar);
    layout->addWidget(m_status);
    layout->addLayout(buttons);
    m_path->setMinimumWidth(fontMetrics().averageCharWidth() * 50);

    connect(browse, &QToolButton::clicked, this, [this] {
        const QString chosen = QFileDialog::getSaveFileName(
            this, tr("Export to"), m_path->text(),
            tr("Films (*.mp4 *.mov *.mkv *.webm);;Pictures (*.png *.tif *.jpg);;All files (*)"), nullptr,
            QFileDialog::DontConfirmOverwrite);
        if (!chosen.isEmpty()) m_path->setText(chosen);
    });
    connect(m_ownQuality, &QCheckBox::toggled, m_quality, &QWidget::setEnabled);
    connect(m_export, &QPushButton::clicked, this, &ExportDialog::start);
    connect(m_close, &QPushButton::clicked, this, &ExportDialog::reject);
    connect(&m_exporter, &Exporter::progress, this, &ExportDialog::showProgress, Qt::QueuedConnection);
    connect(&m_exporter, &Exporter::finished, this, &ExportDialog::finish);
}

OutputRequest ExportDialog::request() const {
    OutputRequest out;
    out.path = m_path->text().trimmed().toStdString();
    if (out.path.empty()) throw UsageError("Name a file to export to.");
    out.encode.codec = m_codec->text().trimmed().toStdString();
    if (m_ownQuality->isChecked()) out.encode.quality = m_quality->value();
    if (const QString format = m_pixelFormat->currentText().trimmed(); !format.isEmpty())
        out.encode.pixelFormat = parsePixelFormat(format.toStdString());
    out.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    return out;
}

void ExportDialog::start() {
    try {
        OutputRequest out = request();
        if (const QString path = m_path->text().trimmed(); QFileInfo(path).isFile()) {
            if (isSource(*m_document.project(), path))
                throw UsageError("The project is made of this file; choose another name.");
            const auto answer = QMessageBox::question(
                this, tr("Export"), tr("%1 is there already. Replace it?").arg(QFileInfo(m_path->text()).fileName()));
            if (answer != QMessageBox::Yes) return;
            out.overwrite = true;
        }
        m_fields->setEnabled(false);
        m_export->setEnabled(false);
        m_close->setText(tr("&Cancel"));
        m_bar->setRange(0, 0);
        m_bar->setVisible(true);
        m_status->clear();
        m_clock.start();
        m_exporter.start(m_document.project(), out);
    } catch (const std::exception& error) {
        m_status->setText(QString::fromStdString(error.what()));
    }
}

void ExportDialog::showProgress(qint64 done, qint64 total) {
    if (!m_exporter.isRunning()) return;
    // The bar counts in ints.
    m_bar->setRange(0, total > 0 ? static_cast<int>(std::min<qint64>(total, INT_MAX)) : 0);
    m_bar->setValue(static_cast<int>(std::min<qint64>(done, INT_MAX)));
    m_status->setText(total > 0
                          ? tr("%1 of %2 frames  %3").arg(done).arg(total).arg(timeLeft(m_clock.elapsed(), done, total))
                          : tr("%1 frames").arg(done));
}

void ExportDialog::finish(bool done, const QString& sentence) {
    m_fields->setEnabled(true);
    m_export->setEnabled(true);
    m_close->setText(tr("&Close"));
    m_bar->setVisible(false);
    const QString path = m_path->text().trimmed();
    m_status->setText(done                  ? (tr("%1 is written.").arg(path) + '\n' + sentence).trimmed()
                      : !sentence.isEmpty() ? sentence
                                            : tr("Cancelled; nothing was written."));
    if (done) emit exported(path);
}

void ExportDialog::reject() {
    if (m_exporter.isRunning())
        m_exporter.cancel();
    else
        QDialog::reject();
}

} // namespace larkmoor
