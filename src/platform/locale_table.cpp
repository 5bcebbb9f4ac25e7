#include "platform/locale_table.h"

#include <algorithm>
#include <array>

namespace {

struct tRow {
    std::string_view name;
    LCID id;
    std::string_view language, languageEnglish;
    LONG countryNumber;
    std::string_view country, countryEnglish, negativeSign, thousands, decimal;
    LONG grouping;
    std::string_view timeSeparator;
    LONG measure;
};

/// From CLDR 42. A language's first country stands for those that are not here.
constexpr tRow kRows[] = {
    // clang-format off
    {"en_US", 0x409, "English", "English", 840, "United States", "United States", "-", ",", ".", 3, ":", 1},
    {"en_AU", 0xC09, "English", "English", 36, "Australia", "Australia", "-", ",", ".", 3, ":", 0},
    {"en_CA", 0x1009, "English", "English", 124, "Canada", "Canada", "-", ",", ".", 3, ":", 0},
    {"en_GB", 0x809, "English", "English", 826, "United Kingdom", "United Kingdom", "-", ",", ".", 3, ":", 0},
    {"en_IE", 0x1809, "English", "English", 372, "Ireland", "Ireland", "-", ",", ".", 3, ":", 0},
    {"en_IN", 0x4009, "English", "English", 356, "India", "India", "-", ",", ".", 32, ":", 0},
    {"en_NZ", 0x1409, "English", "English", 554, "New Zealand", "New Zealand", "-", ",", ".", 3, ":", 0},
    {"en_ZA", 0x1C09, "English", "English", 710, "South Africa", "South Africa", "-", "\u00A0", ",", 3, ":", 0},
    {"ar_EG", 0xC01, "العربية", "Arabic", 818, "مصر", "Egypt", "\u200E-", ",", ".", 3, ":", 0},
    {"ar_SA", 0x401, "العربية", "Arabic", 682, "المملكة العربية السعودية", "Saudi Arabia", "\u200E-", ",", ".", 3, ":", 0},
    {"bg_BG", 0x402, "български", "Bulgarian", 100, "България", "Bulgaria", "-", "\u00A0", ",", 3, ":", 0},
    {"bn_BD", 0x845, "বাংলা", "Bangla", 50, "বাংলাদেশ", "Bangladesh", "-", ",", ".", 32, ":", 0},
    {"ca_ES", 0x403, "català", "Catalan", 724, "Espanya", "Spain", "-", ".", ",", 3, ":", 0},
    {"cs_CZ", 0x405, "čeština", "Czech", 203, "Česko", "Czechia", "-", "\u00A0", ",", 3, ":", 0},
    {"da_DK", 0x406, "dansk", "Danish", 208, "Danmark", "Denmark", "-", ".", ",", 3, ".", 0},
    {"de_DE", 0x407, "Deutsch", "German", 276, "Deutschland", "Germany", "-", ".", ",", 3, ":", 0},
    {"de_AT", 0xC07, "Deutsch", "German", 40, "Österreich", "Austria", "-", "\u00A0", ",", 3, ":", 0},
    {"de_CH", 0x807, "Deutsch", "German", 756, "Schweiz", "Switzerland", "-", "\u2019", ".", 3, ":", 0},
    {"el_GR", 0x408, "Ελληνικά", "Greek", 300, "Ελλάδα", "Greece", "-", ".", ",", 3, ":", 0},
    {"es_ES", 0xC0A, "español", "Spanish", 724, "España", "Spain", "-", ".", ",", 3, ":", 0},
    {"es_AR", 0x2C0A, "español", "Spanish", 32, "Argentina", "Argentina", "-", ".", ",", 3, ":", 0},
    {"es_MX", 0x80A, "español", "Spanish", 484, "México", "Mexico", "-", ",", ".", 3, ":", 0},
    {"et_EE", 0x425, "eesti", "Estonian", 233, "Eesti", "Estonia", "\u2212", "\u00A0", ",", 3, ":", 0},
    {"eu_ES", 0x42D, "euskara", "Basque", 724, "Espainia", "Spain", "\u2212", ".", ",", 3, ":", 0},
    {"fa_IR", 0x429, "فارسی", "Persian", 364, "ایران", "Iran", "\u200E\u2212", ",", ".", 3, ":", 0},
    {"fi_FI", 0x40B, "suomi", "Finnish", 246, "Suomi", "Finland", "\u2212", "\u00A0", ",", 3, ".", 0},
    {"fr_FR", 0x40C, "français", "French", 250, "France", "France", "-", "\u202F", ",", 3, ":", 0},
    {"fr_BE", 0x80C, "français", "French", 56, "Belgique", "Belgium", "-", "\u202F", ",", 3, ":", 0},
    {"fr_CA", 0xC0C, "français", "French", 124, "Canada", "Canada", "-", "\u00A0", ",", 3, "h", 0},
    {"fr_CH", 0x100C, "français", "French", 756, "Suisse", "Switzerland", "-", "\u202F", ",", 3, ":", 0},
    {"he_IL", 0x40D, "עברית", "Hebrew", 376, "ישראל", "Israel", "\u200E-", ",", ".", 3, ":", 0},
    {"hi_IN", 0x439, "हिन्दी", "Hindi", 356, "भारत", "India", "-", ",", ".", 32, ":", 0},
    {"hr_HR", 0x41A, "hrvatski", "Croatian", 191, "Hrvatska", "Croatia", "\u2212", ".", ",", 3, ":", 0},
    {"hu_HU", 0x40E, "magyar", "Hungarian", 348, "Magyarország", "Hungary", "-", "\u00A0", ",", 3, ":", 0},
    {"id_ID", 0x421, "Indonesia", "Indonesian", 360, "Indonesia", "Indonesia", "-", ".", ",", 3, ".", 0},
    {"it_IT", 0x410, "italiano", "Italian", 380, "Italia", "Italy", "-", ".", ",", 3, ":", 0},
    {"it_CH", 0x810, "italiano", "Italian", 756, "Svizzera", "Switzerland", "-", "\u2019", ".", 3, ":", 0},
    {"ja_JP", 0x411, "日本語", "Japanese", 392, "日本", "Japan", "-", ",", ".", 3, ":", 0},
    {"ko_KR", 0x412, "한국어", "Korean", 410, "대한민국", "South Korea", "-", ",", ".", 3, ":", 0},
    {"lt_LT", 0x427, "lietuvių", "Lithuanian", 440, "Lietuva", "Lithuania", "\u2212", "\u00A0", ",", 3, ":", 0},
    {"lv_LV", 0x426, "latviešu", "Latvian", 428, "Latvija", "Latvia", "-", "\u00A0", ",", 3, ":", 0},
    {"nb_NO", 0x414, "norsk bokmål", "Norwegian Bokmål", 578, "Norge", "Norway", "\u2212", "\u00A0", ",", 3, ":", 0},
    {"nl_NL", 0x413, "Nederlands", "Dutch", 528, "Nederland", "Netherlands", "-", ".", ",", 3, ":", 0},
    {"nl_BE", 0x813, "Nederlands", "Dutch", 56, "België", "Belgium", "-", ".", ",", 3, ":", 0},
    {"nn_NO", 0x814, "norsk nynorsk", "Norwegian Nynorsk", 578, "Noreg", "Norway", "\u2212", "\u00A0", ",", 3, ":", 0},
    {"pl_PL", 0x415, "polski", "Polish", 616, "Polska", "Poland", "-", "\u00A0", ",", 3, ":", 0},
    {"pt_BR", 0x416, "português", "Portuguese", 76, "Brasil", "Brazil", "-", ".", ",", 3, ":", 0},
    {"pt_PT", 0x816, "português", "Portuguese", 620, "Portugal", "Portugal", "-", "\u00A0", ",", 3, ":", 0},
    {"ro_RO", 0x418, "română", "Romanian", 642, "România", "Romania", "-", ".", ",", 3, ":", 0},
    {"ru_RU", 0x419, "русский", "Russian", 643, "Россия", "Russia", "-", "\u00A0", ",", 3, ":", 0},
    {"sk_SK", 0x41B, "slovenčina", "Slovak", 703, "Slovensko", "Slovakia", "-", "\u00A0", ",", 3, ":", 0},
    {"sl_SI", 0x424, "slovenščina", "Slovenian", 705, "Slovenija", "Slovenia", "\u2212", ".", ",", 3, ":", 0},
    {"sr_RS", 0x7C1A, "српски", "Serbian", 688, "Србија", "Serbia", "-", ".", ",", 3, ":", 0},
    {"sv_SE", 0x41D, "svenska", "Swedish", 752, "Sverige", "Sweden", "\u2212", "\u00A0", ",", 3, ":", 0},
    {"sv_FI", 0x81D, "svenska", "Swedish", 246, "Finland", "Finland", "\u2212", "\u00A0", ",", 3, ":", 0},
    {"ta_IN", 0x449, "தமிழ்", "Tamil", 356, "இந்தியா", "India", "-", ",", ".", 32, ":", 0},
    {"th_TH", 0x41E, "ไทย", "Thai", 764, "ไทย", "Thailand", "-", ",", ".", 3, ":", 0},
    {"tr_TR", 0x41F, "Türkçe", "Turkish", 792, "Türkiye", "Turkey", "-", ".", ",", 3, ":", 0},
    {"uk_UA", 0x422, "українська", "Ukrainian", 804, "Україна", "Ukraine", "-", "\u00A0", ",", 3, ":", 0},
    {"ur_PK", 0x420, "اردو", "Urdu", 586, "پاکستان", "Pakistan", "\u200E-", ",", ".", 3, ":", 0},
    {"vi_VN", 0x42A, "Tiếng Việt", "Vietnamese", 704, "Việt Nam", "Vietnam", "-", ".", ",", 3, ":", 0},
    {"zh_CN", 0x804, "中文", "Chinese", 156, "中国", "China", "-", ",", ".", 3, ":", 0},
    {"zh_TW", 0x404, "中文", "Chinese", 158, "台灣", "Taiwan", "-", ",", ".", 3, ":", 0},
    // clang-format on
};

const tRow& RowOf(std::string_view name) {
    const tRow* found = nullptr;
    for (const tRow& row : kRows) {
        const std::string_view language = row.name.substr(0, 2);
        const bool same = name.starts_with(language) && (name.size() == 2 || name[2] == '_' || name[2] == '-');
        if (same && name.substr(std::min<std::size_t>(name.size(), 3)) == row.name.substr(3)) return row;
        if (same && !found) found = &row;
    }
    return found ? *found : kRows[0];
}

} // namespace

void KwReadLocaleTable(std::string_view name, tLOCALEFACTS& facts) {
    const tRow& row = RowOf(name);
    facts.localeId = row.id;
    facts.languageNumber = static_cast<LONG>(row.id & 0xFFFF);
    facts.language = row.language;
    facts.languageEnglish = row.languageEnglish;
    facts.countryNumber = row.countryNumber;
    facts.country = row.country;
    facts.countryEnglish = row.countryEnglish;
    facts.negativeSign = row.negativeSign;
    facts.thousands = row.thousands;
    facts.decimal = row.decimal;
    facts.grouping = row.grouping;
    facts.timeSeparator = row.timeSeparator;
    facts.measure = row.measure;
}

std::span<const std::string_view> KwLocaleTableNames() {
    static constexpr auto kNames = [] {
        std::array<std::string_view, std::size(kRows)> names;
        for (std::size_t i = 0; i < names.size(); ++i) names[i] = kRows[i].name;
        return names;
    }();
    return kNames;
}
