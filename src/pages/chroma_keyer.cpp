#include "kernels/chroma_key.h"
#include "pages/page.h"

namespace {

constexpr tPageColumns kColumns = KwColumns(220, 58);

constexpr auto kItems = KwItems(KwPicker(kPageMargin, KwRow(0), 206, 86, "color", 1167),
                                KwSlider(108, kColumns, "transparencyMask.lowThreshold", 1162, 1320, kThousandthsCut),
                                KwSlider(124, kColumns, "transparencyMask.highThreshold", 1163, 1321, kThousandthsCut),
                                KwSlider(140, kColumns, "transparencyMask.blurAmount", 1164, 1322, kThousandthsCut),
                                KwCheck(KwPlace(kPageMargin, 157, 120, 11), "maskOnly", 1161));

constexpr tPageInfo kPage{.title = "Chroma Keyer", .size = {220, 172}, .helpTopic = 1017, .items = kItems};

} // namespace

class DXTChromaKeyPropPage final : public CPropPage<kPage> {
  public:
    using CPropPage::CPropPage;

  protected:
    // Of the record's two sets of thresholds the page shows the one that the record names.
    std::string_view FieldOf(const tPageItem& item) const override {
        constexpr std::pair<std::string_view, std::string_view> kTwins[] = {
            {"transparencyMask.lowThreshold", "colorCorrectionMask.lowThreshold"},
            {"transparencyMask.highThreshold", "colorCorrectionMask.highThreshold"},
            {"transparencyMask.blurAmount", "colorCorrectionMask.blurAmount"},
        };
        if (m_Params.empty() || reinterpret_cast<const tCHROMAKEYPROP*>(m_Params.data())->selectedMask == 0)
            return item.field;
        for (const auto& [first, second] : kTwins)
            if (first == item.field) return second;
        return item.field;
    }
};

template IUnknown* KwCreate<DXTChromaKeyPropPage>(const tObjectMapRow&, IUnknown*);
