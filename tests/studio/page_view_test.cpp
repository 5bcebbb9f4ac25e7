#include "page/page_view.h"

#include <thread>

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QRadioButton>
#include <QtTest>

#include "fake_page.h"
#include "page/screen_picker.h"
#include "studio.h"
#include "widget_hands.h"

namespace larkmoor {

namespace {

class PageViewTest : public testing::Test {
  protected:
    PageViewTest()
        : page(makeObject<FakePage>()), view(std::make_unique<PageView>(CComPtr<IPropertyPage>(page.Get()))) {
        view->show();
        view->activateWindow();
        QApplication::setActiveWindow(view.get());
    }

    template <class W = QWidget>
    W* widget(LONG id) {
        return static_cast<W*>(view->control(id));
    }
    tTrackbarDetail trackbar(LONG id) {
        tTrackbarDetail detail{};
        page->GetDetail(id, &detail, sizeof detail);
        return detail;
    }
    LONG position() { return page->the<CTrackbar>(FakePage::AMOUNT).Range().pos; }
    std::string text(LONG id) { return page->the<CEdit>(id).Text(); }
    static void wheel(QWidget* widget, int turn) { turnWheel(*widget, widget->rect().center(), turn); }
    static void type(QLineEdit* edit, const char* keys) {
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, keys);
    }
    QLineEdit* typed(LONG id, const char* keys) {
        type(widget<QLineEdit>(id), keys);
        return widget<QLineEdit>(id);
    }

    CComPtr<FakePage> page;
    std::unique_ptr<PageView> view;
};

using P = FakePage;

TEST_F(PageViewTest, TypingReachesTheModelAtEachChangeAndIsReadOnReturn) {
    QLineEdit* const edit = typed(P::NUMBER, "12x");
    const auto sent = page->sentOf(P::NUMBER, KWEVENT_TEXT);
    ASSERT_EQ(sent.size(), 3u);
    EXPECT_EQ(sent[2].text, "12x");
    EXPECT_TRUE(page->sentOf(P::NUMBER, KWEVENT_BLUR).empty());
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(page->sentOf(P::NUMBER, KWEVENT_BLUR).size(), 1u);
    EXPECT_EQ(edit->text(), "12");
    EXPECT_EQ(edit->selectedText(), "12");
}

TEST_F(PageViewTest, LeavingAnEditReadsIt) {
    QLineEdit* const edit = typed(P::NUMBER, "abc");
    QTest::keyClick(edit, Qt::Key_Tab);
    EXPECT_EQ(edit->text(), "0");
    EXPECT_TRUE(widget(P::COUNT)->hasFocus());
    EXPECT_EQ(page->sentOf(P::COUNT, KWEVENT_FOCUS).size(), 1u);
}

TEST_F(PageViewTest, EscapePutsTheOldTextBack) {
    QLineEdit* const edit = typed(P::NUMBER, "99");
    QTest::keyClick(edit, Qt::Key_Escape);
    EXPECT_EQ(edit->text(), "50");
    EXPECT_EQ(text(P::NUMBER), "50");
    EXPECT_TRUE(page->sentOf(P::NUMBER, KWEVENT_BLUR).empty());
}

TEST_F(PageViewTest, DoubleClickSelectsTheWholeNumber) {
    auto* const edit = widget<QLineEdit>(P::NUMBER);
    edit->setText("5.400");
    QTest::mouseDClick(edit, Qt::LeftButton, {}, edit->rect().center());
    EXPECT_EQ(edit->selectedText(), "5.400");
}

TEST_F(PageViewTest, CommitReadsWhatIsTyped) {
    typed(P::NUMBER, "33z");
    view->commitEdits();
    EXPECT_EQ(text(P::NUMBER), "33");
    view->commitEdits();
    EXPECT_EQ(page->sentOf(P::NUMBER, KWEVENT_BLUR).size(), 1u);
}

TEST_F(PageViewTest, SeveralLinesKeepTheReturnKey) {
    auto* const edit = widget<QPlainTextEdit>(P::TEXT);
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, "a");
    QTest::keyClick(edit, Qt::Key_Return);
    edit->insertPlainText(QStringLiteral("\u00e4"));
    EXPECT_EQ(text(P::TEXT), "a\n\xc3\xa4");
    EXPECT_EQ(edit->toPlainText().toStdString(), text(P::TEXT));
    EXPECT_EQ(page->sentOf(P::TEXT, KWEVENT_TEXT).size(), 3u);
}

TEST_F(PageViewTest, TrackbarDragsByItsThumb) {
    auto* const bar = widget(P::AMOUNT);
    QSignalSpy applied(view.get(), &PageView::applied), settled(view.get(), &PageView::settled);
    const QPoint thumb = rectOf(trackbar(P::AMOUNT).thumb).center();
    QTest::mousePress(bar, Qt::LeftButton, {}, thumb);
    const LONG before = position();
    moveMouse(*bar, thumb + QPoint(30, 0));
    EXPECT_GT(position(), before);
    EXPECT_EQ(widget<QLineEdit>(P::NUMBER)->text().toInt(), position());
    EXPECT_EQ(settled.count(), 0);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, thumb + QPoint(30, 0));
    EXPECT_GT(applied.count(), 0);
    EXPECT_EQ(settled.count(), 1);
}

TEST_F(PageViewTest, EscapeAndALostWindowEndADrag) {
    auto* const bar = widget(P::AMOUNT);
    const QPoint thumb = rectOf(trackbar(P::AMOUNT).thumb).center();
    const LONG before = position();
    const auto begin = [&] { drag(*bar, thumb, thumb + QPoint(20, 0), Qt::LeftButton, false); };
    begin();
    EXPECT_NE(position(), before);
    QTest::keyClick(bar, Qt::Key_Escape);
    EXPECT_EQ(position(), before);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, thumb);
    EXPECT_TRUE(page->sentOf(P::AMOUNT, KWEVENT_CANCEL).empty());
    begin();
    QEvent lost(QEvent::WindowDeactivate);
    QApplication::sendEvent(bar, &lost);
    EXPECT_EQ(page->sentOf(P::AMOUNT, KWEVENT_CANCEL).size(), 1u);
    EXPECT_FALSE(trackbar(P::AMOUNT).tracking);
}

TEST_F(PageViewTest, WheelAndKeysMoveTheTrackbar) {
    auto* const bar = widget(P::AMOUNT);
    bar->setFocus();
    LONG before = position();
    wheel(bar, 120);
    EXPECT_NE(position(), before);
    const struct {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        LONG value;
        ULONG expected;
    } cases[] = {{Qt::Key_Right, {}, KWKEY_RIGHT, 0},
                 {Qt::Key_PageUp, Qt::ControlModifier, KWKEY_PAGE_UP, KWMOD_CTRL},
                 {Qt::Key_7, Qt::KeypadModifier, KWKEY_NUMPAD0 + 7, 0},
                 {Qt::Key_End, Qt::ShiftModifier, KWKEY_END, KWMOD_SHIFT}};
    for (const auto& one : cases) {
        page->sent.clear();
        QTest::keyClick(bar, one.key, one.modifiers);
        const auto down = page->sentOf(P::AMOUNT, KWEVENT_KEY);
        ASSERT_EQ(down.size(), 1u);
        EXPECT_EQ(down[0].event.value, one.value);
        EXPECT_EQ(down[0].event.modifiers, one.expected);
        EXPECT_EQ(page->sentOf(P::AMOUNT, KWEVENT_KEY_UP).size(), 1u);
    }
    EXPECT_EQ(position(), 100);
    page->sent.clear();
    QTest::keyClick(bar, Qt::Key_A);
    EXPECT_TRUE(page->sentOf(P::AMOUNT, KWEVENT_KEY).empty());
}

TEST_F(PageViewTest, SpinnerCountsFromWhatIsTyped) {
    auto* const edit = widget<QLineEdit>(P::COUNT);
    edit->setFocus();
    QTest::keyClick(edit, Qt::Key_Up);
    EXPECT_EQ(edit->text(), "8");
    type(edit, "20");
    auto* const spinner = widget(P::COUNTER);
    const QPoint up = rectOf(trackbar(P::COUNTER).up).center();
    QTest::mouseClick(spinner, Qt::LeftButton, {}, up);
    EXPECT_EQ(edit->text(), "21");
    EXPECT_EQ(edit->selectedText(), "21");
    EXPECT_TRUE(edit->hasFocus());
    wheel(edit, -120);
    EXPECT_EQ(edit->text(), "20");
    EXPECT_EQ(spinner->height(), edit->height());
}

TEST_F(PageViewTest, SpinnerRepeatsByItsTimerWhilePressed) {
    auto* const spinner = widget(P::COUNTER);
    const QPoint down = rectOf(trackbar(P::COUNTER).down).center();
    QTest::mousePress(spinner, Qt::LeftButton, {}, down);
    const auto timers = view->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    const auto runs = [](const QTimer* timer) { return timer->isActive() && timer->interval() < 500; };
    EXPECT_EQ(std::ranges::count_if(timers, runs), 1);
    QTest::mouseRelease(spinner, Qt::LeftButton, {}, down);
    EXPECT_EQ(std::ranges::count_if(timers, runs), 0);
    EXPECT_EQ(widget<QLineEdit>(P::COUNT)->text(), "6");
}

TEST_F(PageViewTest, ChecksRadiosAndLists) {
    QTest::mouseClick(widget(P::CHECK), Qt::LeftButton, {}, {8, widget(P::CHECK)->height() / 2});
    EXPECT_TRUE(page->the<CCheck>(P::CHECK).IsChecked());
    widget(P::LEFT)->setFocus();
    QTest::keyClick(widget(P::LEFT), Qt::Key_Down);
    EXPECT_TRUE(page->the<CCheck>(P::RIGHT).IsChecked());
    EXPECT_FALSE(page->the<CCheck>(P::LEFT).IsChecked());
    EXPECT_TRUE(widget<QRadioButton>(P::RIGHT)->isChecked());

    auto* const list = widget<QComboBox>(P::LIST);
    ASSERT_EQ(list->count(), 3);
    EXPECT_EQ(list->itemText(1), "Square & co.");
    widget(P::NUMBER)->setFocus();
    wheel(list, -120); // not its turn
    EXPECT_EQ(page->the<CList>(P::LIST).Selection(), 0);
    list->setFocus();
    QTest::keyClick(list, Qt::Key_Down);
    EXPECT_EQ(page->the<CList>(P::LIST).Selection(), 1);
    page->the<CList>(P::LIST).Select(2); // from outside a call: shown when the loop comes round
    QCoreApplication::processEvents();
    EXPECT_EQ(list->currentIndex(), 2);
    EXPECT_EQ(page->sentOf(P::LIST, KWEVENT_SELECT).size(), 1u);
}

TEST_F(PageViewTest, PageMenuSendsItsCommand) {
    QContextMenuEvent keyboard(QContextMenuEvent::Keyboard, {5, 5}, view->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(view.get(), &keyboard);
    ASSERT_EQ(page->messages.size(), 1u);
    EXPECT_EQ(page->messages[0].message, WM_CONTEXTMENU);
    EXPECT_EQ(page->messages[0].lParam & 0xFFFFFFFF, 0xFFFFFFFF);
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(menu);
    ASSERT_EQ(menu->actions().size(), 3);
    EXPECT_TRUE(menu->actions()[1]->isSeparator());
    QMenu* const presets = menu->actions()[0]->menu();
    ASSERT_TRUE(presets);
    EXPECT_EQ(presets->actions()[0]->text(), "Black && White");
    presets->actions()[1]->trigger();
    EXPECT_EQ(page->messages.back().message, WM_COMMAND);
    EXPECT_EQ(page->messages.back().wParam, std::uintptr_t{kPagePresetFirst + 1});
    menu->close();

    QContextMenuEvent mouse(QContextMenuEvent::Mouse, {30, 40}, view->mapToGlobal(QPoint(30, 40)));
    QApplication::sendEvent(view.get(), &mouse);
    EXPECT_EQ(page->messages.back().lParam, 40 << 16 | 30);
}

TEST_F(PageViewTest, PlacementDragsAndResetsByItsMenu) {
    auto* const place = widget(P::PLACE);
    tPlacementDetail detail{};
    page->GetDetail(P::PLACE, &detail, sizeof detail);
    const QPoint centre = rectOf(detail.area).center();
    drag(*place, centre, centre + QPoint(10, 0));
    const auto x = [&] {
        tPlacementHandle handle;
        page->the<CPlacement>(P::PLACE).Message(2053, 0, reinterpret_cast<std::intptr_t>(&handle));
        return handle.x;
    };
    EXPECT_GT(x(), 0.5);
    QTest::mouseClick(place, Qt::RightButton, {}, centre);
    auto* const menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
    ASSERT_TRUE(menu);
    menu->actions().constFirst()->trigger();
    EXPECT_EQ(x(), 0.5);
    QContextMenuEvent taken(QContextMenuEvent::Mouse, centre, place->mapToGlobal(centre));
    QApplication::sendEvent(place, &taken);
    for (const auto& message : page->messages) EXPECT_NE(message.message, WM_CONTEXTMENU);
    menu->close();
    // With one handle Tab is the way on.
    place->setFocus();
    QTest::keyClick(place, Qt::Key_Tab);
    EXPECT_FALSE(place->hasFocus());
}

TEST_F(PageViewTest, ColourEditsAndBars) {
    auto* const picker = widget(P::COLOR);
    const auto edits = picker->findChildren<QLineEdit*>();
    ASSERT_EQ(edits.size(), 4);
    type(edits[0], "40");
    QTest::keyClick(edits[0], Qt::Key_Return);
    tColorPickDetail detail{};
    page->GetDetail(P::COLOR, &detail, sizeof detail);
    EXPECT_FLOAT_EQ(detail.color[2], 0.4f);
    QTest::keyClick(edits[0], Qt::Key_Up);
    EXPECT_EQ(edits[0]->text(), "41");
    QTest::mouseClick(picker, Qt::LeftButton, {}, rectOf(detail.parts[KWPART_SPACE]).center());
    page->GetDetail(P::COLOR, &detail, sizeof detail);
    EXPECT_EQ(detail.colorSpace, 1);
    const QRect bar = rectOf(detail.parts[KWPART_BAR1 + 2]);
    QTest::mouseClick(picker, Qt::LeftButton, {}, {bar.right(), bar.center().y()});
    EXPECT_EQ(edits[2]->text(), "100");
}

TEST_F(PageViewTest, ScreenPickerAnswersOnce) {
    tColorPickDetail detail{};
    page->GetDetail(P::COLOR, &detail, sizeof detail);
    const auto open = [&]() -> ScreenPicker* {
        QTest::mouseClick(widget(P::COLOR), Qt::LeftButton, {}, rectOf(detail.parts[KWPART_PICKER]).center());
        for (QWidget* window : QApplication::topLevelWidgets())
            if (auto* const picker = dynamic_cast<ScreenPicker*>(window); picker && picker->isVisible()) return picker;
        return nullptr;
    };
    ScreenPicker* picker = open();
    ASSERT_TRUE(picker);
    QTest::keyClick(picker, Qt::Key_Escape);
    ASSERT_EQ(page->sentOf(P::COLOR, KWEVENT_PICKED).size(), 1u);
    EXPECT_EQ(page->sentOf(P::COLOR, KWEVENT_PICKED)[0].event.value, -1);
    picker = open();
    ASSERT_TRUE(picker);
    QTest::mouseClick(picker, Qt::LeftButton, {}, {3, 3});
    EXPECT_EQ(page->sentOf(P::COLOR, KWEVENT_PICKED).size(), 2u);
    ASSERT_TRUE(open()); // it goes with its view
    view.reset();
    EXPECT_EQ(page->sentOf(P::COLOR, KWEVENT_PICKED).size(), 2u);
}

TEST_F(PageViewTest, PostsFromAnyThreadAreReadOnItsOwn) {
    std::thread([&] { page->window->post(page->window, WM_COMMAND, kPageRefresh, 0); }).join();
    EXPECT_TRUE(page->messages.empty());
    QCoreApplication::processEvents();
    ASSERT_EQ(page->messages.size(), 1u);
    EXPECT_EQ(page->messages[0].wParam, std::uintptr_t{kPageRefresh});
    page->window->post(page->window, WM_COMMAND, kPageRefresh, 0);
    view.reset(); // the message dies with its window
    QCoreApplication::processEvents();
    EXPECT_EQ(page->messages.size(), 1u);
    EXPECT_FALSE(page->window);
    page->notice({KWNOTICE_CHANGED, 0, 0, 0});
    EXPECT_EQ(page->result, E_UNEXPECTED);
    EXPECT_FALSE(page->isShared());
}

TEST_F(PageViewTest, HelpIsThereWhereSomebodyListens) {
    page->notice({KWNOTICE_HELP, 0, 1028, 0});
    EXPECT_TRUE(FAILED(page->result));
    QSignalSpy wanted(view.get(), &PageView::helpWanted);
    page->notice({KWNOTICE_HELP, 0, 1028, 0});
    EXPECT_EQ(page->result, S_OK);
    QCoreApplication::processEvents();
    ASSERT_EQ(wanted.count(), 1);
    EXPECT_EQ(wanted[0][0].toInt(), 1028);
}

TEST_F(PageViewTest, NothingIsCutAndMnemonicsReachTheirControls) {
    for (const QLabel* label : view->findChildren<QLabel*>()) {
        EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
        EXPECT_TRUE(label->buddy());
    }
    for (const LONG id : {P::CHECK, P::LEFT, P::RIGHT}) {
        EXPECT_GE(widget(id)->width(), widget(id)->sizeHint().width());
        EXPECT_TRUE(view->rect().contains(widget(id)->geometry()));
    }
    EXPECT_EQ(page->pixels.cx, view->width());
    EXPECT_EQ(widget(kPageLogo)->width(), view->width());
    page->setVisible(P::LIST, false);
    QCoreApplication::processEvents();
    EXPECT_FALSE(widget(P::LIST)->isVisible());
}

TEST(PageLayoutTest, TextsGrowRightThenThePageThenLeft) {
    const auto label = [](LONG left, LONG right, int wish) {
        return LayoutItem{.kind = KWCONTROL_LABEL, .place = {left, 0, right, 8}, .visible = true, .wish = {wish, 8}};
    };
    const auto place = [&](std::initializer_list<LayoutItem> items, LONG width) {
        return layOutPage(std::span(items.begin(), items.size()), {width, 20}, {4, 8});
    };
    auto layout = place({label(10, 20, 30), label(50, 60, 10)}, 100);
    EXPECT_EQ(layout.places[0], QRect(10, 0, 30, 8));
    EXPECT_EQ(layout.size, QSize(100, 20));
    layout = place({label(10, 20, 40), label(50, 60, 10)}, 100);
    EXPECT_EQ(layout.size.width(), 125);
    EXPECT_EQ(layout.places[0].width(), 40);
    layout = place({label(50, 90, 70), label(91, 99, 8)}, 100);
    EXPECT_EQ(layout.places[0].width(), 70);
    EXPECT_LT(layout.places[0].left(), 50);
    // One that fits nowhere takes what there is.
    layout = place({label(10, 20, 3000)}, 100);
    EXPECT_EQ(layout.places[0].left(), 3);
    EXPECT_LE(layout.places[0].right(), 122);
}

TEST(ScreenPickerTest, AveragesFiveByFivePixels) {
    QImage image(9, 9, QImage::Format_RGB32);
    image.fill(qRgb(0, 100, 200));
    image.setPixel(4, 4, qRgb(250, 100, 200));
    EXPECT_EQ(averageColor(image, {4, 4}), qRgb(10, 100, 200));
    EXPECT_EQ(averageColor(image, {2, 2}), qRgb(10, 100, 200));
    EXPECT_EQ(averageColor(image, {1, 4}), qRgb(0, 100, 200));
    EXPECT_EQ(averageColor(image, {0, 8}), qRgb(0, 100, 200));
    EXPECT_FALSE(averageColor(image, {9, 0}));
    EXPECT_FALSE(averageColor({}, {0, 0}));
}

} // namespace

} // namespace larkmoor
