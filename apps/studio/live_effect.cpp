#include "live_effect.h"

#include <cstdlib>

#include "host/object.h"
#include "text.h"

namespace larkmoor {

/// Hears of every change of the record, right after it.
class LiveEffect::Sink : public ObjectOf<IKwParamSink> {
  public:
    explicit Sink(LiveEffect& owner) : m_owner(&owner) {}
    void forget() { m_owner = nullptr; }
    HRESULT OnParamsChanged() override {
        if (m_owner) m_owner->check();
        return S_OK;
    }

  private:
    LiveEffect* m_owner;
};

LiveEffect::LiveEffect(const Module& module, const EffectInfo& info, std::span<const std::byte> record, QObject* parent)
    : QObject(parent), m_module(module), m_effect(module.create(info)), m_sink(makeObject<Sink>(*this)) {
    m_effect.setRecord(record);
    m_known = m_effect.record();
    if (const auto ramp = KwQuery<IKwParamRamp>(m_effect.object())) ramp->SetParamSink(m_sink.Get());
}

LiveEffect::~LiveEffect() {
    m_sink->forget();
    if (const auto ramp = KwQuery<IKwParamRamp>(m_effect.object())) ramp->SetParamSink(nullptr);
}

void LiveEffect::setRecord(std::span<const std::byte> record) {
    if (std::ranges::equal(record, m_known)) return;
    m_checking = true;
    m_effect.setRecord(record);
    m_checking = false;
    m_known = m_effect.record();
    if (const auto model = KwQuery<IKwPage>(m_page.Get()))
        model->SendPage(WM_COMMAND, static_cast<std::uintptr_t>(kPageRefresh), 0, nullptr);
}

CComPtr<IPropertyPage> LiveEffect::page() {
    if (m_page) return m_page;
    const auto pages = KwQuery<ISpecifyPropertyPages>(m_effect.object());
    CAUUID ids{};
    if (!pages || FAILED(pages->GetPages(&ids)) || ids.cElems == 0) return nullptr;
    const CLSID clsid = ids.pElems[0];
    std::free(ids.pElems);
    m_page = KwQuery<IPropertyPage>(m_module.createObject(clsid).Get());
    IUnknown* object = m_effect.object();
    const HRESULT status = m_page ? m_page->SetObjects(1, &object) : E_NOINTERFACE;
    if (FAILED(status))
        throw StatusError(tr("The settings page of %1 cannot be opened.").arg(text(info().name)).toStdString(), status);
    return m_page;
}

void LiveEffect::check() {
    if (m_checking) return;
    m_checking = true;
    std::vector<std::byte> now = m_effect.record();
    m_checking = false;
    if (now == m_known) return;
    m_known = std::move(now);
    emit recordChanged();
}

} // namespace larkmoor
