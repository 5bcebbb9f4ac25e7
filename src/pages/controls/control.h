// What all controls of a page have in common. A control is logic alone: it is driven by messages and events, and says
// what changed to its owner.
#pragma once

#include <algorithm>

#include "platform/page.h"

class CPageControl;

/// The window that a control stands in.
class IControlOwner {
  public:
    /// A message from a control: WM_HSCROLL with a scroll code, WM_COMMAND with the id and a notification in the high
    /// word, WM_NOTIFY with a block at `lParam`.
    virtual std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam,
                                           std::intptr_t lParam) = 0;
    /// Something for the toolkit.
    virtual void OnControlNotice(const tPageNotice& notice) = 0;

  protected:
    ~IControlOwner() = default;
};

class CPageControl {
  public:
    CPageControl(IControlOwner& owner, LONG id) : m_owner(owner), m_id(id) {}
    CPageControl(const CPageControl&) = delete;
    CPageControl& operator=(const CPageControl&) = delete;
    virtual ~CPageControl() = default;

    LONG Id() const { return m_id; }

    /// The control's private messages; 0 for one that it does not know.
    virtual std::intptr_t Message(UINT /*message*/, std::uintptr_t /*wParam*/, std::intptr_t /*lParam*/) { return 0; }
    /// S_FALSE for what the control has no use for.
    virtual HRESULT Event(const tPageEvent& /*event*/) { return S_FALSE; }
    /// Fills value, range, text and the like; id, kind, place and help are the page's.
    virtual void Describe(tPageControl& /*out*/) const {}
    virtual HRESULT Detail(void* /*out*/, ULONG /*size*/) const { return E_NOTIMPL; }
    virtual HRESULT Paint(LONG /*part*/, void* /*bits*/, LONG /*width*/, LONG /*height*/, LONG /*pitch*/) const {
        return E_NOTIMPL;
    }
    /// The rows of its menu; E_INVALIDARG behind the last.
    virtual HRESULT MenuItem(LONG /*index*/, tPageMenuItem& /*out*/) const { return E_INVALIDARG; }
    virtual LONG ItemCount() const { return 0; }
    virtual const char* Item(LONG /*index*/) const { return nullptr; }

  protected:
    std::intptr_t SendToOwner(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
        return m_owner.OnControlMessage(*this, message, wParam, lParam);
    }
    /// WM_COMMAND with the control's id and a notification.
    void Command(UINT notification) {
        SendToOwner(WM_COMMAND, static_cast<std::uintptr_t>(m_id) | std::uintptr_t{notification} << 16, 0);
    }
    void Notice(LONG code, LONG x = 0, LONG y = 0) { m_owner.OnControlNotice({code, m_id, x, y}); }
    void Changed() { Notice(KWNOTICE_CHANGED); }

    /// Copies the smaller of `size` and the block.
    template <class T>
    static HRESULT Give(const T& block, void* out, ULONG size) {
        if (!out) return E_POINTER;
        std::memcpy(out, &block, std::min<std::size_t>(size, sizeof(T)));
        return S_OK;
    }

  private:
    IControlOwner& m_owner;
    const LONG m_id;
};
