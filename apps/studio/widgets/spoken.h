// Controls that draw themselves, for those who do not see them.
#pragma once

#include <utility>

#include <QAccessible>
#include <QWidget>

namespace larkmoor {

/// What is told of a control.
struct Spoken {
    QAccessible::Role role = QAccessible::Slider;
    QString value;
    int position = 0, least = 0, most = 0; ///< an empty range for what is no number
};

/// A widget that is told of; its accessible name is what it is called.
class SpokenWidget : public QWidget {
  public:
    explicit SpokenWidget(QWidget* parent = nullptr);
    ~SpokenWidget() override;

    virtual Spoken spoken() const = 0;
    /// To a position of its range, as by the user.
    virtual void moveTo(int) {}

    /// Who is told of a new value: the toolkit, which tells a bus that somebody listens to.
    static inline void (*listener)(QAccessibleEvent*) = &QAccessible::updateAccessibility;

  protected:
    /// To be called when the value may be another.
    void tellValue();

  private:
    std::pair<QString, int> m_told;
};

} // namespace larkmoor
