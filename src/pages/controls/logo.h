// The Logo band across the top of a page: a caption at the left, hot links at the right.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "pages/controls/control.h"

inline constexpr UINT kLogoReset = 1536;   ///< takes the links away; the caption stays
inline constexpr UINT kLogoAddLink = 1537; ///< `wParam` the id, `lParam` the text; 1 for success
inline constexpr LONG kLogoCaptionX = 4;   ///< pixels; the caption is centred in height

/// A press on a link sends its id by WM_COMMAND. There are at most four; the first stands at the right end. Texts are
/// kept up to 130 characters.
class CLogo : public CPageControl {
  public:
    CLogo(IControlOwner& owner, LONG id, std::string_view caption = {});

    /// The maker's word at the beginning is left out.
    void SetCaption(std::string_view caption);

    std::intptr_t Message(UINT message, std::uintptr_t wParam, std::intptr_t lParam) override;
    HRESULT Event(const tPageEvent& event) override;
    void Describe(tPageControl& out) const override;
    /// Gives a `tLogoDetail`. A link is as high as the band. Its width is an estimate, for fonts are the view's: 0.3 of
    /// the height a character. One without room is empty and cannot be pressed.
    HRESULT Detail(void* out, ULONG size) const override;

  private:
    struct tLink {
        LONG id;
        std::string text;
        RECT place;
    };

    void Store(std::string_view caption);
    bool AddLink(LONG id, const char* text);
    void Arrange();

    std::string m_caption;
    std::vector<tLink> m_links;
    LONG m_width = 0, m_height = 0;
};
