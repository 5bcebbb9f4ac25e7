// Where to export to and how.
#pragma once

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>

#include "export_queue.h"

namespace larkmoor {

class ExportDialog : public QDialog {
    Q_OBJECT

  public:
    /// What it asks for goes into the queue.
    ExportDialog(const Document& document, const QString& path, ExportQueue& queue, QWidget* parent = nullptr);

    /// What the fields ask for. Throws UsageError.
    OutputRequest request() const;
    QLineEdit* pathField() const { return m_path; }
    QComboBox* profiles() const { return m_profile; }
    QComboBox* encoders() const { return m_codec; }
    QPushButton* exportButton() const { return m_export; }
    QCheckBox* splitSwitch() const { return m_split; }
    QSpinBox* chunkField() const { return m_chunk; }
    /// Where a job for many machines is written to.
    QString folder() const;

  private:
    void useProfile(int index);
    void showEncoders();
    void showEncoder();
    void start();

    const Document& m_document;
    ExportQueue& m_queue;
    QLineEdit* m_path;
    QComboBox *m_profile, *m_codec, *m_pixelFormat;
    QCheckBox* m_ownQuality;
    QSpinBox* m_quality;
    QCheckBox* m_split;
    QSpinBox* m_chunk; ///< frames
    QLabel *m_about, *m_status;
    QPushButton* m_export;
    QString m_ending; ///< whose encoders are listed
};

} // namespace larkmoor
