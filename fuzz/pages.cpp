// Settings pages under the events of people, toolkits and hostile ones, whose sink may call back from any notice.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <string>

#include "host/object.h"
#include "platform/page.h"
#include "target.h"

using namespace larkmoor;
using namespace larkmoor::fuzz;

namespace {

class Toolkit;

/// Answers notices with events of its own, up to a depth.
class Sink final : public ObjectOf<IKwPageSink> {
  public:
    Toolkit* toolkit = nullptr;
    HRESULT OnPageNotice(const tPageNotice* notice) override;
};

class Toolkit {
  public:
    Toolkit(const Subject& subject, const CLSID& page, FuzzedDataProvider& in)
        : m_in(in), m_object(module().create(page)), m_page(KwQuery<IPropertyPage>(m_object.Get())),
          m_model(KwQuery<IKwPage>(m_object.Get())) {
        IUnknown* objects[] = {subject.object()};
        require(m_page && m_model && m_page->SetObjects(1, objects) == S_OK);
        m_sink->toolkit = this;
        m_model->SetPageSink(m_sink.Get());
        m_page->Activate(&m_window, nullptr, FALSE);
        tPageControl control{};
        for (LONG i = 0; m_model->GetControl(i, &control, sizeof control) == S_OK; ++i)
            if (control.id != kPageLogo) m_controls.push_back({control.id, control.kind}); // that one opens a browser
    }
    ~Toolkit() {
        m_sink->toolkit = nullptr;
        settle();
        m_model->SetPageSink(nullptr);
        m_page->Deactivate();
    }

    /// Whatever the numbers of an event are, it costs a step or two of the page, as do those that answer its notices:
    /// each applies the record and shows it.
    void event() {
        m_acts = m_notices = m_applied = 0;
        act();
        require(m_applied <= 2 * m_acts);
        require(m_notices <= (2 * m_controls.size() + 8) * m_acts);
    }

    void act() {
        if (m_controls.empty()) return;
        ++m_acts;
        const auto& [id, kind] = m_controls[m_in.ConsumeIntegralInRange<std::size_t>(0, m_controls.size() - 1)];
        switch (m_in.ConsumeIntegralInRange(0, 11)) {
        case 0:
            return message(id, kind);
        case 1:
            m_model->SendPage(m_in.ConsumeBool() ? WM_COMMAND : m_in.ConsumeIntegral<UINT>(), word(), 0, nullptr);
            return;
        case 2:
            for (const auto& message : m_window.take()) {
                ++m_acts;
                m_model->SendPage(message.message, message.wParam, message.lParam, nullptr);
            }
            return;
        case 3:
            return look(id, kind);
        default: {
            const std::string text = m_in.ConsumeRandomLengthString(16);
            const tPageEvent event{m_in.ConsumeIntegralInRange<LONG>(0, 18),
                                   value(),
                                   value(),
                                   value(),
                                   m_in.ConsumeIntegralInRange<ULONG>(0, 3),
                                   m_in.ConsumeIntegralInRange<LONG>(0, 14),
                                   text.c_str()};
            m_model->SendEvent(id, &event);
        }
        }
    }

    void answer(const tPageNotice& notice) {
        constexpr int deepest = 3;
        ++m_notices;
        m_applied += notice.code == KWNOTICE_APPLIED;
        if (m_depth >= deepest || m_in.remaining_bytes() == 0 || m_in.ConsumeIntegral<std::uint8_t>() % 4 != 0) return;
        ++m_depth;
        if (m_in.ConsumeIntegral<std::uint8_t>() % 16 == 0) {
            ++m_acts;
            m_page->Deactivate();
        } else {
            act();
        }
        --m_depth;
    }

  private:
    LONG value() {
        return m_in.ConsumeIntegral<std::uint8_t>() % 4 ? m_in.ConsumeIntegralInRange<LONG>(-20, 400)
                                                        : m_in.ConsumeIntegral<LONG>();
    }
    /// A preset, a command of the page or of a control.
    std::uintptr_t word() {
        const LONG presets = kPagePresetFirst + m_in.ConsumeIntegralInRange<LONG>(0, 40);
        const LONG commands[] = {presets,
                                 kPageRefresh,
                                 kPageHelp,
                                 m_controls.front().first,
                                 m_controls.back().first,
                                 m_in.ConsumeIntegral<LONG>()};
        return static_cast<std::uintptr_t>(m_in.PickValueInArray(commands));
    }
    void message(LONG id, LONG kind) {
        std::array<float, 4> color;
        for (float& c : color) c = static_cast<float>(number(m_in, 0, 1));
        tPlacementHandle handle;
        handle.x = number(m_in, 0, 1);
        handle.y = number(m_in, 0, 1);
        std::intptr_t result = 0;
        const auto send = [&](UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
            m_model->SendControl(id, message, wParam, lParam, &result);
        };
        if (kind == KWCONTROL_COLOR)
            send(m_in.ConsumeBool() ? 1795 : 1794, 0, reinterpret_cast<std::intptr_t>(color.data()));
        else if (kind == KWCONTROL_PLACEMENT && m_in.ConsumeBool())
            send(m_in.ConsumeBool() ? KWHANDLE_SET : KWHANDLE_ADD, m_in.ConsumeIntegralInRange<std::uintptr_t>(0, 4),
                 reinterpret_cast<std::intptr_t>(&handle));
        else if (kind == KWCONTROL_PLACEMENT)
            send(m_in.ConsumeIntegralInRange<UINT>(KWHANDLE_REMOVE, KWHANDLE_STEP_Y),
                 m_in.ConsumeIntegralInRange<std::uintptr_t>(0, 300), 0);
        else if (kind == KWCONTROL_TRACKBAR || kind == KWCONTROL_SPINNER)
            send(m_in.ConsumeIntegralInRange<UINT>(1546, 1578), m_in.ConsumeIntegralInRange<std::uintptr_t>(0, 2),
                 m_in.ConsumeIntegral<std::intptr_t>());
    }
    /// What a toolkit asks before it draws.
    void look(LONG id, LONG kind) {
        tPageControl control{};
        const char* text = nullptr;
        tPageMenuItem item{};
        require(m_model->FindControl(id, &control, sizeof control) == S_OK);
        if (control.text) require(std::string(control.text).size() < 100000);
        requireSane(control);
        m_model->GetItem(id, m_in.ConsumeIntegralInRange<LONG>(-1, 30), &text);
        m_model->GetMenuItem(id, m_in.ConsumeIntegralInRange<LONG>(-1, 30), &item, sizeof item);
        std::array<std::byte, 1024> detail;
        m_model->GetDetail(id, detail.data(), m_in.ConsumeIntegralInRange<ULONG>(0, detail.size()));
        if (kind != KWCONTROL_COLOR) return;
        const LONG width = m_in.ConsumeIntegralInRange<LONG>(-1, 30),
                   height = m_in.ConsumeIntegralInRange<LONG>(-1, 20);
        std::vector<std::byte> bits(static_cast<std::size_t>(std::max<LONG>(width, 1) * std::max<LONG>(height, 1) * 4));
        m_model->PaintPart(id, m_in.ConsumeIntegralInRange<LONG>(-1, 15), bits.data(), width, height,
                           std::max<LONG>(width, 1) * 4);
    }

    /// What holds of a control at any time.
    void requireSane(const tPageControl& control) {
        const auto share = [](double value) { return value >= 0 && value <= 1; };
        tTrackbarDetail bar{};
        tColorPickDetail color{};
        tPlacementHandle handle;
        switch (control.kind) {
        case KWCONTROL_TRACKBAR:
            m_model->GetDetail(control.id, &bar, sizeof bar);
            require(0 <= bar.thumb.left && bar.thumb.left <= bar.thumb.right);
            [[fallthrough]];
        case KWCONTROL_SPINNER:
            require(control.mark == std::clamp(control.mark, std::min(control.minimum, control.maximum),
                                               std::max(control.minimum, control.maximum)));
            break;
        case KWCONTROL_COLOR:
            m_model->GetDetail(control.id, &color, sizeof color);
            require(std::all_of(color.color, color.color + 4, share));
            require(std::all_of(color.corrected, color.corrected + 4, share));
            require((color.hue == -1 || share(color.hue)) && share(color.saturation) && share(color.luminance));
            require(color.tip);
            break;
        case KWCONTROL_PLACEMENT:
            m_model->SendControl(control.id, KWHANDLE_GET, 0, reinterpret_cast<std::intptr_t>(&handle), nullptr);
            require(std::fabs(handle.x) <= 1000 && std::fabs(handle.y) <= 1000);
            break;
        default:
            break;
        }
    }
    /// Nothing runs on once all has been given up.
    void settle() {
        m_page->Activate(&m_window, nullptr, FALSE); // it may have been left
        const tPageEvent cancel{.kind = KWEVENT_CANCEL}, timer{.kind = KWEVENT_TIMER, .value = 1};
        for (const auto& [id, kind] : m_controls) m_model->SendEvent(id, &cancel);
        for (const auto& [id, kind] : m_controls) {
            tTrackbarDetail bar{};
            if (kind != KWCONTROL_TRACKBAR || m_model->GetDetail(id, &bar, sizeof bar) != S_OK) continue;
            require(!bar.tracking && m_model->SendEvent(id, &timer) != S_OK);
        }
    }

    FuzzedDataProvider& m_in;
    MessageQueue m_window;
    CComPtr<IUnknown> m_object;
    CComPtr<IPropertyPage> m_page;
    CComPtr<IKwPage> m_model;
    CComPtr<Sink> m_sink = makeObject<Sink>();
    std::vector<std::pair<LONG, LONG>> m_controls; ///< id and kind
    int m_depth = 0;
    std::size_t m_acts = 0, m_notices = 0, m_applied = 0; ///< of one event and those that answer it
};

HRESULT Sink::OnPageNotice(const tPageNotice* notice) {
    if (toolkit) toolkit->answer(*notice);
    return S_OK;
}

/// The page class of an effect, or null ids.
CLSID pageOf(const Subject& subject) {
    CLSID found{};
    CAUUID pages{};
    const auto named = subject.face<ISpecifyPropertyPages>();
    if (named && SUCCEEDED(named->GetPages(&pages)) && pages.cElems > 0) found = pages.pElems[0];
    std::free(pages.pElems);
    return found;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    const Subject subject(module(), pickEffect(in).clsid);
    const CLSID page = pageOf(subject);
    if (page == CLSID{}) return 0;
    if (in.ConsumeBool()) subject.setRecord(recordByFields(subject, in));
    Toolkit toolkit(subject, page, in);
    for (int events = 0; events < 200 && in.remaining_bytes() > 0; ++events) toolkit.event();
    return 0;
}
