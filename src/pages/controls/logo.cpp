#include "pages/controls/logo.h"

#include <iterator>
#include <new>

namespace {

constexpr ULONG kBackground = 0x969696;
constexpr std::string_view kMaker = "Kestrelwing ";
constexpr std::size_t kMostCharacters = 130;
constexpr std::size_t kLongestCharacter = 4; // bytes
constexpr std::size_t kMostLinks = std::size(tLogoDetail{}.links);

// The end of the UTF-8 character at `from`. Bytes of no character count as one each.
std::size_t NextCharacter(std::string_view text, std::size_t from) {
    std::size_t end = from + 1;
    while (end < text.size() && end - from < kLongestCharacter && (text[end] & 0xC0) == 0x80) ++end;
    return end;
}

std::string_view Shortened(std::string_view text) {
    std::size_t end = 0;
    for (std::size_t i = 0; i < kMostCharacters && end < text.size(); ++i) end = NextCharacter(text, end);
    return text.substr(0, end);
}

std::int64_t CharactersOf(std::string_view text) {
    std::int64_t count = 0;
    for (std::size_t at = 0; at < text.size(); at = NextCharacter(text, at)) ++count;
    return count;
}

} // namespace

CLogo::CLogo(IControlOwner& owner, LONG id, std::string_view caption) : CPageControl(owner, id) {
    Store(caption);
}

void CLogo::SetCaption(std::string_view caption) {
    Store(caption);
    Changed();
}

void CLogo::Store(std::string_view caption) {
    caption = Shortened(caption);
    if (caption.starts_with(kMaker)) caption.remove_prefix(kMaker.size());
    m_caption = caption;
}

bool CLogo::AddLink(LONG id, const char* text) {
    if (!text || m_links.size() >= kMostLinks) return false;
    m_links.push_back({id, std::string(Shortened({text, strnlen(text, kMostCharacters * kLongestCharacter)})), {}});
    Arrange();
    Changed();
    return true;
}

// Six pixels a character in a band of twenty; a blank before the end and between links.
void CLogo::Arrange() {
    const std::int64_t character = std::max<std::int64_t>(std::int64_t{m_height} * 6 / 20, 1);
    std::int64_t right = m_width;
    for (tLink& link : m_links) {
        right = std::max<std::int64_t>(right - character, 0);
        const std::int64_t left = std::max<std::int64_t>(right - CharactersOf(link.text) * character, 0);
        link.place = {static_cast<LONG>(left), 0, static_cast<LONG>(right), m_height};
        right = left;
    }
}

std::intptr_t CLogo::Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
    switch (message) {
    case kLogoReset:
        m_links.clear();
        Changed();
        return 0;
    case kLogoAddLink:
        return AddLink(static_cast<LONG>(wParam), reinterpret_cast<const char*>(lParam));
    default:
        return 0;
    }
}

HRESULT CLogo::Event(const tPageEvent& event) {
    switch (event.kind) {
    case KWEVENT_SIZE:
        m_width = std::max(event.x, 0);
        m_height = std::max(event.y, 0);
        Arrange();
        Changed();
        return S_OK;
    case KWEVENT_PRESS:
        for (const tLink& link : m_links) {
            const RECT& place = link.place;
            if (event.x < place.left || event.x >= place.right || event.y < place.top || event.y >= place.bottom)
                continue;
            SendToOwner(WM_COMMAND, static_cast<ULONG>(link.id), 0);
            return S_OK;
        }
        return S_FALSE;
    default:
        return S_FALSE;
    }
}

void CLogo::Describe(tPageControl& out) const {
    out.text = m_caption.c_str();
}

HRESULT CLogo::Detail(void* out, ULONG size) const {
    tLogoDetail detail{};
    detail.caption = m_caption.c_str();
    detail.background = kBackground;
    detail.linkCount = static_cast<LONG>(m_links.size());
    for (std::size_t i = 0; i < m_links.size(); ++i)
        detail.links[i] = {m_links[i].id, m_links[i].place, m_links[i].text.c_str()};
    return Give(detail, out, size);
}
