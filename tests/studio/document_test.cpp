#include "document.h"

#include <functional>

#include <gmock/gmock.h>

#include <QListWidget>

#include "autosave.h"
#include "output_file.h"
#include "page_panel.h"
#include "preset_store.h"
#include "stack_panel.h"
#include "studio.h"

namespace larkmoor {

namespace {

using Kind = Slot::Kind;

void writeBytes(const QString& path, const std::vector<std::byte>& bytes) {
    writeWhole(path.toStdString(), {reinterpret_cast<const char*>(bytes.data()), bytes.size()}, true);
}

/// A document with the panels that change it.
struct Bench {
    QTemporaryDir folder;
    Document document{studioModule()};
    StackPanel stack{document};
    PagePanel page{document, PresetStore(folder.path().toStdString())};

    Bench() {
        Project project = projectOf({"Quick Blur", "Invert", "Levels"});
        project.second = ProjectSecond{"/nowhere/second.mkv", effectOf("Push"), 0.5};
        start(std::move(project));
    }
    void start(Project project) {
        document.start(std::move(project), "");
        document.select({Kind::Effect, 1});
    }
    QUndoStack& history() { return document.history(); }
    void set(const char* field, const char* value, const QString& key = {}, int effect = 1) {
        document.change(
            "set",
            [&](Project& project) {
                ProjectEffect& changed = project.effects[static_cast<std::size_t>(effect)];
                setFieldText(changed.info->field(field), changed.record, value);
            },
            key);
    }
    QListWidgetItem* row(int effect) { return stack.list()->item(2 + effect); }
};

struct Operation {
    const char* name;
    std::function<void(Bench&)> act;
    Slot after;
};

const std::vector<Operation>& operations() {
    static const std::vector<Operation> all{
        {"add",
         [](Bench& bench) {
             bench.document.change(
                 "Add", [](Project& next) { next.effects.insert(next.effects.begin() + 2, effectOf("Wave")); });
             bench.document.select({Kind::Effect, 2});
         },
         {Kind::Effect, 2}},
        {"remove", [](Bench& bench) { bench.stack.removeSelected(); }, {Kind::Effect, 1}},
        {"remove the last",
         [](Bench& bench) {
             bench.document.select({Kind::Effect, 2});
             bench.stack.removeSelected();
         },
         {Kind::Effect, 1}},
        {"remove by key", [](Bench& bench) { QTest::keyClick(bench.stack.list(), Qt::Key_Delete); }, {Kind::Effect, 1}},
        {"remove the transition",
         [](Bench& bench) {
             bench.document.select({Kind::Transition, 0});
             bench.stack.removeSelected();
         },
         {Kind::Effect, 2}},
        {"duplicate", [](Bench& bench) { bench.stack.duplicateSelected(); }, {Kind::Effect, 2}},
        {"move up", [](Bench& bench) { bench.stack.moveSelected(-1); }, {Kind::Effect, 0}},
        {"move down by key",
         [](Bench& bench) { QTest::keyClick(bench.stack.list(), Qt::Key_Down, Qt::AltModifier); },
         {Kind::Effect, 2}},
        {"move by a drag",
         [](Bench& bench) {
             auto* const model = bench.stack.list()->model();
             model->moveRow({}, 4, {}, 2);
             EXPECT_TRUE(QTest::qWaitFor([&] { return bench.history().count() == 1; }, kPatience));
         },
         {Kind::Effect, 2}},
        {"switch off", [](Bench& bench) { bench.row(2)->setCheckState(Qt::Unchecked); }, {Kind::Effect, 1}},
        {"change a record",
         [](Bench& bench) {
             Effect effect = studioModule().create(bench.page.effect()->info());
             effect.set("amount", "0.5");
             writeBytes(bench.folder.filePath("x.state"), effect.saveState());
             bench.page.loadState(bench.folder.filePath("x.state"));
         },
         {Kind::Effect, 1}},
        {"a key",
         [](Bench& bench) {
             bench.document.select({Kind::Effect, 2});
             bench.page.keyList()->diamond("gamma")->click();
         },
         {Kind::Effect, 2}},
        {"cut",
         [](Bench& bench) {
             bench.document.change("Cut", [](Project& project) {
                 project.in = 3;
                 project.out = 9;
             });
         },
         {Kind::Effect, 1}},
        {"another second clip",
         [](Bench& bench) {
             bench.document.change("Second", [](Project& project) { project.second->path = "/nowhere/third.mkv"; });
         },
         {Kind::Effect, 1}},
    };
    return all;
}

TEST(Document, EveryOperationIsOneStepThatGoesBackAndForth) {
    for (const Operation& operation : operations()) {
        SCOPED_TRACE(operation.name);
        Bench bench;
        Document& document = bench.document;
        const std::string before = textOf(document);
        operation.act(bench);
        const std::string after = textOf(document);
        EXPECT_NE(after, before);
        EXPECT_EQ(bench.history().count(), 1);
        EXPECT_EQ(document.selected(), operation.after);
        EXPECT_TRUE(document.isChanged());
        for (int round = 0; round < 2; ++round) {
            bench.history().undo();
            EXPECT_EQ(textOf(document), before);
            EXPECT_FALSE(document.isChanged());
            EXPECT_NE(document.selectedEffect(), nullptr);
            bench.history().redo();
            EXPECT_EQ(textOf(document), after);
            EXPECT_TRUE(document.isChanged());
            EXPECT_NE(document.selectedEffect(), nullptr);
        }
    }
}

TEST(Document, UndoSelectsWhatTheStepWasDoneOn) {
    Bench bench;
    bench.stack.duplicateSelected();
    EXPECT_EQ(bench.document.selected(), (Slot{Kind::Effect, 2}));
    bench.document.select({Kind::Effect, 3});
    bench.history().undo();
    EXPECT_EQ(bench.document.selected(), (Slot{Kind::Effect, 1}));
    EXPECT_EQ(bench.stack.list()->currentRow(), 3);
    EXPECT_EQ(bench.page.effect()->info().name, "Invert");
}

TEST(Document, StepsOfADragBecomeOneUntilItSettles) {
    Bench bench;
    Document& document = bench.document;
    const std::string before = textOf(document);
    for (const char* value : {"0.1", "0.2", "0.3"}) bench.set("inputStart", value, "drag", 2);
    EXPECT_EQ(bench.history().count(), 1);
    const std::string first = textOf(document);
    document.settle();
    for (const char* value : {"0.4", "0.5"}) bench.set("inputStart", value, "drag", 2);
    EXPECT_EQ(bench.history().count(), 2);
    bench.set("gamma", "2", "other", 2);
    bench.set("gamma", "3", "other", 2);
    EXPECT_EQ(bench.history().count(), 3);
    bench.set("gamma", "4", "", 2);
    bench.set("gamma", "5", "", 2);
    EXPECT_EQ(bench.history().count(), 5) << "steps without a key stay apart";
    bench.history().setIndex(1);
    EXPECT_EQ(textOf(document), first);
    bench.history().setIndex(0);
    EXPECT_EQ(textOf(document), before);
}

TEST(Document, ADragDoesNotMergeAcrossAnUndoASelectionOrASave) {
    const std::vector<std::pair<const char*, std::function<void(Bench&)>>> breaks{
        {"undo and redo",
         [](Bench& bench) {
             bench.history().undo();
             bench.history().redo();
         }},
        {"selection",
         [](Bench& bench) {
             bench.document.select({Kind::Effect, 0});
             bench.document.select({Kind::Effect, 2});
         }},
        {"save", [](Bench& bench) { bench.document.save(bench.folder.filePath("p.larkmoor")); }},
    };
    for (const auto& [name, act] : breaks) {
        SCOPED_TRACE(name);
        Bench bench;
        bench.set("gamma", "2", "drag", 2);
        const std::string middle = textOf(bench.document);
        act(bench);
        bench.set("gamma", "3", "drag", 2);
        EXPECT_EQ(bench.history().count(), 2);
        bench.history().undo();
        EXPECT_EQ(textOf(bench.document), middle);
    }
}

TEST(Document, WhatChangesNothingIsNoStep) {
    Bench bench;
    Document& document = bench.document;
    const std::string before = textOf(document);
    QSignalSpy changed(&document, &Document::changed);
    document.change("nothing", [](Project&) {});
    bench.set("inputStart", "0", "drag", 2);
    EXPECT_EQ(bench.history().count(), 0);
    EXPECT_EQ(changed.count(), 0);
    EXPECT_FALSE(document.isChanged());
    // A drag that comes back to where it began.
    bench.set("inputStart", "0.5", "drag", 2);
    bench.set("inputStart", "0", "drag", 2);
    document.settle();
    EXPECT_EQ(textOf(document), before);
    EXPECT_EQ(bench.history().count(), 0);
    EXPECT_FALSE(document.isChanged());
    // One after another drag of the same control leaves that one alone.
    bench.set("inputStart", "0.5", "drag", 2);
    document.settle();
    const std::string kept = textOf(document);
    bench.set("inputStart", "0.7", "drag", 2);
    bench.set("inputStart", "0.5", "drag", 2);
    bench.set("inputStart", "0.8", "drag", 2);
    document.settle();
    bench.history().undo();
    EXPECT_EQ(textOf(document), kept);
    bench.history().undo();
    EXPECT_EQ(textOf(document), before);
    EXPECT_FALSE(bench.history().canUndo());
}

TEST(Document, TheDirtyMarkFollowsTheSavedState) {
    Bench bench;
    Document& document = bench.document;
    const QString path = bench.folder.filePath("name.larkmoor");
    EXPECT_EQ(document.name(), "Untitled");
    EXPECT_FALSE(document.isChanged());
    bench.set("gamma", "2", "", 2);
    QSignalSpy titles(&document, &Document::titleChanged);
    document.save(path);
    EXPECT_GE(titles.count(), 1);
    EXPECT_EQ(document.name(), "name");
    EXPECT_FALSE(document.isChanged());
    bench.set("gamma", "3", "", 2);
    EXPECT_TRUE(document.isChanged());
    bench.history().undo();
    EXPECT_FALSE(document.isChanged());
    bench.history().undo();
    EXPECT_TRUE(document.isChanged());
    EXPECT_EQ(projectText(loadProject(studioModule(), path.toStdString()), "/"), [&] {
        bench.history().redo();
        return textOf(document);
    }());
    EXPECT_THROW(document.save("/nowhere/at/all.larkmoor"), Error);
    EXPECT_EQ(document.path(), path) << "a failed save keeps the name";

    document.start(projectOf({"Invert"}), "/nowhere/found.larkmoor", true);
    EXPECT_TRUE(document.isChanged()) << "recovered work is unsaved";
    document.save(path);
    EXPECT_FALSE(document.isChanged());
}

TEST(Document, StartAndCloseTellEverybody) {
    Bench bench;
    Document& document = bench.document;
    bench.set("gamma", "2", "drag", 2);
    QSignalSpy started(&document, &Document::started), changed(&document, &Document::changed);
    document.close();
    EXPECT_EQ(started.count(), 1);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(document.project(), nullptr);
    EXPECT_EQ(document.selected(), Slot{});
    EXPECT_FALSE(document.isChanged());
    EXPECT_EQ(bench.history().count(), 0);
    EXPECT_EQ(bench.page.page(), nullptr);
    EXPECT_EQ(bench.stack.list()->count(), 0);
    document.change("nothing open", [](Project&) { FAIL(); });
    bench.stack.removeSelected();
    bench.stack.duplicateSelected();
    bench.stack.moveSelected(1);

    Project generator;
    generator.source = ProjectGenerator{.generator = effectOf("Test Pattern")};
    document.start(generator, "/nowhere/p.larkmoor");
    EXPECT_EQ(document.selected(), (Slot{Kind::Source, 0}));
    EXPECT_EQ(bench.page.effect()->info().name, "Test Pattern");
    EXPECT_EQ(bench.stack.list()->count(), 1);
    EXPECT_EQ(document.name(), "p");
    document.start(projectOf({"Invert", "Wave"}), "");
    EXPECT_EQ(bench.page.effect()->info().name, "Wave");
    EXPECT_EQ(bench.stack.list()->count(), 3);
}

// --- presets

TEST(StudioPresets, AUserPresetAndASavedStateBringAllBack) {
    for (const EffectInfo& info : studioModule().effects()) {
        if (info.kind != EffectKind::Filter) continue;
        SCOPED_TRACE(info.name);
        Bench bench;
        bench.start(projectOf({"Invert", info.className.c_str()}));
        const auto select = [&](const std::vector<std::byte>& record) {
            bench.document.change("set", [&](Project& project) { project.effects[1].record = record; });
        };
        if (!info.presets.empty()) select(info.presets.back().record);
        ASSERT_NE(bench.page.effect(), nullptr);
        const auto record = [&] { return bench.document.project()->effects[1].record; };
        const std::vector<std::byte> wanted = record();
        const std::vector<std::byte> state = bench.page.effect()->state();
        const std::size_t count = bench.page.presetRecords().size();
        bench.page.saveUserPreset("mine & yours");
        EXPECT_EQ(bench.page.presetRecords().size(), count + 1);
        EXPECT_EQ(bench.page.presets()->count(), static_cast<int>(count) + 1);
        const PresetStore store(bench.folder.path().toStdString());
        EXPECT_EQ(store.names(info), std::vector<std::string>{"mine & yours"});
        const QString kept = bench.folder.filePath("kept.state");
        bench.page.saveState(kept);
        EXPECT_EQ(readText(kept.toStdString()).size(), state.size());

        select(info.defaults);
        bench.page.loadState(kept);
        EXPECT_EQ(record(), wanted);
        select(info.defaults);
        emit bench.page.presets()->chosen(static_cast<int>(count));
        EXPECT_EQ(record(), wanted);
        EXPECT_EQ(bench.page.effect()->state(), state);
    }
}

TEST(StudioPresets, AFileThatIsNoStateChangesNothing) {
    Bench bench;
    const std::string before = textOf(bench.document);
    const std::vector<std::byte> state = bench.page.effect()->state();
    const QString wrong = bench.folder.filePath("wrong.state");
    const std::vector<std::vector<std::byte>> wrongs{{}, {std::byte{1}}, std::vector<std::byte>(5000)};
    for (const auto& bytes : wrongs) {
        writeBytes(wrong, bytes);
        try {
            bench.page.loadState(wrong);
            ADD_FAILURE() << bytes.size();
        } catch (const Error& error) {
            EXPECT_GT(std::string(error.what()).size(), 10u);
        }
        EXPECT_EQ(textOf(bench.document), before);
        EXPECT_EQ(bench.page.effect()->state(), state);
        EXPECT_EQ(bench.history().count(), 0);
    }
    EXPECT_THROW(bench.page.loadState(bench.folder.filePath("missing.state")), Error);
    for (const char* name : {"", "  ", "../up", "a/b", ".hidden"})
        EXPECT_THROW(bench.page.saveUserPreset(name), Error) << name;
    EXPECT_EQ(bench.history().count(), 0);
}

TEST(StudioPresets, FoldersHoldOnlyWhatCanBeLoaded) {
    Bench bench;
    const PresetStore presets(bench.folder.path().toStdString());
    const EffectInfo& info = studioModule().find("Invert");
    for (const char* name : {"b", "A", "c"}) presets.save(info, name, info.defaults, false);
    EXPECT_EQ(presets.names(info), (std::vector<std::string>{"A", "b", "c"}));
    EXPECT_TRUE(presets.names(studioModule().find("Wave")).empty());
    presets.save(info, "b", info.defaults, true); // once more
    presets.remove(info, "c");
    writeWhole(presets.file(info, "broken"), "", false);
    const std::size_t own = info.presets.size();
    bench.document.select({Kind::Effect, 0});
    bench.document.select({Kind::Effect, 1});
    EXPECT_EQ(bench.page.presetRecords().size(), own + 2);
}

// --- autosave

class AutosaveTest : public StudioTest {
  protected:
    AutosaveTest() : folder(file("autosave")) {}

    QStringList files() const {
        QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden);
        names.erase(std::remove_if(names.begin(), names.end(), [](const QString& n) { return n.endsWith(".lock"); }),
                    names.end());
        return names;
    }

    /// What a killed studio leaves: its files, without a lock that counts.
    QString crash() const {
        const QString name = QDir(folder).entryList({"*.larkmoor"}).value(0);
        const QString left = folder + "/left.larkmoor";
        EXPECT_TRUE(QFile::copy(folder + '/' + name, left));
        EXPECT_TRUE(QFile::copy(folder + '/' + name + ".path", left + ".path"));
        return left;
    }

    QString folder;
};

TEST_F(AutosaveTest, OffersWhatACrashLeftAndNotWhatRuns) {
    Bench bench;
    bench.document.save(file("p.larkmoor"));
    QString left;
    std::string wanted;
    {
        Autosave first(bench.document, folder);
        bench.set("gamma", "2", "", 2);
        wanted = textOf(bench.document);
        first.flush();
        EXPECT_EQ(files().size(), 2);
        Document other(studioModule());
        EXPECT_TRUE(Autosave(other, folder).lost().empty()) << "the first one runs";
        left = crash();
    }
    EXPECT_EQ(files().size(), 2) << "the first one has cleaned up, the copy stays";
    Document other(studioModule());
    Autosave second(other, folder);
    const std::vector<LostWork> lost = second.lost();
    ASSERT_EQ(lost.size(), 1u);
    EXPECT_EQ(lost[0].file, left);
    EXPECT_EQ(lost[0].original, file("p.larkmoor"));
    other.start(loadProject(studioModule(), left.toStdString()), lost[0].original, true);
    EXPECT_EQ(textOf(other), wanted);
    EXPECT_TRUE(other.isChanged());
    second.flush();
    Autosave::forget(lost[0]);
    EXPECT_TRUE(second.lost().empty());
    EXPECT_EQ(files().size(), 2);
}

TEST_F(AutosaveTest, WritesAMomentAfterTheFirstOfManyChanges) {
    Bench bench;
    Autosave autosave(bench.document, folder);
    for (const char* value : {"2", "3"}) bench.set("gamma", value, "", 2);
    const std::string wanted = textOf(bench.document);
    EXPECT_TRUE(files().isEmpty());
    await([&] { return files().size() == 2; });
    const QString name = QDir(folder).entryList({"*.larkmoor"}).value(0);
    EXPECT_EQ(projectText(loadProject(studioModule(), (folder + '/' + name).toStdString()), "/"), wanted);
}

TEST_F(AutosaveTest, SavedAndGivenUpWorkLeavesNothing) {
    const std::vector<std::pair<const char*, std::function<void(Bench&)>>> ends{
        {"saved", [this](Bench& bench) { bench.document.save(file("p.larkmoor")); }},
        {"undone", [](Bench& bench) { bench.history().undo(); }},
        {"closed", [](Bench& bench) { bench.document.close(); }},
        {"another one", [](Bench& bench) { bench.document.start(projectOf({}), ""); }},
    };
    for (const auto& [name, act] : ends) {
        SCOPED_TRACE(name);
        Bench bench;
        Autosave autosave(bench.document, folder);
        bench.set("gamma", "2", "", 2);
        autosave.flush();
        EXPECT_EQ(files().size(), 2);
        act(bench);
        EXPECT_TRUE(files().isEmpty());
        autosave.flush();
        EXPECT_TRUE(files().isEmpty());
    }
}

} // namespace

} // namespace larkmoor
