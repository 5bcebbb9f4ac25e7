// A control driven by a script, and what it said as a text to be compared.
//
// A script's steps are parted by "; ", or by lines in files. The log tells for each step, in order, what the control
// said, and at last "no" where it had no use for the event or "=N" for the answer of a message:
//
//   size W,H  press X,Y  double X,Y  right X,Y  move X,Y  release  cancel  leave  wheel N  timer N  pick N
//   key NAME  up NAME  focus PART  blur PART  text PART WORDS  msg NUMBER,WPARAM,LPARAM  show
//   tip @PART  set R,G,B,A of a colour picker; set X,Y  add X,Y,CONFINED,SELECTABLE of a placement
//   when WORD do STEP       the next time that the control says WORD, STEP happens within
//
// An event may end in "+ctrl" or "+shift". A place may be "@PART" for the middle of a part of a colour picker, and
// "@PART+X" for X pixels from its left edge.
#pragma once

#include <gtest/gtest.h>

#include <charconv>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "pages/controls/color_picker.h"
#include "pages/controls/logo.h"
#include "pages/controls/placement.h"
#include "pages/controls/spinner.h"
#include "pages/controls/trackbar.h"

template <class C>
class CControlRig : public IControlOwner {
  public:
    static constexpr LONG kId = 1107;
    C control;
    LONG small = 1, large = 0; ///< of the page's steps on a scroll code
    bool moves = true;         ///< as a page does on a scroll code
    bool echoes = false;       ///< sets each colour or handle that it is told, as a page does
    std::vector<tPlacementNotice> handles;

    template <class... T>
    explicit CControlRig(T... arguments) : control(*this, kId, arguments...) {}
    virtual ~CControlRig() = default;

    /// The log of a script.
    std::string Play(std::string_view script) {
        m_log.clear();
        while (!script.empty()) {
            const std::size_t end = script.find("; ");
            const std::string log = std::exchange(m_log, {});
            Step(script.substr(0, end));
            m_log = log + (log.empty() && !m_begun ? "" : "; ") + m_log;
            m_begun = true;
            script.remove_prefix(end == std::string_view::npos ? script.size() : end + 2);
        }
        m_begun = false;
        return Take();
    }
    /// What the control said since the last script.
    std::string Take() { return std::exchange(m_log, {}); }
    HRESULT Send(LONG kind, LONG x = 0, LONG y = 0, LONG value = 0, ULONG modifiers = 0, LONG part = 0,
                 const char* text = nullptr) {
        return control.Event({kind, x, y, value, modifiers, part, text});
    }
    std::intptr_t Message(UINT message, std::uintptr_t wParam = 0, std::intptr_t lParam = 0) {
        return control.Message(message, wParam, lParam);
    }
    std::intptr_t Message(UINT message, std::uintptr_t wParam, void* block) {
        return control.Message(message, wParam, reinterpret_cast<std::intptr_t>(block));
    }
    /// A detail block of the control.
    template <class T>
    T Detail() const {
        T detail{};
        EXPECT_EQ(control.Detail(&detail, sizeof detail), S_OK);
        EXPECT_EQ(control.Detail(nullptr, sizeof detail), E_POINTER);
        return detail;
    }

  private:
    void Say(const std::string& word) {
        m_log += (m_log.empty() ? "" : " ") + word;
        if (word != m_when || m_when.empty()) return;
        m_when.clear();
        Step(std::exchange(m_then, {}));
    }
    std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam,
                                   std::intptr_t lParam) override {
        EXPECT_EQ(&from, &control);
        const LONG code = static_cast<LONG>(wParam & 0xFFFF);
        if (message == WM_COMMAND) {
            Say(std::is_same_v<C, CLogo> ? "id" + std::to_string(code) : "cmd" + std::to_string(wParam >> 16));
            float color[4];
            for (const UINT echo : {kColorPickGet, kColorPickSet})
                if (echoes) Message(echo, 0, color);
        } else if constexpr (std::is_base_of_v<CPositionControl, C>) {
            if (message == WM_NOTIFY) {
                const auto& key = *reinterpret_cast<tTrackbarKey*>(lParam);
                EXPECT_TRUE(key.from == &control && key.id == kId && key.code == kTrackbarKeyNotify);
                Say("key" + std::to_string(key.key) + (key.modifiers & KWMOD_SHIFT ? "+shift" : ""));
                return 0;
            }
            EXPECT_EQ(reinterpret_cast<C*>(lParam), &control);
            EXPECT_EQ(wParam >> 16, static_cast<std::uint16_t>(control.Range().pos));
            if (moves && code < KWSCROLL_END) TrackbarScroll(code, control, small, large);
            Say(std::to_string(code) + ":" + std::to_string(control.Range().pos));
        } else {
            EXPECT_EQ(message, WM_NOTIFY);
            EXPECT_EQ(wParam, static_cast<std::uintptr_t>(kId));
            handles.push_back(*reinterpret_cast<const tPlacementNotice*>(lParam));
            EXPECT_TRUE(handles.back().window == nullptr && handles.back().id == kId);
            Say(std::to_string(handles.back().code));
            if (echoes) Message(2052, static_cast<std::uintptr_t>(handles.back().index), &handles.back().after);
        }
        return 0;
    }
    void OnControlNotice(const tPageNotice& notice) override {
        EXPECT_EQ(notice.control, kId);
        const std::string at = std::to_string(notice.x) + "," + std::to_string(notice.y);
        switch (notice.code) {
        case KWNOTICE_CHANGED:
            return Say("*");
        case KWNOTICE_SETTLED:
            return Say("settled");
        case KWNOTICE_CAPTURE:
            return Say(notice.x ? "capture" : "free");
        case KWNOTICE_TIMER:
            return Say("timer" + at);
        case KWNOTICE_FOCUS:
            return Say("focus");
        case KWNOTICE_MENU:
            return Say("menu" + at);
        case KWNOTICE_PICK:
            return Say("pick");
        default:
            ADD_FAILURE() << notice.code;
        }
    }

    static std::string_view Word(std::string_view& text, char end = ' ') {
        const std::size_t at = std::min(text.find(end), text.size());
        const std::string_view word = text.substr(0, at);
        text.remove_prefix(std::min(at + 1, text.size()));
        return word;
    }
    static std::int64_t Number(std::string_view text) {
        std::int64_t value = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        EXPECT_TRUE(error == std::errc() && end == text.data() + text.size()) << text;
        return value;
    }
    static LONG KeyNamed(std::string_view name) {
        static constexpr std::pair<std::string_view, LONG> names[] = {
            {"tab", KWKEY_TAB},        {"return", KWKEY_RETURN},      {"escape", KWKEY_ESCAPE},
            {"pageup", KWKEY_PAGE_UP}, {"pagedown", KWKEY_PAGE_DOWN}, {"end", KWKEY_END},
            {"home", KWKEY_HOME},      {"left", KWKEY_LEFT},          {"up", KWKEY_UP},
            {"right", KWKEY_RIGHT},    {"down", KWKEY_DOWN}};
        for (const auto& [known, key] : names)
            if (name == known) return key;
        return static_cast<LONG>(Number(name));
    }

    void Step(std::string_view step) {
        ULONG modifiers = 0;
        for (const auto& [suffix, bit] : {std::pair{std::string_view("+ctrl"), KWMOD_CTRL}, {"+shift", KWMOD_SHIFT}})
            if (step.ends_with(suffix)) {
                modifiers |= bit;
                step.remove_suffix(suffix.size());
            }
        const std::string_view verb = Word(step);
        if (verb == "when") {
            m_when = Word(step);
            Word(step); // "do"
            m_then = step;
            return;
        }
        if (verb == "show") return Say(Show());
        if (verb == "tip") {
            Step("move " + std::string(step));
            if constexpr (std::is_same_v<C, CColorPicker>) Say(Detail<tColorPickDetail>().tip);
            return;
        }
        if (verb == "set" || verb == "add") return Set(verb == "add", step);
        if (verb == "msg") {
            const auto message = static_cast<UINT>(Number(Word(step, ',')));
            const auto wParam = static_cast<std::uintptr_t>(Number(Word(step, ',')));
            return Say("=" + std::to_string(Message(message, wParam, step.empty() ? 0 : Number(step))));
        }
        static constexpr std::string_view verbs[] = {"size",  "press", "move", "release", "double", "right",
                                                     "wheel", "key",   "up",   "focus",   "blur",   "cancel",
                                                     "timer", "leave", "-",    "-",       "text",   "pick"};
        tPageEvent event{.modifiers = modifiers};
        event.kind = static_cast<LONG>(std::ranges::find(verbs, verb) - std::begin(verbs));
        std::string text;
        switch (event.kind) {
        case KWEVENT_KEY:
        case KWEVENT_KEY_UP:
            event.value = KeyNamed(Word(step));
            if (!step.empty()) event.part = static_cast<LONG>(Number(step));
            break;
        case KWEVENT_WHEEL:
        case KWEVENT_TIMER:
        case KWEVENT_PICKED:
            event.value = static_cast<LONG>(Number(step));
            break;
        case KWEVENT_TEXT:
            event.part = static_cast<LONG>(Number(Word(step)));
            text = step;
            event.text = text.c_str();
            break;
        case KWEVENT_FOCUS:
        case KWEVENT_BLUR:
            event.part = step.empty() ? 0 : static_cast<LONG>(Number(step));
            break;
        default:
            ASSERT_LT(event.kind, static_cast<LONG>(std::size(verbs))) << verb;
            if (step.starts_with('@')) {
                step.remove_prefix(1);
                const RECT part = Detail<tColorPickDetail>().parts[Number(Word(step, '+'))];
                event.x = step.empty() ? (part.left + part.right) / 2 : part.left + static_cast<LONG>(Number(step));
                event.y = (part.top + part.bottom) / 2;
            } else if (!step.empty()) {
                event.x = static_cast<LONG>(Number(Word(step, ',')));
                event.y = step.empty() ? 0 : static_cast<LONG>(Number(step));
            }
        }
        if (const HRESULT status = control.Event(event); status != S_OK)
            Say(status == S_FALSE ? "no" : std::to_string(status));
    }

    void Set(bool add, std::string_view step) {
        const auto next = [&](double otherwise) {
            return step.empty() ? otherwise : std::strtod(std::string(Word(step, ',')).c_str(), nullptr);
        };
        if constexpr (std::is_same_v<C, CColorPicker>) {
            float color[4]{};
            for (const int channel : {2, 1, 0, 3}) color[channel] = static_cast<float>(next(1));
            EXPECT_EQ(Message(kColorPickSet, 0, color), 0);
        } else {
            tPlacementHandle handle;
            handle.x = next(0);
            handle.y = next(0);
            handle.confined = static_cast<ULONG>(next(1));
            handle.selectable = static_cast<ULONG>(next(1));
            EXPECT_EQ(Message(add ? 2051 : 2052, static_cast<std::uintptr_t>(Message(2054)), &handle), !add);
        }
    }

    template <class... T>
    static std::string Joined(const T&... parts) {
        std::ostringstream out;
        out.precision(5);
        (out << ... << parts);
        return std::move(out).str();
    }
    std::string Show() const {
        if constexpr (std::is_base_of_v<CPositionControl, C>) {
            const auto detail = Detail<tTrackbarDetail>();
            tPageControl shown{};
            control.Describe(shown);
            return Joined(shown.minimum, "..", shown.maximum, " (", shown.mark, ") at ", shown.value, " thumb ",
                          detail.thumb.left, "..", detail.thumb.right, detail.tracking ? " held" : "",
                          detail.pressed ? Joined(" pressed ", detail.pressed) : "");
        } else if constexpr (std::is_same_v<C, CColorPicker>) {
            const auto detail = Detail<tColorPickDetail>();
            std::string out = Joined(detail.color[2], ",", detail.color[1], ",", detail.color[0], ",", detail.color[3],
                                     " hue ", detail.hue, detail.dragPart ? Joined(" drag ", detail.dragPart) : "");
            for (const char* edit : detail.edits)
                if (edit) out += std::string("|") + edit;
            return out + "|" + detail.tip;
        } else if constexpr (std::is_same_v<C, CPlacement>) {
            const auto detail = Detail<tPlacementDetail>();
            std::string out = detail.tracking ? "held" : "free";
            for (LONG i = 0; i < detail.count; ++i) {
                tPlacementHandle handle;
                const_cast<C&>(control).Message(2053, static_cast<std::uintptr_t>(i),
                                                reinterpret_cast<std::intptr_t>(&handle));
                out += Joined(" ", handle.x, ",", handle.y, i == detail.selected ? "!" : "");
            }
            return out;
        } else {
            return {};
        }
    }

    std::string m_log, m_when, m_then;
    bool m_begun = false;
};

/// Plays a file of tests/data/controls: a step a line, behind an arrow what the control says to it. A line "style N"
/// begins anew on `make(N)`. With LARKMOOR_UPDATE what is said is written down instead.
template <class Make>
void ExpectScripts(const std::string& name, Make&& make) {
    const std::string path = LARKMOOR_TEST_FOLDER "/data/controls/" + name + ".txt";
    std::stringstream kept, said;
    kept << std::ifstream(path).rdbuf();
    decltype(make(0u)) rig;
    for (std::string line; std::getline(kept, line); said << "\n") {
        const std::string step = line.substr(0, line.find(" -> "));
        said << step;
        if (step.starts_with("style "))
            rig = make(static_cast<ULONG>(std::stoul(step.substr(6))));
        else if (const std::string log = step.empty() ? "" : rig->Play(step); !log.empty())
            said << " -> " << log;
    }
    if (std::getenv("LARKMOOR_UPDATE")) std::ofstream(path) << said.str();
    EXPECT_EQ(kept.str(), said.str());
    EXPECT_TRUE(rig) << path;
}
