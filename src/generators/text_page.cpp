#include "generators/text.h"

#include <cstring>

#include "pages/page.h"
#include "pages/utf.h"
#include "platform/glyphs.h"
#include "support/value_read.h"

namespace {

enum : LONG {
    kFamily = 1304,
    kStyle = 1305,
    kSize = 1306,
    kSizeSpinner = 1307,
    kFore = 1308,
    kBack = 1309,
    kTracking = 1312,
    kLeading = 1313,
    kHorizontal = 1173,
    kVertical = 1174,
    kColor = 1177,
    kTrackingEdit = 1385,
    kLeadingEdit = 1386,
    kText = 1426,
};
constexpr LONG kBold = 1, kItalic = 2; // bits of a style's index
constexpr LONG kRegularWeight = 400, kBoldWeight = 700;
constexpr LONG kLeastSize = 4, kMostSize = 800; // pixels

constexpr tPageColumns kLeft{7, 36, 157};

constexpr auto kItems = KwItems(
    KwItem(KwLabel(KwPlace(7, 22, 22, 9), "font", kFamily)),
    KwItem({.kind = KWCONTROL_LIST, .id = kFamily, .place = KwPlace(30, 20, 127, kRowHeight), .sorted = true}),
    KwItem({.kind = KWCONTROL_LIST, .id = kStyle, .place = KwPlace(30, 36, 70, kRowHeight)}),
    KwItem({.kind = KWCONTROL_EDIT, .id = kSize, .place = KwPlace(108, 36, 36, kRowHeight)}),
    KwItem({.kind = KWCONTROL_SPINNER, .id = kSizeSpinner, .place = KwPlace(145, 36, 12, kRowHeight), .buddy = kSize}),
    KwItem(KwLabel(KwPlace(7, 52, 60, 9), "", kText, "&Text:")),
    KwItem({.kind = KWCONTROL_TEXT, .id = kText, .place = {7, 62, 157, 132}}),
    KwSlider(138, kLeft, "tracking", kTracking, kTrackingEdit, kTwoThousandths),
    KwSlider(155, kLeft, "leading", kLeading, kLeadingEdit, kTwoThousandths),
    KwItem({.kind = KWCONTROL_GROUP, .id = 1310, .place = {164, 20, 315, 134}, .text = "&Color and Transparency"}),
    KwItem({.kind = KWCONTROL_RADIO,
            .id = kFore,
            .place = KwPlace(172, 32, 60, 11),
            .field = "fore",
            .text = "Foreground"}),
    KwItem({.kind = KWCONTROL_RADIO,
            .id = kBack,
            .place = KwPlace(236, 32, 60, 11),
            .field = "fore",
            .text = "Background"}),
    KwItem({.kind = KWCONTROL_COLOR,
            .id = kColor,
            .place = {172, 46, 308, 128},
            .field = "fore",
            .style = kPickAlpha | kPickGamut}),
    KwDropDown(138, 164, 72, 76, "vertical", kVertical), KwDropDown(155, 164, 72, 76, "horizontal", kHorizontal));

constexpr tPageInfo kPage{.title = "Text", .size = {322, 174}, .helpTopic = 1034, .items = kItems};

} // namespace

class DXSTextPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;

  protected:
    void ControlsMade() override {
        auto& families = Control<CList>(kFamily);
        LONG count = 0;
        for (std::string& name : KwFontFamilies())
            if (name.size() < sizeof tLOGFONT::lfFaceName) families.Add(std::move(name), count++);
        // A family that always resolves: to a face with its metrics where it is not installed itself.
        if (families.FindText("Arial") < 0) families.Add("Arial", count);
        auto& styles = Control<CList>(kStyle);
        for (LONG i = 0; const char* name : {"Regular", "Bold", "Italic", "Bold Italic"}) styles.Add(name, i++);
        auto& spinner = Control<CSpinner>(kSizeSpinner);
        spinner.Message(KWPOS_SET_MIN, 0, kLeastSize);
        spinner.Message(KWPOS_SET_MAX, 0, kMostSize);
    }

    // The text that comes with the record is the effect's; the page keeps one of its own.
    void UpdatePage() override {
        auto& record = Params<tTEXTPROP>();
        record.text = nullptr;
        record.textLength = 0;
        CPropPage::UpdatePage();
    }

    // A record without a character would count as none at all, so an empty text goes as its ending zero.
    void ApplyChanges() override {
        auto& record = Params<tTEXTPROP>();
        record.text = m_text.data();
        record.textLength = static_cast<LONG>(m_text.size()) + 1;
        CPropPage::ApplyChanges();
    }

    void ShowRecord(const CPageControl* except) override {
        auto& record = Params<tTEXTPROP>();
        if (record.text != m_text.data()) TakeText(record);
        CPropPage::ShowRecord(except);
        ShowText();
        ShowFont(record.font);
        Control<CCheck>(kFore).SetChecked(!m_showsBack);
        Control<CCheck>(kBack).SetChecked(m_showsBack);
    }

    std::string_view FieldOf(const tPageItem& item) const override {
        if (item.kind == KWCONTROL_RADIO) return {};
        return item.id == kColor && m_showsBack ? "back" : item.field;
    }

    bool OnControl(LONG id, UINT notification) override {
        tLOGFONT& font = Params<tTEXTPROP>().font;
        switch (id) {
        case kFamily: {
            if (notification != CBN_SELCHANGE) return true;
            const auto& families = Control<CList>(kFamily);
            const std::string name = families.Item(families.Selection());
            std::memset(font.lfFaceName, 0, sizeof font.lfFaceName);
            name.copy(font.lfFaceName, sizeof font.lfFaceName - 1);
            break;
        }
        case kStyle: {
            if (notification != CBN_SELCHANGE) return true;
            const LONG style = Control<CList>(kStyle).SelectedData(0);
            font.lfWeight = style & kBold ? kBoldWeight : kRegularWeight;
            font.lfItalic = style & kItalic ? 1 : 0;
            break;
        }
        case kSize: {
            if (notification != EN_KILLFOCUS) return true;
            const std::string& typed = Control<CEdit>(kSize).Text();
            const LONG size =
                typed.empty() ? font.lfHeight : std::clamp(ReadLong(typed.c_str(), nullptr), kLeastSize, kMostSize);
            if (size == font.lfHeight) {
                ShowRecord(nullptr);
                return true;
            }
            font.lfHeight = size;
            break;
        }
        case kText:
            if (notification != EN_UPDATE || !TypeText(Control<CEdit>(kText))) return true;
            break;
        case kFore:
        case kBack:
            m_showsBack = id == kBack;
            UpdatePage();
            return true;
        default:
            return false;
        }
        ApplyChanges();
        ShowRecord(nullptr);
        return true;
    }

    void OnSpin(CSpinner& spinner, LONG code) override {
        constexpr LONG kTakesFocus = 9, kEnd = 8;
        if (code == kEnd || code == kTakesFocus) return;
        LONG& size = Params<tTEXTPROP>().font.lfHeight;
        const auto position = static_cast<LONG>(spinner.Message(KWPOS_GET, 0, 0));
        if (position == size) return;
        size = position;
        ApplyChanges();
        ShowRecord(nullptr);
    }

  private:
    void TakeText(tTEXTPROP& record) {
        if (record.text && record.textLength > 0) {
            const std::u16string_view all(record.text, static_cast<std::size_t>(record.textLength));
            m_text = all.substr(0, all.find(u'\0'));
        } else {
            m_text.clear();
        }
        record.text = m_text.data();
    }

    /// Records break lines by CR or CR LF, toolkits by LF.
    void ShowText() {
        std::u16string shown;
        for (std::size_t i = 0; i < m_text.size(); ++i) {
            const bool lineFeed = m_text[i] == u'\r' && i + 1 < m_text.size() && m_text[i + 1] == u'\n';
            if (lineFeed) ++i;
            shown += m_text[i] == u'\r' || lineFeed ? u'\n' : m_text[i];
        }
        Control<CEdit>(kText).SetText(KwUtf8(shown));
    }

    /// What was typed into the page's record; false where that changes nothing.
    bool TypeText(const CEdit& edit) {
        if (!edit.IsModified()) return false;
        std::u16string text;
        char16_t before = 0;
        for (const char16_t character : KwUtf16(edit.Text())) {
            if (character != u'\n')
                text += character;
            else if (before != u'\r')
                text += u'\r';
            before = character;
        }
        if (text == m_text) return false;
        m_text = std::move(text);
        Params<tTEXTPROP>().text = m_text.data();
        return true;
    }

    void ShowFont(const tLOGFONT& font) {
        auto& families = Control<CList>(kFamily);
        LONG family =
            families.FindText(std::string_view(font.lfFaceName, strnlen(font.lfFaceName, sizeof font.lfFaceName)));
        if (family < 0) family = families.FindText("Arial");
        families.Select(family);
        Control<CList>(kStyle).Select((font.lfWeight == kBoldWeight ? kBold : 0) | (font.lfItalic ? kItalic : 0));
        Control<CEdit>(kSize).SetText(std::to_string(font.lfHeight));
        Control<CSpinner>(kSizeSpinner).Message(KWPOS_SET, 1, font.lfHeight);
    }

    std::u16string m_text; ///< without its ending zero
    bool m_showsBack = false;
};

template IUnknown* KwCreate<DXSTextPropPage>(const tObjectMapRow&, IUnknown*);
