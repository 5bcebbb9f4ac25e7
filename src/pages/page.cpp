#include "pages/page.h"

#include <cstdlib>
#include <new>

#include "pages/dialog_size.h"
#include "platform/effect.h"
#include "support/messages.h"
#include "support/value_format.h"

namespace {

constexpr LONG kExStyle = -20;            // GWL_EXSTYLE
constexpr DWORD kControlParent = 0x10000; // WS_EX_CONTROLPARENT
constexpr HRESULT kNoHelp = KwStatus(0x8004E046);

/// What WM_STYLECHANGING points to.
struct tStyleChange {
    DWORD oldStyle, newStyle;
};

/// A text of the platform's own memory, the receiver's to free; null where that is short. ASCII only.
OLECHAR* NewText(std::string_view text) {
    auto* const copy = static_cast<OLECHAR*>(std::calloc(text.size() + 1, sizeof(OLECHAR)));
    if (copy) std::copy(text.begin(), text.end(), copy);
    return copy;
}

/// Short memory of the effect is that of the page; what else an effect refuses, it has no page for.
void Demand(HRESULT status) {
    if (status == E_OUTOFMEMORY) throw std::bad_alloc();
}

} // namespace

/// The effect's own dual interface, taken for one use.
class CPropPageBase::CEffectLink {
  public:
    explicit CEffectLink(const CPropPageBase& page) {
        if (page.m_objects.empty()) return;
        IUnknown* const object = page.m_objects.front().Get();
        if (page.m_class.kind == 0)
            m_generator = Received<IKwGenerator>(object, page.m_class.iid);
        else
            m_effect = Received<IKwEffect>(object, page.m_class.iid);
    }
    explicit operator bool() const { return m_effect || m_generator; }
    HRESULT get_all(void* record, LONG size) {
        return m_effect ? m_effect->get_all(record, size) : m_generator ? m_generator->get_all(record, size) : E_FAIL;
    }
    HRESULT put_all(void* record, LONG size) {
        return m_effect ? m_effect->put_all(record, size) : m_generator ? m_generator->put_all(record, size) : E_FAIL;
    }
    HRESULT put_NotifyWindow(HWND window, UINT id) {
        return m_effect      ? m_effect->put_NotifyWindow(window, id)
               : m_generator ? m_generator->put_NotifyWindow(window, id)
                             : E_FAIL;
    }

  private:
    template <class T>
    static CComPtr<T> Received(IUnknown* object, const IID& iid) {
        return KwReceived<T>([&](void** out) { return object->QueryInterface(&iid, out); });
    }
    CComPtr<IKwEffect> m_effect;
    CComPtr<IKwGenerator> m_generator;
};

/// Keeps the page and its controls while one of its calls runs, whatever the toolkit does within a notice.
class CPropPageBase::CBusy {
  public:
    explicit CBusy(CPropPageBase& page) : m_self(page.Outer()), m_count(page.m_busy) { ++m_count; }
    CBusy(const CBusy&) = delete;
    CBusy& operator=(const CBusy&) = delete;
    ~CBusy() { --m_count; }

  private:
    const CComPtr<IUnknown> m_self;
    LONG& m_count;
};

CPropPageBase::CPropPageBase(const tObjectMapRow& row, IUnknown* outer, const tPageInfo& info)
    : CAggregable(outer), m_row(row), m_info(info) {}

CPropPageBase::~CPropPageBase() {
    if (m_open) OnDestroy();
}

void* CPropPageBase::FindInterface(const IID& iid) noexcept {
    if (iid == IPropertyPage::iid) return static_cast<IPropertyPage*>(this);
    if (iid == IKwPage::iid) return static_cast<IKwPage*>(this);
    return nullptr;
}

// --- the host's side

HRESULT CPropPageBase::SetPageSite(IUnknown* site) {
    return KwGuarded([&] { m_pPageSite = site; });
}

HRESULT CPropPageBase::Activate(HWND parent, const RECT* place, BOOL) {
    return KwGuarded([&] {
        if (m_open || m_busy || !CEffectLink(*this)) return E_UNEXPECTED;
        const CBusy busy(*this);
        if (place) Move(place);
        return OnInitDialog(parent);
    });
}

HRESULT CPropPageBase::Deactivate() {
    return KwGuarded([&] {
        if (!m_open) return E_UNEXPECTED;
        OnDestroy();
        return S_OK;
    });
}

HRESULT CPropPageBase::GetPageInfo(PROPPAGEINFO* info) {
    if (!info) return E_POINTER;
    return KwGuarded([&] {
        info->pszTitle = NewText(m_info.title);
        info->size = GetDialogSize(m_info.size, nullptr);
        info->pszDocString = nullptr;
        info->pszHelpFile = nullptr;
        info->dwHelpContext = static_cast<DWORD>(m_info.helpTopic);
        return info->pszTitle ? S_OK : E_OUTOFMEMORY;
    });
}

HRESULT CPropPageBase::SetObjects(ULONG count, IUnknown** objects) {
    if (count > 0 && !objects) return E_POINTER;
    return KwGuarded([&]() -> HRESULT {
        if (m_busy) return E_UNEXPECTED;
        const CBusy busy(*this);
        std::vector<CComPtr<IUnknown>> taken;
        tClassInfo info{};
        std::vector<tFieldInfo> fields;
        if (count > 0) {
            taken.assign(objects, objects + count);
            const auto known = KwQuery<IKwParamInfo>(taken.front().Get());
            if (!known || FAILED(known->GetClassInfo(&info, sizeof info)) || !(info.clsid == KwMateOf(m_row)->clsid))
                return E_NOINTERFACE;
            for (LONG i = 0; i < info.fieldCount; ++i) {
                fields.emplace_back();
                known->GetField(i, &fields.back(), sizeof(tFieldInfo));
            }
        }
        const bool open = m_open;
        const HWND window = m_hWnd;
        if (open) OnDestroy();
        m_controls.clear();
        m_objects.clear();
        if (taken.empty()) return S_OK;
        m_class = info;
        m_fields = std::move(fields);
        m_Params.assign(static_cast<std::size_t>(info.recordSize), std::byte{});
        m_objects = std::move(taken);
        HRESULT status = KwGuarded([&] { MakeControls(); });
        if (SUCCEEDED(status) && open) status = OnInitDialog(window);
        if (FAILED(status)) { // a page with some of its controls is none
            m_controls.clear();
            m_objects.clear();
        }
        return status;
    });
}

HRESULT CPropPageBase::Show(UINT) {
    return S_OK;
}

HRESULT CPropPageBase::Move(const RECT* place) {
    if (!place) return E_POINTER;
    m_pixels = {KwWrap32(std::int64_t{place->right} - place->left), KwWrap32(std::int64_t{place->bottom} - place->top)};
    return S_OK;
}

HRESULT CPropPageBase::IsPageDirty() {
    return m_bDirty ? S_OK : S_FALSE;
}

HRESULT CPropPageBase::Apply() {
    return KwGuarded([&] {
        const CBusy busy(*this);
        if (m_open) ApplyChanges();
        return m_open ? S_OK : E_UNEXPECTED;
    });
}

HRESULT CPropPageBase::Help(const OLECHAR*) {
    return KwGuarded([&] { return ShowHelp(); });
}

HRESULT CPropPageBase::TranslateAccelerator(MSG*) {
    return S_FALSE; // the toolkit's keys come as events
}

// --- the toolkit's side

HRESULT CPropPageBase::SetPageSink(IKwPageSink* sink) {
    return KwGuarded([&] { m_sink = sink; });
}

HRESULT CPropPageBase::GetDialog(SIZE* size, const char** title) {
    if (!size) return E_POINTER;
    *size = m_info.size;
    if (title) *title = m_info.title;
    return S_OK;
}

HRESULT CPropPageBase::GetControl(LONG index, tPageControl* out, ULONG size) {
    if (!out) return E_POINTER;
    if (index < 0 || static_cast<std::size_t>(index) >= m_controls.size()) return E_INVALIDARG;
    return KwGuarded([&] { return Describe(m_controls[static_cast<std::size_t>(index)], out, size); });
}

HRESULT CPropPageBase::FindControl(LONG id, tPageControl* out, ULONG size) {
    if (!out) return E_POINTER;
    return KwGuarded([&] {
        const tBound* const bound = Find(id);
        return bound ? Describe(*bound, out, size) : E_INVALIDARG;
    });
}

HRESULT CPropPageBase::GetItem(LONG id, LONG index, const char** text) {
    if (!text) return E_POINTER;
    return KwGuarded([&] {
        const tBound* const bound = Find(id);
        *text = bound ? bound->control->Item(index) : nullptr;
        return *text ? S_OK : E_INVALIDARG;
    });
}

HRESULT CPropPageBase::GetDetail(LONG id, void* out, ULONG size) {
    return KwGuarded([&] {
        const tBound* const bound = Find(id);
        return bound ? bound->control->Detail(out, size) : E_INVALIDARG;
    });
}

HRESULT CPropPageBase::PaintPart(LONG id, LONG part, void* bits, LONG width, LONG height, LONG pitch) {
    return KwGuarded([&] {
        const tBound* const bound = Find(id);
        return bound ? bound->control->Paint(part, bits, width, height, pitch) : E_INVALIDARG;
    });
}

HRESULT CPropPageBase::GetMenuItem(LONG control, LONG index, tPageMenuItem* out, ULONG size) {
    if (!out) return E_POINTER;
    return KwGuarded([&]() -> HRESULT {
        tPageMenuItem item{};
        if (control != 0) {
            const tBound* const bound = Find(control);
            const HRESULT status = bound ? bound->control->MenuItem(index, item) : E_INVALIDARG;
            if (FAILED(status)) return status;
        } else {
            if (index == 0) MakeMenu();
            if (index < 0 || static_cast<std::size_t>(index) >= m_menu.size()) return E_INVALIDARG;
            const tMenuRow& row = m_menu[static_cast<std::size_t>(index)];
            item = row.item;
            item.text = row.text.c_str();
        }
        std::memcpy(out, &item, std::min<std::size_t>(size, sizeof item));
        return S_OK;
    });
}

HRESULT CPropPageBase::SendEvent(LONG id, const tPageEvent* event) {
    if (!event) return E_POINTER;
    return KwGuarded([&]() -> HRESULT {
        tBound* const bound = Find(id);
        if (!bound || !m_open) return E_INVALIDARG;
        if (m_busy >= kDeepest) return E_UNEXPECTED;
        const CBusy busy(*this);
        if (!bound->enabled && event->kind != KWEVENT_SIZE && event->kind != KWEVENT_TIMER &&
            event->kind != KWEVENT_CANCEL)
            return S_FALSE;
        // A spinner looks at its edit's keys and focus first.
        for (tBound& other : m_controls) {
            if (other.item->kind != KWCONTROL_SPINNER || other.item->buddy != id) continue;
            auto& spinner = static_cast<CSpinner&>(*other.control);
            if (event->kind == KWEVENT_FOCUS || event->kind == KWEVENT_BLUR)
                spinner.BuddyFocus(event->kind == KWEVENT_FOCUS);
            else if ((event->kind == KWEVENT_KEY || event->kind == KWEVENT_KEY_UP) && spinner.BuddyKey(*event) == S_OK)
                return S_OK;
        }
        return bound->control->Event(*event);
    });
}

HRESULT CPropPageBase::SendControl(LONG id, UINT message, std::uintptr_t wParam, std::intptr_t lParam,
                                   std::intptr_t* result) {
    return KwGuarded([&]() -> HRESULT {
        tBound* const bound = Find(id);
        if (!bound) return E_INVALIDARG;
        if (m_busy >= kDeepest) return E_UNEXPECTED;
        const CBusy busy(*this);
        const std::intptr_t answer = bound->control->Message(message, wParam, lParam);
        if (result) *result = answer;
        return S_OK;
    });
}

HRESULT CPropPageBase::SendPage(UINT message, std::uintptr_t wParam, std::intptr_t lParam, std::intptr_t* result) {
    return KwGuarded([&]() -> HRESULT {
        if (!m_open || m_busy >= kDeepest) return E_UNEXPECTED;
        const CBusy busy(*this);
        const std::intptr_t answer = OnDialog(message, wParam, lParam);
        if (result) *result = answer;
        return S_OK;
    });
}

// --- the dialog

HRESULT CPropPageBase::OnInitDialog(HWND window) {
    m_open = true;
    m_hWnd = window;
    const HRESULT status = KwGuarded([&] {
        UpdatePage();
        CEffectLink(*this).put_NotifyWindow(window, static_cast<UINT>(kPageRefresh));
    });
    if (FAILED(status)) OnDestroy();
    return status;
}

void CPropPageBase::OnDestroy() {
    CEffectLink(*this).put_NotifyWindow(nullptr, 0);
    m_open = false;
    m_hWnd = nullptr;
}

std::intptr_t CPropPageBase::OnDialog(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (message) {
    case WM_COMMAND:
        OnCommand(static_cast<LONG>(wParam & 0xFFFF), static_cast<UINT>(wParam >> 16 & 0xFFFF));
        return 0;
    case WM_DESTROY:
        OnDestroy();
        return 0;
    case WM_HELP:
        ShowHelp();
        return 1;
    case WM_CONTEXTMENU:
        ShowPageMenu(static_cast<std::int16_t>(lParam & 0xFFFF), static_cast<std::int16_t>(lParam >> 16 & 0xFFFF));
        return 0;
    case WM_STYLECHANGING:
        if (static_cast<LONG>(wParam) != kExStyle) return 1;
        if (lParam) reinterpret_cast<tStyleChange*>(lParam)->newStyle |= kControlParent;
        return 0;
    default:
        return 0;
    }
}

std::intptr_t CPropPageBase::OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam,
                                              std::intptr_t lParam) {
    if (!m_open) return 0;
    tBound* const bound = Find(from.Id());
    if (!bound) return 0;
    switch (message) {
    case WM_HSCROLL:
        OnHScroll(*bound, static_cast<LONG>(wParam & 0xFFFF));
        break;
    case WM_COMMAND:
        OnCommand(static_cast<LONG>(wParam & 0xFFFF), static_cast<UINT>(wParam >> 16 & 0xFFFF));
        break;
    case WM_NOTIFY:
        if (bound->item->kind != KWCONTROL_PLACEMENT) break;
        if (const LONG code = reinterpret_cast<const tPlacementNotice*>(lParam)->code;
            code == KWPLACEMENT_MOVED || code == KWPLACEMENT_RESET)
            OnPlacement(*bound);
        break;
    default:
        break;
    }
    return 0;
}

void CPropPageBase::OnControlNotice(const tPageNotice& notice) {
    Notify(notice.code, notice.control, notice.x, notice.y);
}

HRESULT CPropPageBase::Notify(LONG code, LONG control, LONG x, LONG y) {
    const tPageNotice notice{code, control, x, y};
    const CComPtr<IKwPageSink> sink = m_sink; // which may be taken away within its call
    return sink ? sink->OnPageNotice(&notice) : E_FAIL;
}

void CPropPageBase::OnCommand(LONG id, UINT notification) {
    if (id >= kPagePresetFirst && id <= kPagePresetLast) {
        if (const auto presets = KwQuery<IKwPresets>(m_objects.front().Get()))
            Demand(presets->Apply(id - kPagePresetFirst));
        Notify(KWNOTICE_SETTLED);
        return;
    }
    switch (id) {
    case kPageHelp:
        ShowHelp();
        return;
    case kPageAbout:
        ShowAbout();
        return;
    case kPageRefresh:
        UpdatePage();
        return;
    default:
        break;
    }
    tBound* const bound = Find(id);
    if (!bound || OnControl(id, notification)) return;
    const tFieldInfo* const field = Field(*bound->item);
    switch (bound->item->kind) {
    case KWCONTROL_EDIT:
        if (notification == EN_KILLFOCUS && field) OnEdit(*bound);
        return;
    case KWCONTROL_CHECK:
        if (!field) return;
        SetNumber(*field, static_cast<CCheck&>(*bound->control).IsChecked() ? 1 : 0);
        break;
    case KWCONTROL_RADIO:
        if (!field) return;
        SetNumber(*field, bound->item->value);
        break;
    case KWCONTROL_LIST:
        if (notification != CBN_SELCHANGE || !field) return;
        SetNumber(*field, static_cast<CList&>(*bound->control).SelectedData(KwTrunc(Number(*field))));
        break;
    case KWCONTROL_COLOR:
        OnColor(*bound);
        return;
    default:
        return;
    }
    ApplyChanges();
    ShowRecord();
}

// --- the effect

void CPropPageBase::UpdatePage() {
    Demand(CEffectLink(*this).get_all(m_Params.data(), m_class.recordSize));
    ShowRecord();
}

void CPropPageBase::ApplyChanges() {
    m_bDirty = true;
    Demand(CEffectLink(*this).put_all(m_Params.data(), m_class.recordSize));
    m_bDirty = false;
    Notify(KWNOTICE_APPLIED);
}

// --- help, About, menu

HRESULT CPropPageBase::ShowHelp() {
    return SUCCEEDED(Notify(KWNOTICE_HELP, 0, m_info.helpTopic)) ? S_OK : kNoHelp;
}

void CPropPageBase::ShowAbout() {
    const std::string text = FormatText("%s\n\nOne of Larkmoor's video effects.", m_class.description);
    ShowMessage(m_hWnd, text.c_str(), "About", MB_OK | MB_ICONASTERISK);
}

void CPropPageBase::ShowPageMenu(LONG x, LONG y) {
    if (x < 0 || y < 0) {
        const SIZE size = m_pixels.cx > 0 && m_pixels.cy > 0 ? m_pixels : GetDialogSize(m_info.size, nullptr);
        x = size.cx / 2;
        y = size.cy / 4;
    }
    Notify(KWNOTICE_MENU, 0, x, y);
}
