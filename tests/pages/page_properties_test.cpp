// What holds for every page, every control and every field.
#include <algorithm>
#include <cmath>
#include <random>

#include "frame/effect_class.h"
#include "pages/open_page.h"

namespace {

constexpr LONG kDissolveMode = 1247;

class EveryPage : public testing::TestWithParam<larkmoor::EffectInfo> {
  protected:
    /// With every switch on, so that no control is off.
    struct tPage : tOpenPage {
        explicit tPage(const larkmoor::EffectInfo& info) : tOpenPage(info) {
            for (const tPageControl& control : Controls()) {
                if (control.kind == KWCONTROL_CHECK && !control.value) Click(control.id);
                if (control.id != kPageLogo) Send(control.id, KWEVENT_SIZE, 200, 90);
            }
            sink->notices.clear();
        }
        std::vector<tPageControl> Of(tPageControlKind kind) const {
            std::vector<tPageControl> all = Controls();
            std::erase_if(all, [=](const tPageControl& control) { return control.kind != kind; });
            return all;
        }
    };
};
INSTANTIATE_TEST_SUITE_P(Pages, EveryPage, testing::ValuesIn(EffectsWithPages()),
                         [](const auto& info) { return info.param.className; });

/// The trackbar's edit: the next one, in the order of tabs.
LONG EditOf(const std::vector<tPageControl>& controls, LONG bar) {
    auto at = std::ranges::find(controls, bar, &tPageControl::id);
    while (at->kind != KWCONTROL_EDIT) ++at;
    return at->id;
}

// --- how controls stand

bool Meet(const RECT& a, const RECT& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}
bool Holds(const RECT& outer, const RECT& inner) {
    return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
           outer.bottom >= inner.bottom;
}

TEST_P(EveryPage, ControlsStandApart) {
    tOpenPage page(GetParam());
    SIZE size{};
    page.model->GetDialog(&size, nullptr);
    const LONG modes = GetParam().className == "Dissolve" ? 10 : 1;
    for (LONG mode = 0; mode < modes; ++mode) {
        if (modes > 1) page.Choose(kDissolveMode, mode);
        const std::vector<tPageControl> all = page.Controls();
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_TRUE(Holds({0, 0, size.cx, size.cy}, all[i].place)) << all[i].id << " " << all[i].text;
            EXPECT_TRUE(all[i].place.left < all[i].place.right && all[i].place.top < all[i].place.bottom);
            if (all[i].buddy) page.Control(all[i].buddy);
            for (std::size_t k = i + 1; k < all.size(); ++k) {
                EXPECT_TRUE(all[i].id == 0 || all[i].id != all[k].id) << all[i].id << " twice";
                if (!all[i].visible || !all[k].visible) continue;
                const bool framed = (all[i].kind == KWCONTROL_GROUP && Holds(all[i].place, all[k].place)) ||
                                    (all[k].kind == KWCONTROL_GROUP && Holds(all[k].place, all[i].place));
                EXPECT_TRUE(framed || !Meet(all[i].place, all[k].place))
                    << all[i].id << " '" << all[i].text << "' meets " << all[k].id << " '" << all[k].text << "'";
            }
        }
    }
}

TEST_P(EveryPage, MnemonicsAreUnique) {
    tOpenPage page(GetParam());
    std::string taken;
    for (const tPageControl& control : page.Controls()) {
        const bool label = control.kind == KWCONTROL_LABEL || control.kind == KWCONTROL_GROUP ||
                           control.kind == KWCONTROL_CHECK || control.kind == KWCONTROL_RADIO;
        const char* const mark = label ? std::strchr(control.text, '&') : nullptr;
        if (!mark) continue;
        const char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(mark[1])));
        // Text has one twice from the beginning; a toolkit steps from one to the other.
        const bool shared = letter == 't' && GetParam().className == "DXSText";
        EXPECT_TRUE(shared || taken.find(letter) == std::string::npos) << control.text;
        taken += letter;
    }
}

// --- positions, values and texts

// A scale that truncates may come back one position short, binary fractions being what they are; never more.
TEST_P(EveryPage, APositionBecomesAValueAndThePositionAgain) {
    tPage page(GetParam());
    for (const tPageControl& bar : page.Of(KWCONTROL_TRACKBAR)) {
        const LONG span = bar.maximum - bar.minimum;
        double before = 0;
        for (LONG at = 0; at <= span; at += std::max(span / 97, LONG{1})) {
            const LONG position = bar.minimum + at;
            page.Drag(bar.id, position);
            const std::string shown = page.Text(EditOf(page.Controls(), bar.id));
            page.Command(kPageRefresh);
            const LONG back = page.Value(bar.id);
            EXPECT_TRUE(back == position || back == position - 1) << bar.id << " " << position << " is " << back;
            if (at == 0 || position == bar.maximum) {
                EXPECT_EQ(back, position) << bar.id << ": an end is exact";
            }
            const double value = std::stod(shown);
            const bool falls = GetParam().className == "DXTPixelate";
            EXPECT_TRUE(at == 0 || (falls ? value <= before : value >= before)) << bar.id << " " << position;
            before = value;
        }
    }
}

// Each edit that shows a number takes what it shows without a change, and what was typed shows again.
TEST_P(EveryPage, ATextBecomesAValueAndTheTextAgain) {
    tPage page(GetParam());
    for (const tPageControl& edit : page.Of(KWCONTROL_EDIT)) {
        page.Type(edit.id, "-99999");
        const std::string low = page.Text(edit.id);
        page.Type(edit.id, "99999");
        const std::string high = page.Text(edit.id);
        ASSERT_LT(std::stod(low), std::stod(high)) << edit.id;
        // An end holds.
        for (const char* text : {"99999", "9999999999"}) {
            page.sink->notices.clear();
            page.Type(edit.id, text);
            EXPECT_EQ(page.Text(edit.id), high) << edit.id;
            EXPECT_EQ(page.sink->Count(KWNOTICE_APPLIED), 0) << edit.id;
        }
        const std::size_t point = high.find('.');
        const int decimals = point == std::string::npos ? 0 : static_cast<int>(high.size() - point - 1);
        const double step = std::pow(10, -decimals), from = std::stod(low);
        const long count = std::lround((std::stod(high) - from) / step);
        for (long i = 0; i < count; i += std::max(count / 199, 1L))
            for (const long k : {i, i + 1}) { // and the least step from there counts
                char text[64];
                std::snprintf(text, sizeof text, "%.*f", decimals, from + static_cast<double>(k) * step);
                page.Type(edit.id, text);
                EXPECT_EQ(page.Text(edit.id), text) << edit.id;
                page.sink->notices.clear();
                page.Type(edit.id, text);
                page.Send(edit.id, KWEVENT_BLUR);
                EXPECT_EQ(page.sink->Count(KWNOTICE_APPLIED), 0) << edit.id << " " << text;
            }
    }
}

// What is set from elsewhere is shown, and leaving each edit changes nothing.
TEST_P(EveryPage, ShownValuesStay) {
    tPage page(GetParam());
    for (int run = 0; run <= 37; ++run) {
        // The same share of each range keeps partners in order.
        for (const tFieldInfo& field : GetParam().fields)
            if (field.kind == KWFIELD_NUMBER)
                page.effect.set(field.name,
                                std::to_string(field.minimum + run / 37.0 * (field.maximum - field.minimum)));
        page.Command(kPageRefresh);
        const std::vector<std::byte> record = page.effect.record();
        for (const tPageControl& edit : page.Of(KWCONTROL_EDIT)) {
            page.Send(edit.id, KWEVENT_BLUR);
            page.Type(edit.id, page.Text(edit.id));
        }
        EXPECT_TRUE(page.effect.record() == record) << run;
    }
}

TEST_P(EveryPage, EndsHold) {
    tPage page(GetParam());
    for (const tPageControl& list : page.Of(KWCONTROL_LIST))
        for (const LONG index : {-1, list.itemCount}) {
            const char* text = nullptr;
            EXPECT_EQ(page.model->GetItem(list.id, index, &text), E_INVALIDARG) << list.id;
            EXPECT_EQ(page.Send(list.id, KWEVENT_SELECT, 0, 0, index), E_INVALIDARG) << list.id;
            EXPECT_EQ(page.Value(list.id), list.value) << list.id;
        }
    for (const tPageControl& bar : page.Of(KWCONTROL_TRACKBAR))
        for (const auto& [end, wheel, keys] : {std::tuple{bar.maximum, 240, std::pair{KWKEY_END, KWKEY_PAGE_DOWN}},
                                               std::tuple{bar.minimum, -240, std::pair{KWKEY_HOME, KWKEY_PAGE_UP}}}) {
            page.Key(bar.id, keys.first);
            EXPECT_EQ(page.Value(bar.id), end) << bar.id;
            const std::vector<std::byte> record = page.effect.record();
            page.Key(bar.id, keys.second, KWMOD_CTRL);
            page.Send(bar.id, KWEVENT_WHEEL, 0, 0, wheel);
            page.model->SendControl(bar.id, 1552, 1, std::int64_t{wheel} * INT32_MAX, nullptr);
            EXPECT_EQ(page.Value(bar.id), end) << bar.id;
            EXPECT_TRUE(page.effect.record() == record) << bar.id;
        }
}

// --- partners

struct tPair {
    const char *effect, *low, *high;
};
class Partners : public testing::TestWithParam<tPair> {};
INSTANTIATE_TEST_SUITE_P(Pages, Partners,
                         testing::Values(tPair{"DXTLevels", "inputStart", "inputEnd"},
                                         tPair{"DXTLevels", "outputStart", "outputEnd"},
                                         tPair{"DXTKwMask", "lowIn", "highIn"}, tPair{"DXTKwMask", "lowOut", "highOut"},
                                         tPair{"DXTBroadcastColors", "compositeMin", "lumaMin"},
                                         tPair{"DXTBroadcastColors", "lumaMax", "compositeMax"}),
                         [](const auto& info) { return std::string(info.param.effect) + info.param.low; });

TEST_P(Partners, LowIsNeverAboveHigh) {
    tOpenPage page(GetParam().effect);
    std::minstd_rand random{5};
    std::vector<tPageControl> controls = page.Controls();
    std::erase_if(controls, [](const auto& c) { return c.kind != KWCONTROL_TRACKBAR && c.kind != KWCONTROL_EDIT; });
    int equal = 0;
    for (int i = 0; i < 3000; ++i) {
        const tPageControl& control = controls[random() / 7 % controls.size()];
        if (control.kind == KWCONTROL_TRACKBAR)
            page.Drag(control.id, static_cast<LONG>(random() / 7 % 1001));
        else
            page.Type(control.id, std::to_string(static_cast<double>(random() / 7 % 3000) / 10 - 100));
        const double low = page.Number(GetParam().low), high = page.Number(GetParam().high);
        ASSERT_LE(low, high) << control.id;
        equal += low == high;
    }
    EXPECT_GT(equal, 100);
}

} // namespace
