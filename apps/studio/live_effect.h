// The selected effect as an object with its page.
#pragma once

#include <QObject>

#include "host/module.h"
#include "platform/page.h"

namespace larkmoor {

/// An effect object that a page works on. It tells when its record changed, whoever changed it.
class LiveEffect : public QObject {
    Q_OBJECT

  public:
    LiveEffect(const Module& module, const EffectInfo& info, std::span<const std::byte> record,
               QObject* parent = nullptr);
    ~LiveEffect() override;

    const EffectInfo& info() const { return m_effect.info(); }
    std::vector<std::byte> record() const { return m_effect.record(); }
    /// From outside: the page shows it, and nothing is told.
    void setRecord(std::span<const std::byte> record);
    /// The persisted form.
    std::vector<std::byte> state() const { return m_effect.saveState(); }

    /// Its page with this object set; null where the class has none.
    CComPtr<IPropertyPage> page();

  signals:
    /// The record differs from the one last set or told. On the GUI thread.
    void recordChanged();

  private:
    class Sink;
    void check();

    const Module& m_module;
    Effect m_effect;
    std::vector<std::byte> m_known;
    CComPtr<Sink> m_sink;
    CComPtr<IPropertyPage> m_page;
    bool m_checking = false;
};

} // namespace larkmoor
