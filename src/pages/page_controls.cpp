// What a page is made of: its controls, from the table and the effect's fields, and its menu.
#include "pages/controls/logo.h"
#include "pages/page.h"
#include "pages/utf.h"
#include "support/value_format.h"

namespace {

constexpr std::size_t kNameChars = 260; ///< of a preset, the ending zero included

/// The ampersands of a text doubled, for a menu.
std::string MenuText(const std::string& text) {
    std::string out(2 * text.size() + 1, '\0');
    out.resize(DoubleAmpersands(out, text.c_str()));
    return out;
}

} // namespace

void CPropPageBase::MakeControls() {
    m_items.assign({tPageItem{.kind = KWCONTROL_LOGO, .id = kPageLogo, .place = {0, 0, m_info.size.cx, kLogoHeight}}});
    m_items.insert(m_items.end(), m_info.items.begin(), m_info.items.end());
    for (const tPageItem& item : m_items) m_controls.push_back({&item, MakeControl(item)});
    ControlsMade();
}

std::unique_ptr<CPageControl> CPropPageBase::MakeControl(const tPageItem& item) {
    IControlOwner& owner = *this;
    const tFieldInfo* const field = Field(item);
    const char* const label = item.text ? item.text : field && field->label ? field->label : "";
    switch (item.kind) {
    case KWCONTROL_EDIT:
    case KWCONTROL_TEXT:
        return std::make_unique<CEdit>(owner, item.id);
    case KWCONTROL_CHECK:
        return std::make_unique<CCheck>(owner, item.id, label);
    case KWCONTROL_RADIO: {
        const char* text = item.text ? item.text : "";
        for (LONG i = 0; field && !item.text && i < field->choiceCount; ++i)
            if (field->choices[i].value == item.value) text = field->choices[i].text;
        return std::make_unique<CCheck>(owner, item.id, text);
    }
    case KWCONTROL_LIST: {
        auto list = std::make_unique<CList>(owner, item.id, item.sorted);
        for (LONG i = 0; field && i < field->choiceCount; ++i)
            list->Add(field->choices[i].text, field->choices[i].value);
        return list;
    }
    case KWCONTROL_TRACKBAR: {
        auto bar = std::make_unique<CTrackbar>(owner, item.id);
        bar->Message(KWPOS_SET_MIN, 0, item.scale->minimum);
        bar->Message(KWPOS_SET_MAX, 0, item.scale->maximum);
        return bar;
    }
    case KWCONTROL_SPINNER:
        return std::make_unique<CSpinner>(owner, item.id, item.buddy);
    case KWCONTROL_COLOR:
        return std::make_unique<CColorPicker>(owner, item.id, item.style);
    case KWCONTROL_PLACEMENT: {
        auto placement = std::make_unique<CPlacement>(owner, item.id, item.style);
        for (const UINT limit : {KWHANDLE_MOST, KWHANDLE_LEAST}) placement->Message(limit, 1, 0);
        return placement;
    }
    case KWCONTROL_LOGO: {
        auto logo = std::make_unique<CLogo>(owner, item.id);
        logo->Message(kLogoReset, 0, 0);
        logo->SetCaption(m_info.title);
        logo->Message(kLogoAddLink, kPageAbout, reinterpret_cast<std::intptr_t>("About"));
        logo->Message(kLogoAddLink, kPageHelp, reinterpret_cast<std::intptr_t>("?"));
        return logo;
    }
    case KWCONTROL_LABEL:
    case KWCONTROL_GROUP:
        break;
    }
    auto text = std::make_unique<CStaticText>(owner, item.id);
    text->SetText(label);
    return text;
}

CPropPageBase::tBound* CPropPageBase::Find(LONG id) {
    const auto found = std::ranges::find_if(m_controls, [&](const tBound& bound) { return bound.item->id == id; });
    return found == m_controls.end() ? nullptr : &*found;
}

HRESULT CPropPageBase::Describe(const tBound& bound, tPageControl* out, ULONG size) const {
    tPageControl told{};
    told.id = bound.item->id;
    told.kind = bound.item->kind;
    told.place = bound.item->place;
    told.buddy = told.kind == KWCONTROL_TRACKBAR ? 0 : bound.item->buddy;
    told.visible = bound.visible;
    told.enabled = bound.enabled;
    told.text = told.help = "";
    if (told.kind == KWCONTROL_RADIO) {
        const tBound* const before = &bound == m_controls.data() ? nullptr : &bound - 1;
        told.groupStart = !before || before->item->kind != KWCONTROL_RADIO ||
                          std::string_view(before->item->field) != bound.item->field;
    }
    if (const tFieldInfo* const field = Field(*bound.item); field && field->help) told.help = field->help;
    bound.control->Describe(told);
    std::memcpy(out, &told, std::min<std::size_t>(size, sizeof told));
    return S_OK;
}

void CPropPageBase::MakeMenu() {
    m_menu.clear();
    m_menu.push_back({{0, -1, FALSE, nullptr}, "Presets"});
    LONG count = 0;
    const auto presets = m_objects.empty() ? nullptr : KwQuery<IKwPresets>(m_objects.front().Get());
    if (presets) presets->GetCount(&count);
    for (LONG i = 0; i < count && kPagePresetFirst + i <= kPagePresetLast; ++i) {
        WCHAR name[kNameChars]{};
        presets->GetName(i, name, static_cast<LONG>(std::size(name)));
        m_menu.push_back({{kPagePresetFirst + i, 0, FALSE, nullptr},
                          MenuText(KwUtf8(std::u16string_view(name, std::char_traits<WCHAR>::length(name))))});
    }
    m_menu.push_back({{0, -1, TRUE, nullptr}, ""});
    m_menu.push_back({{kPageHelp, -1, FALSE, nullptr}, "?"});
    m_menu.push_back({{kPageAbout, -1, FALSE, nullptr}, "About"});
}
