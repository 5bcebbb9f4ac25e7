#include "pages/controls/plain.h"

#include <strings.h>

void CEdit::SetText(std::string_view text) {
    m_modified = false;
    if (m_text == text) return;
    m_text = text;
    Changed();
}

HRESULT CEdit::Event(const tPageEvent& event) {
    switch (event.kind) {
    case KWEVENT_TEXT:
        if (!event.text) return E_POINTER;
        if (m_text == event.text) return S_OK;
        m_text = event.text;
        m_modified = true;
        Command(EN_UPDATE);
        return S_OK;
    case KWEVENT_BLUR:
        Command(EN_KILLFOCUS);
        Notice(KWNOTICE_SETTLED);
        return S_OK;
    default:
        return S_FALSE;
    }
}

void CCheck::SetChecked(bool checked) {
    if (m_checked == checked) return;
    m_checked = checked;
    Changed();
}

HRESULT CCheck::Event(const tPageEvent& event) {
    if (event.kind != KWEVENT_CLICK) return S_FALSE;
    m_checked = !m_checked;
    Changed();
    Command(BN_CLICKED);
    Notice(KWNOTICE_SETTLED);
    return S_OK;
}

void CCheck::Describe(tPageControl& out) const {
    out.text = m_label.c_str();
    out.value = m_checked ? 1 : 0;
}

void CList::Add(std::string text, LONG data) {
    auto place = m_items.end();
    if (m_sorted)
        place = std::find_if(m_items.begin(), m_items.end(),
                             [&](const tItem& item) { return strcasecmp(item.text.c_str(), text.c_str()) > 0; });
    m_items.insert(place, {std::move(text), data});
}

void CList::Select(LONG index) {
    if (index < 0 || index >= ItemCount()) index = -1;
    if (m_selected == index) return;
    m_selected = index;
    Changed();
}

LONG CList::SelectedData(LONG none) const {
    return m_selected < 0 ? none : m_items[static_cast<std::size_t>(m_selected)].data;
}

LONG CList::FindData(LONG data) const {
    const auto found =
        std::find_if(m_items.rbegin(), m_items.rend(), [&](const tItem& item) { return item.data == data; });
    return static_cast<LONG>(m_items.rend() - found) - 1;
}

LONG CList::FindText(std::string_view text) const {
    const auto found =
        std::find_if(m_items.begin(), m_items.end(), [&](const tItem& item) { return item.text == text; });
    return found == m_items.end() ? -1 : static_cast<LONG>(found - m_items.begin());
}

HRESULT CList::Event(const tPageEvent& event) {
    if (event.kind != KWEVENT_SELECT) return S_FALSE;
    if (event.value < 0 || event.value >= ItemCount()) return E_INVALIDARG;
    Select(event.value);
    Command(CBN_SELCHANGE);
    Notice(KWNOTICE_SETTLED);
    return S_OK;
}

void CList::Describe(tPageControl& out) const {
    out.value = m_selected;
    out.itemCount = ItemCount();
}

const char* CList::Item(LONG index) const {
    return index < 0 || index >= ItemCount() ? nullptr : m_items[static_cast<std::size_t>(index)].text.c_str();
}
