// The frame of all settings pages: a copy of the effect's record, controls that show it, and the rules by which a
// change goes to the effect at once.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/object.h"
#include "frame/create.h"
#include "pages/controls/color_picker.h"
#include "pages/controls/placement.h"
#include "pages/controls/plain.h"
#include "pages/controls/spinner.h"
#include "pages/controls/trackbar.h"
#include "pages/page_table.h"
#include "platform/com_ptr.h"

/// A page of one effect class. All calls come on one thread; the effect's notice that its record changed is posted.
class CPropPageBase : public CAggregable, public IPropertyPage, public IKwPage, private IControlOwner {
  public:
    CPropPageBase(const tObjectMapRow& row, IUnknown* outer, const tPageInfo& info);

    HRESULT QueryInterface(const IID* iid, void** out) override { return Outer()->QueryInterface(iid, out); }
    ULONG AddRef() override { return Outer()->AddRef(); }
    ULONG Release() override { return Outer()->Release(); }

    HRESULT SetPageSite(IUnknown* site) override;
    /// E_UNEXPECTED without an effect or when the page is open already.
    HRESULT Activate(HWND parent, const RECT* place, BOOL modal) override;
    HRESULT Deactivate() override;
    /// The size is told for a font of the size that dialogs have without one of their own.
    HRESULT GetPageInfo(PROPPAGEINFO* info) override;
    /// E_NOINTERFACE for an object of another class, E_UNEXPECTED within a notice.
    HRESULT SetObjects(ULONG count, IUnknown** objects) override;
    HRESULT Show(UINT command) override;
    HRESULT Move(const RECT* place) override;
    HRESULT IsPageDirty() override;
    HRESULT Apply() override;
    /// 0x8004E046 where nobody has help.
    HRESULT Help(const OLECHAR* folder) override;
    HRESULT TranslateAccelerator(MSG* message) override;

    HRESULT SetPageSink(IKwPageSink* sink) override;
    HRESULT GetDialog(SIZE* size, const char** title) override;
    HRESULT GetControl(LONG index, tPageControl* out, ULONG size) override;
    HRESULT FindControl(LONG id, tPageControl* out, ULONG size) override;
    HRESULT GetItem(LONG id, LONG index, const char** text) override;
    HRESULT GetDetail(LONG id, void* out, ULONG size) override;
    HRESULT PaintPart(LONG id, LONG part, void* bits, LONG width, LONG height, LONG pitch) override;
    HRESULT GetMenuItem(LONG control, LONG index, tPageMenuItem* out, ULONG size) override;
    HRESULT SendEvent(LONG id, const tPageEvent* event) override;
    HRESULT SendControl(LONG id, UINT message, std::uintptr_t wParam, std::intptr_t lParam,
                        std::intptr_t* result) override;
    HRESULT SendPage(UINT message, std::uintptr_t wParam, std::intptr_t lParam, std::intptr_t* result) override;

  protected:
    ~CPropPageBase() override;

    // What a page with a character of its own changes.

    /// Takes the effect's record and shows it.
    virtual void UpdatePage();
    /// Hands the page's record to the effect.
    virtual void ApplyChanges();
    /// Shows the page's record in every control but `except`.
    virtual void ShowRecord(const CPageControl* except = nullptr);
    /// The field that a control stands for; empty for none.
    virtual std::string_view FieldOf(const tPageItem& item) const { return item.field; }
    /// Called once the controls are made.
    virtual void ControlsMade() {}
    /// A control's notification, before the frame looks at it; true where that is all.
    virtual bool OnControl(LONG /*id*/, UINT /*notification*/) { return false; }
    /// A scroll code of a spinner.
    virtual void OnSpin(CSpinner& /*spinner*/, LONG /*code*/) {}

    template <class R>
    R& Params() {
        return *reinterpret_cast<R*>(m_Params.data());
    }
    /// The control of an id, which the table holds with this kind.
    template <class T>
    T& Control(LONG id) {
        return static_cast<T&>(*Find(id)->control);
    }
    void ShowControl(LONG id, bool visible);
    /// A text read as a number in the user's locale and clamped, if it differs from `present` by the step at least;
    /// else `present` itself.
    static double ReadEdit(const CEdit& edit, double present, double minimum, double maximum, double step);

  private:
    struct tBound {
        const tPageItem* item;
        std::unique_ptr<CPageControl> control;
        bool visible = true, enabled = true;
    };
    class CEffectLink;
    class CBusy;
    /// Calls within notices within calls: with a toolkit that answers each notice by an event there would be no end.
    static constexpr LONG kDeepest = 6;

    void* FindInterface(const IID& iid) noexcept override;
    std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam,
                                   std::intptr_t lParam) override;
    void OnControlNotice(const tPageNotice& notice) override;

    void MakeControls();
    std::unique_ptr<CPageControl> MakeControl(const tPageItem& item);
    tBound* Find(LONG id);
    HRESULT Describe(const tBound& bound, tPageControl* out, ULONG size) const;
    const tFieldInfo* FieldNamed(std::string_view name) const;
    const tFieldInfo* Field(const tPageItem& item) const { return FieldNamed(FieldOf(item)); }

    HRESULT OnInitDialog(HWND window);
    void OnDestroy();
    void OnCommand(LONG id, UINT notification);
    void OnHScroll(tBound& bound, LONG code);
    void OnEdit(tBound& bound);
    void OnPlacement(tBound& bound);
    void OnColor(tBound& bound);
    std::intptr_t OnDialog(UINT message, std::uintptr_t wParam, std::intptr_t lParam);

    void Show(tBound& bound);
    void ShowMate(const tBound& bound);
    double Number(const tFieldInfo& field, LONG element = 0) const;
    void SetNumber(const tFieldInfo& field, double value, LONG element = 0);
    void Push(const tFieldInfo& field, bool fromEdit);
    HRESULT Notify(LONG code, LONG control = 0, LONG x = 0, LONG y = 0);
    HRESULT ShowHelp();
    void ShowAbout();
    void ShowPageMenu(LONG x, LONG y);
    void MakeMenu();

    const tObjectMapRow& m_row;
    const tPageInfo& m_info;
    std::vector<tPageItem> m_items; ///< the table's behind the Logo band
    std::vector<tFieldInfo> m_fields;
    tClassInfo m_class{};
    std::vector<tBound> m_controls;

    struct tMenuRow {
        tPageMenuItem item;
        std::string text;
    };
    std::vector<tMenuRow> m_menu;
    SIZE m_pixels{};
    CComPtr<IKwPageSink> m_sink;

    CComPtr<IUnknown> m_pPageSite;
    std::vector<CComPtr<IUnknown>> m_objects; ///< the first is the effect
    bool m_bDirty = false;
    HWND m_hWnd = nullptr;
    bool m_open = false;
    LONG m_busy = 0; ///< calls that run

  protected:
    std::vector<std::byte> m_Params; ///< the page's copy of the record
};

/// A page that its table tells in full.
template <const tPageInfo& Info>
class CPropPage : public CPropPageBase {
  public:
    CPropPage(const tObjectMapRow& row, IUnknown* outer) : CPropPageBase(row, outer, Info) {}
};
