// A page with one control of each kind and no effect behind it.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/object.h"
#include "pages/controls/color_picker.h"
#include "pages/controls/logo.h"
#include "pages/controls/placement.h"
#include "pages/controls/plain.h"
#include "pages/controls/spinner.h"
#include "pages/controls/trackbar.h"

namespace larkmoor {

/// Remembers what it is sent. An edit that is left becomes a number again: what has no digit at its front gives "0".
class FakePage : public ObjectOf<IPropertyPage, IKwPage>, private IControlOwner {
  public:
    enum Id : LONG { TITLE = 1, AMOUNT, NUMBER, COUNT, COUNTER, CHECK, LEFT, RIGHT, LIST, TEXT, COLOR, PLACE, GROUP };
    struct Sent {
        LONG id;
        tPageEvent event;
        std::string text;
    };
    struct Message {
        LONG control;
        UINT message;
        std::uintptr_t wParam;
        std::intptr_t lParam;
    };

    FakePage() {
        add<CLogo>(KWCONTROL_LOGO, kPageLogo, {0, 0, 220, 15}, "Fake Page");
        logo().Message(kLogoAddLink, 41001, reinterpret_cast<std::intptr_t>("About"));
        logo().Message(kLogoAddLink, 41000, reinterpret_cast<std::intptr_t>("?"));
        label({7, 22, 58, 31}, "&Amount of it:", AMOUNT);
        add<CTrackbar>(KWCONTROL_TRACKBAR, AMOUNT, {64, 20, 170, 32});
        add<CEdit>(KWCONTROL_EDIT, NUMBER, {177, 20, 213, 32}).SetText("50");
        label({7, 38, 60, 47}, "C&ount:", COUNT);
        add<CEdit>(KWCONTROL_EDIT, COUNT, {64, 36, 100, 48}).SetText("7");
        add<CSpinner>(KWCONTROL_SPINNER, COUNTER, {100, 36, 109, 48}, LONG{COUNT}).Message(KWPOS_SET, 1, 7);
        add<CCheck>(KWCONTROL_CHECK, CHECK, {120, 38, 170, 47}, "&Invert the picture");
        add<CStaticText>(KWCONTROL_GROUP, GROUP, {7, 52, 120, 92}).SetText("Directions");
        add<CCheck>(KWCONTROL_RADIO, LEFT, {14, 64, 60, 73}, "&Left").SetChecked(true);
        add<CCheck>(KWCONTROL_RADIO, RIGHT, {14, 78, 60, 87}, "&Right");
        label({126, 54, 150, 63}, "&Shape:", LIST);
        auto& list = add<CList>(KWCONTROL_LIST, LIST, {152, 52, 213, 64}, false);
        for (const char* item : {"Circle", "Square & co.", "A rhombus with a long name"}) list.Add(item, 0);
        list.Select(0);
        add<CEdit>(KWCONTROL_TEXT, TEXT, {126, 68, 213, 92}).SetText("Two\nlines");
        add<CColorPicker>(KWCONTROL_COLOR, COLOR, {7, 98, 140, 164}, kColorPickAlpha | kColorPickGamut);
        add<CPlacement>(KWCONTROL_PLACEMENT, PLACE, {146, 98, 213, 164}, 0u);
    }

    template <class T>
    T& the(LONG id) {
        return static_cast<T&>(*find(id)->control);
    }
    CLogo& logo() { return the<CLogo>(kPageLogo); }
    /// What a control was sent of one kind.
    std::vector<Sent> sentOf(LONG id, LONG kind) const {
        std::vector<Sent> found;
        for (const Sent& one : sent)
            if (one.id == id && one.event.kind == kind) found.push_back(one);
        return found;
    }
    void notice(const tPageNotice& notice) { result = m_sink ? m_sink->OnPageNotice(&notice) : E_UNEXPECTED; }
    void setVisible(LONG id, bool visible) {
        find(id)->visible = visible;
        notice({KWNOTICE_CHANGED, id, 0, 0});
    }

    std::vector<Sent> sent;
    std::vector<Message> messages;
    HWND window = nullptr;
    SIZE pixels{};
    HRESULT result = S_OK; ///< of the last notice

    HRESULT SetPageSite(IUnknown*) override { return S_OK; }
    HRESULT Activate(HWND parent, const RECT* place, BOOL) override {
        window = parent;
        return Move(place);
    }
    HRESULT Deactivate() override {
        window = nullptr;
        return S_OK;
    }
    HRESULT GetPageInfo(PROPPAGEINFO*) override { return E_NOTIMPL; }
    HRESULT SetObjects(ULONG, IUnknown**) override { return S_OK; }
    HRESULT Show(UINT) override { return S_OK; }
    HRESULT Move(const RECT* place) override {
        pixels = {place->right - place->left, place->bottom - place->top};
        return S_OK;
    }
    HRESULT IsPageDirty() override { return S_FALSE; }
    HRESULT Apply() override { return S_OK; }
    HRESULT Help(const OLECHAR*) override { return E_NOTIMPL; }
    HRESULT TranslateAccelerator(MSG*) override { return S_FALSE; }

    HRESULT SetPageSink(IKwPageSink* sink) override {
        m_sink = sink;
        return S_OK;
    }
    HRESULT GetDialog(SIZE* size, const char** title) override {
        *size = {220, 170};
        *title = "Fake Page";
        return S_OK;
    }
    HRESULT GetControl(LONG index, tPageControl* out, ULONG) override {
        if (index < 0 || index >= static_cast<LONG>(m_rows.size())) return E_INVALIDARG;
        const Row& row = m_rows[static_cast<std::size_t>(index)];
        *out = row.facts;
        out->text = "";
        out->visible = row.visible;
        out->enabled = TRUE;
        row.control->Describe(*out);
        return S_OK;
    }
    HRESULT FindControl(LONG id, tPageControl* out, ULONG size) override {
        return GetControl(static_cast<LONG>(find(id) - m_rows.data()), out, size);
    }
    HRESULT GetItem(LONG id, LONG index, const char** text) override {
        *text = find(id)->control->Item(index);
        return *text ? S_OK : E_INVALIDARG;
    }
    HRESULT GetDetail(LONG id, void* out, ULONG size) override { return find(id)->control->Detail(out, size); }
    HRESULT PaintPart(LONG id, LONG part, void* bits, LONG width, LONG height, LONG pitch) override {
        return find(id)->control->Paint(part, bits, width, height, pitch);
    }
    HRESULT GetMenuItem(LONG control, LONG index, tPageMenuItem* out, ULONG) override {
        if (control != 0) return find(control)->control->MenuItem(index, *out);
        static constexpr tPageMenuItem rows[] = {{0, -1, FALSE, "Presets"},
                                                 {kPagePresetFirst, 0, FALSE, "Black && White"},
                                                 {kPagePresetFirst + 1, 0, FALSE, "Second"},
                                                 {0, -1, TRUE, ""},
                                                 {kPageAbout, -1, FALSE, "About"}};
        if (index < 0 || index >= static_cast<LONG>(std::size(rows))) return E_INVALIDARG;
        *out = rows[index];
        return S_OK;
    }
    HRESULT SendEvent(LONG id, const tPageEvent* event) override {
        sent.push_back({id, *event, event->text ? event->text : ""});
        return find(id)->control->Event(*event);
    }
    HRESULT SendControl(LONG id, UINT message, std::uintptr_t wParam, std::intptr_t lParam,
                        std::intptr_t* answer) override {
        if (message == WM_COMMAND) messages.push_back({id, message, wParam, lParam});
        const std::intptr_t given = find(id)->control->Message(message, wParam, lParam);
        if (answer) *answer = given;
        return S_OK;
    }
    HRESULT SendPage(UINT message, std::uintptr_t wParam, std::intptr_t lParam, std::intptr_t*) override {
        messages.push_back({0, message, wParam, lParam});
        if (message == WM_CONTEXTMENU) notice({KWNOTICE_MENU, 0, 20, 20});
        return S_OK;
    }

  private:
    struct Row {
        tPageControl facts;
        std::unique_ptr<CPageControl> control;
        bool visible = true;
    };

    template <class T, class... Arguments>
    T& add(tPageControlKind kind, LONG id, RECT place, Arguments... arguments) {
        auto control = std::make_unique<T>(static_cast<IControlOwner&>(*this), id, arguments...);
        T& made = *control;
        m_rows.push_back(
            {{.id = id, .kind = kind, .place = place, .help = "What this one is for."}, std::move(control)});
        m_rows.back().facts.groupStart = id == LEFT;
        return made;
    }
    void label(RECT place, const char* text, LONG buddy) {
        add<CStaticText>(KWCONTROL_LABEL, 0, place).SetText(text);
        m_rows.back().facts.buddy = buddy;
    }
    Row* find(LONG id) {
        for (Row& row : m_rows)
            if (row.facts.id == id) return &row;
        return nullptr;
    }
    void OnControlNotice(const tPageNotice& told) override { notice(told); }
    std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam, std::intptr_t) override {
        if (message == WM_HSCROLL && from.Id() == COUNTER)
            the<CEdit>(COUNT).SetText(std::to_string(the<CSpinner>(COUNTER).Range().pos));
        if (message == WM_HSCROLL && from.Id() == AMOUNT) {
            TrackbarScroll(static_cast<LONG>(wParam & 0xFFFF), the<CTrackbar>(AMOUNT), 1, 10);
            the<CEdit>(NUMBER).SetText(std::to_string(the<CTrackbar>(AMOUNT).Range().pos));
            notice({KWNOTICE_APPLIED, 0, 0, 0});
        }
        if (message == WM_COMMAND && wParam >> 16 == EN_KILLFOCUS && from.Id() != TEXT) {
            auto& edit = static_cast<CEdit&>(from);
            edit.SetText(std::to_string(std::atoi(edit.Text().c_str())));
            if (from.Id() == COUNT) the<CSpinner>(COUNTER).Message(KWPOS_SET, 1, std::atoi(edit.Text().c_str()));
        }
        if (message == WM_COMMAND && wParam >> 16 == BN_CLICKED && (from.Id() == LEFT || from.Id() == RIGHT)) {
            the<CCheck>(LEFT).SetChecked(from.Id() == LEFT);
            the<CCheck>(RIGHT).SetChecked(from.Id() == RIGHT);
        }
        return 0;
    }

    std::vector<Row> m_rows;
    CComPtr<IKwPageSink> m_sink;
};

} // namespace larkmoor
