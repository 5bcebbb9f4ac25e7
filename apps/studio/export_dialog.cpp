#include "export_dialog.h"

#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include "media/av.h"
#include "media/sequence.h"
#include "save_path.h"
#include "text.h"

namespace larkmoor {

namespace {

struct Profile {
    const char *name, *ending, *codec, *pixelFormat;
    bool sequence = false;
};

constexpr Profile kProfiles[] = {
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "As the file's ending tells"), "", "", ""},
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "H.264 for the web"), "mp4", "libx264", "yuv420p"},
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "ProRes 422"), "mov", "prores_ks", "yuv422p10le"},
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "ProRes 4444 with alpha"), "mov", "prores_ks", "yuva444p10le"},
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "DNxHR"), "mov", "dnxhd", "yuv422p"},
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "FFV1, without loss"), "mkv", "ffv1", ""},
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "PNG sequence"), "png", "png", "", true},
    {QT_TRANSLATE_NOOP("larkmoor::ExportDialog", "WebM with alpha"), "webm", "libvpx-vp9", "yuva420p"}};

/// A name with another ending, numbered for a sequence.
QString withEnding(const QString& path, const Profile& profile) {
    const QFileInfo file(path);
    QString base = file.path() + '/' + file.completeBaseName();
    base.remove(QStringLiteral("-%04d"));
    if (profile.sequence) base += QStringLiteral("-%04d");
    return base + '.' + profile.ending;
}

QString about(const EncoderFacts& encoder) {
    QStringList can{ExportDialog::tr("%n bit(s)", "", encoder.bits)};
    if (encoder.alpha) can << ExportDialog::tr("alpha");
    if (encoder.lossless) can << ExportDialog::tr("without loss");
    if (encoder.intra) can << ExportDialog::tr("each picture by itself");
    return text(encoder.title) + ": " + can.join(QStringLiteral(", "));
}

} // namespace

ExportDialog::ExportDialog(const Document& document, const QString& path, ExportQueue& queue, QWidget* parent)
    : QDialog(parent), m_document(document), m_queue(queue), m_path(new QLineEdit(path)), m_profile(new QComboBox),
      m_codec(new QComboBox), m_pixelFormat(new QComboBox), m_ownQuality(new QCheckBox(tr("&Quality:"))),
      m_quality(new QSpinBox), m_split(new QCheckBox(tr("For &many machines, frames at a time:"))),
      m_chunk(new QSpinBox), m_about(new QLabel), m_status(new QLabel), m_export(new QPushButton(tr("&Export"))) {
    setWindowTitle(tr("Export"));
    auto* const browse = new QToolButton;
    browse->setText(tr("&Browse…"));
    for (const Profile& profile : kProfiles) m_profile->addItem(tr(profile.name));
    m_codec->setEditable(true);
    m_codec->lineEdit()->setPlaceholderText(tr("the file's usual one"));
    m_codec->setToolTip(tr("An encoder of those that such a file takes, or FFmpeg's name of another"));
    m_pixelFormat->setEditable(true);
    m_pixelFormat->addItems({QString(), "yuv420p", "yuv422p", "yuv422p10le", "yuv444p", "yuva420p", "yuva444p10le",
                             "rgba", "bgra", "rgb24"});
    m_pixelFormat->lineEdit()->setAccessibleName(tr("Pixel format"));
    m_pixelFormat->lineEdit()->setPlaceholderText(tr("the source's, or the nearest"));
    m_pixelFormat->setToolTip(tr("By FFmpeg's name; transparency needs one with an \"a\", such as rgba"));
    m_quality->setRange(0, 100);
    m_quality->setValue(75);
    m_quality->setEnabled(false);
    m_quality->setAccessibleName(tr("Quality"));
    m_codec->lineEdit()->setAccessibleName(tr("Encoder"));
    m_quality->setToolTip(tr("0 gives the smallest files, 100 the best pictures"));
    m_split->setToolTip(tr("Writes a folder that \"larkmoor work\" renders on all machines that see it"));
    m_chunk->setRange(1, 1'000'000);
    m_chunk->setValue(250);
    m_chunk->setEnabled(false);
    m_chunk->setAccessibleName(tr("Frames at a time"));
    m_about->setWordWrap(true);
    m_status->setWordWrap(true);
    m_export->setDefault(true);
    auto* const close = new QPushButton(tr("C&lose"));

    auto* const file = new QHBoxLayout;
    file->addWidget(m_path);
    file->addWidget(browse);
    auto* const form = new QFormLayout;
    form->addRow(tr("P&rofile:"), m_profile);
    auto* const fileLabel = new QLabel(tr("&File:")); // a row of several has no buddy of its own
    fileLabel->setBuddy(m_path);
    form->addRow(fileLabel, file);
    form->addRow(tr("En&coder:"), m_codec);
    form->addRow(QString(), m_about);
    form->addRow(tr("&Pixel format:"), m_pixelFormat);
    form->addRow(m_ownQuality, m_quality);
    form->addRow(m_split, m_chunk);
    auto* const buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_export);
    buttons->addWidget(close);
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(form);
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
    connect(m_profile, &QComboBox::activated, this, &ExportDialog::useProfile);
    connect(m_path, &QLineEdit::textChanged, this, &ExportDialog::showEncoders);
    connect(m_codec, &QComboBox::currentTextChanged, this, &ExportDialog::showEncoder);
    connect(m_ownQuality, &QCheckBox::toggled, m_quality, &QWidget::setEnabled);
    connect(m_split, &QCheckBox::toggled, m_chunk, &QWidget::setEnabled);
    connect(m_split, &QCheckBox::toggled, this, [this](bool split) {
        m_status->setText(
            split ? tr("Writes the folder %1; its chunks are joined to the film when all are done.").arg(folder())
                  : QString());
    });
    connect(m_export, &QPushButton::clicked, this, &ExportDialog::start);
    connect(close, &QPushButton::clicked, this, &ExportDialog::reject);
    showEncoders();
}

void ExportDialog::useProfile(int index) {
    const Profile& profile = kProfiles[index];
    if (*profile.ending) m_path->setText(withEnding(m_path->text().trimmed(), profile));
    m_codec->setCurrentText(profile.codec);
    m_pixelFormat->setCurrentText(profile.pixelFormat);
}

/// The encoders that a file of this ending takes. What is chosen stays, even where it is none of them.
void ExportDialog::showEncoders() {
    const QString ending = QFileInfo(m_path->text().trimmed()).suffix().toLower();
    if (ending == m_ending && m_codec->count() > 0) return;
    m_ending = ending;
    const QString chosen = m_codec->currentText();
    const QSignalBlocker quiet(m_codec);
    m_codec->clear();
    m_codec->addItem({});
    try {
        for (const EncoderFacts& encoder : encodersFor(m_path->text().trimmed().toStdString())) {
            m_codec->addItem(text(encoder.name), about(encoder));
            m_codec->setItemData(m_codec->count() - 1, about(encoder), Qt::ToolTipRole);
        }
    } catch (const Error&) {
        // An ending half typed is told of when it is used.
    }
    m_codec->setCurrentText(chosen);
    showEncoder();
}

void ExportDialog::showEncoder() {
    m_about->setText(m_codec->itemData(m_codec->findText(m_codec->currentText().trimmed())).toString());
}

QString ExportDialog::folder() const {
    const QFileInfo film(m_path->text().trimmed());
    return film.path() + '/' + film.completeBaseName().remove('%') + QStringLiteral("-job");
}

OutputRequest ExportDialog::request() const {
    OutputRequest out;
    out.path = m_path->text().trimmed().toStdString();
    if (out.path.empty()) throw UsageError(tr("Name a file to export to.").toStdString());
    out.encode.codec = m_codec->currentText().trimmed().toStdString();
    if (m_split->isChecked()) out.chunkFrames = m_chunk->value();
    if (m_ownQuality->isChecked()) out.encode.quality = m_quality->value();
    if (const QString format = m_pixelFormat->currentText().trimmed(); !format.isEmpty())
        out.encode.pixelFormat = parsePixelFormat(format.toStdString());
    out.threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    return out;
}

void ExportDialog::start() {
    try {
        OutputRequest out = request();
        const QString path = m_path->text().trimmed();
        if (m_split->isChecked()) {
            m_queue.add({.project = m_document.project(),
                         .output = out,
                         .work = ExportJob::Work::Folder,
                         .folder = folder().toStdString()});
            return accept();
        }
        if (isSequence(out.path) ? !sequenceNumbers(out.path).empty() : QFileInfo(path).isFile()) {
            if (isSource(*m_document.project(), path))
                throw UsageError(tr("The project is made of this file; choose another name.").toStdString());
            const auto answer = QMessageBox::question(
                this, tr("Export"), tr("%1 is there already. Replace it?").arg(QFileInfo(path).fileName()));
            if (answer != QMessageBox::Yes) return;
            out.overwrite = true;
        }
        m_queue.add(m_document.project(), out);
        accept();
    } catch (const std::exception& error) {
        m_status->setText(QString::fromStdString(error.what()));
    }
}

} // namespace larkmoor
