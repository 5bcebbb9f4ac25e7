// The rules that all pages follow, each on the page where it shows.
#include <cmath>
#include <sstream>

#include "frame/effect_class.h"
#include "pages/open_page.h"
#include "support/messages.h"

namespace {

constexpr HRESULT kNoHelp = KwStatus(0x8004E046);

// --- edits

// Ends of ranges are in the files of the pages.
TEST(Page, EditsReadClampAndStep) {
    constexpr struct {
        const char* effect;
        LONG id;
        const char *set, *typed, *after, *shown; ///< fields as "name=value name=value"
    } kCases[] = {
        {"DXTInvert", 1383, "amount=0.5", "  .75 of it", "amount=0.75", "0.750"},
        {"DXTInvert", 1383, "amount=0.5", "", "amount=0.5", "0.500"},
        {"DXTInvert", 1383, "amount=0.5", "abc", "amount=0", "0.000"},
        {"DXTInvert", 1383, "amount=0.5", "-", "amount=0", "0.000"},
        {"DXTInvert", 1383, "amount=0.5", "0.5009", "amount=0.5", "0.500"},
        {"DXTInvert", 1383, "amount=0.5", "0.4991", "amount=0.5", "0.500"},
        {"DXTInvert", 1383, "amount=0.5", "0.501", "amount=0.501", "0.501"},
        {"DXTInvert", 1383, "amount=0.9995", "7", "amount=0.9995", "1.000"}, // clamped and then too near
        {"DXTInvert", 1383, "amount=5", "1", "amount=1", "1.000"},
        {"DXTThreshold", 1125, "threshold=0.5", "0.509", "threshold=0.5", "0.50"},
        {"DXTThreshold", 1125, "threshold=0.5", "0.511", "threshold=0.511", "0.51"},
        {"DXTKwWipe", 1172, "angle=10", "10.05", "angle=10", "10.0"},
        {"DXTKwIris", 1240, "repeatX=2", "2.9", "repeatX=2", "2"},
        {"DXTKwIris", 1240, "repeatX=2", "3.9", "repeatX=3", "3"},
        {"DXTBroadcastColors", 1481, "lumaMin=0", "0.009", "lumaMin=0", "0.00"},
        {"DXTBroadcastColors", 1481, "lumaMin=0", "0.01", "lumaMin=0.01", "0.01"},
    };
    const auto each = [](const char* fields, auto&& visit) {
        std::istringstream words(fields);
        for (std::string word; words >> word;) visit(word.substr(0, word.find('=')), word.substr(word.find('=') + 1));
    };
    for (const auto& test : kCases) {
        SCOPED_TRACE(std::string(test.effect) + " " + test.set + " -> " + test.typed);
        tOpenPage page(test.effect);
        each(test.set, [&](const auto& field, const auto& value) { page.Set(field, value); });
        const std::vector<std::byte> before = page.effect.record();
        page.Type(test.id, test.typed);
        each(test.after, [&](const auto& field, const auto& value) {
            EXPECT_NEAR(page.Number(field), std::stod(value), 1e-6) << field;
        });
        EXPECT_EQ(page.Text(test.id), test.shown);
        EXPECT_EQ(page.sink->Count(KWNOTICE_APPLIED), before != page.effect.record());
    }
}

TEST(Page, EditsReplaceWhatIsNoNumber) {
    tOpenPage page("DXTInvert");
    for (const double wild : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300}) {
        page.effect.setRecord(std::as_bytes(std::span(&wild, 1)));
        page.Command(kPageRefresh);
        page.Type(1383, "0.5");
        EXPECT_EQ(page.Number("amount"), 0.5);
        EXPECT_EQ(page.Text(1383), "0.500");
    }
}

TEST(Page, AnEditIsReadUpToItsLength) {
    tOpenPage page("DXTInvert");
    page.Type(1383, std::string(256, ' ') + "0.5");
    EXPECT_EQ(page.Number("amount"), 0.5);
    page.Type(1383, std::string(257, ' ') + "0.5");
    EXPECT_EQ(page.Number("amount"), 0);
    page.Type(1383, std::string(100000, '1'));
    EXPECT_EQ(page.Number("amount"), 1);
}

// Text that is not left yet changes nothing.
TEST(Page, AnEditWaitsForTheFocusToLeave) {
    tOpenPage page("DXTInvert");
    page.Send(1383, KWEVENT_TEXT, 0, 0, 0, 0, 0, "0.25");
    EXPECT_EQ(page.Number("amount"), 1);
    page.Command(1383, EN_KILLFOCUS - 1);
    EXPECT_EQ(page.Number("amount"), 1);
    page.Command(1383, EN_KILLFOCUS);
    EXPECT_EQ(page.Number("amount"), 0.25);
}

// --- trackbars

// Values of the range are in the files of the pages.
TEST(Page, ValuesBeyondTheRangeBecomePositions) {
    constexpr struct {
        const char* effect;
        LONG bar;
        const char *field, *value;
        LONG position;
    } kCases[] = {
        {"DXTInvert", 1435, "amount", "7", 1000},
        {"DXTInvert", 1435, "amount", "-7", 0},
        {"DXTInvert", 1435, "amount", "1e300", 0},                    // as a conversion that does not fit
        {"DXTBrightnessContrast", 1017, "brightness", "-0.125", -13}, // rounded half away from zero
        {"DXTBrightnessContrast", 1017, "brightness", "-9", -100},
        {"DXTLevels", 1061, "gamma", "0", 0},
        {"DXTTimeCode", 1478, "width", "0", 0},
    };
    for (const auto& test : kCases) {
        tOpenPage page(test.effect);
        page.Set(test.field, test.value);
        EXPECT_EQ(page.Value(test.bar), test.position) << test.effect << " " << test.field << " " << test.value;
    }
}

// --- single pages

TEST(Page, GamutSwitchesItsBounds) {
    struct tRow {
        LONG check, bar, edit;
        const char *gate, *bound;
    };
    for (const tRow& row :
         {tRow{1399, 1391, 1390, "smoothLow", "lowBound"}, {1400, 1394, 1393, "smoothUpper", "highBound"}}) {
        tOpenPage page("DXTGamut");
        page.Set(row.gate, "0");
        const double before = page.Number(row.bound);
        EXPECT_FALSE(page.Control(row.bar).enabled);
        EXPECT_FALSE(page.Control(row.edit).enabled);
        EXPECT_EQ(page.Send(row.edit, KWEVENT_TEXT, 0, 0, 0, 0, 0, "0.5"), S_FALSE);
        EXPECT_EQ(page.Key(row.bar, KWKEY_END), S_FALSE);
        EXPECT_EQ(page.Number(row.bound), before);
        page.sink->notices.clear();
        page.Click(row.check);
        EXPECT_TRUE(page.Control(row.bar).enabled);
        EXPECT_TRUE(page.Control(row.edit).enabled);
        EXPECT_GE(page.sink->Count(KWNOTICE_CHANGED, row.bar), 1);
        page.Type(row.edit, "0.5");
        EXPECT_EQ(page.Number(row.bound), 0.5);
        // Off in the middle of a drag: the end of it still arrives.
        page.Send(row.bar, KWEVENT_SIZE, 200, 20);
        page.Send(row.bar, KWEVENT_PRESS, 100, 10);
        page.Set(row.gate, "0");
        EXPECT_EQ(page.Send(row.bar, KWEVENT_MOVE, 150, 10, 1), S_FALSE);
        EXPECT_EQ(page.Send(row.bar, KWEVENT_CANCEL), S_OK);
        EXPECT_EQ(page.sink->notices.back().code, KWNOTICE_SETTLED);
        EXPECT_EQ(page.Send(row.bar, KWEVENT_SIZE, 200, 20), S_OK);
        EXPECT_EQ(page.Number(row.bound), 0.5);
    }
}

// --- presets, menu, help, About

TEST(Page, APresetComesBackAsAMessage) {
    tOpenPage page("DXTInvert");
    page.Command(kPagePresetFirst + 2);
    EXPECT_EQ(page.Number("amount"), 0.75);
    EXPECT_EQ(page.Text(1383), "1.000");
    const auto posted = page.queue.take();
    ASSERT_EQ(posted.size(), 1u);
    EXPECT_EQ(posted[0].message, UINT{WM_COMMAND});
    EXPECT_EQ(posted[0].wParam, std::uintptr_t{kPageRefresh});
    page.Page(WM_COMMAND, posted[0].wParam, posted[0].lParam);
    EXPECT_EQ(page.Text(1383), "0.750");
    EXPECT_EQ(page.Value(1435), 750);
    page.Command(kPagePresetFirst + 4);
    page.Command(kPagePresetLast);
    EXPECT_EQ(page.Number("amount"), 0.75);
    EXPECT_EQ(page.Deliver(), 0u);
}

TEST(Page, TheContextMenuHasItsPlace) {
    tOpenPage page("DXTInvert");
    const auto at = [&](LONG x, LONG y) {
        page.sink->notices.clear();
        page.Page(WM_CONTEXTMENU, 0, (x & 0xFFFF) | (y & 0xFFFF) << 16);
        EXPECT_EQ(page.sink->notices.size(), 1u);
        const tPageNotice& notice = page.sink->notices.front();
        EXPECT_EQ(notice.code, KWNOTICE_MENU);
        EXPECT_EQ(notice.control, 0);
        return std::pair{notice.x, notice.y};
    };
    EXPECT_EQ(at(30, 40), std::pair(30, 40));
    EXPECT_EQ(at(0, 0), std::pair(0, 0));
    EXPECT_EQ(at(-1, -1), std::pair(220, 20)); // of 440 by 82
    const RECT place{10, 20, 310, 220};
    EXPECT_EQ(page.page->Move(&place), S_OK);
    EXPECT_EQ(at(-1, 5), std::pair(150, 50));
    EXPECT_EQ(at(5, -1), std::pair(150, 50));
}

TEST(Page, ThePageKeepsItsExtendedStyle) {
    tOpenPage page("DXTInvert");
    DWORD style[2] = {0, 0x20};
    EXPECT_EQ(page.Page(WM_STYLECHANGING, static_cast<std::uintptr_t>(-20), reinterpret_cast<std::intptr_t>(style)), 0);
    EXPECT_EQ(style[1], 0x10020u);
    EXPECT_EQ(page.Page(WM_STYLECHANGING, static_cast<std::uintptr_t>(-16), reinterpret_cast<std::intptr_t>(style)), 1);
    EXPECT_EQ(page.Page(WM_STYLECHANGING, static_cast<std::uintptr_t>(-20), 0), 0);
}

TEST(Page, HelpIsTheToolkits) {
    tOpenPage page("DXTInvert");
    tLogoDetail logo{};
    EXPECT_EQ(page.model->GetDetail(kPageLogo, &logo, sizeof logo), S_OK);
    ASSERT_EQ(logo.linkCount, 2);
    EXPECT_EQ(logo.links[0].id, kPageAbout);
    EXPECT_EQ(logo.links[1].id, kPageHelp);
    page.Command(kPageHelp);
    EXPECT_EQ(page.Page(WM_HELP), 1);
    EXPECT_EQ(page.page->Help(nullptr), S_OK);
    ASSERT_EQ(page.sink->Count(KWNOTICE_HELP, 0), 3);
    for (const tPageNotice& notice : page.sink->notices) EXPECT_TRUE(notice.code != KWNOTICE_HELP || notice.x == 1028);
    page.sink->answer = E_FAIL;
    EXPECT_EQ(page.page->Help(nullptr), kNoHelp);
    page.model->SetPageSink(nullptr);
    EXPECT_EQ(page.page->Help(nullptr), kNoHelp);
}

// Messages have a callback of the module's inside, so this page is made there.
TEST(Page, AboutGoesThroughTheMessages) {
    const auto make = [](std::string_view className) {
        for (const tObjectMapRow& row : KwObjectMap())
            if (className == row.className) return CComPtr<IUnknown>::Adopt(row.create(row, nullptr));
        return CComPtr<IUnknown>();
    };
    const auto effect = make("DXTInvert"), object = make("DXTInvertPropPage");
    const auto page = KwQuery<IPropertyPage>(object.Get());
    const auto model = KwQuery<IKwPage>(object.Get());
    IUnknown* objects[] = {effect.Get()};
    larkmoor::MessageQueue window;
    ASSERT_EQ(page->SetObjects(1, objects), S_OK);
    ASSERT_EQ(page->Activate(&window, nullptr, FALSE), S_OK);

    struct tShown {
        std::string title, text;
        HWND parent;
        LONG icon;
        int count = 0;
    } shown;
    SetMessageCallback(
        [](void* self, const tMESSAGE& message, bool*) {
            auto& noted = *static_cast<tShown*>(self);
            noted = {message.title, message.text, message.parent, message.icon, noted.count + 1};
            return static_cast<UINT>(IDOK);
        },
        &shown);
    EXPECT_EQ(model->SendPage(WM_COMMAND, kPageAbout, 0, nullptr), S_OK);
    SetMessageCallback(nullptr, nullptr);
    EXPECT_EQ(shown.count, 1);
    EXPECT_EQ(shown.title, "About");
    EXPECT_NE(shown.text.find("Invert"), std::string::npos);
    EXPECT_EQ(shown.parent, &window);
    EXPECT_EQ(page->Deactivate(), S_OK);
}

// --- life

TEST(Page, TheNotifyWindowIsClearedAtTheEnd) {
    const auto told = [](tOpenPage& page) {
        page.effect.applyPreset("0");
        return page.queue.take().size();
    };
    {
        tOpenPage page("DXTInvert");
        EXPECT_EQ(told(page), 1u);
        EXPECT_EQ(page.page->Deactivate(), S_OK);
        EXPECT_EQ(told(page), 0u);
        EXPECT_EQ(page.page->Activate(&page.queue, nullptr, FALSE), S_OK);
        EXPECT_EQ(told(page), 1u);
        EXPECT_EQ(page.page->SetObjects(0, nullptr), S_OK);
        EXPECT_EQ(told(page), 0u);
    }
    {
        tOpenPage page("DXTInvert");
        page.Page(WM_DESTROY);
        EXPECT_EQ(told(page), 0u);
    }
    {
        tOpenPage page("DXSTestp"); // a generator has another interface for it
        EXPECT_EQ(told(page), 1u);
        page.model.Reset();
        page.page.Reset();
        page.object.Reset();
        EXPECT_EQ(told(page), 0u);
    }
}

TEST(Page, AnotherEffectTakesOver) {
    tOpenPage page("DXTInvert");
    larkmoor::Effect other = larkmoor::module().create(larkmoor::module().find("DXTInvert"));
    other.set("amount", "0.25");
    page.Take(other);
    EXPECT_EQ(page.Text(1383), "0.250");
    page.effect.applyPreset("0");
    EXPECT_EQ(page.queue.take().size(), 0u);
    other.applyPreset("60% Inversion");
    EXPECT_EQ(page.Deliver(), 1u);
    EXPECT_EQ(page.Text(1383), "0.600");
}

TEST(Page, ObjectsOfOtherClassesAreRefused) {
    tOpenPage page("DXTInvert");
    const larkmoor::Effect other = larkmoor::module().create(larkmoor::module().find("DXTSharpen"));
    IUnknown* const wrong[] = {other.object(), page.object.Get(), nullptr};
    for (IUnknown* object : wrong) EXPECT_EQ(page.page->SetObjects(1, &object), E_NOINTERFACE);
    EXPECT_EQ(page.page->SetObjects(1, nullptr), E_POINTER);
    page.Type(1383, "0.25"); // the page goes on with what it has
    EXPECT_EQ(page.Number("amount"), 0.25);
}

TEST(Page, CallsInAnyOrder) {
    tOpenPage page("DXTInvert", false);
    const tPageEvent click{.kind = KWEVENT_CLICK};
    tPageControl control{};
    EXPECT_EQ(page.page->Deactivate(), E_UNEXPECTED);
    EXPECT_EQ(page.page->Apply(), E_UNEXPECTED);
    EXPECT_EQ(page.model->SendEvent(1383, &click), E_INVALIDARG);
    EXPECT_EQ(page.model->SendPage(WM_COMMAND, kPageRefresh, 0, nullptr), E_UNEXPECTED);
    EXPECT_EQ(page.model->SendControl(1435, 1552, 1, 7, nullptr), S_OK);
    EXPECT_EQ(page.page->Activate(&page.queue, nullptr, FALSE), S_OK);
    EXPECT_EQ(page.page->Activate(&page.queue, nullptr, FALSE), E_UNEXPECTED);
    EXPECT_EQ(page.Value(1435), 1000);
    EXPECT_EQ(page.page->Apply(), S_OK);
    EXPECT_EQ(page.page->IsPageDirty(), S_FALSE);
    page.Type(1383, "0.5");
    EXPECT_EQ(page.page->IsPageDirty(), S_FALSE); // every change is live
    EXPECT_EQ(page.page->SetObjects(0, nullptr), S_OK);
    EXPECT_EQ(page.model->GetControl(0, &control, sizeof control), E_INVALIDARG);
    EXPECT_EQ(page.page->Activate(&page.queue, nullptr, FALSE), E_UNEXPECTED);
    EXPECT_EQ(page.page->TranslateAccelerator(nullptr), S_FALSE);
    EXPECT_EQ(page.page->Show(1), S_OK);
    EXPECT_EQ(page.page->SetPageSite(page.object.Get()), S_OK);
    EXPECT_EQ(page.page->SetPageSite(nullptr), S_OK);
    tPageMenuItem item{};
    EXPECT_EQ(page.model->GetMenuItem(0, 0, &item, sizeof item), S_OK);
}

TEST(Page, NullPointersAndUnknownIds) {
    tOpenPage page("DXTKwZoom");
    tPageControl control{};
    const char* text = nullptr;
    tPageMenuItem item{};
    EXPECT_EQ(page.model->GetDialog(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(page.model->GetMenuItem(0, -1, &item, sizeof item), E_INVALIDARG);
    EXPECT_EQ(page.model->GetMenuItem(0, 0, nullptr, 0), E_POINTER);
    EXPECT_EQ(page.model->GetControl(0, nullptr, 0), E_POINTER);
    EXPECT_EQ(page.model->GetControl(-1, &control, sizeof control), E_INVALIDARG);
    EXPECT_EQ(page.model->FindControl(1211, nullptr, 0), E_POINTER);
    EXPECT_EQ(page.model->FindControl(9999, &control, sizeof control), E_INVALIDARG);
    EXPECT_EQ(page.model->GetItem(1211, 0, nullptr), E_POINTER);
    EXPECT_EQ(page.model->GetItem(1211, 0, &text), E_INVALIDARG);
    EXPECT_EQ(page.model->SendEvent(1211, nullptr), E_POINTER);
    EXPECT_EQ(page.Send(9999, KWEVENT_CLICK), E_INVALIDARG);
    EXPECT_EQ(page.Send(1212, KWEVENT_TEXT), E_POINTER);
    EXPECT_EQ(page.model->SendControl(9999, 1546, 0, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(page.model->PaintPart(9999, 1, nullptr, 1, 1, 4), E_INVALIDARG);
    EXPECT_EQ(page.model->GetDetail(9999, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(page.model->GetDetail(1212, &control, sizeof control), E_NOTIMPL);
    for (const LONG id : {1211, 1215, 1217, 1457}) EXPECT_EQ(page.model->GetDetail(id, nullptr, 8), E_POINTER) << id;
    EXPECT_EQ(page.page->Move(nullptr), E_POINTER);
    EXPECT_EQ(page.page->GetPageInfo(nullptr), E_POINTER);
    void* out = &control;
    EXPECT_EQ(page.page->QueryInterface(&IKwEffectInfo::iid, &out), E_NOINTERFACE);

    // A caller of an older version gets what it knows of.
    std::memset(&control, 0xEE, sizeof control);
    EXPECT_EQ(page.model->FindControl(1211, &control, sizeof control.id), S_OK);
    EXPECT_EQ(control.id, 1211);
    EXPECT_EQ(static_cast<ULONG>(control.kind), 0xEEEEEEEE);
}

// A toolkit that answers each notice comes to an end.
TEST(Page, CallsWithinNoticesHaveAnEnd) {
    tOpenPage page("DXTKwPush");
    int refused = 0;
    page.sink->then = [&](const tPageNotice& notice) {
        if (notice.code != KWNOTICE_SETTLED) return;
        refused += page.Send(1205, KWEVENT_CLICK) == E_UNEXPECTED;
        refused += page.model->SendPage(WM_COMMAND, kPageRefresh, 0, nullptr) == E_UNEXPECTED;
        refused += page.model->SendControl(1211, 1546, 0, 0, nullptr) == E_UNEXPECTED;
    };
    page.Click(1205);
    EXPECT_EQ(refused, 3);
    EXPECT_EQ(page.sink->Count(KWNOTICE_SETTLED), 6);
    page.sink->then = nullptr;
    page.Click(1205);
}

// A wheel turned far is one step of the page.
TEST(Page, AnEventAppliesOnce) {
    tOpenPage page("DXTInvert");
    page.Send(1435, KWEVENT_WHEEL, 0, 0, -120 * 250);
    EXPECT_EQ(page.Value(1435), 750);
    page.Send(1435, KWEVENT_WHEEL, 0, 0, INT32_MIN);
    EXPECT_EQ(page.Value(1435), 0);
    EXPECT_EQ(page.sink->Count(KWNOTICE_APPLIED), 2);
    page.sink->notices.clear();
    page.Key(1435, KWKEY_RIGHT);
    EXPECT_EQ(page.sink->Count(KWNOTICE_APPLIED), 1);
    EXPECT_EQ(page.sink->Count(KWNOTICE_SETTLED, 1435), 1);
    EXPECT_EQ(page.sink->Count(KWNOTICE_CHANGED, 1383), 1);
}

// A toolkit may do anything within a notice.
TEST(Page, KeepsItsControlsWithinANotice) {
    {
        tOpenPage page("DXTKwPush");
        page.sink->then = [&](const tPageNotice&) {
            EXPECT_EQ(page.page->SetObjects(0, nullptr), E_UNEXPECTED);
            page.page->Deactivate();
            page.model->SetPageSink(nullptr);
        };
        page.Click(1205);
        EXPECT_EQ(page.Send(1205, KWEVENT_CLICK), E_INVALIDARG); // closed since
    }
    tOpenPage page("DXTKwPush");
    const tPageEvent click{.kind = KWEVENT_CLICK};
    IKwPage* const last = page.model.Get();
    page.object.Reset();
    page.sink->then = [&](const tPageNotice&) {
        page.page.Reset();
        page.model.Reset();
    };
    EXPECT_EQ(last->SendEvent(1205, &click), S_OK);
    EXPECT_FALSE(page.model);
}

} // namespace
