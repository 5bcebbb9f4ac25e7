#include <functional>

#include <gmock/gmock.h>

#include "page_panel.h"
#include "studio.h"
#include "widget_hands.h"
#include "widgets/key_lanes.h"

namespace larkmoor {

namespace {

/// Levels over a clip of 100 frames that is cut to 10 up to 89, and what edits its keys.
struct KeyBench {
    QTemporaryDir folder;
    Document document{studioModule()};
    PagePanel page{document, PresetStore(folder.path().toStdString())};
    KeyEditor& keys = page.keys();
    Timeline timeline;
    KeyLanes lanes{keys, timeline};
    const tFieldInfo& gamma = studioModule().find("Levels").field("gamma");

    KeyBench() {
        QObject::connect(&keys, &KeyEditor::frameWanted, [this](qint64 frame) { keys.setFrame(frame); });
        Project project = projectOf({"Levels"});
        project.in = 10;
        project.out = 90;
        document.start(std::move(project), "");
        PictureFacts facts;
        facts.frames = 100;
        keys.setFacts(facts);
        timeline.setFrameCount(100);
        timeline.resize(628, timeline.sizeHint().height());
        lanes.resize(628, 100);
        keys.setFrame(20);
    }
    const Curves& curves() { return document.project()->effects[0].curves; }
    /// As "frame:value" of gamma, in frames of the output.
    std::string told() {
        std::string all;
        const ProjectEffect& effect = document.project()->effects[0];
        if (const Curve* const curve = findCurve(effect.curves, gamma))
            for (const Key& key : curve->keys) {
                std::vector<std::byte> record = effect.record;
                putFieldBytes(gamma, record, key.value);
                all += std::to_string(key.frame) + ":" + fieldText(gamma, record) + " ";
            }
        return all;
    }
    std::string shown() { return fieldText(gamma, page.effect()->record()); }
    /// As its page does.
    void set(const char* value) {
        std::vector<std::byte> record = keys.record();
        setFieldText(gamma, record, value);
        keys.setRecord("set", record, "drag");
    }
    void dragKey(int from, int to, Qt::KeyboardModifiers modifiers = {}) {
        drag(lanes, lanes.keyPoint(0, from), lanes.keyPoint(0, to), Qt::LeftButton, true, modifiers);
    }
};

TEST(KeysOfTheStudio, ThePageShowsTheValuesAtThePlayheadAndSetsKeysThere) {
    KeyBench bench;
    bench.set("1");
    EXPECT_EQ(bench.told(), "") << "a field without keys has one value";
    QSignalSpy moving(&bench.keys, &KeyEditor::aboutToMove);
    bench.keys.setFrame(21);
    bench.keys.setFrame(20);
    EXPECT_EQ(moving.count(), 0) << "and what is half typed for it may stay so";
    bench.page.keyList()->diamond("gamma")->click();
    EXPECT_EQ(bench.told(), "10:1 ");
    bench.keys.setFrame(40);
    EXPECT_EQ(bench.shown(), "1");
    bench.set("2");
    bench.set("3");
    EXPECT_EQ(bench.told(), "10:1 30:3 ");
    EXPECT_EQ(bench.document.history().count(), 3) << "a drag is one step";
    bench.keys.setFrame(30);
    EXPECT_EQ(bench.shown(), "2");
    EXPECT_EQ(bench.told(), "10:1 30:3 ") << "looking sets no keys";
    bench.keys.setWay(bench.gamma, 20, Way::Hold);
    EXPECT_EQ(bench.shown(), "1");
    std::vector<std::byte> record = bench.keys.record();
    setFieldText(studioModule().find("Levels").field("inputEnd"), record, "0.75");
    bench.keys.setRecord("set", record, "");
    EXPECT_EQ(bench.told(), "10:1 30:3 ") << "other fields keep to themselves";
    EXPECT_EQ(bench.curves().size(), 1u);
    while (bench.document.history().canUndo()) bench.document.history().undo();
    EXPECT_EQ(bench.told(), "");
}

TEST(KeysOfTheStudio, DiamondsAndArrows) {
    KeyBench bench;
    KeyList& list = *bench.page.keyList();
    const auto states = [&] {
        return std::tuple(list.diamond("gamma")->text() == QStringLiteral("◆"), list.arrow("gamma", -1)->isEnabled(),
                          list.arrow("gamma", 1)->isEnabled());
    };
    EXPECT_EQ(states(), std::tuple(false, false, false));
    list.diamond("gamma")->click();
    EXPECT_EQ(states(), std::tuple(true, false, false));
    bench.keys.setFrame(50);
    EXPECT_EQ(states(), std::tuple(false, true, false));
    bench.set("3");
    list.arrow("gamma", -1)->click();
    EXPECT_EQ(bench.keys.frame(), 20);
    EXPECT_EQ(states(), std::tuple(true, false, true));
    list.arrow("gamma", 1)->click();
    EXPECT_EQ(bench.keys.frame(), 50);
    list.diamond("gamma")->click();
    list.arrow("gamma", -1)->click();
    list.diamond("gamma")->click();
    EXPECT_EQ(bench.told(), "");
}

TEST(KeysOfTheStudio, TheLastKeyLeavesItsValue) {
    KeyBench bench;
    bench.page.keyList()->diamond("gamma")->click();
    bench.set("3");
    bench.page.keyList()->diamond("gamma")->click();
    EXPECT_EQ(bench.told(), "");
    EXPECT_EQ(bench.shown(), "3");
    bench.keys.setFrame(60);
    EXPECT_EQ(bench.shown(), "3");
}

TEST(KeysOfTheStudio, LanesMoveCopyAndDelete) {
    KeyBench bench;
    bench.set("1");
    bench.keys.toggle(bench.gamma);
    bench.keys.setFrame(40);
    bench.set("3");
    bench.dragKey(20, 25);
    EXPECT_EQ(bench.told(), "15:1 30:3 ");
    bench.dragKey(25, 60, Qt::ControlModifier);
    EXPECT_EQ(bench.told(), "15:1 30:3 50:1 ");
    QTest::keyClick(&bench.lanes, Qt::Key_Left, Qt::ControlModifier);
    EXPECT_EQ(bench.told(), "15:1 30:3 49:1 ");
    bench.dragKey(59, 40);
    EXPECT_EQ(bench.told(), "15:1 30:1 ") << "a key gives way to what is dragged onto it";
    QTest::mouseClick(&bench.lanes, Qt::LeftButton, {}, bench.lanes.keyPoint(0, 25).toPoint());
    EXPECT_EQ(bench.keys.frame(), 25) << "a click on a key goes there";
    QTest::keyClick(&bench.lanes, Qt::Key_C, Qt::ControlModifier);
    bench.keys.setFrame(70);
    QTest::keyClick(&bench.lanes, Qt::Key_V, Qt::ControlModifier);
    EXPECT_EQ(bench.told(), "15:1 30:1 60:1 ");
    QTest::keyClick(&bench.lanes, Qt::Key_Delete);
    EXPECT_EQ(bench.told(), "30:1 60:1 ");
    const int steps = bench.document.history().count();
    for (int i = 0; i < 4; ++i) bench.document.history().undo();
    EXPECT_EQ(bench.document.history().index(), steps - 4);
    EXPECT_EQ(bench.told(), "15:1 30:3 50:1 ");
}

TEST(KeysOfTheStudio, NamesStandBetweenKeys) {
    KeyBench bench;
    bench.keys.setFrame(10);
    for (const int frame : {10, 20, 30, 90}) {
        bench.keys.setFrame(frame);
        bench.set(std::to_string(0.5 + frame / 100.0).c_str());
        if (frame == 10) bench.keys.toggle(bench.gamma);
        const QRectF name = bench.lanes.namePlace(0);
        EXPECT_TRUE(QRectF(bench.lanes.rect()).contains(name));
        for (const int key : {10, 20, 30, 90})
            EXPECT_FALSE(key <= frame && name.contains(bench.lanes.keyPoint(0, key))) << key << ' ' << frame;
    }
}

TEST(KeysOfTheStudio, KeysAtTheEndsStandAtTheirFrames) {
    KeyBench bench;
    bench.document.change("ramp", [&](Project& project) {
        ProjectEffect& effect = project.effects[0];
        std::vector<std::byte> end = effect.record;
        setFieldText(bench.gamma, effect.record, "1");
        setFieldText(bench.gamma, end, "3");
        effect.curves = rampCurves(*effect.info, effect.record, end, {});
    });
    bench.keys.setFrame(89);
    EXPECT_EQ(bench.shown(), "3");
    EXPECT_TRUE(bench.keys.hasKey(bench.gamma));
    bench.set("2");
    EXPECT_EQ(bench.told(), "0:1 79:2 ");
}

TEST(KeysOfTheStudio, WhereAnEffectWorks) {
    KeyBench bench;
    bench.keys.setSpan(30, 50);
    EXPECT_EQ(bench.document.project()->effects[0].span, (Span{20, 40}));
    EXPECT_EQ(bench.keys.span(), (Span{30, 50}));
    bench.keys.setSpan(60, 50);
    EXPECT_EQ(bench.keys.span(), (Span{60, {}})) << "what is set last holds";
    bench.keys.setSpan({}, {});
    EXPECT_EQ(bench.document.project()->effects[0].span, Span());
    EXPECT_EQ(bench.document.history().count(), 3);
}

} // namespace

} // namespace larkmoor
