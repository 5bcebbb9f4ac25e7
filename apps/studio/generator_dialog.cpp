#include "generator_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>

#include "page/typed_number.h"
#include "requests.h"
#include "widgets/number_box.h"

namespace larkmoor {

GeneratorDialog::GeneratorDialog(const Module& module, QWidget* parent)
    : QDialog(parent), m_module(module), m_kind(new QComboBox), m_rate(new QComboBox), m_width(new QSpinBox),
      m_height(new QSpinBox), m_seconds(new NumberBox) {
    setWindowTitle(tr("New from a generator"));
    for (const EffectInfo& info : module.effects())
        if (info.kind == EffectKind::Generator)
            m_kind->addItem(QString::fromStdString(info.name), QString::fromStdString(info.className));
    m_rate->setEditable(true);
    m_rate->addItems({"25", "24", "30000/1001", "30", "50", "60"});
    for (QSpinBox* each : {m_width, m_height}) each->setRange(1, 16384);
    m_width->setValue(1920);
    m_height->setValue(1080);
    m_seconds->setRange(0.04, 36000);
    m_seconds->setValue(5);
    m_seconds->setSuffix(tr(" s"));
    auto* const size = new QHBoxLayout;
    size->addWidget(m_width);
    size->addWidget(new QLabel(QStringLiteral("×")));
    size->addWidget(m_height);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    auto* const form = new QFormLayout(this);
    form->addRow(tr("&Generator:"), m_kind);
    auto* const sizeLabel = new QLabel(tr("&Size:")); // a row of several has no buddy of its own
    sizeLabel->setBuddy(m_width);
    form->addRow(sizeLabel, size);
    form->addRow(tr("&Frames a second:"), m_rate);
    form->addRow(tr("&Duration:"), m_seconds);
    form->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

void GeneratorDialog::show(const ProjectGenerator& source) {
    setWindowTitle(tr("Source"));
    m_kind->setCurrentIndex(m_kind->findData(QString::fromStdString(source.generator.info->className)));
    m_width->setValue(source.width);
    m_height->setValue(source.height);
    m_rate->setCurrentText(source.rate.den == 1 ? QString::number(source.rate.num)
                                                : QStringLiteral("%1/%2").arg(source.rate.num).arg(source.rate.den));
    m_seconds->setValue(source.duration);
}

const EffectInfo& GeneratorDialog::generator() const {
    return m_module.find(m_kind->currentData().toString().toStdString());
}

AVRational typedRate(const QString& text) {
    return parseRate(inOwnStyle(text.trimmed(), '.').toStdString());
}

AVRational GeneratorDialog::rate() const {
    return typedRate(m_rate->currentText());
}

} // namespace larkmoor
