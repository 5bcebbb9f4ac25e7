// Every page as a text: its controls, what each of them does to the record and to the others, and what each preset
// shows, against the files in tests/data/pages. With LARKMOOR_UPDATE set the files are written anew.
#include <charconv>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "frame/effect_class.h"
#include "pages/open_page.h"

namespace {

constexpr const char* kKinds[] = {"label", "group", "edit",    "text",  "check", "radio",
                                  "list",  "bar",   "spinner", "color", "place", "logo"};
constexpr LONG kFontFamilies = 1304; // those of this machine

/// Numbers with as many digits as tell them from all others.
template <class T>
std::string Shown(const T& part) {
    if constexpr (std::is_floating_point_v<T>) {
        char text[40];
        return {text, std::to_chars(text, std::end(text), part).ptr};
    } else {
        std::ostringstream out;
        out << part;
        return std::move(out).str();
    }
}
template <class... T>
std::string Join(const T&... parts) {
    return (std::string() + ... + Shown(parts));
}
std::string Quoted(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) out += c == '\n' ? "\\n" : std::string(1, c);
    return out + '"';
}

/// What a control shows at present.
std::string StateOf(tOpenPage& page, const tPageControl& control) {
    std::string state = Join(control.visible ? "" : "hidden ", control.enabled ? "" : "off ");
    switch (control.kind) {
    case KWCONTROL_TRACKBAR:
    case KWCONTROL_SPINNER:
        return state + Join(control.value, " (", control.mark, ")");
    case KWCONTROL_CHECK:
    case KWCONTROL_RADIO:
        return state + Join(control.value);
    case KWCONTROL_LIST:
        return state + Quoted(page.Chosen(control.id));
    case KWCONTROL_COLOR: {
        tColorPickDetail detail{};
        page.model->GetDetail(control.id, &detail, sizeof detail);
        const float* const c = detail.color;
        return state + Join(c[2], ",", c[1], ",", c[0], ",", c[3]);
    }
    case KWCONTROL_PLACEMENT: {
        double handle[8]{};
        page.model->SendControl(control.id, 2053, 0, reinterpret_cast<std::intptr_t>(handle), nullptr);
        return state + Join(handle[0], ",", handle[1]);
    }
    default:
        return state + Quoted(control.text);
    }
}

/// Fields by name with each element.
std::map<std::string, std::string> FieldsOf(const tOpenPage& page) {
    std::map<std::string, std::string> all;
    for (const tFieldInfo& field : page.effect.info().fields)
        if (field.type == KWTYPE_BYTES)
            all[field.name] = Quoted(page.effect.get(field.name));
        else
            for (LONG i = 0; i < field.count; ++i) {
                const double number = page.Number(field.name, i);
                all[field.count > 1 ? Join(field.name, "[", i, "]") : field.name] =
                    field.type == KWTYPE_FLOAT ? Shown(static_cast<float>(number)) : Shown(number);
            }
    return all;
}

/// A page and what differs from one look at it to the next.
class CWatchedPage : public tOpenPage {
  public:
    explicit CWatchedPage(const larkmoor::EffectInfo& info) : tOpenPage(info) { Differences(); }

    std::string Differences() {
        std::string out;
        const auto add = [&](const std::string& what) { out += (out.empty() ? "" : ", ") + what; };
        for (const auto& [name, value] : FieldsOf(*this))
            if (std::string& known = m_fields[name]; known != value) add(name + " = " + (known = value));
        const std::vector<tPageControl> controls = Controls();
        m_states.resize(controls.size());
        for (std::size_t i = 0; i < controls.size(); ++i)
            if (std::string state = StateOf(*this, controls[i]); m_states[i] != state)
                add(Join(controls[i].id, " ", m_states[i] = state));
        return out.empty() ? "nothing" : out;
    }

  private:
    std::map<std::string, std::string> m_fields;
    std::vector<std::string> m_states;
};

void DescribeControls(CWatchedPage& page, std::ostream& out) {
    SIZE size{};
    const char* title = nullptr;
    page.model->GetDialog(&size, &title);
    PROPPAGEINFO info{.cb = sizeof info};
    page.page->GetPageInfo(&info);
    std::free(info.pszTitle);
    out << Quoted(title) << " " << size.cx << "x" << size.cy << ", pixels " << info.size.cx << "x" << info.size.cy
        << ", help " << info.dwHelpContext << "\n";
    tPageMenuItem item{};
    for (LONG i = 0; page.model->GetMenuItem(0, i, &item, sizeof item) == S_OK; ++i)
        out << (i ? " | " : "menu: ") << item.id << (item.parent == 0 ? " > " : " ")
            << (item.separator ? "-" : item.text);
    out << "\n";
    for (const tPageControl& control : page.Controls()) {
        const RECT& at = control.place;
        out << control.id << " " << kKinds[control.kind] << " at " << at.left << "," << at.top << " "
            << at.right - at.left << "x" << at.bottom - at.top;
        if (control.kind == KWCONTROL_CHECK || control.kind == KWCONTROL_RADIO) out << " " << Quoted(control.text);
        if (control.groupStart) out << " first";
        if (control.buddy) out << " for " << control.buddy;
        if (control.minimum || control.maximum) out << " from " << control.minimum << " to " << control.maximum;
        for (LONG i = 0; i < control.itemCount && control.id != kFontFamilies; ++i)
            out << (i ? " | " : " of ") << page.Item(control.id, i);
        out << ": " << StateOf(page, control) << (*control.help ? "; " : "") << control.help << "\n";
    }
}

/// Does all that can be done with a control and tells after each step what became of it.
void Drive(CWatchedPage& page, const tPageControl& control, std::ostream& out) {
    const LONG id = control.id;
    const auto tell = [&](const std::string& what) { out << id << " " << what << ": " << page.Differences() << "\n"; };
    const auto key = [&](LONG code, const char* name) {
        page.Key(id, code);
        tell(name);
    };
    switch (control.kind) {
    case KWCONTROL_TRACKBAR:
        for (const LONG position :
             {control.minimum, (2 * control.minimum + control.maximum) / 3, control.maximum - 1, control.maximum}) {
            page.Drag(id, position);
            tell(Join("to ", position));
        }
        key(KWKEY_LEFT, "left");
        key(KWKEY_PAGE_UP, "page up");
        break;
    case KWCONTROL_EDIT:
        for (const char* text : {"-99999", "99999", "0.62", "0.4996"}) { // the last one tells rounding from truncation
            page.Type(id, text);
            tell(text);
        }
        break;
    case KWCONTROL_TEXT:
        page.Type(id, "Two\nlines");
        tell("typed");
        break;
    case KWCONTROL_CHECK:
    case KWCONTROL_RADIO:
        for (int i = 0; i < 2; ++i) {
            page.Click(id);
            tell("click");
        }
        break;
    case KWCONTROL_LIST:
        for (LONG i = 0; i < control.itemCount; ++i) {
            page.Choose(id, i);
            tell(page.Item(id, i));
        }
        break;
    case KWCONTROL_SPINNER:
        key(KWKEY_UP, "up");
        key(KWKEY_PAGE_DOWN, "page down");
        break;
    case KWCONTROL_COLOR:
        page.Send(id, KWEVENT_SIZE, 330, 130);
        for (LONG part = KWPART_EDIT1; part <= KWPART_ALPHA_EDIT; ++part) {
            page.Type(id, Join(part + 11), part);
            tell(Join("part ", part));
        }
        break;
    case KWCONTROL_PLACEMENT:
        page.Send(id, KWEVENT_SIZE, 200, 120);
        key(KWKEY_RIGHT, "right");
        key(KWKEY_DOWN, "down");
        page.Send(id, KWEVENT_DOUBLE_PRESS, 20, 20);
        tell("double press");
        break;
    default:
        break;
    }
}

std::string Dump(const larkmoor::EffectInfo& info) {
    std::ostringstream out;
    CWatchedPage page(info);
    DescribeControls(page, out);
    const std::vector<tPageControl> controls = page.Controls();
    for (const tPageControl& control : controls) {
        if (control.id == kPageLogo || control.id == kFontFamilies) continue;
        CWatchedPage driven(info);
        for (const tPageControl& other : controls) // the switch of a control that is off
            if (other.kind == KWCONTROL_CHECK && !driven.Control(control.id).enabled) driven.Click(other.id);
        driven.Differences();
        Drive(driven, control, out);
    }
    for (std::size_t i = 0; i < info.presets.size(); ++i) {
        CWatchedPage fresh(info);
        if (KwQuery<IKwPresets>(fresh.effect.object())) // else they are the object map's
            fresh.Command(kPagePresetFirst + static_cast<LONG>(i));
        else
            fresh.effect.applyPreset(std::to_string(i));
        fresh.Command(kPageRefresh);
        out << "preset " << Quoted(info.presets[i].name) << ": " << fresh.Differences() << "\n";
    }
    return std::move(out).str();
}

TEST(PageDump, EachPageIsAsItsFileSays) {
    const std::filesystem::path folder(LARKMOOR_TEST_FOLDER "/data/pages");
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) files += entry.path().extension() == ".txt";
    const auto effects = EffectsWithPages();
    for (const larkmoor::EffectInfo& info : effects) {
        SCOPED_TRACE(info.className);
        const std::filesystem::path file = folder / (info.className + ".txt");
        const std::string text = Dump(info);
        if (std::getenv("LARKMOOR_UPDATE")) std::ofstream(file) << text;
        std::ifstream known(file);
        std::istringstream now(text);
        int differences = 0;
        for (std::string expected, line; differences < 5;) {
            const bool more = static_cast<bool>(std::getline(known, expected));
            if (!std::getline(now, line)) line = "(the end)";
            if (!more) expected = "(the end)";
            if (!more && line == expected) break;
            if (line != expected) ++differences;
            EXPECT_EQ(line, expected);
        }
    }
    EXPECT_EQ(effects.size(), 32u);
    EXPECT_EQ(std::getenv("LARKMOOR_UPDATE") ? effects.size() : files, effects.size());
}

} // namespace
