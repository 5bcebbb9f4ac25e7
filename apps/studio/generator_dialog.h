// Which generator to begin with, and what its pictures are.
#pragma once

#include <QComboBox>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QSpinBox>

#include "project.h"

namespace larkmoor {

class GeneratorDialog : public QDialog {
    Q_OBJECT

  public:
    explicit GeneratorDialog(const Module& module, QWidget* parent = nullptr);

    /// Shows what is to be changed.
    void show(const ProjectGenerator& source);
    using QDialog::show;

    const EffectInfo& generator() const;
    QSize size() const { return {m_width->value(), m_height->value()}; }
    /// Throws UsageError.
    AVRational rate() const;
    double seconds() const { return m_seconds->value(); }

  private:
    const Module& m_module;
    QComboBox *m_kind, *m_rate;
    QSpinBox *m_width, *m_height;
    QDoubleSpinBox* m_seconds;
};

/// A rate as people type it, with either decimal mark. Throws UsageError.
AVRational typedRate(const QString& text);

} // namespace larkmoor
