// A field for seconds that takes either decimal mark.
#pragma once

#include <QDoubleSpinBox>

#include "page/typed_number.h"

namespace larkmoor {

class NumberBox : public QDoubleSpinBox {
  public:
    using QDoubleSpinBox::QDoubleSpinBox;

  protected:
    double valueFromText(const QString& text) const override { return QDoubleSpinBox::valueFromText(own(text)); }
    QValidator::State validate(QString& text, int& position) const override {
        QString read = own(text);
        return QDoubleSpinBox::validate(read, position);
    }

  private:
    QString own(const QString& text) const { return inOwnStyle(text, locale().decimalPoint().at(0)); }
};

} // namespace larkmoor
