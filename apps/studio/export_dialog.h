// Where to export to and how, then how far it is.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>

#include "exporter.h"

namespace larkmoor {

class ExportDialog : public QDialog {
    Q_OBJECT

  public:
    ExportDialog(const Document& document, const QString& path, QWidget* parent = nullptr);

    /// What the fields ask for. Throws UsageError.
    OutputRequest request() const;
    QLineEdit* pathField() const { return m_path; }
    QPushButton* exportButton() const { return m_export; }
    Exporter& exporter() { return m_exporter; }

    void reject() override;

  signals:
    void exported(QString path);

  private:
    void start();
    void showProgress(qint64 done, qint64 total);
    void finish(bool done, const QString& sentence);

    const Document& m_document;
    Exporter m_exporter;
    QElapsedTimer m_clock;
    QLineEdit *m_path, *m_codec;
    QComboBox* m_pixelFormat;
    QCheckBox* m_ownQuality;
    QSpinBox* m_quality;
    QProgressBar* m_bar;
    QLabel* m_status;
    QPushButton *m_export, *m_close;
    QWidget* m_fields;
};

/// "1:05 left" for what remains at the pace so far; empty before there is one.
QString timeLeft(qint64 milliseconds, qint64 done, qint64 total);

} // namespace larkmoor
